// The roles of the columns of a table: concentration, signal, deviation, sample, or left out.
//
// A person's word decides, then a name that is known. Where none is, the place and the numbers do, as
// long as they leave no doubt; in doubt the reader asks with a sentence and does not guess.

import { Column, KEYS, Table, countedTexts, countsRows, knownNumbers, readNumbers } from "./columns";
import { shown } from "./grid";
import { extent } from "./lists";
import { attach, joinPairs, needPairs, partSignals, runsLikeConcentration } from "./signals";
import { denaturantOf, wordsOf } from "./spellings";
import { pattern, stripped, whole } from "./text_rules";

const ALL_DIGITS = whole(String.raw`\d+`);
const MOLARITY_IN_NAME = pattern(String.raw`\d\s*m\b`);

/** Give every column its role, by a person's word, by name, or by place and numbers. */
export function assignRoles(table: Table): void {
  const { columns, x } = table.options;
  for (const column of table.columns) {
    const told = table.toldRole(column);
    column.told = told !== null;
    column.role = told ?? roleByName(table, column);
  }
  weighNames(table);
  if (columns) chooseColumns(table, columns);
  if (x !== undefined && x !== null) chooseX(table, columnBy(table, x));
  else if (!table.of("x").length) findX(table);
  else beforeX(table);
  partSignals(table);
  if (table.columns.length < 2) throw noTable(table, []);
  if (!table.of("y").length)
    throw faultOfWords(table) ?? table.fault(
      "found no column of readings beside the concentrations; expected a signal in every further " +
        "column. Name the columns with --x and --columns.", 0,
    );
  joinPairs(table);
  attach(table);
}

function roleByName(table: Table, column: Column): string | null {
  const { role } = column.header;
  const numeric = column.isNumeric;
  if (role === null && numeric && hasTwin(table, column)) return "x";
  if (role !== null && KEYS.includes(role)) return keyRole(table, column);
  if (role === "well") return role;
  if (role === "x" && !numeric && column.count("text")) {
    const texts = column.cells.filter((cell) => cell.kind === "text");
    if (texts.every((cell) => denaturantOf(cell.text) !== null))
      return countedTexts(column).size > 1 ? "part" : "denaturant";
    return "x";
  }
  if (role === "n" || role === "index") {
    const isWhole = numeric && column.cells.every((cell) => cell.kind !== "number" || !cell.mark);
    return isWhole && (role === "n" || countsRows(readNumbers(table, column))) ? role : null;
  }
  if (role === "temperature" || (role === null && column.name.toLowerCase() === "t" && numeric)) {
    const [least, greatest] = extent(knownNumbers(table, column));
    const likely = greatest - least <= 3.0 && least >= 4.0 && least <= 400.0;
    if (role === null && !likely) return null;
    return numeric ? "temperature" : "left out";
  }
  if ((role === "other" || role === "x") && !numeric && !column.count("text")) return null;
  return role;
}

/** A name of a curve stands in several rows; in merged cells only in the first of them. */
function keyRole(table: Table, column: Column): string | null {
  const { cells } = column;
  const blanks = column.count("blank");
  if (blanks === cells.length) return "left out";
  if (blanks && cells[0].kind !== "blank") {
    cells.forEach((cell, i) => {
      if (cell.kind === "blank") cells[i] = cells[i - 1];
    });
    table.grid.note("filled_down", `blank cells of ${column} taken to repeat the cell above`);
  }
  const { size } = countedTexts(column);
  const namesX = table.columns.some((other) => other.header.role === "x");
  if (column.place === 0 && column.isNumeric && !namesX)
    if (!countsRows(readNumbers(table, column)) && size > Math.floor(cells.length / 2))
      return null; // the corner of a wide table, which names what stands to its right
  if (size === cells.length && size > 3) {
    table.leaveOut(column, "it differs in every row");
    return "left out";
  }
  return column.header.role;
}

/**
 * Letters can name concentrations and curves alike: a plainer name for them decides. 'urea' goes
 * before 'x', and 'x' before 'c' and 'd', which count only in the first column or behind a signal.
 */
function weighNames(table: Table): void {
  const xs = table.of("x");
  if (xs.some((column) => column.told)) {
    for (const column of xs) if (!column.told) column.role = "unchosen";
    return;
  }
  const letters = xs.filter((c) => ["c", "d"].includes(c.name.toLowerCase()) && c.unit === null);
  const plainX = xs.filter((c) => wordsOf(c.name).pop() === "x" && c.unit === null);
  const others = xs.filter((c) => !letters.includes(c) && !plainX.includes(c));
  let kept = others.length ? others : plainX;
  if (!kept.length && letters.length) {
    const numeric = table.columns.filter((c) => c.isNumeric && c.role !== "index");
    const alone = letters.length === 1 && numeric[0]?.role === "y";
    kept = letters[0] === numeric[0] || alone ? letters.slice(0, 1) : [];
  }
  for (const column of xs) if (!kept.includes(column)) column.role = null;
}

/** True for 'WT x' where there is a 'WT y'. */
function hasTwin(table: Table, column: Column): boolean {
  const words = wordsOf(column.name);
  if (words.pop() !== "x") return false;
  const twin = [...words, "y"].join(" ");
  return table.columns.some((other) => wordsOf(other.name).join(" ") === twin);
}

/** The column of a name or a number from 1. */
function columnBy(table: Table, wanted: string | number): Column {
  const text = stripped(String(wanted));
  const lowered = text.toLowerCase();
  const byName = table.columns.find((c) => c.name === text || c.name.toLowerCase() === lowered);
  const byNumber = table.columns.find((c) => ALL_DIGITS.test(text) && c.place + 1 === Number(text));
  if (byName ?? byNumber) return (byName ?? byNumber)!;
  const named = table.columns.filter((c) => c.name).map((c) => `'${shown(c.name)}'`);
  const names = named.join(", ") || `1 to ${table.columns.length}`;
  throw table.fault(`there is no column '${shown(text)}'; the columns are ${names}.`);
}

function chooseColumns(table: Table, wanted: readonly (string | number)[]): void {
  const chosen = wanted.map((name) => columnBy(table, name));
  for (const column of table.columns) {
    if (column.told) continue;
    if (chosen.includes(column)) column.role = "y";
    else if (column.role === "y" || column.role === null) column.role = "unchosen";
  }
}

function chooseX(table: Table, chosen: Column): void {
  for (const column of table.of("x")) column.role = "unchosen";
  chosen.role = "x";
}

/** Take a column for the concentrations that no name gives away, if only one can be. */
function findX(table: Table): void {
  const free = [null, "y", "index", "n"];
  const numeric = table.columns.filter((c) => c.isNumeric && free.includes(c.role) && !c.told);
  if (takeSolute(table)) return;
  const [leading] = table.columns;
  if (leading?.place === 0 && (leading.role === "other" || leading.role === "temperature")) {
    const what = leading.role === "temperature" ? "a temperature" : `a ${leading.header.kind}`;
    throw table.fault(
      `${leading} is ${what}, not a concentration; a table needs ` +
        "a column of denaturant concentrations. Name it with --x.",
    );
  }
  if (numeric.length < 2) throw noTable(table, numeric);
  const [first, ...others] = numeric;
  const rising = others.filter((c) => runsLikeConcentration(readNumbers(table, c)));
  const values = readNumbers(table, first);
  const counts = countsRows(values);
  const scale = rising.filter((c) => extent(knownNumbers(table, c))[1] >= 2.0);
  const unnamed = first.name === "" && table.named;
  if (first.role === "index" || (counts && (unnamed || scale.length || extent(values)[1] > 11))) {
    const likely: Column | undefined = scale[0] ?? rising[0];
    const example = likely ? `, for instance --x ${likely.place + 1}` : "";
    throw table.fault(
      `${first} counts rows, and no column is named as the concentration; name it with --x${example}.`,
    );
  }
  if (first.header.role === "y" || (rising.length && !runsLikeConcentration(values)))
    throw table.fault(
      `cannot tell the concentrations: ${first} comes first but does not look like ` +
        "them; name the column with --x.",
    );
  if (MOLARITY_IN_NAME.test(first.name.toLowerCase()))
    throw table.fault(
      `${first} names a stock; say the unit with --unit, for instance --unit '% of 8 M'.`, null, first,
    );
  first.role = "x";
  if (first.name && !(first.header.unit ?? first.unit))
    table.grid.note("x_assumed", `${first} taken as concentrations in M`);
}

/** 'SDS (mM)' in the first column is the concentration where nothing else is. */
function takeSolute(table: Table): boolean {
  const [first] = table.columns;
  if (first?.role !== "other" || !first.header.stem.length) return false;
  first.role = "x";
  first.denaturant = shown(first.header.stem.join(" "));
  table.grid.note("x_assumed", `${first} taken as concentrations`);
  return true;
}

function noTable(table: Table, numeric: Column[]) {
  if (table.columns.length < 2)
    return table.fault(
      "found one column; expected a concentration column and at least one signal column, " +
        "parted by commas, semicolons, tabs or blanks.",
    );
  const expected = "expected a column of concentrations and at least one of readings.";
  return faultOfWords(table, numeric) ?? table.fault(expected, 0);
}

/** The fault of words where numbers belong, if there are such. */
function faultOfWords(table: Table, numeric: Column[] = []) {
  for (const column of table.columns) {
    const at = column.cells.findIndex((cell) => cell.kind === "text");
    const mayHoldWords = KEYS.includes(column.role ?? "") || column.role === "well";
    if (at < 0 || numeric.includes(column) || mayHoldWords) continue;
    const first = column === table.columns[0] || column.role === "x";
    const what = first ? "a concentration in M" : `a reading of '${shown(column.name)}'`;
    return table.fault(`expected ${what}, found '${shown(column.cells[at].text)}'.`, at, column);
  }
  return null;
}

/** Numbers of rows may stand before a column that is named as the concentration. */
function beforeX(table: Table): void {
  const [first] = table.of("x");
  for (const column of table.columns)
    if (column.role === null && column.place < first.place && column.isNumeric)
      if (countsRows(readNumbers(table, column))) column.role = "index";
  needPairs(table);
}
