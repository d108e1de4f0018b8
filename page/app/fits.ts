// Fits of the curves over the pool: the one that is looked at comes first, all can be stopped.
import { Pool, isStop, stopped } from "../engine/pool";
import type { Choices, Detail, FitAnswer, SharedAnswer, Task } from "../engine/tasks";
import { Entry, State, chosenEntry, readingsOf } from "./state";

const FEWEST_READINGS = 8;

export class Fits {
  private job = new AbortController();
  private detailJob = new AbortController();
  private readonly asked = new WeakMap<Entry, symbol>();  // the last fit of each that was asked for

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
    const turn = Symbol();
    this.asked.set(entry, turn);
    const isLast = () => this.asked.get(entry) === turn;  // an answer to readings or choices of before does not count
    try {
      const answer = await this.pool.run<FitAnswer>({ kind: "fit", curve, all: entry.y, choices: this.choices() }, { signal, first });
      if (isLast()) entry.answer = answer;
    } catch (fault) {
      if (!isStop(fault) && isLast()) entry.fault = (fault as Error).message;
    }
  }

  /** Where one m was asked for: all curves anew, together. One without a fit of its own takes no part. */
  private async share(signal: AbortSignal) {
    const { settings } = this.state;
    this.state.shared = null;
    const all = this.state.entries.filter(({ answer }) => answer);
    if (!this.sharesM || all.length < 2) return;
    this.state.progress = { what: `one m-value for ${all.length} curves`, done: 0, all: 0 };
    this.changed();
    try {
      const { global, rows } = await this.pool.run<SharedAnswer>({
        kind: "share", curves: all.map((entry) => ({ curve: readingsOf(entry, settings), all: entry.y, alone: entry.answer! })),
        choices: this.choices(),
      }, { signal, first: true });
      if (global.status !== 0) this.state.faults = ["These curves share no m: fewer than two of them can be fitted."];
      else {
        this.state.shared = global;
        all.forEach((entry, i) => Object.assign(entry, { answer: rows[i], detail: null }));
      }
    } catch (fault) {
      if (isStop(fault)) return;
      this.state.faults = [(fault as Error).message];
    }
    await this.look();
  }

  private get sharesM() {
    return this.state.settings.shareM && this.state.entries.length > 1;
  }

  /** What the fits of single curves are asked for: those that will share m have two states unless told. */
  private choices(): Choices {
    const { settings } = this.state;
    return !this.sharesM ? settings : { ...settings, heldM: null, states: settings.states === "auto" ? 2 : settings.states };
  }

  /** After a reading was left out, or another thing of one curve changed. */
  async refit(entry: Entry) {
    entry.fault = null;
    this.detailJob.abort();
    const { signal } = this.detailJob = new AbortController();
    await this.fit(entry, signal, true);
    if (signal.aborted) return;
    if (this.sharesM) {
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
        kind: "detail", curve: readingsOf(entry, settings), choices: this.choices(), fit: answer.fit, intervals: answer.shared ?? null,
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
