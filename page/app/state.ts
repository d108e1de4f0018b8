// What the page holds: the curves, what a person chose, and what came of it.
import type { Drawing, Readings, Shared, Trend } from "../engine/engine";
import type { Choices, Detail, FitAnswer } from "../engine/tasks";
import type * as records from "../generated/records";
import type { Curve, Note, Reading } from "../reader/index";
import type { Refusal, Source } from "../reader/sources";
import type { Quantity } from "../figure/curve_figure";
import { wellPlace } from "../figure/plate_figure";
import type { EnergyUnit } from "./numbers";

export interface Entry {
  key: number;
  name: string;
  file: string;
  well: string;
  x: number[];
  y: number[];
  sd: number[] | null;
  temperature: number;
  denaturant: string | null;
  unit: string | null;
  label: string | number | null;
  replicate: string | number | null;
  group: string | null;      // curves with the same one are replicates of each other
  part: string[] | null;     // of replicates together: to which one a reading belongs
  n: number[] | null;        // how many measurements a reading is the mean of
  temperatureAssumed: boolean;
  notes: Note[];
  out: boolean[];
  range: [number, number] | null;
  answer: FitAnswer | null;
  detail: Detail | null;
  fault: string | null;
}

/** A file with what a person said of it, and what it gave: a reading, or why there is none. */
export interface Opened extends Source {
  reading: Reading | Refusal;
}

export interface SetResult {
  keys: number[];  // the curves, in the order of the rows
  reference: number;
  comparison: (Shared & { rows: records.Comparison[] }) | null;
  trend: Trend | null;
  fault: string | null;
}

/** What a person chose for the fits and for what is fitted. */
export interface Settings extends Choices {
  shareM: boolean;  // one m-value for all curves of equally many states
  replicates: "pooled" | "each";
  residues: number | null;  // of the chain, for the m-value that its length lets expect
}

export type View = "curve" | "plate" | "overlay" | "set";
export const PLATE_VALUES = ["ΔG", "Cm", "m", "R²", "states"] as const;
export const SORTS = ["file", "name", "Cm", "ΔG", "m", "R²"] as const;

export interface State {
  opened: Opened[];
  attempt: Opened[] | null;  // files of which none could be read; what was open stays
  entries: Entry[];
  chosen: number;
  settings: Settings;
  unit: EnergyUnit;
  view: View;
  quantity: Quantity;
  plateValue: (typeof PLATE_VALUES)[number];
  sort: (typeof SORTS)[number];
  descending: boolean;
  warned: string;  // only curves with this warning are listed; "": all, "any": with any
  reference: number;
  set: SetResult | null;
  shared: records.Global | null;  // the fit of all curves, where one m was asked for
  progress: { what: string; done: number; all: number } | null;  // of none: how many is not known
  message: string;
  faults: string[];
}

export const usualSettings = (): Settings => ({
  states: "auto", native: "line", denatured: "line", baseline: [0, 0, 0, 0], heldM: null, shareM: false,
  replicates: "pooled", residues: null, weights: "sd", sdKnown: false, level: 0.95,
  intervals: { method: "profile", rounds: 1000, seed: 0 },
});

export const newState = (): State => ({
  opened: [], attempt: null, entries: [], chosen: 0, settings: usualSettings(), unit: "kcal", view: "curve",
  quantity: "signal", plateValue: "Cm", sort: "file", descending: false, warned: "", reference: 0, set: null,
  shared: null, progress: null, message: "", faults: [],
});

let keys = 0;
export const entryKey = () => ++keys;

type Given = Omit<Curve, "details">;

export function entryOf(curve: Given, file: string, well: string): Entry {
  const { name, x, y, sd, n, temperature, temperatureAssumed, denaturant, unit, label, replicate, group, notes } = curve;
  return {
    key: entryKey(), name, file, well, x, y, sd, n, temperature, temperatureAssumed, denaturant, unit, label, replicate,
    group, part: null, notes, out: x.map(() => false), range: null, answer: null, detail: null, fault: null,
  };
}

export const chosenEntry = (state: State) => state.entries.find(({ key }) => key === state.chosen) ?? null;

/** True where a reading is out of the fit, by a person's click or by the range. */
export const isOut = ({ x, out, range }: Entry, i: number) =>
  out[i] || (range !== null && (x[i] < range[0] || x[i] > range[1]));

/** Standard deviations that may weigh the readings, or null; `unused` where there are some that may not. */
export function deviationsOf(entry: Entry, weights: Settings["weights"]): { sd: number[] | null; unused: boolean } {
  const { n, y } = entry;
  if (!entry.sd || weights === "none") return { sd: null, unused: false };
  if (weights === "sem" && !n) return { sd: null, unused: true };
  const sd = weights === "sem" ? entry.sd.map((value, i) => value / Math.sqrt(n![i])) : entry.sd;
  const sound = sd.every((value, i) => !Number.isFinite(y[i]) || (value > 0 && value < Infinity));
  return { sd: sound ? sd : null, unused: !sound };
}

/** The readings as the fit takes them: one that is left out is a gap. */
export function readingsOf(entry: Entry, { weights }: Settings): Readings {
  const y = entry.y.map((value, i) => (isOut(entry, i) ? NaN : value));
  return { x: entry.x, y, sd: deviationsOf(entry, weights).sd, temperature: entry.temperature };
}

/** The places of the curve's wells on a plate; a curve that is named by a well has that one. */
export const placesOf = (entry: Entry) => (entry.well || entry.name).split(" ").flatMap((name) => wellPlace(name) ?? []);

/** A fit that may be told with its numbers. */
export const fitOf = (entry: Entry): records.Fit | null =>
  (entry.answer && entry.answer.fit.status === 0 ? entry.answer.fit : null);

export const gridOf = (entry: Entry): Drawing | null => entry.detail?.grid ?? null;
