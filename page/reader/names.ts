// Names of curves, and which of them are replicates of each other.

import { Column, Table } from "./columns";
import { LONGEST_NAME, RawCurve } from "./curve";
import { tidyName } from "./grid";
import { counted } from "./lists";
import { cellOf, isNumberAsName, valueOf } from "./numbers";
import { headerOf, wordsOf } from "./spellings";
import { asciiDigits, general, pattern, stripped, strippedOf, whole } from "./text_rules";

const REPLICATE = whole(
  String.raw`(.*?)[\s_\-.,(\[]*\b(?:replicate|replica|replikat|repeat|rep|run|trial|n\s*=)[\s_.\-#]*(\w{1,3})\b[)\]]?(.*)`,
  "i",
);
// As programs number what is called alike: 'WT', 'WT.1', 'WT.2'. In 'pH 7', 'pH 7.4' the number is no such one.
const NUMBERED = whole(String.raw`(.*[^\d\s.])(?:\.|\s*\()(\d{1,2})\)?`);
const Y_AT_END = pattern(String.raw`[\s_\-.]*y$`, "i");

type Mark = string | number | null;

/** What the row of a curve says of it: role of the column and its header, with the text of the cell. */
export type KeyText = readonly [role: string, header: string, text: string];

/** Names of the signals from header and group; equal ones of one protein are told apart later. */
export function signalNames(table: Table, signals: Column[]): string[] {
  const manyX = table.of("x").length > 1;
  const counts = counted(signals.map((column) => column.name));
  const repeated = [...counts.values()].some((count) => count > 1);
  return signals.map((column, i) => {
    const { name } = column;
    const { role } = headerOf(name);
    const roleOfGroup = headerOf(column.group).role;
    const tellsNothing = column.group === name || roleOfGroup === "x" || roleOfGroup === "y";
    const group = tellsNothing ? "" : column.group;
    const words = wordsOf(name);
    if (words.length > 1 && words[words.length - 1] === "y") return name.replace(Y_AT_END, "");
    if ((role === "y" || role === "deviation" || !name) && group) return group;
    if (group && (repeated || isNumberAsName(name))) return `${group} ${name}`;
    if (group && manyX) return column.of!.name === group ? group : `${group} ${name}`;
    if (name) return name;
    const over = manyX && headerOf(column.of!.name).role === null ? column.of!.name : "";
    return over || `curve ${i + 1}`;
  });
}

export interface CurveName {
  readonly name: string;
  readonly label: Mark;
  readonly replicate: Mark;
  readonly group: string | null;
}

/** Name, label, replicate and group of a curve from its keys and the name of its signal. */
export function namesOf(
  base: string, keys: KeyText[], many: boolean, table: Table, temperature: number | null,
): CurveName {
  const within = replicateOf(base, table);
  if (!keys.length)
    return { name: short(base), label: null, replicate: within?.number ?? null, group: within?.group ?? null };
  const texts = new Map(keys.map(([role, , text]) => [role, text]));
  let label = plainValue(texts.get("label") ?? "");
  let replicate = plainValue(texts.get("replicate") ?? "");
  const parts = [texts.get("curve") ?? ""];
  for (const role of ["label", "replicate"]) if (texts.get(role)) parts.push(`${role} ${texts.get(role)}`);
  for (const [role, header, text] of keys) {
    if (role !== "part") continue;
    if (headerOf(header).role === "temperature") {
      parts.push(`${general(temperature ?? NaN)} °C`);
    } else {
      parts.push(cellOf(text).kind === "text" ? text : `${tidyName(header)} ${text}`);
      label = label ?? plainValue(text);
    }
  }
  if (many || !parts.some(Boolean)) parts.push(base);
  const joined = (some: string[]) => tidyName(some.filter(Boolean).join(" "));
  let group: string | null = null;
  if (texts.get("replicate")) {
    group = joined(parts.filter((part) => !part.startsWith("replicate "))) || base;
  } else if (within && parts[parts.length - 1] === base) {
    replicate = within.number;
    group = joined([...parts.slice(0, -1), within.group === "replicates" ? "" : within.group]);
  }
  return { name: short(joined(parts)), label, replicate, group };
}

function short(text: string): string {
  const letters = Array.from(tidyName(text));
  return letters.length <= LONGEST_NAME ? letters.join("") : `${letters.slice(0, LONGEST_NAME - 1).join("")}…`;
}

/** What the name of a column states of replicates: 'WT rep 2', 'WT (2)', 'WT.2' or 'WT' twice. */
function replicateOf(name: string, table: Table): { group: string; number: Mark } | null {
  const match = REPLICATE.exec(name.replaceAll("_", " "));
  if (match) {
    const rest = [match[1], match[3]].map((part) => strippedOf(stripped(part), " ,-")).filter(Boolean);
    return { group: rest.join(" ") || "replicates", number: plainValue(match[2]) };
  }
  const names = table.of("y").map((column) => column.name);
  const numbered = NUMBERED.exec(name);
  const stem = numbered ? numbered[1] : name;
  const numbers = names.includes(stem) ? numbersOf(stem, names) : [];
  if (numbers.length && numbers[0] <= 2 && numbers.every((n, i) => n === numbers[0] + i && n > 0))
    return { group: stem, number: numbered ? Number(asciiDigits(numbered[2])) : null };
  const repeated = names.filter((n) => n === name).length > 1 && headerOf(name).role === null;
  return repeated && !toldApartAbove(name, table) ? { group: name, number: null } : null;
}

/** The numbers behind the names that begin with `stem`, ascending. */
function numbersOf(stem: string, names: string[]): number[] {
  const found = names.map((name) => NUMBERED.exec(name)).filter((match) => match !== null && match[1] === stem);
  return found.map((match) => Number(asciiDigits(match![2]))).sort((a, b) => a - b);
}

/** True where a row above the names says more of the columns: then equal names are no replicates. */
function toldApartAbove(name: string, table: Table): boolean {
  const marks = [...table.marks.values()].map((cells) => cells.join("\0"));
  for (let row = table.rows[0] - 1; row >= 0; --row) {
    const cells = table.grid.rows[row];
    if (!cells.some(Boolean) || cellOf(cells[0]).kind === "number") return false; // the end of this table, or another one
    if (cells.map(tidyName).includes(name) || marks.includes(cells.join("\0")) || isOfUnits(cells, table)) continue;
    if (cells.slice(1).some(Boolean)) return true;
  }
  return false;
}

function isOfUnits(cells: string[], table: Table): boolean {
  return table.columns.some(({ unitText, place }) => unitText && strippedOf(cells[place] ?? "", "()[] ") === unitText);
}

/** Curves of equal names become numbered replicates of one group. */
export function numberReplicates(curves: RawCurve[]): RawCurve[] {
  const own = (curve: RawCurve) => curve.group === curve.name;
  const counts = counted(curves.filter(own).map((curve) => curve.name));
  const seen = new Map<string, number>();
  return curves.map((curve) => {
    if (!own(curve) || counts.get(curve.name)! < 2) return curve;
    seen.set(curve.name, (seen.get(curve.name) ?? 0) + 1);
    const replicate = curve.replicate ?? seen.get(curve.name)!;
    const text = typeof replicate === "number" ? general(replicate) : replicate;
    return { ...curve, name: `${curve.name} replicate ${text}`, replicate };
  });
}

/** A number where the text is one, else the text; null for a blank. */
export function plainValue(text: string): Mark {
  const cell = cellOf(text);
  if (cell.kind === "blank" || cell.kind === "missing") return null;
  return cell.kind === "number" && !cell.unit ? valueOf(cell) : tidyName(cell.text);
}
