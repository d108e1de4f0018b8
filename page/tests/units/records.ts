// Made-up fits and entries: sound ones, of which a test changes what it is about.
import type { FitAnswer } from "../../engine/tasks";
import * as records from "../../generated/records";
import { Entry, State, entryOf, newState } from "../../app/state";

const x = Array.from({ length: 21 }, (_, i) => 0.4 * i);
const fraction = x.map((at) => 1 / (1 + Math.exp(-2.5 * (at - 4))));

export const fitOfTwo = (changes: Partial<records.Fit> = {}): records.Fit => ({
  status: records.FITTED, transitions: 1, readings: 21, missing: 0, concentrations: 21, free_parameters: 6, rank: 6,
  bounds: 0, iterations: 5, starts: 3, agreeing: 3, sd_known: 0, RT: 592.5, x_first: 0, x_last: 8, y_span: 1,
  baseline: [0, 0, 1, 0], dG: [6000, 0, 0], Cm: [4, 0, 0], m: [1500, 0, 0], weight: [1, 0, 0],
  baseline_se: [0, 0, 0, 0], dG_se: [200, 0, 0], Cm_se: [0.02, 0, 0], m_se: [50, 0, 0], weight_se: [-1, 0, 0],
  baseline_hc3: [], dG_hc3: [], Cm_hc3: [], m_hc3: [], weight_hc3: [], dG_m_correlation: [0.9, 0, 0],
  sse: 0.01, degrees: 15, residual_sd: 0.01, r_squared: 0.999, durbin_watson: 2, condition: 10, aicc: -100,
  pure_sse: 0, pure_degrees: 0, lack_F: -1, lack_p: -1, covariance: [], covariance_hc3: [],
  engine: [0, 0, 1, 0, 6000, 4, 0, 0, 0, 0, 0, 0, 592.5, 2, 0.999, 0, 0, 0, 0, 0, 0, 0, 0, 0], ...changes,
});

const row = (model: number, states: number, changes: Partial<records.EvidenceRow> = {}): records.EvidenceRow => ({
  model, states, tried: 1, sound: 1, engine_code: 2, outcome: records.NO_NEED, parameters: 6, against: -1, sse: 1,
  residual_sd: 1, durbin_watson: 2, aicc: 0, aicc_difference: 50, F: 1, p: 0.5, p_without: -1, x_without: 0,
  least_weight: 1, apart: -1, ...changes,
});

export const evidenceOf = (states: number, three: Partial<records.EvidenceRow> = {}): records.Evidence => ({
  status: states ? records.FITTED : records.NO_TRANSITION, states, readings: 21, reserved: 0, row: [
    row(0, 0), row(1, 0), row(2, 0), row(3, 2, { outcome: records.PASSED, aicc_difference: 0 }),
    row(4, 3, { tried: 0, outcome: records.NOT_TRIED, aicc_difference: -1, ...three }), row(5, 4, { tried: 0, outcome: records.NOT_TRIED, aicc_difference: -1 }),
  ],
});

export function answerOf(fit: Partial<records.Fit> = {}, changes: Partial<FitAnswer> = {}): FitAnswer {
  const whole = fitOfTwo(fit);
  return {
    fit: whole, residual: x.map((_, i) => (i % 2 ? 0.01 : -0.01)), leverage: x.map(() => 0.2), evidence: evidenceOf(2),
    evidenceSentence: "Two states.", sentence: "Two states.",
    looks: { fraction, crossing: null, without: null, off: x.map(() => false), spikes: x.map(() => false), engine: whole.engine },
    ...changes,
  };
}

export function entry(changes: Partial<Entry> = {}): Entry {
  const given = {
    name: "WT", x: [...x], y: [...fraction], sd: null, n: null, temperature: 25, temperatureAssumed: false, denaturant: "urea",
    unit: "M", label: null, replicate: null, group: null, notes: [],
  };
  return { ...entryOf(given, "file.csv", ""), answer: answerOf(), ...changes };
}

export function state(changes: Partial<State> = {}, settings: Partial<State["settings"]> = {}): State {
  const fresh = newState();
  return { ...fresh, ...changes, settings: { ...fresh.settings, ...settings } };
}
