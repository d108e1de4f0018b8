// The choices of the fits, the views of the curves, and what can be exported.
import type { Quantity } from "../figure/curve_figure";
import { Markup, h } from "../figure/markup";
import { CAL_PER_UNIT } from "./numbers";
import { wellsOf } from "./pictures";
import { PLATE_VALUES, State, View, chosenEntry } from "./state";

const options = (chosen: string, ...list: [string, string][]) =>
  list.map(([value, words]) => h("option", { value, selected: value === chosen }, words));

const select = (id: string, words: string, chosen: string, ...list: [string, string][]) =>
  h("label", {}, `${words} `, h("select", { id, "data-choice": id }, ...options(chosen, ...list)));

const KINDS: [string, string][] = [["line", "line"], ["flat", "flat"], ["given", "given"]];

export function choicesView({ settings, unit, entries }: State): Markup[] {
  const given = (side: "native" | "denatured", from: number) => settings[side] !== "given" ? [] : [0, 1].map((i) =>
    h("label", {}, `${side} ${i ? "slope" : "intercept"} `, h("input", {
      type: "number", step: "any", id: `baseline${from + i}`, "data-baseline": from + i, value: settings.baseline[from + i],
    })));
  const per = CAL_PER_UNIT[unit], m = settings.shareM ? "shared" : settings.heldM === null ? "free" : "given";
  return [
    select("states", "States", String(settings.states), ["auto", "as the readings tell"], ["2", "2"], ["3", "3"], ["4", "4"]),
    select("native", "Native baseline", settings.native, ...KINDS), ...given("native", 0),
    select("denatured", "Denatured baseline", settings.denatured, ...KINDS), ...given("denatured", 2),
    select("m", "m", m, ["free", "free"], ["shared", "one for all curves"], ["given", "given"]),
    ...(m === "given" ? [h("label", {}, `m (${unit}/mol/M) `, h("input", {
      type: "number", step: "any", min: 0, id: "heldM", "data-choice": "heldM", value: String(+(settings.heldM! / per).toPrecision(12)),
    }))] : []),
    ...(entries.some(({ group }) => group !== null)
      ? [select("replicates", "Replicates", settings.replicates, ["pooled", "fitted together"], ["each", "fitted each alone"])] : []),
    ...(entries.some(({ sd }) => sd) ? [select("weights", "Weights", settings.weights === "sd" && settings.sdKnown ? "known" : settings.weights,
      ["sd", "by standard deviations"], ["known", "by standard deviations, true sizes"], ["sem", "by standard errors"], ["none", "all alike"])] : []),
    select("level", "Intervals", String(settings.level), ["0.68", "68 %"], ["0.9", "90 %"], ["0.95", "95 %"], ["0.99", "99 %"]),
    select("method", "by", settings.intervals.method, ["profile", "profile"], ["bootstrap", `bootstrap, ${settings.intervals.rounds} rounds`]),
    select("unit", "Energies", unit, ["kcal", "kcal/mol"], ["kJ", "kJ/mol"]),
    h("label", {}, "Residues of the chain ", h("input", {
      type: "number", min: 1, step: 1, id: "residues", "data-choice": "residues", value: settings.residues,
    })),
  ];
}

const VIEWS: [View, string][] = [["curve", "Curve"], ["plate", "Plate"], ["overlay", "Together"], ["set", "Compared"]];
const QUANTITIES: [Quantity, string][] = [["signal", "signal"], ["fraction", "fraction denatured"], ["energy", "ΔG"]];

export function viewsView(state: State): Markup[] {
  const shown = VIEWS.filter(([view]) => view === "curve" || (view === "plate" ? wellsOf(state).length > 1
    : view === "set" ? state.set !== null : state.entries.length > 1));
  const entry = chosenEntry(state);
  return [
    ...(shown.length > 1 ? shown.map(([view, words]) =>
      h("button", { type: "button", "data-act": "view", "data-view": view, id: `view-${view}`, "aria-pressed": String(view === state.view) }, words)) : []),
    ...(state.view === "curve" ? [select("quantity", "Show", state.quantity, ...QUANTITIES)] : []),
    ...(state.view === "plate" ? [select("plateValue", "Colour by", state.plateValue, ...PLATE_VALUES.map((v): [string, string] => [v, v]))] : []),
    ...(state.view === "curve" && entry && (entry.range || entry.out.some(Boolean))
      ? [h("button", { type: "button", "data-act": "all", id: "all" }, "Take all readings back")] : []),
  ];
}

export const exportsView = (): Markup[] => ([
  ["svg", "Figure as SVG"], ["png", "Figure as PNG"], ["results", "Results as CSV"], ["readings", "Readings as CSV"],
  ["fitted", "Curves as CSV"], ["workbook", "Workbook of all"], ["report", "Report to print"], ["session", "Session"],
] as const).map(([what, words]) => h("button", { type: "button", "data-act": "export", "data-what": what, id: `export-${what}` }, words));
