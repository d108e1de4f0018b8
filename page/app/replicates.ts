// Replicates of one curve: fitted together as one, or each alone. Either form goes over into the other,
// with what a person left out.
import { LIMITS } from "./cautions";
import { Entry, entryKey, fitOf } from "./state";

// Columns of two files are often called alike and are different proteins.
const joins = ({ group, file, temperature, label, denaturant }: Entry) => JSON.stringify([group, file, temperature, label, denaturant]);

/**
 * Replicates as one entry a group, at the place of its first; readings ascend in concentration. Those that
 * differ in scale or offset, so that no one curve runs through them, stay as they are with a note.
 */
export function together(original: Entry[]): Entry[] {
  const entries = original.map(withoutNote);
  const groups = new Map<string, Entry[]>();
  for (const entry of entries)
    if (entry.group !== null) groups.set(joins(entry), [...(groups.get(joins(entry)) ?? []), entry]);
  const several = [...groups.values()].filter((all) => all.length > 1).map(([first]) => first.group);
  const taken = new Set(entries.filter((entry) => entry.group === null || groups.get(joins(entry))!.length === 1).map(({ name }) => name));
  return entries.flatMap((entry) => {
    const all = entry.group === null ? [entry] : groups.get(joins(entry))!;
    const { group } = entry;
    const ambiguous = !group || taken.has(group) || several.filter((other) => other === group).length > 1;
    if (all.length < 2) return [entry];
    const off = distance(all);
    if (off > LIMITS.replicates_apart) {
      const sentence = `replicates of '${group}' differ by ${(100 * off).toFixed(0)} % of the signal; each is fitted alone`;
      return [{ ...entry, notes: [...entry.notes, { code: DIFFER, sentence, curve: entry.name }] }];
    }
    return entry === all[0] ? [pooled(all, ambiguous ? nameOf(entry) : group)] : [];
  });
}

const DIFFER = "replicates_differ";
const withoutNote = (entry: Entry): Entry => ({ ...entry, notes: entry.notes.filter(({ code }) => code !== DIFFER) });
const GRID = 60;  // places at which replicates are compared
const WINDOW = GRID / 6;

/** How far a replicate lies from the mean of the others over a sixth of the curve, over the span of the signal. */
function distance(all: Entry[]): number {
  const curves = all.map(({ x, y }) => meansAt(x, y));
  if (curves.some((levels) => levels.length < 2)) return 0;
  const low = Math.max(...curves.map((levels) => levels[0].x)), high = Math.min(...curves.map((levels) => levels[levels.length - 1].x));
  const signals = all.flatMap(({ y }) => y.filter(Number.isFinite));
  const span = Math.max(...signals) - Math.min(...signals);
  if (!(high > low && span > 0)) return 0;
  const rows = curves.map((levels) => Array.from({ length: GRID }, (_, i) => between(levels, low + ((high - low) * i) / (GRID - 1))));
  const mean = (values: number[]) => values.reduce((sum, value) => sum + value, 0) / values.length;
  return Math.max(...rows.map((row) => {
    const off = row.map((value, i) => value - (rows.reduce((sum, other) => sum + other[i], 0) - value) / (rows.length - 1));
    return Math.max(...off.slice(WINDOW - 1).map((_, i) => Math.abs(mean(off.slice(i, i + WINDOW)))));
  })) / span;
}

type Level = { x: number; mean: number };

/** The distinct concentrations, ascending, and the mean signal at each. */
function meansAt(x: readonly number[], y: readonly number[]): Level[] {
  const levels = new Map<number, number[]>();
  x.forEach((at, i) => {
    if (Number.isFinite(at) && Number.isFinite(y[i])) levels.set(at, [...(levels.get(at) ?? []), y[i]]);
  });
  return [...levels].map(([at, values]) => ({ x: at, mean: spreadOf(values).mean })).sort((a, b) => a.x - b.x);
}

function between(levels: Level[], x: number): number {
  const next = Math.min(Math.max(levels.findIndex((level) => level.x >= x), 1), levels.length - 1);
  const [a, b] = [levels[next - 1], levels[next]];
  return a.mean + ((b.mean - a.mean) * Math.min(Math.max(x - a.x, 0), b.x - a.x)) / (b.x - a.x);
}

/** The name of the group, with the conditions that part it from others of that name. */
const nameOf = ({ group, name, label, temperature, temperatureAssumed }: Entry) =>
  [group || name, label !== null && `label ${label}`, !temperatureAssumed && `${temperature} °C`].filter(Boolean).join(" ");

const markOf = ({ replicate }: Entry, place: number) => String(replicate ?? place + 1);

function pooled(all: Entry[], name: string): Entry {
  const [first] = all;
  const x = all.flatMap((entry) => entry.x);
  const order = x.map((_, i) => i).sort((a, b) => x[a] - x[b] || a - b);
  const inOrder = <T>(values: T[]) => order.map((i) => values[i]);
  const wells = all.map(({ well }) => well.split(" "));
  const same = all.every(({ range }) => JSON.stringify(range) === JSON.stringify(first.range));
  return {
    ...first, key: entryKey(), name, replicate: null, x: inOrder(x), y: inOrder(all.flatMap(({ y }) => y)),
    file: [...new Set(all.map(({ file }) => file))].join(", "),
    well: all.every(({ x }, i) => wells[i].length === x.length) ? inOrder(wells.flat()).join(" ") : "",
    out: inOrder(all.flatMap(({ out }) => out)), range: same ? first.range : null,
    sd: all.every(({ sd }) => sd) ? inOrder(all.flatMap(({ sd }) => sd!)) : null,
    n: all.every(({ n }) => n) ? inOrder(all.flatMap(({ n }) => n!)) : null,
    part: inOrder(all.flatMap((entry, place) => entry.x.map(() => markOf(entry, place)))),
    notes: [...new Map(all.flatMap(({ notes }) => notes).map((note) => [note.sentence, note])).values()],
    answer: null, detail: null, fault: null,
  };
}

/** Every replicate as an entry of its own. */
export function apart(entries: Entry[]): Entry[] {
  return entries.flatMap((entry) => {
    const { part } = entry;
    if (!part) return [withoutNote(entry)];
    const wells = entry.well.split(" ");
    return [...new Set(part)].map((replicate): Entry => {
      const own = <T>(all: T[]) => all.filter((_, i) => part[i] === replicate);
      return {
        ...entry, key: entryKey(), name: `${entry.name} replicate ${replicate}`, replicate, part: null,
        well: wells.length === part.length ? own(wells).join(" ") : "", x: own(entry.x), y: own(entry.y), out: own(entry.out),
        sd: entry.sd && own(entry.sd), n: entry.n && own(entry.n), answer: null, detail: null, fault: null,
      };
    });
  });
}

export interface Spread {
  mean: number;
  sd: number;  // NaN of one value
}

export function spreadOf(values: number[]): Spread {
  const mean = values.reduce((sum, value) => sum + value, 0) / values.length;
  const squares = values.reduce((sum, value) => sum + (value - mean) ** 2, 0);
  return { mean, sd: Math.sqrt(squares / (values.length - 1)) };
}

/** The fitted replicates beside an entry that was fitted alone, itself among them, with as many states. */
export function siblings(entry: Entry, entries: Entry[]): Entry[] {
  const fit = fitOf(entry);
  if (entry.group === null || entry.part || !fit) return [];
  return entries.filter((other) => joins(other) === joins(entry) && fitOf(other)?.transitions === fit.transitions);
}

/** Concentrations with several readings that count: their mean and SD. */
export function levelsOf(x: readonly number[], y: readonly number[], out: (i: number) => boolean): (Spread & { x: number })[] {
  const levels = new Map<number, number[]>();
  x.forEach((at, i) => {
    if (Number.isFinite(y[i]) && !out(i)) levels.set(at, [...(levels.get(at) ?? []), y[i]]);
  });
  return [...levels].filter(([, values]) => values.length > 1).map(([at, values]) => ({ x: at, ...spreadOf(values) }));
}
