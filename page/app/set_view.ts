// Curves compared with one of them: one m for all, mean m, plain difference; and a series' trend.
import { Markup, h } from "../figure/markup";
import type * as records from "../generated/records";
import { LIMITS } from "./cautions";
import { CAL_PER_UNIT, interval, probability, short, withError } from "./numbers";
import { table } from "./result_view";
import { comparable, labelled } from "./set_work";
import { State, fitOf } from "./state";

const cell = (words: string) => h("td", {}, words);

export function setView(state: State): Markup {
  const fitted = comparable(state);
  if (fitted.length < 2) return h("div", {});
  return h("div", {},
    h("h2", {}, "Several curves"),
    h("div", { class: "bar" },
      h("label", {}, "Reference ", h("select", { id: "reference", "data-set": "reference" },
        ...fitted.map(({ key, name }) => h("option", { value: key, selected: key === state.reference }, name)))),
      h("button", { type: "button", "data-act": "compare", id: "compare" }, "Compare all with the reference"),
      new Set(labelled(state).map(({ label }) => label)).size > 1 &&
        h("button", { type: "button", "data-act": "trend", id: "trend" }, "Trend with the label")),
    state.shared && sharedWords(state.shared, state),
    state.set?.fault ? h("p", { role: "alert" }, state.set.fault) : null,
    state.set?.comparison ? comparison(state) : null,
    state.set?.trend ? trend(state) : null);
}

/** What the fit with one m for all curves says of that m. */
function sharedWords({ curves, transitions, shared, shared_se, shared_interval, F, p }: records.Global, { unit, settings }: State): Markup {
  const per = CAL_PER_UNIT[unit];
  const values = Array.from({ length: transitions }, (_, t) =>
    `${withError(shared[t] / per, shared_se[t] / per)} (${interval(shared_interval[t].map((end) => end / per) as [number, number], shared_se[t] / per)})`);
  return h("p", {}, `${curves} curves of ${transitions + 1} states fitted with one m: ${values.join(" and ")} ${unit}/mol/M, ` +
    `with ${100 * settings.level} % interval. ${verdict(F, p)}`);
}

const verdict = (F: number, p: number) => `Shared against free m: F ${short(F, 3)}, p ${probability(p)}. ` +
  (p >= 0 && p < LIMITS.shared_p ? "The curves do not agree with one m: their ΔΔG depends on the concentration." : "The curves agree with one m.");

function comparison(state: State): Markup {
  const { keys, reference, comparison: found } = state.set!, per = CAL_PER_UNIT[state.unit];
  const { global, rows } = found!, names = new Map(state.entries.map(({ key, name }) => [key, name]));
  const unit = `${state.unit}/mol`, others = state.entries.filter(fitOf).length - keys.length;
  const told = rows.map((row, i) => [h("th", { scope: "row" }, names.get(keys[i]) ?? ""), ...(keys[i] === reference
    ? [h("td", { colspan: 7 }, "reference")]
    : row.status !== 0 ? [cell("no fit")]
    : [cell(withError(row.dCm, row.dCm_se)),
      ...(["shared", "mean_m", "plain"] as const).flatMap((way) => {
        const [value, error] = [row[`${way}_ddG`] / per, row[`${way}_se`] / per];
        return [cell(withError(value, error)), cell(interval(row[`${way}_interval`].map((end) => end / per) as [number, number], error))];
      })])]);
  return h("div", {},
    h("p", {}, `One m for all: ${withError(global.shared[0] / per, global.shared_se[0] / per)} ${unit}/M. ` +
      verdict(global.F, global.p)),
    h("p", { class: "faint" }, "One m for all is sharpest, and right where the curves agree with it. Mean m × ΔCm is what is often published. " +
      "The plain difference asks nothing of m, but carries the errors of both m-values over to zero denaturant."),
    others > 0 && h("p", { class: "warnings" }, `${others} of the fitted curves left out: only two states can be compared.`),
    table(["curve", "ΔCm (M)", `ΔΔG, one m (${unit})`, "interval", "mean m × ΔCm", "interval", "difference of ΔG", "interval"],
          told, `Less ${names.get(reference)}`));
}

function trend(state: State): Markup {
  const found = state.set!.trend!, per = CAL_PER_UNIT[state.unit];
  const [slope, intercept, r2] = found.line;
  return h("div", {},
    h("p", {}, slope === 0 ? "No significant trend of ΔG with the label."
      : `ΔG = ${short(intercept / per)} + ${short(slope / per)} ln(label) ${state.unit}/mol, R² ${short(r2)}.`),
    h("p", { class: "faint" }, "The error is the SD of curves of one label, or the standard error of a single one."),
    table(["label", `ΔG (${state.unit}/mol)`, "error"], found.label.map((label, i) => [
      h("th", { scope: "row" }, String(label)), cell(short(found.dG[i] / per)), cell(short(found.error[i] / per, 2))]), "Mean ΔG a label"));
}
