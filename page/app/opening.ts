// Files, pasted tables and layouts become curves.
import { ReadError, Reading, SourceFile, readFiles } from "../reader/index";
import { apart, together } from "./replicates";
import { Entry, Opened, Source, State, entryOf } from "./state";

const LAYOUT_COLUMNS = /(^|[,;\t])\s*"?well"?\s*([,;\t]|$)/im;

/** True for a table that says which well holds what, rather than readings. */
function isLayout({ name, bytes }: SourceFile): boolean {
  if (/layout/i.test(name)) return true;
  const head = new TextDecoder().decode(bytes.subarray(0, 400));
  return LAYOUT_COLUMNS.test(head) && /concentration/i.test(head) && /sample/i.test(head);
}

/** What a person sees under "What was read": the last files that were tried. */
export const sourcesOf = ({ attempt, opened }: State): Opened[] => attempt ?? opened;

/** Reads files in place of what was open. A layout goes with the others, or with a plate that waits for it. */
export function openFiles(state: State, files: SourceFile[]) {
  const layout = files.find(isLayout);
  if (files.length === 1 && layout) {
    const plates = sourcesOf(state).filter(({ reading, choices }) => reading instanceof ReadError || choices.layout);
    if (plates.length) return readSources(state, plates.map(({ file, choices }) => ({ file, choices: { ...choices, layout } })));
  }
  const tables = files.length > 1 ? files.filter((file) => file !== layout) : files;
  readSources(state, tables.map((file) => ({ file, choices: layout && files.length > 1 ? { layout } : {} })));
}

/** Reads files with what a person said of each. */
export function readSources(state: State, sources: Source[]) {
  const opened = readAll(sources);
  const faults = opened.flatMap(({ reading }) => (reading instanceof ReadError ? [reading.message] : []));
  state.faults = faults;
  state.attempt = faults.length === opened.length ? opened : null;
  if (state.attempt) return;
  state.opened = opened;
  state.entries = opened.flatMap(({ file, choices, reading }) => (reading instanceof ReadError ? []
    : reading.curves.map((curve) => entryOf(
      { ...curve, temperature: choices.temperature ?? curve.temperature, temperatureAssumed: curve.temperatureAssumed && choices.temperature == null }, file.name, curve.details.well ?? ""))));
  if (state.settings.replicates === "pooled") state.entries = together(state.entries);
  startWith(state, state.entries);
  state.message = opened.flatMap(({ file, reading }) => (reading instanceof ReadError ? [] : [`${file.name}: ${reading.summary}.`])).join(" ");
}

/** Files are read together, so that equal names are told apart, unless a person said something of one. */
function readAll(sources: Source[]): Opened[] {
  const [{ choices }] = sources;
  const alike = sources.every((source) => JSON.stringify({ ...source.choices, layout: null }) === JSON.stringify({ ...choices, layout: null }) &&
    source.choices.layout === choices.layout);
  const readings = alike ? readFiles(sources.map(({ file }) => file), choices)
    : sources.flatMap((source) => readFiles([source.file], source.choices));
  return sources.map((source, i) => ({ ...source, reading: withoutKept(readings[i]) }));
}

/** On the page a person's temperature goes before the file's, so the note that it does not is dropped. */
function withoutKept(reading: Reading | ReadError): Reading | ReadError {
  if (reading instanceof ReadError) return reading;
  const kept = reading.notes.filter(({ code }) => code === "temperature_kept").map(({ sentence }) => sentence);
  return kept.length === 0 ? reading
    : { ...reading, remarks: reading.remarks.map((words) => (kept.includes(words) ? "the temperature of the file is replaced, as told" : words)) };
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
