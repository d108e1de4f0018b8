// What the build puts in: the release, and the hash of the module's bytes.
declare const ZOLT_VERSION: string;
declare const ZOLT_MODULE_HASH: string;

export const BUILD = { version: ZOLT_VERSION, module: ZOLT_MODULE_HASH };
