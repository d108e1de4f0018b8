// Tasks over a pool of workers made from the page's own script; on the page's thread where the
// browser allows no workers. Jobs can be stopped: workers that are at work for one are ended.
import { Outcome, Runner } from "./runner";
import { Task } from "./tasks";

interface Waiting {
  task: Task;
  signal?: AbortSignal;
  resolve(outcome: Outcome): void;
  reject(fault: unknown): void;
}

interface Member {
  worker: Worker;
  ready: boolean;  // it has said so, and takes tasks
  job: Waiting | null;
}

export const stopped = () => new DOMException("Stopped.", "AbortError");
export const isStop = (fault: unknown) => fault instanceof DOMException && fault.name === "AbortError";

const SLICE = 30;  // ms of work on the page's own thread before it looks up

export class Pool {
  private readonly urgent: Waiting[] = [];
  private readonly waiting: Waiting[] = [];
  private members: Member[] = [];
  private local: Runner | null = null;
  private localBusy = false;
  private readonly url: string | null;

  constructor(private readonly module: WebAssembly.Module, script: string,
              private readonly size: number) {
    this.url = script ? URL.createObjectURL(new Blob([script], {type: "text/javascript"})) : null;
    if (!this.url) this.local = new Runner(module);
    this.grow();
  }

  /** How many workers there are; 0 on the page's own thread. */
  get workers() {
    return this.local ? 0 : this.members.length;
  }

  run<T>(task: Task, {signal, first = false}: {signal?: AbortSignal; first?: boolean} = {}): Promise<T> {
    const outcome = new Promise<Outcome>((resolve, reject) => {
      if (signal?.aborted) return reject(stopped());
      const job = {task, signal, resolve, reject};
      (first ? this.urgent : this.waiting).push(job);
      signal?.addEventListener("abort", () => this.stop(job), {once: true});
      this.dispatch();
    });
    return outcome.then((told) => {
      if ("fault" in told) throw new Error(told.fault);
      return told.answer as T;
    });
  }

  private grow() {
    while (!this.local && this.members.length < this.size) this.hire();
  }

  private hire() {
    try {
      const member: Member = {worker: new Worker(this.url as string), ready: false, job: null};
      this.members.push(member);
      member.worker.onerror = (event) => {
        event.preventDefault();
        this.fallBack();
      };
      member.worker.onmessage = ({data}) => {
        const {job} = member;
        member.ready = true;
        member.job = null;
        job?.resolve(data as Outcome);
        this.dispatch();
      };
      member.worker.postMessage({module: this.module});
    } catch {
      this.fallBack();
    }
  }

  /** From now on everything runs here, also what a worker had begun. */
  private fallBack() {
    if (this.local) return;
    this.local = new Runner(this.module);
    for (const member of this.members) {
      member.worker.terminate();
      if (member.job) this.urgent.unshift(member.job);
    }
    this.members = [];
    this.dispatch();
  }

  private next() {
    return this.urgent.shift() ?? this.waiting.shift();
  }

  private dispatch() {
    if (this.local) {
      void this.runHere();
      return;
    }
    for (const member of this.members) {
      if (!member.ready || member.job) continue;
      const job = this.next();
      if (!job) return;
      member.job = job;
      member.worker.postMessage({task: job.task});
    }
  }

  private async runHere() {
    if (this.localBusy) return;
    this.localBusy = true;
    let begun = performance.now();
    for (let job = this.next(); job; job = this.next()) {
      job.resolve(await (this.local as Runner).run(job.task));
      if (performance.now() - begun > SLICE) {
        await new Promise((resolve) => setTimeout(resolve));
        begun = performance.now();
      }
    }
    this.localBusy = false;
  }

  private stop(job: Waiting) {
    for (const queue of [this.urgent, this.waiting]) {
      const place = queue.indexOf(job);
      if (place >= 0) queue.splice(place, 1);
    }
    const place = this.members.findIndex((member) => member.job === job);
    if (place >= 0) {
      this.members[place].worker.terminate();
      this.members.splice(place, 1);
      this.grow();
    }
    job.reject(stopped());
  }
}
