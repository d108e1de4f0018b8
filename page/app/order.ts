// The curves in the order and of the choice that a person asked for.
import { cautionsOf } from "./cautions";
import { CAL_PER_UNIT } from "./numbers";
import { Entry, State, fitOf } from "./state";

/** A result by which wells are coloured and rows sorted. */
export function valueOf(entry: Entry, name: string, state: State): number | null {
  const fit = fitOf(entry), per = CAL_PER_UNIT[state.unit];
  if (!fit) return null;
  switch (name) {
    case "ΔG": return fit.dG[0] / per;
    case "m": return fit.m[0] / per;
    case "R²": return fit.r_squared;
    case "states": return fit.transitions + 1;
    default: return fit.Cm[0];
  }
}

/** The rows that were asked for, in the order that was asked for. */
export function listed(state: State): Entry[] {
  const { warned, sort, descending } = state;
  const rows = !warned ? [...state.entries] : state.entries.filter((entry) =>
    cautionsOf(entry, state).some(({ code, input }) => (warned === "any" ? !input : code === warned)));
  if (sort === "name") rows.sort((a, b) => a.name.localeCompare(b.name, "en", { numeric: true }));
  else if (sort !== "file") {
    // Curves without the value come last, whichever way the others run.
    const way = descending ? -1 : 1;
    const value = (entry: Entry) => valueOf(entry, sort, state) ?? way * Infinity;
    return rows.sort((a, b) => way * (value(a) - value(b)) || a.key - b.key);
  }
  return descending ? rows.reverse() : rows;
}
