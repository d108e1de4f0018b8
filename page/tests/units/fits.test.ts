// The order of work: what is asked of the pool, what a stop leaves, and answers that come too late.
import { Fits } from "../../app/fits";
import type { Entry, State } from "../../app/state";
import { Pool, stopped } from "../../engine/pool";
import type { Task } from "../../engine/tasks";
import { answerOf, entry, fitOfTwo, state } from "./records";
import { ok, same, test } from "./check";

interface Asked {
  task: Task & { kind: string; curve?: { x: number[]; y: number[] }; choices?: any; curves?: unknown[] };
  first: boolean;
  resolve(answer: unknown): void;
}

/** A pool whose answers the test gives. */
class FakePool {
  asked: Asked[] = [];
  run(task: any, { signal, first = false }: { signal?: AbortSignal; first?: boolean } = {}) {
    return new Promise((resolve, reject) => {
      signal?.addEventListener("abort", () => reject(stopped()));
      this.asked.push({ task, first, resolve });
    });
  }
  take(kind: string): Asked {
    const place = this.asked.findIndex(({ task }) => task.kind === kind);
    ok(place >= 0, `${kind} among ${this.asked.map(({ task }) => task.kind)}`);
    return this.asked.splice(place, 1)[0];
  }
}

const settled = () => new Promise((resolve) => setTimeout(resolve));
const detail = { intervals: null, grid: null, atReadings: null };

function work(entries: Entry[], settings = {}): { pool: FakePool; fits: Fits; now: State } {
  const now = state({ entries, chosen: entries[0].key }, settings), pool = new FakePool();
  return { pool, now, fits: new Fits(pool as unknown as Pool, now, () => {}) };
}
const fresh = (changes: Partial<Entry> = {}) => entry({ answer: null, ...changes });

test("the curve that is looked at is fitted first, its intervals at once, and each answer counts", async () => {
  const { pool, fits, now } = work([fresh(), fresh()]);
  const done = fits.fitAll();
  same(pool.asked.map(({ task, first }) => [task.kind, first]), [["fit", true], ["fit", false]]);
  pool.take("fit").resolve(answerOf());
  await settled();
  same([now.progress!.done, now.progress!.all], [1, 2]);
  pool.take("detail").resolve(detail);
  pool.take("fit").resolve(answerOf());
  await done;
  same([now.progress, now.entries.map(({ answer }) => answer !== null), now.entries[0].detail], [null, [true, true], detail]);
});

test("a stop keeps what is fitted and says how much that is", async () => {
  const { pool, fits, now } = work([fresh(), fresh(), fresh()]);
  const done = fits.fitAll();
  pool.take("fit").resolve(answerOf());
  await settled();
  fits.stop();
  await done;
  same([now.message, now.progress], ["Stopped: 1 of 3 curves fitted.", null]);
  same(now.entries.map(({ answer, fault }) => [answer !== null, fault]), [[true, null], [false, null], [false, null]]);
});

test("too few readings are told without asking", async () => {
  const few = fresh();
  few.out = few.x.map((_, i) => i > 6);
  const { pool, fits, now } = work([few]);
  await fits.fitAll();
  same([pool.asked, now.entries[0].fault], [[], "The curve has 7 readings; this analysis needs at least 8."]);
});

test("what is left out goes as a gap, beside all signals", async () => {
  const one = fresh({ range: [0.4, 8] });
  one.out[3] = true;
  const { pool, fits } = work([one]);
  void fits.fitAll();
  const { task } = pool.take("fit") as any;
  same(task.curve.y.map(Number.isNaN).flatMap((gap: boolean, i: number) => (gap ? [i] : [])), [0, 3]);
  same(task.all, one.y);
});

test("an answer to readings of before comes too late", async () => {
  const { pool, fits, now } = work([fresh()]);
  const [one] = now.entries;
  void fits.fitAll();
  const late = pool.take("fit");
  one.out[3] = true;
  void fits.refit(one);
  pool.take("fit").resolve(answerOf({ readings: 20 }));
  await settled();
  late.resolve(answerOf({ readings: 21 }));
  await settled();
  same(one.answer!.fit.readings, 20);
});

test("intervals of a fit that is gone are dropped", async () => {
  const { pool, fits, now } = work([entry()]);
  void fits.look();
  const late = pool.take("detail");
  now.entries[0].answer = answerOf({ dG: [1, 0, 0] });
  late.resolve(detail);
  await settled();
  same(now.entries[0].detail, null);
});

test("one m: two states unless told, all curves with an answer, intervals that are known already", async () => {
  const { pool, fits, now } = work([fresh(), fresh(), fresh({ fault: "stopped" })], { shareM: true, heldM: 5 });
  const done = fits.fitAll();
  for (const _ of [0, 1]) {
    const { task, resolve } = pool.take("fit");
    same([task.choices.states, task.choices.heldM], [2, null]);
    resolve(answerOf());
  }
  await settled();
  pool.asked = pool.asked.filter(({ task }) => task.kind !== "detail");
  const { task, resolve } = pool.take("share");
  same(task.curves!.length, 2);
  const global = { status: 0, curves: 2, p: 0.5 }, shared = { dG: [[1, 2]] };
  resolve({ global, rows: [0, 1].map(() => ({ ...answerOf({ dG: [5500, 0, 0] }), shared })) });
  await settled();
  const look = pool.take("detail") as any;
  same(look.task.intervals, shared);
  look.resolve(detail);
  await done;
  same([now.shared, now.entries[0].answer!.fit.dG[0], now.entries[2].answer], [global, 5500, null]);
});

test("a single curve shares nothing, and curves that cannot share m say so", async () => {
  const alone = work([fresh()], { shareM: true });
  void alone.fits.fitAll();
  same((alone.pool.take("fit").task as any).choices.states, "auto");
  const { pool, fits, now } = work([fresh(), fresh()], { shareM: true });
  const done = fits.fitAll();
  for (const _ of [0, 1]) pool.take("fit").resolve(answerOf({}, { fit: fitOfTwo({ status: 1 }) }));
  await settled();
  pool.take("share").resolve({ global: { status: 15 }, rows: [] });
  await settled();
  pool.asked.forEach(({ resolve }) => resolve(detail));
  await done;
  same([now.faults, now.shared, now.entries[0].answer!.fit.status], [["These curves share no m: fewer than two of them can be fitted."], null, 1]);
});
