// The reader's parts by themselves: cells, units, encodings, formats of workbooks, plates. The dialects as a
// whole are held to the host's in test_reader.py.
import { Grid, shown, tidyName } from "../../reader/grid";
import { decode } from "../../reader/encoding";
import { kindOfFormat, textOfNumber } from "../../reader/cell_formats";
import { AmbiguousMark, Cell, cellOf, provenMarks, valueOf, valuesOf } from "../../reader/numbers";
import { factorToMolar, temperatureFrom, temperatureUnit } from "../../reader/quantities";
import { denaturantOf, headerOf, unitOf, unitText } from "../../reader/spellings";
import { readFile } from "../../reader/index";
import { runsLikeConcentration } from "../../reader/signals";
import { countsRows } from "../../reader/columns";
import { general } from "../../reader/text_rules";
import { ok, same, table, test } from "./check";

table("kinds of cells", (text: string) => cellOf(text).kind, [
  ["", "blank"],
  ["  \u00a0", "blank"],
  ["1.5", "number"],
  ["-.5", "number"],
  ["−0,5", "number"],
  ["1e-3", "number"],
  ["1.2D+02", "number"],
  ["1 234.5", "number"],
  ["0.5 M", "number"],
  ["12 %", "number"],
  ["NaN", "missing"],
  ["#N/A", "missing"],
  ["< 0.1", "missing"],
  ["***", "missing"],
  ["WT", "text"],
  ["A1", "text"],
]);

table("values of cells", (text: string, decimal: "." | ",") => valueOf(cellOf(text), decimal), [
  ["1.5", ".", 1.5],
  ["1,5", ".", 1.5],               // a comma alone that cannot part thousands
  ["1,012", ",", 1.012],
  ["1,012", ".", 1012],
  ["1.012,5", ".", 1012.5],
  ["1,012.5", ",", 1012.5],
  ["1'012.5", ".", 1012.5],
  ["−2", ".", -2],
  ["+3.25E2", ".", 325],
  ["1.5d-1", ".", 0.15],
  ["٣", ".", 3],                    // digits of other scripts
  [".5", ".", 0.5],
  ["0.1000000000000000055511151231257827", ".", 0.1],
]);

table("what a column of cells says", (...texts: string[]) => {
  const cells = texts.map((text) => cellOf(text));
  try {
    return valuesOf(cells, provenMarks(cells), null).values;
  } catch (doubt) {
    return doubt instanceof AmbiguousMark ? [doubt.text] : [String(doubt)];
  }
}, [
  ["1,012", "0,5", [1.012, 0.5]],  // one cell proves the mark of the others
  ["1.012", "0.5", [1.012, 0.5]],
  ["1,012", "2,024", ["1,012"]],   // nothing does: a person is asked
  ["1,012,345", "2,024", [1012345, 2024]],
  ["1", "", "x", [1, NaN, NaN]],
] as any);

const unit = (text: string) => {
  const found = unitOf(text);
  return found && unitText(found);
};
table("units", unit, [
  ["M", "M"],
  ["mol/L", "M"],
  ["mM", "mM"],
  ["µM", "µM"],
  ["μM", "µM"],
  ["g/L", "g/L"],
  ["banana", null],
  ["", null],
]);

table("molar", (text: string, denaturant: string | null) => {
  const factor = factorToMolar(unitOf(text), denaturant);
  return typeof factor === "string" ? "asks" : +factor.toPrecision(6);
}, [
  ["M", null, 1],
  ["mM", null, 0.001],
  ["µM", null, 1e-6],
  ["% of 8 M", null, 0.08],
  ["g/L", "urea", 0.01665],    // 60.06 g/mol
  ["g/L", null, "asks"],
]);

table("denaturants", denaturantOf, [
  ["urea", "urea"],
  ["Urea", "urea"],
  ["GdmCl", "GdmCl"],
  ["guanidine hydrochloride", "GdmCl"],
  ["GuHCl", "GdmCl"],
  ["Gdn-HCl", "GdmCl"],
  ["water", null],
  ["", null],
]);

table("roles by header", (text: string) => headerOf(text).role, [
  ["[urea] (M)", "x"],
  ["Denaturant", "x"],
  ["SD", "deviation"],
  ["well", "well"],
  ["Sample", "curve"],
  ["replicate", "replicate"],
  ["Temperature (K)", "temperature"],
  ["WT", null],
]);

table("temperatures", (text: string) => temperatureFrom(text), [
  ["25 °C", 25],
  ["298.15 K", 25],
  ["25.0 ± 0.1 °C", 25],
  ["77 F", 25],
  ["310", 36.85],              // above 200 only kelvin can be meant
  ["-5 °C", null],
  ["120", null],
  ["warm", null],
]);
table("temperatures under a header", (text: string, header: string) => temperatureFrom(text, temperatureUnit(header)), [
  ["298.15", "Temperature (K)", 25],
  ["37", "T_C", 37],
  ["98.6", "Temp (F)", 37],
]);

const bytes = (...values: number[]) => new Uint8Array(values);
const utf16 = (text: string, big: boolean) => bytes(...(big ? [0xfe, 0xff] : [0xff, 0xfe]), ...Array.from(text).flatMap((letter) => {
  const code = letter.charCodeAt(0);
  return big ? [code >> 8, code & 255] : [code & 255, code >> 8];
}));
table("encodings", (raw: Uint8Array) => decode("f.csv", raw), [
  [new TextEncoder().encode("Größe,1\n"), "Größe,1\n"],
  [bytes(0xef, 0xbb, 0xbf, 0x61), "a"],
  [utf16("a,ß\n", false), "a,ß\n"],
  [utf16("a,ß\n", true), "a,ß\n"],
  [bytes(0x54, 0x20, 0xb0, 0x43), "T °C"],  // a western page of codes
  // Letters whose first bytes are the least and the greatest of those in common use.
  [bytes(0xa4, 0xab, 0xb0, 0xa1, 0xcf, 0xc2), "か亜和"],
  [bytes(0xb0, 0xa1, 0xc8, 0xfe), "가힝"],
  [bytes(0xb0, 0xa1, 0xd7, 0xf9), "啊座"],
  [bytes(0xa6, 0xb3, 0xa6, 0xb3, 0xc6, 0x7e), "有有籲"],
]);

const kind = (format: string) => kindOfFormat(164, new Map([[164, format]]));
table("kinds of number formats", kind, [
  ["0.00", "plain"],
  ["0%", "percentage"],
  ["yyyy-mm-dd", "date"],
  ["[h]:mm", "duration"],
  ['0.0 "M"', "plain"],
  ["[Red]0.0;-0.0", "plain"],
]);
table("numbers of workbooks as text", textOfNumber, [
  [0.25, "percentage", 1900, "25 %"],
  [1.5, "plain", 1900, "1.5"],
  [45351.5, "date", 1900, "2024-02-29T12:00:00"],
  [45351 - 1462, "date", 1904, "2024-02-29T00:00:00"],
  [59, "date", 1900, "1900-02-28T00:00:00"],
  [61, "date", 1900, "1900-03-01T00:00:00"],  // 60 is a day that was not
  [1.1, "duration", 1900, "1 day, 2:24:00"],
]);

table("runs like concentrations", runsLikeConcentration, [
  [[0, 1, 2, 3], true],
  [[0, 1, 1, 2, 2, 3], true],
  [[0, 2, 1, 3], false],
  [[0, 1, 2], false],
  [[-1, 0, 1, 2], false],
  [[0, 10, 20, 40], false],  // nothing dissolves to that
  [[0, 0.1, 0.2, 0.3], false],
  [[0, NaN, 1, 2, 3], true],
]);
table("counts rows", countsRows, [[[1, 2, 3], true], [[0, 1, 2], true], [[2, 3, 4], false], [[1, 3], false], [[1], false]]);

table("numbers in sentences", (value: number) => general(value), [
  [25, "25"],
  [0.1 + 0.2, "0.3"],
  [1e-7, "1e-07"],
  [1234567, "1.23457e+06"],
  [100000, "100000"],
]);
table("texts of files in sentences", (text: string) => shown(text, 8), [
  ["a\nb\tc", "a b c"],
  ["x".repeat(9), `${"x".repeat(8)}…`],
  ["\u202eabc", "abc"],  // marks that turn the direction of text
  ["𝛥𝛥𝛥𝛥𝛥𝛥𝛥𝛥𝛥", "𝛥𝛥𝛥𝛥𝛥𝛥𝛥𝛥…"],
]);
table("tidyName", tidyName, [["  a   b ", "a b"], ["\ufeffx", "x"], ["a\u0007b", "ab"]]);

test("a fault names its place", () => {
  const grid = new Grid("f.xlsx", [["1", "2"]], ["row 7"], { sheet: "one", columnNames: ["column B", "column C"] });
  same(grid.fault("no.", 0, 1).message, "f.xlsx, sheet 'one', row 7, column C: no.");
  same(grid.fault("no.").message, "f.xlsx, sheet 'one': no.");
  same(grid.transposed([0]).rows, [["1"], ["2"]]);
});

const cells: Cell[] = ["1", "2"].map((text) => cellOf(text));
test("a cell that is met again is the same", () => ok(cellOf("1") === cells[0] || cellOf("1").text === cells[0].text));

test("every curve of a file carries what concerns it, and no other", () => {
  const text = `urea,WT,L12A\n${Array.from({ length: 9 }, (_, i) => `${i},${i === 4 ? "#N/A" : (i * 7) % 5},${(i * 3) % 7}`).join("\n")}`;
  const { curves } = readFile("f.csv", new TextEncoder().encode(text));
  same(curves.map(({ notes }) => notes.map(({ code }) => code)), [["unit_assumed", "blank"], ["unit_assumed"]]);
  same(curves.map(({ x }) => x.length), [8, 9]);
});
