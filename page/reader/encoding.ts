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
const UPPER_CONTROLS = "€\ufffd‚ƒ„…†‡ˆ‰Š‹Œ\ufffdŽ\ufffd\ufffd‘’“”•–—˜™š›œ\ufffdžŸ"; // 0x80 to 0x9f
const SAMPLE = 200_000; // bytes that tell the encoding
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
  const text = new TextDecoder("utf-8").decode(raw);
  let broken = 0, sound = 0;
  for (const letter of text) {
    if (letter === "\ufffd") ++broken;
    else if (letter > "\x7f") ++sound;
  }
  // A damaged text, or none of UTF-8, where few letters would happen to be sound.
  if (broken <= sound) return text;
  const encoding = likelyEncoding(raw.subarray(0, SAMPLE));
  return encoding === null ? western(raw) : new TextDecoder(encoding).decode(raw);
}

/** Windows-1252 by a table, for some runtimes take it for Latin 1. Five of its bytes are no letters. */
function western(raw: Uint8Array): string {
  const letters: string[] = [];
  for (const byte of raw)
    letters.push(byte >= 0x80 && byte < 0xa0 ? UPPER_CONTROLS[byte - 0x80] : String.fromCharCode(byte));
  return letters.join("");
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

/** Encodings of one byte a letter, with the script and the letters that most of its texts consist of. */
const ALPHABETS: [encodings: string[], script: string, common: string][] = [
  [["windows-1251", "koi8-r", "ibm866", "x-mac-cyrillic", "iso-8859-5"], "Cyrillic", "оеаинтсрвл"],
  [["iso-8859-7"], "Greek", "αοιετνσςρκάίόέή"],
  [["windows-1255"], "Hebrew", "יוהלאמרתבשנםן"],
];

/** Encodings of two bytes a letter, with the first bytes of the letters in common use. */
const SYLLABARIES: [encoding: string, least: number, greatest: number][] = [
  ["euc-kr", 0xb0, 0xc8],
  ["gb18030", 0xb0, 0xd7],
  ["big5", 0xa4, 0xc6],
];
const KANA = [0xa4, 0xa5]; // first bytes in EUC-JP

/**
 * The encoding of bytes that are no UTF-8, null for the Western one. Single bytes of the upper half among ASCII are a degree, a
 * micro or an accent: Western. Where they stand in runs, they spell the words of another script, if
 * they do so in its common letters; names of curves hang on it, no number does.
 */
function likelyEncoding(raw: Uint8Array): string | null {
  let [high, runs] = [0, 0];
  raw.forEach((byte, i) => {
    if (byte < 0x80) return;
    high++;
    if (i === 0 || raw[i - 1] < 0x80) runs++;
  });
  return high <= 1.5 * runs ? null : likelyAlphabet(raw) ?? likelySyllabary(raw);
}

/** The encoding in which nearly all is words of one script, in its common letters, capitals only in front. */
function likelyAlphabet(raw: Uint8Array): string | null {
  let [best, found]: [number, string | null] = [0.45, null];
  for (const [encodings, script, common] of ALPHABETS) {
    const sound = new RegExp(`^(?=[\\p{Script=${script}}]+$)(?:\\P{Ll}?\\P{Lu}*|\\P{Ll}+)$`, "u");
    for (const encoding of encodings) {
      const text = new TextDecoder(encoding).decode(raw).replace(/[\0-\x7f°µ№]/g, (c) => (/[a-z]/i.test(c) ? c : " "));
      const words = text.split(" ").filter((word) => /[^a-z]/i.test(word));
      const letters = words.join("").toLowerCase();
      const share = [...letters].filter((letter) => common.includes(letter)).length / letters.length;
      const ofScript = words.filter((word) => sound.test(word)).join("").length; // a damaged byte is of none
      if (share > best && ofScript > 0.8 * letters.length) [best, found] = [share, encoding];
    }
  }
  return found;
}

/** The encoding in whose common letters nearly all pairs of bytes are; Japanese shows by its kana. */
function likelySyllabary(raw: Uint8Array): string | null {
  const firsts: number[] = [];
  for (let i = 0; i < raw.length; i++) if (raw[i] >= 0x80) firsts.push(raw[i++]);
  const share = (isCommon: (first: number) => boolean) => firsts.filter(isCommon).length / firsts.length;
  const isKana = (first: number) => KANA.includes(first);
  const japanese = share(isKana) > 0.15 && share((b) => isKana(b) || (b >= 0xb0 && b <= 0xcf)) > 0.9;
  const likely = japanese
    ? "euc-jp"
    : SYLLABARIES.find(([, least, greatest]) => share((b) => b >= least && b <= greatest) > 0.9)?.[0];
  if (!likely) return null;
  try {
    new TextDecoder(likely, { fatal: true }).decode(raw, { stream: true }); // the sample may end within a pair
    return likely;
  } catch {
    return null;
  }
}
