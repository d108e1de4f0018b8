// Runs a WebAssembly program under Node's system interface.
import {readFileSync} from 'node:fs';
import {WASI} from 'node:wasi';

const wasi = new WASI({version: 'preview1', args: ['zolt_result_hash']});
const module = readFileSync(process.argv[2]);
const imports = {wasi_snapshot_preview1: wasi.wasiImport};
const {instance} = await WebAssembly.instantiate(module, imports);
process.exitCode = wasi.start(instance);
