// The record of a curve, and what is said of all curves of a file together.

import { Note, shown } from "./grid";
import { appendTo } from "./lists";
import { general } from "./text_rules";

export const LONGEST_NAME = 120;
export const ASSUMED_TEMPERATURE = 25; // °C
const ON_ALL = [
  "unit_assumed", "unit_converted", "x_assumed", "temperature_unclear", "beyond_solubility", "low_concentrations",
];
const MOST_ALIKE = 3; // remarks of one kind that are said one by one

/**
 * Readings of one curve: `x` in M, ascending, and the signal `y`, as many of each.
 *
 * `sd` are standard deviations of the readings and `n` how many measurements each is the mean of,
 * both as the source gives them (NaN where it has a gap), or null. Curves with the same `group` are
 * replicates of each other.
 */
export interface Curve {
  /** No other curve of the reading has this name. */
  readonly name: string;
  readonly x: number[];
  readonly y: number[];
  readonly sd: number[] | null;
  readonly n: number[] | null;
  /** °C: what the file says, else the one chosen, else 25. */
  readonly temperature: number;
  /** True where neither file nor choice says the temperature. */
  readonly temperatureAssumed: boolean;
  /** 'urea', 'GdmCl', another name, or null where nothing says it. */
  readonly denaturant: string | null;
  /** Unit in which the file gives the concentrations, null where nothing says it and M was assumed. */
  readonly unit: string | null;
  readonly label: string | number | null;
  readonly replicate: string | number | null;
  readonly group: string | null;
  readonly details: CurveDetails;
  /** What the reader did or doubted. */
  readonly notes: Note[];
}

/** Where a curve comes from. */
export interface CurveDetails {
  readonly file: string;
  readonly sheet?: string;
  readonly well?: string; // names between blanks
  readonly temperatureFrom: "file" | "given" | "assumed";
}

/** A curve as it is read, before it is said what holds where the file is silent. */
export type RawCurve = Omit<Curve, "temperature" | "temperatureAssumed" | "details" | "notes"> & {
  readonly temperature: number | null; // °C, null where the source does not say
  readonly details: Omit<CurveDetails, "temperatureFrom">;
};

/** The curve with its temperature: the file's, else the one given, else 25 °C. */
export function settled(curve: RawCurve, given: number | null, notes: Note[]): Curve {
  const temperatureFrom = curve.temperature !== null ? "file" : given === null ? "assumed" : "given";
  return {
    ...curve,
    temperature: curve.temperature ?? given ?? ASSUMED_TEMPERATURE,
    temperatureAssumed: temperatureFrom === "assumed",
    details: { ...curve.details, temperatureFrom },
    notes: notes.filter((note) => concerns(note, curve)),
  };
}

/** True for notes on the curve, and for those on a file that bear on the numbers of all its curves. */
function concerns({ curve, code }: Note, { name }: RawCurve): boolean {
  return curve === name || (curve === null && ON_ALL.includes(code));
}

/** What was read in one line; `given` is a temperature that a person gives, in °C. */
export function summaryOf(curves: RawCurve[], notes: Note[], given: number | null): string {
  const readings = curves.reduce((sum, curve) => sum + curve.x.length, 0);
  const parts = [`read ${count(readings, "reading")} of ${count(curves.length, "curve")}`];
  const levels = curves.filter((curve) => curve.x.length).map((curve) => curve.x);
  if (levels.length) {
    const low = levels.reduce((least, x) => Math.min(least, x[0]), Infinity);
    const high = levels.reduce((most, x) => Math.max(most, x[x.length - 1]), -Infinity);
    const kinds = [...new Set(curves.flatMap((curve) => curve.denaturant || []))].sort();
    const words = [`${general(low, 4)} to ${general(high, 4)} M`, kinds.join(" or ")];
    if (notes.some((note) => note.code === "unit_assumed")) words.push("(unit assumed)");
    parts.push(words.filter(Boolean).join(" "));
  }
  parts.push(temperaturesOf(curves, given));
  const blanks = notes.filter((note) => note.code === "blank").length;
  if (blanks) parts.push(count(blanks, "blank"));
  return parts.join(", ");
}

/** Sentences of the notes that the summary does not say, many of one kind as one. */
export function remarksOf(notes: Note[]): string[] {
  const kinds = new Map<string, string[]>();
  for (const { code, sentence } of notes)
    if (code !== "unit_assumed") appendTo(kinds, code, sentence);
  return [...kinds.values()].flatMap((sentences) =>
    sentences.length <= MOST_ALIKE ? sentences : [`${sentences[0]}, and ${sentences.length - 1} more like this`],
  );
}

function temperaturesOf(curves: RawCurve[], given: number | null): string {
  const known = [...new Set(curves.flatMap((curve) => curve.temperature ?? []))].sort((a, b) => a - b);
  const texts = known.map((value) => `${general(value)} °C`);
  if (known.length > 1) texts.splice(0, known.length, `${general(known[0])} to ${texts[known.length - 1]}`);
  if (curves.some((curve) => curve.temperature === null))
    texts.push(given === null ? "25 °C assumed" : `${general(given)} °C as told`);
  return texts.join(" and ");
}

function count(number: number, what: string): string {
  return `${number} ${what}${number === 1 ? "" : "s"}`;
}

/** The curves with a name of its own for each: a repeated one gets its source, then a number. */
export function tellApart(original: RawCurve[]): { curves: RawCurve[]; notes: Note[] } {
  const curves = [...original];
  const notes: Note[] = [];
  for (const detail of ["sheet", "file", null] as const) {
    const places = new Map<string, number[]>();
    curves.forEach((curve, i) => appendTo(places, curve.name, i));
    for (const [name, same] of places) {
      const tails = same.map((i, k) => (detail === null ? `#${k + 1}` : curves[i].details[detail]));
      if (new Set(tails).size < 2) continue;
      same.forEach((i, k) => {
        const own = detail === null ? `${name} ${tails[k]}` : `${name} (${tails[k] ?? "None"})`;
        const sentence = `'${shown(name)}' is there more than once; one is called '${shown(own)}'`;
        notes.push({ code: "renamed", sentence, curve: own });
        curves[i] = { ...curves[i], name: own };
      });
    }
  }
  return { curves, notes };
}

/** A note for every curve whose readings are those of an earlier one, to the bit. */
export function identicalCurves(curves: RawCurve[]): Note[] {
  const first = new Map<string, string>();
  const notes: Note[] = [];
  for (const { name, x, y } of curves) {
    if (x.length < 3) continue;
    const key = new BigUint64Array(new Float64Array([...x, ...y]).buffer).join();
    const other = first.get(key) ?? name;
    first.set(key, other);
    if (other !== name) {
      const sentence = `the readings of '${shown(name)}' are those of '${shown(other)}'`;
      notes.push({ code: "identical", sentence, curve: name });
    }
  }
  return notes;
}
