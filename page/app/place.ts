// Elements of the page by their id, and new children for them.
import { Markup, toElement } from "../figure/markup";

export const byId = (id: string) => document.getElementById(id) as HTMLElement;

/** How to find an element again after its surroundings were drawn anew. */
function selectorOf(element: Element): string {
  const { key, reading, range, row, column } = (element as HTMLElement).dataset;
  if (element.id) return `[id="${CSS.escape(element.id)}"]`;
  if (row) return `[data-row="${row}"][data-column="${column}"]`;
  return reading ? `[data-reading="${reading}"]` : range ? `[data-range="${range}"]` : key ? `[data-key="${key}"]` : "";
}

/** New children of an element; focus, places of scrolling and what was unfolded stay. */
export function replace(id: string, children: (Markup | null | false)[]) {
  const place = byId(id), at = document.activeElement;
  const again = at && place.contains(at) ? selectorOf(at) : "";
  const scrolled = [...place.querySelectorAll(".scroll")].map(({ scrollTop, scrollLeft }) => [scrollLeft, scrollTop]);
  const opened = [...place.querySelectorAll("details")].map(({ open }) => open);
  place.replaceChildren(...children.flatMap((child) => (child ? [toElement(child)] : [])));
  place.querySelectorAll(".scroll").forEach((element, i) => scrolled[i] && element.scrollTo(scrolled[i][0], scrolled[i][1]));
  place.querySelectorAll("details").forEach((element, i) => (element.open = opened[i] ?? false));
  const found = again && place.querySelector<HTMLElement>(again);
  if (!found) return;
  // Of readings and wells one can be reached by Tab: the one that had the focus.
  if (found.getAttribute("tabindex") === "-1") {
    place.querySelector(`.${found.getAttribute("class")}[tabindex="0"]`)?.setAttribute("tabindex", "-1");
    found.setAttribute("tabindex", "0");
  }
  found.focus({ preventScroll: true });
}
