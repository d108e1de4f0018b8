// A session as one JSON: readings, choices and results, to be opened again with the same numbers.
import { BUILD } from "./build";
import { Entry, State, entryOf, usualChoices } from "./state";

export const FORMAT = "zolt session";
const VERSION = 1;

const known = (values: number[]) => values.map((value) => (Number.isFinite(value) ? value : null));
const back = (values: (number | null)[]) => values.map((value) => value ?? NaN);

export function saved(state: State): string {
  return JSON.stringify({
    format: FORMAT, formatVersion: VERSION, zolt: BUILD.version, module: BUILD.module,
    settings: state.settings, unit: state.unit,
    curves: state.entries.map((entry) => ({
      name: entry.name, file: entry.file, well: entry.well, x: known(entry.x), y: known(entry.y),
      sd: entry.sd && known(entry.sd), temperature: entry.temperature, denaturant: entry.denaturant,
      unit: entry.unit, label: entry.label, notes: entry.notes, out: entry.out, range: entry.range,
      fault: entry.fault, fit: entry.answer?.fit ?? null, sentence: entry.answer?.sentence ?? "",
    })),
  }, null, 1);
}

export class SessionError extends Error {}

const isNumbers = (value: unknown, n?: number): value is (number | null)[] =>
  Array.isArray(value) && (n === undefined || value.length === n) && value.every((v) => v === null || typeof v === "number");

/** Takes a session in place of what was open; gives the parameters it was saved with, by key. */
export function restore(state: State, name: string, text: string): Map<number, number[]> {
  let session: any;
  try {
    session = JSON.parse(text);
  } catch {
    throw new SessionError(`${name}: expected a saved session, found something else.`);
  }
  if (session?.format !== FORMAT) throw new SessionError(`${name}: this JSON is no saved session.`);
  if (session.formatVersion !== VERSION) throw new SessionError(`${name}: the session is of another release; open it there.`);
  const before = new Map<number, number[]>();
  const entries: Entry[] = (Array.isArray(session.curves) ? session.curves : []).map((curve: any, i: number) => {
    const n = curve?.x?.length;
    if (!isNumbers(curve?.x) || !isNumbers(curve.y, n) || (curve.sd !== null && !isNumbers(curve.sd, n)) ||
        typeof curve.temperature !== "number")
      throw new SessionError(`${name}: curve ${i + 1} of the session is damaged.`);
    const text = (value: unknown) => (typeof value === "string" ? value : "");
    const entry = entryOf({
      name: text(curve.name), x: back(curve.x), y: back(curve.y), sd: curve.sd && back(curve.sd),
      temperature: curve.temperature, denaturant: text(curve.denaturant) || null, unit: text(curve.unit) || null,
      label: typeof curve.label === "number" ? curve.label : text(curve.label) || null,
      notes: Array.isArray(curve.notes) ? curve.notes.map(text) : [],
    }, text(curve.file), text(curve.well));
    if (Array.isArray(curve.out) && curve.out.length === n) entry.out = curve.out.map(Boolean);
    if (isNumbers(curve.range, 2)) entry.range = curve.range as [number, number];
    if (curve.fit && isNumbers(curve.fit.dG) && isNumbers(curve.fit.Cm)) before.set(entry.key, parametersOf(curve.fit));
    return entry;
  });
  if (!entries.length) throw new SessionError(`${name}: the session holds no curves.`);
  const usual = usualChoices(), told = session.settings ?? {};
  const one = <T>(value: unknown, of: readonly T[], else_: T) => (of.includes(value as T) ? (value as T) : else_);
  state.settings = {
    states: one(told.states, ["auto", 2, 3, 4] as const, usual.states),
    native: one(told.native, ["line", "flat", "given"] as const, usual.native),
    denatured: one(told.denatured, ["line", "flat", "given"] as const, usual.denatured),
    baseline: isNumbers(told.baseline, 4) ? (back(told.baseline) as any) : usual.baseline,
    heldM: typeof told.heldM === "number" ? told.heldM : null,
    sdKnown: told.sdKnown === true,
    level: told.level > 0 && told.level < 1 ? told.level : usual.level,
  };
  state.unit = session.unit === "kJ" ? "kJ" : "kcal";
  Object.assign(state, {
    opened: [], entries, chosen: entries[0].key, reference: entries[0].key, set: null, view: "curve", faults: [],
  });
  return before;
}

export const parametersOf = (fit: { status: number; dG: number[]; Cm: number[]; m: number[] }) =>
  [fit.status, ...fit.dG, ...fit.Cm, ...fit.m];

/** How many curves gave other numbers than when they were saved. */
export function changedSince(before: Map<number, number[]>, entries: Entry[]): number {
  return entries.filter(({ key, answer }) => {
    const old = before.get(key);
    return old && answer && parametersOf(answer.fit).some((value, i) => value !== old[i]);
  }).length;
}
