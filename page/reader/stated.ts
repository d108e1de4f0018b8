// What the text around a table states: temperature, denaturant, unit, names of axes.

import { Grid } from "./grid";
import { degreesIn, temperatureFrom, temperatureUnit } from "./quantities";
import { SPELLINGS, Unit, denaturantIn, denaturantOf, headerOf, plain, unitOf } from "./spellings";
import { general, pattern, startOf, strippedOf, whole } from "./text_rules";

const LONGEST_LINE = 400; // letters of a line that are looked at
const WORDS_VALUE = whole(String.raw`\W*([^\d:=]+?)\s+([+\-]?\d.*)`);
const KEY_VALUE = whole(String.raw`\s*([^:=\t;,]{1,60}?)\s*[:=\t;,]\s*(\S.*)`);
const BETWEEN_STATEMENTS = pattern(String.raw`[,;]\s+`);
const FIRST_WORD = whole(String.raw`\s*(\S+)\s+(\S[^]*)`);
const AROUND_KEYS = "#%!/:;$ ";

/**
 * What the text around a table states: temperature in °C, denaturant and unit, or null.
 *
 * `unclear` is a temperature that was given and could not be understood, `loose` are temperatures in
 * running text, which may be of anything, and `axes` headers that an instrument writes above its
 * columns.
 */
export interface Stated {
  readonly temperature: number | null;
  readonly denaturant: string | null;
  readonly unit: Unit | null;
  readonly unclear: string | null;
  readonly loose: string[];
  readonly axes: string[];
}

type Pair = readonly [key: string, value: string];

/** The `Stated` of pairs of key and value and of running texts. */
function statedOf(pairs: Pair[], texts: string[]): Stated {
  let temperature: number | null = null;
  let denaturant: string | null = null;
  let unit: Unit | null = null;
  let unclear: string | null = null;
  const axes = new Map<string, string>();
  const loose: string[] = [];
  for (const [key, value] of pairs) {
    const bare = strippedOf(plain(key), AROUND_KEYS);
    if (isTemperatureKey(bare)) {
      const degrees = temperatureFrom(value, temperatureUnit(bare));
      if (degrees === null) unclear = unclear || value;
      else if (temperature === null) temperature = degrees;
      else if (Math.abs(degrees - temperature) > 1.0)
        unclear = unclear || `${general(temperature)} °C and ${general(degrees)} °C`;
    } else if (SPELLINGS.metadata.denaturant.includes(bare)) {
      denaturant = denaturant ?? denaturantOf(value) ?? denaturantIn(value);
    } else if (SPELLINGS.metadata.unit.includes(bare)) {
      unit = unit ?? unitOf(value);
    } else if (SPELLINGS.axis_keys.includes(bare)) {
      if (!axes.has(bare)) axes.set(bare, value);
    } else {
      loose.push(...degreesIn(value));
    }
  }
  for (const text of texts) loose.push(...degreesIn(text));
  const headers = SPELLINGS.axis_keys.flatMap((key) => axes.get(key) ?? []);
  return { temperature: unclear ? null : temperature, denaturant, unit, unclear, loose, axes: headers };
}

function isTemperatureKey(bare: string): boolean {
  return headerOf(bare).role === "temperature" || SPELLINGS.short_temperature_keys.includes(bare);
}

/** True for a row such as 'Temperature, 25'. */
export function statesSomething(cells: string[]): boolean {
  const key = cells.length ? strippedOf(plain(cells[0]), `${AROUND_KEYS}=.`) : "";
  const { denaturant, unit } = SPELLINGS.metadata;
  return [...denaturant, ...unit, ...SPELLINGS.axis_keys].includes(key) || isTemperatureKey(key);
}

/** What comments and the rows around the tables state. */
export function statedAround(grid: Grid, rows: number[]): Stated {
  const pairs: Pair[] = [];
  const texts: string[] = [];
  for (const [, text] of grid.comments) sortLine(text, pairs, texts);
  for (const row of rows) {
    const cells = grid.rows[row].filter(Boolean);
    const line = cells.join(" ");
    if (cells.length === 1 || grid.delimiter === null) {
      sortLine(line, pairs, texts);
    } else {
      pairs.push([cells[0].replace(/[:= ]+$/, ""), cells.slice(1, 3).join(" ")]);
      texts.push(line);
    }
  }
  return statedOf(pairs, texts);
}

/** A line is a pair of key and value, or running text. */
function sortLine(line: string, pairs: Pair[], texts: string[]): void {
  const text = startOf(line, LONGEST_LINE);
  const keyAndValue = KEY_VALUE.exec(text);
  if ((text.match(/[=:]/g) ?? []).length > 1) { // several statements in a line
    for (const part of text.split(BETWEEN_STATEMENTS).slice(1)) {
      const match = KEY_VALUE.exec(part);
      if (match) pairs.push([match[1], match[2]]);
    }
  }
  const inWords = WORDS_VALUE.exec(text);
  const words = FIRST_WORD.exec(text);
  if (temperatureFrom(text) !== null && degreesIn(text).length) pairs.push(["temperature", text]);
  else if (keyAndValue) pairs.push([keyAndValue[1], keyAndValue[2]]);
  else if (inWords && headerOf(inWords[1]).role === "temperature") pairs.push([inWords[1], inWords[2]]);
  else if (words && SPELLINGS.axis_keys.includes(plain(words[1]))) pairs.push([words[1], words[2]]);
  texts.push(text);
}
