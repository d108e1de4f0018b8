// Packages: what is written can be read; what is damaged, hidden or larger than it says is refused.
import { deflateRawSync } from "node:zlib";
import { entriesOf, unpacked } from "../../zip/read";
import { zipOf } from "../../zip/write";
import { checkSum } from "../../zip/check_sum";
import { same, table, test } from "./check";

const bytes = (text: string) => new TextEncoder().encode(text);

/** What a package gives: the texts of its entries by name, or why it gives none. */
function opened(raw: Uint8Array): Record<string, string> | string {
  try {
    const entries = [...entriesOf(raw).values()];
    return Object.fromEntries(entries.map((entry) => [entry.name, new TextDecoder().decode(unpacked(raw, entry))]));
  } catch (fault) {
    return fault instanceof Error ? fault.message : "no error";
  }
}

table("checkSum", (text: string) => checkSum(bytes(text)), [["", 0], ["123456789", 0xcbf43926]]);

const TEXTS = { "a.xml": "<a/>", "xl/Größe.xml": "µM \u{1d6e5}G".repeat(40), "empty": "" };

test("what is written comes back, and is the same bytes again", () => {
  same(opened(zipOf(TEXTS)), TEXTS);
  same(zipOf(TEXTS), zipOf(TEXTS));
  same(opened(zipOf({})), {});
});

// A package of one entry of 5000 letters, packed, as other programs write it.
const LOCAL = 30, NAME = 4, TEXT = "urea ".repeat(1000);
const PACKED = new Uint8Array(deflateRawSync(bytes(TEXT)));
const DIRECTORY = LOCAL + NAME + PACKED.length, END = DIRECTORY + 46 + NAME;

interface Change { at?: number; short?: number; long?: number; length?: number; comment?: string }

function packed({ at = 0, short, long, length, comment = "" }: Change = {}): Uint8Array {
  const raw = new Uint8Array(END + 22 + comment.length), view = new DataView(raw.buffer);
  const put = (place: number, ...parts: [offset: number, value: number][]) =>
    parts.forEach(([offset, value]) => (value > 0xffff ? view.setUint32(place + offset, value, true) : view.setUint16(place + offset, value, true)));
  put(0, [0, 0x04034b50], [8, 8], [26, NAME]);
  raw.set(bytes("name"), LOCAL);
  raw.set(PACKED, LOCAL + NAME);
  put(DIRECTORY, [0, 0x02014b50], [10, 8], [16, checkSum(bytes(TEXT))], [20, PACKED.length], [24, TEXT.length], [28, NAME]);
  raw.set(bytes("name"), DIRECTORY + 46);
  put(END, [0, 0x06054b50], [8, 1], [10, 1], [12, 46 + NAME], [16, DIRECTORY], [20, comment.length]);
  raw.set(bytes(comment), END + 22);
  if (short !== undefined) view.setUint16(at, short, true);
  if (long !== undefined) view.setUint32(at, long, true);
  return length === undefined ? raw : raw.subarray(0, length);
}

table("a package of another program", (change: Change) => opened(packed(change)), [
  [{}, { name: TEXT }],
  [{ comment: "of a plate reader" }, { name: TEXT }],
  [{ length: END }, "its directory is missing"],
  [{ length: 10 }, "its directory is missing"],
  [{ at: DIRECTORY, long: 7 }, "its directory is damaged"],
  [{ at: DIRECTORY + 8, short: 1 }, "it is encrypted"],
  [{ at: 0, long: 7 }, "'name' is not where it should be"],
  [{ at: DIRECTORY + 10, short: 12 }, "'name' is packed in an unknown way"],
  [{ at: DIRECTORY + 10, short: 0 }, "'name' is damaged"], // packed bytes taken for plain ones
  [{ at: DIRECTORY + 16, long: 7 }, "'name' is damaged"], // another sum
  [{ at: DIRECTORY + 24, long: 4999 }, "'name' is damaged"], // more than it says
  [{ at: DIRECTORY + 24, long: 5001 }, "'name' is damaged"], // less
  [{ at: LOCAL + NAME, short: 0xffff }, "'name' is damaged"], // no packed bytes at all
]);
