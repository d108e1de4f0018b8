// From the bytes of a file to its text.

import { ReadError } from "./grid";
import { pattern } from "./text_rules";

const FOREIGN: [start: string, what: string][] = [
  ["%PDF", "a PDF document; export the table as .csv or .xlsx"],
  ["\x89PNG", "a picture; the readings themselves are needed"],
  ["\xff\xd8\xff", "a picture; the readings themselves are needed"],
  ["GIF8", "a picture; the readings themselves are needed"],
  ["\x1f\x8b", "a compressed file; unpack it first"],
  ["{\\rtf", "a text-processor document; save the table as .csv or .xlsx"],
];
const JSON_TEXT = pattern(String.raw`^\s*[{\[]\s*["{\[]`);
const WEB_PAGE = pattern(String.raw`^\s*<(!doctype|html|\?xml|table)`, "i");
const SEEN = 100_000; // characters that are looked at for what does not belong in a text

/** True for bytes that begin with the characters given, each a byte. */
export function startsWith(raw: Uint8Array, start: string): boolean {
  return raw.length >= start.length && [...start].every((c, i) => raw[i] === c.charCodeAt(0));
}

/** The text of the bytes of a file. */
export function decode(source: string, raw: Uint8Array): string {
  const foreign = FOREIGN.find(([start]) => startsWith(raw, start));
  if (foreign) throw new ReadError(`${source}: expected a text table, found ${foreign[1]}.`);
  const text = decoded(source, raw);
  const seen = Array.from(text.slice(0, 2 * SEEN)).slice(0, SEEN);
  const odd = seen.filter((c) => c < "\t" || (c > "\r" && c < " ")).length;
  if (odd > Math.floor(seen.length / 50) || text.includes("\0")) throw binary(source);
  const start = Array.from(text.slice(0, 400)).slice(0, 200).join("");
  if (JSON_TEXT.test(start))
    throw new ReadError(`${source}: expected a text table, found JSON; save it as .csv or .xlsx.`);
  if (WEB_PAGE.test(start))
    throw new ReadError(`${source}: expected a text table, found a web page or XML; save it as .csv or .xlsx.`);
  return text;
}

function binary(source: string): ReadError {
  return new ReadError(`${source}: expected a text table, found binary data.`);
}

function decoded(source: string, raw: Uint8Array): string {
  if (startsWith(raw, "\xff\xfe\0\0")) return utf32(raw, true);
  if (startsWith(raw, "\0\0\xfe\xff")) return utf32(raw, false);
  if (startsWith(raw, "\xef\xbb\xbf")) return new TextDecoder("utf-8").decode(raw);
  if (startsWith(raw, "\xff\xfe")) return new TextDecoder("utf-16le").decode(raw);
  if (startsWith(raw, "\xfe\xff")) return new TextDecoder("utf-16be").decode(raw);
  if (raw.includes(0)) return wideText(source, raw);
  try {
    return new TextDecoder("utf-8", { fatal: true }).decode(raw);
  } catch {
    return new TextDecoder("windows-1252").decode(raw).replace(/[\x81\x8d\x8f\x90\x9d]/g, "\ufffd");
  }
}

/** UTF-32, which browsers do not decode; `raw` begins with its mark. */
function utf32(raw: Uint8Array, littleEndian: boolean): string {
  const view = new DataView(raw.buffer, raw.byteOffset, raw.byteLength);
  const letters: string[] = [];
  for (let at = 4; at + 4 <= raw.length; at += 4) {
    const code = view.getUint32(at, littleEndian);
    const valid = code <= 0x10ffff && (code < 0xd800 || code > 0xdfff);
    letters.push(valid ? String.fromCodePoint(code) : "\ufffd");
  }
  return letters.join("") + (raw.length % 4 ? "\ufffd" : "");
}

/** UTF-16 without a mark: every second byte of plain text is 0. */
function wideText(source: string, original: Uint8Array): string {
  const raw = original.subarray(0, original.length - (original.length % 2));
  const zeros = [0, 0]; // at even and at odd places
  raw.forEach((byte, i) => (zeros[i % 2] += byte === 0 ? 1 : 0));
  const half = raw.length / 2;
  for (const [full, other, encoding] of [[1, 0, "utf-16le"], [0, 1, "utf-16be"]] as const)
    if (zeros[full] > 0.3 * half && zeros[other] < 0.05 * half)
      return new TextDecoder(encoding, { ignoreBOM: true }).decode(raw);
  throw binary(source);
}
