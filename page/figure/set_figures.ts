// Figures of several curves: laid over one another, their differences from one, and a trend.
import type { Trend } from "../engine/engine";
import { panel, pathOf, sheet } from "./axes";
import { Child, Markup, h } from "./markup";
import { Palette, SERIES } from "./palette";
import { reach } from "./scale";

export interface OverlayCurve {
  name: string;
  x: readonly number[];
  fraction: readonly number[];      // of the readings
  gridX: readonly number[];
  gridFraction: readonly number[];
}

/** From where the colours come round again, lines are broken. */
const dashes = (i: number) => (i >= SERIES.length ? "6 3" : null);

/** Fraction denatured of several curves in one panel. */
export function overlayFigure(curves: OverlayCurve[], xTitle: string, width: number, height: number, palette: Palette): Markup {
  const left = 70, top = 20, beside = 170;
  const at = panel({ left, top, width: width - left - beside, height: height - top - 52 },
    reach(curves.flatMap((curve) => [...curve.x]), 0.03), [-0.15, 1.15], { x: xTitle, y: "Fraction denatured" }, palette);
  const drawn = curves.map((curve, i) => {
    const colour = SERIES[i % SERIES.length];
    const dots = curve.x.map((x, k) => {
      const y = curve.fraction[k];
      return y > -0.15 && y < 1.15 && h("circle", { cx: at.x(x), cy: at.y(y), r: 2.8, fill: colour, "fill-opacity": 0.75 });
    });
    return h("g", {},
      h("path", { d: pathOf(curve.gridX, curve.gridFraction, at), fill: "none", stroke: colour, "stroke-width": 1.8, "stroke-dasharray": dashes(i) }),
      ...dots);
  });
  const names = curves.map((curve, i) => h("g", { transform: `translate(${width - beside + 14} ${top + 12 + 18 * i})` },
    h("path", { d: "M0 -4h18", stroke: SERIES[i % SERIES.length], "stroke-width": 3, "stroke-dasharray": dashes(i) }),
    h("text", { x: 24, fill: palette.ink }, curve.name.length > 20 ? `${curve.name.slice(0, 19)}…` : curve.name)));
  return sheet(width, height, `Fraction denatured of ${curves.length} curves`, palette, at.frame, ...drawn, ...names);
}

export interface Estimate {
  name: string;
  value: number;
  low: number;
  high: number;
}

/** One row an estimate with its interval, and a line at zero. */
export function estimatesFigure(rows: Estimate[], xTitle: string, width: number, palette: Palette): Markup {
  const longest = Math.min(Math.max(...rows.map(({ name }) => name.length), 4), 24);
  const left = 30 + 7 * longest, top = 14, step = 24, height = top + rows.length * step + 58;
  const finite = rows.flatMap(({ value, low, high }) => [value, low, high].filter(Number.isFinite));
  const xs = reach([0, ...finite], 0.05);
  const at = panel({ left, top, width: width - left - 20, height: rows.length * step }, xs, [0, rows.length], { x: xTitle, y: "" }, { ...palette });
  const parts: Child[] = [h("path", { d: `M${at.x(0)} ${top}v${rows.length * step}`, stroke: palette.faint, "stroke-dasharray": "5 3" })];
  rows.forEach(({ name, value, low, high }, i) => {
    const y = top + (i + 0.5) * step;
    parts.push(h("text", { x: left - 10, y: y + 4, "text-anchor": "end", fill: palette.ink }, name.length > longest ? `${name.slice(0, longest - 1)}…` : name));
    if (!Number.isFinite(value)) return;
    const from = at.x(Math.max(low, xs[0])), to = at.x(Math.min(high, xs[1]));
    parts.push(
      h("path", { d: `M${from} ${y}H${to}`, stroke: palette.point, "stroke-width": 1.6 }),
      h("circle", { cx: at.x(value), cy: y, r: 4, fill: palette.point }));
  });
  // The rows name themselves: only the axis below is drawn.
  const [lines, words] = at.frame.children as Markup[];
  const bare = h("g", {}, h("g", lines.attributes, lines.children[0], lines.children[1]),
    h("g", words.attributes, ...words.children.filter((child) => (child as Markup).attributes["text-anchor"] === "middle" && !(child as Markup).attributes.transform)));
  return sheet(width, height, xTitle, palette, bare, ...parts);
}

/** dG against label on a logarithmic axis, with the line of the series. */
export function trendFigure(trend: Trend, calPerUnit: number, unit: string, width: number, height: number, palette: Palette): Markup {
  const logs = trend.label.map((label) => Math.log(label));
  const dG = trend.dG.map((value) => value / calPerUnit), error = trend.error.map((value) => value / calPerUnit);
  const [slope, intercept] = trend.line;
  const line = logs.map((log) => (intercept + slope * log) / calPerUnit);
  const ends = dG.flatMap((value, i) => [value - error[i], value + error[i]]);
  const at = panel({ left: 70, top: 16, width: width - 90, height: height - 68 }, reach(logs), reach([...ends, ...line]),
    { x: "ln(label)", y: `ΔG (${unit}/mol)` }, palette);
  const points = dG.map((value, i) => h("g", {},
    h("path", { d: `M${at.x(logs[i])} ${at.y(value - error[i])}V${at.y(value + error[i])}`, stroke: palette.point }),
    h("circle", { cx: at.x(logs[i]), cy: at.y(value), r: 4.5, fill: trend.used[i] ? palette.point : palette.paper, stroke: palette.point })));
  return sheet(width, height, `Free energy against label: ${trend.label.length} labels`, palette, at.frame,
    h("path", { d: pathOf(logs, line, at), fill: "none", stroke: palette.fit, "stroke-width": 2, "stroke-dasharray": slope === 0 ? "6 4" : null }),
    ...points);
}
