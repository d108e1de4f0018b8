// What the text around a table states: temperature, denaturant, unit, names of axes.

import { Grid } from "./grid";
import { Mention, chosenOf, mentionsIn } from "./mentions";
import { temperatureFrom, temperatureUnit } from "./quantities";
import { SPELLINGS, Unit, denaturantIn, denaturantOf, headerOf, plain, unitOf, wordsOf } from "./spellings";
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
 * `unclear` is a temperature that was given and could not be understood, `mentioned` are temperatures
 * in running text, of which none is for certain that of the curves, and `axes` headers that an
 * instrument writes above its columns.
 */
export interface Stated {
  readonly temperature: number | null;
  readonly denaturant: string | null;
  readonly unit: Unit | null;
  readonly unclear: string | null;
  readonly mentioned: string[];
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
  const mentions: Mention[] = [];
  for (const [key, value] of pairs) {
    const bare = strippedOf(plain(key), AROUND_KEYS);
    if (isTemperatureKey(bare)) {
      const degrees = givenBy(bare, value);
      if (degrees === null) unclear = unclear || value;
      else if (temperature === null) temperature = degrees;
      else if (differ(degrees, temperature))
        unclear = unclear || `${general(temperature)} °C and ${general(degrees)} °C`;
    } else if (SPELLINGS.metadata.denaturant.includes(bare)) {
      denaturant = denaturant ?? denaturantOf(value) ?? denaturantIn(value);
    } else if (SPELLINGS.metadata.unit.includes(bare)) {
      unit = unit ?? unitOf(value);
    } else if (SPELLINGS.axis_keys.includes(bare)) {
      if (!axes.has(bare)) axes.set(bare, value);
    } else if (wordsOf(bare).some((word) => SPELLINGS.headers.temperature.words.includes(word))) {
      const degrees = givenBy(bare, value);
      if (degrees !== null) mentions.push({ degrees, text: `${general(degrees)} °C`, kind: "bare" });
    }
  }
  mentions.push(...texts.flatMap(mentionsIn));
  const stated = mentions.filter(({ kind }) => kind === "explicit").map(({ degrees }) => degrees);
  const other = stated.find((degrees) => temperature !== null && degrees !== null && differ(degrees, temperature));
  if (temperature === null && !unclear) temperature = chosenOf(mentions);
  else if (other !== undefined) unclear = unclear ?? `${general(temperature!)} °C and ${general(other!)} °C`;
  if (unclear) temperature = null;
  const mentioned = temperature === null ? mentionedBy(mentions, texts) : [];
  const headers = SPELLINGS.axis_keys.flatMap((key) => axes.get(key) ?? []);
  return { temperature, denaturant, unit, unclear, mentioned, axes: headers };
}

/** The temperatures of running texts, each once; or that these speak of that of the room. */
function mentionedBy(mentions: Mention[], texts: string[]): string[] {
  if (mentions.length) return [...new Set(mentions.map(({ text }) => text))];
  const { room } = SPELLINGS.temperature_in_text;
  return texts.some((text) => room.some((word) => plain(text).includes(word))) ? ["room temperature"] : [];
}

/** °C of the value of a key that is a temperature; null where it is none or more than one. */
function givenBy(key: string, value: string): number | null {
  const degrees = temperatureFrom(value, temperatureUnit(key));
  const mentions = mentionsIn(`temperature: ${value}`);
  if (degrees === null) return chosenOf(mentions);
  return mentions.some((one) => one.kind === "bare" && one.degrees !== degrees) ? null : degrees;
}

function differ(one: number, other: number): boolean {
  return Math.abs(one - other) > 1.0;
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
      texts.push(startOf(line, LONGEST_LINE));
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
  if (keyAndValue) pairs.push([keyAndValue[1], keyAndValue[2]]);
  else if (inWords && isTemperatureKey(plain(inWords[1]))) pairs.push([inWords[1], inWords[2]]);
  else if (words && SPELLINGS.axis_keys.includes(plain(words[1]))) pairs.push([words[1], words[2]]);
  texts.push(text);
}
