// A plate of 96 or 384 wells, each coloured by one result.
import { sheet } from "./axes";
import { Child, Markup, h } from "./markup";
import { Palette, rampColour } from "./palette";
import { markLabels, marks, reach } from "./scale";

export interface Well {
  row: number;
  column: number;
  key: number;           // what the page knows the curve by; its wells have the same one
  value: number | null;  // null: no fit
  words: string;
}

/** Row and column of a well's name such as "B07", from 0; null where it is none of a plate's. */
export function wellPlace(name: string | undefined): { row: number; column: number } | null {
  const found = /^([A-P])0?([1-9]\d?)$/i.exec(name ?? "");
  const column = found ? Number(found[2]) : 0;
  return found && column <= 24 ? { row: found[1].toUpperCase().charCodeAt(0) - 65, column: column - 1 } : null;
}

export function plateFigure(wells: Well[], title: string, width: number, palette: Palette, chosen: number | null = null): Markup {
  const large = wells.some(({ row, column }) => row > 7 || column > 11);
  const [rows, columns] = large ? [16, 24] : [8, 12];
  const left = 26, top = 50, step = (width - left - 84) / columns;
  const values = wells.flatMap(({ value }) => (value === null ? [] : [value]));
  const [low, high] = values.length ? [Math.min(...values), Math.max(...values)] : [0, 1];
  const share = (value: number) => (high > low ? (value - low) / (high - low) : 0.5);
  const height = top + rows * step + 12;
  const parts: Child[] = [];
  for (let column = 0; column < columns; ++column)
    parts.push(h("text", { x: left + (column + 0.5) * step, y: top - 6, "text-anchor": "middle", "font-size": Math.min(12, 0.55 * step) }, String(column + 1)));
  for (let row = 0; row < rows; ++row)
    parts.push(h("text", { x: left - 6, y: top + (row + 0.5) * step + 4, "text-anchor": "end", "font-size": Math.min(12, 0.7 * step) }, String.fromCharCode(65 + row)));
  const cells = wells.map(({ row, column, value, key, words }, i) => {
    const x = left + column * step, y = top + row * step;
    return h("g", { "data-key": key, "data-row": row, "data-column": column, role: "button", tabindex: i === 0 ? 0 : -1, "aria-label": words, class: "well" },
      h("rect", {
        x: x + 1, y: y + 1, width: step - 2, height: step - 2, rx: 2,
        fill: value === null ? "none" : rampColour(share(value)),
        stroke: key === chosen ? palette.fit : palette.faint, "stroke-width": key === chosen ? 3 : 0.6,
      }),
      value === null && h("path", { d: `M${x + 0.3 * step} ${y + 0.3 * step}l${0.4 * step} ${0.4 * step}m0 ${-0.4 * step}l${-0.4 * step} ${0.4 * step}`, stroke: palette.faint, "stroke-width": 1.4 }),
      h("title", {}, words));
  });
  return sheet(width, height, title, palette,
    h("text", { x: left, y: 18, "font-size": 15, "font-weight": "bold", fill: palette.ink }, title),
    h("g", { fill: palette.ink }, ...parts), h("g", {}, ...cells),
    colourBar(width - 62, top, rows * step, low, high, palette));
}

function colourBar(x: number, top: number, height: number, low: number, high: number, palette: Palette): Markup {
  const slices = 48, slice = height / slices;
  const bar = Array.from({ length: slices }, (_, i) =>
    h("rect", { x, y: top + height - (i + 1) * slice, width: 12, height: slice + 0.5, fill: rampColour((i + 0.5) / slices) }));
  const [from, to] = high > low ? [low, high] : reach([low]);
  const at = marks(from, to, height / 60), { labels, power } = markLabels(at);
  const place = (value: number) => top + height * (1 - (value - from) / (to - from));
  return h("g", { fill: palette.ink }, ...bar,
    ...at.map((mark, i) => h("text", { x: x + 18, y: place(mark) + 4 }, labels[i])),
    power ? h("text", { x, y: top - 6 }, `× 10^${power}`) : null);
}
