// A panel with its two axes; the figures draw into it.
import { Child, Markup, h } from "./markup";
import { Palette } from "./palette";
import { Scale, linear, markLabels, marks } from "./scale";

export interface Box {
  left: number;
  top: number;
  width: number;
  height: number;
}

export interface Panel {
  x: Scale;
  y: Scale;
  frame: Markup;
}

export const FONT = "Helvetica, Arial, sans-serif";

interface AxisTitles {
  x: string | null;  // null: marks without labels, for a panel above another
  y: string;
}

export function panel(box: Box, xs: [number, number], ys: [number, number], titles: AxisTitles,
                      palette: Palette): Panel {
  const { left, top, width, height } = box;
  const bottom = top + height;
  const x = linear(xs[0], xs[1], left, left + width);
  const y = linear(ys[0], ys[1], bottom, top);
  const xMarks = marks(xs[0], xs[1], width / 70);
  const yMarks = marks(ys[0], ys[1], Math.max(height / 45, 3));
  const across = markLabels(xMarks), up = markLabels(yMarks);
  const times = (power: number) => (power ? ` (10${superscript(power)})` : "");
  const parts: Child[] = [
    h("path", { d: `M${left} ${top}V${bottom}H${left + width}`, fill: "none" }),
    h("path", { d: xMarks.map((mark) => `M${+x(mark).toFixed(2)} ${bottom}v5`).join("") }),
    h("path", { d: yMarks.map((mark) => `M${left} ${+y(mark).toFixed(2)}h-5`).join("") }),
  ];
  const words: Child[] = yMarks.map((mark, i) =>
    h("text", { x: left - 8, y: y(mark) + 4, "text-anchor": "end" }, up.labels[i]));
  const middle = top + height / 2;
  const away = left - 14 - 7 * Math.max(...up.labels.map((label) => label.length), 1);
  words.push(h("text", {
    x: away, y: middle, transform: `rotate(-90 ${away} ${middle})`, "text-anchor": "middle",
    "font-size": 14,
  }, titles.y + times(up.power)));
  if (titles.x !== null) {
    words.push(
      ...xMarks.map((mark, i) => h("text", { x: x(mark), y: bottom + 19, "text-anchor": "middle" }, across.labels[i])),
      h("text", { x: left + width / 2, y: bottom + 39, "text-anchor": "middle", "font-size": 14 }, titles.x + times(across.power)),
    );
  }
  const frame = h("g", {},
    h("g", { stroke: palette.ink, "stroke-width": 1 }, ...parts),
    h("g", { fill: palette.ink }, ...words));
  return { x, y, frame };
}

const SUPERSCRIPTS: Record<string, string> = {
  "-": "⁻", 0: "⁰", 1: "¹", 2: "²", 3: "³", 4: "⁴", 5: "⁵", 6: "⁶", 7: "⁷", 8: "⁸", 9: "⁹",
};
const superscript = (power: number) => String(power).replace(/./g, (digit) => SUPERSCRIPTS[digit]);

/** A line through points; parts that are not finite are left out. */
export function pathOf(xs: readonly number[], ys: readonly number[], { x, y }: Panel): string {
  let pen = "M", path = "";
  for (let i = 0; i < xs.length; ++i) {
    if (!Number.isFinite(ys[i])) {
      pen = "M";
      continue;
    }
    path += `${pen}${x(xs[i]).toFixed(2)} ${y(ys[i]).toFixed(2)}`;
    pen = "L";
  }
  return path;
}

/** The drawing with its paper, its size and a title for those who cannot see it. */
export function sheet(width: number, height: number, title: string, palette: Palette, ...children: Child[]): Markup {
  return h("svg", {
    xmlns: "http://www.w3.org/2000/svg", viewBox: `0 0 ${width} ${height}`, width, height,
    role: "group", "aria-label": title, "font-family": FONT, "font-size": 12,
  },
  h("rect", { width, height, fill: palette.paper }),
  ...children);
}
