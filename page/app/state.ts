// What the page holds: the curves, what a person chose, and what came of it.
import type { Drawing, Readings, Shared, Trend } from "../engine/engine";
import type { Choices, Detail, FitAnswer } from "../engine/tasks";
import type * as records from "../generated/records";
import type { Choices as ReadingChoices, Curve, Reading, SourceFile } from "../reader/index";
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
  notes: string[];
  out: boolean[];
  range: [number, number] | null;
  answer: FitAnswer | null;
  detail: Detail | null;
  fault: string | null;
}

/** A file with what a person said of it. */
export interface Opened {
  file: SourceFile;
  choices: ReadingChoices;
  reading: Reading;
}

export interface SetResult {
  keys: number[];  // the curves, in the order of the rows
  reference: number;
  comparison: (Shared & { rows: records.Comparison[] }) | null;
  trend: Trend | null;
  fault: string | null;
}

export type Quantity = "signal" | "fraction" | "energy";
export type View = "curve" | "plate" | "overlay" | "set";
export const PLATE_VALUES = ["ΔG", "Cm", "m", "R²", "states"] as const;
export const SORTS = ["file", "name", "Cm", "ΔG", "m", "R²"] as const;

export interface State {
  opened: Opened[];
  entries: Entry[];
  chosen: number;
  settings: Choices;
  unit: EnergyUnit;
  view: View;
  quantity: Quantity;
  plateValue: (typeof PLATE_VALUES)[number];
  sort: (typeof SORTS)[number];
  onlyWarned: boolean;
  reference: number;
  set: SetResult | null;
  progress: { done: number; all: number } | null;
  message: string;
  faults: string[];
}

export const usualChoices = (): Choices => ({
  states: "auto", native: "line", denatured: "line", baseline: [0, 0, 0, 0], heldM: null,
  sdKnown: false, level: 0.95,
});

export const newState = (): State => ({
  opened: [], entries: [], chosen: 0, settings: usualChoices(), unit: "kcal", view: "curve",
  quantity: "signal", plateValue: "Cm", sort: "file", onlyWarned: false, reference: 0, set: null,
  progress: null, message: "", faults: [],
});

let keys = 0;

export function entryOf(curve: Pick<Curve, "name" | "x" | "y" | "sd" | "temperature" | "denaturant" | "unit" | "label" | "notes">,
                        file: string, well: string): Entry {
  return {
    key: ++keys, name: curve.name, file, well, x: curve.x, y: curve.y,
    // A gap among the deviations leaves no weights that could be used.
    sd: curve.sd && curve.sd.every((sd) => sd > 0) ? curve.sd : null,
    temperature: curve.temperature, denaturant: curve.denaturant, unit: curve.unit, label: curve.label,
    notes: curve.sd && !curve.sd.every((sd) => sd > 0)
      ? [...curve.notes, "standard deviations with gaps or zeros not used"] : curve.notes,
    out: curve.x.map(() => false), range: null, answer: null, detail: null, fault: null,
  };
}

export const chosenEntry = (state: State) => state.entries.find(({ key }) => key === state.chosen) ?? null;

/** True where a reading is out of the fit, by a person's click or by the range. */
export const isOut = ({ x, out, range }: Entry, i: number) =>
  out[i] || (range !== null && (x[i] < range[0] || x[i] > range[1]));

/** The readings as the fit takes them: one that is left out is a gap. */
export function readingsOf(entry: Entry): Readings {
  return {
    x: entry.x, y: entry.y.map((y, i) => (isOut(entry, i) ? NaN : y)), sd: entry.sd,
    temperature: entry.temperature,
  };
}

export const placeOf = (entry: Entry) => wellPlace(entry.well.split(" ")[0] || entry.name);

/** A fit that may be told with its numbers. */
export const fitOf = (entry: Entry): records.Fit | null =>
  (entry.answer && entry.answer.fit.status === 0 ? entry.answer.fit : null);

export const gridOf = (entry: Entry): Drawing | null => entry.detail?.grid ?? null;
