// Readings as the fit takes them: what is left out, what may weigh, where a curve stands on a plate.
import { deviationsOf, isOut, placesOf, readingsOf } from "../../app/state";
import type { Settings } from "../../app/state";
import { entry, state } from "./records";
import { same, table, test } from "./check";

const with3 = (sd: number[] | null, n: number[] | null = null, y = [1, 2, 3]) => entry({ x: [0, 1, 2], y, out: [false, false, false], sd, n });
table("deviations that may weigh", (sd: number[] | null, n: number[] | null, y: number[], weights: Settings["weights"]) => {
  const found = deviationsOf(with3(sd, n, y), weights);
  return [found.sd, found.unused];
}, [
  [[1, 2, 3], null, [1, 2, 3], "sd", [[1, 2, 3], false]],
  [[1, 2, 3], null, [1, 2, 3], "none", [null, false]],
  [null, null, [1, 2, 3], "sd", [null, false]],
  [[1, 0, 3], null, [1, 2, 3], "sd", [null, true]],
  [[1, -1, 3], null, [1, 2, 3], "sd", [null, true]],
  [[1, Infinity, 3], null, [1, 2, 3], "sd", [null, true]],
  [[1, NaN, 3], null, [1, 2, 3], "sd", [null, true]],
  [[1, 0, 3], null, [1, NaN, 3], "sd", [[1, 0, 3], false]],  // there is no reading to weigh
  [[1, 2, 3], null, [1, 2, 3], "sem", [null, true]],
  [[1, 2, 3], [1, 4, 9], [1, 2, 3], "sem", [[1, 1, 1], false]],
  [[1, 2, 3], [1, 0, 9], [1, 2, 3], "sem", [null, true]],
]);

test("what is left out is a gap, by a click or by the range with its ends", () => {
  const one = { ...with3([1, 1, 1]), out: [true, false, false] };
  same(readingsOf(one, state().settings), { x: [0, 1, 2], y: [NaN, 2, 3], sd: [1, 1, 1], temperature: 25 });
  const ranged = { ...with3(null), range: [1, 1] as [number, number] };
  same([0, 1, 2].map((i) => isOut(ranged, i)), [true, false, true]);
});

table("places on a plate", (name: string, well: string) => placesOf(entry({ name, well })).map(({ row, column }) => `${row} ${column}`).join(), [
  ["B3", "", "1 2"],
  ["WT", "A1 A2", "0 0,0 1"],
  ["B3", "A1", "0 0"],  // the file's word on it goes before the name
  ["WT", "", ""],
]);
