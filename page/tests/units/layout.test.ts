// Records in the module's memory: written and read back, each field where the compiler put it.
import { Layout, readRecord, writeRecord } from "../../engine/layout";
import * as records from "../../generated/records";
import { ok, same, test } from "./check";
import { fitOfTwo } from "./records";

interface Inner {
  a: number;
  b: number[];
}
interface Outer {
  count: number;
  rows: Inner[];
  table: number[][];
}
const inner: Layout<Inner> = { size: 24, fields: { a: { offset: 0, of: "i32", shape: [] }, b: { offset: 8, of: "f64", shape: [2] } } };
const outer: Layout<Outer> = {
  size: 104,
  fields: {
    count: { offset: 0, of: "i32", shape: [] }, rows: { offset: 8, of: inner, shape: [2] }, table: { offset: 56, of: "f64", shape: [3, 2] },
  },
};

test("records within records and tables of numbers come back as they were", () => {
  const value = { count: -3, rows: [{ a: 1, b: [0.1, NaN] }, { a: 2, b: [Infinity, -0] }], table: [[1, 2], [3, 4], [5, 6]] };
  const view = new DataView(new ArrayBuffer(128));
  writeRecord(view, 16, outer, value);
  same(readRecord(view, 16, outer), value);
  same([view.getInt32(16, true), view.getFloat64(16 + 8 + 24 + 8, true), view.getFloat64(16 + 56 + 3 * 8, true)], [-3, Infinity, 4]);
  same([view.getFloat64(0, true), view.getFloat64(120, true)], [0, 0]);  // nothing beside it
});

const LAYOUTS: [string, Layout<any>][] = Object.entries(records).filter(([name]) => name.endsWith("Layout")) as any;

test("fields of the layouts do not overlap, and gaps are those of alignment", () => {
  ok(LAYOUTS.length >= 8, "all records");
  for (const [name, { size, fields }] of LAYOUTS) {
    const places = (Object.values(fields) as any[]).map(({ offset, of, shape }) => {
      const one = typeof of === "object" ? of.size : of === "f64" ? 8 : 4;
      return [offset, offset + shape.reduce((product: number, n: number) => product * n, one)];
    }).sort((a, b) => a[0] - b[0]);
    [...places, [size, size]].forEach(([from], i) => {
      const end = i ? places[i - 1][1] : 0;
      ok(from >= end && from - end < 8, `${name}: field ${i} at ${from} after ${end}`);
    });
  }
});

test("a fit comes back", () => {
  const view = new DataView(new ArrayBuffer(records.FitLayout.size));
  const fit = { ...fitOfTwo(), covariance: Array(144).fill(0.5), covariance_hc3: Array(144).fill(-1) };
  for (const name of ["baseline_hc3", "dG_hc3", "Cm_hc3", "m_hc3", "weight_hc3"] as const) fit[name] = Array(name === "baseline_hc3" ? 4 : 3).fill(2);
  writeRecord(view, 0, records.FitLayout, fit);
  same(readRecord(view, 0, records.FitLayout), fit);
});
