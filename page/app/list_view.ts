// The curves as rows to choose from: sorted, filtered by warning.
import { Markup, h } from "../figure/markup";
import { cautionsOf } from "./cautions";
import { CAL_PER_UNIT, withError } from "./numbers";
import { listed } from "./order";
import { table } from "./result_view";
import { SORTS, State, fitOf } from "./state";

const MOST_ROWS = 400;

/** The value with the digits that its error allows; the error stands beside the figure. */
const told = (value: number, error: number) => withError(value, error).split(" ±")[0];

export function listView(state: State): Markup {
  const rows = listed(state), per = CAL_PER_UNIT[state.unit];
  const shownRows = rows.slice(0, MOST_ROWS).map((entry) => {
    // What was assumed of the file is said beside the curve; the sign is for the fit itself.
    const fit = fitOf(entry), cautions = cautionsOf(entry, state).filter(({ input }) => !input);
    return [
      h("th", { scope: "row" }, h("button", {
        "data-act": "choose", "data-key": entry.key, title: entry.name, "aria-current": entry.key === state.chosen ? "true" : null, class: "row",
      }, entry.name || "(no name)")),
      h("td", {}, fit ? String(fit.transitions + 1) : entry.answer || entry.fault ? "none" : "…"),
      h("td", {}, fit ? told(fit.Cm[0], fit.Cm_se[0]) : ""),
      h("td", {}, fit ? told(fit.dG[0] / per, fit.dG_se[0] / per) : ""),
      h("td", {}, cautions.length ? h("span", {
        role: "img", class: "warned", "aria-label": `${cautions.length} warning${cautions.length > 1 ? "s" : ""}`,
        title: cautions.map(({ sentence }) => sentence).join(" "),
      }, "⚠") : ""),
    ];
  });
  return h("div", {},
    h("div", { class: "bar" },
      h("label", {}, "Sort by ", h("select", { "data-set": "sort", id: "sort" },
        ...SORTS.map((sort) => h("option", { value: sort, selected: sort === state.sort }, sort)))),
      h("label", {}, h("input", { type: "checkbox", "data-set": "descending", id: "descending", checked: state.descending }), " descending"),
      h("label", {}, "List ", h("select", { "data-set": "warned", id: "warned" }, ...filters(state)))),
    table(["curve", "states", "Cm (M)", `ΔG (${state.unit}/mol)`, ""], shownRows,
          `${rows.length > MOST_ROWS ? MOST_ROWS : rows.length} of ${state.entries.length} curves`));
}

/** All curves, those with a warning, or those with one of the warnings that there are. */
function filters(state: State): Markup[] {
  const counts = new Map<string, number>();
  if (!["", "any"].includes(state.warned)) counts.set(state.warned, 0);  // what is chosen stays to be seen
  let any = 0;
  for (const entry of state.entries) {
    const cautions = cautionsOf(entry, state), codes = new Set(cautions.map(({ code }) => code));
    if (cautions.some(({ input }) => !input)) ++any;
    for (const code of codes) counts.set(code, (counts.get(code) ?? 0) + 1);
  }
  const option = (value: string, words: string) => h("option", { value, selected: value === state.warned }, words);
  return [option("", "all curves"), option("any", `with a warning (${any})`),
    ...[...counts].sort(([a], [b]) => (a < b ? -1 : 1)).map(([code, count]) => option(code, `${code.replaceAll("_", " ")} (${count})`))];
}
