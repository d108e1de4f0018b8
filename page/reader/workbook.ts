// Sheets of a workbook as grids of text.

import { Epoch, NumberKind, kindOfFormat, textOfNumber } from "./cell_formats";
import { startsWith } from "./encoding";
import { Comment, Grid, ReadError, shown } from "./grid";
import { LeftOut, takenOut } from "./taken_out";
import { pattern, stripped } from "./text_rules";
import { Tag, walk } from "./xml";
import { Entry, entriesOf, unpacked } from "../zip/read";

const MOST_UNPACKED = 100_000_000; // bytes; a workbook of a plate reader has a hundredth of it
const MOST_CELLS = 2_000_000;
const MOST_COLUMNS = 16_384;
const ZIP = "PK\x03\x04";
const OLD = "\xd0\xcf\x11\xe0\xa1\xb1\x1a\xe1";
const COMMENT = pattern(String.raw`^#+\s*\w[^!]*$`);
const ERROR_CELL = pattern(String.raw`^#\s*(n/?a|name|nv|null)\b`, "i");

/** True for what begins like a workbook, whatever the file is called. */
export function isWorkbook(raw: Uint8Array): boolean {
  return startsWith(raw, ZIP) || startsWith(raw, OLD);
}

/** A `Grid` for every sheet, and the names of the sheets that are hidden. */
export function gridsOfWorkbook(
  source: string, raw: Uint8Array, skipRows = 0,
): { grids: Grid[]; hidden: string[] } {
  const otherKind = new ReadError(`${source}: this kind of workbook is not read here; save it as .xlsx.`);
  if (startsWith(raw, OLD)) throw otherKind;
  try {
    const entries = entriesOf(raw);
    const size = [...entries.values()].reduce((sum, entry) => sum + entry.size, 0);
    if (size > MOST_UNPACKED)
      throw new ReadError(
        `${source}: this workbook unpacks to ${(size / 1e6).toFixed(0)} MB; ` +
          `at most ${(MOST_UNPACKED / 1e6).toFixed(0)} MB are read.`,
      );
    if (!entries.has("xl/workbook.xml")) {
      if (entries.has("content.xml")) throw otherKind;
      throw new ReadError(
        `${source}: expected a table, found a compressed file that is no workbook; unpack it first.`,
      );
    }
    return new Workbook(source, raw, entries).grids(skipRows);
  } catch (fault) {
    if (fault instanceof ReadError) throw fault;
    const why = fault instanceof Error ? fault.message : String(fault);
    throw new ReadError(`${source}: this workbook is damaged (${shown(why, 80)}).`);
  }
}

class Workbook {
  private readonly strings: string[];
  private readonly kinds: NumberKind[] = []; // of numbers, by the style of their cell
  private readonly struck: boolean[] = []; // the same: whether a cell is struck through
  private epoch: Epoch = 1900;
  private cells = 0; // of all sheets so far

  constructor(
    private readonly source: string,
    private readonly raw: Uint8Array,
    private readonly entries: Map<string, Entry>,
  ) {
    this.strings = this.sharedStrings();
    this.readStyles();
  }

  grids(skipRows: number): { grids: Grid[]; hidden: string[] } {
    const targets = new Map<string, string>();
    this.walkPart("xl/_rels/workbook.xml.rels", ({ opens, attributes: a }) => {
      if (opens && a.get("Type")?.endsWith("/worksheet")) targets.set(a.get("Id")!, a.get("Target") ?? "");
    });
    const sheets: { title: string; state: string; part: string }[] = [];
    this.walkPart("xl/workbook.xml", ({ name, opens, attributes: a }) => {
      if (opens && name === "workbookPr" && ["1", "true"].includes(a.get("date1904") ?? "")) this.epoch = 1904;
      if (!opens || name !== "sheet") return;
      const target = targets.get(a.get("id") ?? "");
      if (target === undefined) return; // a sheet of a chart
      const part = target.startsWith("/") ? target.slice(1) : `xl/${target}`;
      sheets.push({ title: a.get("name") ?? "", state: a.get("state") ?? "visible", part });
    });
    const hidden = sheets.filter(({ state }) => state !== "visible").map(({ title }) => title);
    const visible = sheets.filter(({ state }) => state === "visible");
    return { grids: visible.map(({ title, part }) => this.grid(title, part, skipRows)), hidden };
  }

  /** Walks a part of the package; one that is missing has no tags. */
  private walkPart(name: string, onTag: (tag: Tag) => void, onText: (text: string) => void = () => {}): void {
    const entry = this.entries.get(name);
    if (!entry) return;
    const bytes = unpacked(this.raw, entry);
    const wide = startsWith(bytes, "\xff\xfe") ? "utf-16le" : startsWith(bytes, "\xfe\xff") ? "utf-16be" : "utf-8";
    walk(new TextDecoder(wide, { fatal: true }).decode(bytes), onTag, onText);
  }

  private sharedStrings(): string[] {
    const strings: string[] = [];
    const reader = new RichText();
    this.walkPart("xl/sharedStrings.xml", (tag) => {
      if (tag.name === "si" && tag.opens) reader.start();
      reader.tag(tag);
      if (tag.name === "si" && !tag.opens) strings.push(reader.text.replaceAll("x005F_", ""));
    }, (text) => reader.add(text));
    return strings;
  }

  /** The kinds of numbers and the strokes of the styles of cells. */
  private readStyles(): void {
    const own = new Map<number, string>();
    const fonts: boolean[] = [];
    let part = "";
    this.walkPart("xl/styles.xml", ({ name, opens, attributes: a }) => {
      if (name === "cellXfs" || name === "fonts") part = opens ? name : "";
      if (!opens) return;
      if (name === "numFmt") own.set(Number(a.get("numFmtId")), a.get("formatCode") ?? "");
      if (part === "fonts" && name === "font") fonts.push(false);
      if (part === "fonts" && name === "strike") fonts[fonts.length - 1] = !isOff(a.get("val"));
      if (part !== "cellXfs" || name !== "xf") return;
      this.kinds.push(kindOfFormat(Number(a.get("numFmtId") ?? 0), own));
      this.struck.push(fonts[Number(a.get("fontId") ?? 0)] ?? false);
    });
  }

  private grid(title: string, part: string, skipRows: number): Grid {
    if (!this.entries.has(part)) throw new Error(`sheet '${title}' is missing`);
    const { rows, notes } = this.rows(title, part);
    rows.fill([], 0, Math.min(skipRows, rows.length));
    const kept: string[][] = [];
    const rowNames: string[] = [];
    const comments: Comment[] = [];
    rows.forEach((row, i) => {
      if (row === null) return;
      const first = row.find(Boolean) ?? "";
      if (COMMENT.test(first) && !ERROR_CELL.test(first)) {
        comments.push([kept.length, row.filter(Boolean).join("\t").replace(/^[# ]+/, "")]);
        return;
      }
      kept.push(row);
      rowNames.push(`row ${i + 1}`);
    });
    const grid = new Grid(this.source, kept, rowNames, { comments, sheet: shown(title), delimiter: "\t" });
    for (const [code, what, why] of notes) grid.note(code, `${what} left out: ${why}`);
    return grid;
  }

  /** Texts of a sheet, without the blanks at the ends of rows and below the last; null of a row taken out. */
  private rows(title: string, part: string): { rows: (string[] | null)[]; notes: LeftOut[] } {
    const rows: string[][] = [];
    const content = new RichText();
    let row = 0; // numbers from 1
    let column = 0;
    let cell = new Map<string, string>();
    const hidden = { rows: new Set<number>(), spans: [] as [first: number, last: number][] };
    const strokes: [row: number, column: number][] = [];
    let [hasFormula, isValue, value] = [false, false, ""];
    const grow = (count: number) => {
      this.cells += count;
      if (this.cells <= MOST_CELLS) return;
      throw new ReadError(
        `${this.source}, sheet '${shown(title)}': more than ${MOST_CELLS} cells; keep the table alone.`,
      );
    };
    const open = ({ name, attributes }: Tag) => {
      if (name === "row") {
        row = Number(attributes.get("r") ?? row + 1);
        if (!Number.isInteger(row) || row <= 0) throw new Error("a row has no number");
        grow(Math.max(0, row - rows.length));
        while (rows.length < row) rows.push([]);
        if (!isOff(attributes.get("hidden") ?? "0")) hidden.rows.add(row);
        column = 0;
      } else if (name === "col") {
        if (!isOff(attributes.get("hidden") ?? "0"))
          hidden.spans.push([Number(attributes.get("min")), Number(attributes.get("max"))]);
      } else if (name === "c") {
        cell = attributes;
        column = columnOf(attributes.get("r"), column);
        [hasFormula, value] = [false, ""];
        content.start();
      } else if (name === "f") {
        hasFormula = true;
      } else if (name === "v") {
        isValue = true;
      }
    };
    const close = (name: string) => {
      if (name === "v") isValue = false;
      if (name !== "c") return;
      const text = this.textOf(cell, value, content.text) || (hasFormula ? "formula without a value" : "");
      const cells = rows[row - 1];
      if (cells === undefined || column > MOST_COLUMNS) throw new Error("a cell stands outside of the rows");
      grow(Math.max(0, column - cells.length));
      while (cells.length < column) cells.push("");
      cells[column - 1] = text;
      if (this.struck[Number(cell.get("s") ?? 0)]) strokes.push([row, column]);
    };
    this.walkPart(part, (tag) => {
      if (tag.opens) open(tag);
      else close(tag.name);
      content.tag(tag);
    }, (text) => {
      if (isValue) value += text;
      else content.add(text);
    });
    const left: (string[] | null)[] = rows;
    const notes = takenOut(left, hidden, strokes);
    for (const cells of left) while (cells?.length && !cells[cells.length - 1]) cells.pop();
    while (left.length && !left[left.length - 1]?.length) left.pop();
    return { rows: left, notes };
  }

  /** The text of a cell of a type as a person sees it, with all digits. */
  private textOf(cell: Map<string, string>, value: string, inline: string): string {
    const type = cell.get("t") ?? "n";
    if (type === "inlineStr") return stripped(inline);
    if (!value) return "";
    if (type === "n") {
      const number = Number(value);
      if (Number.isNaN(number)) throw new Error(`'${value}' is no number`);
      return textOfNumber(number, this.kinds[Number(cell.get("s") ?? 0)] ?? "plain", this.epoch);
    }
    if (type === "b") return Number(value) ? "True" : "False";
    if (type !== "s") return stripped(value);
    const text = this.strings[Number(value)];
    if (text === undefined) throw new Error(`there is no text ${value}`);
    return stripped(text);
  }
}

/** True for a flag of the format that is written and not set. */
function isOff(flag: string | undefined): boolean {
  return flag === "0" || flag === "false";
}

/** Column from 1 of a cell such as 'AB12'; one without a name follows the cell before. */
function columnOf(name: string | undefined, before: number): number {
  if (name === undefined) return before + 1;
  const letters = /^\$?([A-Za-z]{1,3})\$?\d+$/.exec(name)?.[1].toUpperCase();
  if (letters === undefined) throw new Error(`'${name}' names no cell`);
  return [...letters].reduce((column, letter) => 26 * column + letter.charCodeAt(0) - 64, 0);
}

/** Gathers a text that may come in parts of several fonts, without the hints for its pronunciation. */
class RichText {
  text = "";
  private inText = false;
  private inHint = false;

  start(): void {
    this.text = "";
  }

  tag({ name, opens }: Tag): void {
    if (name === "t") this.inText = opens;
    if (name === "rPh") this.inHint = opens;
  }

  add(text: string): void {
    if (this.inText && !this.inHint) this.text += text;
  }
}
