// Files, pasted tables and saved sessions become curves.
import { ReadError, SourceFile, readFiles } from "../reader/index";
import { Opened, State, entryOf } from "./state";

const LAYOUT_COLUMNS = /(^|[,;\t])\s*"?well"?\s*([,;\t]|$)/im;

/** True for a table that says which well holds what, rather than readings. */
function isLayout({ name, bytes }: SourceFile): boolean {
  if (/layout/i.test(name)) return true;
  const head = new TextDecoder().decode(bytes.subarray(0, 400));
  return LAYOUT_COLUMNS.test(head) && /concentration/i.test(head) && /sample/i.test(head);
}

/** Reads files in place of what was open. A layout among them goes with all the others. */
export function openFiles(state: State, files: SourceFile[]) {
  const layout = files.length > 1 ? files.find(isLayout) ?? null : null;
  const tables = files.filter((file) => file !== layout);
  take(state, tables.map((file) => ({ file, choices: layout ? { layout } : {} })));
}

/** Reads what is open once more, after a person said more of it. */
export function readAgain(state: State, opened: Pick<Opened, "file" | "choices">[]) {
  take(state, opened);
}

function take(state: State, sources: Pick<Opened, "file" | "choices">[]) {
  const faults: string[] = [], opened: Opened[] = [];
  // Files are read together, so that equal names are told apart; choices are of the one file.
  const together = sources.length > 1 && sources.every(({ choices }) => !choices.roles);
  const readings = together
    ? readFiles(sources.map(({ file }) => file), sources[0].choices)
    : sources.flatMap(({ file, choices }) => readFiles([file], choices));
  readings.forEach((reading, i) => {
    if (reading instanceof ReadError) faults.push(reading.message);
    else opened.push({ ...sources[i], reading });
  });
  state.faults = faults;
  if (!opened.length) return;  // what was open stays
  state.opened = opened;
  state.entries = opened.flatMap(({ file, reading }) =>
    reading.curves.map((curve) => entryOf(curve, file.name, curve.details.well ?? "")));
  state.chosen = state.entries[0]?.key ?? 0;
  state.reference = state.chosen;
  state.set = null;
  state.message = opened.map(({ file, reading }) => `${file.name}: ${reading.summary}.`).join(" ");
  if (state.entries.length === 1 || state.view === "set" || state.view === "plate") state.view = "curve";
}
