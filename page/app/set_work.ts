// Several curves together: compared with one of them, or along a label.
import type { Fits } from "./fits";
import { Entry, SetResult, State, fitOf, readingsOf } from "./state";

const NOTHING = { keys: [], reference: 0, comparison: null, trend: null, fault: null };

/** Curves that can be compared: those with a two-state fit, as the comparison is of two states. */
export const comparable = ({ entries }: State): Entry[] => entries.filter((entry) => fitOf(entry)?.transitions === 1);

export const labelled = ({ entries }: State): Entry[] =>
  entries.filter((entry) => fitOf(entry) && typeof entry.label === "number" && entry.label > 0);

export async function compare(state: State, fits: Fits): Promise<SetResult> {
  const entries = comparable(state);
  const reference = Math.max(entries.findIndex(({ key }) => key === state.reference), 0);
  const comparison = await fits.run<NonNullable<SetResult["comparison"]>>({
    kind: "compare", curves: entries.map((entry) => readingsOf(entry, state.settings)), choices: state.settings, reference,
  }, `comparing ${entries.length} curves`);
  if (comparison.global.status !== 0) return { ...NOTHING, fault: "These curves cannot be compared: fewer than two have a two-state fit." };
  return { ...NOTHING, keys: entries.map(({ key }) => key), reference: entries[reference].key, comparison };
}

export async function trend(state: State, fits: Fits): Promise<SetResult> {
  const entries = labelled(state);
  const found = await fits.run<NonNullable<SetResult["trend"]>>({
    kind: "trend", labels: entries.map(({ label }) => label as number), fits: entries.map((entry) => fitOf(entry)!),
  }, "looking for a trend");
  return { ...NOTHING, keys: entries.map(({ key }) => key), trend: found };
}

export const failed = (fault: unknown): SetResult => ({ ...NOTHING, fault: (fault as Error).message });
