// Curves from a plate and its layout.
//
// The plate is a matrix with rows A, B, ... and columns 1, 2, ..., or several of them below each
// other, one per wavelength, or a table with a row per well. The layout is a table that names sample
// and concentration of every well.

import { blockWith, findBlocks, plateCorners, wholeNumber } from "./blocks";
import type { Options } from "./choices";
import { Column, Table, readNumbers, tableOf } from "./columns";
import { concentrations, fileName } from "./concentrations";
import { RawCurve } from "./curve";
import { Grid, shown, tidyName } from "./grid";
import { append, appendTo } from "./lists";
import { plainValue } from "./names";
import { Cell, cellOf, provenMarks, valueOf } from "./numbers";
import { celsius, temperatureFrom, temperatureUnit } from "./quantities";
import { SPELLINGS, headerOf, plain } from "./spellings";
import { Stated } from "./stated";
import { doubtTemperature, temperatureOfNames } from "./temperatures";
import { stripped, strippedOf, whole } from "./text_rules";

const WELL = whole(String.raw`([A-Z]|A[A-F])[\s\-_]*0*([1-9]\d?)`);
const PLATE_ROW = /^(?:[A-Z]|A[A-F])$/;
const ROW_OF_96_OR_384 = /^[A-P]$/;

/** A cell of the plate and where it stands in the grid. */
type Place = readonly [cell: Cell, row: number, column: number];
type Places = Map<string, Place>; // by well
type Signals = Map<string, Map<string, readonly [value: number, cell: Cell]>>; // by name and well

/** 'A1' of 'A01', 'a 1' or 'A1'; null where it is no well. */
function wellOf(text: string): string | null {
  const match = WELL.exec(stripped(text).toUpperCase());
  return match && `${match[1]}${match[2]}`;
}

/** Cells by well for every matrix of the grid. */
function matricesOf(grid: Grid): Map<string, Places> {
  const corners = plateCorners(grid);
  const matrices = new Map<string, Places>();
  corners.forEach(([top, left], k) => {
    const places = matrixAt(grid, top, left, corners[k + 1]?.[0] ?? grid.rows.length);
    if (places.size) matrices.set(titleOf(grid, top, left, matrices), places);
  });
  return matrices;
}

function matrixAt(grid: Grid, top: number, left: number, end: number): Places {
  const places: Places = new Map();
  for (let i = top + 1; i < end; i++) {
    const row = grid.rows[i];
    const letter = stripped(grid.cell(i, left)).toUpperCase();
    if (PLATE_ROW.test(letter)) {
      for (let j = left + 1; j < grid.rows[top].length; j++) {
        const number = wholeNumber(grid.cell(top, j));
        if (number !== null) places.set(`${letter}${number}`, [cellOf(grid.cell(i, j)), i, j]);
      }
      continue;
    }
    if (!row.some(Boolean)) continue;
    const { kind } = cellOf(grid.cell(i, left));
    const readings = row.slice(left + 1).filter((cell) => cellOf(cell).kind === "number").length;
    if ((kind === "number" || kind === "blank") && readings > 1)
      throw grid.fault(`expected a plate row A to P, found '${shown(grid.cell(i, left))}'.`, i, left);
    if (places.size) break;
  }
  return places;
}

/** The name of a matrix: its corner, or the words right above it. */
function titleOf(grid: Grid, top: number, left: number, taken: Map<string, Places>): string {
  const words = [strippedOf(grid.cell(top, left), "<> ")];
  const above = [top - 1, top - 2].find((r) => r >= 0 && grid.rows[r].some(Boolean));
  const cells = above === undefined ? [] : grid.rows[above];
  if (cells[0] && !ROW_OF_96_OR_384.test(cells[0])) words.push(cells.slice(0, 3).filter(Boolean).join(" "));
  const title = tidyName(words.find(Boolean) ?? "") || `block ${taken.size + 1}`;
  return taken.has(title) ? `${title} ${taken.size + 1}` : title;
}

/** The signals of a plate with the number and the cell of every well. */
function signalsOf(grid: Grid, options: Options): Signals {
  const found = matricesOf(grid);
  const matrices = found.size ? found : wellTable(grid, options);
  const all = [...matrices.values()].flatMap((places) => [...places.values()]);
  const proven = provenMarks(all.map(([cell]) => cell));
  const signals: Signals = new Map();
  for (const [name, places] of matrices) {
    const entries = [...places.values()];
    const column = new Column(entries[0][2], name, headerOf(name), entries.map(([cell]) => cell));
    const rows = entries.map(([, row]) => row);
    const values = readNumbers(new Table(grid, rows, [column], options, null, new Map(), "", false, proven), column);
    signals.set(name, new Map([...places.keys()].map((well, i) => [well, [values[i], entries[i][0]]])));
  }
  return signals;
}

/** A table with a row per well and a signal in every further column. */
function wellTable(grid: Grid, options: Options): Map<string, Places> {
  const block = blockWith(grid, "well");
  if (block !== null) {
    const table = tableOf(block, findBlocks(grid).stated, options);
    const wells = table.columns.find((column) => column.header.role === "well")!;
    const withRole = (role: string | null) =>
      table.columns.filter((column) => column.header.role === role && column.isNumeric);
    const signals = withRole("y").length ? withRole("y") : withRole(null);
    const names = wells.cells.map((cell) => wellOf(cell.text));
    names.forEach((name, i) => {
      if (name && names.indexOf(name) < i) throw table.fault(`well ${name} is there twice.`, i, wells);
    });
    if (signals.length && names.some(Boolean))
      return new Map(signals.map((signal) => [signal.name, placesIn(table, signal, names)]));
  }
  throw grid.fault(
    "expected a plate matrix with columns 1, 2, ... and rows A, B, ..., or a table with the columns well and signal.",
  );
}

function placesIn(table: Table, signal: Column, names: (string | null)[]): Places {
  const places: Places = new Map();
  names.forEach((name, i) => {
    if (name) places.set(name, [signal.cells[i], table.rows[i], signal.place]);
  });
  return places;
}

/** The table of the layout and its columns by role. */
function layoutTable(layout: Grid, options: Options): { table: Table; roles: Map<string | null, Column> } {
  const block = blockWith(layout, "well") ?? blockWith(layout, "curve") ?? blockWith(layout, "x");
  if (block === null) throw layout.fault("expected a layout with the columns well, sample and concentration.");
  const table = tableOf(block, findBlocks(layout).stated, options);
  const roles = new Map<string | null, Column>();
  for (const column of table.columns) {
    if (!roles.has(column.header.role)) roles.set(column.header.role, column);
  }
  const needed: [role: string, name: string][] = [["well", "well"], ["curve", "sample"], ["x", "concentration"]];
  const lacking = needed.filter(([role]) => !roles.has(role)).map(([, name]) => name);
  if (lacking.length)
    throw layout.fault(
      `a layout needs the columns well, sample and concentration; missing: ${lacking.join(", ")}.`,
    );
  return { table, roles };
}

/** A layout joined with the signals of its plate. */
interface Plate {
  readonly grid: Grid;
  readonly table: Table; // of the layout
  readonly roles: Map<string | null, Column>;
  readonly wells: Map<number, string>; // by the row of the layout
  readonly molar: number[];
  readonly stated: Stated;
}

/** The curves of a plate, sample by sample in the order of the layout. */
export function plateCurves(grid: Grid, layout: Grid, options: Options): RawCurve[] {
  const signals = signalsOf(grid, options);
  const { table, roles } = layoutTable(layout, { ...options, x: null, columns: null });
  const ofPlate = findBlocks(grid).stated;
  const ofLayout = table.stated!;
  const silent = ofPlate.temperature === null && ofPlate.unclear === null;
  const stated = silent ? { ...ofPlate, temperature: ofLayout.temperature } : ofPlate;
  const sample = roles.get("curve")!;
  const isEmpty = sample.cells.map(
    ({ kind, text }) => kind === "blank" || kind === "missing" || SPELLINGS.empty_samples.includes(plain(text)),
  );
  const onPlate = new Set([...signals.values()].flatMap((wells) => [...wells.keys()]));
  const wells = wellsOf(grid, table, roles.get("well")!, isEmpty, onPlate);
  const molar = concentrations(table, roles.get("x")!, options);
  const named = new Set(wells.values());
  const lone = [...onPlate].filter((well) => !named.has(well)).length;
  if (lone) grid.note("wells_left_out", `${lone} wells of the plate are not in the layout`);
  const keys = ["curve", "label", "replicate"].map((role) => roles.get(role));
  const groups = new Map<string, number[]>();
  table.rows.forEach((_, i) => {
    if (isEmpty[i]) return;
    appendTo(groups, JSON.stringify(keys.map((column) => column?.cells[i].text ?? "")), i);
  });
  const plate: Plate = { grid, table, roles, wells, molar, stated };
  const curves = [...groups].flatMap(([key, rows]) =>
    [...signals].map(([name, readings]) =>
      curveOf(plate, JSON.parse(key), rows, readings, signals.size > 1 ? name : ""),
    ),
  );
  append(grid.notes, layout.notes);
  if (curves.some((curve) => curve.temperature === null))
    doubtTemperature(grid, stated.mentioned.length || stated.unclear !== null ? stated : ofLayout);
  return curves;
}

/** The well of every row of the layout; each has to be on the plate, and only once in the layout. */
function wellsOf(
  grid: Grid, table: Table, column: Column, isEmpty: boolean[], onPlate: Set<string>,
): Map<number, string> {
  const wells = new Map<number, string>();
  const seen = new Map<string, number>();
  column.cells.forEach(({ text }, i) => {
    const well = wellOf(text);
    if (well === null || (!isEmpty[i] && !onPlate.has(well)))
      throw table.fault(`${grid.source} has no well '${shown(text)}'.`, i, column);
    const before = seen.get(well);
    if (before !== undefined) {
      const place = table.grid.rowNames[table.rows[before]];
      throw table.fault(`well ${well} is there twice; it stands in ${place} too.`, i, column);
    }
    seen.set(well, i);
    wells.set(i, well);
  });
  return wells;
}

function curveOf(
  plate: Plate, key: string[], rows: number[], readings: Map<string, readonly [number, Cell]>, signal: string,
): RawCurve {
  const { grid, table, roles, wells, molar, stated } = plate;
  const [sample, label, replicate] = key.map(tidyName);
  const parts = [sample, label && `label ${label}`];
  const joined = (more: string[]) => [...parts, ...more].filter(Boolean).join(" ");
  const name = joined([replicate && `replicate ${replicate}`, signal]);
  const used: [x: number, y: number, well: string][] = [];
  for (const i of rows) {
    const well = wells.get(i)!;
    const [value, cell] = readings.get(well) ?? [NaN, cellOf("")];
    if (cell.kind === "missing" || cell.kind === "text")
      grid.note("blank", `well ${well} holds '${shown(cell.text)}' (${cell.reason || "not a number"})`, name);
    else if (cell.kind === "blank") grid.note("blank", `well ${well} of '${shown(name)}' holds no reading`, name);
    else if (Number.isNaN(molar[i]))
      throw table.fault(`well ${well} of '${shown(sample)}' has no concentration.`, i, roles.get("x")!);
    if (!Number.isNaN(value)) used.push([molar[i], value, well]);
  }
  used.sort(([a], [b]) => a - b);
  const temperatures = roles.get("temperature");
  const inLayout = temperatures ? layoutTemperature(table, temperatures, rows) : null;
  return {
    name,
    x: used.map(([x]) => x),
    y: used.map(([, y]) => y),
    temperature: inLayout ?? temperatureOfNames(grid, [sample, label, signal], stated),
    label: plainValue(label),
    replicate: plainValue(replicate),
    details: {
      file: fileName(grid.source),
      ...(grid.sheet ? { sheet: grid.sheet } : {}),
      well: used.map(([, , well]) => well).join(" "),
    },
    sd: null,
    n: null,
    group: replicate ? joined([signal]) : null,
    denaturant: roles.get("x")!.denaturant ?? stated.denaturant,
    unit: roles.get("x")!.unitUsed,
  };
}

/** °C of the wells of a curve, which must agree. */
function layoutTemperature(table: Table, column: Column, rows: number[]): number | null {
  const unit = temperatureUnit(column.name);
  const cells = rows.map((i) => column.cells[i]);
  const values = new Set(
    cells
      .filter((cell) => cell.kind === "number")
      .map((cell) => (cell.unit ? temperatureFrom(cell.text) : celsius(valueOf(cell), unit))),
  );
  if (values.has(null) || values.size > 1) {
    const texts = [...new Set(cells.map((cell) => shown(cell.text)))].join(", ");
    throw table.fault(`expected one temperature of 0 to 100 °C for a curve, found ${texts}.`, rows[0], column);
  }
  return [...values][0] ?? null;
}
