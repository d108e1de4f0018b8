// The report to print: what was chosen, what came of it, and every curve with its figure.
import { curveFigure } from "../figure/curve_figure";
import { Child, Markup, h } from "../figure/markup";
import { LIGHT } from "../figure/palette";
import type { Rows } from "../figure/spreadsheet";
import { mainPicture, pictureOf } from "./pictures";
import { resultView, table } from "./result_view";
import { State } from "./state";
import { comparisonRows, settingRows, warningRows } from "./tables";

const MOST_CURVES = 200;

const rowsOf = (rows: Rows): Child[][] => rows.slice(1).map((row) => row.map((cell) => h("td", { class: "words" }, String(cell ?? ""))));
const tableOf = (rows: Rows, caption: string) => rows.length > 1 && table(rows[0].map(String), rowsOf(rows), caption);

export function reportView(state: State, origin: string): (Markup | null | false)[] {
  const { entries, set } = state;
  const several = set && !set.fault ? mainPicture({ ...state, view: "set" }, 640, LIGHT, false) : null;
  return [
    h("h1", {}, "Denaturation curves"), h("p", {}, `${entries.length} curves, ${new Date().toISOString().slice(0, 10)}. ${origin}`),
    tableOf(warningRows(state), "Warnings"), tableOf(settingRows(state), "Settings"),
    several, set?.comparison ? tableOf(comparisonRows(state), "Differences") : null,
    ...entries.slice(0, MOST_CURVES).map((entry) => h("article", {},
      curveFigure(pictureOf(entry, state), "signal", { width: 640, height: 420 }, LIGHT), resultView({ ...state, chosen: entry.key }))),
    entries.length > MOST_CURVES && h("p", {}, `The first ${MOST_CURVES} curves; the tables hold all.`),
  ];
}
