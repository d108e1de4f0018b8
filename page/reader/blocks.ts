// Where the tables of a grid are: runs of rows of numbers, the header above, words around.
//
// A file may begin with lines about the instrument and end with more of them, may hold several tables
// below each other, and may name its concentrations in the first row in place of the first column.

import { Grid, filledCells, shown } from "./grid";
import { append } from "./lists";
import { CellKind, cellOf, isNumberAsName, valueOf } from "./numbers";
import { SPELLINGS, TEMPERATURE_UNITS, headerOf, plain, unitOf } from "./spellings";
import { Stated, statedAround, statesSomething } from "./stated";
import { split } from "./text";
import { stripped, strippedOf } from "./text_rules";

const UNIT_WORDS = new Set([
  ...SPELLINGS.unit_row_words, ...SPELLINGS.signal_units, ...TEMPERATURE_UNITS.keys(),
]);
const MARKS = ["label", "replicate", "temperature", "sd"]; // rows below a header that tell of each column

/** One table: rows of headers and of readings by their number in the grid. */
export interface Block {
  readonly grid: Grid;
  readonly header: number[]; // numbers of header rows, from the top
  marks: Map<string, number>; // role: number of the row
  readonly units: number | null; // number of the row of units
  readonly body: number[];
  readonly title: string;
  readonly corner: string; // name of the concentrations where it stands in a row of its own
  labels: string[]; // headers that stand elsewhere than above the table
}

export function kindsOf(row: string[]): CellKind[] {
  return row.map((cell) => cellOf(cell).kind);
}

/** What a row is: numbers, key and value, words, a rule, or blank. */
type RowClass = "numbers" | "key" | "words" | "rule" | "blank";

function classOf(row: string[]): RowClass {
  const kinds = kindsOf(row).filter((kind) => kind !== "blank");
  if (!kinds.length) return "blank";
  const numbers = kinds.filter((kind) => kind === "number").length;
  const hasText = kinds.includes("text");
  if (numbers >= 2 || (numbers === 1 && (!hasText || kinds[0] === "number"))) return "numbers";
  if (numbers) return "key";
  // Cells that could be marks of missing readings may be words of a header.
  return hasText || row.some((cell) => cell && headerOf(cell).role) ? "words" : "rule";
}

interface Run {
  above: number[];
  body: number[];
}

/** The `Block`s of a grid and what the rest of it states. */
export function findBlocks(grid: Grid): { blocks: Block[]; stated: Stated } {
  const classes = grid.rows.map(classOf);
  const runs: Run[] = [];
  const aside: number[] = [];
  let pending: number[] = [];
  classes.forEach((kind, i) => {
    if (kind !== "numbers") {
      pending.push(i);
      return;
    }
    const last = runs[runs.length - 1];
    if (last && continues(grid, last.body, pending, i, classes)) {
      append(last.body, [...pending.filter((r) => classes[r] === "key"), i]);
      append(aside, pending.filter((r) => classes[r] === "words"));
    } else {
      if (last) takeEnd(grid, last.body, pending, classes);
      runs.push({ above: pending, body: [i] });
    }
    pending = [];
  });
  if (runs.length) takeEnd(grid, runs[runs.length - 1].body, pending, classes);
  append(aside, pending);
  const most = runs.reduce((rows, run) => Math.max(rows, run.body.length), 0);
  const blocks: Block[] = [];
  let carried = new Map<string, number>();
  let groups: number[] = [];
  for (const [i, { above, body }] of runs.entries()) {
    if (body.length < Math.min(3, most)) {
      append(aside, above);
      const roles = body.map((r) => markRole(grid.rows[r]));
      if (areAboveNames(grid, body, runs[i + 1]?.above ?? [])) {
        if (countFromOne(grid, body[0])) carried = new Map([["replicate", body[0]]]);
        else [groups, classes[body[0]]] = [body, "words"];
      } else if (roles.every(Boolean)) carried = new Map(body.map((r, i) => [roles[i]!, r])); // marks above the header
      else append(aside, body);
      continue;
    }
    const { block, rest } = blockOf(grid, [...groups, ...above], body, classes);
    groups = [];
    block.marks = new Map([...carried, ...block.marks]);
    carried = new Map();
    blocks.push(block);
    append(aside, rest);
  }
  const around = aside.filter((r) => grid.rows[r].some(Boolean)).sort((a, b) => a - b);
  return { blocks, stated: statedAround(grid, around) };
}

/** True where the rows between two runs of numbers do not part two tables. */
function continues(grid: Grid, body: number[], pending: number[], row: number, classes: RowClass[]): boolean {
  if (pending.some((r) => classes[r] === "words" && filledCells(grid.rows[r]) > 1)) return false;
  if (!pending.length) return true;
  const [first, again] = [body[0], row].map((r) => cellOf(grid.cell(r, 0)));
  if (first.kind !== "number" || again.kind !== "number" || body.length < 3) return true;
  return valueOf(again) > valueOf(first); // a table that begins again is another one
}

/** Takes rows right below a run into it that are rows of readings with a fault. */
function takeEnd(grid: Grid, body: number[], pending: number[], classes: RowClass[]): void {
  while (pending.length && classes[pending[0]] === "key" && !statesSomething(grid.rows[pending[0]]))
    body.push(pending.shift()!);
}

/** The rows of a header's neighbourhood, sorted by what they are. */
interface Head {
  header: number[];
  marks: Map<string, number>;
  units: number | null;
  faulty: number[];
  rest: number[];
}

/** Sorts the rows above a run, from the lowest up. */
function sortHead(grid: Grid, above: number[], body: number[], classes: RowClass[]): Head & { near: number[] } {
  const startBefore = (end: number) => {
    let start = end;
    while (start && classes[above[start - 1]] !== "blank") start--;
    return start;
  };
  let start = startBefore(above.length);
  if (start === above.length && start && above.slice(-2).some((r) => filledCells(grid.rows[r]) > 1))
    start = startBefore(above.length - 1); // one blank row below the header
  const near = above.slice(start).filter((r) => classes[r] === "words" || classes[r] === "key");
  const width = widthOf(grid, body);
  const head: Head = { header: [], marks: new Map(), units: null, faulty: [], rest: above.slice(0, start) };
  for (const row of [...near].reverse()) {
    const cells = grid.rows[row];
    const role = markRole(cells);
    const aboutAxes = SPELLINGS.axis_keys.includes(plain(cells[0]));
    const alone = filledCells(cells) === 1 && width > 1 && cells[0]; // not one name above the columns of its group
    const headerAbove = () => near.some((r) => r < row && filledCells(grid.rows[r]) >= 2);
    if (alone || aboutAxes || (head.header.length && classes[row] === "key")) head.rest.push(row);
    else if (head.header.length) head.header.push(row);
    else if (role && cells.length > 1 && !head.marks.has(role) && headerAbove()) head.marks.set(role, row);
    else if (head.units === null && isUnitRow(cells) && row !== near[0]) head.units = row;
    else if (classes[row] === "words" || headerOf(cells[0]).role === "x" || !cells[0]) head.header.push(row);
    else if (cells.length === width && isHeader(grid, near, row - 1, classes) && !statesSomething(cells))
      head.faulty.push(row);
    else head.rest.push(row);
  }
  head.header.reverse();
  head.faulty.reverse();
  return { ...head, near };
}

/** The block of a run and of the rows above it; the rest of these goes back. */
function blockOf(
  grid: Grid, above: number[], run: number[], classes: RowClass[],
): { block: Block; rest: number[] } {
  const width = widthOf(grid, run);
  let { header, marks, rest, ...head } = sortHead(grid, above, run, classes);
  const body = [...head.faulty, ...run];
  let corner = "";
  if (header.length && namesColumns(grid, body, header[header.length - 1])) {
    if (!marks.has("replicate") && numbersReplicates(grid, body, header[header.length - 1])) {
      corner = grid.cell(body[0], 0);
      marks.set("replicate", body.shift()!);
    } else {
      header.push(body.shift()!);
    }
  }
  const firstKind = cellOf(grid.cell(body[0], 0)).kind;
  if (header.length && firstKind === "text" && grid.rows[header[header.length - 1]].length < width) {
    // The rows name themselves; what is above is about the file.
    rest = [...rest, ...header, ...marks.values()];
    header = [];
    marks = new Map();
  }
  if (!header.length && body.length > 1 && !markRole(grid.rows[body[0]])) {
    // Numbers may be names: the first row of the run with words in front.
    const below = cellOf(grid.cell(body[1], 0)).kind;
    if ((firstKind === "text" || firstKind === "blank") && (below === "number" || below === "text"))
      header = [body.shift()!];
  }
  for (;;) {
    const role = markRole(grid.rows[body[0]]);
    if (body.length < 2 || !role || marks.has(role)) break;
    marks.set(role, body.shift()!);
  }
  for (let row = header.length ? header[header.length - 1] + 1 : body[0]; row < body[0]; row++) {
    const cells = grid.rows[row]; // the concentrations may have their name in a row of its own
    if (cells.length === 1 && width > 1 && headerOf(cells[0]).role === "x") corner = cells[0];
  }
  if (header.length && !marks.has("replicate") && !grid.cell(body[0], 0))
    if (numbersReplicates(grid, body, header[header.length - 1])) marks.set("replicate", body.shift()!);
  const keep = headerRows(grid, header, body);
  rest = [...rest, ...header.filter((r) => !keep.includes(r))];
  const titles = rest.filter((r) => classes[r] === "words" && filledCells(grid.rows[r]) === 1);
  const title = titles.length ? grid.rows[titles[titles.length - 1]].find(Boolean)! : "";
  const labels = keep.length ? [] : headerElsewhere(grid, body, head.near);
  return { block: { grid, header: keep, marks, units: head.units, body, title, corner, labels }, rest };
}

/** Cells of the widest of the rows. */
export function widthOf(grid: Grid, rows: number[]): number {
  return rows.reduce((most, r) => Math.max(most, grid.rows[r].length), 0);
}

function markRole(cells: string[]): string | null {
  const role = cells.length ? headerOf(cells[0]).role : null;
  return role !== null && MARKS.includes(role) ? role : null;
}

function isHeader(grid: Grid, near: number[], row: number, classes: RowClass[]): boolean {
  return near.includes(row) && classes[row] === "words" && !statesSomething(grid.rows[row]);
}

/** True for a first row such as 'urea, 330, 340' below ', WT, WT': numbers that are names. */
function namesColumns(grid: Grid, body: number[], header: number): boolean {
  const first = grid.cell(body[0], 0);
  if (body.length < 3 || cellOf(grid.cell(body[1], 0)).kind !== "number") return false;
  if (first) return headerOf(first).role === "x" && cellOf(first).kind === "text";
  const numbers = grid.rows[body[0]].slice(1).every((cell) => cellOf(cell).kind === "number");
  return numbers && hasRepeats(grid, header) && !numbersReplicates(grid, body, header);
}

/** True for a row such as ', 330, 340' right above 'urea, WT, WT'. */
function areAboveNames(grid: Grid, rows: number[], above: number[]): boolean {
  const cells = grid.rows[rows[0]];
  if (rows.length > 1 || above[0] !== rows[0] + 1 || cells.length !== grid.rows[above[0]].length) return false;
  const numbers = cells.slice(1).every((cell) => cellOf(cell).kind === "number");
  return numbers && (!cells[0] || headerOf(cells[0]).kind === "wavelength") && hasRepeats(grid, above[0]);
}

function countFromOne(grid: Grid, row: number): boolean {
  const numbers = new Set(grid.rows[row].slice(1).map(wholeNumber));
  return [...numbers.keys()].map((_, i) => i + 1).every((number) => numbers.has(number));
}

function hasRepeats(grid: Grid, header: number): boolean {
  const names = grid.rows[header].slice(1);
  return new Set(names).size < names.length || names.includes("");
}

/** True for a first row such as ', 1, 2, 1, 2' below 'urea, WT, WT, V38A, V38A': 1, 2, ... without a gap. */
function numbersReplicates(grid: Grid, body: number[], header: number): boolean {
  return body.length > 2 && hasRepeats(grid, header) && countFromOne(grid, body[0]);
}

/** A row of units below the header: units of concentration or signal and nothing else. */
function isUnitRow(cells: string[]): boolean {
  const texts = cells.filter(Boolean).map((cell) => strippedOf(plain(cell), "()[] "));
  const isUnit = (text: string) => unitOf(text) !== null;
  return texts.every((text) => UNIT_WORDS.has(text) || isUnit(text)) && texts.some(isUnit);
}

/** The lowest row of the header, and the row of group names above it if there is one. */
function headerRows(grid: Grid, all: number[], body: number[]): number[] {
  const width = widthOf(grid, body);
  let rows = all;
  while (rows.length && width > 1 && filledCells(grid.rows[rows[rows.length - 1]]) < 2) rows = rows.slice(0, -1);
  if (rows.length < 2) return rows;
  const [high, low] = rows.slice(-2).map((r) => grid.rows[r]);
  const filled = high.map((_, i) => i).filter((i) => high[i]);
  const names = low.filter(Boolean);
  const ofKind = ["x", "y", "deviation", "n", "replicate"];
  const grouped = !high[0] || ["x", "curve"].includes(headerOf(high[0]).role ?? "");
  const generic =
    new Set(names).size < names.length || names.slice(1).every((name) => ofKind.includes(headerOf(name).role ?? "")) ||
    (grouped && low.slice(1).every((name) => !name || isNumberAsName(name)));
  const places = filled.join();
  const pairOfWords = places === "0,1" || (places === "0" && width !== 2);
  return generic && filled.length && !pairOfWords && width > 2 ? rows.slice(-2) : rows.slice(-1);
}

/** Names in the last comment above the table, or in a line parted otherwise than the table. */
function headerElsewhere(grid: Grid, body: number[], near: number[]): string[] {
  const width = widthOf(grid, body);
  const lines = [
    ...grid.comments.filter(([row]) => row <= body[0]),
    ...near.filter((r) => grid.rows[r].length === 1).map((r) => [r, grid.rows[r][0]] as const),
  ];
  lines.sort(([rowA, a], [rowB, b]) => rowB - rowA || (a < b ? 1 : a > b ? -1 : 0));
  for (const [, text] of lines) {
    for (const delimiter of [grid.delimiter, "\t", ";", ",", null]) {
      const cells = split(text, delimiter);
      if (cells.length === width && width > 1 && cells.some((cell) => headerOf(cell).role === "x")) return cells;
    }
  }
  return [];
}

/** Rows of two numbers and more that are in no table: they must not vanish without a word. */
export function noteRowsLeftOut(grid: Grid, blocks: Block[]): void {
  const used = new Set(blocks.flatMap((b) => [...b.header, ...b.body, ...b.marks.values(), b.units]));
  grid.rows.forEach((cells, row) => {
    if (used.has(row) || kindsOf(cells).filter((kind) => kind === "number").length < 2) return;
    grid.note("row_left_out", `${grid.rowNames[row]} ('${shown(cells.join(" "))}') belongs to no table`);
  });
}

/** The block below the first header with a column of the role, whatever its rows hold, or null. */
export function blockWith(grid: Grid, role: string): Block | null {
  for (const [i, row] of grid.rows.entries()) {
    const words = row.filter((cell) => cell && cellOf(cell).kind !== "number");
    if (words.length < 2 || !row.some((cell) => cell && headerOf(cell).role === role)) continue;
    const body = grid.rows.map((_, r) => r).filter((r) => r > i && grid.rows[r].some(Boolean));
    const units = body.length && isUnitRow(grid.rows[body[0]]) ? body.shift()! : null;
    if (!body.length) return null;
    return { grid, header: [i], marks: new Map(), units, body, title: "", corner: "", labels: [] };
  }
  return null;
}

/** Row and column of the corner above A and before 1 of every plate matrix. */
export function plateCorners(grid: Grid): [row: number, column: number][] {
  const found: [number, number][] = [];
  grid.rows.slice(0, -1).forEach((row, i) => {
    if (!row.slice(1, 4).some((cell) => cell.startsWith("1"))) return;
    const below = [i + 1, i + 2].find((r) => grid.rows[r]?.some(Boolean)) ?? i;
    for (let j = 0; j < Math.min(3, row.length); j++) {
      const ahead = row.slice(j + 1, j + 3).map(wholeNumber);
      const counts = ahead.length === 2 && ahead[0] === 1 && ahead[1] === 2;
      if (counts && wholeNumber(row[j]) === null && stripped(grid.cell(below, j)).toUpperCase() === "A") {
        found.push([i, j]);
        return;
      }
    }
  });
  return found;
}

/** The whole number that a cell holds ('3' and '3.0' are one), or null. */
export function wholeNumber(text: string): number | null {
  const cell = cellOf(text);
  const value = cell.kind === "number" && !cell.unit ? valueOf(cell) : 0.5;
  return Number.isInteger(value) ? value : null;
}
