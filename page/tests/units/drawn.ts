// Reads figures back as a person does: by the marks of the axes and their labels.
import type { Markup } from "../../figure/markup";

/** An element and all within it, or those that meet a condition together with all that they stand in. */
export const all = (markup: Markup, where: (one: Markup) => boolean = () => true): Markup[] => (!where(markup) ? []
  : [markup, ...markup.children.flatMap((child) => (child && typeof child === "object" ? all(child, where) : []))]);
export const withTag = (markup: Markup, tag: string) => all(markup).filter((one) => one.tag === tag);
export const wordsOf = (markup: Markup): string => markup.children.map((child) => (!child ? "" : typeof child === "string" ? child : wordsOf(child))).join("");
export const numbersIn = (path: unknown) => (String(path).match(/-?\d+(?:\.\d+)?(?:e-?\d+)?/g) ?? []).map(Number);

export interface Axes {
  x(place: number): number;
  y(place: number): number;
  titles: string[];
}

const SUPERSCRIPTS = "⁰¹²³⁴⁵⁶⁷⁸⁹";
function inverse(places: number[], labels: string[], title: string): (place: number) => number {
  const power = [.../10([⁻⁰¹²³⁴⁵⁶⁷⁸⁹]*)\)$/.exec(title)?.[1] ?? ""].map((c) => (c === "⁻" ? "-" : String(SUPERSCRIPTS.indexOf(c)))).join("");
  const values = labels.map((label) => Number(label.replace("−", "-")) * 10 ** Number(power)), last = places.length - 1;
  return (place) => values[0] + ((place - places[0]) * (values[last] - values[0])) / (places[last] - places[0]);
}

/** The panels of a figure. One above another has no labels of its own below and takes those of the last. */
export function axesOf(figure: Markup): Axes[] {
  const frames = all(figure).map(({ children }) => children as Markup[]).filter((children) =>
    children.length === 2 && children[0]?.tag === "g" && /^M\S+ \S+V\S+H\S+$/.test(String((children[0].children[0] as Markup)?.attributes.d)));
  const panels = frames.map(([lines, words]) => {
    const texts = words.children as Markup[], [, below, beside] = (lines.children as Markup[]).map(({ attributes }) => numbersIn(attributes.d));
    const title = texts.filter(({ attributes }) => attributes["font-size"]), labels = texts.filter((one) => !title.includes(one));
    const [ys, xs] = ["end", "middle"].map((anchor) => labels.filter(({ attributes }) => attributes["text-anchor"] === anchor));
    const across = below.filter((_, i) => i % 3 === 0), up = (beside ?? []).filter((_, i) => i % 3 === 1), titles = title.map(wordsOf);
    return { titles, x: xs.length ? inverse(across, xs.map(wordsOf), titles[titles.length - 1]) : null, y: inverse(up, ys.map(wordsOf), titles[0]) };
  });
  return panels.map(({ x, ...panel }) => ({ ...panel, x: x ?? panels[panels.length - 1].x! }));
}

/** Corners of a path of absolute steps, as values. */
export function cornersOf({ attributes }: Markup, at: Axes): [number, number][] {
  let x = 0, y = 0;
  return [...String(attributes.d).matchAll(/([MLHV])(-?[\d.]+(?:e-?\d+)?)(?: (-?[\d.]+(?:e-?\d+)?))?/g)].map(([, step, a, b]): [number, number] => {
    [x, y] = step === "H" ? [Number(a), y] : step === "V" ? [x, Number(a)] : [Number(a), Number(b)];
    return [at.x(x), at.y(y)];
  });
}

/** Dots, bars and words that lie beyond the sheet; what is moved as a group is not looked at. */
export function beyond(figure: Markup): string[] {
  const { width, height } = figure.attributes as Record<string, number>;
  return all(figure, ({ attributes }) => !attributes.transform).filter(({ tag }) => ["circle", "rect", "text"].includes(tag)).flatMap(({ tag, attributes }) => {
    const [x, y, w, h] = [attributes.cx ?? attributes.x ?? 0, attributes.cy ?? attributes.y ?? 0, attributes.width ?? 0, attributes.height ?? 0].map(Number);
    return x >= 0 && y >= 0 - (tag === "text" ? 10 : 0) && x + w <= width + 0.01 && y + h <= height + 0.01 ? [] : [`${tag} at ${x} ${y} of ${width} ${height}`];
  });
}
