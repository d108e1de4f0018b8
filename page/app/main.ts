// The page: what a person does, and what is shown then. In a worker the same script serves tasks.
import { Pool, isStop } from "../engine/pool";
import { serve } from "../engine/worker";
import { readingWords } from "../figure/curve_figure";
import type { Markup } from "../figure/markup";
import { DARK, LIGHT } from "../figure/palette";
import type { Reading, Role, SourceFile } from "../reader/index";
import type { Refusal, Source } from "../reader/sources";
import { Word, applyChoice, withWord } from "./changes";
import { choicesView, exportsView, viewsView } from "./choices_view";
import { EXAMPLE } from "./example";
import { Fits } from "./fits";
import { listenToFigure } from "./gestures";
import { faultsView } from "./faults_view";
import { listView } from "./list_view";
import type { EnergyUnit } from "./numbers";
import { regroup, sourcesFrom, sourcesOf, take } from "./opening";
import { mainPicture, overlaid, pictureOf } from "./pictures";
import { byId, replace } from "./place";
import { resultView } from "./result_view";
import { SessionError, changedSince, restore, unknownSettings } from "./session";
import { setView } from "./set_view";
import { compare, failed, trend } from "./set_work";
import { Entry, SetResult, State, View, chosenEntry, isOut, newState } from "./state";
import { tablesView } from "./tables_view";
import { takeAlong } from "./taking";

/** Left here by the loader. */
declare const zoltModule: WebAssembly.Module;

const REDRAW = 1000;  // ms between drawings of everything while many curves are fitted
const WELCOME = "An example is fitted below: drop a file with your own curves anywhere, or paste a table.";

class Page {
  private readonly state: State = newState();
  private readonly fits: Fits;
  private due = false;    // a drawing is due with the next frame
  private shown = 0;      // when everything was drawn last
  private turn = 0;       // of what is opened; a later one goes before
  private work: Promise<unknown> = Promise.resolve();  // what is read and fitted; what is taken along waits for it

  constructor(private readonly pool: Pool) {
    this.fits = new Fits(pool, this.state, () => this.render());
  }

  start() {
    this.listen();
    this.work = this.open([{ name: EXAMPLE.name, bytes: new TextEncoder().encode(EXAMPLE.text) }], WELCOME);
  }

  // What is shown.

  private render() {
    if (this.due) return;
    this.due = true;
    requestAnimationFrame(() => {
      this.due = false;
      this.showProgress();
      // While many curves are fitted, drawing all anew with each would take longer than the fits.
      const { progress } = this.state;
      const working = progress !== null && progress.done > 0 && progress.done < progress.all;
      if (!working || performance.now() - this.shown > REDRAW) this.show();
    });
  }

  private showProgress() {
    const { progress, message } = this.state;
    byId("message").textContent = message;
    byId("progress").hidden = !progress || progress.all === 1;
    if (!progress) return;
    const { what, done, all } = progress, bar = byId("bar") as HTMLProgressElement;
    if (all) bar.value = done / all;
    else bar.removeAttribute("value");
    byId("count").textContent = all ? `${done} of ${all} ${what}` : what;
  }

  private show() {
    const { state } = this;
    const many = state.entries.length > 1;
    replace("faults", faultsView(state));
    document.querySelector("main")!.classList.toggle("alone", !many);
    replace("choices", choicesView(state));
    replace("curves", [many && listView(state)]);
    replace("views", viewsView(state));
    replace("picture", [this.picture()]);
    replace("exports", exportsView());
    replace("results", [resultView(state)]);
    replace("set", [many && setView(state)]);
    if ((byId("read") as HTMLDetailsElement).open) replace("tables", [tablesView(state)]);
    byId("read").hidden = sourcesOf(state).length === 0;
    this.shown = performance.now();
    if (state.entries.some(({ answer }) => answer)) performance.mark("fit shown");
  }

  private picture(): Markup | null {
    const width = Math.min(Math.max(byId("picture").clientWidth, 420), 900);
    const dark = matchMedia("(prefers-color-scheme: dark)").matches;
    return mainPicture(this.state, width, dark ? DARK : LIGHT, true);
  }

  // What is opened.

  private async open(files: SourceFile[], message = "") {
    const { state } = this;
    state.faults = [];
    if (files.length !== 1 || !/\.json$/i.test(files[0].name)) return this.read(sourcesFrom(state, files), message);
    try {
      await this.reopen(files[0].name, new TextDecoder().decode(files[0].bytes));
    } catch (fault) {
      if (!(fault instanceof SessionError)) throw fault;
      state.faults = [fault.message];
      this.render();
    }
  }

  /** Reads files and fits what they hold, unless something else was opened meanwhile. */
  private async read(sources: Source[], message = "") {
    const { state } = this, turn = ++this.turn;
    try {
      const readings = await this.pool.run<(Reading | Refusal)[]>({ kind: "read", sources }, { first: true });
      if (turn !== this.turn) return;
      take(state, sources.map((source, i) => ({ ...source, reading: readings[i] })));
      if (message) state.message = message;
    } catch (fault) {
      state.faults = [`${sources.map(({ file }) => file.name).join(", ")}: the page failed to read this (${(fault as Error).message}).`];
    }
    this.render();
    await this.fitAll();
  }

  /** The table of what was read, where a person tells the columns. */
  private showColumns() {
    (byId("read") as HTMLDetailsElement).open = true;
    byId("read").scrollIntoView();
  }

  private async fitAll() {
    await this.fits.fitAll();
    if (this.state.view === "overlay") await this.look("overlay");
    performance.mark("fitted");
  }

  private async reopen(name: string, text: string) {
    const { state } = this;
    const before = restore(state, name, text), unknown = unknownSettings(text);
    ++this.turn;
    await this.fitAll();
    const changed = changedSince(before, state.entries);
    state.message = changed === 0 ? `${name}: the session is open, with the numbers it was saved with.`
      : `${name}: ${changed} of ${state.entries.length} curves give other numbers than when the session was saved.`;
    if (unknown.length) state.faults = [`${name}: the page has no ${unknown.join(", no ")}; the session was fitted with that.`];
    this.render();
  }

  /** All fits anew, after a choice that they depend on. */
  private refitAll() {
    for (const entry of this.state.entries) Object.assign(entry, { answer: null, detail: null, fault: null });
    this.forgetSet();
    this.work = this.fitAll();
    this.render();
  }

  private refit(entry: Entry) {
    this.forgetSet();
    this.render();
    this.work = this.fits.refit(entry);
  }

  private forgetSet() {
    this.state.set = null;
    if (this.state.view === "set") this.state.view = "curve";
  }

  // What a person does.

  private listen() {
    const files = byId("files") as HTMLInputElement;
    byId("open").addEventListener("click", () => files.click());
    files.addEventListener("change", () => {
      this.work = this.openChosen([...(files.files ?? [])]);
      files.value = "";
    });
    addEventListener("dragover", (event) => {
      event.preventDefault();
      document.body.classList.add("over");
    });
    addEventListener("dragleave", () => document.body.classList.remove("over"));
    addEventListener("drop", (event) => {
      event.preventDefault();
      document.body.classList.remove("over");
      this.work = this.openChosen([...(event.dataTransfer?.files ?? [])]);
    });
    document.addEventListener("paste", (event) => {
      if (event.target instanceof HTMLInputElement) return;
      const chosen = [...(event.clipboardData?.files ?? [])];
      const text = event.clipboardData?.getData("text/plain") ?? "";
      if (text.trim()) this.work = this.open([{ name: "pasted table", bytes: new TextEncoder().encode(text) }]);
      else if (chosen.length) this.work = this.openChosen(chosen);
    });
    byId("stop").addEventListener("click", () => this.fits.stop());
    byId("read").addEventListener("toggle", () => this.render());
    byId("check").addEventListener("click", () => void this.check());
    document.addEventListener("click", (event) => this.click(event.target as Element));
    document.addEventListener("change", (event) => this.change(event.target as HTMLInputElement));
    addEventListener("resize", () => this.render());
    matchMedia("(prefers-color-scheme: dark)").addEventListener("change", () => this.render());
    listenToFigure({
      picture: byId("picture"), chosen: () => chosenEntry(this.state), press: (target) => this.click(target),
      hover: (target) => this.hover(target), refit: (entry) => this.refit(entry),
    });
  }

  private async openChosen(list: File[]) {
    if (!list.length) return;
    try {
      const files = await Promise.all(list.map(async (file) => ({ name: file.name, bytes: new Uint8Array(await file.arrayBuffer()) })));
      await this.open(files);
    } catch (fault) {
      this.state.faults = [`${list.map(({ name }) => name).join(", ")}: the browser could not read this (${(fault as Error).message}).`];
      this.render();
    }
  }

  private choose(key: number) {
    this.state.chosen = key;
    this.render();
    void this.fits.look();
  }

  private click(target: Element) {
    const reading = target.closest<SVGElement>("[data-reading]"), well = target.closest<SVGElement>(".well");
    const entry = chosenEntry(this.state);
    if (reading && entry) {
      const i = Number(reading.dataset.reading);
      entry.out[i] = !entry.out[i];
      return this.refit(entry);
    }
    if (well) return this.choose(Number(well.dataset.key));
    const { act, key, view, what } = target.closest<HTMLElement>("[data-act]")?.dataset ?? {};
    if (act === "choose") this.choose(Number(key));
    else if (act === "columns") this.showColumns();
    else if (act === "view") void this.look(view as View);
    else if (act === "export") void this.export(what as string);
    else if (act === "compare") void this.together(compare);
    else if (act === "trend") void this.together(trend);
    else if (act === "all" && entry) {
      entry.out.fill(false);
      entry.range = null;
      this.refit(entry);
    }
  }

  private async look(view: View) {
    this.state.view = view;
    this.render();
    if (view === "overlay") await this.quietly(() => this.fits.detailAll(overlaid(this.state)));
  }

  private change(input: HTMLInputElement) {
    const { state } = this, { dataset, value } = input;
    if (dataset.set) this.set(dataset.set, input);
    else if (dataset.role) return this.tell(Number(dataset.place), { table: dataset.table!, column: Number(dataset.role), role: value as Role });
    else if (dataset.readingChoice) return this.tell(Number(dataset.place), { name: dataset.readingChoice, value });
    else if (dataset.choice === "unit") state.unit = value as EnergyUnit;
    else if (dataset.choice === "quantity") state.quantity = value as State["quantity"];
    else if (dataset.choice === "plateValue") state.plateValue = value as State["plateValue"];
    else if (dataset.baseline) {
      state.settings.baseline[Number(dataset.baseline)] = Number(value);
      return this.refitAll();
    } else if (dataset.choice) return this.choice(dataset.choice, value);
    else return;
    this.render();
    if (state.view === "overlay") void this.look("overlay");
  }

  private set(name: string, { value, checked }: HTMLInputElement) {
    const { state } = this;
    if (name === "sort") state.sort = value as State["sort"];
    else if (name === "descending") state.descending = checked;
    else if (name === "warned") state.warned = value;
    else if (name === "reference") {
      state.reference = Number(value);
      if (state.set?.comparison) void this.together(compare);
    }
  }

  private choice(name: string, value: string) {
    applyChoice(this.state, name, value);
    if (name === "replicates") regroup(this.state);
    this.refitAll();
  }

  /** A person's word on a file. */
  private tell(place: number, word: Word) {
    this.work = this.read(withWord(sourcesOf(this.state), place, word));
  }

  private hover(target: Element) {
    const reading = target.closest<SVGElement>("[data-reading]"), well = target.closest<SVGElement>(".well");
    const entry = chosenEntry(this.state), i = Number(reading?.dataset.reading);
    byId("hover").textContent = reading && entry
      ? `${readingWords(pictureOf(entry, this.state), i)}${isOut(entry, i) ? " (left out)" : ""}`
      : well?.getAttribute("aria-label") ?? "";
  }

  // Several curves.

  private together(work: (state: State, fits: Fits) => Promise<SetResult>) {
    return this.quietly(async () => {
      const { state } = this;
      try {
        state.set = await work(state, this.fits);
        if (!state.set.fault) state.view = "set";
      } catch (fault) {
        if (isStop(fault)) throw fault;
        state.set = failed(fault);
      }
      this.render();
    });
  }

  // What is taken along.

  private async quietly(work: () => Promise<void>) {
    try {
      await work();
    } catch (fault) {
      if (!isStop(fault)) throw fault;
    }
  }

  private export(what: string) {
    return this.quietly(async () => {
      await this.work;
      await takeAlong(what, this.state, this.fits);
    });
  }

  private async check() {
    byId("hash").textContent = "Working …";
    byId("hash").textContent = await this.pool.run<string>({ kind: "hash" }, { first: true });
  }
}

function start() {
  const workers = Math.min(Math.max(navigator.hardwareConcurrency || 2, 1), 8);
  new Page(new Pool(zoltModule, byId("script").textContent ?? "", workers)).start();
}

if (typeof document === "undefined") serve(self as any);
else start();
