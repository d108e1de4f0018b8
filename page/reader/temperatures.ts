// Temperatures of the curves of a table: its column, its row, names of columns, then the text around.

import { Column, Table, readNumbers } from "./columns";
import { stemOf } from "./concentrations";
import { Grid, shown } from "./grid";
import { counted, extent } from "./lists";
import { celsius, temperatureFrom, temperatureInName, temperatureUnit } from "./quantities";
import { meanOf } from "./signals";
import { Stated } from "./stated";
import { general } from "./text_rules";

const MOST_SPREAD = 1.0; // °C within which one curve was measured

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
    const groups = counted(values.map((value, i) => JSON.stringify(Number.isNaN(value) ? [i] : place(i))));
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

/** °C of a curve: its column, its mark, its name, then what the file says. */
export function temperatureOf(
  table: Table, signal: Column, byRow: number[] | null, rows: number[],
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
  for (const name of [signal.name, signal.group, signal.of!.name, table.title]) {
    const degrees = temperatureInName(name);
    if (degrees !== null) return degrees;
  }
  return table.stated?.temperature ?? null;
}

/** A note on a temperature that is mentioned and could not be taken. */
export function doubtTemperature(grid: Grid, stated: Stated): void {
  const note = (text: string) => grid.note("temperature_unclear", text);
  if (stated.unclear !== null) {
    note(`the temperature '${shown(stated.unclear)}' is not understood; say --temperature`);
  } else if (stated.temperature === null && stated.loose.length) {
    note(`the text mentions ${stated.loose[0]} °C, which may be of something else; say --temperature`);
  } else if (stated.temperature === null) {
    const degrees = temperatureInName(stemOf(grid.source).replaceAll("-", " "));
    if (degrees !== null)
      note(`the file's name says ${general(degrees)} °C; say --temperature ${general(degrees)} if that is so`);
  }
}
