// The cyclic redundancy check of zip files and of pictures, CRC-32.
import crc32 from "pako/lib/zlib/crc32.js";

export function checkSum(bytes: Uint8Array): number {
  return crc32(0, bytes, bytes.length, 0) >>> 0;
}
