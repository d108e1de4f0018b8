// Concentrations in M and temperatures in °C from what tables say of them.

import { CONCENTRATION_UNITS, DENATURANTS, SPELLINGS, TEMPERATURE_UNITS, TemperatureUnit, Unit, plain, unitText } from "./spellings";
import { asciiDigits, escaped, general, pattern, roundedTo, strippedOf, whole, wordsBetweenBlanks } from "./text_rules";

export const HIGHEST_WITHOUT_UNIT = 15.0; // M; more than any denaturant dissolves, so something else is meant
const ENGINE_RANGE = [0.0, 100.0]; // °C

const NAMED_UNITS = [...TEMPERATURE_UNITS.keys()].sort((a, b) => b.length - a.length).map(escaped).join("|");
export const UNITS = String.raw`${NAMED_UNITS}|degrees?|deg\.?|°|º`; // of temperatures in running text and in names
export const VALUE = String.raw`([+\-]?\d+(?:[.,]\d+)?)`;
export const GIVE_OR_TAKE = String.raw`(?:(?:±|\+/-)\s*\d+(?:[.,]\d+)?\s*)?`;
export const RATE = String.raw`\s*(?:/\s*(?:s|sec|m|min|h|hour)\b|per\b|\b(?:s|min|h)\s*-1)`; // behind a unit: no temperature
const TEMPERATURE = whole(
  String.raw`(?:about|approx\.?|ca\.?|c\.|~|≈)?\s*${VALUE}\s*${GIVE_OR_TAKE}(${NAMED_UNITS})?\s*\.?(?:[(,;].*)?`,
);
// A letter that stands alone before the number makes it a residue, as in 'Q 41 C'.
const IN_NAME = pattern(
  String.raw`(\bat |@)?(?<![\w.,])(?<!\W[a-su-z] )(?<!^[a-su-z] )${VALUE}\s*${GIVE_OR_TAKE}(${UNITS})(?![\w%]|${RATE})`, "g",
);
const LEAST_KELVIN = 200.0; // less is an index, as in 'clone 12 K'

export const decimal = (text: string) => Number(asciiDigits(text).replace(",", "."));

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

/**
 * The unit of temperature behind a number within `text`; null where the number is an index or an angle.
 * Degrees without a letter are of Celsius.
 */
export function unitInText(value: number, unit: string, text: string): TemperatureUnit | null {
  const { C, K } = SPELLINGS.temperature_units;
  const entry = TEMPERATURE_UNITS.get(unit);
  if (!entry) return SPELLINGS.temperature_in_text.angle.some((word) => text.includes(word)) ? null : C;
  return entry === K && value < LEAST_KELVIN ? null : entry;
}

/** °C that a name states, such as 'F350_40C' or 'WT 298 K', and texts of what may be such. */
export function temperaturesInName(name: string): { found: number[]; doubtful: string[] } {
  const text = plain(name).replaceAll("_", " ");
  const found = new Set<number>();
  const doubtful: string[] = [];
  for (const [, at, number, unit] of text.matchAll(IN_NAME)) {
    const value = decimal(number);
    const entry = unitInText(value, unit, text);
    if (entry === null || entry === SPELLINGS.temperature_units.F) continue;
    const degrees = celsius(value, entry);
    if (degrees === null) continue;
    if (at || TEMPERATURE_UNITS.has(unit)) found.add(degrees);
    else doubtful.push(`${general(degrees)} °C`);
  }
  return { found: [...found].sort((a, b) => a - b), doubtful };
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
