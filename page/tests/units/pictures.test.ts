// What the figures show, read back by their axes: every reading, curve, end and estimate stands where it is.
import { mainPicture, overlaid, pictureOf, wellsOf } from "../../app/pictures";
import type { Entry, State } from "../../app/state";
import type { Engine } from "../../engine/engine";
import { Detail, FitAnswer, run } from "../../engine/tasks";
import { curveFigure } from "../../figure/curve_figure";
import type { Attributes, Markup } from "../../figure/markup";
import { DARK, LIGHT, SERIES, rampColour } from "../../figure/palette";
import * as records from "../../generated/records";
import { Axes, axesOf, beyond, cornersOf, numbersIn, withTag, wordsOf } from "./drawn";
import { answerOf, entry, state } from "./records";
import { Truth, choices, newEngine, places, simulated } from "./simulated";
import { ok, same, table, test } from "./check";

const engine: Engine = newEngine();

/** A curve with its fit and all that is drawn of it. */
function drawnEntry(name: string, truth: Truth, changes: Partial<Entry> = {}): Entry {
  const curve = simulated(truth), asked = { curve, choices: choices({ states: truth.m.length === 1 ? 2 : 3 }) };
  const answer = run(engine, { kind: "fit", all: curve.y, ...asked }) as FitAnswer;
  const detail = run(engine, { kind: "detail", fit: answer.fit, intervals: null, ...asked }) as Detail;
  return entry({ name, x: curve.x, y: curve.y, out: curve.x.map(() => false), answer, detail, ...changes });
}
const one = drawnEntry("WT", { m: [1500], Cm: [4], noise: 0.01, x: places(17) });
one.out[12] = true;
const picture = (entry: Entry, quantity: State["quantity"], changes: Partial<State> = {}, live = true) =>
  mainPicture(state({ entries: [entry], chosen: entry.key, quantity, ...changes }), 760, LIGHT, live)!;
const close = (found: number[], wanted: readonly number[], room: number, words = "") =>
  ok(found.length === wanted.length && found.every((value, i) => Math.abs(value - wanted[i]) <= room), `${words}: ${found} instead of ${wanted}`.slice(0, 400));
const having = (figure: Markup, tag: string, wanted: Attributes) =>
  withTag(figure, tag).filter(({ attributes }) => Object.entries(wanted).every(([name, value]) => attributes[name] === value));
const path = (figure: Markup, wanted: Attributes, at: Axes) => having(figure, "path", wanted).map((one) => cornersOf(one, at));
/** Values of what marks readings: centres of dots, and of crosses. */
const placed = (marks: Markup[], at: Axes) => marks.map(({ tag, attributes }) => tag === "circle"
  ? [at.x(Number(attributes.cx)), at.y(Number(attributes.cy))]
  : numbersIn(attributes.d).slice(0, 2).map((value, i) => [at.x, at.y][i](value + 4)));
const readings = (figure: Markup) => having(figure, "g", { class: "reading" }).map(({ children }) => children[1] as Markup);
const columns = (pairs: number[][]) => [0, 1].map((i) => pairs.map((pair) => pair[i]));

test("a curve: readings, fit, band, baselines, midpoint with its interval, residuals", () => {
  const figure = picture(one, "signal"), [upper, lower] = axesOf(figure), grid = one.detail!.grid!, { fit } = one.answer!;
  same([upper.titles, lower.titles], [["Signal"], ["Residual", "urea (M)"]]);
  const [x, y] = columns(placed(readings(figure), upper));
  close(x, one.x, 0.01, "concentrations");
  close(y, one.y, 0.002, "signals");
  same(readings(figure).map(({ tag }) => tag).indexOf("path"), 12);
  const [[line]] = [path(figure, { stroke: LIGHT.fit, "stroke-width": 2, fill: "none" }, upper)];
  close(columns(line)[0], grid.x, 0.01, "grid");
  close(columns(line)[1], grid.signal, 0.002, "fit");
  const [band] = path(figure, { fill: LIGHT.fit }, upper);
  close(columns(band)[1], [...grid.signal.map((y, i) => y + grid.band[i]), ...grid.signal.map((y, i) => y - grid.band[i]).reverse()], 0.002, "band");
  close(columns(band)[0], [...grid.x, ...[...grid.x].reverse()], 0.01, "band across");
  const [native, denatured] = path(figure, { stroke: LIGHT.faint, "stroke-dasharray": "6 4", fill: "none" }, upper).filter(({ length }) => length === 240);
  close([native[239][1], denatured[239][1]], [grid.native[239], grid.denatured[239]], 0.002, "baselines");
  const [midpoint] = path(figure, { "stroke-dasharray": "2 3" }, upper), [bar] = path(figure, { "stroke-width": 1.2 }, upper);
  close(midpoint.map(([x]) => x), [fit.Cm[0], fit.Cm[0]], 0.01, "midpoint");
  close([bar[0][0], bar[1][0]], one.detail!.intervals!.Cm[0], 0.01, "interval");
  const [diamond] = having(figure, "path", { "stroke-width": 1.6 }).map(({ attributes }) => numbersIn(attributes.d));
  close([upper.x(diamond[0]), upper.y(diamond[1] + 6)], [fit.Cm[0], (fit.baseline[0] + fit.baseline[2] + (fit.baseline[1] + fit.baseline[3]) * fit.Cm[0]) / 2], 0.01, "diamond");
  const below = having(figure, "g", { "aria-hidden": "true" }).flatMap((group) => group.children.filter((child) => child && typeof child === "object" && (child.tag === "circle" || child.attributes["stroke-width"] === 1.8)) as Markup[]);
  close(columns(placed(below, lower))[1], one.answer!.residual, 0.0005, "residuals");
  const zero = having(figure, "path", { stroke: LIGHT.faint, "stroke-dasharray": undefined }).map(({ attributes }) => String(attributes.d)).filter((d) => d.includes("h"));
  close(zero.map((d) => lower.y(numbersIn(d)[1])), [0], 1e-4, "no residual");
  same(figure.attributes["aria-label"], "WT: 17 readings, 1 left out, 2-state fit with 95 % band");
});

test("the share of denatured protein, and dG by the straight line in the unit that was asked for", () => {
  const { grid, atReadings } = one.detail!, share = picture(one, "fraction"), [at] = axesOf(share);
  const wanted = one.y.map((y, i) => (y - atReadings!.native[i]) / (atReadings!.denatured[i] - atReadings!.native[i]));
  close(columns(placed(readings(share), at))[1], wanted, 0.003);
  close(columns(path(share, { stroke: LIGHT.fit, "stroke-width": 2, fill: "none" }, at)[0])[1], grid!.fraction, 0.003);
  same([at.titles, axesOf(share).length], [["Fraction denatured", "urea (M)"], 1]);
  const energy = picture(one, "energy", { unit: "kJ" }), [scale] = axesOf(energy);
  close(columns(path(energy, { stroke: LIGHT.fit, "stroke-width": 2, fill: "none" }, scale)[0])[1], grid!.energy.map((cal) => cal * 0.004184), 0.1);
  close(having(energy, "path", { "stroke-dasharray": "5 3" }).map(({ attributes }) => scale.y(numbersIn(attributes.d)[1])), [0], 0.01);
  same([scale.titles[0], having(energy, "g", { class: "reading" }).length], ["ΔG (kJ/mol)", 0]);
});

test("a range: what lies outside is shaded, and its ends can be taken hold of", () => {
  const figure = picture({ ...one, range: [1.2, 7] }, "signal"), [at] = axesOf(figure);
  const shades = having(figure, "rect", { "fill-opacity": 0.16 }).map(({ attributes: { x, width } }) => [at.x(Number(x)), at.x(Number(x) + Number(width))]);
  close(shades.flat(), [-0.24, 1.2, 7, 8.24], 0.01);
  const handles = having(figure, "g", { class: "handle" });
  close(handles.map(({ children }, i) => at.x(numbersIn((children[1] as Markup).attributes.d)[0] + [5, -5][i])), [1.2, 7], 0.01);
  same(handles.map(({ attributes }) => [attributes["data-range"], attributes["aria-valuenow"], attributes["aria-valuemin"], attributes["aria-valuemax"]]), [[0, 1.2, 0, 8], [1, 7, 0, 8]]);
  const out = one.x.flatMap((x, i) => (i === 12 || x < 1.2 || x > 7 ? [i] : []));
  same(readings(figure).flatMap(({ tag }, i) => (tag === "path" ? [i] : [])), out);
  const whole = picture(one, "signal");
  close(having(whole, "g", { class: "handle" }).map(({ attributes }) => Number(attributes["aria-valuenow"])), [0, 8], 0);
  same([having(whole, "rect", { "fill-opacity": 0.16 }).length, having(picture(one, "signal", {}, false), "g", { class: "handle" }).length], [0, 0]);
  same(having(picture(one, "fraction"), "g", { class: "handle" }).length, 0);
});

test("deviations as they are given, and mean and SD of replicates without what is left out", () => {
  const several = { ...one, x: [0, 0, 0, 1, 1, 2], y: [1, 3, 9, 4, 4.5, 7], sd: [0.5, 0, NaN, 0.25, 0.5, 0.5], out: [false, false, true, false, false, false], answer: null, detail: null };
  const figure = picture(several, "signal"), [at] = axesOf(figure);
  const [bars] = having(figure, "path", { stroke: LIGHT.point, fill: "none" }).map((one) => cornersOf(one, at)).filter(({ length }) => length > 4);
  const wanted = [[0, 0.5], [0, 1.5], [1, 3.75], [1, 4.25], [1, 4], [1, 5], [2, 6.5], [2, 7.5],
    [0, 2 - Math.SQRT2], [0, 2 + Math.SQRT2], ...[-1, 0, 1].map((way) => [null, 2 + way * Math.SQRT2]),
    [1, 4.25 - Math.SQRT1_2 / 2], [1, 4.25 + Math.SQRT1_2 / 2], ...[-1, 0, 1].map((way) => [null, 4.25 + (way * Math.SQRT1_2) / 2])];
  same(bars.length, wanted.length);
  bars.forEach(([x, y], i) => ok((wanted[i][0] === null || Math.abs(x - wanted[i][0]!) < 0.01) && Math.abs(y - wanted[i][1]!) < 0.03, `${i}: ${x} ${y}`));
});

const legend = (figure: Markup) => withTag(figure, "text").map(wordsOf).filter((words) => /readings|fit|baseline|midpoint|left out|mean|no transition/.test(words));
table("the signs are explained that are there", (changes: Partial<Entry>, quantity: State["quantity"], width: number) =>
  legend(curveFigure(pictureOf({ ...one, ...changes }, state({}, { level: 0.9 })), quantity, { width, height: 420 }, LIGHT)), [
  [{}, "signal", 760, ["readings", "left out", "2-state fit with 90 % band", "baselines", "midpoint"]],
  [{ out: [] }, "fraction", 760, ["readings", "2-state fit with 90 % band", "midpoint"]],
  [{ range: [1, 7], out: [] }, "fraction", 760, ["readings", "left out", "2-state fit with 90 % band", "midpoint"]],
  [{}, "energy", 760, ["2-state fit with 90 % band"]],
  [{}, "signal", 300, ["readings", "left out", "baselines"]],  // none is cut off
  [{ x: one.x.map((_, i) => i % 9), out: [] }, "signal", 760, ["readings", "mean ± SD", "2-state fit with 90 % band", "baselines", "midpoint"]],
  [{ answer: answerOf({ status: records.NO_TRANSITION }), out: [] }, "signal", 760, ["readings", "no transition", "baselines"]],
]);

const wells = ["A1", "C12", "H7"].map((name, i) => drawnEntry(name, { m: [1500], Cm: [3 + i], noise: 0.004 }));
const empty = entry({ name: "B2", answer: answerOf({ status: records.NO_TRANSITION }, { sentence: "A line serves as well." }) });
const block = entry({ name: "WT", well: "D3 D4", answer: null, fault: "The engine stopped." });

test("a plate: every well in its row and column, coloured from the least to the most", () => {
  const now = state({ entries: [...wells, empty, block, entry({ name: "no well" })], chosen: wells[1].key, view: "plate", plateValue: "Cm" });
  same(wellsOf(now).length, 5);
  const figure = mainPicture(now, 700, DARK, true)!, texts = having(figure, "text", {});
  const label = (words: string) => texts.find((one) => wordsOf(one) === words)!.attributes;
  const cells = having(figure, "g", { class: "well" });
  same(cells.map(({ attributes }) => [attributes["data-row"], attributes["data-column"]]), [[0, 0], [2, 11], [7, 6], [1, 1], [3, 2], [3, 3]]);
  for (const cell of cells) {
    const { x, y, width, height } = (cell.children[0] as Markup).attributes, { "data-row": row, "data-column": column } = cell.attributes;
    close([Number(x) + Number(width) / 2, Number(y) + Number(height) / 2], [Number(label(String(Number(column) + 1)).x), Number(label("ABCDEFGH"[Number(row)]).y) - 4], 0.01, "a well's middle");
  }
  const fills = cells.map(({ children }) => (children[0] as Markup).attributes.fill), share = (fit: Entry) => (fit.answer!.fit.Cm[0] - wells[0].answer!.fit.Cm[0]) / (wells[2].answer!.fit.Cm[0] - wells[0].answer!.fit.Cm[0]);
  same(fills, [rampColour(0), rampColour(share(wells[1])), rampColour(1), "none", "none", "none"]);
  same(cells.map(({ children }) => children[1] && (children[1] as Markup).tag), [false, false, false, "path", "path", "path"]);
  same(cells.map(({ children }) => (children[0] as Markup).attributes.stroke === DARK.fit), [false, true, false, false, false, false]);
  same(cells.slice(3).map(({ attributes }) => attributes["aria-label"]), ["B2: A line serves as well.", "WT: The engine stopped.", "WT: The engine stopped."]);
  ok(/^C12: Cm (4\.00|3\.99)/.test(String(cells[1].attributes["aria-label"])));
  // The bar of colours: values stand beside the colour that they have.
  const bar = having(figure, "rect", { width: 12 }).map(({ attributes }) => ({ y: Number(attributes.y), fill: attributes.fill, height: Number(attributes.height) }));
  const [low, high] = [wells[0], wells[2]].map(({ answer }) => answer!.fit.Cm[0]), bottom = Math.max(...bar.map(({ y, height }) => y + height)), top = Math.min(...bar.map(({ y }) => y));
  const beside = texts.filter(({ attributes }) => Number(attributes.x) > 640);
  ok(beside.length > 2 && bar[0].y > bar[47].y && bar[0].fill === rampColour(0.5 / 48) && bar[47].fill === rampColour(47.5 / 48));
  for (const one of beside) close([low + ((bottom - (Number(one.attributes.y) - 4)) / (bottom - top)) * (high - low)], [Number(wordsOf(one))], 0.02, "a mark of the bar");
});

table("what the wells are coloured by", (plateValue: State["plateValue"], unit: State["unit"]) => {
  const figure = mainPicture(state({ entries: wells, view: "plate", plateValue, unit }), 700, LIGHT, true)!;
  return [figure.attributes["aria-label"], Number(/([\d.]+)$/.exec(String(having(figure, "g", { class: "well" })[1].attributes["aria-label"]))![1]).toPrecision(1)];
}, [
  ["Cm", "kcal", ["Cm (M)", "4"]],
  ["ΔG", "kcal", ["ΔG (kcal/mol)", "6"]],
  ["ΔG", "kJ", ["ΔG (kJ/mol)", "3e+1"]],
  ["m", "kJ", ["m (kJ/mol/M)", "6"]],
  ["R²", "kJ", ["R²", "1"]],
  ["states", "kJ", ["states", "2"]],
]);

test("curves together: the share denatured of each, in a colour of its own", () => {
  const now = state({ entries: wells, chosen: wells[0].key, view: "overlay" }), figure = mainPicture(now, 760, LIGHT, true)!, [at] = axesOf(figure);
  same(at.titles, ["Fraction denatured", "urea (M)"]);
  wells.forEach((well, k) => {
    const { grid, atReadings } = well.detail!, [line] = path(figure, { stroke: SERIES[k], "stroke-width": 1.8 }, at);
    close(columns(line)[1], grid!.fraction, 0.003, "curve");
    close(columns(line)[0], grid!.x, 0.02, "curve across");
    const wanted = well.y.map((y, i) => (y - atReadings!.native[i]) / (atReadings!.denatured[i] - atReadings!.native[i])).filter((y) => y > -0.15 && y < 1.15);
    close(columns(placed(having(figure, "circle", { fill: SERIES[k] }), at))[1], wanted, 0.003, "readings");
  });
  const left = { ...wells[0], out: wells[0].out.map((_, i) => i < 5) };
  const fewer = mainPicture({ ...now, entries: [left, ...wells.slice(1)] }, 760, LIGHT, true)!;
  same(having(figure, "circle", { fill: SERIES[0] }).length - having(fewer, "circle", { fill: SERIES[0] }).length, 5);
  same(mainPicture({ ...now, entries: [{ ...wells[0], detail: null }] }, 760, LIGHT, true), null);
});

test("of many the first are laid over one another, and the chosen one; colours come round broken", () => {
  const many = Array.from({ length: 20 }, (_, i) => ({ ...wells[0], key: 1000 + i, name: `c${i} ${"x".repeat(i)}` }));
  const keys = (chosen: number, more: Partial<State> = {}) => overlaid(state({ entries: [empty, ...many], chosen, ...more })).map(({ key }) => key - 1000);
  const first = Array.from({ length: 16 }, (_, i) => i);
  same([keys(1003), keys(1018), keys(empty.key)], [first, [...first.slice(0, 15), 18], first]);
  same(keys(1003, { descending: true })[0], 19);
  const figure = mainPicture(state({ entries: many, chosen: 1000, view: "overlay" }), 760, LIGHT, true)!;
  same(having(figure, "path", { stroke: SERIES[0], "stroke-width": 1.8 }).map(({ attributes }) => attributes["stroke-dasharray"]), [null, "6 3"]);
  ok(withTag(figure, "text").map(wordsOf).every((words) => words.length <= 20));
});

const set = (changes: object) => ({ keys: [1, 2, 3], reference: 1, comparison: null, trend: null, fault: null, ...changes });
const named = ["WT", "L12A", "a name that is far too long to stand beside"].map((name, i) => entry({ name, key: i + 1 }));

test("differences from the reference, each with its interval as far as the axis goes", () => {
  const row = (shared_ddG: number, shared_interval: number[], status = 0) => ({ status, shared_ddG, shared_interval }) as records.Comparison;
  const rows = [row(0, [0, 0]), row(-1500, [-1600, -1300]), row(500, [-Infinity, 900])];
  const now = state({ entries: named, view: "set", set: set({ comparison: { rows } }) });
  const figure = mainPicture(now, 640, LIGHT, true)!, [at] = axesOf(figure);
  same(at.titles, ["ΔΔG from WT, one m for all (kcal/mol)"]);
  close(having(figure, "circle", {}).map(({ attributes }) => at.x(Number(attributes.cx))), [-1.5, 0.5], 0.005);
  close(path(figure, { "stroke-width": 1.6 }, at).map((ends) => ends.map(([x]) => x)).flat(), [-1.6, -1.3, -1.6 - 0.05 * 2.5, 0.9], 0.005);
  close(path(figure, { "stroke-dasharray": "5 3" }, at).map(([[x]]) => x), [0], 0.005);
  const names = having(figure, "text", { "text-anchor": "end" });
  same(names.map(wordsOf), ["L12A", "a name that is far too …"]);
  close(names.map(({ attributes }) => Number(attributes.y) - 4), having(figure, "circle", {}).map(({ attributes }) => Number(attributes.cy)), 0.01);
  const kJ = mainPicture({ ...now, unit: "kJ" }, 640, LIGHT, true)!;
  close(having(kJ, "circle", {}).map(({ attributes }) => axesOf(kJ)[0].x(Number(attributes.cx))), [-6.276, 2.092], 0.02);
  same(mainPicture({ ...now, set: set({ comparison: { rows: [rows[0], row(0, [0, 0], 4)] } }) }, 640, LIGHT, true), null);
  same(mainPicture({ ...now, set: null }, 640, LIGHT, true), null);
});

test("a trend: dG with its error against ln(label), what counts filled, and the line", () => {
  const trend = { label: [1, Math.E, Math.E ** 2], dG: [4000, 4800, 5000], error: [200, 0, 100], used: [1, 0, 1], line: [500, 4000, 0.9, 3] };
  const figure = mainPicture(state({ entries: named, view: "set", set: set({ trend }) }), 640, LIGHT, true)!, [at] = axesOf(figure);
  same(at.titles, ["ΔG (kcal/mol)", "ln(label)"]);
  const [x, y] = columns(placed(having(figure, "circle", {}), at));
  close(x, [0, 1, 2], 0.005);
  close(y, [4, 4.8, 5], 0.005);
  same(having(figure, "circle", {}).map(({ attributes }) => attributes.fill === LIGHT.point), [true, false, true]);
  close(path(figure, { stroke: LIGHT.point, fill: undefined }, at).flat().map(([, y]) => y), [3.8, 4.2, 4.8, 4.8, 4.9, 5.1], 0.01);
  close(columns(path(figure, { stroke: LIGHT.fit }, at)[0])[1], [4, 4.5, 5], 0.01);
  same(having(figure, "path", { stroke: LIGHT.fit })[0].attributes["stroke-dasharray"], null);
});

test("nothing lies beyond the sheet", () => {
  const rows = [-1500, 500].map((value) => ({ status: 0, shared_ddG: value, shared_interval: [value - 100, value + 100] }) as records.Comparison);
  const trend = { label: [1, 9], dG: [4000, 5000], error: [200, 100], used: [1, 1], line: [500, 4000, 0.9, 2] };
  for (const width of [420, 640, 900])
    for (const [view, changes] of [["curve", {}], ["plate", { entries: wells }], ["overlay", { entries: wells }], ["set", { set: set({ trend }) }],
      ["set", { entries: named, set: set({ reference: 3, keys: [1, 2], comparison: { rows } }) }]] as [State["view"], object][])
      same(beyond(mainPicture(state({ entries: [one], chosen: one.key, view, ...changes }), width, LIGHT, true)!), [], `${view} of ${width}`);
});
