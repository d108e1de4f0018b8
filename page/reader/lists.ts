// Lists of any length: the language hands a spread list over as arguments, of which it takes some
// hundred thousand at most, and a table may have more rows.

/** Puts the items at the end of a list. */
export function append<T>(list: T[], items: Iterable<T>): void {
  for (const item of items) list.push(item);
}

/** Puts an item at the end of the list of a key. */
export function appendTo<K, T>(lists: Map<K, T[]>, key: K, item: T): void {
  const list = lists.get(key);
  if (list) list.push(item);
  else lists.set(key, [item]);
}

/** How many of each there are, in the order of their first. */
export function counted<T>(items: Iterable<T>): Map<T, number> {
  const counts = new Map<T, number>();
  for (const item of items) counts.set(item, (counts.get(item) ?? 0) + 1);
  return counts;
}

/** Least and greatest of numbers; Infinity and -Infinity of none. */
export function extent(values: Iterable<number>): [least: number, greatest: number] {
  let [least, greatest] = [Infinity, -Infinity];
  for (const value of values) {
    if (value < least) least = value;
    if (value > greatest) greatest = value;
  }
  return [least, greatest];
}
