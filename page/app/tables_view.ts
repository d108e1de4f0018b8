// What was read, column by column, with the role of each to be changed.
import { Markup, h } from "../figure/markup";
import type { ColumnShown, Curve, Role, TableShown } from "../reader/index";
import { isRefusal } from "../reader/sources";
import { sourcesOf } from "./opening";
import { table } from "./result_view";
import { Opened, State } from "./state";

const ROLES: [Role, string][] = [
  ["concentration", "concentration"], ["signal", "signal"], ["sd", "standard deviation"], ["n", "count"],
  ["curve", "curve's name"], ["label", "label"], ["replicate", "replicate"], ["temperature", "temperature"],
  ["well", "well"], ["ignore", "ignore"],
];
const SHOWN_ROWS = 12;
const MOST_COLUMNS = 60;  // of which roles are shown; a plate's table can have hundreds

export function tablesView(state: State): Markup {
  return h("div", {}, ...sourcesOf(state).map((source, place) => h("section", { "aria-label": source.file.name },
    h("h3", {}, source.file.name), ...said(source),
    h("div", { class: "bar" }, ...fields(source, place)),
    ...source.reading.tables.map((one) => columns(one, place)))));
}

function said({ reading }: Opened): (Markup | false)[] {
  if (isRefusal(reading))
    return [h("p", { class: "warnings" }, reading.refused),
      reading.tables.length > 0 && h("p", {}, "Say below what each column is; the file is then read again.")];
  return [h("p", {}, `${reading.summary}.`),
    reading.remarks.length > 0 && h("ul", {}, ...reading.remarks.map((words) => h("li", {}, words)))];
}

/** What holds for the whole file: as it was told, with what was read in grey. */
function fields({ choices, reading, file }: Opened, place: number): (Markup | false)[] {
  const curves = isRefusal(reading) ? [] : reading.curves;
  const read = (of: (curve: Curve) => string | number | null) =>
    [...new Set(curves.map(of))].map((value) => value ?? "not stated").join(", ");
  const field = (name: "temperature" | "denaturant" | "unit" | "decimal" | "sheet", words: string, found = "") =>
    h("label", {}, `${words} `, h("input", {
      type: "text", size: 9, "data-reading-choice": name, "data-place": place, id: `${name}-${place}`,
      placeholder: found, value: String(choices[name] ?? ""),
    }));
  return [
    field("temperature", "Temperature (°C)", read(({ temperature }) => temperature)),
    field("denaturant", "Denaturant", read(({ denaturant }) => denaturant)),
    field("unit", "Unit of concentration", read(({ unit }) => unit)),
    field("decimal", "Decimal mark"),
    /\.xlsx$/i.test(file.name) && field("sheet", "Sheet"),
  ];
}

function columns({ id, title, columns, rowNames }: TableShown, place: number): Markup {
  const shown = columns.slice(0, MOST_COLUMNS);
  const parts = [title || "Table",
    rowNames.length > SHOWN_ROWS && `the first ${SHOWN_ROWS} of ${rowNames.length} rows`,
    columns.length > MOST_COLUMNS && `${MOST_COLUMNS} of ${columns.length} columns`].filter(Boolean);
  return table(
    shown.map(({ name, number }) => name || `column ${number}`),
    [shown.map((column) => h("td", {}, roleChoice(place, id, column))),
      ...rowNames.slice(0, SHOWN_ROWS).map((_, row) => shown.map(({ cells }) => h("td", {}, cells[row] ?? "")))],
    parts.join(", "));
}

function roleChoice(place: number, id: string, column: ColumnShown): Markup {
  return h("select", {
    "data-role": column.number, "data-table": id, "data-place": place, id: `role-${place}-${id}-${column.number}`,
    "aria-label": `What column ${column.name || column.number} is`,
  }, ...ROLES.map(([role, words]) => h("option", { value: role, selected: role === column.role }, words)));
}
