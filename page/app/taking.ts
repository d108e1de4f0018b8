// What is taken along: pictures, tables, the session, a report to print.
import { LIGHT } from "../figure/palette";
import { csv } from "../figure/spreadsheet";
import { ORIGIN, download, downloadPicture } from "./download";
import type { Fits } from "./fits";
import { mainPicture } from "./pictures";
import { replace } from "./place";
import { reportView } from "./report_view";
import { saved } from "./session";
import { State, chosenEntry } from "./state";
import * as tables from "./tables";

const WORKBOOK = "application/vnd.openxmlformats-officedocument.spreadsheetml.sheet";
const WIDTH = 760;  // of exported pictures

const TABLES: Record<string, [file: string, rows: (state: State) => ReturnType<typeof tables.resultRows>]> = {
  results: ["results.csv", tables.resultRows],
  readings: ["readings.csv", ({ entries }) => tables.readingRows(entries)],
  fitted: ["curves.csv", ({ entries }) => tables.curveRows(entries)],
};

export async function takeAlong(what: string, state: State, fits: Fits) {
  if (what === "svg" || what === "png") {
    const picture = mainPicture(state, WIDTH, LIGHT, false);
    const name = state.view === "curve" ? chosenEntry(state)?.name ?? "curve" : state.view;
    return picture && downloadPicture(picture, name, what);
  }
  await fits.detailAll(state.entries);
  if (what in TABLES) {
    const [file, rows] = TABLES[what];
    download(file, csv(rows(state)), "text/csv;charset=utf-8");
  } else if (what === "session") {
    download("session.json", saved(state), "application/json");
  } else if (what === "workbook") {
    download("results.xlsx", await fits.run({ kind: "workbook", sheets: tables.sheetsOf(state) }, "workbook"), WORKBOOK);
  } else {
    replace("report", reportView(state, ORIGIN));
    window.print();
  }
}
