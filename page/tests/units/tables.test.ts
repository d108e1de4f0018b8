// The cells of the tables that are taken along, one by one.
import * as tables from "../../app/tables";
import type { Entry } from "../../app/state";
import type { Drawing } from "../../engine/engine";
import type { Rows } from "../../figure/spreadsheet";
import * as records from "../../generated/records";
import { answerOf, entry, evidenceOf, state } from "./records";
import { same, test } from "./check";

const cells = ([header, ...rows]: Rows) => rows.map((row) => Object.fromEntries(row.map((cell, i) => [header[i], cell])));
const drawing = (x: number[], band: number[]): Drawing => ({
  x, signal: x.map((at) => at + 10), native: x.map(() => 0.25), denatured: x.map(() => 2.25), fraction: x.map((at) => at / 8), derivative: [], band, energy: [],
});
const ends = (low: number, high: number) => [[low, high], [low + 1, high + 1], [0, 0]];
const two = { transitions: 2, dG: [4184, 8368, 0], Cm: [2, 5, 0], m: [2092, 1673.6, 0], dG_se: [418.4, -1, 0], Cm_se: [0.1, 0.2, 0], m_se: [41.84, 0, 0], weight: [0.4, 0.6, 0] };
const short: Partial<Entry> = { x: [0, 4], y: [0.5, 1.25], out: [false, true], sd: [0.1, 0.2], label: 7, replicate: "b", well: "A1 A2" };
const whole = entry({
  name: "WT", ...short, answer: { ...answerOf({ ...two, baseline: [1, 2, 3, 4] }), residual: [0.01, NaN] },
  detail: {
    intervals: { status: 0, transitions: 2, method: 0, rounds_used: 0, level: 0.95, dG: ends(4000, 5000), Cm: ends(1, 3), m: ends(1000, Infinity) },
    grid: drawing([0, 8], [0.5, -1]), atReadings: drawing([0, 4], [0, 0]),
  },
});
const bare = entry({ name: "bare", ...short, answer: null, fault: "The engine stopped.", sd: null, part: ["1", "2"], out: [false, false], replicate: null });
const now = state({ entries: [whole, bare], unit: "kJ" });

test("results: each transition with its error and its ends, in the unit of the header, or nothing", () => {
  const [full, none] = cells(tables.resultRows(now));
  const near = (name: string) => +Number(full[name]).toPrecision(10);
  same([full.name, full.label, full.replicate, full.well, full.states, full.status], ["WT", 7, "b", "A1 A2", 3, "Two states."]);
  same(["dG1 (kJ/mol)", "dG1 error", "dG1 low", "dG1 high"].map(near), [17.505856, 1.7505856, 16.736, 20.92]);
  same(["dG2 (kJ/mol)", "Cm2 (M)", "Cm2 error", "Cm2 low", "Cm2 high"].map(near), [35.011712, 5, 0.2, 2, 4]);
  same(["m1 (kJ/mol/M)", "m1 error", "m1 low", "m1 high", "m2 error"].map(near), [8.752928, 0.17505856, 4.184, Infinity, 0]);
  same([full["dG2 error"], full["dG3 (kJ/mol)"], full["Cm3 low"], full.weight1, full.weight2, full.weight3], [null, null, null, 0.4, 0.6, null]);
  same(["native intercept", "native slope", "denatured intercept", "denatured slope", "R2", "residual sd", "Durbin-Watson", "readings"].map((name) => full[name]),
    [1, 2, 3, 4, 0.999, 0.01, 2, 21]);
  same([full["temperature (°C)"], full.denaturant, full.zolt, full.module], [25, "urea", "1.2.3", "0123456789abcdef"]);
  same([none.status, none.states, none["dG1 (kJ/mol)"], none.readings, none["temperature (°C)"], none.module], ["The engine stopped.", null, null, null, 25, "0123456789abcdef"]);
  const [inKcal] = cells(tables.resultRows({ ...now, unit: "kcal" }));
  same([inKcal["dG1 (kcal/mol)"], inKcal["m1 low"], cells(tables.resultRows(state({ entries: [{ ...whole, detail: null }] })))[0]["dG1 low"]], [4.184, 1, null]);
});

test("readings beside the fit, and the drawn curves", () => {
  const rows = cells(tables.readingRows([whole, bare]));
  same(rows.map((row) => [row.name, row.replicate, row["concentration (M)"], row.signal, row["standard deviation"], row["left out"]]),
    [["WT", "b", 0, 0.5, 0.1, 0], ["WT", "b", 4, 1.25, 0.2, 1], ["bare", "1", 0, 0.5, null, 0], ["bare", "2", 4, 1.25, null, 0]]);
  same(rows.map((row) => [row["fitted signal"], row.residual, row["fraction denatured"]]), [[10, 0.01, 0.125], [14, NaN, 0.5], [null, null, null], [null, null, null]]);
  const curves = cells(tables.curveRows([whole, bare]));
  same(curves.map((row) => [row.name, row["concentration (M)"], row.fit, row["native baseline"], row["denatured baseline"], row["fraction denatured"], row["half-width of band"]]),
    [["WT", 0, 10, 0.25, 2.25, 0, 0.5], ["WT", 8, 18, 0.25, 2.25, 1, null]]);
});

test("the models that were tried, and what became of each", () => {
  const evidence = evidenceOf(2, { tried: 1, outcome: records.SMALL_GAIN, aicc_difference: 3.5, F: -1, p: 0.2 });
  evidence.row[5] = { ...evidence.row[5], outcome: records.FEW_READINGS };
  const rows = cells(tables.evidenceRows([entry({ answer: answerOf({}, { evidence }) }), bare]));
  same(rows.map(({ model, outcome }) => [model, outcome]), [["straight line", ""], ["parabola", ""], ["exponential", ""], ["two states", "taken"],
    ["three states", "gains too little"], ["four states", "too few readings"]]);
  same([rows[4]["AICc difference"], rows[4].F, rows[4].p, rows[4]["residual sd"], rows[5]["residual sd"], rows[5]["AICc difference"]], [3.5, null, 0.2, 1, null, null]);
});

test("a comparison without the reference and without curves that have no fit, each way with its ends", () => {
  const row = (status: number) => ({
    status, dCm: -1, dCm_se: -1, dCm_interval: [-1.5, -0.5], shared_ddG: -4184, shared_se: 418.4, shared_interval: [-5000, -4000],
    mean_m_ddG: -1000, mean_m_se: 0, mean_m_interval: [-2000, -500], plain_ddG: 2000, plain_se: -1, plain_interval: [1000, Infinity],
  }) as unknown as records.Comparison;
  const entries = ["a", "b", "c"].map((name) => entry({ name })), keys = entries.map(({ key }) => key);
  const set = { keys, reference: keys[1], trend: null, fault: null, comparison: { rows: [row(0), row(0), row(4)] } as any };
  const found = cells(tables.comparisonRows(state({ entries, set, unit: "kcal" })));
  same(found.map(({ name, reference, zolt }) => [name, reference, zolt]), [["a", "b", "1.2.3"]]);
  const [{ name: _, reference: __, ...values }] = found;
  same(Object.values(values).slice(0, -2), [-1, null, -1.5, -0.5, -4.184, 0.4184, -5, -4, -1, 0, -2, -0.5, 2, null, 1, Infinity]);
});

test("settings a row each, with what the numbers are made by", () => {
  const rows = Object.fromEntries(tables.settingRows(state({ unit: "kJ" }, { heldM: null, states: 3, baseline: [1, 2, 3, 4], shareM: true })) as [string, unknown][]);
  same([rows.states, rows.heldM, rows.baseline, rows.shareM, rows.method, rows.rounds, rows.level, rows.energies, rows.module, "intervals" in rows],
    [3, null, "1 2 3 4", "true", "profile", 1000, 0.95, "kJ/mol", "0123456789abcdef", false]);
  const sheets = Object.fromEntries(tables.sheetsOf(now));
  same([sheets.readings[0].slice(-1), sheets.readings.length, sheets.curves[1].length, "comparison" in sheets], [["left out"], 5, 7, false]);
});
