// The rules of the warnings, one by one: a sound fit has none, and each change of it gives the one meant.
import { cautionsOf } from "../../app/cautions";
import type { Entry, Settings } from "../../app/state";
import type { FitAnswer } from "../../engine/tasks";
import * as records from "../../generated/records";
import { answerOf, entry, evidenceOf, fitOfTwo, state } from "./records";
import { ok, same, table, test } from "./check";

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
  ["midpoint at the far edge", answerOf({ Cm: [7.8, 0, 0], engine: fitOfTwo().engine.map((v, i) => (i === 5 ? 7.8 : i === 4 ? 11700 : v)), dG: [11700, 0, 0] }), ["midpoint_at_edge"]],
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
  ["given baselines that it takes to rounding", answerOf({ y_span: 1e6, engine: fitOfTwo().engine.map((v, i) => (i === 2 ? v + 1e-5 : v)) }), [],
    { native: "given", denatured: "given", baseline: [0, 0, 1, 0] }],
  ["another number of states is shown", answerOf({}, { evidence: evidenceOf(3) }), ["other_states_shown"], { states: 2 }],
  ["no transition is shown", answerOf({}, { evidence: evidenceOf(0) }), ["no_transition_evident"], { states: 2 }],
  ["the decision hangs on a reading", answerOf({}, { evidence: evidenceOf(2, { tried: 1, outcome: records.ONE_READING }) }), ["states_indistinguishable"]],
  ["three states are slightly better by AICc", answerOf({}, { evidence: evidenceOf(2, { tried: 1, aicc_difference: 1 }) }), []],
  ["readings lie off", looking({ off: marked(4) }), ["many_readings_off"]],
  ["two readings may lie off", looking({ off: marked(2) }), []],
  ["an eighth may lie off", looking({ off: marked(2) }), ["readings_left_out"], {}, { out: marked(21).map((_, i) => i > 15) }],
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

const first = (...fractions: number[]) => looking({ fraction: looks.fraction.map((f, i) => fractions[i] ?? Math.max(f, 0.12)) });
const last = (...fractions: number[]) => looking({ fraction: looks.fraction.map((f, i) => fractions[n - 1 - i] ?? Math.min(f, 0.88)) });
const engine = (changes: Record<number, number>, fit = {}) => looking({ engine: fitOfTwo().engine.map((value, i) => changes[i] ?? value) }, fit);
const models = (chosen: number, two: Partial<records.EvidenceRow>, three: Partial<records.EvidenceRow>) => {
  const { row, ...rest } = evidenceOf(chosen);
  return answerOf(chosen === 3 ? transitions : {}, { evidence: { ...rest, row: row.map((one) => ({ ...one, ...(one.model === 3 ? two : one.model === 4 ? { tried: 1, ...three } : {}) })) } });
};
const between = (ends: Partial<Record<"dG" | "Cm" | "m", [number, number]>>): Partial<Entry> => {
  const whole = intervals([[5000, 7000], [0, 0], [0, 0]])!.intervals!;
  return { detail: { grid: null, atReadings: null, intervals: { ...whole, ...Object.fromEntries(Object.entries(ends).map(([name, end]) => [name, [end]])) } } };
};
const sides = (above: number, of: number): [FitAnswer, object, Partial<Entry>] => [
  answerOf({}, { residual: marked(above).map((one) => (one ? 0.01 : -0.01)) }), {}, { part: marked(of).map((one) => (one ? "a" : "b")) }];
const sharing = answerOf({}, { shared: intervals([[1, 2], [0, 0], [0, 0]])!.intervals! });

/** The sentence of a warning, or nothing; at the limit itself there is none. */
const SENTENCES: [code: string, answer: FitAnswer, wanted: string, settings?: Partial<Settings> & { p?: number }, changes?: Partial<Entry>][] = [
  ["structured_residuals", answerOf({ durbin_watson: 0.996 }), "The residuals wave (Durbin-Watson 1.00): the model misses something, and the errors are too small."],
  ["structured_residuals", answerOf({ durbin_watson: 1 }), ""],
  ["structured_residuals", answerOf({ durbin_watson: 1.5, readings: 100 }), ""],  // 2 - 2 * 2.5 / 10
  ["structured_residuals", answerOf({ durbin_watson: 1.499, readings: 100 }), "The residuals wave (Durbin-Watson 1.50): the model misses something, and the errors are too small."],
  ["lack_of_fit", answerOf({ lack_p: 0.01 }), ""],
  ["lack_of_fit", answerOf({ lack_p: 0 }), "The fit misses the means of the replicates by more than their scatter (p = 0, below 0.01)."],
  ["lack_of_fit", answerOf({ lack_p: 0.0084 }), "The fit misses the means of the replicates by more than their scatter (p = 0.008, below 0.01)."],
  ["midpoint_at_edge", answerOf({ Cm: [0.4, 0, 0] }), ""],
  ["midpoint_at_edge", answerOf({ Cm: [0.39, 0, 0] }), "The midpoint lies at the edge of the readings."],
  ["midpoint_at_edge", answerOf({ ...transitions, Cm: [3, 7.61, 0] }), "The midpoint 2 lies at the edge of the readings."],
  ["midpoint_at_edge", answerOf({ Cm: [0.39, 0, 0], bounds: records.OUTSIDE }), ""],
  ["midpoint_outside", answerOf({ ...transitions, bounds: records.CM_MOST << 8 }), "The midpoint 2 lies outside the readings."],
  ["between_two_readings", answerOf({ ...transitions, bounds: records.M_MOST }), "The transition 1 falls between two readings: m and dG have no upper limit."],
  ["no_native_plateau", first(0.1, 0.1, 0.1), "The native baseline rests on no reading."],
  ["no_native_plateau", first(0.05), "The native baseline rests on one concentration."],
  ["no_native_plateau", first(0.05, 0.09), "The native baseline rests on 2 concentrations."],
  ["no_native_plateau", first(0.05, 0.06, 0.09), ""],
  ["no_native_plateau", first(0.05, 0.09), "", { native: "flat" }],
  ["no_native_plateau", first(0.05), "The native baseline rests on one concentration.", { native: "flat", denatured: "given" }],
  ["no_native_plateau", first(0.05, 0.06, 0.09), "The native baseline rests on 2 concentrations.", {}, { x: entry().x.map((x, i) => (i === 1 ? 0 : x)) }],
  ["no_denatured_plateau", last(0.89), "The denatured baseline rests on no reading."],
  ["no_denatured_plateau", last(0.95, 0.91), "The denatured baseline rests on 2 concentrations."],
  ["no_denatured_plateau", last(0.95, 0.94, 0.91), ""],
  ["baselines_cross", looking({ crossing: { x: 4.216, fraction: 0.11 } }), "The baselines cross at 4.22 M, within the transition."],
  ["baselines_cross", looking({ crossing: { x: 4.2, fraction: 0.1 } }), ""],
  ["baselines_cross", looking({ crossing: { x: 4.2, fraction: 0.9 } }), ""],
  ["hardly_determined", answerOf({ dG_se: [1800, 0, 0] }), ""],
  ["hardly_determined", answerOf({ m_se: [900, 0, 0] }), "m of the transition has a standard error of 60 % of the value."],
  ["hardly_determined", answerOf({ dG_se: [2400, 0, 0], m_se: [900, 0, 0] }), "dG and m of the transition have a standard error of 60 % of the value."],
  ["hardly_determined", answerOf({ ...transitions, dG_se: [100, 3000, 0] }), "dG of the transition 2 has a standard error of 50 % of the value."],
  ["one_reading_decides", looking({ without: apart({ dG: [4800, 0, 0] }) }), "The reading at 3.2 M decides: without it dG is 4.80, not 6.00 kcal/mol."],
  ["one_reading_decides", looking({ without: apart({ dG: [6600, 0, 0] }) }), ""],
  ["one_reading_decides", looking({ without: apart({ dG: [6601, 0, 0] }) }, { dG_se: [-1, 0, 0] }), ""],
  ["one_reading_decides", looking({ without: apart({ dG: [6700, 0, 0] }) }, { dG_se: [350, 0, 0] }), ""],
  ["one_reading_decides", looking({ without: apart({ Cm: [4.041, 0, 0] }) }, { Cm_se: [0.001, 0, 0] }), "The reading at 3.2 M decides: without it Cm is 4.041, not 4.000 M."],
  ["one_reading_decides", looking({ without: apart({ Cm: [3.961, 0, 0] }) }, { Cm_se: [0.001, 0, 0] }), ""],
  ["one_reading_decides", looking({ without: apart({ Cm: [4.05, 0, 0] }) }, { Cm_se: [0.03, 0, 0] }), ""],
  ["one_reading_decides", looking({ without: apart({ ...transitions, Cm: [3, 5.5, 0] }) }, transitions), "The reading at 3.2 M decides: without it Cm 2 is 5.500, not 5.000 M."],
  ["one_reading_decides", looking({ without: apart({ status: records.NOT_CONVERGED }) }), "The reading at 3.2 M decides: without it there is no fit."],
  ["one_reading_decides", looking({ without: apart({ status: records.TOO_FEW_CONCENTRATIONS }) }), ""],
  ["engine_apart", engine({ 4: 7500 }), ""],
  ["engine_apart", engine({ 4: 7600 }), "The engine's own fit is far away in dG, m (its dG is 7.60 kcal/mol, its Cm 4.00 M)."],
  ["engine_apart", engine({ 4: 7600 }, { dG_se: [900, 0, 0] }), "The engine's own fit is far away in m (its dG is 7.60 kcal/mol, its Cm 4.00 M)."],
  ["engine_apart", engine({ 5: 4.15 }), ""],
  ["engine_apart", engine({ 5: 4.17 }), "The engine's own fit is far away in Cm (its dG is 6.00 kcal/mol, its Cm 4.17 M)."],
  ["engine_apart", engine({ 5: 4.17 }, { Cm_se: [-1, 0, 0] }), ""],
  ["engine_apart", engine({ 4: 4000, 5: 3, 6: 6000, 7: 5.5, 8: 0.5 }, transitions), "The engine's own fit is far away in Cm (its dG is 4.00, 6.00 kcal/mol, its Cm 3.00, 5.50 M)."],
  ["engine_apart", engine({ 4: 4000, 5: 3, 6: 6000, 7: 5.5, 11: 0.2 }, transitions), ""],
  ["engine_apart", engine({ 4: 9000, 12: -1 }), ""],
  ["m_unexpected", answerOf(), "", { residues: 207 }],  // 1.6 times 1.5 is 2.4, of 207.8 residues
  ["m_unexpected", answerOf(), "m is 1.50 kcal/mol/M; a chain of 208 residues suggests 2.40 in urea.", { residues: 208 }],
  ["m_unexpected", answerOf(), "", { residues: 65 }],
  ["m_unexpected", answerOf(), "m is 1.50 kcal/mol/M; a chain of 64 residues suggests 0.93 in urea.", { residues: 64 }],
  ["m_unexpected", answerOf(transitions), "m is 2.53 kcal/mol/M; a chain of 400 residues suggests 8.84 in GdmCl.", { residues: 400 }, { denaturant: "GdmCl" }],
  ["interval_unbounded", answerOf(), "dG is at least 5.012 kcal/mol.", {}, between({ dG: [5012, Infinity] })],
  ["interval_unbounded", answerOf(), "dG is at most 7 kcal/mol. The readings do not bound m.", {}, between({ dG: [-Infinity, 7000], m: [-Infinity, Infinity] })],
  ["interval_unbounded", answerOf(), "Cm is at least 3.9 M.", {}, between({ Cm: [3.9, Infinity] })],
  ["interval_unbounded", answerOf(), "", {}, between({})],
  ["many_readings_off", looking({ off: marked(3) }), "3 of 21 readings lie off the fit."],
  ["many_readings_off", looking({ off: marked(3) }, { status: records.NOT_CONVERGED }), ""],
  ["spikes", looking({ spikes: marked(1), off: marked(1) }), "1 reading leaps out from both neighbours."],
  ["spikes", looking({ spikes: marked(2), off: marked(2) }), "2 readings leap out from both neighbours."],
  ["weights_uneven", answerOf(), "", {}, { sd: marked(1).map((one) => (one ? 20 : 1)) }],
  ["weights_uneven", answerOf(), "Standard deviations differ 21-fold: a few readings weigh as much as all others.", {}, { sd: marked(1).map((one) => (one ? 1 : 21)) }],
  ["readings_left_out", answerOf(), "1 of 20 readings left out of the fit.", {}, { out: marked(1), y: entry().y.map((y, i) => (i === 5 ? NaN : y)) }],
  ["readings_left_out", answerOf(), "", {}, { y: entry().y.map((y, i) => (i === 5 ? NaN : y)) }],
  ["replicates_differ", sides(8, 8)[0], "Replicate a lies on one side of the fit: the replicates differ in scale or offset.", {}, sides(8, 8)[2]],
  ["states_indistinguishable", models(3, { aicc_difference: 2 }, { aicc_difference: 0, outcome: records.PASSED }), ""],
  ["states_indistinguishable", models(3, { aicc_difference: 1.9 }, { aicc_difference: 0, outcome: records.PASSED }), "The readings hardly tell three from two."],
  ["states_indistinguishable", models(3, { aicc_difference: 1.9, sound: 0 }, { aicc_difference: 0, outcome: records.PASSED }), ""],
  ["states_indistinguishable", models(2, { aicc_difference: 2 }, { aicc_difference: 0, outcome: records.SMALL_GAIN }), ""],
  ["states_indistinguishable", models(2, { aicc_difference: 2.1 }, { aicc_difference: 0, outcome: records.SMALL_GAIN }), "The readings hardly tell two from three."],
  ["states_indistinguishable", models(2, { aicc_difference: 2.1 }, { aicc_difference: 0, outcome: records.SMALL_WEIGHT }), ""],
  ["states_indistinguishable", models(2, { aicc_difference: 2.1 }, { aicc_difference: 0, outcome: records.SMALL_GAIN }), "", { states: 2 }],
  ["other_states_shown", answerOf({}, { evidence: evidenceOf(3) }), "The fit has two states as told; the readings show three. Two states.", { states: 2 }],
  ["other_states_shown", answerOf({}, { evidence: evidenceOf(2) }), "", { states: 2 }],
  ["m_not_shared", sharing, "", { p: 0.05 }],
  ["m_not_shared", sharing, "The curves do not agree with one m (p = 0.04, below 0.05).", { p: 0.044 }],
  ["m_not_shared", sharing, "", { p: -1 }],
  ["m_not_shared", answerOf(), "", { p: 0.001 }],
  ["blank", answerOf(), "A.", {}, { notes: [{ code: "blank", sentence: "a.", curve: null }] }],
  ["blank", answerOf(), "A. 2 more like this.", {}, { notes: ["a", "b", "c"].map((sentence) => ({ code: "blank", sentence, curve: null })) }],
  ["temperature_assumed", answerOf(), "No temperature is stated; 25 °C is assumed.", {}, { temperatureAssumed: true }],
];

test("sentences hold the numbers, and at a limit nothing is said yet", () => {
  for (const [code, answer, wanted, { p = 0.5, ...settings } = {}, changes = {}] of SENTENCES) {
    const told = cautionsOf(entry({ answer: { ...answer }, ...changes }), state({ shared: { ...fitOfTwo(), p } as unknown as records.Global }, settings));
    same(told.filter((one) => one.code === code).map(({ sentence }) => sentence).join(), wanted, code);
  }
});

table("replicates on one side", (above: number, of: number) => {
  const [answer, , changes] = sides(above, of);
  return cautionsOf(entry({ answer, ...changes }), state()).filter(({ code }) => code === "replicates_differ").map(({ sentence }) => sentence[10]).join();
}, [[7, 8, "a"], [6, 8, "b"], [7, 7, "b"], [6, 7, "b"], [0, 8, "a"], [21, 21, ""]]);

test("what is said before the fit is of the input, and intervals add theirs when they come", () => {
  const one = entry({ temperatureAssumed: true, answer: answerOf({ durbin_watson: 0.5 }) }), now = state();
  same(cautionsOf(one, now).map(({ code, input = false }) => [code, input]), [["temperature_assumed", true], ["structured_residuals", false]]);
  same(cautionsOf({ ...one, answer: null }, now).map(({ code }) => code), ["temperature_assumed"]);
  same(cautionsOf({ ...one, ...between({ m: [-Infinity, 1] }) }, now).map(({ code }) => code), ["temperature_assumed", "structured_residuals", "interval_unbounded"]);
});
