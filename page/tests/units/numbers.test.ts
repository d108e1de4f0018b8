// Numbers as they are told: digits by their error, open ends, cells of tables.
import { entriesOf, unpacked } from "../../zip/read";
import { interval, probability, short, withError } from "../../app/numbers";
import { csv, workbook } from "../../figure/spreadsheet";
import { fileName } from "../../app/download";
import { ok, same, table, test } from "./check";

table("withError", withError, [
  [5.4512, 0.171, "5.45 ± 0.17"],
  [5.4512, 0.0171, "5.451 ± 0.017"],
  [5.45, 1.71, "5.5 ± 1.7"],
  [1234.5, 171, "1235 ± 171"],
  [-0.0312, 0.0044, "−0.0312 ± 0.0044"],
  [3.2, 0, "3.2"],             // held: no error
  [3.2, -1, "3.2"],            // none could be had
  [1.23456789, NaN, "1.2346"],
  [NaN, 0.1, "–"],
  [1e-9, 3e-10, "0.00000000100 ± 0.00000000030"],
]);

table("interval", interval, [
  [[5.071, 5.874], 0.17, "5.07 to 5.87"],
  [[2.418, Infinity], 2.6, "2.4 to open"],
  [[-Infinity, Infinity], 0.1, "open to open"],
  [[-1.5, 2.25], 0, "−1.500 to 2.250"],
]);

table("probability", probability, [[0.05, "0.0500"], [0.00001, "< 0.0001"], [-1, "–"], [1, "1.0000"]]);
table("short", (value: number) => short(value), [[0.123456, "0.1235"], [-12, "−12"], [NaN, "–"], [Infinity, "–"]]);

table("a row as text", (cell: string | number | null) => csv([[cell, "end"]]), [
  ["plain", "plain,end\r\n"],
  ["=1+2", "'=1+2,end\r\n"],
  ["+A1", "'+A1,end\r\n"],
  ["-1", "'-1,end\r\n"],
  ["@SUM(A1)", "'@SUM(A1),end\r\n"],
  ["\t=1", "'\t=1,end\r\n"],
  ["a,b", '"a,b",end\r\n'],
  ['say "no"', '"say ""no""",end\r\n'],
  ["two\nlines", '"two\nlines",end\r\n'],
  ["=a,\"b\"", '"\'=a,""b""",end\r\n'],
  [-1.5, "-1.5,end\r\n"],      // a number may be negative
  [NaN, ",end\r\n"],
  [-Infinity, ",end\r\n"],
  [null, ",end\r\n"],
  [0.1 + 0.2, "0.30000000000000004,end\r\n"],  // all its digits
]);

table("fileName", (name: string) => fileName(name, "svg"), [
  ["WT 2", "WT 2.svg"],
  ["../../etc/passwd", "_.._etc_passwd.svg"],
  ["a:b*c?", "a_b_c_.svg"],
  ["...", "curve.svg"],
  ["", "curve.svg"],
  ["Größe Δ", "Größe Δ.svg"],
  ["x".repeat(200), `${"x".repeat(80)}.svg`],
]);

const sheetOf = (rows: (string | number | null)[][]) => {
  const bytes = workbook([["one & only", rows]]);
  const entries = entriesOf(bytes);
  const text = (name: string) => new TextDecoder().decode(unpacked(bytes, entries.get(name)!));
  return { names: [...entries.keys()], book: text("xl/workbook.xml"), sheet: text("xl/worksheets/sheet1.xml") };
};

test("workbook: parts, escaped text, numbers as numbers, gaps left out", () => {
  const wide = Array.from({ length: 53 }, (_, i) => i);
  const { names, book, sheet } = sheetOf([wide, ["<b>&", "=1", null, NaN, Infinity, -2.5, "a\u0001b"]]);
  same(names.sort(), ["[Content_Types].xml", "_rels/.rels", "xl/_rels/workbook.xml.rels", "xl/workbook.xml", "xl/worksheets/sheet1.xml"]);
  ok(book.includes('name="one &amp; only"'));
  for (const [at, place] of [[0, "A1"], [25, "Z1"], [26, "AA1"], [51, "AZ1"], [52, "BA1"]])
    ok(sheet.includes(`<c r="${place}"><v>${at}</v></c>`), String(place));
  ok(sheet.includes('<c r="A2" t="inlineStr"><is><t xml:space="preserve">&lt;b&gt;&amp;</t></is></c>'));
  ok(sheet.includes('<t xml:space="preserve">=1</t>') && !sheet.includes("<f>"));
  ok(sheet.includes('<c r="F2"><v>-2.5</v></c>') && sheet.includes(">ab</t>"));
  for (const place of ["C2", "D2", "E2"]) ok(!sheet.includes(`r="${place}"`), place);
});

test("workbook: the same tables are the same bytes", () => {
  const rows = [["a", 1], ["b", null]];
  same(workbook([["x", rows]]), workbook([["x", rows]]));
});
