// Files with what a person said of each, read in one go; what comes of it can be sent between threads.
import { Choices, ReadError, Reading, SourceFile, TableShown, readFiles } from "./index";

export interface Source {
  readonly file: SourceFile;
  readonly choices: Choices;
}

/** Why a file could not be read, and its tables as far as its columns could be told apart. */
export interface Refusal {
  readonly refused: string;
  readonly tables: TableShown[];
}

export const isRefusal = (reading: Reading | Refusal): reading is Refusal => "refused" in reading;

/** Files are read together, so that equal names are told apart, unless a person said something of one. */
export function readSources(sources: Source[]): (Reading | Refusal)[] {
  const [{ choices }] = sources;
  const told = ({ layout, ...others }: Choices) => JSON.stringify([layout?.name, layout?.bytes.length, others]);
  const alike = sources.every((source) => told(source.choices) === told(choices));
  const found = alike ? readFiles(sources.map(({ file }) => file), choices)
    : sources.flatMap((source) => readFiles([source.file], source.choices));
  return found.map((one) => (one instanceof ReadError ? { refused: one.message, tables: one.tables } : withoutKept(one)));
}

/** On the page a person's temperature goes before the file's, so the note that it does not is replaced. */
function withoutKept(reading: Reading): Reading {
  const kept = reading.notes.filter(({ code }) => code === "temperature_kept").map(({ sentence }) => sentence);
  return kept.length === 0 ? reading
    : { ...reading, remarks: reading.remarks.map((words) => (kept.includes(words) ? "the temperature of the file is replaced, as told" : words)) };
}
