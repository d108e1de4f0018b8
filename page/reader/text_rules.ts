// Texts and numbers in texts by the rules of the host's reader: what is a letter, a digit or a blank
// in any script, and how a number is rounded and written. Both readers must say the same of a file.

const BLANKS = "\\t-\\r\\x1c-\\x20\\x85\\xa0\\u1680\\u2000-\\u200a\\u2028\\u2029\\u202f\\u205f\\u3000";
const LETTERS = "\\p{L}\\p{N}_";
const WITHIN: Record<string, string> = { w: LETTERS, d: "\\p{Nd}", s: BLANKS };
const ALONE: Record<string, string> = {
  w: `[${LETTERS}]`,
  W: `[^${LETTERS}]`,
  d: "\\p{Nd}",
  s: `[${BLANKS}]`,
  S: `[^${BLANKS}]`,
  b: `(?:(?<=[${LETTERS}])(?![${LETTERS}])|(?<![${LETTERS}])(?=[${LETTERS}]))`,
};

/**
 * A regular expression whose \w, \d, \s, \b and point hold for every script, as in the host: the
 * language's own know the letters of English only, and its point stops at more marks than a new line.
 */
export function pattern(source: string, flags = ""): RegExp {
  let within = false;
  const translated = source.replace(/\\(.)|[[\].]/gsu, (found, escaped) => {
    if (escaped !== undefined) return (within ? WITHIN[escaped] : ALONE[escaped]) ?? found;
    if (found === "." && !within && !flags.includes("s")) return "[^\\n]";
    if (found === "[") within = true;
    if (found === "]") within = false;
    return found;
  });
  return new RegExp(translated, `${flags}u`);
}

/** A `pattern` that has to match the whole of a text. */
export function whole(source: string, flags = ""): RegExp {
  return pattern(`^(?:${source})$`, flags);
}

/** A text with what has a meaning in a regular expression escaped. */
export function escaped(text: string): string {
  return text.replace(/[\\^$.*+?()[\]{}|/]/g, "\\$&");
}

const ENDS = new RegExp(`^[${BLANKS}]+|[${BLANKS}]+$`, "gu");
const BARE = /^[!-~](?:[^]*[!-~])?$/; // nearly all texts, told faster
const RUN_OF_BLANKS = new RegExp(`[${BLANKS}]+`, "u");

/** The text without the blanks at its ends. */
export function stripped(text: string): string {
  return BARE.test(text) ? text : text.replace(ENDS, "");
}

/** The text without any of `characters` at its ends. */
export function strippedOf(text: string, characters: string): string {
  let start = 0;
  let end = text.length;
  while (start < end && characters.includes(text[start])) start++;
  while (end > start && characters.includes(text[end - 1])) end--;
  return text.slice(start, end);
}

/** The first letters of a text. */
export function startOf(text: string, most: number): string {
  return text.length <= most ? text : Array.from(text).slice(0, most).join("");
}

/** The words between blanks. */
export function wordsBetweenBlanks(text: string): string[] {
  return text.split(RUN_OF_BLANKS).filter(Boolean);
}

/** Digits of any script as 0 to 9. The digits of a script follow each other, beginning with its zero. */
export function asciiDigits(text: string): string {
  if (!/[^\0-\x7f]/.test(text)) return text;
  return text.replace(/\p{Nd}/gu, (digit) => {
    let zero = digit.codePointAt(0) as number;
    const code = zero;
    while (/\p{Nd}/u.test(String.fromCodePoint(zero - 1))) zero--;
    return String((code - zero) % 10);
  });
}

/**
 * Decimal digits and exponent of a number rounded to `precision` digits, exact halves to even: the
 * language rounds these up, the host does not. A double that ends in an exact half has few digits,
 * so that the hundred that the language gives show it.
 */
function roundedDigits(value: number, precision: number): [string, number] {
  const [digits, exponent] = Math.abs(value).toExponential(100).split("e");
  const all = digits.replace(".", "");
  const [kept, rest] = [all.slice(0, precision), all.slice(precision)];
  const up = /^50*$/.test(rest) ? Number(kept[precision - 1]) % 2 === 1 : rest[0] >= "5";
  if (!up) return [kept, Number(exponent)];
  const raised = (BigInt(kept) + 1n).toString().padStart(precision, "0");
  return raised.length > precision
    ? [raised.slice(0, precision), Number(exponent) + 1]
    : [raised, Number(exponent)];
}

function written(sign: string, digits: string, exponent: number, mostDigits: number): string {
  const bare = digits.replace(/0+$/, "") || "0";
  if (exponent < -4 || exponent >= mostDigits) {
    const power = String(Math.abs(exponent)).padStart(2, "0");
    const fraction = bare.length > 1 ? `.${bare.slice(1)}` : "";
    return `${sign}${bare[0]}${fraction}e${exponent < 0 ? "-" : "+"}${power}`;
  }
  if (exponent < 0) return `${sign}0.${"0".repeat(-exponent - 1)}${bare}`;
  const padded = bare.padEnd(exponent + 1, "0");
  const fraction = padded.slice(exponent + 1);
  return `${sign}${padded.slice(0, exponent + 1)}${fraction && `.${fraction}`}`;
}

/** A number with at most `precision` digits, without zeros at its end: 7.2, 0.0001, 1e-05. */
export function general(value: number, precision = 6): string {
  if (Number.isNaN(value)) return "nan";
  const sign = value < 0 || Object.is(value, -0) ? "-" : "";
  if (!Number.isFinite(value)) return `${sign}inf`;
  if (value === 0) return `${sign}0`;
  const [digits, exponent] = roundedDigits(value, precision);
  return written(sign, digits, exponent, precision);
}

/** A number with the fewest digits that give it again: 0.1, 1e-05, 1e+16. */
export function allDigits(value: number): string {
  const [digits, exponent] = Math.abs(value).toExponential().split("e");
  const sign = value < 0 || Object.is(value, -0) ? "-" : "";
  return value === 0 ? `${sign}0` : written(sign, digits.replace(".", ""), Number(exponent), 16);
}

/** A number rounded to `places` behind the point, as its decimal digits say, exact halves to even. */
export function roundedTo(value: number, places: number): number {
  if (value === 0 || !Number.isFinite(value)) return value;
  const precision = Number(Math.abs(value).toExponential().split("e")[1]) + places + 1;
  if (precision < 1) {  // nothing is kept, or one where the digits say more than a half
    const more = precision === 0 && /^(?:[6-9]|5\.0*[1-9])/.test(Math.abs(value).toExponential(100));
    return more ? Math.sign(value) * Number(`1e${-places}`) : 0;
  }
  if (precision > 100) return value;
  const [digits, power] = roundedDigits(value, precision);
  return Math.sign(value) * Number(`${digits[0]}.${digits.slice(1)}e${power}`);
}

/** The results of a function of a text, remembered for the texts asked for last. */
export function remembered<T>(most: number, make: (text: string) => T): (text: string) => T {
  const known = new Map<string, T>();
  return (text) => {
    let found = known.get(text);
    if (found === undefined) {
      if (known.size >= most) known.clear();
      found = make(text);
      known.set(text, found);
    }
    return found;
  };
}
