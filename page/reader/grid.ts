// Cells of a table as text, with the places they came from, and the sentences about them.

import type { TableShown } from "./choices";
import { wordsBetweenBlanks } from "./text_rules";

/** A file that cannot be used; the message says file, place and what was expected. */
export class ReadError extends Error {
  override name = "ReadError";
  /** Where the columns could be told apart: the tables, for a person to say what each column is. */
  tables: TableShown[] = [];
}

/**
 * What the reader did with a file beside reading it: a short stable code and a sentence. `curve` is
 * the name of the curve it concerns, null where it concerns the file.
 */
export interface Note {
  readonly code: string;
  readonly sentence: string;
  readonly curve: string | null;
}

/** A line of comment and the number of the row that comes after it. */
export type Comment = readonly [row: number, text: string];

/** Rows of cells. `rowNames` and `columnNames` say where each was found in its source. */
export class Grid {
  readonly columnNames: string[];
  sheet: string | null;
  readonly delimiter: string | null;
  readonly notes: Note[];
  /** Cells of every row with its blank end, where the source tells. */
  readonly widths: number[] | null;
  readonly comments: Comment[];
  private readonly noted: Set<string>;

  constructor(
    readonly source: string,
    readonly rows: string[][],
    readonly rowNames: string[],
    more: {
      comments?: Comment[];
      columnNames?: string[];
      sheet?: string | null;
      delimiter?: string | null;
      widths?: number[];
      of?: Grid; // takes the notes too
    } = {},
  ) {
    const width = rows.reduce((most, row) => Math.max(most, row.length), 0);
    this.columnNames = more.columnNames ?? Array.from({ length: width }, (_, i) => `column ${i + 1}`);
    this.comments = more.comments ?? more.of?.comments ?? [];
    this.sheet = more.sheet ?? more.of?.sheet ?? null;
    this.delimiter = more.delimiter ?? more.of?.delimiter ?? null;
    this.widths = more.widths ?? null;
    this.notes = more.of?.notes ?? [];
    this.noted = more.of?.noted ?? new Set();
  }

  get width(): number {
    return this.columnNames.length;
  }

  /** A `ReadError` about a place of the grid. */
  fault(text: string, row: number | null = null, column: number | null = null): ReadError {
    const place = [this.source];
    if (this.sheet) place.push(`sheet '${this.sheet}'`);
    if (row !== null) place.push(this.rowNames[row]);
    if (column !== null) place.push(this.columnNames[column]);
    return new ReadError(`${place.join(", ")}: ${text}`);
  }

  cell(row: number, column: number): string {
    return this.rows[row][column] ?? "";
  }

  note(code: string, sentence: string, curve: string | null = null): void {
    const key = JSON.stringify([code, sentence, curve]);
    if (this.noted.has(key)) return;
    this.noted.add(key);
    this.notes.push({ code, sentence, curve });
  }

  /** The chosen rows as columns. */
  transposed(rows: number[]): Grid {
    const columns = this.columnNames.map((_, c) => rows.map((r) => this.cell(r, c)));
    const keep = columns.map((_, i) => i).filter((i) => columns[i].some(Boolean));
    return new Grid(
      this.source,
      keep.map((i) => columns[i]),
      keep.map((i) => this.columnNames[i]),
      { columnNames: rows.map((r) => this.rowNames[r]), of: this },
    );
  }
}

/** How many cells of a row hold something. */
export function filledCells(row: string[]): number {
  return row.reduce((count, cell) => count + (cell ? 1 : 0), 0);
}

/** A text of a file for a sentence: one line, no control characters, of bounded length. */
export function shown(text: string, most = 40): string {
  const letters = Array.from(tidyName(text));
  return letters.length <= most ? letters.join("") : `${letters.slice(0, most).join("")}…`;
}

/** A name without control characters and without marks that turn the direction of text. */
export function tidyName(text: string): string {
  return wordsBetweenBlanks(text.replaceAll("\ufeff", ""))
    .join(" ")
    .replace(/[\p{C}\p{Z}]/gu, (mark) => (mark === " " ? mark : ""));
}
