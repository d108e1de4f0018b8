// A curve: readings, fit with its band, baselines, midpoints with their intervals, and the residuals.
import type { Drawing } from "../engine/engine";
import { Panel, panel, pathOf, sheet } from "./axes";
import { Child, Markup, h } from "./markup";
import { Palette } from "./palette";
import { reach } from "./scale";

export type Quantity = "signal" | "fraction" | "energy";

export interface CurvePicture {
  name: string;
  x: readonly number[];
  y: readonly number[];
  sd: readonly number[] | null;
  levels: { x: number; mean: number; sd: number }[];  // mean and SD of replicates
  out: readonly boolean[];       // readings left out of the fit
  range: [number, number] | null;
  residual: readonly number[];   // NaN where there is none
  grid: Drawing | null;
  atReadings: Drawing | null;
  midpoints: { Cm: number; low: number; high: number }[];
  xTitle: string;
  yTitle: string;
  fitTitle: string;
  energyUnit: string;
  calPerUnit: number;
}

interface Size {
  width: number;
  height: number;
}

const NARROW = 480;

/** The reading's place of a quantity: the signal itself, or its share of the way between baselines. */
function shown(picture: CurvePicture, quantity: Quantity): number[] {
  const at = picture.atReadings;
  if (quantity === "signal" || !at) return [...picture.y];
  if (quantity === "energy") return picture.x.map(() => NaN);
  return picture.y.map((y, i) => (y - at.native[i]) / (at.denatured[i] - at.native[i]));
}

const TITLES: Record<Quantity, (picture: CurvePicture) => string> = {
  signal: (picture) => picture.yTitle,
  fraction: () => "Fraction denatured",
  energy: (picture) => `ΔG (${picture.energyUnit}/mol)`,
};

/** The picture. With `live` set, readings and range ends carry what the page needs to act on them. */
export function curveFigure(picture: CurvePicture, quantity: Quantity, { width, height }: Size, palette: Palette,
                            live = false): Markup {
  const { grid } = picture;
  const values = shown(picture, quantity);
  const line = !grid ? [] : quantity === "signal" ? grid.signal : quantity === "fraction" ? grid.fraction
    : grid.energy.map((energy) => energy / picture.calPerUnit);
  const withResiduals = quantity === "signal" && grid !== null;
  const left = 78, top = 46, right = 18;
  const below = withResiduals ? Math.round(0.2 * height) : 0;
  const inner = width - left - right;
  const main = height - top - 52 - (below ? below + 16 : 0);
  const xs = reach(picture.x, 0.03);
  const yRange = quantity === "fraction" ? reach([-0.1, 1.1, ...values], 0) : reach([...values, ...line]);
  const xTitle = picture.xTitle;
  const upper = panel({ left, top, width: inner, height: main }, xs, yRange,
    { x: below ? null : xTitle, y: TITLES[quantity](picture) }, palette);

  const drawn: Child[] = [];
  if (grid && quantity !== "energy") drawn.push(...modelOf(picture, quantity, upper, palette, main + top));
  if (grid) drawn.push(h("path", { d: pathOf(grid.x, line, upper), fill: "none", stroke: palette.fit, "stroke-width": 2 }));
  if (quantity === "energy" && grid)
    drawn.push(h("path", { d: `M${left} ${upper.y(0)}h${inner}`, stroke: palette.faint, "stroke-dasharray": "5 3" }));
  if (picture.range) drawn.push(...shades(picture.range, upper, top, main, palette));
  if (quantity === "signal") drawn.push(deviations(picture, upper, palette));
  if (quantity !== "energy") drawn.push(readings(picture, values, upper, palette, live));
  if (quantity !== "energy") drawn.push(...diamonds(picture, line, upper, palette));
  if (below) drawn.push(residuals(picture, { left, top: top + main + 16, width: inner, height: below }, xs, palette));
  if (live && quantity === "signal") drawn.push(...handles(picture, upper, top, main, palette));
  const clip = h("clipPath", { id: clipName(upper) }, h("rect", { x: left, y: top - 6, width: inner + 6, height: main + 6 }));
  return sheet(width, height, figureWords(picture), palette,
    h("defs", {}, clip),
    h("text", { x: left, y: 18, "font-size": 15, "font-weight": "bold", fill: palette.ink }, picture.name),
    legend(picture, quantity, left, width, palette),
    upper.frame,
    ...drawn);
}

function figureWords(picture: CurvePicture): string {
  const left = picture.out.filter(Boolean).length;
  const words = `${picture.name}: ${picture.x.length} readings${left ? `, ${left} left out` : ""}`;
  return picture.grid ? `${words}, ${picture.fitTitle}` : words;
}

/** What the clip of a panel is called: figures beside one another on a page share it only where it is the same. */
const clipName = ({ x, y }: Panel) => `panel-${[x(x.low), x(x.high), y(y.low), y(y.high)].map(Math.round).join("-")}`;
const clipping = (at: Panel) => `url(#${clipName(at)})`;

function modelOf(picture: CurvePicture, quantity: Quantity, at: Panel, palette: Palette, bottom: number): Child[] {
  const grid = picture.grid as Drawing;
  const parts: Child[] = [];
  if (quantity === "signal") {
    if (grid.band.every((half) => half >= 0)) {
      const high = grid.signal.map((y, i) => y + grid.band[i]), low = grid.signal.map((y, i) => y - grid.band[i]);
      const back = pathOf([...grid.x].reverse(), low.reverse(), at).replace("M", "L");
      parts.push(h("path", { d: `${pathOf(grid.x, high, at)}${back}Z`, fill: palette.fit, "fill-opacity": 0.18, "clip-path": clipping(at) }));
    }
    for (const baseline of [grid.native, grid.denatured])
      parts.push(h("path", {
        d: pathOf(grid.x, baseline, at), fill: "none", stroke: palette.faint, "stroke-dasharray": "6 4",
        "clip-path": clipping(at),
      }));
  }
  for (const { Cm } of picture.midpoints)
    if (Cm >= at.x.low && Cm <= at.x.high)
      parts.push(h("path", { d: `M${at.x(Cm)} ${bottom}V${at.y(at.y.high)}`, stroke: palette.fit, "stroke-dasharray": "2 3", "stroke-opacity": 0.8 }));
  return parts;
}

function valueAt(grid: Drawing, line: readonly number[], x: number): number {
  const i = Math.min(Math.max(grid.x.findIndex((value) => value >= x), 1), grid.x.length - 1);
  const share = (x - grid.x[i - 1]) / (grid.x[i] - grid.x[i - 1]);
  return line[i - 1] + share * (line[i] - line[i - 1]);
}

/** Midpoints on the fitted curve, each with the interval of Cm where it has two ends. */
function diamonds(picture: CurvePicture, line: readonly number[], at: Panel, palette: Palette): Child[] {
  if (!picture.grid) return [];
  const grid = picture.grid, parts: Child[] = [];
  for (const { Cm, low, high } of picture.midpoints) {
    if (Cm < grid.x[0] || Cm > grid.x[grid.x.length - 1]) continue;
    const cx = at.x(Cm), cy = at.y(valueAt(grid, line, Cm));
    if (Number.isFinite(low) && Number.isFinite(high) && high > low) {
      const from = Math.max(low, at.x.low), to = Math.min(high, at.x.high);
      parts.push(h("path", { d: `M${at.x(from)} ${cy}H${at.x(to)}M${at.x(from)} ${cy - 4}v8M${at.x(to)} ${cy - 4}v8`, stroke: palette.ink, "stroke-width": 1.2 }));
    }
    parts.push(h("path", { d: `M${cx} ${cy - 6}l6 6l-6 6l-6 -6Z`, fill: palette.paper, stroke: palette.fit, "stroke-width": 1.6 }));
  }
  return parts;
}

/** Standard deviations as they were given, and mean and SD of replicates. */
function deviations(picture: CurvePicture, at: Panel, palette: Palette): Markup {
  const { x, y, sd, levels } = picture;
  const bar = (x: number, middle: number, half: number) => (half > 0 && Number.isFinite(middle)
    ? `M${at.x(x).toFixed(2)} ${at.y(middle - half).toFixed(2)}V${at.y(middle + half).toFixed(2)}` : "");
  const cap = (x: number, y: number) => `M${(at.x(x) - 5).toFixed(2)} ${at.y(y).toFixed(2)}h10`;
  const bars = [...(sd ? x.map((value, i) => bar(value, y[i], sd[i])) : []),
    ...levels.flatMap(({ x, mean, sd }) => [bar(x, mean, sd), ...(sd >= 0 ? [-sd, 0, sd] : [0]).map((off) => cap(x, mean + off))])];
  return h("path", { d: bars.join(""), stroke: palette.point, "stroke-width": 1, fill: "none" });
}

const isOut = (picture: CurvePicture, i: number) => {
  const { range, x, out } = picture;
  return out[i] || (range !== null && (x[i] < range[0] || x[i] > range[1]));
};

function dot(picture: CurvePicture, i: number, x: number, y: number, palette: Palette, size = 3.6): Markup {
  return isOut(picture, i)
    ? h("path", { d: `M${x - 4} ${y - 4}l8 8m0 -8l-8 8`, stroke: palette.mark, "stroke-width": 1.8 })
    : h("circle", { cx: x, cy: y, r: size, fill: palette.point });
}

/** The readings; live ones can be reached by keyboard, one after another, and tell their values. */
function readings(picture: CurvePicture, values: number[], at: Panel, palette: Palette, live: boolean): Markup {
  const dots = values.map((value, i) => {
    if (!Number.isFinite(value)) return null;
    const x = at.x(picture.x[i]), y = at.y(value);
    const seen = dot(picture, i, x, y, palette, picture.levels.length ? 2.4 : 3.6);
    if (!live) return seen;
    const words = `${readingWords(picture, i)}. ${isOut(picture, i) ? "Left out" : "Fitted"}`;
    return h("g", {
      "data-reading": i, role: "button", tabindex: i === 0 ? 0 : -1, "aria-label": words,
      "aria-pressed": String(!isOut(picture, i)), class: "reading",
    }, h("circle", { cx: x, cy: y, r: 9, fill: "transparent" }), seen);
  });
  return h("g", live ? { role: "group", "aria-label": "Readings: arrows move, Enter leaves out or takes back" } : {}, ...dots);
}

const short = (value: number) => String(+value.toPrecision(6)).replace("-", "−");

/** What a reading is, in words. */
export function readingWords(picture: CurvePicture, i: number): string {
  const words = [`${picture.xTitle} ${short(picture.x[i])}`, `${picture.yTitle} ${short(picture.y[i])}`];
  if (picture.atReadings && Number.isFinite(picture.atReadings.signal[i])) words.push(`fit ${short(picture.atReadings.signal[i])}`);
  if (Number.isFinite(picture.residual[i])) words.push(`residual ${short(picture.residual[i])}`);
  return words.join(", ");
}

function residuals(picture: CurvePicture, box: { left: number; top: number; width: number; height: number },
                   xs: [number, number], palette: Palette): Markup {
  const most = 1.15 * Math.max(...picture.residual.filter(Number.isFinite).map(Math.abs), 1e-300);
  const at = panel(box, xs, [-most, most], { x: picture.xTitle, y: "Residual" }, palette);
  const dots = picture.residual.map((value, i) =>
    Number.isFinite(value) && dot(picture, i, at.x(picture.x[i]), at.y(value), palette, 2.6));
  return h("g", { "aria-hidden": "true" },
    at.frame, h("path", { d: `M${box.left} ${at.y(0)}h${box.width}`, stroke: palette.faint }), ...dots);
}

function shades(range: [number, number], at: Panel, top: number, height: number, palette: Palette): Child[] {
  const from = at.x(at.x.low), to = at.x(at.x.high);
  const bar = (a: number, b: number) => b > a && h("rect", { x: a, y: top, width: b - a, height, fill: palette.faint, "fill-opacity": 0.16 });
  return [bar(from, Math.max(at.x(range[0]), from)), bar(Math.min(at.x(range[1]), to), to)];
}

/** The ends of the range: to be dragged, or moved by the arrow keys. */
function handles(picture: CurvePicture, at: Panel, top: number, height: number, palette: Palette): Child[] {
  const finite = picture.x.filter(Number.isFinite);
  const ends = picture.range ?? [Math.min(...finite), Math.max(...finite)];
  return ends.map((value, i) => {
    const x = Math.min(Math.max(at.x(value), at.x(at.x.low)), at.x(at.x.high)) + (i ? 5 : -5);
    return h("g", {
      "data-range": i, role: "slider", tabindex: 0, class: "handle",
      "aria-label": i ? "Last concentration of the range" : "First concentration of the range",
      "aria-valuenow": value, "aria-valuemin": Math.min(...finite), "aria-valuemax": Math.max(...finite),
    },
    h("rect", { x: x - 8, y: top, width: 16, height, fill: "transparent" }),
    h("path", { d: `M${x} ${top}v${height}`, stroke: palette.faint, "stroke-width": 1 }),
    h("rect", { x: x - 3, y: top + height / 2 - 14, width: 6, height: 28, rx: 3, fill: palette.faint }));
  });
}

/** What the signs mean, in one row above the panel. */
function legend(picture: CurvePicture, quantity: Quantity, left: number, width: number, palette: Palette): Markup {
  const parts: Child[] = [];
  let x = width < NARROW ? 8 : left;
  const y = 36;
  const entry = (sign: Markup, words: string) => {
    if (x + 30 + 6.1 * words.length > width) return;  // better none than a cut one
    parts.push(h("g", { transform: `translate(${x} ${y})` }, sign, h("text", { x: 24, y: 0, fill: palette.ink }, words)));
    x += 46 + 6.4 * words.length;
  };
  if (quantity !== "energy") entry(h("circle", { cx: 12, cy: -4, r: 3.6, fill: palette.point }), "readings");
  if (quantity === "signal" && picture.levels.length)
    entry(h("path", { d: "M12 -10v12M8 -4h8", stroke: palette.point, fill: "none" }), "mean ± SD");
  if (picture.x.some((_, i) => isOut(picture, i)) && quantity !== "energy")
    entry(h("path", { d: "M8 -8l8 8m0 -8l-8 8", stroke: palette.mark, "stroke-width": 1.8 }), "left out");
  if (picture.grid) {
    entry(h("path", { d: "M2 -4h18", stroke: palette.fit, "stroke-width": 2 }), picture.fitTitle);
    if (quantity === "signal") entry(h("path", { d: "M2 -4h18", stroke: palette.faint, "stroke-dasharray": "6 4" }), "baselines");
    if (quantity !== "energy" && picture.midpoints.length)
      entry(h("path", { d: "M12 -9l5 5l-5 5l-5 -5Z", fill: palette.paper, stroke: palette.fit, "stroke-width": 1.5 }), "midpoint");
  }
  return h("g", {}, ...parts);
}
