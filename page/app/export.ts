// Tables as comma-separated text, pictures as SVG and PNG.
import { toPng } from "../figure/png";
import { Markup, toText } from "../figure/markup";
import { BUILD } from "./build";
import { CAL_PER_UNIT } from "./numbers";
import { Entry, State, fitOf, isOut } from "./state";
import { warningsOf } from "./warnings";

type Cell = string | number | null;

/** A cell as text: a spreadsheet must not take a name from a file for a formula. */
function cellText(cell: Cell): string {
  if (cell === null) return "";
  if (typeof cell === "number") return Number.isFinite(cell) ? String(cell) : "";
  const tame = /^[=+\-@\t\r]/.test(cell) ? `'${cell}` : cell;
  return /[",\n\r]/.test(tame) ? `"${tame.replace(/"/g, '""')}"` : tame;
}

export const csv = (rows: Cell[][]) => rows.map((row) => row.map(cellText).join(",") + "\r\n").join("");

export function resultRows({ entries, unit }: State): Cell[][] {
  const scale = CAL_PER_UNIT[unit], header: Cell[] = ["name", "file", "well", "states", "status"];
  for (const t of [1, 2, 3]) {
    for (const [value, of] of [["dG", `${unit}/mol`], ["Cm", "M"], ["m", `${unit}/mol/M`]])
      header.push(`${value}${t} (${of})`, `${value}${t} error`, `${value}${t} low`, `${value}${t} high`);
    header.push(`weight${t}`);
  }
  header.push("R2", "residual sd", "Durbin-Watson", "readings", "temperature (°C)", "warnings", "zolt", "module");
  const positive = (value: number) => (value >= 0 ? value : null);
  return [header, ...entries.map((entry) => {
    const fit = fitOf(entry), row: Cell[] = [entry.name, entry.file, entry.well, fit ? fit.transitions + 1 : null, entry.answer?.sentence ?? entry.fault];
    for (const t of [0, 1, 2]) {
      const there = fit && t < fit.transitions, ends = entry.detail?.intervals;
      for (const [value, per] of [["dG", scale], ["Cm", 1], ["m", scale]] as const) {
        if (!there) row.push(null, null, null, null);
        else {
          const error = positive(fit[`${value}_se`][t]);
          row.push(fit[value][t] / per, error === null ? null : error / per, ...(ends ? ends[value][t].map((end) => end / per) : [null, null]));
        }
      }
      row.push(there ? fit.weight[t] : null);
    }
    row.push(...(fit ? [fit.r_squared, fit.residual_sd, fit.durbin_watson, fit.readings] : [null, null, null, null]));
    return [...row, entry.temperature, warningsOf(entry).join(" "), BUILD.version, BUILD.module];
  })];
}

export function readingRows(entries: Entry[]): Cell[][] {
  return [["name", "concentration (M)", "signal", "standard deviation", "fitted signal", "residual", "left out"],
    ...entries.flatMap((entry) => entry.x.map((x, i): Cell[] => [
      entry.name, x, entry.y[i], entry.sd && entry.sd[i], entry.detail?.atReadings?.signal[i] ?? null,
      entry.answer?.residual[i] ?? null, isOut(entry, i) ? 1 : 0,
    ]))];
}

export function curveRows(entries: Entry[]): Cell[][] {
  return [["name", "concentration (M)", "fit", "native baseline", "denatured baseline", "fraction denatured", "half-width of band"],
    ...entries.flatMap((entry) => {
      const grid = entry.detail?.grid;
      return grid ? grid.x.map((x, i): Cell[] => [
        entry.name, x, grid.signal[i], grid.native[i], grid.denatured[i], grid.fraction[i], grid.band[i] >= 0 ? grid.band[i] : null,
      ]) : [];
    })];
}

/** A name that is a file's on every system, and stays in its folder. */
export const fileName = (name: string, suffix: string) =>
  `${name.replace(/[^\p{L}\p{N} _.-]+/gu, "_").replace(/^[. ]+/, "").slice(0, 80) || "curve"}.${suffix}`;

export function download(name: string, content: Blob | string, type = "text/csv") {
  const blob = typeof content === "string" ? new Blob([content], { type: `${type};charset=utf-8` }) : content;
  const link = document.createElement("a");
  link.href = URL.createObjectURL(blob);
  link.download = name;
  link.click();
  setTimeout(() => URL.revokeObjectURL(link.href), 10000);
}

export async function downloadPicture(picture: Markup, name: string, kind: "svg" | "png") {
  if (kind === "png") download(fileName(name, "png"), await toPng(picture));
  else download(fileName(name, "svg"), `<?xml version="1.0" encoding="UTF-8"?>\n${toText(picture)}\n`, "image/svg+xml");
}
