// Sessions: saved and opened again, damaged, of other hosts.
import { SessionError, changedSince, restore, saved, unknownSettings } from "../../app/session";
import type { State } from "../../app/state";
import { answerOf, entry, state } from "./records";
import { ok, same, table, test } from "./check";

function opened(content: string): State {
  const fresh = state();
  restore(fresh, "s.json", content);
  return fresh;
}

test("what is saved comes back, gaps, deviations, marks and settings too", () => {
  const whole = entry({ name: '=<b>"', label: 5, replicate: 2, group: "WT", part: null, well: "A1 A2", range: [1, 7] });
  Object.assign(whole, { y: whole.y.map((y, i) => (i === 3 ? NaN : y)), sd: whole.y.map(() => 0.1), n: whole.y.map(() => 3) });
  whole.out[5] = true;
  const settings = { states: 3, native: "flat", denatured: "given", baseline: [1, 2, 3, 4], heldM: 1200, weights: "sem", level: 0.9, residues: 99,
    intervals: { method: "bootstrap", rounds: 500, seed: 7 } } as const;
  const before = state({ entries: [whole], unit: "kJ" }, settings as any);
  const after = opened(saved(before));
  same(after.settings, before.settings);
  same(after.unit, "kJ");
  const { key: _, answer: __, detail: ___, ...kept } = after.entries[0];
  const { key: _a, answer: _b, detail: _c, ...wanted } = whole;
  same(kept, wanted);
});

test("deviations that do not weigh are not saved as such, and come back all the same", () => {
  const whole = entry({ sd: entry().y.map(() => 0.1) });
  const text = saved(state({ entries: [whole] }, { weights: "none" }));
  same(JSON.parse(text).curves[0].sd, null);
  same(opened(text).entries[0].sd, whole.sd);
});

test("an assumed temperature stays a warning, and is said once", () => {
  const once = opened(saved(state({ entries: [entry({ temperatureAssumed: true })] })));
  const twice = opened(saved(once));
  for (const { entries } of [once, twice]) same(entries[0].notes.map(({ code }) => code), ["temperature_assumed"]);
});

const curve = { name: "a", x: [1, 2], y: [3, null], temperature: 25 };
const session = (curves: unknown, more = {}) => JSON.stringify({ format: "zolt session", formatVersion: 1, curves, ...more });
const faultOf = (content: string) => {
  try {
    opened(content);
    return "";
  } catch (fault) {
    ok(fault instanceof SessionError, String(fault));
    return (fault as Error).message;
  }
};

table("faults", faultOf, [
  [session([curve]), ""],
  ["{", "s.json: expected a saved session, found something else."],
  ["null", "s.json: this JSON is no saved session."],
  ["[]", "s.json: this JSON is no saved session."],
  ['{"format": "zolt session", "formatVersion": 2}', "s.json: the session is of another release; open it there."],
  [session([]), "s.json: the session holds no curves."],
  [session("abc"), "s.json: the session holds no curves."],
  [session([curve, null]), "s.json: curve 2 of the session is damaged."],
  [session([{ ...curve, y: [1] }]), "s.json: curve 1 of the session is damaged."],
  [session([{ ...curve, x: ["1", 2] }]), "s.json: curve 1 of the session is damaged."],
  [session([{ ...curve, sd: [1] }]), "s.json: curve 1 of the session is damaged."],
  [session([{ ...curve, temperature: "25" }]), "s.json: curve 1 of the session is damaged."],
]);

test("what is not understood of a session is as usual", () => {
  const strange = { states: 7, native: "curved", baseline: [1], heldM: "x", level: 3, weights: 1, residues: -2, intervals: { method: "guess", rounds: 1e9, seed: -1 } };
  same(opened(session([curve], { settings: strange, unit: "eV" })).settings, state().settings);
  const odd = opened(session([{ ...curve, out: [1], range: [0, null], part: ["1"], notes: "no", name: 5, label: {}, group: 7 }])).entries[0];
  same([odd.out, odd.range, odd.part, odd.notes, odd.name, odd.label, odd.group], [[false, false], null, null, [], "", null, null]);
});

table("what the page cannot do is named", (settings: object) => unknownSettings(session([curve], { settings })).length, [
  [{}, 0],
  [{ states: "picker" }, 1],
  [{ dropOutliers: true, midpoint: true }, 2],
  [{ heldDG: 5000, heldCm: null }, 1],
  [{ heldM: [1000, 2000] }, 1],
  [{ states: "auto", dropOutliers: false, midpoint: false, heldDG: null, heldM: 1200 }, 0],
]);

test("changed numbers are counted, rounding is not, and a fit that is gone or new is", () => {
  const one = (dG: number, key: number) => ({ ...entry({ answer: answerOf({ dG: [dG, 0, 0] }) }), key });
  const parameters = (dG: number) => [0, dG, 0, 0, 4, 0, 0, 1500, 0, 0];
  const before = new Map<number, number[] | null>([[1, parameters(6000)], [2, parameters(6000)], [3, parameters(6000)], [4, null], [5, parameters(6000)]]);
  const now = [one(6000, 1), one(6000.0000001, 2), one(6001, 3), one(6000, 4), { ...entry({ answer: null }), key: 5 }, one(1, 6)];
  same(changedSince(before, now), 3);
});
