// What the page shows of made curves, from the words of its views to the places in its pictures, line by
// line as in shown.txt. After a change that is meant, ZOLT_RECORD=1 with test_units.py writes it anew; the
// difference is what to look at.
import { readFileSync, writeFileSync } from "node:fs";
import { choicesView, exportsView, viewsView } from "../../app/choices_view";
import { listView } from "../../app/list_view";
import { mainPicture } from "../../app/pictures";
import { together } from "../../app/replicates";
import { reportView } from "../../app/report_view";
import { resultView } from "../../app/result_view";
import { saved } from "../../app/session";
import { setView } from "../../app/set_view";
import { comparable, compare, labelled, trend } from "../../app/set_work";
import { Entry, Settings, State, entryOf, newState, readingsOf } from "../../app/state";
import { sheetsOf } from "../../app/tables";
import type { Fits } from "../../app/fits";
import type { Detail, FitAnswer, SharedAnswer } from "../../engine/tasks";
import { run } from "../../engine/tasks";
import { Child, toText } from "../../figure/markup";
import { DARK, LIGHT } from "../../figure/palette";
import { Truth, newEngine, places, simulated } from "./simulated";
import { same, test } from "./check";

declare const process: { env: Record<string, string> };
const engine = newEngine(), two = { m: [1500], Cm: [4], noise: 0.006 };
const fits = { run: async (task: unknown) => run(engine, task as Parameters<typeof run>[1]) } as unknown as Fits;

function made(name: string, truth: Truth, changes: Partial<Entry> = {}): Entry {
  const given = { name, ...simulated(truth), n: null, temperatureAssumed: false, denaturant: "urea", unit: "M", label: null,
    replicate: null, group: null, notes: [] };
  return { ...entryOf({ ...given, ...changes } as Parameters<typeof entryOf>[0], "made.csv", ""), ...changes };
}

/** Entries with keys of their own, fitted, and looked at as the page does. */
function fitted(entries: Entry[], settings: Partial<Settings> = {}, changes: Partial<State> = {}): State {
  const state = { ...newState(), ...changes, settings: { ...newState().settings, ...settings } }, choices = state.settings;
  const answers = entries.map((entry) => run(engine, { kind: "fit", curve: readingsOf(entry, choices), all: entry.y, choices }) as FitAnswer);
  if (choices.shareM) {
    const curves = entries.map((entry, i) => ({ curve: readingsOf(entry, choices), all: entry.y, alone: answers[i] }));
    const { global, rows } = run(engine, { kind: "share", curves, choices }) as SharedAnswer;
    [state.shared] = [global];
    answers.splice(0, answers.length, ...rows);
  }
  state.entries = entries.map((entry, i) => ({ ...entry, key: i + 1, answer: answers[i], detail: run(engine,
    { kind: "detail", curve: readingsOf(entry, choices), choices, fit: answers[i].fit, intervals: answers[i].shared ?? null }) as Detail }));
  return { ...state, chosen: state.chosen || 1 };
}

/** Every eighth of what is many, and six digits of numbers. */
const some = <T>(many: T[], part = 8) => (many.length > 12 ? many.filter((_, i) => i % part === 0) : many);
const brief = (value: unknown) => (typeof value === "number" ? +value.toPrecision(6) : Array.isArray(value) ? some(value) : value);
const thinned = (text: string) => text.split(/(?<=>)(?=<[a-z])/).filter((part, i) => !part.startsWith("<circle") || i % 8 === 0)
  .map((part) => part.replace(/ d="([^"]*)"/, (_, steps: string) => ` d="${some(steps.split(/(?=[A-Z])/), 24).join("")}"`));

function shown(state: State, palette = LIGHT): string[] {
  const views: Child[] = [...choicesView(state), ...viewsView(state), ...exportsView(), listView(state), resultView(state),
    state.set && setView(state), ...reportView(state, "the page"), state.view !== "curve" && mainPicture(state, 620, palette, true)];
  return [
    ...views.flatMap((view) => (!view ? [] : typeof view === "string" ? [view] : thinned(toText(view)))),
    ...sheetsOf(state).flatMap(([name, rows]) => [[name], rows[0], ...some(rows.slice(1))].map((row) => row.map(brief).join(","))),
    ...JSON.stringify(JSON.parse(saved(state)), (_, value) => brief(value)).split(/(?<=\},)/),
  ];
}

async function all(): Promise<string[]> {
  const wells = ["A1", "A2 B2", "H12"].map((well, i) => made(`tube ${i}`, { m: [1500], Cm: [3 + i], noise: 0.004 }, { well, label: i + 1 }));
  const three = made("three", { m: [2500, 2600], Cm: [2.2, 5.4], weight: [0.45, 0.55], noise: 0.004 }, { well: "C3", label: 8 });
  const line = made("a line", { ...two, m: [1e-3] }), few = made("short", { ...two, x: [1, 2, 3] });
  const odd = made("odd <&>", two, { sd: places(33).map((x) => 0.005 + x / 900), temperatureAssumed: true, range: [0.5, 7.5], out: places(33).map((_, i) => i === 9) });
  const set = fitted([...wells, three], {}, { view: "set", reference: 2 });
  const alike = fitted(wells, {}, { view: "set", unit: "kJ" });
  same([comparable(set).length, labelled(set).length], [3, 4]);
  const replicates = ["1", "2", "3"].map((replicate) => made(`WT ${replicate}`, { ...two, Cm: [4 + 0.02 * +replicate] }, { group: "WT", replicate }));
  return [
    shown(fitted([odd, three, line, few])),
    shown(fitted([three, odd], { states: 3, level: 0.9 }, { unit: "kJ", quantity: "energy" }), DARK),
    shown(fitted([odd], { native: "flat", denatured: "given", baseline: [0, 0, 1, -0.02], residues: 110, weights: "none" }, { quantity: "fraction" })),
    shown(fitted([...wells, three], {}, { view: "plate", sort: "Cm", descending: true })),
    shown(fitted(together(replicates))),
    shown(fitted(wells, { shareM: true }, { view: "overlay", unit: "kJ", sort: "ΔG" })),
    shown({ ...set, set: await compare(set, fits) }),
    shown({ ...alike, set: await compare(alike, fits) }).filter((line) => line.includes("curves")),
    shown({ ...set, set: await trend({ ...set, entries: set.entries.slice(0, 3) }, fits) }),
  ].flat();
}

test("what is shown is what was recorded", async () => {
  const { ZOLT_SHOWN, ZOLT_RECORD } = process.env, lines = (await all()).flatMap((part) => part.split("\n"));
  if (ZOLT_RECORD) writeFileSync(ZOLT_SHOWN, lines.join("\n") + "\n");
  const recorded = readFileSync(ZOLT_SHOWN, "utf8").trimEnd().split("\n");
  lines.forEach((line, i) => same(line, recorded[i], `line ${i + 1}: ${line} instead of ${recorded[i]}`));
  same(lines.length, recorded.length);
});
