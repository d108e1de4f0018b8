// From a text to a grid: the mark between cells, comments, quoted cells.

import { Comment, Grid } from "./grid";
import { counted } from "./lists";
import { cellOf } from "./numbers";
import { SPELLINGS } from "./spellings";
import { pattern, stripped, strippedOf, whole } from "./text_rules";

export type Delimiter = "\t" | ";" | "|" | "," | null; // null for blanks

const DELIMITERS: Delimiter[] = ["\t", ";", "|", ",", null]; // the order decides a draw
const SAMPLE = 200;
const LONGEST_CELL = 131_072; // a line with a longer one is parted without regard to quotes
const ERROR_CELLS = SPELLINGS.missing["an error of a spreadsheet"].filter((text) => text.startsWith("#"));
const QUOTED_LINE = whole(String.raw`"[^"]*[,;\t][^"]*"`);
const QUOTED_OR_BARE = pattern(String.raw`"([^"]*)"|(\S+)`, "g");
const FILLED_CELL = /^#{3,}[,;\t]/;

/** The `Grid` of a text. Blank rows stay, for they part blocks. */
export function gridOfText(source: string, text: string, skipRows = 0): Grid {
  let lines = text.split(/\r\n|\r|\n/);
  lines.fill("", 0, Math.min(skipRows, lines.length));
  let sample = lines.filter((line) => stripped(line) && !isComment(line));
  if (sample.length && sample.every((line) => QUOTED_LINE.test(stripped(line)))) {
    const bare = (line: string) => strippedOf(stripped(line), '"'); // every line as a whole in quotes
    lines = lines.map(bare);
    sample = sample.map(bare);
  }
  const delimiter = delimiterOf(sample.length > 2 * SAMPLE ? sample.slice(-SAMPLE) : sample);
  const rows: string[][] = [];
  const names: string[] = [];
  const comments: Comment[] = [];
  const widths: number[] = [];
  for (const [first, record] of records(lines, delimiter)) {
    if (isComment(record)) {
      comments.push([rows.length, stripped(stripped(record).replace(/^#+/, ""))]);
      continue;
    }
    const cells = split(record, delimiter);
    widths.push(cells.length);
    while (cells.length && !cells[cells.length - 1]) cells.pop();
    rows.push(cells);
    names.push(`row ${first + 1}`);
  }
  return new Grid(source, rows, names, { comments, delimiter, widths });
}

/** The cells of a line. */
export function split(line: string, delimiter: string | null): string[] {
  if (delimiter === null)
    return [...line.matchAll(QUOTED_OR_BARE)].map(([, quoted, bare]) => stripped(quoted || bare || ""));
  const cells = quotedCells(line, delimiter) ?? line.split(delimiter);
  return cells.map(stripped);
}

/**
 * The cells of a line of which some stand in quotes, a doubled quote within them being one. What
 * follows a closing quote belongs to its cell. Null where a line goes on behind its end or a cell is
 * too long.
 */
function quotedCells(line: string, delimiter: string): string[] | null {
  if (!line) return [];
  if (!line.includes('"') && !/[\r\n]/.test(line) && line.length <= LONGEST_CELL)
    return line.split(delimiter).map((cell) => cell.replace(/^ +/, ""));
  const cells: string[] = [];
  let at = 0;
  for (;;) {
    while (line[at] === " ") at++;
    let cell = "";
    let quoted = line[at] === '"';
    if (quoted) at++;
    for (; at < line.length && (quoted || line[at] !== delimiter); at++) {
      if (quoted && line[at] === '"') {
        if (line[at + 1] === '"') cell += line[++at];
        else quoted = false;
      } else if (!quoted && /[\r\n]/.test(line[at])) {
        return /[^\r\n]/.test(line.slice(at)) ? null : [...cells, cell];
      } else {
        cell += line[at];
      }
    }
    if (cell.length > LONGEST_CELL) return null;
    cells.push(cell);
    if (at >= line.length) return cells;
    at++;
  }
}

function isComment(line: string): boolean {
  const text = line.replace(/^[\ufeff \t]+/, "");
  if (!text.startsWith("#") || [",", ";", "\t"].includes(text[1])) return false;
  const lowered = text.toLowerCase();
  return !ERROR_CELLS.some((mark) => lowered.startsWith(mark)) && !FILLED_CELL.test(text);
}

/** Lines with their numbers; a quoted cell may hold a few line breaks. */
function* records(lines: string[], delimiter: Delimiter): Generator<[number, string]> {
  const isOpen = (text: string) => (text.split('"').length - 1) % 2 === 1;
  for (let i = 0; i < lines.length; i++) {
    const first = i;
    let record = lines[i];
    if (delimiter && isOpen(record)) {
      for (let more = 1; more < 4; more++) {
        const joined = lines.slice(first, first + more + 1).join(" ");
        if (first + more < lines.length && !isOpen(joined)) {
          record = joined;
          i = first + more;
          break;
        }
      }
    }
    yield [first, record];
  }
}

/** The mark that leaves the most cells that are numbers, in rows of equal width. */
function delimiterOf(sample: string[]): Delimiter {
  let best = 0;
  let found: Delimiter = ",";
  for (const delimiter of DELIMITERS) {
    if (delimiter && !sample.some((line) => line.includes(delimiter))) continue;
    const widths = new Map<number, number>();
    for (const line of sample) {
      const kinds = split(line, delimiter).map((cell) => cellOf(cell).kind);
      const counts = counted(kinds);
      const numbers = counts.get("number") ?? 0;
      if (numbers && numbers + (counts.get("missing") ?? 0) >= 2)
        widths.set(kinds.length, (widths.get(kinds.length) ?? 0) + numbers);
    }
    const score = Math.max(0, ...widths.values());
    if (score > best) [best, found] = [score, delimiter];
  }
  if (best > 0) return found;
  // No row of numbers: the header alone may tell.
  return DELIMITERS.find((d) => d && sample.some((line) => line.includes(d))) ?? null;
}
