// What a header means: the words of the host's `spellings.json` and how headers are compared with them.
//
// Headers are taken apart into words in lower case. A unit, in brackets, behind a slash or a comma or
// as the last word, is set aside; the words that remain decide the role of the column.

import table from "../../python/zolt/reading/spellings.json";
import { asciiDigits, general, pattern, remembered, startOf, strippedOf, whole, wordsBetweenBlanks } from "./text_rules";

export const SPELLINGS = table;
export const LONGEST_HEADER = 400; // letters of a header that are looked at

/** Texts from files are looked up in maps only: 'constructor' is a name like any other. */
function keyOfName<T>(entries: Record<string, T>, names: (entry: T) => string[]): Map<string, string> {
  return new Map(Object.entries(entries).flatMap(([key, entry]) => names(entry).map((name) => [name, key])));
}

export interface DenaturantEntry {
  names: string[];
  soluble_M: number | null;
  molar_mass: number;
}
export interface UnitEntry {
  names: string[];
  molar?: number;
  grams_per_litre?: number;
  ask?: string;
}
export interface TemperatureUnit {
  scale: number;
  offset: number;
  names: string[];
}

export const DENATURANTS = new Map<string, DenaturantEntry>(Object.entries(table.denaturants));
export const CONCENTRATION_UNITS = new Map<string, UnitEntry>(Object.entries(table.concentration_units));
export const TEMPERATURE_UNITS = new Map<string, TemperatureUnit>(
  Object.values(table.temperature_units).flatMap((entry) => entry.names.map((name) => [name, entry])),
);

const named = (entry: { names: string[] }) => entry.names;
const DENATURANT_OF = keyOfName<{ names: string[] }>(table.denaturants, named);
const UNIT_OF = keyOfName<{ names: string[] }>(table.concentration_units, named);
const OTHER_OF = keyOfName(table.other_quantities, (words) => words);
const DEVIATION_OF = keyOfName(table.deviation_words, (words) => words);
const HEADERS = new Map(
  Object.entries(table.headers).map(([role, entry]) => [
    role,
    { core: new Set(entry.words), fillers: new Set([...entry.words, ...entry.fillers]) },
  ]),
);
const X_WORDS = HEADERS.get("x")!;
const OF_STOCK = String.raw`(%|fraction|part)\s*(?:\(?v/?v\)?)?\s*(?:of|von|from)?\s*(?:an?|the)?\s*(\d+(?:[.,]\d+)?)\s*(?:m|molar)\b(?:\s*stock)?`;
const OF_STOCK_ALONE = whole(OF_STOCK);
const OF_STOCK_WITHIN = pattern(OF_STOCK);
const BRACKETS = pattern(String.raw`[(\[{]([^()\[\]{}]*)[)\]}]`, "g");
const BREAK = pattern(String.raw`[^\w%°±#+.μ·]+|_+|(?<!\d)\.|\.(?!\d)`);
const MOLAR_BEHIND = whole(String.raw`(\w+?)_?(m?m)`);
const BARE_NUMBER = whole(String.raw`[\d.]+`);
const BETWEEN_PARTS_OF_UNIT = pattern(String.raw`[\s·.^*\-]`, "g");

/** Lower case, compatibility forms made one, blanks made single. */
export function plain(text: string): string {
  return wordsBetweenBlanks(text.normalize("NFKC").replaceAll("−", "-").toLowerCase()).join(" ");
}

/** The words of a header, in lower case. */
export function wordsOf(text: string): string[] {
  return plain(text).split(BREAK).filter(Boolean);
}

/** A unit of concentration by its key in the table; `stock` in M for per cent of a stock. */
export interface Unit {
  readonly key: string;
  readonly stock: number | null;
}

export function unitText(unit: Unit): string {
  return unit.stock === null ? unit.key : `${unit.key} of ${general(unit.stock)} M`;
}

/** The `Unit` that a text names, or null. */
export const unitOf = remembered<Unit | null>(1024, (original) => {
  const bare = strippedOf(plain(original), "()[]{} ");
  const text = bare.startsWith("in ") ? bare.slice(3) : bare;
  const match = OF_STOCK_ALONE.exec(text);
  if (match) return unitOfStock(match);
  const joined = text.replace(BETWEEN_PARTS_OF_UNIT, "");
  const key = UNIT_OF.get(joined) ?? UNIT_OF.get(joined.replace(/[()/]/g, ""));
  return key === undefined ? null : { key, stock: null };
});

function unitOfStock(match: RegExpExecArray): Unit {
  const stock = Number(asciiDigits(match[2]).replace(",", "."));
  return { key: match[1] === "%" ? "%" : "fraction", stock };
}

/** The denaturant whose name a text is, or null: 'Gdn-HCl' is 'GdmCl'. */
export function denaturantOf(text: string): string | null {
  return DENATURANT_OF.get(wordsOf(text).join("")) ?? null;
}

/** The one denaturant named among the words of a text, or null. */
export function denaturantIn(text: string): string | null {
  const words = wordsOf(text);
  const pairs = words.slice(1).map((word, i) => words[i] + word);
  const found = new Set<string>();
  for (const word of [...words, ...pairs]) {
    const key = DENATURANT_OF.get(word);
    if (key !== undefined && word.length > 3) found.add(key);
  }
  return found.size === 1 ? [...found][0] : null;
}

/**
 * A header taken apart: its role, the unit, the denaturant, and what it is a deviation of.
 *
 * `role` is a key of the table's headers, 'deviation', 'other' or null. `stem` holds the words that
 * are left when those of the role are gone; `kind` tells the deviations and the other quantities
 * apart.
 */
export interface Header {
  readonly text: string;
  readonly role: string | null;
  readonly unit: Unit | null;
  readonly denaturant: string | null;
  readonly stem: readonly string[];
  readonly kind: string | null;
}

/** The words of a header without its unit, the unit, and whether brackets or a slash set it off. */
function withoutUnit(original: string): [words: string[], unit: Unit | null, setOff: boolean] {
  const text = plain(original);
  const rest = (match: RegExpMatchArray) =>
    wordsOf(`${text.slice(0, match.index)} ${text.slice(match.index! + match[0].length)}`);
  const stock = OF_STOCK_WITHIN.exec(text);
  if (stock) return [rest(stock), unitOfStock(stock), true];
  for (const match of [...text.matchAll(BRACKETS)].reverse()) {
    const unit = unitOf(match[1]);
    if (unit) return [rest(match), unit, true];
  }
  for (const mark of ["/", ","]) {
    const at = text.lastIndexOf(mark);
    const unit = at >= 0 ? unitOf(text.slice(at + 1)) : null;
    if (unit) return [wordsOf(text.slice(0, at)), unit, true];
  }
  const words = wordsOf(text);
  for (let start = Math.max(0, words.length - 3); start < words.length; start++) {
    const isValue = start > 0 && BARE_NUMBER.test(words[start - 1]); // '5 mM' is a value
    const unit = isValue ? null : unitOf(words.slice(start).join(""));
    if (unit) return [words.slice(0, start), unit, false];
  }
  const first = words.length > 1 ? unitOf(words[0]) : null;
  return first ? [words.slice(1), first, false] : [words, null, false];
}

/** What a header says, as a `Header`. */
export const headerOf = remembered<Header>(4096, (original) => {
  const seen = startOf(original, LONGEST_HEADER);
  const joined = MOLAR_BEHIND.exec(plain(seen)); // 'ureaM'
  const parted = joined && DENATURANT_OF.has(joined[1]) && joined[1].length > 3;
  const text = parted ? `${joined[1]} ${joined[2]}` : seen;
  const every = wordsOf(text);
  const [words, unit, setOff] = withoutUnit(text);
  const make = (role: string | null, more: Partial<Header> = {}): Header => ({
    text, role, unit, denaturant: null, stem: [], kind: null, ...more,
  });
  if (!every.length) return { ...make(null), unit: null };
  const deviation = every.find((word) => DEVIATION_OF.has(word));
  if (deviation !== undefined) {
    const stem = every.filter((w) => !DEVIATION_OF.has(w) && !SPELLINGS.deviation_fillers.includes(w));
    return make("deviation", { stem, kind: DEVIATION_OF.get(deviation)! });
  }
  const rest = words.filter((word) => !X_WORDS.fillers.has(word));
  const denaturant = rest.length ? denaturantOf(rest.join(" ")) : null;
  const namesX = words.some((word) => X_WORDS.core.has(word));
  if (denaturant || (!rest.length && (namesX || (unit && unit.stock === null && isMolar(unit)))))
    return make("x", { denaturant });
  if (!rest.length && unit?.stock) return make("x");
  const bare = words.length === 1 ? words[0].replace(/[0-9]+$/, "") : "";
  if ((bare === "x" || bare === "y") && bare !== words[0]) return make(bare);
  for (const [role, { core, fillers }] of HEADERS) {
    for (const candidate of [words, every]) {
      const fits = candidate.some((w) => core.has(w)) && candidate.every((w) => fillers.has(w));
      if (role !== "x" && fits) return make(role);
    }
  }
  if (isTemperature(every)) return make("temperature");
  const other = otherQuantity(every, words);
  if (other) return make("other", { kind: other });
  if (setOff && unit && (unit.stock || isMolar(unit))) { // the concentration of something
    const solute = denaturantIn(text);
    if (solute || namesX) return make("x", { denaturant: solute, stem: words });
    return make("other", { kind: "protein or ligand concentration", stem: words });
  }
  return make(null, { stem: words });
});

function isMolar(unit: Unit): boolean {
  return CONCENTRATION_UNITS.get(unit.key)?.molar !== undefined;
}

/** Words such as 'T C' or 'temp °C': a temperature and its unit. */
function isTemperature(words: string[]): boolean {
  const { core, fillers } = HEADERS.get("temperature")!;
  const isKey = (word: string) => core.has(word) || SPELLINGS.short_temperature_keys.includes(word);
  const known = (word: string) => isKey(word) || fillers.has(word) || TEMPERATURE_UNITS.has(word);
  return words.length > 1 && words.some(isKey) && words.every(known);
}

const WORDS_OF_CONCENTRATION = ["conc", "concentration", "concn", "konzentration"];
const UNITS_BESIDE = new Set(["s", "min", "h", "v", "ml", "ul", "μl", "g", "mg"]);

/** The quantity other than signal and concentration that a header names. */
function otherQuantity(every: string[], words: string[]): string | null {
  if (SPELLINGS.volume_units.includes(every[every.length - 1])) return "volume";
  const first = OTHER_OF.get((words.length ? words : every)[0]) ?? null;
  if (first === "protein or ligand concentration")
    return every.some((word) => WORDS_OF_CONCENTRATION.includes(word)) ? first : null;
  const known = (word: string) => UNIT_OF.has(word) || UNITS_BESIDE.has(word) || OTHER_OF.has(word);
  return first && every.every(known) ? first : null;
}
