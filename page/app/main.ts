// The page: what a person does, and what is shown then. In a worker the same script serves tasks.
import { Pool, isStop } from "../engine/pool";
import { serve } from "../engine/worker";
import { curveFigure, readingWords } from "../figure/curve_figure";
import { Markup, h, toElement } from "../figure/markup";
import { DARK, LIGHT } from "../figure/palette";
import { ReadError } from "../reader/index";
import { choicesView, exportsView, viewsView } from "./choices_view";
import { EXAMPLE } from "./example";
import { csv, curveRows, download, downloadPicture, readingRows, resultRows } from "./export";
import { Fits } from "./fits";
import { listView, tablesView } from "./list_view";
import { CAL_PER_UNIT, EnergyUnit } from "./numbers";
import { openFiles, readAgain } from "./opening";
import { mainPicture, pictureOf } from "./pictures";
import { resultView } from "./result_view";
import { SessionError, changedSince, restore, saved } from "./session";
import { setView } from "./set_view";
import { Entry, State, View, chosenEntry, fitOf, isOut, newState } from "./state";

const byId = (id: string) => document.getElementById(id) as HTMLElement;
/** Left here by the loader. */
declare const zoltModule: WebAssembly.Module;

const REDRAW = 1000;  // ms between drawings of everything while many curves are fitted
const WELCOME = "An example is fitted below: drop a file with your own curves anywhere, or paste a table.";

class Page {
  private readonly state: State = newState();
  private readonly fits: Fits;
  private due = false;    // a drawing is due with the next frame
  private shown = 0;      // when everything was drawn last

  constructor(private readonly pool: Pool) {
    this.fits = new Fits(pool, this.state, () => this.render());
  }

  start() {
    this.listen();
    this.open([{ name: EXAMPLE.name, bytes: new TextEncoder().encode(EXAMPLE.text) }], WELCOME);
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
    byId("progress").hidden = !progress || progress.all < 2;
    if (!progress) return;
    (byId("bar") as HTMLProgressElement).value = progress.done / Math.max(progress.all, 1);
    byId("count").textContent = `${progress.done} of ${progress.all} curves`;
  }

  private show() {
    const { state } = this;
    const many = state.entries.length > 1;
    replace("faults", state.faults.map((words) => h("p", {}, words)));
    document.querySelector("main")!.classList.toggle("alone", !many);
    replace("choices", choicesView(state));
    replace("curves", many ? [listView(state)] : []);
    replace("views", viewsView(state));
    const picture = this.picture(true);
    replace("picture", picture ? [picture] : []);
    replace("exports", exportsView());
    replace("results", [resultView(state)]);
    replace("set", many ? [setView(state)] : []);
    if ((byId("read") as HTMLDetailsElement).open) replace("tables", [tablesView(state)]);
    byId("read").hidden = state.opened.length === 0;
    this.shown = performance.now();
    if (state.entries.some(({ answer }) => answer)) performance.mark("fit shown");
  }

  private picture(live: boolean): Markup | null {
    const width = live ? Math.min(Math.max(byId("picture").clientWidth, 420), 900) : 760;
    const dark = live && matchMedia("(prefers-color-scheme: dark)").matches;
    return mainPicture(this.state, width, dark ? DARK : LIGHT, live);
  }

  // What is opened.

  private async open(files: { name: string; bytes: Uint8Array }[], message = "") {
    const { state } = this;
    try {
      if (files.length === 1 && /\.json$/i.test(files[0].name)) {
        await this.reopen(files[0].name, new TextDecoder().decode(files[0].bytes));
        return;
      }
      openFiles(state, files);
      if (message) state.message = message;
    } catch (fault) {
      if (!(fault instanceof ReadError || fault instanceof SessionError)) throw fault;
      state.faults = [fault.message];
    }
    this.render();
    await this.fits.fitAll();
  }

  private async reopen(name: string, text: string) {
    const before = restore(this.state, name, text);
    await this.fits.fitAll();
    const changed = changedSince(before, this.state.entries);
    this.state.message = changed === 0 ? `${name}: the session is open, with the numbers it was saved with.`
      : `${name}: ${changed} of ${this.state.entries.length} curves give other numbers than when the session was saved.`;
    this.render();
  }

  /** All fits anew, after a choice that they depend on. */
  private refitAll() {
    for (const entry of this.state.entries) Object.assign(entry, { answer: null, detail: null, fault: null });
    this.state.set = null;
    if (this.state.view === "set") this.state.view = "curve";
    void this.fits.fitAll();
    this.render();
  }

  private refit(entry: Entry) {
    this.state.set = null;
    this.render();
    void this.fits.refit(entry);
  }

  // What a person does.

  private listen() {
    const files = byId("files") as HTMLInputElement;
    byId("open").addEventListener("click", () => files.click());
    files.addEventListener("change", () => {
      void this.openChosen([...(files.files ?? [])]);
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
      void this.openChosen([...(event.dataTransfer?.files ?? [])]);
    });
    document.addEventListener("paste", (event) => {
      if (event.target instanceof HTMLInputElement) return;
      const chosen = [...(event.clipboardData?.files ?? [])];
      const text = event.clipboardData?.getData("text/plain") ?? "";
      if (text.trim()) void this.open([{ name: "pasted table", bytes: new TextEncoder().encode(text) }]);
      else if (chosen.length) void this.openChosen(chosen);
    });
    byId("stop").addEventListener("click", () => this.fits.stop());
    byId("read").addEventListener("toggle", () => this.render());
    byId("check").addEventListener("click", () => void this.check());
    document.addEventListener("click", (event) => this.click(event.target as Element));
    document.addEventListener("change", (event) => this.change(event.target as HTMLInputElement));
    document.addEventListener("keydown", (event) => this.key(event));
    byId("picture").addEventListener("pointerover", (event) => this.hover(event.target as Element));
    byId("picture").addEventListener("pointerdown", (event) => this.drag(event));
    addEventListener("resize", () => this.render());
    matchMedia("(prefers-color-scheme: dark)").addEventListener("change", () => this.render());
  }

  private async openChosen(list: File[]) {
    if (!list.length) return;
    const files = await Promise.all(list.map(async (file) => ({ name: file.name, bytes: new Uint8Array(await file.arrayBuffer()) })));
    await this.open(files);
  }

  private choose(key: number) {
    this.state.chosen = key;
    this.render();
    void this.fits.look();
  }

  private click(target: Element) {
    const { state } = this;
    const reading = target.closest<SVGElement>("[data-reading]");
    if (reading) return this.toggle(Number(reading.dataset.reading));
    const well = target.closest<SVGElement>(".well");
    if (well) return this.choose(Number(well.dataset.key));
    const button = target.closest<HTMLElement>("[data-act]");
    if (!button) return;
    const { act, key, view, what } = button.dataset;
    if (act === "choose") this.choose(Number(key));
    else if (act === "view") void this.look(view as View);
    else if (act === "export") void this.export(what as string);
    else if (act === "compare") void this.compare();
    else if (act === "trend") void this.trend();
    else if (act === "all") {
      const entry = chosenEntry(state)!;
      entry.out.fill(false);
      entry.range = null;
      this.refit(entry);
    }
  }

  private toggle(i: number) {
    const entry = chosenEntry(this.state);
    if (!entry) return;
    entry.out[i] = !entry.out[i];
    this.refit(entry);
  }

  private async look(view: View) {
    this.state.view = view;
    this.render();
    if (view === "overlay") await this.quietly(() => this.fits.detailAll(this.state.entries.filter(fitOf).slice(0, 16)));
  }

  private change(input: HTMLInputElement) {
    const { state } = this, { settings } = state, { dataset, value } = input;
    if (dataset.set === "sort") state.sort = value as State["sort"];
    else if (dataset.set === "onlyWarned") state.onlyWarned = input.checked;
    else if (dataset.set === "reference") state.reference = Number(value);
    else if (dataset.choice === "unit") state.unit = value as EnergyUnit;
    else if (dataset.choice === "quantity") state.quantity = value as State["quantity"];
    else if (dataset.choice === "plateValue") state.plateValue = value as State["plateValue"];
    else if (dataset.role) return this.tell(Number(dataset.place), { table: dataset.table, column: Number(dataset.role), role: value });
    else if (dataset.readingChoice) return this.tell(Number(dataset.place), { name: dataset.readingChoice, value });
    else if (dataset.baseline) {
      settings.baseline[Number(dataset.baseline)] = Number(value);
      return this.refitAll();
    } else if (dataset.choice) {
      if (dataset.choice === "states") settings.states = value === "auto" ? "auto" : (Number(value) as 2 | 3 | 4);
      else if (dataset.choice === "heldM") settings.heldM = Number(value) > 0 ? Number(value) * CAL_PER_UNIT[state.unit] : null;
      else if (dataset.choice === "level") settings.level = Number(value);
      else if (dataset.choice === "sdKnown") settings.sdKnown = input.checked;
      else (settings as any)[dataset.choice] = value;
      return this.refitAll();
    } else return;
    this.render();
  }

  /** A person's word on a file: the role of a column, or what the file does not say. */
  private tell(place: number, word: { table?: string; column?: number; role?: string; name?: string; value?: string }) {
    const { state } = this;
    const opened = state.opened.map((one, i) => {
      if (i !== place) return one;
      if (word.role) {
        const others = (one.choices.roles ?? []).filter(({ table, column }) => table !== word.table || column !== word.column);
        return { ...one, choices: { ...one.choices, roles: [...others, { table: word.table!, column: word.column!, role: word.role as any }] } };
      }
      const value = word.value!.trim();
      const told = word.name === "temperature" ? (value === "" || Number.isNaN(Number(value)) ? null : Number(value)) : value || null;
      return { ...one, choices: { ...one.choices, [word.name!]: told } };
    });
    readAgain(state, opened);
    this.render();
    void this.fits.fitAll();
  }

  /** Arrows walk among readings and wells, and move the ends of the range; Enter acts. */
  private key(event: KeyboardEvent) {
    const at = document.activeElement;
    if (!(at instanceof SVGElement)) return;
    const step = { ArrowRight: 1, ArrowDown: 1, ArrowLeft: -1, ArrowUp: -1 }[event.key];
    if (at.matches(".handle") && step) {
      event.preventDefault();
      return this.moveEnd(Number(at.dataset.range), step);
    }
    if (!at.matches(".reading, .well")) return;
    if (event.key === "Enter" || event.key === " ") {
      event.preventDefault();
      return this.click(at);
    }
    if (!step) return;
    event.preventDefault();
    const all = [...byId("picture").querySelectorAll<SVGElement>(`.${at.getAttribute("class")}`)];
    const next = all[(all.indexOf(at) + step + all.length) % all.length];
    at.setAttribute("tabindex", "-1");
    next.setAttribute("tabindex", "0");
    next.focus();
    this.hover(next);
  }

  /** Moves an end of the range to the next concentration. */
  private moveEnd(end: number, step: number) {
    const entry = chosenEntry(this.state)!;
    const levels = [...new Set(entry.x.filter(Number.isFinite))].sort((a, b) => a - b);
    const range = entry.range ?? [levels[0], levels[levels.length - 1]];
    const i = levels.indexOf(levels.reduce((best, x) => (Math.abs(x - range[end]) < Math.abs(best - range[end]) ? x : best)));
    this.setEnd(entry, end, levels[Math.min(Math.max(i + step, 0), levels.length - 1)]);
  }

  private setEnd(entry: Entry, end: number, value: number) {
    const finite = entry.x.filter(Number.isFinite);
    const [low, high] = [Math.min(...finite), Math.max(...finite)];
    const range: [number, number] = entry.range ? [...entry.range] : [low, high];
    range[end] = Math.min(Math.max(value, low), high);
    if (range[0] > range[1]) return;
    entry.range = range[0] <= low && range[1] >= high ? null : range;
    this.refit(entry);
  }

  private drag(event: PointerEvent) {
    const handle = (event.target as Element).closest<SVGElement>(".handle");
    const entry = chosenEntry(this.state);
    if (!handle || !entry) return;
    event.preventDefault();
    const end = Number(handle.dataset.range);
    // Two readings tell how places on the screen become concentrations.
    const dots = [...byId("picture").querySelectorAll<SVGElement>("[data-reading]")]
      .map((dot) => ({ x: entry.x[Number(dot.dataset.reading)], box: dot.firstElementChild!.getBoundingClientRect() }))
      .map(({ x, box }) => ({ x, at: box.left + box.width / 2 }));
    const from = dots.reduce((a, b) => (b.x < a.x ? b : a)), to = dots.reduce((a, b) => (b.x > a.x ? b : a));
    const up = (last: PointerEvent) => {
      const value = from.x + ((last.clientX - from.at) / (to.at - from.at || 1)) * (to.x - from.x);
      this.setEnd(entry, end, value);
    };
    addEventListener("pointerup", up, { once: true });
  }

  private hover(target: Element) {
    const reading = target.closest<SVGElement>("[data-reading]"), well = target.closest<SVGElement>(".well");
    const entry = chosenEntry(this.state);
    byId("hover").textContent = reading && entry
      ? `${readingWords(pictureOf(entry, this.state), Number(reading.dataset.reading))}${isOut(entry, Number(reading.dataset.reading)) ? " (left out)" : ""}`
      : well?.getAttribute("aria-label") ?? "";
  }

  // Several curves.

  private async together(work: (entries: Entry[]) => Promise<State["set"]>) {
    const fitted = this.state.entries.filter(fitOf);
    await this.quietly(async () => {
      this.state.message = "Working …";
      this.render();
      try {
        this.state.set = await work(fitted);
        this.state.view = this.state.set?.fault ? this.state.view : "set";
        this.state.message = "";
      } catch (fault) {
        this.state.set = { keys: [], reference: 0, comparison: null, trend: null, fault: (fault as Error).message };
        this.state.message = "";
      }
      this.render();
    });
  }

  private compare() {
    const { state } = this;
    return this.together(async (entries) => {
      const reference = Math.max(entries.findIndex(({ key }) => key === state.reference), 0);
      const comparison = await this.pool.run<any>(
        { kind: "compare", curves: entries.map(asReadings), choices: state.settings, reference }, { first: true });
      const fault = comparison.global.status === 0 ? null : "These curves cannot be compared: fewer than two have a two-state fit.";
      return { keys: entries.map(({ key }) => key), reference: entries[reference].key, comparison: fault ? null : comparison, trend: null, fault };
    });
  }

  private trend() {
    return this.together(async (entries) => {
      const labelled = entries.filter(({ label }) => typeof label === "number" && label > 0);
      const trend = await this.pool.run<any>(
        { kind: "trend", labels: labelled.map(({ label }) => label as number), vectors: labelled.map((entry) => fitOf(entry)!.engine) }, { first: true });
      return { keys: labelled.map(({ key }) => key), reference: 0, comparison: null, trend, fault: null };
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
      const { state } = this, { entries } = state;
      const name = chosenEntry(state)?.name ?? "zolt";
      if (what === "session") return download("session.json", saved(state), "application/json");
      if (what === "svg" || what === "png") {
        const picture = this.picture(false);
        if (picture) await downloadPicture(picture, state.view === "curve" ? name : state.view, what);
        return;
      }
      await this.fits.detailAll(entries);
      if (what === "results") download("results.csv", csv(resultRows(state)));
      else if (what === "readings") download("readings.csv", csv(readingRows(entries)));
      else if (what === "fitted") download("curves.csv", csv(curveRows(entries)));
      else this.report();
    });
  }

  private report() {
    const { state } = this, { chosen } = state;
    const articles = state.entries.slice(0, 200).map((entry) => {
      state.chosen = entry.key;
      return h("article", {}, curveFigure(pictureOf(entry, state), "signal", { width: 640, height: 420 }, LIGHT), resultView(state));
    });
    state.chosen = chosen;
    replace("report", [h("h1", {}, "Denaturation curves"), h("p", {}, byId("hash").closest("p")!.firstChild!.textContent ?? ""), ...articles]);
    window.print();
  }

  private async check() {
    byId("hash").textContent = "Working …";
    byId("hash").textContent = await this.pool.run<string>({ kind: "hash" }, { first: true });
  }
}

const asReadings = (entry: Entry) => ({
  x: entry.x, y: entry.y.map((y, i) => (isOut(entry, i) ? NaN : y)), sd: entry.sd, temperature: entry.temperature,
});

/** New children of an element; what had the focus has it again where it is still there. */
function replace(id: string, children: Markup[]) {
  const place = byId(id), at = document.activeElement;
  let again = "";
  if (at && place.contains(at)) {
    const { key, reading, range } = (at as HTMLElement).dataset;
    again = at.id ? `[id="${CSS.escape(at.id)}"]` : reading ? `[data-reading="${reading}"]` : range ? `[data-range="${range}"]` : key ? `[data-key="${key}"]` : "";
  }
  const scrolled = [...place.querySelectorAll(".scroll")].map(({ scrollTop }) => scrollTop);
  const opened = [...place.querySelectorAll("details")].map(({ open }) => open);
  place.replaceChildren(...children.map((child) => toElement(child)));
  place.querySelectorAll(".scroll").forEach((element, i) => (element.scrollTop = scrolled[i] ?? 0));
  place.querySelectorAll("details").forEach((element, i) => (element.open = opened[i] ?? false));
  if (again) place.querySelector<HTMLElement>(again)?.focus({ preventScroll: true });
}

function start() {
  const workers = Math.min(Math.max(navigator.hardwareConcurrency || 2, 1), 8);
  new Page(new Pool(zoltModule, byId("script").textContent ?? "", workers)).start();
}

if (typeof document === "undefined") serve(self as any);
else start();
