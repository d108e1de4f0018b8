// Curves from files: wide and long tables, text and workbooks, plates with a layout.
//
// The rules are those of the host's reader, file by file of the same name, and a test holds the two
// together: of every file they give the same curves, or the same sentence. Where a file leaves it open,
// `Options` say what a person knows.

import type { Options, TableShown } from "./choices";
import { Curve, RawCurve, identicalCurves, remarksOf, settled, summaryOf, tellApart } from "./curve";
import { decode } from "./encoding";
import { Grid, Note, ReadError, shown } from "./grid";
import { append } from "./lists";
import { numberReplicates } from "./names";
import { plateCurves } from "./plates";
import { curvesOf } from "./tables";
import { gridOfText } from "./text";
import { general, stripped } from "./text_rules";
import { gridsOfWorkbook, isWorkbook } from "./workbook";

export { ReadError } from "./grid";
export type { ColumnShown, Options, Role, RoleChoice, TableShown } from "./choices";
export type { Curve, CurveDetails } from "./curve";
export type { Note } from "./grid";

const MOST_BYTES = 100_000_000;

/** A file by its name, which sentences cite, and its bytes. A pasted text is encoded as UTF-8. */
export interface SourceFile {
  readonly name: string;
  readonly bytes: Uint8Array;
}

/** What a person says of a file or of several; what is missing or null is left to the reader. */
export interface Choices extends Options {
  /**
   * A table with the columns well, sample, concentration and, if wanted, label, replicate and
   * temperature; the file is then a plate.
   */
  readonly layout?: SourceFile | null;
  /** Name of a sheet of a workbook or its number from 1; without it all sheets with a table are read. */
  readonly sheet?: string | number | null;
  /** °C of the curves whose file does not say it. */
  readonly temperature?: number | null;
}

/** All that was read of a file. */
export interface Reading {
  readonly source: string;
  readonly curves: Curve[];
  /** What was assumed, converted, doubted or left out. */
  readonly notes: Note[];
  /** What was read in one line: 'read 40 readings of 3 curves, 0 to 8 M urea, 25 °C assumed, 2 blanks'. */
  readonly summary: string;
  /** Sentences of the notes that the summary does not say, many of one kind as one. */
  readonly remarks: string[];
  /** Every table with the role of each column, for a person to check and change. A plate has none. */
  readonly tables: TableShown[];
}

/**
 * What a file holds. Throws `ReadError` with file, row, column and what was expected where it cannot
 * be used: one sentence, to be shown as text.
 */
export function readFile(name: string, bytes: Uint8Array, choices: Choices = {}): Reading {
  return readingOf(rawReading({ name, bytes }, choices), choices);
}

/**
 * What each of several files holds: its `Reading`, or the `ReadError` that stood in the way. Curves of
 * equal names are told apart by their file, and equal readings are noted.
 */
export function readFiles(files: readonly SourceFile[], choices: Choices = {}): (Reading | ReadError)[] {
  const found = files.map((file) => {
    try {
      return rawReading(file, choices);
    } catch (fault) {
      if (fault instanceof ReadError) return fault;
      throw fault;
    }
  });
  const { curves, notes } = tellApart(found.flatMap((one) => (one instanceof ReadError ? [] : one.curves)));
  append(notes, identicalCurves(curves));
  let next = 0;
  return found.map((one) => {
    if (one instanceof ReadError) return one;
    const own = one.curves.map(() => curves[next++]);
    const names = new Set(own.map((curve) => curve.name));
    const known = new Set(one.notes.map((note) => JSON.stringify(note)));
    const more = notes.filter((note) => names.has(note.curve!) && !known.has(JSON.stringify(note)));
    return readingOf({ ...one, curves: own, notes: [...one.notes, ...more] }, choices);
  });
}

/** A reading before it is said what holds where the file is silent. */
interface RawReading {
  readonly source: string;
  readonly curves: RawCurve[];
  readonly notes: Note[];
  readonly tables: TableShown[];
}

function rawReading(file: SourceFile, choices: Choices): RawReading {
  const { grids, notes } = gridsOf(file, choices.skipRows ?? 0, choices.sheet ?? null);
  let found: { curves: RawCurve[]; tables: TableShown[] };
  if (choices.layout) {
    const [plate, ...others] = filledOf(grids);
    found = { curves: plateCurves(plate, layoutGrid(choices.layout), choices), tables: [] };
    append(notes, plate.notes);
    const why = "the layout is of one sheet; --sheet takes another";
    append(notes, others.map((grid) => sheetLeftOut(grid.sheet!, why)));
  } else {
    found = curvesOfSheets(grids, choices, notes);
  }
  if (!found.curves.length) throw new ReadError(`${file.name}: found no readings.`);
  const { curves, notes: renamed } = tellApart(numberReplicates(found.curves));
  append(notes, [...renamed, ...identicalCurves(curves)]);
  return { source: file.name, curves, notes, tables: found.tables };
}

function readingOf(raw: RawReading, { temperature = null }: Choices): Reading {
  const doubted = temperature === null ? raw.notes : raw.notes.filter(({ code }) => code !== "temperature_unclear");
  const notes = [...doubted, ...temperatureKept(raw.curves, temperature)];
  return {
    ...raw,
    notes,
    curves: raw.curves.map((curve) => settled(curve, temperature, notes)),
    summary: summaryOf(raw.curves, notes, temperature),
    remarks: remarksOf(notes),
  };
}

/** A note where a file says another temperature than the one given. */
function temperatureKept(curves: RawCurve[], given: number | null): Note[] {
  const stated = [...new Set(curves.flatMap((curve) => curve.temperature ?? []))].filter((t) => t !== given);
  if (given === null || !stated.length) return [];
  const texts = stated.sort((a, b) => a - b).map((t) => general(t)).join(" and ");
  const sentence = `${texts} °C of the file kept; ${general(given)} °C is for curves whose file is silent`;
  return [{ code: "temperature_kept", sentence, curve: null }];
}

/** The grids of a file: one of a text, one per sheet of a workbook. */
function gridsOf(
  { name, bytes }: SourceFile, skipRows: number, sheet: string | number | null,
): { grids: Grid[]; notes: Note[] } {
  if (bytes.length > MOST_BYTES)
    throw new ReadError(`${name}: the file has more than ${MOST_BYTES / 1e6} MB; keep the table alone.`);
  if (!isWorkbook(bytes)) {
    if (name.toLowerCase().endsWith(".xlsx"))
      throw new ReadError(`${name}: expected an Excel workbook, found other data.`);
    return { grids: [gridOfText(name, decode(name, bytes), skipRows)], notes: [] };
  }
  const { grids, hidden } = gridsOfWorkbook(name, bytes, skipRows);
  if (!grids.length) throw new ReadError(`${name}: found no readings.`);
  const notes = hidden.map((title) => sheetLeftOut(shown(title), "it is hidden"));
  return { grids: sheet === null ? grids : [chosenSheet(name, grids, sheet)], notes };
}

function sheetLeftOut(title: string, why: string): Note {
  return { code: "sheet_left_out", sentence: `sheet '${title}' left out: ${why}`, curve: null };
}

function chosenSheet(source: string, grids: Grid[], sheet: string | number): Grid {
  const text = stripped(String(sheet));
  const byName = grids.find((grid) => grid.sheet === text);
  const chosen = byName ?? (/^\d+$/.test(text) ? grids[Number(text) - 1] : undefined);
  if (chosen) return chosen;
  const names = grids.map((grid) => `'${grid.sheet}'`).join(", ");
  throw new ReadError(`${source}: there is no sheet '${shown(text)}'; the sheets are ${names}.`);
}

/** The grids that hold something, or the first of them. */
function filledOf(grids: Grid[]): Grid[] {
  const filled = grids.filter((grid) => grid.rows.some((row) => row.some(Boolean)));
  return filled.length ? filled : grids.slice(0, 1);
}

/** The grid of a layout; of a workbook the first sheet that is not empty. */
function layoutGrid(file: SourceFile): Grid {
  const { grids } = gridsOf(file, 0, null);
  return filledOf(grids)[0];
}

/** Curves of all sheets with a table; the first fault counts where no sheet has one. */
function curvesOfSheets(
  grids: Grid[], options: Options, notes: Note[],
): { curves: RawCurve[]; tables: TableShown[] } {
  const filled = filledOf(grids);
  const curves: RawCurve[] = [];
  const tables: TableShown[] = [];
  const faults: [sheet: string, fault: ReadError][] = [];
  for (const grid of filled) {
    if (filled.length === 1) grid.sheet = null;
    try {
      const found = curvesOf(grid, options);
      append(curves, found.curves);
      append(tables, found.tables);
      append(notes, grid.notes);
    } catch (fault) {
      if (filled.length === 1 || !(fault instanceof ReadError)) throw fault;
      faults.push([grid.sheet!, fault]);
    }
  }
  if (!curves.length && faults.length) throw faults[0][1];
  for (const [title, { message }] of faults)
    notes.push(sheetLeftOut(title, message.slice(message.indexOf(": ") + 2)));
  return { curves, tables };
}
