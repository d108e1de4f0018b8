// The package of a workbook: a zip file whose entries are unpacked, checked and bounded.
//
// The directory at the end of the file is read here, since the sums of the entries stand there and a
// reading changed by a damaged disk must not pass; the library inflates.

import { Inflate } from "pako/lib/inflate.js";
import { checkSum } from "./check_sum";

const DIRECTORY_END = 0x06054b50;
const DIRECTORY_ENTRY = 0x02014b50;
const LOCAL_ENTRY = 0x04034b50;
const LONGEST_COMMENT = 0xffff;
const IN_EXTRA = 0xffffffff; // a size of this value stands in the extra field of large packages
const ENCRYPTED = 1;

export interface Entry {
  readonly name: string;
  readonly size: number; // unpacked, in bytes
  readonly packed: number;
  readonly method: number;
  readonly sum: number;
  readonly flags: number;
  readonly at: number; // of the local header
}

/** The entries of a package by name. Throws an `Error` where the directory is damaged. */
export function entriesOf(raw: Uint8Array): Map<string, Entry> {
  const view = new DataView(raw.buffer, raw.byteOffset, raw.byteLength);
  let end = raw.length - 22;
  while (end >= 0 && view.getUint32(end, true) !== DIRECTORY_END) {
    if (end <= raw.length - 22 - LONGEST_COMMENT) end = 0;
    end--;
  }
  if (end < 0) throw new Error("its directory is missing");
  const entries = new Map<string, Entry>();
  let at = view.getUint32(end + 16, true);
  for (let left = view.getUint16(end + 10, true); left > 0; left--) {
    if (view.getUint32(at, true) !== DIRECTORY_ENTRY) throw new Error("its directory is damaged");
    const [nameLength, extraLength, commentLength] = [28, 30, 32].map((k) => view.getUint16(at + k, true));
    const [packed, size, offset] = [20, 24, 42].map((k) => view.getUint32(at + k, true));
    const nameAt = at + 46;
    const name = new TextDecoder().decode(raw.subarray(nameAt, nameAt + nameLength));
    const large = largeSizes(view, nameAt + nameLength, extraLength, { size, packed, at: offset });
    const [flags, method] = [view.getUint16(at + 8, true), view.getUint16(at + 10, true)];
    entries.set(name, { name, flags, method, sum: view.getUint32(at + 16, true), ...large });
    at = nameAt + nameLength + extraLength + commentLength;
  }
  return entries;
}

type Sizes = Pick<Entry, "size" | "packed" | "at">;

/** Sizes with those of an extra field in place of the ones that do not fit into 32 bits. */
function largeSizes(view: DataView, start: number, length: number, small: Sizes): Sizes {
  const sizes = { ...small };
  for (let at = start; at + 4 <= start + length; at += 4 + view.getUint16(at + 2, true)) {
    if (view.getUint16(at, true) !== 1) continue;
    let next = at + 4;
    for (const key of ["size", "packed", "at"] as const) {
      if (small[key] !== IN_EXTRA) continue;
      sizes[key] = Number(view.getBigUint64(next, true));
      next += 8;
    }
  }
  return sizes;
}

/** The bytes of an entry. Throws an `Error` where they are not those that were packed. */
export function unpacked(raw: Uint8Array, entry: Entry): Uint8Array {
  const view = new DataView(raw.buffer, raw.byteOffset, raw.byteLength);
  if (entry.flags & ENCRYPTED) throw new Error("it is encrypted");
  if (view.getUint32(entry.at, true) !== LOCAL_ENTRY) throw new Error(`'${entry.name}' is not where it should be`);
  const start = entry.at + 30 + view.getUint16(entry.at + 26, true) + view.getUint16(entry.at + 28, true);
  const packed = raw.subarray(start, start + entry.packed);
  if (entry.method !== 0 && entry.method !== 8) throw new Error(`'${entry.name}' is packed in an unknown way`);
  const bytes = entry.method === 8 ? inflated(packed, entry) : packed;
  if (bytes.length !== entry.size || checkSum(bytes) !== entry.sum) throw new Error(`'${entry.name}' is damaged`);
  return bytes;
}

/** What was packed, which is never more than the directory says. */
function inflated(packed: Uint8Array, entry: Entry): Uint8Array {
  const bytes = new Uint8Array(entry.size);
  let length = 0;
  const inflate = new Inflate({ raw: true });
  inflate.onData = (chunk) => {
    if (length + chunk.length > entry.size) throw new Error(`'${entry.name}' is damaged`);
    bytes.set(chunk, length);
    length += chunk.length;
  };
  inflate.push(packed, true);
  return bytes.subarray(0, length);
}
