// What a choice changes, and a word on a file.
import { applyChoice, withWord } from "../../app/changes";
import type { Settings } from "../../app/state";
import type { Source } from "../../reader/sources";
import { answerOf, entry, state } from "./records";
import { same, table } from "./check";

/** The settings that differ from the usual ones after choices, one after the other, with a fit of m 1512.7 at hand. */
function changed(...choices: [string, string][]): Partial<Settings> {
  const one = entry({ answer: answerOf({ m: [1512.7, 0, 0], baseline: [0.123456, 0.01, 1, -0.02] }) });
  const now = state({ entries: [one], chosen: one.key, unit: "kJ" }), usual = state().settings;
  for (const [name, value] of choices) applyChoice(now, name, value);
  return Object.fromEntries(Object.entries(now.settings).filter(([name, value]) => JSON.stringify(value) !== JSON.stringify((usual as any)[name])));
}

table("choices", changed, [
  [["states", "3"], { states: 3 }],
  [["states", "3"], ["states", "auto"], {}],
  [["m", "given"], { heldM: 1510 }],                     // begins with the fitted one
  [["m", "given"], ["heldM", "4.184"], { heldM: 1000 }],  // in kJ
  [["m", "given"], ["heldM", "-1"], { heldM: 1510 }],     // no curve can have that
  [["m", "given"], ["heldM", ""], { heldM: 1510 }],
  [["m", "given"], ["m", "shared"], { shareM: true }],
  [["m", "shared"], ["m", "free"], {}],
  [["native", "given"], { native: "given", baseline: [0.1235, 0.01, 0, 0] }],
  [["denatured", "given"], { denatured: "given", baseline: [0, 0, 1, -0.02] }],
  [["native", "flat"], ["native", "line"], {}],
  [["weights", "known"], { sdKnown: true }],
  [["weights", "known"], ["weights", "none"], { weights: "none" }],
  [["weights", "sem"], { weights: "sem" }],
  [["residues", "107.4"], { residues: 107 }],
  [["residues", "1"], { residues: 1 }],
  [["residues", "0"], {}],
  [["residues", "many"], {}],
  [["method", "bootstrap"], { intervals: { method: "bootstrap", rounds: 1000, seed: 0 } }],
  [["level", "0.9"], { level: 0.9 }],
] as any);

const source: Source = { file: { name: "a", bytes: new Uint8Array() }, choices: { temperature: 20, roles: [{ table: "/1", column: 2, role: "sd" }] } };
table("words on a file", (word: any) => withWord([source, source], 1, word).map(({ choices }) => choices), [
  [{ name: "temperature", value: " 37,5 " }, [source.choices, { ...source.choices, temperature: 37.5 }]],
  [{ name: "temperature", value: "" }, [source.choices, { ...source.choices, temperature: null }]],
  [{ name: "temperature", value: "warm" }, [source.choices, { ...source.choices, temperature: null }]],
  [{ name: "unit", value: "mM" }, [source.choices, { ...source.choices, unit: "mM" }]],
  [{ name: "unit", value: " " }, [source.choices, { ...source.choices, unit: null }]],
  [{ table: "/1", column: 2, role: "n" }, [source.choices, { ...source.choices, roles: [{ table: "/1", column: 2, role: "n" }] }]],
  [{ table: "/1", column: 3, role: "ignore" }, [source.choices, { ...source.choices, roles: [...source.choices.roles!, { table: "/1", column: 3, role: "ignore" }] }]],
]);
same(source.choices.temperature, 20);  // what was told before is not written over
