// The signals among the columns of a table, and what belongs to each: concentrations, deviations.
//
// Columns that are no signals are left out with a word, columns that part the rows label the curves,
// and a second column of concentrations is never taken for a signal.

import { Column, KEYS, Table, countedTexts, knownNumbers, readNumbers } from "./columns";
import { extent } from "./lists";
import { HIGHEST_WITHOUT_UNIT } from "./quantities";
import { SPELLINGS, headerOf, wordsOf } from "./spellings";
import { general } from "./text_rules";

/** True for numbers that rise from row to row within what dissolves. */
export function runsLikeConcentration(all: number[]): boolean {
  const values = all.filter((value) => !Number.isNaN(value));
  const [least, greatest] = extent(values);
  if (values.length < 4 || least < 0.0 || greatest > HIGHEST_WITHOUT_UNIT || greatest < 0.5) return false;
  const rises = values.every((value, i) => i === 0 || value >= values[i - 1]);
  return rises && new Set(values).size > Math.floor(values.length / 2);
}

/** The fault of several columns that may all be concentrations. */
function manyConcentrations(table: Table, columns: Column[]) {
  const names = columns.join(" and ");
  return table.fault(
    `${names} may all be concentrations; name the one to take with --x and the readings with --columns.`,
  );
}

/** Asks where several columns may be concentrations and do not pair with the signals. */
export function needPairs(table: Table): void {
  const xs = table.of("x");
  if (xs.length > 1 && !arePairs(table)) throw manyConcentrations(table, xs);
}

/** True where every column of concentrations has signals between itself and the next. */
function arePairs(table: Table): boolean {
  const roles = table.columns
    .filter(({ role }) => role === "x" || role === "y" || role === null)
    .map(({ role }) => (role === "x" ? "x" : "y"))
    .join("");
  return roles.startsWith("x") && !roles.endsWith("x") && !roles.includes("xx");
}

/**
 * Columns that part the rows into several curves are their labels, whatever their name.
 *
 * Such a column, a ligand or a wavelength in every row, has few values, each of them in several rows,
 * and the concentrations come again with each.
 */
function takePartingColumns(table: Table): void {
  const xs = table.of("x");
  if (xs.length !== 1 || !xs[0].isNumeric) return;
  const x = readNumbers(table, xs[0]);
  const long = isLong(table);
  for (const column of table.columns) {
    const words = column.role === null && !column.isNumeric;
    if (!(words || column.role === "other" || (column.role === null && long))) continue;
    if (column.role === null && column.place < xs[0].place && column.name === "") continue;
    const counts = countedTexts(column);
    const few = counts.size > 1 && counts.size <= Math.floor(column.cells.length / 3);
    if (!few || extent(counts.values())[0] < 3 || counts.has("")) continue;
    if ([...counts.keys()].every((value) => comesAgain(x, column, value))) {
      column.role = "part";
      if (!words) table.grid.note("labels_taken", `${column} parts the curves`);
    }
  }
}

/** True where the rows name their curve or a column is known as a signal. */
function isLong(table: Table): boolean {
  return table.of("y").length > 0 || table.columns.some((c) => KEYS.includes(c.role ?? ""));
}

/** True where most concentrations of one value of a column are found with other values too. */
function comesAgain(x: number[], column: Column, value: string): boolean {
  const known = (inside: boolean) =>
    new Set(x.filter((level, i) => !Number.isNaN(level) && (column.cells[i].text === value) === inside));
  const [here, there] = [known(true), known(false)];
  const again = [...here].filter((level) => there.has(level)).length;
  return here.size > 1 && again / here.size > 0.5;
}

/** The signals among the columns without a role, and a word about the others. */
export function partSignals(table: Table): void {
  takePartingColumns(table);
  const asked = Boolean(table.options.columns);
  const long = table.of("y").length > 0 && table.columns.some((c) => KEYS.includes(c.role ?? ""));
  for (const column of table.columns) {
    const numeric = column.isNumeric;
    const words = !numeric && column.count("text") > 0;
    const { role } = column;
    if (role === "y" && words) table.leaveOut(column, "it holds words");
    else if (role === "other") table.leaveOut(column, `${column.header.kind} is no signal`);
    else if (role === "index") table.leaveOut(column, "it counts rows");
    else if (role === "unchosen" && !asked && numeric) table.leaveOut(column, "--x names another column");
    else if (role === null && words) table.leaveOut(column, "it holds words");
    else if (role === null && long && !asked)
      table.leaveOut(column, "its name is not known as a signal; --columns takes it");
    else if (role === null) takeSignal(table, column);
  }
  leaveOutMeans(table);
  doubtRising(table);
}

function takeSignal(table: Table, column: Column): void {
  const values = knownNumbers(table, column);
  const [least, greatest] = extent(values);
  const named = column.header.role === "y";
  if (values.length > 2 && greatest === least && !named && table.columns.length > 2)
    table.leaveOut(column, `it holds ${general(values[0])} in every row`);
  else column.role = "y";
}

/** A column 'mean' beside the replicates that it is the mean of would count them twice. */
function leaveOutMeans(table: Table): void {
  const signals = table.of("y");
  for (const column of signals) {
    const others = signals.filter((other) => other !== column);
    const named = wordsOf(column.name).some((word) => SPELLINGS.mean_words.includes(word));
    if (others.length < 2 || !named || column.told) continue;
    const rows = others.map((other) => readNumbers(table, other));
    const means = rows[0].map((_, i) => meanOf(rows.map((row) => row[i])));
    if (means.some(Number.isNaN)) continue;
    const [least, greatest] = extent(means);
    const values = readNumbers(table, column);
    const near = (mean: number, i: number) =>
      Math.abs(values[i] - mean) <= 5e-3 * (greatest - least) + 5e-3 * Math.abs(mean);
    if (!means.every(near)) continue;
    table.leaveOut(column, "it is the mean of the others");
    for (const beside of table.columns)
      if ((beside.role === "deviation" || beside.role === "n") && beside.place > column.place)
        table.leaveOut(beside, `it belongs to ${column}`);
  }
}

/** The mean of the numbers that are not NaN. */
export function meanOf(all: number[]): number {
  const values = all.filter((value) => !Number.isNaN(value));
  return values.reduce((sum, value) => sum + value, 0) / values.length;
}

/** A second column of concentrations without a name must not be fitted as a signal. */
function doubtRising(table: Table): void {
  const xs = table.of("x");
  const signals = table.of("y");
  if (table.options.columns || xs.length !== 1 || signals.length < 2) return;
  const known = knownNumbers(table, xs[0]);
  if (!known.length) return;
  const [low, high] = extent(known);
  const span = Math.max(high - low, 1e-9);
  const grids = signals.filter((column) => {
    if (column.told || !runsLikeConcentration(readNumbers(table, column))) return false;
    const [least, greatest] = extent(knownNumbers(table, column));
    return Math.abs(least - low) < 0.2 * span && Math.abs(greatest - high) < 0.2 * span;
  });
  if (!grids.length) return;
  const data = [xs[0], ...signals].sort((a, b) => a.place - b.place);
  const even = data.filter((_, i) => i % 2 === 0);
  const paired = data.length === 2 * even.length && even[0] === xs[0];
  if (paired && even.length === grids.length + 1 && grids.every((column) => even.includes(column))) {
    for (const column of grids) column.role = "x";
    const names = even.map((column) => column.place + 1).join(", ");
    table.grid.note("x_assumed", `columns ${names} taken as concentrations, each for the column after it`);
    return;
  }
  throw table.fault(
    `${grids[0]} runs like a second column of concentrations; name the concentrations ` +
      "with --x and the readings with --columns.",
  );
}

/** Every signal gets the concentrations before it; one column of them serves all. */
export function joinPairs(table: Table): void {
  needPairs(table);
  const xs = table.of("x");
  for (const column of table.of("y")) {
    const before = xs.filter((x) => x.place < column.place);
    column.of = before.length ? before[before.length - 1] : xs[0];
  }
}

/** Deviations and counts belong to the signal with the same words, else to the one before. */
export function attach(table: Table): void {
  const signals = table.of("y");
  const key = (words: readonly string[]) => [...new Set(words)].sort().join(" ");
  for (const column of table.columns.filter(({ role }) => role === "deviation" || role === "n")) {
    const stem = column.role === "deviation" ? column.header.stem : [];
    const same = stem.length ? signals.find((s) => key(wordsOf(s.name)) === key(stem)) : undefined;
    const before = signals.filter((s) => s.place < column.place);
    if (stem.length && headerOf(stem.join(" ")).role === "x")
      table.leaveOut(column, "deviations of the concentrations are not used");
    else if (!column.isNumeric) table.leaveOut(column, "it holds no numbers");
    else column.of = same ?? before[before.length - 1] ?? signals[0];
  }
}
