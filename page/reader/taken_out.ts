// What a person took out of a sheet without deleting it: hidden rows and columns, numbers struck through.

import { filledCells, shown } from "./grid";
import { appendTo } from "./lists";
import { cellOf } from "./numbers";

/** What was left out, as notes tell it. */
export type LeftOut = readonly [code: string, what: string, why: string];

/** Takes it out of the rows of a sheet: a row that goes as a whole is null. Rows and columns count from 1. */
export function takenOut(
  rows: (string[] | null)[],
  hidden: { rows: Set<number>; spans: [first: number, last: number][] },
  strokes: [row: number, column: number][],
): LeftOut[] {
  const notes: LeftOut[] = [];
  const why = "it is hidden in the workbook";
  const columns = new Map<number, string>();
  const struck = new Map<number, number[]>();
  for (const [row, column] of strokes) appendTo(struck, row, column);
  rows.forEach((cells, i) => {
    const row = i + 1;
    if (cells === null) return;
    if (hidden.rows.has(row)) {
      if (cells.some(Boolean)) notes.push(["row_left_out", `row ${row}`, why]);
      rows[i] = null;
      return;
    }
    for (const [first, last] of hidden.spans)
      for (let c = first; c <= Math.min(last, cells.length); c++) {
        if (cells[c - 1] && !columns.has(c)) columns.set(c, cells[c - 1]);
        cells[c - 1] = "";
      }
    const crossed = (struck.get(row) ?? []).filter((c) => cells[c - 1] && cellOf(cells[c - 1]).kind === "number");
    if (crossed.length && crossed.length === filledCells(cells)) {
      notes.push(["struck_through", `row ${row}`, "it is struck through"]);
      rows[i] = null;
      return;
    }
    for (const c of crossed) {
      notes.push(["struck_through", `row ${row}, column ${c} ('${shown(cells[c - 1])}')`, "it is struck through"]);
      cells[c - 1] = "";
    }
  });
  for (const c of [...columns.keys()].sort((a, b) => a - b))
    notes.push(["column_left_out", `column ${c} ('${shown(columns.get(c)!)}')`, why]);
  return notes;
}
