// What a person should know before trusting a fit, each in a sentence.
import * as records from "../generated/records";
import { Entry, isOut } from "./state";
import { short } from "./numbers";

const BOUNDS: [number, (n: string) => string][] = [
  [records.M_LEAST, (n) => `The m-value${n} is at its lower bound: the readings hardly show a transition.`],
  [records.M_MOST, (n) => `The m-value${n} is at its upper bound: the transition falls between two readings.`],
  [records.CM_LEAST, (n) => `The midpoint${n} is at the lower end of what is allowed.`],
  [records.CM_MOST, (n) => `The midpoint${n} is at the upper end of what is allowed.`],
  [records.WEIGHT_EDGE, (n) => `The share of the transition${n} is as small or as large as it may become.`],
  [records.OUTSIDE, (n) => `The midpoint${n} lies outside the readings.`],
];

export function warningsOf(entry: Entry): string[] {
  if (entry.fault) return [entry.fault];
  if (!entry.answer) return [];
  const { fit, sentence } = entry.answer;
  if (fit.status !== records.FITTED) return [sentence];
  const found: string[] = [];
  for (let t = 0; t < fit.transitions; ++t) {
    const n = fit.transitions > 1 ? ` of transition ${t + 1}` : "";
    for (const [bit, words] of BOUNDS) if (fit.bounds & (bit << (8 * t))) found.push(words(n));
  }
  if (fit.durbin_watson < 1) found.push(`Neighbouring residuals are alike (Durbin-Watson ${short(fit.durbin_watson, 2)}): the model misses something, and the errors are too small.`);
  if (fit.lack_p >= 0 && fit.lack_p < 0.01) found.push("The fit lies further from the means of the replicates than their scatter explains.");
  const out = entry.x.filter((_, i) => isOut(entry, i)).length;
  if (out > 0) found.push(`${out} of ${entry.x.length} readings left out by hand.`);
  return found;
}
