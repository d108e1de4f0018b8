// The numbers of the chosen curve, what warns of them, and the evidence for the number of states.
import { Child, Markup, h } from "../figure/markup";
import * as records from "../generated/records";
import { cautionsOf } from "./cautions";
import { CAL_PER_UNIT, interval, probability, short, withError } from "./numbers";
import { siblings, spreadOf } from "./replicates";
import { Entry, State, chosenEntry, fitOf } from "./state";

export const MODELS = ["straight line", "parabola", "exponential", "two states", "three states", "four states"];

const OUTCOMES: Record<number, string> = {
  [records.NOT_TRIED]: "not tried", [records.FEW_READINGS]: "too few readings",
  [records.NO_NEED]: "no need: the residuals of the smaller model are noise",
  [records.UNSOUND]: "no sound fit", [records.SMALL_GAIN]: "gains too little",
  [records.ONE_READING]: "the gain hangs on one reading", [records.SMALL_WEIGHT]: "a transition too small",
  [records.NOT_APART]: "midpoints not apart", [records.INCOMPLETE]: "a transition is incomplete",
  [records.SERVES_AS_WELL]: "a curve without a transition serves as well",
};

/** What became of a model with transitions; nothing is said of the others. */
export function outcomeWords({ states, outcome }: records.EvidenceRow, chosen: number): string {
  if (states === 0) return "";
  return outcome !== records.PASSED ? OUTCOMES[outcome] ?? "" : states === chosen ? "taken" : "better than the smaller";
}

const cells = (...values: string[]) => values.map((value, i) =>
  h(i === 0 ? "th" : "td", i === 0 ? { scope: "row" } : { class: value.length > 24 ? "words" : null }, value));

export function table(head: string[], rows: Child[][], caption: string): Markup {
  return h("div", { class: "scroll" }, h("table", {}, h("caption", {}, caption),
    h("thead", {}, h("tr", {}, ...head.map((words) => h("th", { scope: "col" }, words)))),
    h("tbody", {}, ...rows.map((row) => h("tr", {}, ...row)))));
}

export function resultView(state: State): Markup {
  const entry = chosenEntry(state);
  if (!entry) return h("div", {});
  const fit = fitOf(entry), cautions = cautionsOf(entry, state);
  return h("div", {},
    fit ? numbers(state) : h("p", {}, noFit(entry)),
    cautions.length > 0 && h("ul", { class: "warnings", "aria-label": "Warnings" }, ...cautions.map(({ sentence, advice }) =>
      h("li", {}, `${sentence} `, h("span", { class: "faint" }, advice)))),
    fit && replicates(state),
    entry.answer ? evidence(entry.answer.evidence, entry.answer.evidenceSentence, fit !== null) : null,
    fit && quality(entry, fit));
}

function noFit({ answer, fault }: Entry): string {
  return fault ? `No fit. ${fault}` : !answer ? "Fitting …" : `No fit. ${answer.sentence}`;
}

/** Of replicates fitted each alone: the mean of their results and its spread. */
function replicates(state: State): Markup | null {
  const all = siblings(chosenEntry(state)!, state.entries), per = CAL_PER_UNIT[state.unit];
  if (all.length < 2) return null;
  const count = Math.min(...all.map((one) => fitOf(one)!.transitions));
  const rows: Child[][] = [];
  for (let t = 0; t < count; ++t)
    for (const [name, key, scale, of] of [["ΔG", "dG", per, `${state.unit}/mol`], ["Cm", "Cm", 1, "M"], ["m", "m", per, `${state.unit}/mol/M`]] as const) {
      const { mean, sd } = spreadOf(all.map((one) => fitOf(one)![key][t] / scale));
      rows.push(cells(`${name}${count > 1 ? ` ${t + 1}` : ""}`, withError(mean, sd), of));
    }
  return table(["", "mean ± SD", ""], rows, `${all.length} replicates`);
}

function numbers(state: State): Markup {
  const entry = chosenEntry(state)!, fit = fitOf(entry)!, ends = entry.detail?.intervals;
  const per = CAL_PER_UNIT[state.unit], level = `${100 * state.settings.level} %`;
  const rows: Child[][] = [];
  for (let t = 0; t < fit.transitions; ++t) {
    const n = fit.transitions > 1 ? ` ${t + 1}` : "";
    const add = (name: string, of: string, value: number, error: number, range: number[] | undefined) =>
      rows.push(cells(`${name}${n}`, withError(value, error), of,
                      range ? interval(range as [number, number], error) : "…"));
    add("ΔG", `${state.unit}/mol`, fit.dG[t] / per, fit.dG_se[t] / per, ends?.dG[t].map((end) => end / per));
    add("Cm", "M", fit.Cm[t], fit.Cm_se[t], ends?.Cm[t]);
    add("m", `${state.unit}/mol/M`, fit.m[t] / per, fit.m_se[t] / per, ends?.m[t].map((end) => end / per));
    if (fit.transitions > 1) rows.push(cells(`share${n}`, withError(fit.weight[t], fit.weight_se[t]), "", ""));
  }
  return h("div", {},
    table(["", "value ± standard error", "", `${level} interval, ${ends?.method === records.BOOTSTRAP ? "bootstrap" : "profile"}`], rows,
          `${fit.transitions + 1} states${entry.part ? `, ${new Set(entry.part).size} replicates together` : ""}`),
    entry.answer!.shared !== undefined && h("p", { class: "faint" }, entry.answer!.sentence));
}

const quality = (entry: Entry, fit: records.Fit) => h("p", { class: "faint" },
  [`R² ${short(fit.r_squared, 6)}`, `scatter about the fit ${short(fit.residual_sd, 3)}`, `Durbin-Watson ${short(fit.durbin_watson, 3)}`,
    `${fit.readings} readings`, `${fit.free_parameters} parameters`, `${entry.temperature} °C`].join(", "));

/** The models one below the other; what became of each stands under its name. */
function evidence(found: records.Evidence, sentence: string, fitted: boolean): Markup {
  const rows = found.row.filter(({ tried, outcome }) => tried || outcome !== records.NOT_TRIED).map((row) => [
    h("th", { scope: "row" }, MODELS[row.model], h("div", { class: "faint" }, outcomeWords(row, found.states))),
    ...[row.parameters > 0 ? String(row.parameters) : "–", row.tried ? short(row.residual_sd, 3) : "–",
      row.aicc_difference >= 0 ? short(row.aicc_difference, 3) : "–", probability(row.p)].map((words) => h("td", {}, words)),
  ]);
  return h("section", { "aria-label": "Evidence" },
    fitted && h("p", {}, sentence),
    h("details", {}, h("summary", {}, "The models beside one another"),
      table(["model", "parameters", "scatter", "ΔAICc", "p"], rows, "p is that of the F test against the smaller model")));
}
