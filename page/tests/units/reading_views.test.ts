// What is shown of files: columns with their roles, what was read, and what to do where something was not.
import { faultsView } from "../../app/faults_view";
import { sourcesFrom, take } from "../../app/opening";
import { tablesView } from "../../app/tables_view";
import type { State } from "../../app/state";
import { Source, readSources } from "../../reader/sources";
import { h } from "../../figure/markup";
import { withTag, wordsOf } from "./drawn";
import { state } from "./records";
import { ok, same, table, test } from "./check";

/** A page on which files were opened, with what a person said of each. */
function opened(files: [name: string, text: string][], choices: Source["choices"] = {}, now: State = state()): State {
  const sources = sourcesFrom(now, files.map(([name, text]) => ({ name, bytes: new TextEncoder().encode(text) })))
    .map(({ file, choices: own }) => ({ file, choices: { ...own, ...choices } }));
  const readings = readSources(sources);
  take(now, sources.map((source, i) => ({ ...source, reading: readings[i] })));
  return now;
}
const rows = (count: number, cells: (i: number) => unknown[]) => Array.from({ length: count }, (_, i) => cells(i).join(",")).join("\n");
const signal = (i: number) => +((i % 2 ? 1 : 1.1) / (1 + Math.exp(6 - i))).toFixed(4);
const plain = `# Temp: 37 °C\nurea (M),WT,SD,remark\n${rows(14, (i) => [i / 2, signal(i), 0.1, "x"])}`;
const doubtful = `,WT,V38A\n${rows(10, (i) => [i, signal(i), 2 * signal(i)])}`;
const plate = `,1,2,3,4,5,6,7,8\n${["A", "B"].map((row, k) => [row, ...Array.from({ length: 8 }, (_, i) => i + k)].join(",")).join("\n")}`;

const shown = (now: State) => {
  const view = tablesView(now), selects = withTag(view, "select"), inputs = withTag(view, "input");
  return {
    captions: withTag(view, "caption").map(wordsOf), names: withTag(view, "th").map(wordsOf), rows: withTag(view, "tr").length,
    roles: selects.map((one) => withTag(one, "option").filter(({ attributes }) => attributes.selected).map(wordsOf).join()),
    places: selects.map(({ attributes }) => [attributes["data-place"], attributes["data-table"], attributes["data-role"]].join(" ")),
    ids: [...selects, ...inputs].map(({ attributes }) => attributes.id),
    fields: Object.fromEntries(inputs.map(({ attributes }) => [String(attributes.id), [attributes.placeholder, attributes.value]])),
    words: withTag(view, "p").map(wordsOf), remarks: withTag(view, "li").map(wordsOf),
  };
};

test("each column with its role and its first cells, and what holds for the file", () => {
  const now = opened([["a.csv", plain]]), { captions, names, roles, places, rows, fields, words, remarks } = shown(now);
  same([captions, names, rows], [["Table, the first 12 of 14 rows"], ["urea (M)", "WT", "SD", "remark"], 1 + 1 + 12]);
  same(roles, ["concentration", "signal", "standard deviation", "ignore"]);
  same(places, ["0 /1 1", "0 /1 2", "0 /1 3", "0 /1 4"]);
  same(fields, { "temperature-0": ["37", ""], "denaturant-0": ["urea", ""], "unit-0": ["M", ""], "decimal-0": ["", ""] });
  same([words.length, words[0].startsWith("read 14 readings of 1 curve")], [1, true]);
  same(remarks, ["column 'remark' left out: it holds words", "column 'SD' kept as standard deviation of 'WT'"]);
  const cells = withTag(tablesView(now), "td").map(wordsOf);
  same(cells.slice(4, 12), ["0", String(signal(0)), "0.1", "x", "0.5", String(signal(1)), "0.1", "x"]);
});

test("what a person said stands in the fields, and several files have fields of their own", () => {
  const now = opened([["a.csv", plain], ["b.xlsx.csv", plain.replace("# Temp: 37 °C\n", "")]], { temperature: 10, unit: "M" });
  const { fields, ids, places, remarks } = shown(now);
  same([fields["temperature-1"], fields["unit-0"]], [["10", "10"], ["M", "M"]]);
  same([new Set(ids).size, ids.length, places[4]], [16, 16, "1 /1 1"]);
  same([remarks.includes("the temperature of the file is replaced, as told"), remarks.length], [true, 8]);
  same(shown(opened([["a.csv", plain.replace("urea (M)", "denaturant")]])).fields["denaturant-0"], ["not stated", ""]);
});

test("of very many columns the first are shown", () => {
  const names = Array.from({ length: 70 }, (_, i) => `c${i}`);
  const { captions, roles } = shown(opened([["wide.csv", `urea (M),${names.join()}\n${rows(9, (i) => [i, ...names.map((_, k) => signal(i) + k)])}`]]));
  same([captions, roles.length], [["Table, 60 of 71 columns"], 60]);
});

const told = (now: State) => {
  const view = h("div", {}, ...faultsView(now));
  return [withTag(view, "p").length, withTag(view, "p").some((one) => wordsOf(one).includes("drop the layout")), withTag(view, "button").map(({ attributes }) => attributes["data-act"])];
};
table("what can be done where a file is not read", (...files: [string, string][]) => told(opened(files)), [
  [["a.csv", plain], [0, false, []]],
  [["doubt.csv", doubtful], [1, false, ["columns"]]],
  [["plate.csv", plate], [2, true, ["columns"]]],
  [["a.csv", plain], ["doubt.csv", doubtful], [1, false, ["columns"]]],  // the other one is open
  [["words.csv", "some words\nmore words\n"], [1, false, []]],
] as any);

test("a file in doubt shows its columns, and nothing is said twice when it was told", () => {
  const now = opened([["a.csv", plain]]);
  opened([["doubt.csv", doubtful]], {}, now);
  const { captions, words, fields } = shown(now);
  ok(words[0].includes("counts rows") && words[1].startsWith("Say below what each column is"), words.join());
  same([captions.length, fields["temperature-0"]], [1, ["", ""]]);
  now.faults = [];
  same(told(now), [0, false, []]);
  same(shown(opened([["words.csv", "some words\nmore words\n"]])).words.length, 1);
});
