// What is opened becomes curves: files, pasted tables, layouts that join their plates.
import type { SourceFile } from "../reader/index";
import { Source, isRefusal } from "../reader/sources";
import { apart, together } from "./replicates";
import { Entry, Opened, State, entryOf } from "./state";

const LAYOUT_COLUMNS = /(^|[,;\t])\s*"?well"?\s*([,;\t]|$)/im;

/** True for a table that says which well holds what, rather than readings. */
function isLayout({ name, bytes }: SourceFile): boolean {
  if (/layout/i.test(name)) return true;
  const head = new TextDecoder().decode(bytes.subarray(0, 400));
  return LAYOUT_COLUMNS.test(head) && /concentration/i.test(head) && /sample/i.test(head);
}

/** What a person sees under "What was read": the last files that were tried. */
export const sourcesOf = ({ attempt, opened }: State): Opened[] => attempt ?? opened;

/** What is to be read: a layout goes with the other files, or with a plate that waits for one. */
export function sourcesFrom(state: State, files: SourceFile[]): Source[] {
  const layout = files.find(isLayout);
  if (files.length === 1 && layout) {
    const plates = sourcesOf(state).filter(({ reading, choices }) => isRefusal(reading) || choices.layout);
    if (plates.length) return plates.map(({ file, choices }) => ({ file, choices: { ...choices, layout } }));
  }
  const tables = files.length > 1 ? files.filter((file) => file !== layout) : files;
  return tables.map((file) => ({ file, choices: layout && files.length > 1 ? { layout } : {} }));
}

/** The curves of files that were read, in place of those that were open. Where none could be read, these stay. */
export function take(state: State, opened: Opened[]) {
  state.faults = opened.flatMap(({ reading }) => (isRefusal(reading) ? [reading.refused] : []));
  state.attempt = state.faults.length === opened.length ? opened : null;
  if (state.attempt) return;
  state.opened = opened;
  const entries = opened.flatMap(({ file, choices, reading }) => (isRefusal(reading) ? [] : reading.curves.map((curve) => entryOf({
    ...curve, temperature: choices.temperature ?? curve.temperature, temperatureAssumed: curve.temperatureAssumed && choices.temperature == null,
  }, file.name, curve.details.well ?? ""))));
  startWith(state, state.settings.replicates === "pooled" ? together(entries) : entries);
  state.message = opened.flatMap(({ file, reading }) => (isRefusal(reading) ? [] : [`${file.name}: ${reading.summary}.`])).join(" ");
}

/** The curves that are shown from now on, the first of them chosen. */
export function startWith(state: State, entries: Entry[]) {
  state.entries = entries;
  state.chosen = state.reference = entries[0]?.key ?? 0;
  state.set = null;
  state.shared = null;
  state.warned = "";
  if (entries.length === 1 || state.view !== "overlay") state.view = "curve";
}

/** Replicates together or apart, after a person said which. */
export function regroup(state: State) {
  startWith(state, state.settings.replicates === "pooled" ? together(state.entries) : apart(state.entries));
}
