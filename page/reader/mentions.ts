// Temperatures that running text mentions, and which of them is the one of the measurement.

import { GIVE_OR_TAKE, RATE, UNITS, VALUE, celsius, decimal, unitInText } from "./quantities";
import { SPELLINGS, plain } from "./spellings";
import { escaped, pattern, whole } from "./text_rules";

const WORDS = SPELLINGS.temperature_in_text;
const KEYS = [...SPELLINGS.headers.temperature.words, ...SPELLINGS.short_temperature_keys].map(escaped).join("|");
const ROUGHLY = String.raw`(?:\b(?:about|around|approx\.?|ca\.?|constant)|[~≈(])?\s*`;
const IS = String.raw`(?:\s*[:=]|\s+(?:is|was|of|at|set to|held at|kept at))*\s*`;
const MENTION = pattern(
  String.raw`(?<![\w.,])${VALUE}\s*${GIVE_OR_TAKE}(${UNITS})(?!-?\w)`, "g",
);
const AFTER_T = whole(String.raw`.*(?<!\w)(?:${KEYS})\.?${IS}${ROUGHLY}`);
const AFTER_AT = whole(String.raw`.*(?:(?<!\w)(?:at|bei)\s|@)\s*${ROUGHLY}`);
const ITEM_BEFORE = whole(String.raw`(?:.*[,;|(])?[\W_]*${ROUGHLY}`);
const ITEM_BEHIND = whole(String.raw`\s*\.?(?:[,;|()].*)?`);
const LINK = whole(String.raw`\s*(?:and|or|to|then|und|oder|bis|-|–|/|&|,(?:\s*then)?)\s*`);
const RATE_BEHIND = pattern(`^${RATE}`);
const WORD = pattern(String.raw`\w+`, "g");

type Kind = "explicit" | "plain" | "other" | "bare";

/**
 * A temperature in running text, in °C or null where nothing is measured at it. `kind` is 'explicit'
 * ('T 310 K', 'measured at 20 C'), 'plain' ('at 37 degrees', or an item of a list), 'other' (of a
 * storage, an incubation) or 'bare'.
 */
export interface Mention {
  readonly degrees: number | null;
  readonly text: string;
  readonly kind: Kind;
}

/** The `Mention`s of a line of running text, in order. */
export function mentionsIn(line: string): Mention[] {
  const text = plain(line);
  const found: Mention[] = [];
  let end: number | null = null;
  for (const match of text.matchAll(MENTION)) {
    const start = match.index!;
    const behind = text.slice(start + match[0].length);
    const value = decimal(match[1]);
    const unit = unitInText(value, match[2], text);
    if (unit === null || RATE_BEHIND.test(behind)) continue;
    let kind = kindOf(text.slice(0, start), behind);
    if (end !== null && LINK.test(text.slice(end, start))) { // 'at 20 and 37 °C', a range: not one
      found.push({ ...found.pop()!, kind: "bare" });
      kind = "bare";
    }
    const { F, K } = SPELLINGS.temperature_units;
    const shown = `${match[1]} ${unit === K ? "K" : unit === F ? "°F" : "°C"}`;
    found.push({ degrees: celsius(value, unit), text: shown, kind });
    end = start + match[0].length;
  }
  return found;
}

function kindOf(before: string, behind: string): Kind {
  const cue = cueOf(before);
  if (AFTER_T.test(before)) return cue === "other" ? "other" : "explicit";
  if (AFTER_AT.test(before)) return cue === "measured" ? "explicit" : cue ?? "plain";
  if (cue === "other") return "other";
  return ITEM_BEFORE.test(before) && ITEM_BEHIND.test(behind) ? "plain" : "bare";
}

/** Of what the last word speaks that says what was done. */
function cueOf(before: string): "measured" | "other" | null {
  const words = before.match(WORD) ?? [];
  for (const word of [...words].reverse()) {
    if (WORDS.measured.includes(word)) return "measured";
    if (WORDS.other.includes(word)) return "other";
  }
  return words.some((word) => word.endsWith("ed")) ? "other" : null;
}

/** The one temperature that mentions state for certain in °C, or null. */
export function chosenOf(mentions: Mention[]): number | null {
  const explicit = mentions.filter(({ kind }) => kind === "explicit");
  const all = new Set((explicit.length ? explicit : mentions).map(({ degrees }) => degrees));
  const certain = explicit.length > 0 || mentions.every(({ kind }) => kind === "plain");
  return certain && all.size === 1 ? [...all][0] : null;
}
