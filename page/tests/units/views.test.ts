// What is told of a fit: the views as text, and the tables that are taken along.
import { choicesView, exportsView, viewsView } from "../../app/choices_view";
import { listView } from "../../app/list_view";
import { reportView, settingsWords } from "../../app/report_view";
import { resultView } from "../../app/result_view";
import { setView } from "../../app/set_view";
import * as tables from "../../app/tables";
import type { Entry, State } from "../../app/state";
import { Markup, h } from "../../figure/markup";
import type { Rows } from "../../figure/spreadsheet";
import * as records from "../../generated/records";
import { withTag } from "./drawn";
import { answerOf, entry, evidenceOf, state } from "./records";
import { ok, same, table, test } from "./check";

/** The words of a view, parted by blanks. */
const words = (view: Markup): string => view.children.map((child) => (!child ? "" : typeof child === "string" ? child : words(child))).join(" ").replace(/ +/g, " ");
const all = (...views: Markup[]) => words(h("div", {}, ...views));
const showing = (one: Entry, changes: Partial<State> = {}, settings = {}) => state({ entries: [one], chosen: one.key, ...changes }, settings);
const ends = (dG: number[], Cm = [3.9, 4.1], m = [1400, 1600]): Entry["detail"] => ({
  grid: null, atReadings: null,
  intervals: { status: 0, transitions: 1, method: 0, rounds_used: 0, level: 0.95, dG: [dG, [0, 0], [0, 0]], Cm: [Cm, [0, 0], [0, 0]], m: [m, [0, 0], [0, 0]] },
});

table("results in words", (one: Entry, changes: Partial<State>, ...wanted: string[]) => {
  const told = words(resultView(showing(one, changes)));
  return wanted.filter((part) => !told.includes(part));
}, [
  [entry({ detail: ends([5600, 6400]) }), {}, "2 states", "6.00 ± 0.20", "5.60 to 6.40", "4.000 ± 0.020", "1.500 ± 0.050", "21 readings, 6 parameters, 25 °C", []],
  [entry({ detail: ends([5600, 6400]) }), { unit: "kJ" }, "25.10 ± 0.84", "kJ/mol/M", "23.43 to 26.78", []],
  [entry({ detail: ends([5600, Infinity]) }), {}, "5.60 to open", "dG is at least 5.6 kcal/mol.", []],
  [entry(), {}, "6.00 ± 0.20", "…", []],  // intervals are under way
  [entry({ answer: answerOf({ m_se: [-1, 0, 0] }) }), {}, "m 1.5 kcal", []],  // held: no error
  [entry({ answer: null }), {}, "Fitting …", []],
  [entry({ answer: null, fault: "The engine stopped." }), {}, "No fit. The engine stopped.", []],
  [entry({ answer: answerOf({ status: records.NO_TRANSITION }, { sentence: "A line serves as well." }) }), {}, "No fit. A line serves as well.", []],
  [entry({ answer: answerOf({ transitions: 2, Cm: [3, 5, 0], weight: [0.4, 0.6, 0], weight_se: [0.02, 0.02, 0] }) }), {}, "3 states", "ΔG 1", "share 2", "0.600 ± 0.020", []],
  [entry({ part: Array.from({ length: 21 }, (_, i) => String(i % 3)) }), {}, "2 states, 3 replicates together", []],
] as any);

test("the sizes of the choices are those of the unit, and only what can be chosen is shown", () => {
  const one = entry();
  const of = (settings: object, more: Partial<State> = {}) => all(...choicesView(showing(one, more, settings)));
  ok(!/Weights|Replicates|intercept|m \(kcal/.test(of({})));
  ok(/native intercept.*native slope/.test(of({ native: "given" })) && !/denatured intercept/.test(of({ native: "given" })));
  ok(of({ heldM: 1200 }).includes("m (kcal/mol/M)"));
  const value = (view: Markup[], id: string) => view.flatMap(({ children }) => children).find((child) => child && typeof child === "object" && child.attributes.id === id) as Markup;
  same(value(choicesView(showing(one, { unit: "kJ" }, { heldM: 1000 })), "heldM").attributes.value, "4.184");
  ok(of({}, { entries: [entry({ sd: [] })] }).includes("by standard deviations") && of({}, { entries: [entry({ group: "WT" })] }).includes("fitted each alone"));
  same(exportsView().length, 8);
});

const chosenIn = (views: Markup[]) => Object.fromEntries(views.flatMap((view) => withTag(view, "select")).map((one) =>
  [one.attributes.id, withTag(one, "option").filter(({ attributes }) => attributes.selected).map(({ attributes }) => attributes.value).join()]));
table("what is chosen is shown as chosen", (settings: object, wanted: string[]) => {
  const found = chosenIn(choicesView(showing(entry({ sd: [], group: "WT" }), {}, settings)));
  return wanted.map((id) => found[id]);
}, [
  [{}, ["states", "native", "denatured", "m", "replicates", "weights", "level", "method", "unit"], ["auto", "line", "line", "free", "pooled", "sd", "0.95", "profile", "kcal"]],
  [{ states: 3, native: "flat", denatured: "given", shareM: true, replicates: "each" }, ["states", "native", "denatured", "m", "replicates"], ["3", "flat", "given", "shared", "each"]],
  [{ heldM: 1200, weights: "sd", sdKnown: true, level: 0.9 }, ["m", "weights", "level"], ["given", "known", "0.9"]],
  [{ weights: "none", sdKnown: true }, ["weights"], ["none"]],
]);

test("given baselines are fields of their own places", () => {
  const fields = choicesView(showing(entry(), {}, { native: "given", denatured: "given", baseline: [1, 2, 3, 4] })).flatMap((view) => withTag(view, "input"));
  same(fields.slice(0, 4).map(({ attributes }) => [attributes.id, attributes["data-baseline"], attributes.value]),
    [["baseline0", 0, 1], ["baseline1", 1, 2], ["baseline2", 2, 3], ["baseline3", 3, 4]]);
});

const views = (changes: Partial<State>) => viewsView(state(changes)).flatMap((view) => [view, ...withTag(view, "select")].filter(({ attributes }) => attributes.id)
  .map(({ attributes }) => `${attributes.id}${attributes["aria-pressed"] === "true" ? " on" : ""}`));
const plates = [entry({ name: "A1" }), entry({ name: "B2" })], plain = [entry(), entry()], left = entry({ out: [true] });
table("views that there are", views, [
  [{ entries: [plain[0]], chosen: plain[0].key }, ["quantity"]],
  [{ entries: plain, chosen: plain[0].key }, ["view-curve on", "view-overlay", "quantity"]],
  [{ entries: plates, view: "plate" }, ["view-curve", "view-plate on", "view-overlay", "plateValue"]],
  [{ entries: [plates[0], plain[0]], view: "overlay" }, ["view-curve", "view-overlay on"]],
  [{ entries: plain, view: "set", set: { keys: [], reference: 0, comparison: null, trend: null, fault: null } }, ["view-curve", "view-overlay", "view-set on"]],
  [{ entries: [left], chosen: left.key }, ["quantity", "all"]],
  [{ entries: [left, plain[0]], chosen: left.key, view: "overlay" }, ["view-curve", "view-overlay on"]],
  [{ entries: [{ ...plain[0], range: [1, 2] }], chosen: plain[0].key }, ["quantity", "all"]],
]);

const two = [entry({ name: "WT", label: 1 }), entry({ name: "L12A", label: 2, answer: answerOf({ Cm: [3, 0, 0], dG: [4500, 0, 0] }) })];
const row = (changes: Partial<records.Comparison>): records.Comparison => ({
  status: 0, reserved: 0, dCm: -1, dCm_se: 0.03, dCm_interval: [-1.06, -0.94], shared_ddG: -1500, shared_se: 40, shared_interval: [-1580, -1420],
  mean_m_ddG: -1490, mean_m_se: 45, mean_m_interval: [-1580, -1400], plain_ddG: -1400, plain_se: 280, plain_interval: [-2000, -800], ...changes,
});
const global = (p: number) => ({ status: 0, curves: 2, transitions: 1, shared: [1500, 0, 0], shared_se: [30, 0, 0], shared_interval: [[1440, 1560], [0, 0], [0, 0]], F: 2, p }) as unknown as records.Global;
const compared = (p: number, changes: Partial<records.Comparison> = {}) => state({
  entries: two, chosen: two[0].key, reference: two[0].key,
  set: { keys: two.map(({ key }) => key), reference: two[0].key, trend: null, fault: null, comparison: { global: global(p), fits: [], rows: [row({}), row(changes)] } },
});

table("a comparison in words", (now: State, ...wanted: string[]) => wanted.filter((part) => !words(setView(now)).includes(part)), [
  [compared(0.5), "WT reference", "L12A −1.000 ± 0.030 −1.500 ± 0.040 −1.580 to −1.420", "−1.40 ± 0.28", "The curves agree with one m.", []],
  [compared(0.01), "The curves do not agree with one m", []],
  [compared(0.5, { status: 4 }), "L12A no fit", []],
  [{ ...compared(0.5), shared: global(0.5) }, "2 curves of 2 states fitted with one m: 1.500 ± 0.030 (1.440 to 1.560) kcal/mol/M", []],
  [{ ...compared(0.5), entries: [...two, entry({ answer: answerOf({ transitions: 2 }) })] }, "1 of the fitted curves left out", []],
  [{ ...compared(0.5), set: { ...compared(0.5).set!, comparison: null, fault: "They cannot be compared." } }, "They cannot be compared.", []],
] as any);

const trended = (slope: number): State => state({ entries: two, unit: "kJ", set: { keys: [], reference: 0, comparison: null, fault: null,
  trend: { label: [1, 2.5], dG: [1000, 2000], error: [100, 250], used: [1, 1], line: [slope, 1000, 0.98765, 2] } } });
const shown = (view: Markup) => withTag(view, "tr").slice(1).map((row) => row.children.map((cell) => words(cell as Markup).trim()).join(" | "));
test("a trend in words, and the labels beside", () => {
  ok(words(setView(trended(500))).includes("ΔG = 4.184 + 2.092 ln(label) kJ/mol, R² 0.9877."));
  ok(words(setView(trended(0))).includes("No significant trend of ΔG with the label."));
  same(shown(setView(trended(500))), ["1 | 4.184 | 0.42", "2.5 | 8.368 | 1"]);
});

test("what can be done with several curves hangs on what they are", () => {
  const buttons = (entries: Entry[]) => withTag(setView(state({ entries, reference: entries[1]?.key })), "button").map(({ attributes }) => attributes.id);
  same([buttons([two[0]]), buttons(two), buttons([two[0], { ...two[1], label: 1 }]), buttons([two[0], entry({ answer: answerOf({ transitions: 2 }) })])],
    [[], ["compare", "trend"], ["compare"], []]);
  const reference = withTag(setView(state({ entries: two, reference: two[1].key })), "option");
  same(reference.map(({ attributes, children }) => [children[0], attributes.selected]), [["WT", false], ["L12A", true]]);
});

test("the models beside one another, with a dash where there is no number", () => {
  const evidence = evidenceOf(2, { tried: 1, outcome: records.SMALL_GAIN, aicc_difference: 3.456, p: 0.25, residual_sd: 0.01234, parameters: 9 });
  evidence.row[0] = { ...evidence.row[0], parameters: 0, p: -1, aicc_difference: -1 };
  evidence.row[5] = { ...evidence.row[5], outcome: records.FEW_READINGS, p: 0.00001 };
  const rows = shown(resultView(showing(entry({ answer: answerOf({}, { evidence }) })))).slice(-6);
  same([rows[0], rows[3], rows[4], rows[5]], ["straight line | – | 1 | – | –", "two states taken | 6 | 1 | 0 | 0.5000",
    "three states gains too little | 9 | 0.0123 | 3.46 | 0.2500", "four states too few readings | 6 | – | – | < 0.0001"]);
  ok(!words(resultView(showing(entry({ answer: answerOf({}, { evidence: evidenceOf(2) }) })))).includes("four states"));
});

test("replicates fitted each alone: the mean of their results and its spread", () => {
  const each = [5000, 6000, 7000].map((dG, i) => entry({ name: `WT rep ${i}`, group: "WT", replicate: i, answer: answerOf({ dG: [dG, 0, 0], Cm: [4 + i / 10, 0, 0] }) }));
  const told = words(resultView(state({ entries: [...each, entry()], chosen: each[1].key, unit: "kJ" })));
  for (const part of ["3 replicates", "ΔG 25.1 ± 4.2 kJ/mol", "Cm 4.10 ± 0.10 M"]) ok(told.includes(part), `${part} in ${told}`);
  ok(!words(resultView(state({ entries: [each[0], entry()], chosen: each[0].key }))).includes("replicates"));
});

test("rows of the list: states, midpoint and dG with the digits of their errors", () => {
  const rows = [two[0], entry({ name: "", answer: null }), entry({ answer: null, fault: "stopped" }), entry({ answer: answerOf({ status: records.NO_TRANSITION }) })];
  same(shown(listView(state({ entries: rows, chosen: two[0].key, unit: "kJ" }))), ["WT | 2 | 4.000 | 25.10 | ", "(no name) | … |  |  | ", "WT | none |  |  | ", "WT | none |  |  | "]);
  same(withTag(listView(state({ entries: rows, chosen: rows[2].key })), "button").map(({ attributes }) => attributes["aria-current"]), [null, null, "true", null]);
  const many = Array.from({ length: 401 }, () => two[0]);
  const long = listView(state({ entries: many }));
  same([shown(long).length, words(long).includes("400 of 401 curves")], [400, true]);
});

const even = (rows: Rows) => rows.every((cells) => cells.length === rows[0].length);
const column = (rows: Rows, name: string) => rows.slice(1).map((cells) => cells[rows[0].indexOf(name)]);

test("tables have a cell a column, energies in the unit of their header, and no number where there is none", () => {
  const unfitted = entry({ name: "flat", answer: answerOf({ status: records.NO_TRANSITION }) });
  const now = state({ entries: [...two, unfitted], unit: "kJ" });
  const all = { results: tables.resultRows(now), readings: tables.readingRows(now.entries), curves: tables.curveRows(now.entries),
    evidence: tables.evidenceRows(now.entries), warnings: tables.warningRows(now), comparison: tables.comparisonRows(compared(0.5)) };
  for (const [name, rows] of Object.entries(all)) ok(even(rows), name);
  same(column(all.results, "dG1 (kJ/mol)"), [6000 / (1000 / 4.184), 4500 / (1000 / 4.184), null]);
  same(column(all.results, "states"), [2, 2, null]);
  same(column(all.results, "module"), Array(3).fill("0123456789abcdef"));
  same(column(all.comparison, "ddG, one m (kcal/mol)"), [-1.5]);  // the reference is none of the rows
  same(all.readings.length, 1 + 3 * 21);
  same(column(tables.readingRows([{ ...two[0], out: two[0].out.map((_, i) => i === 4) }]), "left out").indexOf(1), 4);
});

test("sheets of a workbook: the comparison where there is one, the origin with the settings", () => {
  const names = (now: State) => tables.sheetsOf(now).map(([name]) => name);
  same(names(state({ entries: two })), ["results", "readings", "curves", "evidence", "warnings", "settings"]);
  ok(names(compared(0.5)).includes("comparison"));
  same(Object.fromEntries(tables.settingRows(state()) as any).zolt, "1.2.3");
});

table("settings in words", (settings: object, unit: string, ...wanted: string[]) => wanted.filter((part) => !settingsWords(state({ unit: unit as any }, settings)).includes(part)), [
  [{}, "kcal", "States by the evidence; native baseline line, denatured line; m free; replicates fitted together;", "95 % intervals by profile.", []],
  [{ states: 3, native: "given", baseline: [1, 0.5, 0, 0] }, "kcal", "States given as 3", "native baseline given as 1 and 0.5 a M", []],
  [{ heldM: 1000 }, "kJ", "m held at 4.184 kJ/mol/M", []],
  [{ shareM: true, weights: "none", level: 0.9 }, "kcal", "m one for all curves", "all readings weigh alike", "90 % intervals", []],
  [{ sdKnown: true, residues: 99, intervals: { method: "bootstrap", rounds: 500, seed: 3 } }, "kcal", "true sizes", "(500 rounds, seed 3)", "99 residues", []],
] as any);

test("the report says each warning once, with its curves, and folds nothing", () => {
  const rows = [entry({ name: "a", temperatureAssumed: true }), entry({ name: "b", temperatureAssumed: true, answer: answerOf({ durbin_watson: 0.5 }) })];
  const report = h("div", {}, ...reportView(state({ entries: rows, chosen: rows[0].key }), "ZOLT 1, module 2")), told = words(report);
  ok(told.includes("all No temperature is stated; 25 °C is assumed.") && /b The residuals wave/.test(told));
  ok(told.includes("a 2 6.00 ± 0.20 4.000 ± 0.020 1.500 ± 0.050") && told.includes("ZOLT 1, module 2."));
  same(withTag(report, "article").length, 2);
  const folded = (view: Markup): boolean => (view.tag === "details" && !view.attributes.open) || view.children.some((child) => child && typeof child === "object" && folded(child));
  ok(!folded(report));
});

test("the list marks warnings of the fit, and not what was assumed of the file", () => {
  const rows = [entry({ temperatureAssumed: true }), entry({ answer: answerOf({ durbin_watson: 0.5 }) })];
  const told = words(listView(state({ entries: rows, chosen: rows[0].key })));
  same([told.split("⚠").length - 1, told.includes("with a warning (1)"), told.includes("temperature assumed (1)")], [1, true, true]);
});

test("a filter that no curve meets any more is still shown as chosen", () => {
  const now = state({ entries: [entry()], warned: "hardly_determined" });
  ok(words(listView(now)).includes("hardly determined (0)") && words(listView(now)).includes("0 of 1 curves"));
});
