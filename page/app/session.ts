// A session as one JSON: readings, choices and results, to be opened again with the same numbers.
import type { Choices } from "../engine/tasks";
import { BUILD } from "./build";
import { cautionsOf, inputCautions } from "./cautions";
import { startWith } from "./opening";
import { Entry, Settings, State, deviationsOf, entryOf, usualSettings } from "./state";

export const FORMAT = "zolt session";
const VERSION = 1;

const known = (values: number[]) => values.map((value) => (Number.isFinite(value) ? value : null));
const back = (values: (number | null)[]) => values.map((value) => value ?? NaN);

export function saved(state: State): string {
  const { settings, unit, entries } = state;
  return JSON.stringify({
    format: FORMAT, formatVersion: VERSION, zolt: BUILD.version, module: BUILD.module,
    settings: { ...settings, intervals: { ...settings.intervals, level: settings.level } }, unit,
    curves: entries.map((entry) => savedCurve(entry, state)),
  }, (_, value) => (typeof value === "number" && !Number.isFinite(value) ? null : value), 1);
}

/** The deviations are those that weighed the readings; beside them those that were read, for another choice. */
function savedCurve(whole: Entry, state: State) {
  const { answer, detail, key, temperatureAssumed, notes, ...entry } = whole;
  const { sd } = deviationsOf(whole, state.settings.weights), said = inputCautions(whole, state);
  return {
    ...entry, x: known(entry.x), y: known(entry.y), sd: sd && known(sd), sdRead: entry.sd && known(entry.sd), n: entry.n && known(entry.n),
    notes: said.map(({ sentence }) => sentence), noteCodes: said.map(({ code }) => code),
    fit: answer?.fit ?? null, intervals: detail?.intervals ?? null, sentence: answer?.sentence ?? entry.fault ?? "",
    warnings: cautionsOf(whole, state).map(({ code }) => code),
  };
}

export class SessionError extends Error {}

const isNumbers = (value: unknown, n?: number): value is (number | null)[] =>
  Array.isArray(value) && (n === undefined || value.length === n) && value.every((v) => v === null || typeof v === "number");
const text = (value: unknown) => (typeof value === "string" ? value : "");
const mark = (value: unknown) => (typeof value === "number" ? value : text(value) || null);
const one = <T>(value: unknown, of: readonly T[], otherwise: T) => (of.includes(value as T) ? (value as T) : otherwise);

/** Takes a session in place of what was open; gives the parameters it was saved with, by key. */
export function restore(state: State, name: string, content: string): Map<number, number[] | null> {
  let session: any;
  try {
    session = JSON.parse(content);
  } catch {
    throw new SessionError(`${name}: expected a saved session, found something else.`);
  }
  if (session?.format !== FORMAT) throw new SessionError(`${name}: this JSON is no saved session.`);
  if (session.formatVersion !== VERSION) throw new SessionError(`${name}: the session is of another release; open it there.`);
  const before = new Map<number, number[] | null>();
  const curves: any[] = Array.isArray(session.curves) ? session.curves : [];
  const entries = curves.map((curve, i) => {
    const entry = entryFrom(curve);
    if (!entry) throw new SessionError(`${name}: curve ${i + 1} of the session is damaged.`);
    const { fit } = curve;
    before.set(entry.key, fit && isNumbers(fit.dG) && isNumbers(fit.Cm) && isNumbers(fit.m) ? parametersOf(fit) : null);
    return entry;
  });
  if (!entries.length) throw new SessionError(`${name}: the session holds no curves.`);
  state.settings = settingsFrom(session.settings ?? {});
  // Deviations that were divided before they were saved are not divided again.
  if (state.settings.weights === "sem" && curves.every(({ n }) => !n)) state.settings.weights = "sd";
  state.unit = session.unit === "kJ" ? "kJ" : "kcal";
  Object.assign(state, { opened: [], attempt: null, faults: [] });
  startWith(state, entries);
  return before;
}

function entryFrom(curve: any): Entry | null {
  const n = curve?.x?.length;
  if (!isNumbers(curve?.x) || !isNumbers(curve.y, n) || (curve.sd && !isNumbers(curve.sd, n)) || typeof curve.temperature !== "number")
    return null;
  const read = isNumbers(curve.sdRead, n) ? curve.sdRead : curve.sd, codes = Array.isArray(curve.noteCodes) ? curve.noteCodes : [];
  const entry = entryOf({
    name: text(curve.name), x: back(curve.x), y: back(curve.y), sd: read ? back(read) : null,
    temperature: curve.temperature, denaturant: text(curve.denaturant) || null, unit: text(curve.unit) || null,
    label: mark(curve.label), replicate: mark(curve.replicate), group: typeof curve.group === "string" ? curve.group : null,
    n: isNumbers(curve.n, n) ? back(curve.n) : null, temperatureAssumed: false,
    notes: (Array.isArray(curve.notes) ? curve.notes : []).map((note: unknown, i: number) => ({ code: text(codes[i]), sentence: text(note), curve: null }))
      .filter(({ code }: { code: string }) => code !== "deviations_unused"),  // said anew
  }, text(curve.file), text(curve.well));
  if (Array.isArray(curve.out) && curve.out.length === n) entry.out = curve.out.map(Boolean);
  if (isNumbers(curve.range, 2) && curve.range.every((end: unknown) => end !== null)) entry.range = curve.range as [number, number];
  if (Array.isArray(curve.part) && curve.part.length === n) entry.part = curve.part.map(String);
  return entry;
}

function settingsFrom(told: any): Settings {
  const usual = usualSettings(), kinds = ["line", "flat", "given"] as const;
  const { method, rounds, seed } = told.intervals ?? {};
  return {
    states: one(told.states, ["auto", 2, 3, 4] as const, usual.states),
    native: one(told.native, kinds, usual.native),
    denatured: one(told.denatured, kinds, usual.denatured),
    baseline: isNumbers(told.baseline, 4) ? (back(told.baseline) as Choices["baseline"]) : usual.baseline,
    heldM: typeof told.heldM === "number" ? told.heldM : null,
    shareM: told.shareM === true,
    replicates: one(told.replicates, ["pooled", "each"] as const, usual.replicates),
    weights: one(told.weights, ["sd", "sem", "none"] as const, usual.weights),
    residues: Number.isInteger(told.residues) && told.residues > 0 ? told.residues : null,
    sdKnown: told.sdKnown === true,
    level: told.level > 0 && told.level < 1 ? told.level : usual.level,
    intervals: {
      method: one(method, ["profile", "bootstrap"] as const, usual.intervals.method),
      rounds: Number.isInteger(rounds) && rounds >= 20 && rounds <= 100000 ? rounds : usual.intervals.rounds,
      seed: Number.isSafeInteger(seed) && seed >= 0 ? seed : usual.intervals.seed,
    },
  };
}

/** What a saved session was fitted with and the page cannot do, in words. */
export function unknownSettings(content: string): string[] {
  const told = JSON.parse(content).settings ?? {};
  return [
    told.states === "picker" && "choice of states by the engine's picker", told.dropOutliers && "removal of outliers",
    told.midpoint && "midpoint fits", (told.heldDG != null || told.heldCm != null) && "held ΔG or Cm",
    Array.isArray(told.heldM) && "m held transition by transition",
  ].filter((words): words is string => typeof words === "string");
}

const parametersOf = (fit: { status: number; dG: number[]; Cm: number[]; m: number[] }) =>
  [fit.status, ...fit.dG, ...fit.Cm, ...fit.m];

const SAME = 1e-6;  // of a value, as `zolt rerun` has it; other machines agree to at least that

/** How many curves give other numbers than they were saved with, or have a fit now and had none, or the reverse. */
export function changedSince(before: Map<number, number[] | null>, entries: Entry[]): number {
  return entries.filter(({ key, answer }) => {
    const old = before.get(key);
    if (old === undefined) return false;
    if (!old || !answer) return Boolean(old) !== Boolean(answer);
    return parametersOf(answer.fit).some((value, i) => !(Math.abs(value - old[i]) <= SAME * Math.abs(value)));
  }).length;
}
