declare module "node:test" {
  export function test(name: string, body: () => void | Promise<void>): void;
}
declare module "node:assert" {
  export function deepStrictEqual(found: unknown, wanted: unknown, words?: string): void;
  export function ok(value: unknown, words?: string): void;
}
declare module "node:fs" {
  export function readFileSync(path: string): Uint8Array;
  export function readFileSync(path: string, encoding: "utf8"): string;
  export function writeFileSync(path: string, text: string): void;
}
declare module "node:zlib" {
  export function deflateRawSync(plain: Uint8Array): Uint8Array;
}
