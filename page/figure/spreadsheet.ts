// Tables as text of a spreadsheet and as a workbook. What comes from a file is text there, never a formula.
import { escaped } from "./markup";
import { zipOf } from "../zip/write";

export type Cell = string | number | null;
export type Rows = Cell[][];
export type Sheet = [name: string, rows: Rows];

/** A cell as text: a spreadsheet must not take a name from a file for a formula. */
function cellText(cell: Cell): string {
  if (cell === null) return "";
  if (typeof cell === "number") return Number.isFinite(cell) ? String(cell) : "";
  const tame = /^[=+\-@\t\r]/.test(cell) ? `'${cell}` : cell;
  return /[",\n\r]/.test(tame) ? `"${tame.replace(/"/g, '""')}"` : tame;
}

export const csv = (rows: Rows) => rows.map((row) => row.map(cellText).join(",") + "\r\n").join("");

const HEAD = '<?xml version="1.0" encoding="UTF-8" standalone="yes"?>\n';
const MAIN = "http://schemas.openxmlformats.org/spreadsheetml/2006/main";
const OFFICE = "http://schemas.openxmlformats.org/officeDocument/2006/relationships";
const PACKAGE = "http://schemas.openxmlformats.org/package/2006";
const LONGEST_CELL = 32767;  // letters, as spreadsheets take them

function columnName(i: number): string {
  return (i >= 26 ? columnName(Math.floor(i / 26) - 1) : "") + String.fromCharCode(65 + (i % 26));
}

function sheetCell(cell: Cell, at: string): string {
  if (cell === null || (typeof cell === "number" && !Number.isFinite(cell))) return "";
  if (typeof cell === "number") return `<c r="${at}"><v>${cell}</v></c>`;
  // A text in place can be no formula, whatever it begins with.
  return `<c r="${at}" t="inlineStr"><is><t xml:space="preserve">${escaped(cell.slice(0, LONGEST_CELL))}</t></is></c>`;
}

const sheetXml = (rows: Rows) => `${HEAD}<worksheet xmlns="${MAIN}"><sheetViews><sheetView workbookViewId="0"><pane ySplit="1" topLeftCell="A2" state="frozen"/></sheetView></sheetViews><sheetData>${
  rows.map((row, r) => `<row r="${r + 1}">${row.map((cell, c) => sheetCell(cell, `${columnName(c)}${r + 1}`)).join("")}</row>`).join("")}</sheetData></worksheet>`;

/** The bytes of a workbook with the sheets in their order. */
export function workbook(sheets: Sheet[]): Uint8Array {
  const each = (text: (name: string, n: number) => string) => sheets.map(([name], i) => text(name, i + 1)).join("");
  const parts: Record<string, string> = {
    "[Content_Types].xml": `<Types xmlns="${PACKAGE}/content-types"><Default Extension="rels" ContentType="application/vnd.openxmlformats-package.relationships+xml"/><Default Extension="xml" ContentType="application/vnd.openxmlformats-officedocument.spreadsheetml.sheet.main+xml"/>${
      each((_, n) => `<Override PartName="/xl/worksheets/sheet${n}.xml" ContentType="application/vnd.openxmlformats-officedocument.spreadsheetml.worksheet+xml"/>`)}</Types>`,
    "_rels/.rels": `<Relationships xmlns="${PACKAGE}/relationships"><Relationship Id="rId1" Type="${OFFICE}/officeDocument" Target="xl/workbook.xml"/></Relationships>`,
    "xl/workbook.xml": `<workbook xmlns="${MAIN}" xmlns:r="${OFFICE}"><sheets>${
      each((name, n) => `<sheet name="${escaped(name)}" sheetId="${n}" r:id="rId${n}"/>`)}</sheets></workbook>`,
    "xl/_rels/workbook.xml.rels": `<Relationships xmlns="${PACKAGE}/relationships">${
      each((_, n) => `<Relationship Id="rId${n}" Type="${OFFICE}/worksheet" Target="worksheets/sheet${n}.xml"/>`)}</Relationships>`,
  };
  for (const name in parts) parts[name] = HEAD + parts[name];
  sheets.forEach(([, rows], i) => (parts[`xl/worksheets/sheet${i + 1}.xml`] = sheetXml(rows)));
  return zipOf(parts);
}
