// Curves from the tables of a grid, whichever way these are laid out.

import { Block, blockWith, findBlocks, kindsOf, noteRowsLeftOut, plateCorners } from "./blocks";
import type { Options, TableShown } from "./choices";
import { Column, KEYS, Table, readNumbers, shownTable, tableOf } from "./columns";
import { concentrations, fileName, needConcentrations } from "./concentrations";
import { RawCurve } from "./curve";
import { Grid, ReadError, filledCells, shown, tidyName } from "./grid";
import { append, appendTo, extent } from "./lists";
import { KeyText, namesOf, plainValue, signalNames } from "./names";
import { cellOf, valueOf } from "./numbers";
import { assignRoles } from "./roles";
import { runsLikeConcentration } from "./signals";
import { SPELLINGS, denaturantOf, headerOf, plain, unitOf } from "./spellings";
import { doubtTemperature, temperatureColumn, temperatureOf } from "./temperatures";
import { whole } from "./text_rules";

const UNNAMED = whole(String.raw`curve \d+`);
const DEVIATIONS = new Map([
  ["sem", "standard error"],
  ["error", "error"],
]);

/** All curves of a grid and its tables; notes go into the grid. */
export function curvesOf(grid: Grid, options: Options): { curves: RawCurve[]; tables: TableShown[] } {
  let { blocks, stated } = findBlocks(grid);
  if (!grid.rows.some((row) => row.some(Boolean)))
    throw grid.fault("the file holds no data; expected a concentration and a signal column.");
  const named = blocks.length ? null : blockWith(grid, "x");
  if (named) blocks = [named];
  if (!blocks.length) throw noReadings(grid);
  if (plateCorners(grid).length)
    throw grid.fault("this is a plate; say with --layout which well holds which sample and concentration.");
  noteRowsLeftOut(grid, blocks);
  const curves: RawCurve[] = [];
  const tables: TableShown[] = [];
  blocks.forEach((block, i) => {
    const table = tableOf(upright(block), stated, options);
    table.id = `${grid.sheet ?? ""}/${i + 1}`;
    let found: RawCurve[];
    try {
      assignRoles(table);
      found = curvesOfTable(table, options);
    } catch (fault) {
      if (fault instanceof ReadError) fault.tables = [...tables, shownTable(table)];
      throw fault;
    }
    append(curves, blocks.length > 1 ? titled(found, block.title || `table ${i + 1}`) : found);
    tables.push(shownTable(table));
  });
  if (curves.some((curve) => curve.temperature === null)) doubtTemperature(grid, stated);
  return { curves, tables };
}

/** Why a grid without a run of numbers cannot be used. */
function noReadings(grid: Grid) {
  if (grid.rows.every((row) => filledCells(row) < 2))
    return grid.fault(
      "found one column; expected a concentration column and at least one signal column, " +
        "parted by commas, semicolons, tabs or blanks.",
    );
  const rows = grid.rows.map((_, r) => r).filter((r) => filledCells(grid.rows[r]) > 1);
  for (const row of rows.slice(1)) {
    const kinds = kindsOf(grid.rows[row]);
    const column = kinds.includes("number") ? kinds.indexOf("text") : -1;
    if (column >= 0) return grid.fault(`expected a number, found '${shown(grid.cell(row, column))}'.`, row, column);
  }
  return grid.fault("the file has a header but no readings below it.");
}

/** Curves of one of several tables: a name that says nothing gets the title of its table. */
function titled(curves: RawCurve[], text: string): RawCurve[] {
  const title = tidyName(text);
  return curves.map((curve) => {
    const generic = headerOf(curve.name).role === "y" || UNNAMED.test(curve.name);
    if (!generic) return curve;
    return { ...curve, name: curves.length === 1 ? title : `${title} ${curve.name}` };
  });
}

/** The block itself, or with rows and columns changed where its concentrations run in a row. */
function upright(block: Block): Block {
  const { grid } = block;
  const rows = [...block.header, ...block.marks.values(), ...block.body].sort((a, b) => a - b);
  const kinds = rows.map((r) => cellOf(grid.cell(r, 0)).kind);
  const heads = rows.map((r) => headerOf(grid.cell(r, 0)));
  const along = grid.rows[rows[0]].slice(1);
  if (block.header.length > 1 || !along.some(Boolean)) return block;
  const numbers = along.map(cellOf).filter((cell) => cell.kind === "number");
  const molar = numbers.filter((cell) => unitOf(cell.unit) !== null).length;
  if (kinds[0] !== "number" && molar >= 3 && heads[0].role !== "x") return turned(block, rows);
  const below = kinds.slice(1);
  if (below.includes("number") || below.filter((kind) => kind === "text").length < below.length) return block;
  if (new Set(rows.map((r) => grid.cell(r, 0))).size < rows.length) return block;
  const named = numbers.length >= 3 && heads.some((head) => head.role === "x");
  const values = numbers.map((cell) => valueOf(cell));
  const runs = values.length >= 4 && [values, [...values].reverse()].some(runsLikeConcentration);
  return named || runs ? turned(block, rows) : block;
}

/** The block with its rows as columns; the corner names what runs along the row. */
function turned(block: Block, rows: number[]): Block {
  const grid = block.grid.transposed(rows);
  if (headerOf(grid.rows[0][0]).role !== "x") grid.rows[0][0] = "concentration";
  const { blocks } = findBlocks(grid);
  if (blocks.length !== 1)
    throw block.grid.fault("cannot tell the table whose concentrations run along this row.", rows[0]);
  return blocks[0];
}

// From columns to curves.

function curvesOfTable(table: Table, options: Options): RawCurve[] {
  const keys = table.columns.filter(({ role }) => role === "part" || KEYS.includes(role ?? ""));
  const temperatures = temperatureColumn(table, keys);
  const groups = new Map<string, number[]>();
  table.rows.forEach((_, i) => {
    appendTo(groups, JSON.stringify(keys.map((column) => column.cells[i].text)), i);
  });
  const molar = new Map(table.of("x").map((x) => [x, concentrations(table, x, options)]));
  const signals = table.of("y");
  const base = signalNames(table, signals);
  const curves: RawCurve[] = [];
  for (const rows of groups.values()) {
    const named = keyTexts(keys, rows[0]);
    const sample = named.find(([role]) => role === "curve")?.[2] ?? "";
    if (keys[0]?.role === "curve" && SPELLINGS.empty_samples.includes(plain(sample))) {
      table.grid.note("row_left_out", `rows of '${shown(sample)}' are no curve`);
      continue;
    }
    signals.forEach((signal, k) => {
      const numbers = readNumbers(table, signal);
      const temperature = temperatureOf(table, signal, temperatures, rows, named.map(([, , text]) => text));
      const names = namesOf(base[k], named, signals.length > 1, table, temperature);
      const known = { ...names, temperature };
      curves.push(curveOf(table, signal, rows, named, molar.get(signal.of!)!, numbers, known));
    });
  }
  return curves;
}

/** What the columns of keys say in a row; of several with one header the last counts. */
function keyTexts(keys: Column[], row: number): KeyText[] {
  const texts = new Map<string, KeyText>();
  for (const { role, header, cells } of keys)
    texts.set(JSON.stringify([role, header.text]), [role!, header.text, cells[row].text]);
  return [...texts.values()];
}

function curveOf(
  table: Table, signal: Column, rows: number[], named: KeyText[], molar: number[], numbers: number[],
  known: Pick<RawCurve, "name" | "label" | "replicate" | "group" | "temperature">,
): RawCurve {
  const { grid } = table;
  const { name } = known;
  const x = rows.map((i) => molar[i]);
  const label = known.label ?? markOf(table, "label", signal);
  const replicate = known.replicate ?? markOf(table, "replicate", signal);
  rows.forEach((i, k) => {
    const cell = signal.cells[i];
    if ((cell.kind !== "missing" && cell.kind !== "text") || Number.isNaN(x[k])) return;
    const what = `'${shown(cell.text)}' (${cell.reason || "not a number"})`;
    grid.note("blank", `${grid.rowNames[table.rows[i]]} of '${shown(name)}' holds ${what}`, name);
  });
  const given = rows.map((i) => !Number.isNaN(numbers[i]));
  noteRestart(table, rows, x, name);
  needConcentrations(table, signal.of!, rows, x, given);
  const take = rows.filter((_, k) => given[k] && !Number.isNaN(x[k])).sort((a, b) => molar[a] - molar[b]);
  let sd: number[] | null = null;
  let n: number[] | null = null;
  for (const column of table.columns.filter((c) => c.of === signal)) {
    if (column.role !== "deviation" && column.role !== "n") continue;
    const all = readNumbers(table, column);
    const values = take.map((i) => all[i]);
    if (column.role === "n") {
      n = values;
    } else {
      sd = values;
      const what = DEVIATIONS.get(column.header.kind ?? "") ?? "standard deviation";
      grid.note("deviation", `${column} kept as ${what} of '${shown(name)}'`, name);
    }
  }
  const inKeys = named.map(([, , text]) => denaturantOf(text)).find((found) => found !== null);
  const wells = table.first("well");
  const well = wells && [...new Set(take.map((i) => wells.cells[i].text))].slice(0, 400).join(" ");
  return {
    ...known, label, replicate, sd, n,
    x: take.map((i) => molar[i]),
    y: take.map((i) => numbers[i]),
    denaturant: inKeys ?? signal.of!.denaturant,
    unit: signal.of!.unitUsed,
    details: {
      file: fileName(grid.source),
      ...(grid.sheet ? { sheet: grid.sheet } : {}),
      ...(well !== null ? { well } : {}),
    },
  };
}

/** A note where the concentrations begin again: equal ones may be of another curve. */
function noteRestart(table: Table, rows: number[], x: number[], name: string): void {
  const known = x.map((_, k) => k).filter((k) => !Number.isNaN(x[k]));
  const falls = known.filter((k, j) => j > 0 && x[k] < x[known[j - 1]]);
  if (known.length <= 7 || !falls.length || falls.length > Math.floor(known.length / 4)) return;
  const [least, greatest] = extent(known.map((k) => x[k]));
  if (falls.some((k) => x[k] > least + 0.2 * (greatest - least))) return;
  const row = table.grid.rowNames[table.rows[rows[falls[0]]]];
  const text = `the concentrations of '${shown(name)}' begin again in ${row}; taken as one curve`;
  table.grid.note("begins_again", text, name);
}

/** What a row such as `label` below the header says of a signal, or null. */
function markOf(table: Table, role: string, signal: Column): string | number | null {
  return plainValue(table.marks.get(role)?.[signal.place] ?? "");
}
