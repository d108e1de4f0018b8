// What a person says of a file, and the tables that they are shown to say it of.

import type { Mark } from "./numbers";

/**
 * What a column is taken for. `curve`, `label` and `replicate` say to which curve a row belongs, `n` of
 * how many measurements the signal before it is the mean, and `well` where the reading was taken.
 */
export type Role =
  | "concentration" | "signal" | "sd" | "n" | "curve" | "label" | "replicate" | "temperature" | "well" | "ignore";

/** A person's word on a column: the `id` of its table and its number from 1, as a reading shows them. */
export interface RoleChoice {
  readonly table: string;
  readonly column: number;
  readonly role: Role;
}

/** What a person says where a file leaves it open; what is missing or null is left to the reader. */
export interface Options {
  /** Name of the column of concentrations, or its number from 1. */
  readonly x?: string | number | null;
  /** Names of the columns of signals, or their numbers from 1. */
  readonly columns?: readonly (string | number)[] | null;
  /** How many rows to pass over at the top. */
  readonly skipRows?: number;
  readonly decimal?: Mark | null;
  readonly denaturant?: string | null;
  /** A unit of concentration: 'M', 'mM', 'g/L', '% of 8 M', ... */
  readonly unit?: string | null;
  /** Roles of single columns, which go before `x` and `columns`. */
  readonly roles?: readonly RoleChoice[];
}

/** A column of a table as it was read. */
export interface ColumnShown {
  /** From 1, as `Options` takes it. */
  readonly number: number;
  readonly name: string;
  readonly role: Role;
  readonly unit: string | null;
  readonly denaturant: string | null;
  /** Texts, as many as the table has rows. */
  readonly cells: string[];
}

/** A table with what its columns were taken for. Where concentrations ran in a row, it stands turned. */
export interface TableShown {
  readonly id: string; // as `RoleChoice` takes it
  readonly sheet: string | null;
  readonly title: string;
  readonly rowNames: string[]; // where each row was found: 'row 3'
  readonly columns: ColumnShown[];
}
