// Elements of a picture or a view as plain objects. Text from files only ever becomes text: it is set
// as text in the page and escaped in an exported picture.

export type Attributes = Record<string, string | number | boolean | null | undefined>;
export type Child = Markup | string | null | false;

export interface Markup {
  tag: string;
  attributes: Attributes;
  children: Child[];
}

export const h = (tag: string, attributes: Attributes = {}, ...children: Child[]): Markup => ({
  tag, attributes, children,
});

const SVG = "http://www.w3.org/2000/svg";
const present = (value: Attributes[string]) => value !== null && value !== undefined && value !== false;
const text = (value: Attributes[string]) =>
  value === true ? "" : typeof value === "number" ? String(+value.toFixed(3)) : String(value);

/** The element in a document; what stands in an `svg` belongs to its namespace. */
export function toElement(markup: Markup, within = ""): Element {
  const space = markup.tag === "svg" ? SVG : within;
  const element = space ? document.createElementNS(space, markup.tag) : document.createElement(markup.tag);
  for (const [name, value] of Object.entries(markup.attributes))
    if (present(value)) element.setAttribute(name, text(value));
  for (const child of markup.children)
    if (child) element.append(typeof child === "string" ? child : toElement(child, space));
  return element;
}

const ENTITIES: Record<string, string> = { "&": "&amp;", "<": "&lt;", ">": "&gt;", '"': "&quot;" };
export const escaped = (words: string) =>
  // Characters that XML cannot hold at all are dropped.
  words.replace(/[\u0000-\u0008\u000b\u000c\u000e-\u001f\ufffe\uffff]/g, "").replace(/[&<>"]/g, (c) => ENTITIES[c]);

/** The same as text of a file. */
export function toText({ tag, attributes, children }: Markup): string {
  const told = Object.entries(attributes)
    .filter(([, value]) => present(value))
    .map(([name, value]) => ` ${name}="${escaped(text(value))}"`);
  const inner = children.map((child) => (!child ? "" : typeof child === "string" ? escaped(child) : toText(child)));
  return `<${tag}${told.join("")}>${inner.join("")}</${tag}>`;
}
