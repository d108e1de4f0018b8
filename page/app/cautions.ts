// What a careful supervisor would say of a result, by the same rules, limits and texts as the host's.
import table from "../../python/zolt/cautions.json";
import { ENGINE } from "../engine/looks";
import type { FitAnswer } from "../engine/tasks";
import * as records from "../generated/records";
import { CAL_PER_UNIT, short } from "./numbers";
import { Entry, State, deviationsOf, fitOf, isOut } from "./state";

export interface Caution {
  input?: boolean;  // of the readings, before they were fitted
  code: string;
  sentence: string;
  advice: string;
}

type Entries = Record<string, { sentence?: string; advice: string; page?: string }>;
const TEXTS = table.cautions as Entries;
export const LIMITS = table.limits;
const KCAL = CAL_PER_UNIT.kcal;
const NUMBERS: Record<number, string> = { 2: "two", 3: "three", 4: "four" };

function caution(code: string, values: Record<string, string | number> = {}): Caution {
  const { sentence = "", advice, page = advice } = TEXTS[code];
  return { code, sentence: sentence.replace(/\{(\w+)\}/g, (whole, name) => String(values[name] ?? whole)), advice: page };
}

/** A fit with what the rules look at. */
interface Looked {
  entry: Entry;
  answer: FitAnswer;
  fit: records.Fit;
  state: State;
  kept: number[];  // places of the readings that were fitted
}

const found = new WeakMap<FitAnswer, { of: unknown; cautions: Caution[] }>();

/** The warnings of an entry; with its fit and its intervals they become more. */
export function cautionsOf(entry: Entry, state: State): Caution[] {
  const { answer } = entry;
  if (!answer) return inputCautions(entry, state).map((said) => ({ ...said, input: true }));
  const known = found.get(answer);
  if (known?.of === entry.detail) return known.cautions;
  const cautions = all(entry, answer, state);
  found.set(answer, { of: entry.detail, cautions });
  return cautions;
}

function all(entry: Entry, answer: FitAnswer, state: State): Caution[] {
  const fit = fitOf(entry);
  const kept = entry.x.map((_, i) => i).filter((i) => !isOut(entry, i) && Number.isFinite(entry.x[i]) && Number.isFinite(entry.y[i]));
  const looked = fit && { entry, answer, fit, state, kept };
  return [
    ...inputCautions(entry, state).map((said) => ({ ...said, input: true })),
    ...(looked ? RULES.flatMap((rule) => rule(looked)) : []),
    ...readings(entry, answer, state, kept),
  ];
}

/** What was already to be said of the readings before they were fitted. */
export function inputCautions(entry: Entry, { settings }: State): Caution[] {
  const { notes, temperatureAssumed, temperature } = entry;
  const texts = new Map<string, string[]>();
  for (const { code, sentence } of notes) {
    if (table.no_matter.includes(code)) continue;
    const own = code in TEXTS ? code : "other_note";
    texts.set(own, [...(texts.get(own) ?? []), sentence]);
  }
  const said = [...texts].map(([code, sentences]): Caution => {
    const words = `${sentences[0].charAt(0).toUpperCase()}${sentences[0].slice(1).replace(/\.$/, "")}.`;
    return { ...caution(code), sentence: sentences.length === 1 ? words : `${words} ${sentences.length - 1} more like this.` };
  });
  if (temperatureAssumed) said.push(caution("temperature_assumed", { temperature }));
  if (deviationsOf(entry, settings.weights).unused) said.push(caution("deviations_unused"));
  return said;
}

const whichOf = ({ transitions }: records.Fit, t: number) => (transitions === 1 ? "" : ` ${t + 1}`);
const each = <T>({ transitions }: records.Fit, of: (t: number) => T[]): T[] => Array.from({ length: transitions }, (_, t) => of(t)).flat();

const isTold = (answer: FitAnswer, settings: State["settings"]) => settings.states !== "auto" || answer.shared !== undefined;

function states({ answer, fit, state: { settings } }: Looked): Caution[] {
  const { evidence } = answer, fitted = fit.transitions + 1, told = isTold(answer, settings);
  if (told && evidence.states !== 0 && evidence.states !== fitted)
    return [caution("other_states_shown", { states: NUMBERS[fitted], shown: NUMBERS[evidence.states], evidence: answer.evidenceSentence })];
  const rows = evidence.row.filter(({ states, tried }) => states > 0 && tried);
  const chosen = rows.find((row) => row.states === fitted);
  if (told || !chosen) return [];
  // A smaller model that AICc puts hardly behind, or a larger one that it puts clearly before.
  // A larger model counts only where noise alone speaks against it.
  const asGood = ({ sound, states, outcome, aicc_difference: other }: records.EvidenceRow) =>
    sound && other >= 0 && chosen.aicc_difference >= 0 && (states < chosen.states
      ? other - chosen.aicc_difference < LIMITS.aicc
      : outcome === records.SMALL_GAIN && other - chosen.aicc_difference < -LIMITS.aicc);
  const others = rows.filter((row) => row !== chosen && (row.outcome === records.ONE_READING || asGood(row)));
  return others.length ? [caution("states_indistinguishable", { states: NUMBERS[fitted], others: others.map((row) => NUMBERS[row.states]).join(" or ") })] : [];
}

function residuals({ fit }: Looked): Caution[] {
  const limit = Math.max(LIMITS.durbin_watson, 2 - (2 * LIMITS.durbin_watson_deviations) / Math.sqrt(fit.readings));
  return [
    ...(fit.durbin_watson < limit ? [caution("structured_residuals", { durbin_watson: fit.durbin_watson.toFixed(2) })] : []),
    ...(fit.lack_p >= 0 && fit.lack_p < LIMITS.lack_of_fit_p ? [caution("lack_of_fit", { p: short(fit.lack_p, 1) })] : []),
  ];
}

function replicates({ entry: { part }, answer, kept }: Looked): Caution[] {
  for (const replicate of new Set(part)) {
    const own = kept.filter((i) => part![i] === replicate);
    const above = own.filter((i) => answer.residual[i] > 0).length / own.length;
    if (own.length >= LIMITS.same_side_readings && own.length < kept.length && Math.max(above, 1 - above) >= LIMITS.same_side)
      return [caution("replicates_differ", { replicate })];
  }
  return [];
}

function bounds({ fit }: Looked): Caution[] {
  const reach = LIMITS.edge * (fit.x_last - fit.x_first);
  return each(fit, (t) => {
    const bits = fit.bounds >> (8 * t), which = whichOf(fit, t);
    const said = (code: string, when: number | boolean) => (when ? [caution(code, { which })] : []);
    const outside = bits & (records.OUTSIDE | records.CM_LEAST | records.CM_MOST);
    return [
      ...said("between_two_readings", bits & records.M_MOST), ...said("no_steeper_than_baseline", bits & records.M_LEAST),
      ...said("midpoint_outside", outside),
      ...said("midpoint_at_edge", !outside && Math.min(fit.Cm[t] - fit.x_first, fit.x_last - fit.Cm[t]) < reach),
      ...said("weight_at_edge", bits & records.WEIGHT_EDGE),
    ];
  });
}

/** Too few concentrations at an end for the baseline that is fitted there. */
function plateaus({ entry, answer, kept, state: { settings } }: Looked): Caution[] {
  const shares = [...new Map(kept.map((i) => [entry.x[i], answer.looks.fraction[i]])).values()];
  return (["native", "denatured"] as const).flatMap((side) => {
    const there = shares.filter((share) => (side === "native" ? share : 1 - share) < LIMITS.plateau_fraction).length;
    const count = there === 0 ? "no reading" : there === 1 ? "one concentration" : `${there} concentrations`;
    return there < LIMITS.plateau_readings[settings[side]] ? [caution(`no_${side}_plateau`, { count })] : [];
  });
}

function crossing({ answer: { looks } }: Looked): Caution[] {
  const share = looks.crossing?.fraction ?? 0, edge = LIMITS.plateau_fraction;
  return share > edge && share < 1 - edge ? [caution("baselines_cross", { x: looks.crossing!.x.toFixed(2) })] : [];
}

function errors({ fit }: Looked): Caution[] {
  return each(fit, (t) => {
    const wide = (["dG", "m"] as const).filter((name) => fit[`${name}_se`][t] > LIMITS.relative_error * Math.abs(fit[name][t]));
    const share = Math.max(...wide.map((name) => fit[`${name}_se`][t] / Math.abs(fit[name][t])));
    return wide.length ? [caution("hardly_determined", {
      quantities: wide.join(" and "), share: (100 * share).toFixed(0), have: wide.length > 1 ? "have" : "has", which: whichOf(fit, t),
    })] : [];
  });
}

function oneReading({ fit, answer: { looks: { without } } }: Looked): Caution[] {
  if (!without || [records.TOO_FEW_READINGS, records.TOO_FEW_CONCENTRATIONS].includes(without.fit.status)) return [];
  const x = short(without.x, 3);
  if (without.fit.status !== records.FITTED) return [caution("one_reading_decides", { x, without: "there is no fit" })];
  const reach = LIMITS.decides_midpoint * (fit.x_last - fit.x_first);
  for (const [name, unit, per, digits] of [["dG", "kcal/mol", KCAL, 2], ["Cm", "M", 1, 3]] as const)
    for (let t = 0; t < fit.transitions; ++t) {
      const [now, then, error] = [fit[name][t], without.fit[name][t], fit[`${name}_se`][t]];
      const least = name === "Cm" ? reach : LIMITS.decides_relative * now;
      if (error < 0 || !(Math.abs(then - now) > Math.max(LIMITS.decides_errors * error, least))) continue;
      const words = `${name}${whichOf(fit, t)} is ${(then / per).toFixed(digits)}, not ${(now / per).toFixed(digits)} ${unit}`;
      return [caution("one_reading_decides", { x, without: words })];
    }
  return [];
}

function engine({ fit, answer: { looks, shared }, state: { settings } }: Looked): Caution[] {
  const vector = looks.engine, said: Caution[] = [];
  const transitions = !vector[ENGINE.dG[1]] && !vector[ENGINE.Cm[1]] ? 1 : vector[ENGINE.dG[2]] || vector[ENGINE.Cm[2]] || vector[11] ? 3 : 2;
  if (vector[ENGINE.RT] > 0 && transitions === fit.transitions && !shared) {
    const own = (name: string, t: number) => name === "m" ? vector[ENGINE.dG[t]] / vector[ENGINE.Cm[t]] : vector[ENGINE[name as "dG" | "Cm"][t]];
    const room = (name: string, now: number) => name === "Cm" ? LIMITS.engine_midpoint * (fit.x_last - fit.x_first) : LIMITS.engine_relative * Math.abs(now);
    const apart = (["dG", "Cm", "m"] as const).filter((name) => fit[name].slice(0, transitions).some((now, t) => {
      const off = Math.abs(own(name, t) - now), error = fit[`${name}_se`][t];
      return error >= 0 && off > LIMITS.engine_errors * error && off > room(name, now);
    }));
    const dG = ENGINE.dG.slice(0, transitions).map((at) => (vector[at] / KCAL).toFixed(2)).join(", ");
    const Cm = ENGINE.Cm.slice(0, transitions).map((at) => vector[at].toFixed(2)).join(", ");
    if (apart.length) said.push(caution("engine_apart", { quantities: apart.join(", "), dG, Cm }));
  }
  const { native, denatured, baseline } = settings;
  const held = baseline.every((value, i) => Math.abs(vector[i] - value) <= 1e-9 * (fit.y_span + Math.abs(value)));
  if (native === "given" && denatured === "given" && !held) said.push(caution("baselines_not_used_by_engine"));
  return said;
}

function sharedM({ answer, state: { shared } }: Looked): Caution[] {
  return answer.shared && shared && shared.p >= 0 && shared.p < LIMITS.shared_p ? [caution("m_not_shared", { p: short(shared.p, 1) })] : [];
}

/** m against what the number of residues lets expect (Myers, Pace and Scholtz 1995). */
function chain({ fit, entry: { denaturant }, state: { settings: { residues } } }: Looked): Caution[] {
  if (residues === null) return [];
  const of = denaturant === "urea" || denaturant === "GdmCl" ? LIMITS.chain[denaturant] : null;
  if (!of) return [caution("m_not_compared")];
  const expected = of.m + of.m_per_area * (LIMITS.chain.area + LIMITS.chain.area_per_residue * residues);
  const m = fit.m.reduce((sum, value) => sum + value, 0);
  return m >= expected / LIMITS.m_factor && m <= expected * LIMITS.m_factor ? []
    : [caution("m_unexpected", { m: (m / KCAL).toFixed(2), residues, expected: (expected / KCAL).toFixed(2), denaturant: denaturant! })];
}

function unbounded({ fit, entry: { detail } }: Looked): Caution[] {
  const ends = detail?.intervals;
  if (!ends) return [];
  const open = each(fit, (t) => ([["dG", "kcal/mol", KCAL], ["Cm", "M", 1], ["m", "kcal/mol/M", KCAL]] as const).flatMap(([name, unit, per]) => {
    const [low, high] = ends[name][t], what = `${name}${whichOf(fit, t)}`;
    if (Number.isFinite(low) && Number.isFinite(high)) return [];
    if (!Number.isFinite(low) && !Number.isFinite(high)) return [`The readings do not bound ${what}.`];
    return [Number.isFinite(low) ? `${what} is at least ${short(low / per)} ${unit}.` : `${what} is at most ${short(high / per)} ${unit}.`];
  }));
  return open.length ? [caution("interval_unbounded", { quantities: open.join(" ") })] : [];
}

function signal({ entry: { name } }: Looked): Caution[] {
  return new RegExp(LIMITS.not_linear, "i").test(name) ? [caution("signal_not_linear", { name })] : [];
}

const RULES = [signal, states, residuals, replicates, bounds, plateaus, crossing, errors, oneReading, engine, sharedM, chain, unbounded];

/** What is said of the readings of any curve, fitted or not. */
function readings(entry: Entry, answer: FitAnswer, { settings }: State, kept: number[]): Caution[] {
  const { looks, fit } = answer, said: Caution[] = [];
  const { sd } = deviationsOf(entry, settings.weights);
  const fitted = fit.status === records.FITTED;
  const off = kept.filter((i) => looks.off[i]).length, spikes = kept.filter((i) => looks.spikes[i] && (!fitted || looks.off[i])).length;
  if (isTold(answer, settings) && answer.evidence.status === records.NO_TRANSITION)
    said.push(caution("no_transition_evident", { evidence: answer.evidenceSentence }));
  if (fitted && off > LIMITS.off_share * kept.length)
    said.push(caution("many_readings_off", { count: off, readings: kept.length }));
  if (spikes) said.push(caution("spikes", { count: `${spikes} reading${spikes > 1 ? "s leap" : " leaps"}` }));
  const ratio = sd?.length ? Math.max(...sd) / Math.min(...sd) : 1;
  if (ratio > LIMITS.sd_ratio) said.push(caution("weights_uneven", { ratio: ratio.toFixed(0) }));
  const there = entry.x.filter((x, i) => Number.isFinite(x) && Number.isFinite(entry.y[i])).length;
  if (kept.length < there) said.push(caution("readings_left_out", { count: there - kept.length, readings: there }));
  return said;
}
