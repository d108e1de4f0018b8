// What a worker is asked and what it answers. Requests and answers are plain data.
import { Sheet, workbook } from "../figure/spreadsheet";
import * as records from "../generated/records";
import { Source, readSources } from "../reader/sources";
import { Looks, looksOf, vectorOf } from "./looks";
import { Drawing, Engine, OneFit, Readings } from "./engine";

/** What a person chose for the fits. */
export interface Choices {
  states: "auto" | 2 | 3 | 4;
  native: "line" | "flat" | "given";
  denatured: "line" | "flat" | "given";
  baseline: [number, number, number, number];  // intercept and slope of each given side
  heldM: number | null;                        // cal/mol per unit of x
  weights: "sd" | "sem" | "none";
  sdKnown: boolean;                            // sd are true sizes, not only weights
  level: number;
  intervals: { method: "profile" | "bootstrap"; rounds: number; seed: number };
}

export interface FitAnswer extends OneFit {
  evidence: records.Evidence;
  evidenceSentence: string;
  sentence: string;             // why the fit is what it is
  looks: Looks;
  shared?: records.Intervals;         // of a fit that shares m with others
}

/** A curve that is to share m: with all its signals, and the answer to it alone. */
export interface SharedCurve {
  curve: Readings;
  all: number[];
  alone: FitAnswer;
}

export interface SharedAnswer {
  global: records.Global;
  rows: FitAnswer[];
}

/** What is drawn and told of the one curve that is looked at. */
export interface Detail {
  intervals: records.Intervals | null;
  grid: Drawing | null;
  atReadings: Drawing | null;
}

export type Task =
  | {kind: "fit"; curve: Readings; all: number[]; choices: Choices}
  | {kind: "detail"; curve: Readings; choices: Choices; fit: records.Fit; intervals: records.Intervals | null}
  | {kind: "share"; curves: SharedCurve[]; choices: Choices}
  | {kind: "compare"; curves: Readings[]; choices: Choices; reference: number}
  | {kind: "trend"; labels: number[]; fits: records.Fit[]}
  | {kind: "hash"}
  | {kind: "read"; sources: Source[]}
  | {kind: "workbook"; sheets: Sheet[]};

const KINDS = {line: records.LINE, flat: records.FLAT, given: records.GIVEN};
const METHODS = {profile: records.PROFILE, bootstrap: records.BOOTSTRAP};
const GRID = 240;

function optionsOf(engine: Engine, choices: Choices): records.Options {
  const options = engine.usualOptions();
  options.native_kind = KINDS[choices.native];
  options.denatured_kind = KINDS[choices.denatured];
  options.baseline = choices.baseline;
  options.sd_known = choices.weights !== "none" && choices.sdKnown ? 1 : 0;
  if (choices.heldM !== null) options.m = options.m.map(() => choices.heldM as number);
  return options;
}

function fit(engine: Engine, curve: Readings, all: number[], choices: Choices): FitAnswer {
  const options = optionsOf(engine, choices);
  // The evidence is asked for also where the states are told, to say whether the readings show as many.
  const decided = engine.decide(curve, 4, options);
  const told = choices.states === "auto" ? null : engine.fit(curve, choices.states - 1, options);
  const one = {...decided, ...told};
  return {...one, sentence: told ? engine.sentence(told.fit.status) : decided.sentence,
          evidenceSentence: decided.sentence, looks: looksOf(engine, curve, all, one, options)};
}

/** One m for all curves. What the engine said of each, and the evidence of each alone, is kept. */
function share(engine: Engine, curves: SharedCurve[], choices: Choices): SharedAnswer {
  const options = optionsOf(engine, choices), states = choices.states === "auto" ? 2 : choices.states;
  const {global, fits, intervals} = engine.fitGlobal(
    curves.map(({curve}) => curve), states - 1, records.SHARE_M, options, 0, choices.level);
  const sentence = `Fitted with one m for ${global.curves} curves.`;
  return {global, rows: fits.map((found, i) => {
    const {curve, all, alone} = curves[i], fit = {...found, engine: alone.fit.engine};
    const residual = fit.status !== records.FITTED ? curve.y.map(() => NaN)
      : engine.draw(fit, curve.x, choices.level).signal.map((signal, k) => curve.y[k] - signal);
    const one = {fit, residual, leverage: []};
    return {...alone, ...one, shared: intervals[i], looks: looksOf(engine, curve, all, one, options),
            sentence: fit.status === records.FITTED ? sentence : engine.sentence(fit.status)};
  })};
}

function detail(engine: Engine, curve: Readings, choices: Choices, of: records.Fit, known: records.Intervals | null): Detail {
  if (of.status !== records.FITTED && of.status !== records.NO_TRANSITION) {
    return {intervals: null, grid: null, atReadings: null};
  }
  const {method, rounds, seed} = choices.intervals;
  const step = (of.x_last - of.x_first) / (GRID - 1);
  const grid = Array.from({length: GRID}, (_, i) => of.x_first + i * step);
  return {
    intervals: known ?? (of.status === records.FITTED
      ? engine.intervals(curve, optionsOf(engine, choices), of, METHODS[method], choices.level, rounds, seed) : null),
    grid: engine.draw(of, grid, choices.level),
    atReadings: engine.draw(of, curve.x, choices.level),
  };
}

export function run(engine: Engine, task: Task): unknown {
  switch (task.kind) {
    case "fit": return fit(engine, task.curve, task.all, task.choices);
    case "detail": return detail(engine, task.curve, task.choices, task.fit, task.intervals);
    case "share": return share(engine, task.curves, task.choices);
    case "compare":
      return engine.compare(task.curves, optionsOf(engine, {...task.choices, heldM: null}),
                            task.reference, task.choices.level);
    case "trend": return engine.trend(task.labels, task.fits.map(vectorOf));
    case "hash": return engine.resultHash();
    // What takes long and wants no engine.
    case "read": return readSources(task.sources);
    case "workbook": return workbook(task.sheets);
  }
}
