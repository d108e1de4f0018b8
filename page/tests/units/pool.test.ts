// The pool of workers: order, stopping, faults, and the page's own thread where there are no workers.
import { Pool, isStop } from "../../engine/pool";
import type { Task } from "../../engine/tasks";
import { ok, same, test } from "./check";

const task = (name: string) => ({ kind: "hash", name }) as unknown as Task;

/** A worker that does what the test says, when it says so. */
class FakeWorker {
  static all: FakeWorker[] = [];
  static broken = false;
  onmessage: (event: { data: unknown }) => void = () => {};
  onerror: (event: { preventDefault(): void }) => void = () => {};
  asked: string[] = [];
  ended = false;
  constructor() {
    if (FakeWorker.broken) throw new Error("no workers here");
    FakeWorker.all.push(this);
  }
  postMessage(message: { module?: unknown; task?: { name: string } }) {
    if (message.task) this.asked.push(message.task.name);
  }
  terminate() {
    this.ended = true;
  }
  tell(data: unknown) {
    this.onmessage({ data });
  }
}

function pool(size: number): [Pool, FakeWorker[]] {
  FakeWorker.all = [];
  Object.assign(globalThis, { Worker: FakeWorker });
  const made = new Pool({} as WebAssembly.Module, "script", size);
  return [made, FakeWorker.all];
}
const settled = () => new Promise((resolve) => setTimeout(resolve));
const caught = (work: Promise<unknown>) => work.then(() => null, (fault: unknown) => fault);

test("tasks wait until a worker is ready, the urgent one goes first, the others in turn", async () => {
  const [made, [one, two]] = pool(2);
  const answers = ["a", "b", "c"].map((name) => made.run(task(name)));
  const urgent = made.run(task("urgent"), { first: true });
  same([one.asked, two.asked], [[], []]);
  one.tell("ready");
  two.tell("ready");
  same([one.asked, two.asked], [["urgent"], ["a"]]);
  one.tell({ answer: 1 });
  two.tell({ answer: 2 });
  same(await Promise.all([urgent, answers[0]]), [1, 2]);
  same([one.asked, two.asked], [["urgent", "b"], ["a", "c"]]);
});

test("a fault of one task is that task's alone", async () => {
  const [made, [one]] = pool(1);
  one.tell("ready");
  const first = caught(made.run(task("bad"))), second = made.run(task("good"));
  one.tell({ fault: "The engine stopped at this curve." });
  one.tell({ answer: "well" });
  same(((await first) as Error).message, "The engine stopped at this curve.");
  ok(!isStop(await first));
  same(await second, "well");
});

test("what waits is dropped when it is stopped, what runs ends its worker, and a new one follows", async () => {
  const [made, workers] = pool(1);
  workers[0].tell("ready");
  const stop = new AbortController();
  const running = caught(made.run(task("running"), { signal: stop.signal }));
  const waiting = caught(made.run(task("waiting"), { signal: stop.signal }));
  const other = made.run(task("other"));
  stop.abort();
  ok(isStop(await running) && isStop(await waiting));
  same([workers.length, workers[0].ended], [2, true]);
  workers[1].tell("ready");
  same(workers[1].asked, ["other"]);
  workers[1].tell({ answer: "done" });
  same(await other, "done");
  ok(isStop(await caught(made.run(task("late"), { signal: stop.signal }))));
});

test("a task that is done cannot be stopped any more", async () => {
  const [made, workers] = pool(1);
  workers[0].tell("ready");
  const stop = new AbortController();
  const work = made.run(task("quick"), { signal: stop.signal });
  workers[0].tell({ answer: 1 });
  same(await work, 1);
  stop.abort();
  same([workers.length, workers[0].ended], [1, false]);
});

test("without workers, or when one fails, everything runs here, also what was begun", async () => {
  FakeWorker.broken = true;
  const [none] = pool(2);
  FakeWorker.broken = false;
  same(none.workers, 0);
  const fault = (await caught(none.run(task("here")))) as Error;
  ok(fault instanceof Error && !isStop(fault));  // there is no module in this test: the task was tried here
  const [made, workers] = pool(2);
  workers[0].tell("ready");
  const begun = caught(made.run(task("begun")));
  workers[1].onerror({ preventDefault() {} });
  same([made.workers, workers[0].ended, workers[1].ended], [0, true, true]);
  ok((await begun) instanceof Error);
  await settled();
});
