// A table of cases under one name, by the test runner of node. Of its types the page has only these.
import { test } from "node:test";
import { deepStrictEqual, ok } from "node:assert";

export { test, ok };
export const same: (found: unknown, wanted: unknown, words?: string) => void = deepStrictEqual;

/** Every row: what a function gives to its arguments. */
export function table<F extends (...given: any[]) => unknown>(name: string, of: F, rows: [...Parameters<F>, ReturnType<F>][]) {
  test(name, () => {
    for (const row of rows) {
      const given = row.slice(0, -1);
      same(of(...given), row[row.length - 1], `${name} of ${JSON.stringify(given)}`);
    }
  });
}
