// The report to print: what was chosen, what came of it, and every curve with its figure.
import { curveFigure } from "../figure/curve_figure";
import { Markup, h } from "../figure/markup";
import { LIGHT } from "../figure/palette";
import { cautionsOf } from "./cautions";
import { CAL_PER_UNIT, withError } from "./numbers";
import { mainPicture, pictureOf } from "./pictures";
import { resultView, table } from "./result_view";
import { setView } from "./set_view";
import { Settings, State, fitOf } from "./state";

const MOST_CURVES = 200;
const cell = (words: string) => h("td", { class: "words" }, words);

export function reportView(state: State, origin: string): (Markup | null | false)[] {
  const { entries, set } = state;
  const several = set && !set.fault ? mainPicture({ ...state, view: "set" }, 640, LIGHT, false) : null;
  return [
    h("h1", {}, "Denaturation curves"), h("p", {}, `${entries.length} curves, ${new Date().toISOString().slice(0, 10)}. ${origin}.`),
    h("p", {}, settingsWords(state)), warnings(state), results(state), several, (set || state.shared) && unfolded(setView(state)),
    ...entries.slice(0, MOST_CURVES).map((entry) => h("article", {},
      curveFigure(pictureOf(entry, state), "signal", { width: 640, height: 420 }, LIGHT), unfolded(resultView({ ...state, chosen: entry.key })))),
    entries.length > MOST_CURVES && h("p", {}, `The first ${MOST_CURVES} curves; the tables hold all.`),
  ];
}

/** A view with all that can be folded open, as paper cannot be clicked, and without names that the page has already. */
const unfolded = (view: Markup): Markup => ({
  ...view, attributes: { ...view.attributes, id: null, ...(view.tag === "details" ? { open: true } : {}) },
  children: view.children.map((child) => (child && typeof child === "object" ? unfolded(child) : child)),
});

/** How the curves were fitted, in a sentence. */
export function settingsWords({ settings, unit }: State): string {
  const { states, shareM, heldM, weights, sdKnown, level, intervals, residues, baseline } = settings;
  const side = (kind: Settings["native"], at: number) => (kind !== "given" ? kind : `given as ${baseline[at]} and ${baseline[at + 1]} a M`);
  return [
    `States ${states === "auto" ? "by the evidence" : `given as ${states}`}`,
    `native baseline ${side(settings.native, 0)}, denatured ${side(settings.denatured, 2)}`,
    `m ${shareM ? "one for all curves" : heldM === null ? "free" : `held at ${+(heldM / CAL_PER_UNIT[unit]).toPrecision(6)} ${unit}/mol/M`}`,
    `replicates ${settings.replicates === "pooled" ? "fitted together" : "fitted each alone"}`,
    weights === "none" ? "all readings weigh alike" : `standard ${weights === "sem" ? "errors" : "deviations"}, where there are any, weigh the readings${sdKnown ? " and are true sizes" : ""}`,
    `${+(100 * level).toFixed(2)} % intervals by ${intervals.method}${intervals.method === "bootstrap" ? ` (${intervals.rounds} rounds, seed ${intervals.seed})` : ""}`,
    residues === null ? "" : `a chain of ${residues} residues`,
  ].filter(Boolean).join("; ") + ".";
}

/** Each warning once, with the curves that have it. */
function warnings(state: State): Markup | false {
  const rows = new Map<string, { sentence: string; advice: string; names: string[] }>();
  for (const entry of state.entries)
    for (const { sentence, advice } of cautionsOf(entry, state)) {
      const row = rows.get(sentence) ?? { sentence, advice, names: [] };
      row.names.push(entry.name);
      rows.set(sentence, row);
    }
  const all = state.entries.length;
  return rows.size > 0 && table(["curve", "warning", "what to do"], [...rows.values()].map(({ sentence, advice, names }) =>
    [cell(names.length === all && all > 1 ? "all" : names.join(", ")), cell(sentence), cell(advice)]), "Warnings");
}

/** A row a curve, with standard errors. */
function results(state: State): Markup | false {
  const { entries, unit } = state, per = CAL_PER_UNIT[unit];
  const rows = entries.map((entry) => {
    const fit = fitOf(entry);
    const told = (name: "dG" | "Cm" | "m", scale: number) => (fit
      ? fit[name].slice(0, fit.transitions).map((value, t) => withError(value / scale, fit[`${name}_se`][t] / scale)).join(", ") : "");
    return [h("th", { scope: "row" }, entry.name), cell(fit ? String(fit.transitions + 1) : "no fit"), cell(told("dG", per)), cell(told("Cm", 1)), cell(told("m", per))];
  });
  return rows.length > 1 && table(["curve", "states", `ΔG (${unit}/mol)`, "Cm (M)", `m (${unit}/mol/M)`], rows, "Results, value ± standard error");
}
