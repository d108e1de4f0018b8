// What a worker is asked and what it answers. Requests and answers are plain data.
import * as records from "../generated/records";
import { Drawing, Engine, OneFit, Readings } from "./engine";

/** What a person chose for the fits. */
export interface Choices {
  states: "auto" | 2 | 3 | 4;
  native: "line" | "flat" | "given";
  denatured: "line" | "flat" | "given";
  baseline: [number, number, number, number];  // intercept and slope of each given side
  heldM: number | null;                        // cal/mol per unit of x
  sdKnown: boolean;
  level: number;
}

export interface FitAnswer extends OneFit {
  evidence: records.Evidence | null;  // null where the number of states was told
  sentence: string;
}

/** What is drawn and told of the one curve that is looked at. */
export interface Detail {
  intervals: records.Intervals | null;
  grid: Drawing | null;
  atReadings: Drawing | null;
}

export type Task =
  | {kind: "fit"; curve: Readings; choices: Choices}
  | {kind: "detail"; curve: Readings; choices: Choices; fit: records.Fit}
  | {kind: "bootstrap"; curve: Readings; choices: Choices; fit: records.Fit; rounds: number; seed: number}
  | {kind: "global"; curves: Readings[]; choices: Choices; transitions: number; reference: number}
  | {kind: "compare"; curves: Readings[]; choices: Choices; reference: number}
  | {kind: "trend"; labels: number[]; vectors: number[][]}
  | {kind: "hash"};

const KINDS = {line: records.LINE, flat: records.FLAT, given: records.GIVEN};
const GRID = 240;

function optionsOf(engine: Engine, choices: Choices): records.Options {
  const options = engine.usualOptions();
  options.native_kind = KINDS[choices.native];
  options.denatured_kind = KINDS[choices.denatured];
  options.baseline = choices.baseline;
  options.sd_known = choices.sdKnown ? 1 : 0;
  if (choices.heldM !== null) options.m = options.m.map(() => choices.heldM as number);
  return options;
}

function fit(engine: Engine, curve: Readings, choices: Choices): FitAnswer {
  const options = optionsOf(engine, choices);
  if (choices.states === "auto") return engine.decide(curve, 4, options);
  const one = engine.fit(curve, choices.states - 1, options);
  return {...one, evidence: null, sentence: engine.sentence(one.fit.status)};
}

function detail(engine: Engine, curve: Readings, choices: Choices, of: records.Fit): Detail {
  if (of.status !== records.FITTED && of.status !== records.NO_TRANSITION) {
    return {intervals: null, grid: null, atReadings: null};
  }
  const step = (of.x_last - of.x_first) / (GRID - 1);
  const grid = Array.from({length: GRID}, (_, i) => of.x_first + i * step);
  return {
    intervals: of.status === records.FITTED
      ? engine.intervals(curve, optionsOf(engine, choices), of, records.PROFILE, choices.level)
      : null,
    grid: engine.draw(of, grid, choices.level),
    atReadings: engine.draw(of, curve.x, choices.level),
  };
}

export function run(engine: Engine, task: Task): unknown {
  switch (task.kind) {
    case "fit": return fit(engine, task.curve, task.choices);
    case "detail": return detail(engine, task.curve, task.choices, task.fit);
    case "bootstrap":
      return engine.intervals(task.curve, optionsOf(engine, task.choices), task.fit,
                              records.BOOTSTRAP, task.choices.level, task.rounds, task.seed);
    // Nothing may be held where values are shared.
    case "global":
      return engine.fitGlobal(task.curves, task.transitions, records.SHARE_M,
                              optionsOf(engine, {...task.choices, heldM: null}), task.reference,
                              task.choices.level);
    case "compare":
      return engine.compare(task.curves, optionsOf(engine, {...task.choices, heldM: null}),
                            task.reference, task.choices.level);
    case "trend": return engine.trend(task.labels, task.vectors);
    case "hash": return engine.resultHash();
  }
}
