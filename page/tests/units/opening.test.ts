// Files that are opened: what they replace, what waits for a layout or for a word on its columns.
import { regroup, sourcesFrom, sourcesOf, take } from "../../app/opening";
import { listed } from "../../app/order";
import { Source, isRefusal, readSources } from "../../reader/sources";
import { answerOf, entry, state } from "./records";
import { ok, same, table, test } from "./check";

const file = (name: string, text: string) => ({ name, bytes: new TextEncoder().encode(text) });
const rows = (count: number, cells: (i: number) => unknown[]) => Array.from({ length: count }, (_, i) => cells(i).join(",")).join("\n");
// Signals that do not rise all along, or they could be concentrations.
const signal = (i: number) => (i % 2 ? 1 : 1.1) / (1 + Math.exp(4 - i));
const columns = (offset: number, ...names: string[]) => `urea (M),${names.join(",")}\n${rows(10, (i) => [i, ...names.map((_, k) => signal(i) + offset * k)])}`;
const wide = (...names: string[]) => columns(1, ...names);
const doubtful = `,WT,V38A\n${rows(10, (i) => [i, signal(i), 2 * signal(i)])}`;
const plate = `,1,2,3,4,5,6,7,8\n${["A", "B"].map((row, k) => [row, ...Array.from({ length: 8 }, (_, i) => i + k)].join(",")).join("\n")}`;
const layout = `well,sample,urea (M)\n${["A", "B"].flatMap((row) => Array.from({ length: 8 }, (_, i) => `${row}${i + 1},protein ${row},${i}`)).join("\n")}`;
const names = ({ entries }: Page) => entries.map(({ name }) => name);

type Page = ReturnType<typeof state>;

function read(page: Page, sources: Source[]) {
  const readings = readSources(sources);
  take(page, sources.map((source, i) => ({ ...source, reading: readings[i] })));
}
const open = (page: Page, ...files: [string, string][]) => read(page, sourcesFrom(page, files.map(([name, text]) => file(name, text))));

function opened(...files: [string, string][]) {
  const fresh = state();
  open(fresh, ...files);
  return fresh;
}

table("curves of what is opened", (...files: [string, string][]) => names(opened(...files)), [
  [["a.csv", wide("WT", "L12A")], ["WT", "L12A"]],
  [["a.csv", wide("WT")], ["b.csv", wide("WT")], ["WT (a.csv)", "WT (b.csv)"]],
  [["plate.csv", plate], ["layout.csv", layout], ["protein A", "protein B"]],
  [["layout.csv", layout], ["plate.csv", plate], ["protein A", "protein B"]],
  [["plate.csv", plate], ["wells.csv", layout.replace("urea (M)", "concentration (M)")], ["protein A", "protein B"]],
  [["a.csv", columns(0, "WT rep 1", "WT rep 2")], ["WT"]],
] as any);

test("a file that cannot be read changes nothing but the sentence, and waits", () => {
  const now = opened(["a.csv", wide("WT")]);
  open(now, ["doubt.csv", doubtful]);
  same([names(now), now.faults.length, sourcesOf(now).map(({ file }) => file.name)], [["WT"], 1, ["doubt.csv"]]);
  const [{ reading }] = sourcesOf(now);
  ok(isRefusal(reading) && reading.tables.length === 1 && reading.tables[0].columns.length === 3);
  read(now, sourcesOf(now).map((one) => ({ ...one, choices: { roles: [{ table: "/1", column: 1, role: "concentration" }] } })));
  same([names(now), now.faults, now.attempt], [["WT", "V38A"], [], null]);
});

test("of several files those that can be read are, and the others are told", () => {
  const now = opened(["a.csv", wide("WT")], ["bad.csv", "some words\nmore words\n"]);
  same([names(now), now.faults.length, now.attempt], [["WT"], 1, null]);
  same(sourcesOf(now).map(({ reading }) => isRefusal(reading)), [false, true]);
});

test("a layout joins the plate that waits, and replaces another layout", () => {
  const now = opened(["plate.csv", plate]);
  ok(now.faults[0].includes("this is a plate"));
  open(now, ["layout.csv", layout]);
  same(names(now), ["protein A", "protein B"]);
  open(now, ["layout2.csv", layout.replaceAll("protein", "mutant")]);
  same(names(now), ["mutant A", "mutant B"]);
});

test("a person's temperature goes before the file's, and the file's is said to be replaced", () => {
  const now = opened(["a.csv", `# Temp: 37 °C\n${wide("WT")}`]);
  same([now.entries[0].temperature, now.entries[0].temperatureAssumed], [37, false]);
  read(now, sourcesOf(now).map((one) => ({ ...one, choices: { temperature: 10 } })));
  same([now.entries[0].temperature, now.entries[0].temperatureAssumed], [10, false]);
  const [{ reading }] = sourcesOf(now);
  same((reading as any).remarks, ["the temperature of the file is replaced, as told"]);
  same(opened(["a.csv", wide("WT")]).entries[0].temperatureAssumed, true);
});

test("replicates go apart and together again", () => {
  const now = opened(["a.csv", wide("WT rep 1", "WT rep 2", "L12A")]);
  same(names(now).length, 3);  // they differ in offset: each alone
  const alike = opened(["a.csv", columns(0.01, "WT rep 1", "WT rep 2")]);
  same(names(alike), ["WT"]);
  alike.settings.replicates = "each";
  regroup(alike);
  same(names(alike), ["WT replicate 1", "WT replicate 2"]);
  alike.settings.replicates = "pooled";
  regroup(alike);
  same([names(alike), alike.chosen], [["WT"], alike.entries[0].key]);
});

const fits = [5, 3, NaN, 4].map((Cm, i) => entry({
  name: `c${10 - i}`, answer: Number.isNaN(Cm) ? null : answerOf({ Cm: [Cm, 0, 0], dG: [1500 * Cm, 0, 0], m: [1500, 0, 0], engine: Array(24).fill(-1) }), temperatureAssumed: i === 1,
}));
table("the list", (changes: object) => listed(state({ entries: fits, ...changes })).map(({ name }) => name), [
  [{}, ["c10", "c9", "c8", "c7"]],
  [{ descending: true }, ["c7", "c8", "c9", "c10"]],
  [{ sort: "name" }, ["c7", "c8", "c9", "c10"]],
  [{ sort: "Cm" }, ["c9", "c7", "c10", "c8"]],
  [{ sort: "Cm", descending: true }, ["c10", "c7", "c9", "c8"]],  // without a fit comes last, either way
  [{ sort: "m" }, ["c10", "c9", "c7", "c8"]],                     // equal ones as in the file
  [{ warned: "temperature_assumed" }, ["c9"]],
  [{ warned: "any" }, []],                                        // what was assumed is no warning of the fit
]);
