// What is done within the figure: readings left out, ends of the range moved, by pointer or by keys.
import { Entry } from "./state";

export interface Acts {
  picture: HTMLElement;
  chosen(): Entry | null;
  press(target: Element): void;
  hover(target: Element): void;
  refit(entry: Entry): void;
}

const STEPS: Record<string, number> = { ArrowRight: 1, ArrowDown: 1, ArrowLeft: -1, ArrowUp: -1 };

export function listenToFigure(acts: Acts) {
  acts.picture.addEventListener("pointerover", (event) => acts.hover(event.target as Element));
  acts.picture.addEventListener("pointerdown", (event) => drag(event, acts));
  document.addEventListener("keydown", (event) => key(event, acts));
}

/** Arrows walk among readings and wells, and move the ends of the range; Enter acts. */
function key(event: KeyboardEvent, acts: Acts) {
  const at = document.activeElement;
  if (!(at instanceof SVGElement)) return;
  const step = STEPS[event.key];
  if (at.matches(".handle") && step) {
    event.preventDefault();
    return moveEnd(Number(at.dataset.range), step, acts);
  }
  if (!at.matches(".reading, .well")) return;
  if (event.key === "Enter" || event.key === " ") {
    event.preventDefault();
    return acts.press(at);
  }
  if (!step) return;
  event.preventDefault();
  const next = at.matches(".well") ? wellBeside(at, event.key) : beside(at, ".reading", step, acts.picture);
  if (!next) return;
  at.setAttribute("tabindex", "-1");
  next.setAttribute("tabindex", "0");
  next.focus();
  acts.hover(next);
}

function beside(at: Element, what: string, step: number, within: Element): SVGElement {
  const all = [...within.querySelectorAll<SVGElement>(what)];
  return all[(all.indexOf(at as SVGElement) + step + all.length) % all.length];
}

/** The next well in the direction of an arrow, past places that are empty. */
function wellBeside(at: SVGElement, arrow: string): SVGElement | null {
  const across = arrow === "ArrowLeft" || arrow === "ArrowRight", forward = STEPS[arrow] > 0;
  const line = [...at.parentElement!.querySelectorAll<SVGElement>(".well")].filter((well) => across
    ? well.dataset.row === at.dataset.row : well.dataset.column === at.dataset.column);
  const place = (well: SVGElement) => Number(across ? well.dataset.column : well.dataset.row);
  const onward = line.filter((well) => (place(well) - place(at)) * (forward ? 1 : -1) > 0);
  return onward.sort((a, b) => Math.abs(place(a) - place(at)) - Math.abs(place(b) - place(at)))[0] ?? null;
}

/** Moves an end of the range to the next concentration. */
function moveEnd(end: number, step: number, acts: Acts) {
  const entry = acts.chosen()!;
  const levels = [...new Set(entry.x.filter(Number.isFinite))].sort((a, b) => a - b);
  const at = (entry.range ?? [levels[0], levels[levels.length - 1]])[end];
  const nearest = levels.reduce((best, x) => (Math.abs(x - at) < Math.abs(best - at) ? x : best));
  const place = Math.min(Math.max(levels.indexOf(nearest) + step, 0), levels.length - 1);
  setEnd(entry, end, levels[place], acts);
}

function setEnd(entry: Entry, end: number, value: number, acts: Acts) {
  const finite = entry.x.filter(Number.isFinite);
  const [low, high] = [Math.min(...finite), Math.max(...finite)];
  const range: [number, number] = entry.range ? [...entry.range] : [low, high];
  range[end] = Math.min(Math.max(value, low), high);
  if (range[0] > range[1]) return;
  entry.range = range[0] <= low && range[1] >= high ? null : range;
  acts.refit(entry);
}

/** An end of the range follows the pointer, and the fit follows when it is let go. */
function drag(event: PointerEvent, acts: Acts) {
  const handle = (event.target as Element).closest<SVGElement>(".handle");
  const entry = acts.chosen();
  if (!handle || !entry) return;
  event.preventDefault();
  // Two readings tell how places on the screen become concentrations.
  const dots = [...acts.picture.querySelectorAll<SVGElement>("[data-reading]")]
    .map((dot) => ({ x: entry.x[Number(dot.dataset.reading)], box: dot.firstElementChild!.getBoundingClientRect() }))
    .map(({ x, box }) => ({ x, at: box.left + box.width / 2 }));
  const from = dots.reduce((a, b) => (b.x < a.x ? b : a)), to = dots.reduce((a, b) => (b.x > a.x ? b : a));
  const svg = acts.picture.querySelector("svg")!;
  const scale = Number(svg.getAttribute("width")) / svg.getBoundingClientRect().width;
  const move = ({ clientX }: PointerEvent) => handle.setAttribute("transform", `translate(${(clientX - event.clientX) * scale} 0)`);
  const up = ({ clientX }: PointerEvent) => {
    removeEventListener("pointermove", move);
    const value = from.x + ((clientX - from.at) / (to.at - from.at || 1)) * (to.x - from.x);
    setEnd(entry, Number(handle.dataset.range), value, acts);
  };
  addEventListener("pointermove", move);
  addEventListener("pointerup", up, { once: true });
}
