// Concentrations in M and temperatures in °C from what tables say of them.

import { CONCENTRATION_UNITS, DENATURANTS, SPELLINGS, TEMPERATURE_UNITS, TemperatureUnit, Unit, plain, unitText } from "./spellings";
import { asciiDigits, escaped, pattern, roundedTo, strippedOf, whole, wordsBetweenBlanks } from "./text_rules";

export const HIGHEST_WITHOUT_UNIT = 15.0; // M; more than any denaturant dissolves, so something else is meant
const ENGINE_RANGE = [0.0, 100.0]; // °C

const UNITS = [...TEMPERATURE_UNITS.keys()].sort((a, b) => b.length - a.length).map(escaped).join("|");
const VALUE = String.raw`([+\-]?\d+(?:[.,]\d+)?)`;
const TEMPERATURE = whole(
  String.raw`(?:about|approx\.?|ca\.?|c\.|~|≈)?\s*${VALUE}\s*(?:(?:±|\+/-)\s*\d+(?:[.,]\d+)?\s*)?(${UNITS})?\s*\.?(?:[(,;].*)?`,
);
const IN_NAME = pattern(
  String.raw`(?<![\w.,])${VALUE}\s*(°\s*c|º\s*c|deg\s?c|degrees\s?c|c|k)(?![\w%])`, "g",
);
const DEGREES = pattern(String.raw`${VALUE}\s*(?:(?:°|º|deg\.?)\s*c|degrees|kelvin)(?!\w)`, "g");

const decimal = (text: string) => Number(asciiDigits(text).replace(",", "."));

/**
 * °C of a text such as '15', '288 K' or '25.0 ± 0.1 °C'; null where it is none. `unit` is the unit
 * that the key or header gives. A bare number above 200 is kelvin.
 */
export function temperatureFrom(text: string, unit: TemperatureUnit | null = null): number | null {
  const match = TEMPERATURE.exec(strippedOf(plain(text), "'\" "));
  if (!match) return null;
  return celsius(decimal(match[1]), match[2] ? TEMPERATURE_UNITS.get(match[2])! : unit);
}

/** °C of a number with the table's entry of its unit, or null outside of what is measured. */
export function celsius(value: number, unit: TemperatureUnit | null = null): number | null {
  const bare = value > 200.0 && value < 400.0 ? SPELLINGS.temperature_units.K : SPELLINGS.temperature_units.C;
  const { scale, offset } = unit ?? bare;
  const degrees = roundedTo(value * scale + offset, 9);
  return degrees >= ENGINE_RANGE[0] && degrees <= ENGINE_RANGE[1] ? degrees : null;
}

/** The table's entry of the unit that a temperature's header or key names, or null. */
export function temperatureUnit(header: string): TemperatureUnit | null {
  const words = wordsBetweenBlanks(plain(header).replace(/[()[\]_/]/g, " "));
  const tail = words.length > 1 ? words[words.length - 1] : "";
  return TEMPERATURE_UNITS.get(tail) ?? TEMPERATURE_UNITS.get(words.slice(-2).join(" ")) ?? null;
}

/** °C that the name of a column states, such as 'F350_40C' or 'WT 298 K', or null. */
export function temperatureInName(text: string): number | null {
  const found = new Set<number>();
  for (const [, value, unit] of plain(text).replaceAll("_", " ").matchAll(IN_NAME)) {
    const number = decimal(value);
    if (unit === "k" && number < 200.0) continue;
    const degrees = celsius(number, TEMPERATURE_UNITS.get(unit.replaceAll(" ", "")) ?? null);
    if (degrees !== null) found.add(degrees);
  }
  return found.size === 1 ? [...found][0] : null;
}

/** All temperatures with degrees as their unit within a text, as they stand. */
export function degreesIn(text: string): string[] {
  return [...plain(text).matchAll(DEGREES)].map((match) => match[1]);
}

/** What a number in `unit` is multiplied by to be M, or a sentence of why there is none. */
export function factorToMolar(unit: Unit | null, denaturant: string | null): number | string {
  if (unit === null) return 1.0;
  if (unit.stock !== null) return unit.stock / (unit.key === "%" ? 100.0 : 1.0);
  const entry = CONCENTRATION_UNITS.get(unit.key)!;
  if (entry.molar !== undefined) return entry.molar;
  if (entry.grams_per_litre !== undefined) {
    const known = DENATURANTS.get(denaturant ?? "");
    if (known) return entry.grams_per_litre / known.molar_mass;
    return `${unitText(unit)} needs the name of the denaturant; say --denaturant urea or --denaturant GdmCl`;
  }
  return `${entry.ask}; say --unit M, --unit mM, --unit '% of 8 M' or --unit '% w/v'`;
}

/** M that dissolve at 25 °C; the highest of all where the denaturant is not known. */
export function soluble(denaturant: string | null): number {
  const known = DENATURANTS.get(denaturant ?? "")?.soluble_M;
  return known || Math.max(...[...DENATURANTS.values()].map((entry) => entry.soluble_M ?? 0.0));
}
