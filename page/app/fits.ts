// Fits of the curves over the pool: the one that is looked at comes first, all can be stopped.
import { Pool, isStop, stopped } from "../engine/pool";
import type { Detail, FitAnswer, SharedAnswer, Task } from "../engine/tasks";
import { Entry, State, chosenEntry, fitOf, readingsOf } from "./state";

const FEWEST_READINGS = 8;

export class Fits {
  private job = new AbortController();
  private detailJob = new AbortController();

  constructor(private readonly pool: Pool, private readonly state: State, private readonly changed: () => void) {}

  stop() {
    this.job.abort();
  }

  private begin(what: string, all: number): AbortSignal {
    this.job.abort();
    this.job = new AbortController();
    this.state.progress = { what, done: 0, all };
    return this.job.signal;
  }

  /** The end of a job, unless a later one goes on. */
  private end(signal: AbortSignal, words = "") {
    if (this.job.signal !== signal) return;
    this.state.progress = null;
    if (words) this.state.message = words;
    this.changed();
  }

  /** Fits what has no answer yet. */
  async fitAll(): Promise<void> {
    const { state } = this;
    const open = state.entries.filter(({ answer, fault }) => !answer && !fault);
    const signal = this.begin("curves", open.length);
    const first = chosenEntry(state);
    await Promise.all(open.map(async (entry) => {
      await this.fit(entry, signal, entry === first);
      if (signal.aborted || !state.progress) return;
      ++state.progress.done;
      this.changed();
      if (entry === first) void this.look();
    }));
    if (!signal.aborted) await this.share(signal);
    const left = open.filter(({ answer, fault }) => !answer && !fault).length;
    this.end(signal, signal.aborted && left ? `Stopped: ${open.length - left} of ${open.length} curves fitted.` : "");
  }

  private async fit(entry: Entry, signal: AbortSignal, first: boolean) {
    const { settings } = this.state;
    const curve = readingsOf(entry, settings);
    const count = curve.y.filter((y, i) => Number.isFinite(y) && Number.isFinite(curve.x[i])).length;
    if (count < FEWEST_READINGS) {
      entry.answer = null;
      entry.fault = `The curve has ${count} readings; this analysis needs at least ${FEWEST_READINGS}.`;
      return;
    }
    try {
      entry.answer = await this.pool.run<FitAnswer>(
        { kind: "fit", curve, all: entry.y, choices: settings }, { signal, first });
    } catch (fault) {
      if (!isStop(fault)) entry.fault = (fault as Error).message;
    }
  }

  /** Where one m was asked for: all curves with equally many states anew, together. */
  private async share(signal: AbortSignal) {
    const { settings, entries } = this.state;
    this.state.shared = [];
    if (!settings.shareM) return;
    for (const transitions of [1, 2, 3]) {
      const same = entries.filter((entry) => fitOf(entry)?.transitions === transitions);
      if (same.length < 2) continue;
      this.state.progress = { what: `one m-value for ${same.length} curves`, done: 0, all: 0 };
      this.changed();
      try {
        const found = await this.pool.run<SharedAnswer>({
          kind: "share", curves: same.map((entry) => readingsOf(entry, settings)), choices: settings,
          fits: same.map((entry) => entry.answer!.fit),
        }, { signal, first: true });
        if (found.global.status !== 0) continue;
        this.state.shared.push(found.global);
        same.forEach((entry, i) => {
          const { fit, intervals, residual } = found.rows[i];
          if (fit.status !== 0) return;
          entry.answer = { ...entry.answer!, fit, residual, shared: intervals };
          entry.detail = null;
        });
      } catch (fault) {
        if (!isStop(fault)) this.state.message = (fault as Error).message;
      }
    }
    await this.look();
  }

  /** After a reading was left out, or another thing of one curve changed. */
  async refit(entry: Entry) {
    entry.fault = null;
    this.detailJob.abort();
    const { signal } = this.detailJob = new AbortController();
    await this.fit(entry, signal, true);
    if (signal.aborted) return;
    if (this.state.settings.shareM) {
      const job = this.begin("one m-value", 0);
      await this.share(job);
      this.end(job);
    }
    await this.detail(entry, signal);
    this.changed();
  }

  /** Intervals and the drawn curve of the chosen entry. */
  async look() {
    const entry = chosenEntry(this.state);
    if (!entry?.answer || entry.detail) return;
    this.detailJob.abort();
    const { signal } = this.detailJob = new AbortController();
    await this.detail(entry, signal);
    this.changed();
  }

  private async detail(entry: Entry, signal: AbortSignal, first = true) {
    const { answer } = entry, { settings } = this.state;
    if (!answer) return;
    try {
      const detail = await this.pool.run<Detail>({
        kind: "detail", curve: readingsOf(entry, settings), choices: settings, fit: answer.fit, intervals: answer.shared ?? null,
      }, { signal, first });
      if (entry.answer === answer) entry.detail = detail;
    } catch (fault) {
      if (!isStop(fault)) entry.fault = (fault as Error).message;
    }
  }

  /** Intervals of all curves, for tables and reports. */
  async detailAll(entries: Entry[]) {
    const open = entries.filter(({ answer, detail }) => answer && !detail);
    const signal = this.begin("intervals", open.length);
    await Promise.all(open.map(async (entry) => {
      await this.detail(entry, signal, false);
      if (this.state.progress) ++this.state.progress.done;
      this.changed();
    }));
    this.end(signal);
    if (signal.aborted) throw stopped();
  }

  /** One task of several curves, with a word on what is done. */
  async run<T>(task: Task, what: string): Promise<T> {
    const signal = this.begin(what, 0);
    this.changed();
    try {
      return await this.pool.run<T>(task, { signal, first: true });
    } finally {
      this.end(signal);
    }
  }
}
