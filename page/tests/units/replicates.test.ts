// Replicates together and apart, and back, with what was left out.
import { apart, levelsOf, siblings, spreadOf, together } from "../../app/replicates";
import type { Entry } from "../../app/state";
import { answerOf, entry } from "./records";
import { same, table, test } from "./check";

const x = [0, 2, 4, 6, 8];
function replicate(mark: string | number | null, y: number[], changes: Partial<Entry> = {}): Entry {
  return entry({ name: `WT rep ${mark}`, group: "WT", replicate: mark, x, y, out: x.map(() => false), answer: null, ...changes });
}
const rising = (by = 0) => [0, 0.1, 0.5, 0.9, 1].map((y) => y + by);
const names = (entries: Entry[]) => entries.map(({ name }) => name);

table("names of what is put together", (changes: Partial<Entry>[]) => names(together(changes.map((one, i) => replicate(i + 1, rising(), one)))), [
  [[{}, {}], ["WT"]],
  [[{}, { temperature: 37 }], ["WT rep 1", "WT rep 2"]],                     // of two conditions: none are replicates
  [[{}, { label: 5 }], ["WT rep 1", "WT rep 2"]],
  [[{}, { denaturant: "GdmCl" }], ["WT rep 1", "WT rep 2"]],
  [[{}, { group: "L12A" }, {}], ["WT", "WT rep 2"]],
  [[{}, {}, { temperature: 37 }, { temperature: 37 }], ["WT 25 °C", "WT 37 °C"]],
  [[{ label: 1 }, { label: 1 }, { label: 2 }, { label: 2 }], ["WT label 1 25 °C", "WT label 2 25 °C"]],
  [[{}, {}, { group: null, name: "WT" }], ["WT 25 °C", "WT"]],
  [[{ group: null }], ["WT rep 1"]],
]);

test("readings ascend, each with its replicate; what was left out stays so, there and back", () => {
  const first = replicate(1, rising(), { out: [false, true, false, false, false], well: "A1 A2 A3 A4 A5" });
  const second = replicate("b", rising(0.01), { well: "B1 B2 B3 B4 B5" });
  const [pooled] = together([first, second]);
  same(pooled.x, [0, 0, 2, 2, 4, 4, 6, 6, 8, 8]);
  same(pooled.part, Array(5).fill(["1", "b"]).flat());
  same(pooled.out, [false, false, true, false, false, false, false, false, false, false]);
  same(pooled.well, "A1 B1 A2 B2 A3 B3 A4 B4 A5 B5");
  const [one, two] = apart([pooled]);
  same([one.y, two.y], [first.y, second.y]);
  same([one.out, two.out], [first.out, second.out]);
  same([one.well, two.well], [first.well, second.well]);
  same(names([one, two]), ["WT replicate 1", "WT replicate b"]);
  same(together([one, two])[0].x, pooled.x);
});

test("deviations and counts stay where all have them, a range where it is the same", () => {
  const sd = x.map(() => 0.1);
  same(together([replicate(1, rising(), { sd }), replicate(2, rising())])[0].sd, null);
  same(together([replicate(1, rising(), { sd, n: x }), replicate(2, rising(), { sd, n: x })])[0].n!.length, 10);
  same(together([replicate(1, rising(), { range: [1, 7] }), replicate(2, rising(), { range: [1, 7] })])[0].range, [1, 7]);
  same(together([replicate(1, rising(), { range: [1, 7] }), replicate(2, rising())])[0].range, null);
});

test("replicates that differ in offset stay apart and say so, until they are asked for apart", () => {
  const entries = [replicate(1, rising()), replicate(2, rising(0.3))];
  const left = together(entries);
  same(names(left), names(entries));
  same(left.map(({ notes }) => notes.map(({ code }) => code)), [["replicates_differ"], ["replicates_differ"]]);
  same(left[0].notes[0].sentence, "replicates of 'WT' differ by 23 % of the signal; each is fitted alone");
  same(together(left)[0].notes.length, 1);
  same(apart(left).map(({ notes }) => notes), [[], []]);
});

table("spreadOf", spreadOf, [
  [[1, 2, 3], { mean: 2, sd: 1 }],
  [[4], { mean: 4, sd: NaN }],
]);

table("levelsOf", (y: number[], out: number[]) => levelsOf([0, 0, 2, 2, 2, 4], y, (i) => out.includes(i)), [
  [[1, 3, 2, 2, 2, 9], [], [{ x: 0, mean: 2, sd: Math.SQRT2 }, { x: 2, mean: 2, sd: 0 }]],
  [[1, 3, 2, NaN, 4, 9], [0], [{ x: 2, mean: 3, sd: Math.SQRT2 }]],
  [[1, NaN, 2, NaN, NaN, 9], [], []],
]);

test("siblings are fitted replicates with as many states", () => {
  const fitted = [1, 2, 3, 4].map((mark) => replicate(mark, rising(), { answer: answerOf(mark === 3 ? { transitions: 2 } : mark === 4 ? { status: 1 } : {}) }));
  same(names(siblings(fitted[0], fitted)), ["WT rep 1", "WT rep 2"]);
  same(siblings(fitted[3], fitted), []);
  same(siblings({ ...fitted[0], group: null }, fitted), []);
});
