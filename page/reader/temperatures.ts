// Temperatures of the curves of a table: its column, its row, names of columns, then the text around.

import { Column, Table, readNumbers } from "./columns";
import { stemOf } from "./concentrations";
import { Grid, shown } from "./grid";
import { counted, extent } from "./lists";
import { celsius, temperatureFrom, temperatureUnit, temperaturesInName } from "./quantities";
import { meanOf } from "./signals";
import { Stated } from "./stated";
import { general } from "./text_rules";

const MOST_SPREAD = 1.0; // °C within which one curve was measured
const ASSUMED = "25 °C is assumed unless --temperature says another";

/** A number rounded to `places` by scaling it, halves to even. */
function scaledRound(value: number, places: number): number {
  const scaled = value * 10 ** places;
  const near = Math.round(scaled);
  const even = near - scaled === 0.5 && near % 2 !== 0 ? near - 1 : near;
  return even / 10 ** places;
}

/** °C by row from a column of temperatures, or null; set values in several rows part the curves. */
export function temperatureColumn(table: Table, keys: Column[]): number[] | null {
  const column = table.first("temperature");
  if (column === null) return null;
  const unit = temperatureUnit(column.name) ?? temperatureUnit(`T ${column.unitText}`);
  const numbers = readNumbers(table, column);
  const values = column.cells.map((cell, i) => {
    const own = cell.unit ? temperatureFrom(cell.text) : null;
    const value = own ?? (Number.isNaN(numbers[i]) ? NaN : celsius(numbers[i], unit));
    if (value !== null) return value;
    throw table.fault(`the temperature ${shown(cell.text)} is outside of 0 to 100 °C.`, i, column);
  });
  const levels = values.filter((value) => !Number.isNaN(value)).map((value) => scaledRound(value, 3));
  const [least, greatest] = extent(levels);
  if (greatest - least > MOST_SPREAD) {
    const place = (i: number) => [...keys.map((key) => key.cells[i].text), values[i]];
    const groups = counted(values.map((value, i) => (Number.isNaN(value) ? `row ${i}` : JSON.stringify(place(i)))));
    if (extent(groups.values())[0] < 3)
      throw table.fault(
        `the temperatures run from ${general(least)} to ${general(greatest)} °C; a curve needs one temperature.`,
        null, column,
      );
    keys.push(column);
    column.role = "part";
  }
  return values;
}

/**
 * °C of a curve: its column, its mark, its names, then what the file says. `keys` are the texts that
 * part its rows from those of other curves.
 */
export function temperatureOf(
  table: Table, signal: Column, byRow: number[] | null, rows: number[], keys: string[],
): number | null {
  const own = byRow ? meanOf(rows.map((i) => byRow[i])) : NaN;
  if (!Number.isNaN(own)) return scaledRound(own, 6);
  const marks = table.marks.get("temperature") ?? [];
  const text = marks[signal.place] ?? "";
  if (text) {
    const degrees = temperatureFrom(text, temperatureUnit(marks[0]));
    if (degrees !== null) return degrees;
    throw table.fault(`expected a temperature of 0 to 100 °C for ${signal}, found '${shown(text)}'.`);
  }
  const names = [signal.name, ...keys, signal.group, signal.of!.name];
  return temperatureOfNames(table.grid, names, table.stated!, table.title);
}

/**
 * °C that one of the names of a curve, or the title of its table, states, else what the file says.
 * What stays in doubt is noted; of the title this is done with the other text.
 */
export function temperatureOfNames(grid: Grid, names: string[], stated: Stated, title = ""): number | null {
  const doubts = new Map<string, string>();
  for (const name of [...names, title]) {
    const { found, doubtful } = temperaturesInName(name);
    if (found.length === 1 && !doubtful.length) return found[0];
    if ((found.length || doubtful.length) && name !== title) doubts.set(name, oneOf(found, doubtful));
  }
  if (stated.temperature === null)
    for (const [name, values] of doubts)
      grid.note("temperature_unclear", `'${shown(name)}' may state ${values}; ${ASSUMED}`);
  return stated.temperature;
}

function oneOf(found: number[], doubtful: string[]): string {
  return [...found.map((degrees) => `${general(degrees)} °C`), ...doubtful].join(" or ");
}

/** A note on a temperature that is mentioned and could not be taken. */
export function doubtTemperature(grid: Grid, stated: Stated): void {
  const note = (text: string) => grid.note("temperature_unclear", `${text}; ${ASSUMED}`);
  const { unclear, mentioned } = stated;
  if (unclear !== null) {
    note(`the temperature of the file, '${shown(unclear)}', is not clear`);
  } else if (mentioned.length > 1) {
    note(`the text mentions ${mentioned.slice(0, 4).join(" and ")} and not which is that of the curves`);
  } else if (mentioned.length) {
    note(`the text mentions ${mentioned[0]}, which may be of something else`);
  } else {
    const { found, doubtful } = temperaturesInName(stemOf(grid.source).replaceAll("-", " "));
    if (found.length || doubtful.length) note(`the file's name says ${oneOf(found, doubtful)}`);
  }
}
