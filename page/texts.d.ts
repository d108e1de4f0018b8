// What the bundler takes in: texts, and the library that inflates, as Debian has it.
declare module "*.csv" {
  const text: string;
  export default text;
}

declare module "pako/lib/inflate.js" {
  export class Inflate {
    constructor(options: { raw: boolean });
    push(packed: Uint8Array, last: boolean): boolean;
    onData(chunk: Uint8Array): void;
  }
}
declare module "pako/lib/zlib/crc32.js" {
  export default function crc32(start: number, bytes: Uint8Array, length: number, at: number): number;
}
