// The curves as rows to choose from, and the table of what was read.
import { Markup, h } from "../figure/markup";
import type { ColumnShown, Role } from "../reader/index";
import { CAL_PER_UNIT, withError } from "./numbers";
import { valueOf } from "./pictures";
import { Entry, SORTS, State, fitOf } from "./state";
import { table } from "./result_view";
import { warningsOf } from "./warnings";

/** The rows in the order that was asked for. */
export function listed(state: State): Entry[] {
  const kept = state.entries.filter((entry) => !state.onlyWarned || warningsOf(entry).length > 0);
  if (state.sort === "file") return kept;
  if (state.sort === "name") return [...kept].sort((a, b) => a.name.localeCompare(b.name, "en", { numeric: true }));
  const value = (entry: Entry) => valueOf(entry, state.sort, state) ?? Infinity;
  return [...kept].sort((a, b) => value(a) - value(b) || a.key - b.key);
}

const MOST_ROWS = 400;

/** The value with the digits that its error allows; the error stands beside the figure. */
const told = (value: number, error: number) => withError(value, error).split(" ±")[0];

export function listView(state: State): Markup {
  const rows = listed(state), per = CAL_PER_UNIT[state.unit];
  const shownRows = rows.slice(0, MOST_ROWS).map((entry) => {
    const fit = fitOf(entry), warned = warningsOf(entry).length;
    return [
      h("th", { scope: "row" }, h("button", {
        "data-act": "choose", "data-key": entry.key, "aria-current": entry.key === state.chosen ? "true" : null, class: "row",
      }, entry.name || "(no name)")),
      h("td", {}, fit ? String(fit.transitions + 1) : entry.answer || entry.fault ? "none" : "…"),
      h("td", {}, fit ? told(fit.Cm[0], fit.Cm_se[0]) : ""),
      h("td", {}, fit ? told(fit.dG[0] / per, fit.dG_se[0] / per) : ""),
      h("td", {}, warned ? h("span", { role: "img", "aria-label": `${warned} warnings`, title: warningsOf(entry).join(" ") }, "⚠") : ""),
    ];
  });
  return h("div", {},
    h("div", { class: "bar" },
      h("label", {}, "Sort by ", h("select", { "data-set": "sort", id: "sort" },
        ...SORTS.map((sort) => h("option", { value: sort, selected: sort === state.sort }, sort)))),
      h("label", {}, h("input", { type: "checkbox", "data-set": "onlyWarned", id: "onlyWarned", checked: state.onlyWarned }), " with warnings only")),
    table(["curve", "states", "Cm (M)", `ΔG (${state.unit}/mol)`, ""], shownRows,
          rows.length > MOST_ROWS ? `${MOST_ROWS} of ${rows.length} curves` : `${rows.length} of ${state.entries.length} curves`));
}

const ROLES: [Role, string][] = [
  ["concentration", "concentration"], ["signal", "signal"], ["sd", "standard deviation"], ["n", "count"],
  ["curve", "curve's name"], ["label", "label"], ["replicate", "replicate"], ["temperature", "temperature"],
  ["well", "well"], ["ignore", "ignore"],
];
const SHOWN_ROWS = 12;

/** What was read, column by column, with the role of each to be changed. */
export function tablesView(state: State): Markup {
  return h("div", {}, ...state.opened.map(({ file, choices, reading }, place) => h("section", { "aria-label": file.name },
    h("h3", {}, file.name),
    h("p", {}, `${reading.summary}.`),
    reading.remarks.length > 0 && h("ul", {}, ...reading.remarks.map((words) => h("li", {}, words))),
    h("div", { class: "bar" },
      field(place, "temperature", "Temperature (°C), where the file is silent", choices.temperature ?? ""),
      field(place, "denaturant", "Denaturant", choices.denaturant ?? ""),
      field(place, "unit", "Unit of concentration", choices.unit ?? "")),
    ...reading.tables.map((one) => table(
      one.columns.map((column) => column.name || `column ${column.number}`),
      [one.columns.map((column) => h("td", {}, roleChoice(place, one.id, column))),
        ...one.rowNames.slice(0, SHOWN_ROWS).map((_, row) => one.columns.map((column) => h("td", {}, column.cells[row] ?? "")))],
      `${one.title || "Table"}${one.rowNames.length > SHOWN_ROWS ? `: the first ${SHOWN_ROWS} of ${one.rowNames.length} rows` : ""}`)))));
}

const field = (place: number, name: string, words: string, value: string | number) =>
  h("label", {}, `${words} `, h("input", { type: "text", size: 8, "data-reading-choice": name, "data-place": place, id: `${name}-${place}`, value: String(value) }));

function roleChoice(place: number, id: string, column: ColumnShown): Markup {
  return h("select", {
    "data-role": column.number, "data-table": id, "data-place": place, id: `role-${place}-${id}-${column.number}`,
    "aria-label": `What column ${column.name || column.number} is`,
  }, ...ROLES.map(([role, words]) => h("option", { value: role, selected: role === column.role }, words)));
}
