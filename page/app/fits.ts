// Fits of the curves over the pool: the one that is looked at comes first, all can be stopped.
import { Pool, isStop } from "../engine/pool";
import type { Detail, FitAnswer } from "../engine/tasks";
import { Entry, State, chosenEntry, readingsOf } from "./state";

export class Fits {
  private job = new AbortController();
  private detailJob = new AbortController();

  constructor(private readonly pool: Pool, private readonly state: State, private readonly changed: () => void) {}

  stop() {
    this.job.abort();
  }

  /** Fits what has no answer yet. */
  async fitAll(): Promise<void> {
    const { state } = this;
    this.job.abort();
    const job = this.job = new AbortController();
    const open = state.entries.filter(({ answer, fault }) => !answer && !fault);
    const first = chosenEntry(state);
    state.progress = { done: 0, all: open.length };
    await Promise.all(open.map(async (entry) => {
      await this.fit(entry, job.signal, entry === first);
      if (job.signal.aborted || !state.progress) return;
      ++state.progress.done;
      this.changed();
      if (entry === first) void this.look();
    }));
    if (this.job !== job) return;  // a later one goes on
    const stopped = job.signal.aborted && open.some(({ answer, fault }) => !answer && !fault);
    state.progress = null;
    if (stopped) state.message = `Stopped: ${open.filter(({ answer }) => answer).length} of ${open.length} curves fitted.`;
    this.changed();
  }

  private async fit(entry: Entry, signal: AbortSignal, first: boolean) {
    try {
      entry.answer = await this.pool.run<FitAnswer>(
        { kind: "fit", curve: readingsOf(entry), choices: this.state.settings }, { signal, first });
    } catch (fault) {
      if (!isStop(fault)) entry.fault = (fault as Error).message;
    }
  }

  /** After a reading was left out, or another thing of one curve changed. */
  async refit(entry: Entry) {
    entry.fault = null;
    this.detailJob.abort();
    const job = this.detailJob = new AbortController();
    await this.fit(entry, job.signal, true);
    if (job.signal.aborted) return;
    await this.detail(entry, job.signal);
    this.changed();
  }

  /** Intervals and the drawn curve of the chosen entry. */
  async look() {
    const entry = chosenEntry(this.state);
    if (!entry?.answer || entry.detail) return;
    this.detailJob.abort();
    const job = this.detailJob = new AbortController();
    await this.detail(entry, job.signal);
    this.changed();
  }

  private async detail(entry: Entry, signal: AbortSignal, first = true) {
    if (!entry.answer) return;
    try {
      entry.detail = await this.pool.run<Detail>(
        { kind: "detail", curve: readingsOf(entry), choices: this.state.settings, fit: entry.answer.fit }, { signal, first });
    } catch (fault) {
      if (!isStop(fault)) entry.fault = (fault as Error).message;
    }
  }

  /** Intervals of all curves, for tables and reports. */
  async detailAll(entries: Entry[]) {
    const { state } = this;
    this.job.abort();
    const job = this.job = new AbortController();
    const open = entries.filter(({ answer, detail }) => answer && !detail);
    state.progress = { done: 0, all: open.length };
    await Promise.all(open.map(async (entry) => {
      await this.detail(entry, job.signal, false);
      if (state.progress) ++state.progress.done;
      this.changed();
    }));
    if (this.job === job) state.progress = null;
    this.changed();
    if (job.signal.aborted) throw new DOMException("Stopped.", "AbortError");
  }
}
