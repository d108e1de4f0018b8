// The reader's parts by themselves: cells, units, encodings, formats of workbooks, plates. The dialects as a
// whole are held to the host's in test_reader.py, what single spellings mean by the table of both.
import { Grid, shown, tidyName } from "../../reader/grid";
import { decode } from "../../reader/encoding";
import { kindOfFormat, textOfNumber } from "../../reader/cell_formats";
import { chosenOf, mentionsIn } from "../../reader/mentions";
import { AmbiguousMark, Cell, Mark, cellOf, provenMarks, valuesOf } from "../../reader/numbers";
import { factorToMolar, temperatureFrom, temperatureUnit, temperaturesInName } from "../../reader/quantities";
import { Header, denaturantOf, headerOf, unitOf, unitText } from "../../reader/spellings";
import { readFile } from "../../reader/index";
import { runsLikeConcentration } from "../../reader/signals";
import { countsRows } from "../../reader/columns";
import { general, roundedTo } from "../../reader/text_rules";
import spellings from "../../../tests/spellings.json";
import { ok, same, table, test } from "./check";

/** Numbers of a column, or the text of which nothing tells the mark; marks may be proven elsewhere. */
function column(texts: string[], elsewhere: string, told: Mark | null): number[] | string {
  const cells = texts.map((text) => cellOf(text));
  try {
    return valuesOf(cells, new Set([...provenMarks(cells), ...(elsewhere as Iterable<Mark>)]), told).values;
  } catch (doubt) {
    if (!(doubt instanceof AmbiguousMark)) throw doubt;
    return doubt.text;
  }
}

const header = ({ role, unit, denaturant }: Header) => [role, ...(role === "x" ? [unit && unitText(unit), denaturant] : [null, null])];
const inName = ({ found }: { found: number[] }) => (found.length === 1 ? found[0] : null);
const ASKED: Record<string, (...given: any[]) => unknown> = {
  headers: (text) => header(headerOf(text)),
  cells: (text) => [cellOf(text).kind, cellOf(text).mark],
  columns: column,
  temperatures: (text, unit) => temperatureFrom(text, unit ? temperatureUnit(`T (${unit})`) : null),
  temperatures_in_names: (name) => inName(temperaturesInName(name)),
  temperatures_in_texts: (text) => chosenOf(mentionsIn(text)),
  units: (text, denaturant) => factorToMolar(unitOf(text), denaturant),
};
const rounded = (value: unknown) => (typeof value === "number" ? +value.toPrecision(11) : value);
for (const [what, rows] of Object.entries(spellings))
  table(what, (...given) => rounded(ASKED[what](...given)), rows.map((row) => [...row.slice(0, -1), rounded(row[row.length - 1])]) as any);

table("denaturants", denaturantOf, [
  ["guanidine hydrochloride", "GdmCl"],
  ["Gdn-HCl", "GdmCl"],
  ["water", null],
  ["", null],
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
test("formats that every workbook knows by number", () => {
  const found = Array.from({ length: 50 }, (_, number) => kindOfFormat(number, new Map([[14, "0.0"]])));  // their numbers are no workbook's own
  const wanted = found.map((_, i) => (i === 9 || i === 10 ? "percentage" : i === 46 ? "duration" : (i >= 14 && i <= 22) || i === 45 || i === 47 ? "date" : "plain"));
  same(found, wanted);
});
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
  [[0, 0.1, 0.3, 0.5], true],
  [[0, 5, 10, 15], true],
]);
table("counts rows", countsRows, [[[1, 2, 3], true], [[0, 1, 2], true], [[2, 3, 4], false], [[1, 3], false], [[1], false]]);

table("numbers in sentences", (value: number) => general(value), [
  [25, "25"],
  [0.1 + 0.2, "0.3"],
  [1e-7, "1e-07"],
  [1234567, "1.23457e+06"],
  [100000, "100000"],
]);
table("rounded as the host rounds", roundedTo, [
  [0.5, 0, 0], [1.5, 0, 2], [2.5, 0, 2], [0.25, 1, 0.2], [0.35, 1, 0.3],
  [0.05, 1, 0.1],  // as a double a little above the half
  [0.06, 1, 0.1], [-0.06, 1, -0.1], [0.004, 1, 0], [0.5000001, 0, 1],
  [123.456, 2, 123.46], [99.995, 2, 100], [-2.675, 2, -2.67],
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
