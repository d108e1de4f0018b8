// Figures: scales, marks, text that is escaped, and pictures of curves that have next to nothing.
import { pathOf, panel } from "../../figure/axes";
import { CurvePicture, curveFigure, readingWords } from "../../figure/curve_figure";
import { Markup, h, toText } from "../../figure/markup";
import { LIGHT, rampColour } from "../../figure/palette";
import { plateFigure, wellPlace } from "../../figure/plate_figure";
import { linear, markLabels, marks, reach } from "../../figure/scale";
import { estimatesFigure, overlayFigure, trendFigure } from "../../figure/set_figures";
import { ok, same, table, test } from "./check";

const round = (values: number[]) => values.map((value) => +value.toPrecision(12));

table("marks", (low: number, high: number, wanted: number) => round(marks(low, high, wanted)), [
  [0, 8, 8, [0, 1, 2, 3, 4, 5, 6, 7, 8]],
  [-0.03, 1.04, 6, [0, 0.2, 0.4, 0.6, 0.8, 1]],
  [0.1, 0.9, 4, [0.2, 0.4, 0.6, 0.8]],
  [1e-7, 9e-7, 4, [2e-7, 4e-7, 6e-7, 8e-7]],
  [-100, 0, 5, [-100, -80, -60, -40, -20, 0]],
  [-0.09, 0.09, 3, [-0.05, 0, 0.05]],  // not the zero alone
]);

test("marks lie within any range, in equal steps, and are neither few nor many", () => {
  let state = 7;
  const draw = () => (state = (state * 16807) % 2147483647) / 2147483647;
  for (let i = 0; i < 500; ++i) {
    const low = (draw() - 0.5) * 10 ** Math.floor(draw() * 12 - 6), high = low + draw() * 10 ** Math.floor(draw() * 12 - 6) + 1e-9;
    const wanted = 2 + draw() * 8, found = marks(low, high, wanted), step = (high - low) * 1e-9;
    ok(found.every((mark) => mark >= low - step && mark <= high + step), `${low} ${high}`);
    ok(found.length >= 2 && found.length <= 3 * wanted + 2, `${found.length} marks of ${wanted} in ${low} ${high}`);
  }
});

table("labels of marks", (values: number[]) => markLabels(values), [
  [[0, 0.5, 1], { labels: ["0.0", "0.5", "1.0"], power: 0 }],
  [[0, 20000, 40000], { labels: ["0", "20000", "40000"], power: 0 }],
  [[0, 200000, 400000], { labels: ["0", "2", "4"], power: 5 }],
  [[-0.002, 0, 0.002], { labels: ["−2", "0", "2"], power: -3 }],
  [[5], { labels: ["5"], power: 0 }],
]);

table("reach", (values: number[], room: number) => reach(values, room), [
  [[0, 10], 0.1, [-1, 11]],
  [[5, 5], 0.1, [4.5, 5.5]],
  [[0], 0.1, [-0.1, 0.1]],
  [[NaN, Infinity, 2, 4], 0, [2, 4]],
  [[], 0.1, [0, 1]],
]);

test("a scale puts its ends at the ends, also one without extent", () => {
  const up = linear(0, 10, 100, 0);
  same([up(0), up(5), up(10)], [100, 50, 0]);
  ok(Number.isFinite(linear(3, 3, 0, 100)(3)));
});

test("a path leaves out what is not finite, and goes on behind it", () => {
  const at = panel({ left: 0, top: 0, width: 100, height: 100 }, [0, 4], [0, 4], { x: "x", y: "y" }, LIGHT);
  const path = pathOf([0, 1, 2, 3, 4], [0, 1, NaN, 3, 4], at);
  same(path.match(/[ML]/g), ["M", "L", "M", "L"]);
});

table("text of elements", (markup: Markup) => toText(markup), [
  [h("text", { x: 1.23456, title: 'a "b" <c>' }, "1 < 2 & 3"), '<text x="1.235" title="a &quot;b&quot; &lt;c&gt;">1 &lt; 2 &amp; 3</text>'],
  [h("g", { hidden: true, id: null, role: undefined, off: false }, null, false, h("b")), '<g hidden=""><b></b></g>'],
  [h("t", {}, "a\u0000b\u000bc\nd"), "<t>abc\nd</t>"],
]);

table("wellPlace", (name: string | undefined) => wellPlace(name), [
  ["A1", { row: 0, column: 0 }],
  ["a01", { row: 0, column: 0 }],
  ["P24", { row: 15, column: 23 }],
  ["H12", { row: 7, column: 11 }],
  ["P25", null],
  ["Q1", null],
  ["A0", null],
  ["A", null],
  ["WT", null],
  ["", null],
  [undefined, null],
]);

table("rampColour", rampColour, [[0, "#440154"], [1, "#fde725"], [0.5, "#21918c"], [-3, "#440154"], [7, "#fde725"]]);

const empty: CurvePicture = {
  name: "none", x: [], y: [], sd: null, levels: [], out: [], range: null, residual: [], grid: null, atReadings: null,
  midpoints: [], xTitle: "urea (M)", yTitle: "Signal", fitTitle: "", energyUnit: "kcal", calPerUnit: 1000,
};
const grid = (signal: number[]) => ({
  x: [0, 4, 8], signal, native: [0, 0, 0], denatured: [1, 1, 1], fraction: [0, 0.5, 1], derivative: [0, 1, 0], band: [0.1, 0.1, 0.1], energy: [4000, 0, -4000],
});
const few = { ...empty, x: [0, 4, 8], y: [0, 0.5, 1], out: [false, true, false], residual: [0, NaN, 0.1] };
const fitted = { ...few, grid: grid([0, 0.5, 1]), atReadings: grid([0, 0.5, 1]), midpoints: [{ Cm: 4, low: 3.5, high: 4.5 }] };
const size = { width: 600, height: 400 };

const PICTURES: Record<string, CurvePicture> = {
  empty, few, fitted,
  "all gaps": { ...few, y: [NaN, NaN, NaN] },
  "one reading": { ...empty, x: [2], y: [3], out: [false], residual: [NaN] },
  "one level": { ...few, y: [2, 2, 2] },
  "no band": { ...fitted, grid: { ...grid([0, 0.5, 1]), band: [-1, -1, -1] } },
  "open interval": { ...fitted, midpoints: [{ Cm: 4, low: -Infinity, high: Infinity }] },
  "midpoint outside": { ...fitted, midpoints: [{ Cm: 40, low: 30, high: 50 }] },
  "range": { ...fitted, range: [1, 5] },
  "deviations and replicates": { ...fitted, sd: [0.1, 0, NaN], levels: [{ x: 0, mean: 0.1, sd: 0.2 }, { x: 4, mean: 0.5, sd: NaN }] },
  "huge": { ...fitted, y: [1e12, 2e12, 3e12], grid: grid([1e12, 2e12, 3e12]) },
};

test("every picture is made of numbers, whatever the curve lacks", () => {
  for (const [name, picture] of Object.entries(PICTURES))
    for (const quantity of ["signal", "fraction", "energy"] as const)
      for (const live of [false, true])
        ok(!/NaN|Infinity|undefined/.test(toText(curveFigure(picture, quantity, size, LIGHT, live)).replace(/aria-valu\w+="[^"]*"/g, "")), `${name}, ${quantity}`);
});

test("readings that are left out are crosses, the others dots; live ones can be reached", () => {
  const all = (markup: Markup): Markup[] => [markup, ...markup.children.flatMap((child) => (child && typeof child === "object" ? all(child) : []))];
  const drawn = all(curveFigure({ ...fitted, range: [0, 5] }, "signal", size, LIGHT, true));
  const readings = drawn.filter(({ attributes }) => attributes.class === "reading");
  same(readings.map(({ attributes }) => attributes["aria-pressed"]), ["true", "false", "false"]);
  same(readings.map(({ children }) => (children[1] as Markup).tag), ["circle", "path", "path"]);
  same(readings.map(({ attributes }) => attributes.tabindex), [0, -1, -1]);
  same(drawn.filter(({ attributes }) => attributes.class === "handle").map(({ attributes }) => attributes["aria-valuenow"]), [0, 5]);
  same(readingWords(fitted, 2), "urea (M) 8, Signal 1, fit 1, residual 0.1");
});

test("pictures of several curves are made of numbers, too", () => {
  const well = { row: 0, column: 0, key: 1, words: "A1" };
  const trend = { label: [1, 2], dG: [4000, 5000], error: [0, 100], used: [1, 0], line: [0, 4500, 0, 2] };
  const estimates = [{ name: "open", value: 1, low: -Infinity, high: Infinity }, { name: "x".repeat(60), value: NaN, low: NaN, high: NaN }];
  const curves = Array.from({ length: 10 }, (_, i) => ({ name: `c${i}`, x: [0, 1], fraction: [NaN, 0.5], gridX: [0, 1], gridFraction: [0, 1] }));
  const pictures = [
    plateFigure([{ ...well, value: 2 }, { ...well, column: 3, value: null }], "Cm (M)", 600, LIGHT, 1),
    plateFigure([{ ...well, value: null }], "Cm (M)", 600, LIGHT),
    trendFigure(trend, 1000, "kcal", 600, 400, LIGHT), estimatesFigure(estimates, "ΔΔG", 600, LIGHT), overlayFigure(curves, "urea (M)", 600, 400, LIGHT),
  ];
  pictures.forEach((picture, i) => ok(!/NaN|Infinity|undefined/.test(toText(picture)), `picture ${i}`));
  same([pictures[0], plateFigure([{ ...well, column: 12, value: 1 }], "", 600, LIGHT)].map((plate) => /<text[^>]*>13</.test(toText(plate))), [false, true]);
});
