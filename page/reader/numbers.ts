// What a cell says: a number, nothing, a reading that is none, or text.
//
// A point and a comma can both be the decimal mark and both part thousands. A number alone often
// tells which ("0,51", "1,012.5"); where it does not ("1,012"), the column decides, then the table,
// and where these say nothing the reader asks.

import { SPELLINGS, TEMPERATURE_UNITS, denaturantOf, plain, unitOf } from "./spellings";
import { asciiDigits, pattern, remembered, stripped, whole } from "./text_rules";

const REASON_OF = new Map(
  Object.entries(SPELLINGS.missing).flatMap(([reason, texts]) => texts.map((text) => [text, reason])),
);
const MINUS = /[−‐‑‒–﹣-]/g;
const THIN = "\\u00a0\\u2009\\u202f ";
const NUMBER = whole(
  String.raw`([+\-]?)\s*(\d[\d.,'’${THIN}]*|[.,]\d+)(?:[eEdD]([+\-]?\d{1,3})(?![\d.,]))?(.*)`, "s",
);
const PLAIN = /^[+-]?[0-9]{1,15}(?:\.[0-9]{1,15})?$/;
const FEW_PLAIN_DIGITS = /^[+-]?[1-9][0-9]{0,2}\.[0-9]{3}$/;
const GROUPS = whole(String.raw`[1-9]\d{0,2}(?:(['’${THIN}])\d{3})(?:\1\d{3})*(?:[.,]\d*)?`);
const FEW_DIGITS = whole(String.raw`[1-9]\d{0,2}[.,]\d{3}`);
const LIMIT = whole(String.raw`[<>≤≥~≈]\s*[+\-]?[\d.,]+.*`);
const FILLED = whole(String.raw`[*#\-.=]{2,}`);
const FLAG = whole(String.raw`\s*[*†‡§!?^#a-d()\[\]]{1,4}`);
const BLANK_AT_END = new RegExp(`[${THIN}]+$`, "u");
const THOUSANDS_BY = {
  ".": whole(String.raw`[1-9]\d{0,2}(?:\.\d{3})+`),
  ",": whole(String.raw`[1-9]\d{0,2}(?:,\d{3})+`),
};
const THOUSANDS_AND = {
  ".": whole(String.raw`[1-9]\d{0,2}(?:,\d{3})+\.\d*`), // by the decimal mark
  ",": whole(String.raw`[1-9]\d{0,2}(?:\.\d{3})+,\d*`),
};
const DIGIT_OR_MARK_AT_END = pattern(String.raw`[\d.,]$`);
const NO_DIGIT_NOR_MARK = pattern(String.raw`[^\d.,]`, "g");

export type CellKind = "number" | "blank" | "missing" | "text";
export type Mark = "." | ",";

/**
 * A cell. `reason` says why a reading is missing.
 *
 * Of a number, `mark` is the decimal mark that its digits prove, '?' and the mark where they leave it
 * open, or nothing where there is none. `unit` is the text behind the digits.
 */
export interface Cell {
  readonly kind: CellKind;
  readonly text: string;
  readonly digits: string;
  readonly exponent: number;
  readonly mark: "" | Mark | "?." | "?,";
  readonly unit: string;
  readonly reason: string;
}

const EMPTY: Cell = { kind: "blank", text: "", digits: "", exponent: 0, mark: "", unit: "", reason: "" };

/** The number of a cell, if `decimal` is the decimal mark of its column. */
export function valueOf(cell: Cell, decimal: Mark = "."): number {
  const mark = isOpen(cell) ? decimal : cell.mark;
  const other = mark === "." ? "," : ".";
  const digits = cell.digits.replaceAll(other, "").replaceAll(",", ".");
  return Number(`${asciiDigits(digits)}e${cell.exponent}`);
}

function isOpen(cell: Cell): boolean {
  return cell.mark[0] === "?";
}

/** The `Cell` of a text. */
export const cellOf = remembered<Cell>(65536, (original) => {
  const text = stripped(original);
  if (!text) return EMPTY;
  if (PLAIN.test(text)) { // nearly all cells; what follows is for the others
    const mark = !text.includes(".") ? "" : FEW_PLAIN_DIGITS.test(text) ? "?." : ".";
    return { kind: "number", text, digits: text, exponent: 0, mark, unit: "", reason: "" };
  }
  const lowered = plain(text);
  const missing = (reason: string): Cell => ({ ...EMPTY, kind: "missing", text, reason });
  const words: Cell = { ...EMPTY, kind: "text", text };
  const reason = REASON_OF.get(lowered);
  if (reason) return missing(reason);
  if (LIMIT.test(lowered)) return missing("a limit, not a reading");
  if (FILLED.test(lowered)) return missing("not measured");
  const found = NUMBER.exec(text.replace(MINUS, "-"));
  if (!found) return words;
  const exponent = Number(asciiDigits(found[3] ?? "0"));
  let unit = stripped(found[4]);
  const blank = unit.indexOf(" ");
  if (blank >= 0 && denaturantOf(unit.slice(blank + 1))) unit = unit.slice(0, blank); // '2 M urea'
  const shape = shapeOf(found[2].replace(BLANK_AT_END, ""), found[3] !== undefined);
  if (!shape) return words;
  const [digits, mark] = shape;
  if (unit && !isUnit(unit)) return FLAG.test(unit) ? missing("marked by hand") : words;
  if (Number(`${asciiDigits(digits.replace(/[.,]/g, ""))}e${exponent}`) > 1e300)
    return missing("out of the instrument's range");
  return { ...EMPTY, kind: "number", text, digits: found[1] + digits, exponent, mark, unit };
});

function isUnit(text: string): boolean {
  const unit = unitOf(text);
  if (unit !== null && unit.key !== "nm" && unit.key !== "s") return true;
  const lowered = plain(text);
  return TEMPERATURE_UNITS.has(lowered) || SPELLINGS.signal_units.includes(lowered);
}

/** Digits without marks of thousands that are certain, and the decimal mark they prove. */
function shapeOf(original: string, hasExponent: boolean): [digits: string, mark: Cell["mark"]] | null {
  let digits = original;
  if (!DIGIT_OR_MARK_AT_END.test(digits)) return null;
  if (digits.search(NO_DIGIT_NOR_MARK) >= 0) {
    if (!GROUPS.test(digits)) return null;
    digits = digits.replace(NO_DIGIT_NOR_MARK, "");
  }
  const points = digits.split(".").length - 1;
  const commas = digits.split(",").length - 1;
  if (points + commas === 0) return [digits, ""];
  if (points && commas) {
    const decimal = digits.lastIndexOf(".") > digits.lastIndexOf(",") ? "." : ",";
    const thousands = decimal === "." ? "," : ".";
    return THOUSANDS_AND[decimal].test(digits) ? [digits.replaceAll(thousands, ""), decimal] : null;
  }
  const only = points ? "." : ",";
  if (points + commas > 1) {
    if (!THOUSANDS_BY[only].test(digits)) return null;
    return [digits.replaceAll(only, ""), points ? "," : "."];
  }
  return [digits, FEW_DIGITS.test(digits) && !hasExponent ? `?${only}` : only];
}

/** The decimal marks that the cells prove. */
export function provenMarks(cells: Cell[]): Set<Mark> {
  const marks = new Set<Mark>();
  for (const { mark } of cells) if (mark === "." || mark === ",") marks.add(mark);
  return marks;
}

/** A number that can be read in two ways; `place` is its place in the column. */
export class AmbiguousMark extends Error {
  constructor(readonly place: number, readonly text: string) {
    super(text);
  }
}

/**
 * The decimal mark of the open numbers of a column. `ofTable` are the marks proven anywhere in the
 * table and `decimal` is the user's word.
 */
function decimalOf(cells: Cell[], ofTable: Set<Mark>, decimal: Mark | null): Mark {
  if (decimal) return decimal;
  const asking = new Set(cells.filter(isOpen).map((cell) => cell.mark));
  if (!asking.size) return ".";
  const own = provenMarks(cells);
  const marks = own.size ? own : ofTable;
  const place = cells.findIndex(isOpen);
  const doubt = new AmbiguousMark(place, cells[place].text);
  if (asking.size > 1 || marks.size > 1) throw doubt;
  if (asking.has("?.")) { // three digits behind a point are a decimal fraction, unless commas are
    if (!marks.has(",")) return ".";
    if (!own.size) throw doubt;
    return ",";
  }
  if (!marks.size) throw doubt;
  return [...marks][0];
}

/**
 * The numbers of a column, NaN where a cell holds none, and whether a comma or point was taken to
 * part thousands. Throws `AmbiguousMark` where a number can be read in two ways.
 */
export function valuesOf(cells: Cell[], ofTable: Set<Mark>, decimal: Mark | null) {
  const mark = decimalOf(cells, ofTable, decimal);
  return {
    values: cells.map((cell) => (cell.kind === "number" ? valueOf(cell, mark) : NaN)),
    hasThousands: cells.some((cell) => isOpen(cell) && cell.mark[1] !== mark),
  };
}

const WAVELENGTH = whole(String.raw`\d+(?:[.,]\d+)?\s*nm`);

/** True for a header that is a number or a wavelength, and so tells nothing of the protein. */
export function isNumberAsName(text: string): boolean {
  return cellOf(text).kind === "number" || WAVELENGTH.test(plain(text));
}
