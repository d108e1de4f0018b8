// The parts of a workbook as a run of tags and texts. Workers have no parser of documents, and a sheet
// needs none: its elements follow each other flatly.

/** A tag that opens, with its attributes, or closes; names are without their namespace. */
export interface Tag {
  readonly name: string;
  readonly opens: boolean;
  readonly attributes: Map<string, string>;
}

const PIECE = /<!--[^]*?-->|<!\[CDATA\[([^]*?)\]\]>|<[?!][^>]*>|<(\/?)([^\s/>]+)((?:"[^"]*"|'[^']*'|[^"'>])*?)(\/?)>|([^<]+)/g;
const ATTRIBUTE = /([^\s=]+)\s*=\s*(?:"([^"]*)"|'([^']*)')/g;
const REFERENCE = /&(?:#(\d+)|#x([0-9a-fA-F]+)|(\w+));/g;
const NAMED = new Map([["lt", "<"], ["gt", ">"], ["amp", "&"], ["quot", '"'], ["apos", "'"]]);

/**
 * Walks a document: `onTag` hears every tag, an empty element as one that opens and one that closes,
 * and `onText` every text within one. Throws an `Error` where tags do not close in order. Entities of
 * a document's own are never expanded, so that none can fill the memory.
 */
export function walk(document: string, onTag: (tag: Tag) => void, onText: (text: string) => void): void {
  const open: string[] = [];
  let at = 0;
  let found = false;
  for (const match of document.matchAll(PIECE)) {
    const [piece, data, closes, qualified, attributes, empty, text] = match;
    if (match.index !== at) throw new Error("it holds a mark that belongs to no tag");
    at += piece.length;
    if (data !== undefined || text !== undefined) {
      if (open.length) onText(data ?? withoutReferences(text));
    } else if (qualified !== undefined) {
      const name = withoutNamespace(qualified);
      if (!closes) {
        found = true;
        open.push(qualified);
        onTag({ name, opens: true, attributes: attributesOf(attributes) });
      }
      if (closes || empty) {
        if (open.pop() !== qualified) throw new Error(`'${name}' closes where it is not open`);
        onTag({ name, opens: false, attributes: new Map() });
      }
    }
  }
  if (open.length || at < document.length || !found) throw new Error("it ends too early");
}

function withoutNamespace(name: string): string {
  return name.slice(name.indexOf(":") + 1);
}

function attributesOf(text: string): Map<string, string> {
  const found = new Map<string, string>();
  if (text)
    for (const [, name, double, single] of text.matchAll(ATTRIBUTE))
      found.set(withoutNamespace(name), withoutReferences(double ?? single));
  return found;
}

function withoutReferences(text: string): string {
  if (!text.includes("&")) return text;
  return text.replace(REFERENCE, (whole, decimal, hexadecimal, name) => {
    if (name !== undefined) return NAMED.get(name) ?? whole;
    const code = decimal !== undefined ? Number(decimal) : parseInt(hexadecimal, 16);
    return code <= 0x10ffff ? String.fromCodePoint(code) : "\ufffd";
  });
}
