// A package of texts: a zip file whose entries are stored as they are, for what is saved on a disk of today.
import { checkSum } from "./check_sum";

const VERSION = 20;
const UTF8_NAMES = 0x800;
const FIRST_DAY = 0x21;  // 1980-01-01: the same texts are the same bytes

/** The bytes of a zip file with the texts under their names. */
export function zipOf(texts: Record<string, string>): Uint8Array {
  const bytes = (text: string) => new TextEncoder().encode(text);
  const parts: Uint8Array[] = [], directory: Uint8Array[] = [];
  let at = 0;
  for (const [name, text] of Object.entries(texts)) {
    const [title, content] = [bytes(name), bytes(text)];
    // Version, flags, method, time, date; sum, packed and plain size; lengths of the name and of what follows it.
    const about = [VERSION, UTF8_NAMES, 0, 0, FIRST_DAY].map(short)
      .concat([checkSum(content), content.length, content.length].map(long), [title.length, 0].map(short));
    parts.push(...[long(0x04034b50), ...about, title, content]);
    // Once more, with lengths of a comment, number of the disk, two kinds of attributes, and the place.
    directory.push(long(0x02014b50), short(VERSION), ...about, ...[0, 0, 0].map(short), long(0), long(at), title);
    at += 30 + title.length + content.length;
  }
  const count = Object.keys(texts).length, size = directory.reduce((sum, part) => sum + part.length, 0);
  const end = [long(0x06054b50), ...[0, 0, count, count].map(short), long(size), long(at), short(0)];
  return joined([...parts, ...directory, ...end]);
}

const short = (value: number) => new Uint8Array([value & 0xff, value >>> 8]);
const long = (value: number) => new Uint8Array([value & 0xff, (value >>> 8) & 0xff, (value >>> 16) & 0xff, value >>> 24]);

function joined(parts: Uint8Array[]): Uint8Array {
  const whole = new Uint8Array(parts.reduce((sum, part) => sum + part.length, 0));
  let at = 0;
  for (const part of parts) {
    whole.set(part, at);
    at += part.length;
  }
  return whole;
}
