// The columns of a table: headers joined with cells, cells read as numbers.

import { Block, widthOf } from "./blocks";
import type { Options, Role, TableShown } from "./choices";
import { Grid, shown, tidyName } from "./grid";
import { counted } from "./lists";
import { AmbiguousMark, Cell, Mark, cellOf, provenMarks, valueOf, valuesOf } from "./numbers";
import { Header, LONGEST_HEADER, Unit, headerOf, unitOf, unitText } from "./spellings";
import { Stated } from "./stated";
import { startOf, strippedOf } from "./text_rules";

const MOST_COLUMNS = 5000; // the wells of three of the largest plates

/** Roles of columns that say to which curve a row belongs. */
export const KEYS = ["curve", "label", "replicate"];

const OWN_NAMES: Partial<Record<Role, string>> = {
  concentration: "x", signal: "y", sd: "deviation", ignore: "left out",
};
const PUBLIC_NAMES = new Map<string, Role>([
  ["x", "concentration"], ["y", "signal"], ["deviation", "sd"], ["n", "n"], ["curve", "curve"], ["label", "label"],
  ["part", "label"], ["replicate", "replicate"], ["temperature", "temperature"], ["well", "well"],
]);

/** A column of a table: header, cells, and what it is taken for. */
export class Column {
  role: string | null = null;
  /** True where a person said the role. */
  told = false;
  unit: Unit | null;
  unitText = ""; // of the row of units below the header
  denaturant: string | null;
  /** Of concentrations: the unit they were converted from, null where M was assumed. */
  unitUsed: string | null = null;
  /** Of a deviation or a count: its signal; of a signal: its concentrations. */
  of: Column | null = null;
  numbers: number[] | null = null;

  constructor(
    readonly place: number,
    readonly name: string,
    readonly header: Header,
    readonly cells: Cell[],
    readonly group = "",
  ) {
    this.unit = header.unit;
    this.denaturant = header.denaturant;
  }

  toString(): string {
    return this.name ? `column '${shown(this.name)}'` : `column ${this.place + 1}`;
  }

  count(kind: Cell["kind"]): number {
    return this.cells.reduce((sum, cell) => sum + (cell.kind === kind ? 1 : 0), 0);
  }

  get isNumeric(): boolean {
    const numbers = this.count("number");
    return numbers > 0 && numbers >= this.count("text");
  }
}

/** The columns of a block; `rows` are the numbers of its rows of readings in the grid. */
export class Table {
  /** Tells the tables of a file apart. */
  id = "";

  constructor(
    readonly grid: Grid,
    readonly rows: number[],
    readonly columns: Column[],
    readonly options: Options,
    readonly stated: Stated | null = null,
    readonly marks = new Map<string, string[]>(),
    readonly title = "",
    readonly named = false, // true where the table has a header
    readonly proven: Set<Mark> = provenMarks(columns.flatMap((column) => column.cells)),
  ) {}

  /** The role that a person told for a column, or null. */
  toldRole(column: Column): string | null {
    const { roles = [] } = this.options;
    const role = roles.find((told) => told.table === this.id && told.column === column.place + 1)?.role;
    return role === undefined ? null : OWN_NAMES[role] ?? role;
  }

  of(role: string): Column[] {
    return this.columns.filter((column) => column.role === role);
  }

  first(role: string): Column | null {
    return this.columns.find((column) => column.role === role) ?? null;
  }

  leaveOut(column: Column, why: string): void {
    column.role = "left out";
    this.grid.note("column_left_out", `${column} left out: ${why}`);
  }

  fault(text: string, row: number | null = null, column: Column | null = null) {
    return this.grid.fault(text, row === null ? null : this.rows[row], column && column.place);
  }
}

export function shownTable(table: Table): TableShown {
  return {
    id: table.id,
    sheet: table.grid.sheet,
    title: tidyName(table.title),
    rowNames: table.rows.map((row) => table.grid.rowNames[row]),
    columns: table.columns.map((column) => ({
      number: column.place + 1,
      name: column.name,
      role: PUBLIC_NAMES.get(column.role ?? "") ?? "ignore",
      unit: column.unit && unitText(column.unit),
      denaturant: column.denaturant,
      cells: column.cells.map((cell) => cell.text),
    })),
  };
}

/** The `Table` of a block, its cells read and its columns without roles. */
export function tableOf(block: Block, stated: Stated, options: Options): Table {
  const { grid, body: rows } = block;
  const [groups, names] = headersOf(block, stated);
  if (widthOf(grid, rows) > MOST_COLUMNS)
    throw grid.fault(`the table has ${widthOf(grid, rows)} columns; at most ${MOST_COLUMNS} are read.`);
  const [low, shift] = fitHeader(block, names, widthOf(grid, rows));
  const high = [...Array<string>(shift).fill(""), ...groups];
  const columns: Column[] = [];
  let group = "";
  for (let c = 0; c < Math.max(widthOf(grid, rows), low.length); c++) {
    const over = tidyName(startOf(high[c] ?? "", LONGEST_HEADER));
    group = over || group;
    const text = tidyName(startOf(low[c] ?? "", LONGEST_HEADER));
    const cells = rows.map((r) => cellOf(grid.cell(r, c)));
    if (!text && !over && cells.every((cell) => cell.kind === "blank")) continue;
    const column = new Column(c, text, headerOf(text), cells, group);
    if (block.units !== null) {
      column.unitText = strippedOf(grid.cell(block.units, c), "()[] ");
      column.unit = column.unit ?? unitOf(column.unitText);
    }
    columns.push(column);
  }
  const marks = new Map([...block.marks].map(([role, row]) => [role, grid.rows[row]]));
  return new Table(grid, rows, columns, options, stated, marks, block.title, names.length > 0);
}

/** The texts of the row of groups and of the row of names. */
function headersOf(block: Block, stated: Stated): [groups: string[], names: string[]] {
  const rows = block.header.map((r) => block.grid.rows[r]);
  if (!rows.length && block.labels.length) return [[], block.labels];
  const names = rows.length ? [...rows[rows.length - 1]] : [];
  if (stated.axes.length && !names.some((cell) => headerOf(cell).role === "x")) return [[], stated.axes];
  const above = rows.length > 1 ? rows[rows.length - 2][0] ?? "" : "";
  if (names.length && block.corner) names[0] = block.corner;
  else if (names.length && !names[0] && headerOf(above).role === "x") names[0] = above;
  return [rows.length > 1 ? rows[rows.length - 2] : [], names];
}

/** Names for all columns and how many columns precede them; a row wider than its header is a fault. */
function fitHeader(block: Block, names: string[], width: number): [names: string[], shift: number] {
  const { grid, body } = block;
  if (!names.length) {
    needEqualRows(block, width);
    return [[], 0];
  }
  let low = grid.delimiter === null && names.length > width ? rejoined(names, width, block) : names;
  low = notWider(block, low);
  // The blank names at its end were cut off with its marks, and are no sign of a column of row numbers.
  const written = grid.widths && block.header.length ? grid.widths[block.header[block.header.length - 1]] : 0;
  while (low.length < Math.min(written, width)) low = [...low, ""];
  if (low.length === width - 1 && low.length > 2 && !low.some((name, i) => i % 2 === 1 && name))
    low = [...low, ""]; // names above pairs of columns: the last is blank and was cut off
  needEqualRows(block, Math.max(width, low.length));
  const wider = body.find((r) => grid.rows[r].length > low.length);
  if (wider === undefined) return [low, 0];
  const first = body.map((r) => cellOf(grid.cell(r, 0)));
  const counts = first.every((c) => c.kind === "number" && !c.mark) && countsRows(first.map((c) => valueOf(c)));
  if (counts && low.every(Boolean) && body.every((r) => grid.rows[r].length === low.length + 1))
    return [["", ...low], 1]; // numbers of rows without a header of their own
  const cells = grid.rows[wider].length;
  const why = `the row has ${cells} cells and the header ${low.length}`;
  if (grid.delimiter === "," && cells >= 2 * low.length - 1)
    throw grid.fault(
      `${why}. Where commas are decimal marks, save the table with semicolons or tabs between the columns.`, wider,
    );
  throw grid.fault(`${why}; give every column a name, or remove what stands beside the table.`, wider);
}

/** A header with more names than the rows have cells was cut within brackets, or is a fault. */
function notWider(block: Block, low: string[]): string[] {
  const { grid, header } = block;
  const widths = grid.widths;
  const width = widths ? block.body.reduce((most, r) => Math.max(most, widths[r]), 0) : low.length;
  if (low.length <= width || !header.length || grid.delimiter === null) return low;
  const isOpen = (text: string) => text.split("(").length > text.split(")").length;
  const joined: string[] = [];
  for (const cell of low) {
    if (joined.length && isOpen(joined[joined.length - 1])) joined[joined.length - 1] += `, ${cell}`;
    else joined.push(cell);
  }
  if (joined.length > width)
    throw grid.fault(`the header has ${joined.length} names and the rows ${width} cells.`, header[header.length - 1]);
  return joined;
}

/** Between blanks a cell that is missing cannot be told: all rows must be of one width. */
function needEqualRows(block: Block, width: number): void {
  const { grid } = block;
  if (grid.delimiter !== null) return;
  const short = block.body.find((r) => grid.rows[r].length < width);
  if (short !== undefined)
    throw grid.fault(
      `the row has ${grid.rows[short].length} cells and the table ${width} columns; where blanks part the ` +
        "columns, a missing reading has to be written, as NA.",
      short,
    );
}

/** A header parted by blanks whose units were parted from their names: 'Urea (M)'. */
function rejoined(low: string[], width: number, block: Block): string[] {
  const joined: string[] = [];
  for (const word of low) {
    const last = joined[joined.length - 1];
    if (last !== undefined && (!word || "([/".includes(word[0]) || last.endsWith("/")))
      joined[joined.length - 1] += ` ${word}`;
    else joined.push(word);
  }
  if (joined.length !== width)
    throw block.grid.fault(
      `the header has ${low.length} words and the table ${width} columns; names with blanks need ` +
        "tabs, commas or semicolons between the columns.",
      block.header.length ? block.header[block.header.length - 1] : null,
    );
  return joined;
}

/** True for 0, 1, 2, ... or 1, 2, 3, ... */
export function countsRows(values: number[]): boolean {
  const rises = values.every((value, i) => i === 0 || value - values[i - 1] === 1.0);
  return values.length > 1 && (values[0] === 0.0 || values[0] === 1.0) && rises;
}

/** The numbers of a column, NaN where a cell holds none; kept for the next call. */
export function readNumbers(table: Table, column: Column): number[] {
  if (column.numbers) return column.numbers;
  try {
    const { values, hasThousands } = valuesOf(column.cells, table.proven, table.options.decimal ?? null);
    column.numbers = values;
    if (hasThousands)
      table.grid.note("thousands", `${column} holds marks of thousands, which were taken as such`);
    return values;
  } catch (doubt) {
    if (!(doubt instanceof AmbiguousMark)) throw doubt;
    const text = `'${shown(doubt.text)}' may be a decimal fraction or thousands; say --decimal . or --decimal ,`;
    throw table.fault(text, doubt.place, column);
  }
}

/** The numbers of a column without its blanks. */
export function knownNumbers(table: Table, column: Column): number[] {
  return readNumbers(table, column).filter((value) => !Number.isNaN(value));
}

/** The values of the cells of a column and how often each is there. */
export function countedTexts(column: Column): Map<string, number> {
  return counted(column.cells.map((cell) => cell.text));
}
