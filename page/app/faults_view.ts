// What could not be read, and what a person can do about it here.
import { Markup, h } from "../figure/markup";
import { isRefusal } from "../reader/sources";
import { sourcesOf } from "./opening";
import type { State } from "./state";

export function faultsView(state: State): (Markup | false)[] {
  const refused = sourcesOf(state).flatMap(({ reading }) => (isRefusal(reading) ? [reading] : []));
  const told = state.faults.length > 0;
  return [
    ...state.faults.map((words) => h("p", {}, words)),
    told && refused.some(({ refused }) => refused.includes("--layout")) && h("p", {}, "Here: drop the layout as well, or paste it."),
    // What the sentences tell to say by options of the command is said in the table here.
    told && refused.some(({ refused, tables }) => tables.length || refused.includes("--")) &&
      h("button", { type: "button", "data-act": "columns", id: "columns" }, "Say here what the columns are, the unit, the temperature"),
  ];
}
