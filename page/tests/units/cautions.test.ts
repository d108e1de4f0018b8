// The rules of the warnings, one by one: a sound fit has none, and each change of it gives the one meant.
import { cautionsOf } from "../../app/cautions";
import type { Entry, Settings } from "../../app/state";
import type { FitAnswer } from "../../engine/tasks";
import * as records from "../../generated/records";
import { answerOf, entry, evidenceOf, fitOfTwo, state } from "./records";
import { ok, same, test } from "./check";

type Case = [name: string, answer: FitAnswer, wanted: string[], settings?: Partial<Settings>, changes?: Partial<Entry>];
const { looks } = answerOf();
const looking = (changes: Partial<FitAnswer["looks"]>, fit = {}) => answerOf(fit, { looks: { ...looks, ...changes } });
const n = looks.fraction.length;
const marked = (count: number) => Array.from({ length: n }, (_, i) => i < count);
const apart = (changes: Partial<records.Fit>) => ({ x: 3.2, fit: fitOfTwo(changes) });
const transitions = { transitions: 2, Cm: [3, 5, 0], dG: [4000, 6000, 0], m: [1333, 1200, 0], dG_se: [100, 100, 0], m_se: [10, 10, 0], Cm_se: [0.1, 0.1, 0] };
const intervals = (dG: number[][]): Entry["detail"] => ({
  grid: null, atReadings: null,
  intervals: { status: 0, transitions: 1, method: 0, rounds_used: 0, level: 0.95, dG, Cm: [[3.9, 4.1], [0, 0], [0, 0]], m: [[1400, 1600], [0, 0], [0, 0]] },
});

const CASES: Case[] = [
  ["a sound fit", answerOf(), []],
  ["waves", answerOf({ durbin_watson: 0.6 }), ["structured_residuals"]],
  ["few readings may wave a little", answerOf({ durbin_watson: 1.1 }), []],
  ["many readings may not", answerOf({ durbin_watson: 1.1, readings: 60 }), ["structured_residuals"]],
  ["lack of fit", answerOf({ lack_p: 0.001 }), ["lack_of_fit"]],
  ["m at its upper bound", answerOf({ bounds: records.M_MOST }), ["between_two_readings"]],
  ["m at its lower bound", answerOf({ bounds: records.M_LEAST }), ["no_steeper_than_baseline"]],
  ["midpoint at a bound", answerOf({ bounds: records.CM_LEAST }), ["midpoint_outside"]],
  ["midpoint outside", answerOf({ bounds: records.OUTSIDE, Cm: [8.4, 0, 0] }), ["midpoint_outside", "engine_apart"]],
  ["midpoint at the edge", answerOf({ Cm: [0.3, 0, 0], engine: fitOfTwo().engine.map((v, i) => (i === 5 ? 0.3 : i === 4 ? 450 : v)), dG: [450, 0, 0], dG_se: [20, 0, 0] }), ["midpoint_at_edge"]],
  ["weight at its edge, second transition", answerOf({ ...transitions, bounds: records.WEIGHT_EDGE << 8 }, { evidence: evidenceOf(3, { outcome: records.PASSED, tried: 1, aicc_difference: 0 }) }),
    ["states_indistinguishable", "weight_at_edge"]],
  ["a wide error of dG", answerOf({ dG_se: [2400, 0, 0] }), ["hardly_determined"]],
  ["no error at all is not a wide one", answerOf({ dG_se: [-1, 0, 0], m_se: [-1, 0, 0] }), []],
  ["no native plateau", looking({ fraction: looks.fraction.map((f) => Math.max(f, 0.12)) }), ["no_native_plateau"]],
  ["a given baseline needs none", looking({ fraction: looks.fraction.map((f) => Math.max(f, 0.12)) }), [], { native: "given" }],
  ["no denatured plateau", looking({ fraction: looks.fraction.map((f) => Math.min(f, 0.88)) }), ["no_denatured_plateau"]],
  ["baselines cross within", looking({ crossing: { x: 4.2, fraction: 0.6 } }), ["baselines_cross"]],
  ["baselines cross before", looking({ crossing: { x: 0.2, fraction: 0.01 } }), []],
  ["one reading moves dG", looking({ without: apart({ dG: [4800, 0, 0] }) }), ["one_reading_decides"]],
  ["one reading moves Cm", looking({ without: apart({ Cm: [4.1, 0, 0] }) }), ["one_reading_decides"]],
  ["one reading moves nothing much", looking({ without: apart({ dG: [5700, 0, 0], Cm: [4.03, 0, 0] }) }), []],
  ["without one reading there is no fit", looking({ without: apart({ status: records.UNDETERMINED }) }), ["one_reading_decides"]],
  ["without one reading they are too few", looking({ without: apart({ status: records.TOO_FEW_READINGS }) }), []],
  ["the engine is far in dG and m", looking({ engine: fitOfTwo().engine.map((v, i) => (i === 4 ? 9000 : v)) }), ["engine_apart"]],
  ["the engine has another number of states", looking({ engine: fitOfTwo().engine.map((v, i) => (i === 4 ? 9000 : i === 6 ? 5000 : i === 7 ? 5 : v)) }), []],
  ["the engine has no fit", looking({ engine: Array(24).fill(-1) }), []],
  ["given baselines that the engine leaves", answerOf(), ["baselines_not_used_by_engine"], { native: "given", denatured: "given", baseline: [0.1, 0, 1, 0] }],
  ["given baselines that it takes", answerOf(), [], { native: "given", denatured: "given", baseline: [0, 0, 1, 0] }],
  ["another number of states is shown", answerOf({}, { evidence: evidenceOf(3) }), ["other_states_shown"], { states: 2 }],
  ["no transition is shown", answerOf({}, { evidence: evidenceOf(0) }), ["no_transition_evident"], { states: 2 }],
  ["the decision hangs on a reading", answerOf({}, { evidence: evidenceOf(2, { tried: 1, outcome: records.ONE_READING }) }), ["states_indistinguishable"]],
  ["three states are slightly better by AICc", answerOf({}, { evidence: evidenceOf(2, { tried: 1, aicc_difference: 1 }) }), []],
  ["readings lie off", looking({ off: marked(4) }), ["many_readings_off"]],
  ["two readings may lie off", looking({ off: marked(2) }), []],
  ["a spike that lies off", looking({ spikes: marked(1), off: marked(1) }), ["spikes"]],
  ["a spike that does not", looking({ spikes: marked(1) }), []],
  ["a spike in a curve without a fit", looking({ spikes: marked(1) }, { status: records.NO_TRANSITION }), ["spikes"]],
  ["m as a chain of that length has it", answerOf(), [], { residues: 137 }],
  ["m far from it", answerOf(), ["m_unexpected"], { residues: 400 }],
  ["an unknown denaturant", answerOf(), ["m_not_compared"], { residues: 137 }, { denaturant: null }],
  ["m is not shared", answerOf({}, { shared: intervals([[1, 2], [0, 0], [0, 0]])!.intervals! }), ["m_not_shared"]],
  ["an open interval", answerOf(), ["interval_unbounded"], {}, { detail: intervals([[5000, Infinity], [0, 0], [0, 0]]) }],
  ["readings left out by a click", answerOf(), ["readings_left_out"], {}, { out: marked(1) }],
  ["readings left out by the range", answerOf(), ["no_native_plateau", "readings_left_out"], {}, { range: [3, 8] }],
  ["replicates on one side", answerOf({}, { residual: marked(9).map((above) => (above ? 0.01 : -0.01)) }), ["replicates_differ"], {}, { part: marked(9).map((one) => (one ? "1" : "2")) }],
  ["replicates about the fit", answerOf(), [], {}, { part: marked(9).map((one) => (one ? "1" : "2")) }],
  ["uneven weights", answerOf(), ["weights_uneven"], {}, { sd: marked(1).map((one) => (one ? 1 : 0.01)) }],
  ["uneven weights that are not used", answerOf(), [], { weights: "none" }, { sd: marked(1).map((one) => (one ? 1 : 0.01)) }],
  ["deviations with a gap", answerOf(), ["deviations_unused"], {}, { sd: marked(1).map((one) => (one ? NaN : 0.01)) }],
  ["standard errors without counts", answerOf(), ["deviations_unused"], { weights: "sem" }, { sd: marked(0).map(() => 0.01) }],
  ["a ratio of two wavelengths", answerOf(), ["signal_not_linear"], {}, { name: "F350/F330" }],
  ["an assumed temperature", answerOf(), ["temperature_assumed"], {}, { temperatureAssumed: true }],
  ["notes of the reader", answerOf(), ["unit_assumed", "other_note"], {},
    { notes: [{ code: "unit_assumed", sentence: "no unit", curve: null }, { code: "renamed", sentence: "x", curve: null }, { code: "filled_down", sentence: "y", curve: null }] }],
];

for (const [name, answer, wanted, settings = {}, changes = {}] of CASES)
  test(name, () => {
    const shared = { ...fitOfTwo(), p: 0.001, F: 9 } as unknown as records.Global;
    const told = cautionsOf(entry({ answer, ...changes }), state({ shared }, settings));
    same(told.map(({ code }) => code), wanted);
    ok(told.every(({ sentence, advice }) => /^[^{}]+[.!]$/.test(sentence) && !advice.includes("--")), told.map(({ sentence }) => sentence).join(" "));
  });

test("sentences hold the numbers", () => {
  const [wide] = cautionsOf(entry({ answer: answerOf({ dG_se: [2400, 0, 0] }) }), state());
  same(wide.sentence, "dG of the transition has a standard error of 40 % of the value.");
  const [open] = cautionsOf(entry({ detail: intervals([[5012, Infinity], [0, 0], [0, 0]]) }), state());
  same(open.sentence, "dG is at least 5.012 kcal/mol.");
  const [blanks] = cautionsOf(entry({ notes: ["a", "b", "c"].map((sentence) => ({ code: "blank", sentence, curve: null })) }), state());
  same(blanks.sentence, "A. 2 more like this.");
});
