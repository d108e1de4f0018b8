// The figures of the state: what each shows of the curves.
import { CurvePicture, curveFigure } from "../figure/curve_figure";
import type { Markup } from "../figure/markup";
import type { Palette } from "../figure/palette";
import { Well, plateFigure } from "../figure/plate_figure";
import { estimatesFigure, overlayFigure, trendFigure } from "../figure/set_figures";
import { CAL_PER_UNIT, short } from "./numbers";
import { listed, valueOf } from "./order";
import { levelsOf } from "./replicates";
import { Entry, State, chosenEntry, fitOf, gridOf, isOut, placesOf } from "./state";

export const xTitleOf = (entry: Entry) => `${entry.denaturant ?? "Denaturant"} (M)`;

export function pictureOf(entry: Entry, state: State): CurvePicture {
  const fit = fitOf(entry), ends = entry.detail?.intervals?.Cm;
  const atReadings = entry.detail?.atReadings ?? null;
  return {
    name: entry.name, x: entry.x, y: entry.y, sd: entry.sd, levels: levelsOf(entry.x, entry.y, (i) => isOut(entry, i)), out: entry.out, range: entry.range,
    residual: entry.answer && entry.detail?.grid ? entry.answer.residual : entry.x.map(() => NaN),
    grid: gridOf(entry), atReadings, xTitle: xTitleOf(entry), yTitle: "Signal",
    midpoints: fit ? fit.Cm.slice(0, fit.transitions).map((Cm, t) => ({ Cm, low: ends?.[t][0] ?? NaN, high: ends?.[t][1] ?? NaN })) : [],
    fitTitle: fit ? `${fit.transitions + 1}-state fit with ${100 * state.settings.level} % band` : "no transition",
    energyUnit: state.unit, calPerUnit: CAL_PER_UNIT[state.unit],
  };
}

export const wellsOf = (state: State): Entry[] => state.entries.filter((entry) => placesOf(entry).length > 0);

const titleOf = (name: string, unit: string) =>
  ({ "ΔG": `ΔG (${unit}/mol)`, m: `m (${unit}/mol/M)`, Cm: "Cm (M)" })[name] ?? name;

function plate(state: State, width: number, palette: Palette): Markup {
  const wells = wellsOf(state).flatMap((entry): Well[] => {
    const value = valueOf(entry, state.plateValue, state);
    const words = `${entry.name}: ${value === null ? entry.answer?.sentence ?? entry.fault ?? "not fitted yet" : `${state.plateValue} ${short(value)}`}`;
    return placesOf(entry).map((place) => ({ ...place, key: entry.key, value, words }));
  });
  return plateFigure(wells, titleOf(state.plateValue, state.unit), width, palette, state.chosen);
}

const MOST_OVERLAID = 16;

/** The curves that are laid over one another: the first of the list as it is sorted and filtered, and the chosen one. */
export function overlaid(state: State): Entry[] {
  const rows = listed(state).filter(fitOf), chosen = chosenEntry(state);
  const first = rows.slice(0, MOST_OVERLAID);
  return chosen && fitOf(chosen) && !first.includes(chosen) ? [...first.slice(0, -1), chosen] : first;
}

function overlay(state: State, width: number, palette: Palette): Markup | null {
  const drawn = overlaid(state).filter(gridOf);
  if (!drawn.length) return null;
  return overlayFigure(drawn.map((entry) => {
    const at = entry.detail!.atReadings!, grid = entry.detail!.grid!;
    return {
      name: entry.name, x: entry.x, gridX: grid.x, gridFraction: grid.fraction,
      fraction: entry.y.map((y, i) => (isOut(entry, i) ? NaN : (y - at.native[i]) / (at.denatured[i] - at.native[i]))),
    };
  }), xTitleOf(drawn[0]), width, 420, palette);
}

function differences(state: State, width: number, palette: Palette): Markup | null {
  const { set } = state, per = CAL_PER_UNIT[state.unit];
  if (set?.trend) return trendFigure(set.trend, per, state.unit, width, 400, palette);
  if (!set?.comparison) return null;
  const names = new Map(state.entries.map(({ key, name }) => [key, name]));
  const rows = set.comparison.rows.flatMap((row, i) => (row.status !== 0 || set.keys[i] === set.reference ? [] : [{
    name: names.get(set.keys[i]) ?? "", value: row.shared_ddG / per,
    low: row.shared_interval[0] / per, high: row.shared_interval[1] / per,
  }]));
  if (!rows.length) return null;
  return estimatesFigure(rows, `ΔΔG from ${names.get(set.reference)}, one m for all (${state.unit}/mol)`, width, palette);
}

export function mainPicture(state: State, width: number, palette: Palette, live: boolean): Markup | null {
  const entry = chosenEntry(state);
  switch (state.view) {
    case "plate": return plate(state, width, palette);
    case "overlay": return overlay(state, width, palette);
    case "set": return differences(state, width, palette);
    case "curve":
      if (!entry) return null;
      return curveFigure(pictureOf(entry, state), state.quantity, { width, height: Math.max(Math.min(0.68 * width, 560), 340) }, palette, live);
  }
}
