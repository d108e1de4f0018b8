// The numbers of the chosen curve, what warns of them, and the evidence for the number of states.
import { Child, Markup, h } from "../figure/markup";
import * as records from "../generated/records";
import { CAL_PER_UNIT, interval, probability, short, withError } from "./numbers";
import { State, chosenEntry, fitOf } from "./state";
import { warningsOf } from "./warnings";

const MODELS = ["straight line", "parabola", "exponential", "two states", "three states", "four states"];

const OUTCOMES: Record<number, string> = {
  [records.PASSED]: "taken", [records.NOT_TRIED]: "not tried", [records.FEW_READINGS]: "too few readings",
  [records.NO_NEED]: "no need: the residuals of the smaller model are noise",
  [records.UNSOUND]: "no sound fit", [records.SMALL_GAIN]: "gains too little",
  [records.ONE_READING]: "the gain hangs on one reading", [records.SMALL_WEIGHT]: "a transition too small",
  [records.NOT_APART]: "midpoints not apart", [records.INCOMPLETE]: "a transition is incomplete",
  [records.SERVES_AS_WELL]: "a curve without a transition serves as well",
};

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
  const fit = fitOf(entry), warnings = warningsOf(entry);
  return h("div", {},
    fit ? numbers(state) : h("p", {}, entry.answer || entry.fault ? "No fit." : "Fitting …"),
    warnings.length > 0 && h("ul", { class: "warnings", "aria-label": "Warnings" }, ...warnings.map((words) => h("li", {}, words))),
    entry.answer?.evidence ? evidence(entry.answer.evidence, entry.answer.sentence, fit !== null) : null,
    entry.notes.length > 0 && h("p", { class: "faint" }, `${entry.notes.join("; ")}.`));
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
    table(["", "value ± standard error", "", `${level} interval`], rows, `${fit.transitions + 1} states`),
    h("p", { class: "faint" }, `R² ${short(fit.r_squared, 6)}, scatter about the fit ${short(fit.residual_sd, 3)}, Durbin-Watson ${short(fit.durbin_watson, 3)}, ${fit.readings} readings, ${fit.free_parameters} parameters, ${entry.temperature} °C`));
}

function evidence(found: records.Evidence, sentence: string, fitted: boolean): Markup {
  const rows = found.row.filter(({ tried, outcome }) => tried || outcome !== records.NOT_TRIED).map((row) => cells(
    MODELS[row.model], String(row.parameters), row.tried ? short(row.residual_sd, 3) : "–",
    row.aicc_difference >= 0 ? short(row.aicc_difference, 3) : "–", probability(row.p),
    row.states === 0 ? "" : OUTCOMES[row.outcome] ?? ""));
  return h("section", { "aria-label": "Evidence" },
    fitted && h("p", {}, sentence),
    h("details", {}, h("summary", {}, "The models beside one another"),
      table(["model", "parameters", "scatter", "ΔAICc", "p against the smaller", ""], rows, "Models")));
}
