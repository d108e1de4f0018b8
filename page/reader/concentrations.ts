// Concentrations of a table in M: unit and denaturant, and whether they can be right.

import type { Options } from "./choices";
import { Column, Table, readNumbers } from "./columns";
import { shown, tidyName } from "./grid";
import { extent } from "./lists";
import { HIGHEST_WITHOUT_UNIT, factorToMolar, soluble } from "./quantities";
import { SPELLINGS, Unit, denaturantIn, denaturantOf, plain, unitOf, unitText } from "./spellings";
import { general, strippedOf } from "./text_rules";

const LITTLE = 0.2; // M; urea and guanidinium salts unfold hardly anything below
const LEAST = -0.05; // M; a refractometer may read a little below nothing

/** The name of a file without its ending. */
export function stemOf(source: string): string {
  const name = fileName(source);
  const dot = name.lastIndexOf(".");
  return dot > 0 && dot < name.length - 1 ? name.slice(0, dot) : name;
}

/** The name of a file without its folders. */
export function fileName(source: string): string {
  return source.slice(source.lastIndexOf("/") + 1);
}

/** The concentrations of a column in M. */
export function concentrations(table: Table, column: Column, options: Options): number[] {
  const { grid } = table;
  const told = options.unit ? unitOf(options.unit) : null;
  if (options.unit && told === null)
    throw table.fault(
      `--unit ${shown(options.unit)} is no unit of concentration; M, mM, µM, g/L, '% of 8 M' and '% w/v' are.`,
    );
  column.denaturant = denaturantFor(table, column, options);
  const unit = told ?? column.unit ?? unitColumn(table) ?? table.stated?.unit ?? null;
  const inCells = column.cells.map((cell) => {
    const own = cell.kind === "number" && cell.unit ? unitOf(cell.unit) : null;
    return own?.key === "%" && unit?.key === "%" ? null : own; // the header says of what the per cent are
  });
  const units = new Set(inCells.filter((own): own is Unit => own !== null).map(unitText));
  const values = readNumbers(table, column).map((value, i) => {
    const cell = column.cells[i];
    if (cell.kind !== "number") return value;
    const factor = factorToMolar(told ?? inCells[i] ?? unit, column.denaturant);
    if (typeof factor === "string") throw table.fault(`${factor}.`, i, column);
    if (inCells[i] === null && units.size && !unit && value !== 0.0)
      throw table.fault(`'${cell.text}' has no unit while other concentrations have one.`, i, column);
    return value * factor;
  });
  const overall = told ?? unit;
  const used = overall ? unitText(overall) : units.size === 1 ? [...units][0] : null;
  if (used === null && !units.size) grid.note("unit_assumed", "no unit of concentration is stated; M assumed");
  else if (used !== "M")
    grid.note("unit_converted", `concentrations converted to M from ${used ?? "the units of the cells"}`);
  column.unitUsed = used ?? (units.size ? [...units].join(", ") : null);
  checkConcentrations(table, column, values, used !== null || units.size > 0);
  return values;
}

function denaturantFor(table: Table, column: Column, options: Options): string | null {
  if (options.denaturant) return denaturantOf(options.denaturant) ?? tidyName(options.denaturant);
  if (column.denaturant !== null) return column.denaturant;
  const named = table.first("denaturant");
  return (
    (named && denaturantOf(named.cells[0].text)) ??
    table.stated?.denaturant ??
    denaturantIn(column.group) ??
    denaturantIn(stemOf(table.grid.source))
  );
}

/** The unit that a column 'unit' gives in every row, or null. */
function unitColumn(table: Table): Unit | null {
  for (const column of table.columns) {
    if (!SPELLINGS.metadata.unit.includes(plain(column.name))) continue;
    const units = new Map(column.cells.map((cell) => unitOf(cell.text)).map((u) => [u && unitText(u), u]));
    if (units.has(null)) continue;
    if (units.size > 1)
      throw table.fault("the concentrations have several units; convert them to one.", null, column);
    return [...units.values()][0];
  }
  return null;
}

function checkConcentrations(table: Table, column: Column, values: number[], hasUnit: boolean): void {
  const known = values.filter((value) => !Number.isNaN(value));
  const [least, highest] = extent(known);
  if (!known.length)
    throw table.fault("the column of concentrations holds no numbers; name another one with --x.", null, column);
  if (least < LEAST) {
    const i = values.indexOf(least);
    throw table.fault(`a concentration below 0, ${shown(column.cells[i].text)}.`, i, column);
  }
  if (known.length > 1 && least === highest)
    throw table.fault(`all concentrations are ${general(least)} M; name another column with --x.`, null, column);
  if (highest > HIGHEST_WITHOUT_UNIT && !table.options.unit) {
    const lack = hasUnit ? "" : " and no unit";
    throw table.fault(
      `concentrations up to ${general(highest)} M${lack}, but no denaturant dissolves to that. Say --unit mM, ` +
        "--unit '% of 8 M' or --unit M, or name another column with --x.", null, column,
    );
  }
  const limit = soluble(column.denaturant);
  if (highest > limit)
    table.grid.note(
      "beyond_solubility",
      `concentrations up to ${general(highest)} M, while ${general(limit)} M ` +
        `${column.denaturant || "any denaturant"} dissolve at 25 °C`,
    );
  if (highest < LITTLE)
    table.grid.note(
      "low_concentrations", `concentrations reach ${general(highest)} M only; say --unit if they are not in M`,
    );
}

/** A reading without a concentration is a fault, unless its row is a summary or marked as void. */
export function needConcentrations(table: Table, column: Column, rows: number[], x: number[], given: boolean[]): void {
  const isSummary = (text: string) => SPELLINGS.summary_rows.includes(text);
  rows.forEach((i, k) => {
    if (!given[k] || !Number.isNaN(x[k])) return;
    const cell = column.cells[i];
    const row = table.rows[i];
    const words = strippedOf(plain(table.grid.cell(row, 0)), ":. ") || plain(cell.text);
    if (cell.kind === "missing" || isSummary(strippedOf(plain(cell.text), ":. ")) || isSummary(words)) {
      const what = shown(cell.text || words);
      table.grid.note("row_left_out", `${table.grid.rowNames[row]} left out: its concentration is '${what}'`);
    } else if (cell.kind === "blank") {
      throw table.fault("a reading without a concentration.", i);
    } else {
      throw table.fault(`expected a concentration in M, found '${shown(cell.text)}'.`, i, column);
    }
  });
}
