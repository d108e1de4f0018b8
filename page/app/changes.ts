// What a person's choice changes in the settings, and a word on a file in what is read of it.
import type { Role } from "../reader/index";
import type { Source } from "../reader/sources";
import { CAL_PER_UNIT } from "./numbers";
import { Settings, State, chosenEntry } from "./state";

/** A choice that the fits depend on. What is given from now on begins with what was fitted. */
export function applyChoice(state: State, name: string, value: string) {
  const { settings, unit } = state, number = Number(value), fit = chosenEntry(state)?.answer?.fit;
  switch (name) {
    case "states": settings.states = value === "auto" ? "auto" : (number as 2 | 3 | 4); break;
    case "native": case "denatured": {
      const kind = value as Settings["native"], at = name === "native" ? 0 : 2;
      if (kind === "given" && settings[name] !== "given" && fit)
        settings.baseline.splice(at, 2, ...fit.baseline.slice(at, at + 2).map((part) => Number(part.toPrecision(4))));
      settings[name] = kind;
      break;
    }
    case "m": {
      const own = fit?.m[0] ?? 0;
      settings.shareM = value === "shared";
      settings.heldM = value === "given" ? Number((own > 0 ? own : CAL_PER_UNIT.kcal).toPrecision(3)) : null;
      break;
    }
    case "heldM": if (number > 0) settings.heldM = number * CAL_PER_UNIT[unit]; break;
    case "replicates": settings.replicates = value as Settings["replicates"]; break;
    case "weights":
      settings.weights = value === "known" ? "sd" : (value as Settings["weights"]);
      settings.sdKnown = value === "known";
      break;
    case "residues": settings.residues = number >= 1 ? Math.round(number) : null; break;
    case "level": settings.level = number; break;
    case "method": settings.intervals.method = value as "profile" | "bootstrap"; break;
  }
}

/** The role of a column of a table, or what holds for the whole file. */
export type Word = { table: string; column: number; role: Role } | { name: string; value: string };

/** The sources with a word on the one at a place. */
export const withWord = (sources: Source[], place: number, word: Word): Source[] =>
  sources.map((source, i) => (i === place ? { ...source, choices: { ...source.choices, ...told(source, word) } } : source));

function told({ choices }: Source, word: Word): Partial<Source["choices"]> {
  if ("role" in word)
    return { roles: [...(choices.roles ?? []).filter(({ table, column }) => table !== word.table || column !== word.column), word] };
  const words = word.value.trim(), number = Number(words.replace(",", "."));
  if (word.name !== "temperature") return { [word.name]: words || null };
  return { temperature: words !== "" && Number.isFinite(number) ? number : null };
}
