// Several curves together: which take part, what is asked, and what is kept of the answer.
import type { Fits } from "../../app/fits";
import { compare, comparable, failed, labelled, trend } from "../../app/set_work";
import { answerOf, entry, state } from "./records";
import { same, table, test } from "./check";

const two = (name: string, label: string | number | null = null, changes = {}) => entry({ name, label, ...changes });
const entries = [
  two("other", 1, { answer: answerOf({ transitions: 2 }) }), two("WT", 2), two("open", 3, { answer: null }), two("text", "3"),
  two("zero", 0), two("bad", 4, { answer: answerOf({ status: 1 }) }), two("L12A", 5),
];
const names = (list: typeof entries) => list.map(({ name }) => name);
table("who takes part", (of: (now: ReturnType<typeof state>) => typeof entries) => names(of(state({ entries }))), [
  [comparable, ["WT", "text", "zero", "L12A"]],
  [labelled, ["other", "WT", "L12A"]],
]);

/** What a task of several curves is asked for, with an answer to it. */
function asking(answer: unknown): { fits: Fits; asked: any[] } {
  const asked: any[] = [];
  return { asked, fits: { run: async (...given: unknown[]) => (asked.push(given), answer) } as unknown as Fits };
}

test("the reference is the curve that was chosen, or the first that can be one", async () => {
  for (const [chosen, wanted] of [[1, 0], [3, 1], [6, 3], [0, 0], [2, 0]]) {
    const { fits, asked } = asking({ global: { status: 0 }, rows: [] });
    const found = await compare(state({ entries, reference: entries[chosen].key }, { level: 0.9 }), fits), [[task, words]] = asked;
    same([task.kind, task.reference, task.curves.length, task.curves[1].x, task.choices.level, words], ["compare", wanted, 4, entries[3].x, 0.9, "comparing 4 curves"]);
    same([found.keys, found.reference, found.fault], [[1, 3, 4, 6].map((i) => entries[i].key), entries[[1, 3, 4, 6][wanted]].key, null]);
  }
});

test("what cannot be compared says so and keeps nothing; a fault is told in its words", async () => {
  const found = await compare(state({ entries }), asking({ global: { status: 15 } }).fits);
  same([found.comparison, found.keys, found.fault], [null, [], "These curves cannot be compared: fewer than two have a two-state fit."]);
  same([failed(new Error("no memory")).fault, failed(new Error("x")).comparison], ["no memory", null]);
});

test("a trend takes the labels that are numbers, each with its fit", async () => {
  const answer = { line: [1, 2, 3, 4] }, { fits, asked } = asking(answer), found = await trend(state({ entries }), fits);
  same([asked[0][0].labels, asked[0][0].fits], [[1, 2, 5], [0, 1, 6].map((i) => entries[i].answer!.fit)]);
  same([found.trend, found.keys, found.comparison], [answer, [0, 1, 6].map((i) => entries[i].key), null]);
});
