// Replicates of one curve: fitted together as one, or each alone. Either form goes over into the other,
// with what a person left out.
import { Entry, entryKey, fitOf } from "./state";

const joins = ({ group, temperature, label, denaturant }: Entry) => JSON.stringify([group, temperature, label, denaturant]);

/** Replicates as one entry a group, at the place of its first; readings ascend in concentration. */
export function together(entries: Entry[]): Entry[] {
  const groups = new Map<string, Entry[]>();
  for (const entry of entries)
    if (entry.group !== null) groups.set(joins(entry), [...(groups.get(joins(entry)) ?? []), entry]);
  const several = [...groups.values()].filter((all) => all.length > 1).map(([first]) => first.group);
  const taken = new Set(entries.filter((entry) => entry.group === null || groups.get(joins(entry))!.length === 1).map(({ name }) => name));
  return entries.flatMap((entry) => {
    const all = entry.group === null ? [entry] : groups.get(joins(entry))!;
    const { group } = entry;
    const ambiguous = !group || taken.has(group) || several.filter((other) => other === group).length > 1;
    return all.length < 2 ? [entry] : entry === all[0] ? [pooled(all, ambiguous ? entry.name : group)] : [];
  });
}

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
    if (!part) return [entry];
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
