// What is taken along as tables: results, readings, curves, the comparison of models, the settings.
import type { Cell, Rows, Sheet } from "../figure/spreadsheet";
import * as records from "../generated/records";
import { BUILD } from "./build";
import { cautionsOf } from "./cautions";
import { CAL_PER_UNIT } from "./numbers";
import { MODELS, outcomeWords } from "./result_view";
import { Entry, State, fitOf, isOut } from "./state";

const BUILD_HEADER = ["zolt", "module"], BUILD_CELLS = [BUILD.version, BUILD.module];
const orNull = (value: number) => (value >= 0 ? value : null);  // -1: there is none

export function resultRows(state: State): Rows {
  const { entries, unit } = state, scale = CAL_PER_UNIT[unit];
  const header: Cell[] = ["name", "file", "well", "label", "replicate", "states", "status"];
  for (const t of [1, 2, 3]) {
    for (const [value, of] of [["dG", `${unit}/mol`], ["Cm", "M"], ["m", `${unit}/mol/M`]])
      header.push(`${value}${t} (${of})`, `${value}${t} error`, `${value}${t} low`, `${value}${t} high`);
    header.push(`weight${t}`);
  }
  header.push("native intercept", "native slope", "denatured intercept", "denatured slope", "R2", "residual sd",
    "Durbin-Watson", "readings", "temperature (°C)", "denaturant", "warnings", "in words", ...BUILD_HEADER);
  return [header, ...entries.map((entry) => {
    const fit = fitOf(entry), cautions = cautionsOf(entry, state), ends = entry.detail?.intervals;
    const row: Cell[] = [entry.name, entry.file, entry.well, entry.label, entry.replicate,
      fit ? fit.transitions + 1 : null, entry.answer?.sentence ?? entry.fault];
    for (const t of [0, 1, 2]) {
      const there = fit && t < fit.transitions;
      for (const [value, per] of [["dG", scale], ["Cm", 1], ["m", scale]] as const) {
        if (!there) row.push(null, null, null, null);
        else {
          const error = orNull(fit[`${value}_se`][t]);
          row.push(fit[value][t] / per, error === null ? null : error / per, ...(ends ? ends[value][t].map((end) => end / per) : [null, null]));
        }
      }
      row.push(there ? fit.weight[t] : null);
    }
    row.push(...(fit ? [...fit.baseline, fit.r_squared, fit.residual_sd, fit.durbin_watson, fit.readings] : Array<null>(8).fill(null)));
    return [...row, entry.temperature, entry.denaturant, cautions.map(({ code }) => code).join(", "),
      cautions.map(({ sentence }) => sentence).join(" "), ...BUILD_CELLS];
  })];
}

export function readingRows(entries: Entry[]): Rows {
  const header = ["name", "replicate", "concentration (M)", "signal", "standard deviation", "fitted signal", "residual",
    "fraction denatured", "left out", ...BUILD_HEADER];
  return [header, ...entries.flatMap((entry) => {
    const at = entry.detail?.atReadings;
    return entry.x.map((x, i): Cell[] => [
      entry.name, entry.part ? entry.part[i] : entry.replicate, x, entry.y[i], entry.sd && entry.sd[i], at?.signal[i] ?? null,
      entry.answer?.residual[i] ?? null, at ? (entry.y[i] - at.native[i]) / (at.denatured[i] - at.native[i]) : null,
      isOut(entry, i) ? 1 : 0, ...BUILD_CELLS,
    ]);
  })];
}

export function curveRows(entries: Entry[]): Rows {
  const header = ["name", "concentration (M)", "fit", "native baseline", "denatured baseline", "fraction denatured",
    "half-width of band", ...BUILD_HEADER];
  return [header, ...entries.flatMap((entry) => {
    const grid = entry.detail?.grid;
    return grid ? grid.x.map((x, i): Cell[] => [
      entry.name, x, grid.signal[i], grid.native[i], grid.denatured[i], grid.fraction[i], orNull(grid.band[i]), ...BUILD_CELLS,
    ]) : [];
  })];
}

export function evidenceRows(entries: Entry[]): Rows {
  return [["name", "model", "parameters", "residual sd", "AICc difference", "F", "p", "outcome"],
    ...entries.flatMap((entry) => (entry.answer?.evidence.row ?? [])
      .filter(({ tried, outcome }) => tried || outcome !== records.NOT_TRIED)
      .map((row): Cell[] => [
        entry.name, MODELS[row.model], row.parameters, row.tried ? row.residual_sd : null, orNull(row.aicc_difference),
        orNull(row.F), orNull(row.p), outcomeWords(row, entry.answer!.evidence.states),
      ]))];
}

export const warningRows = (state: State): Rows => [["name", "code", "sentence", "what to do"],
  ...state.entries.flatMap((entry) => cautionsOf(entry, state).map(({ code, sentence, advice }): Cell[] => [entry.name, code, sentence, advice]))];

/** ddG by the three ways, where curves were compared. */
export function comparisonRows({ set, entries, unit }: State): Rows {
  const per = CAL_PER_UNIT[unit], names = new Map(entries.map(({ key, name }) => [key, name]));
  const header: Cell[] = ["name", "reference", "dCm (M)", "dCm error", "dCm low", "dCm high"];
  for (const way of ["one m", "mean m", "plain"])
    header.push(`ddG, ${way} (${unit}/mol)`, `ddG, ${way}, error`, `ddG, ${way}, low`, `ddG, ${way}, high`);
  return [[...header, ...BUILD_HEADER], ...(set?.comparison?.rows ?? []).flatMap((row, i) => (row.status !== 0 || set!.keys[i] === set!.reference ? [] : [[
    names.get(set!.keys[i]) ?? "", names.get(set!.reference) ?? "", row.dCm, orNull(row.dCm_se), ...row.dCm_interval,
    ...(["shared", "mean_m", "plain"] as const).flatMap((way): Cell[] => {
      const error = orNull(row[`${way}_se`]);
      return [row[`${way}_ddG`] / per, error && error / per, ...row[`${way}_interval`].map((end) => end / per)];
    }), ...BUILD_CELLS,
  ]]))];
}

export const settingRows = ({ settings, unit }: State): Rows => [["setting", "value"],
  ...Object.entries({ ...settings, ...settings.intervals }).filter(([name]) => name !== "intervals")
    .map(([name, value]): Cell[] => [name, Array.isArray(value) ? value.join(" ") : typeof value === "number" ? value : value === null ? null : String(value)]),
  ["energies", `${unit}/mol`], ...BUILD_HEADER.map((name, i) => [name, BUILD_CELLS[i]])];

const withoutOrigin = (rows: Rows): Rows => rows.map((row) => row.slice(0, -BUILD_HEADER.length));

/** The sheets of the workbook; the origin of long ones stands with the results and the settings. */
export const sheetsOf = (state: State): Sheet[] => ([
  ["results", resultRows(state)], ["readings", withoutOrigin(readingRows(state.entries))],
  ["curves", withoutOrigin(curveRows(state.entries))], ["evidence", evidenceRows(state.entries)],
  ["comparison", comparisonRows(state)], ["warnings", warningRows(state)], ["settings", settingRows(state)],
] as Sheet[]).filter(([name, rows]) => name !== "comparison" || rows.length > 1);
