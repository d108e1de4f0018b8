// Reads many files with the page's reader for the tests: `node read_files.mjs reader.mjs requests.json`.
// A request holds files of name and base64 bytes and choices; what each gave is printed as JSON.

import { readFileSync } from "node:fs";
import { pathToFileURL } from "node:url";

const [bundle, requests] = process.argv.slice(2);
const { ReadError, readFile, readFiles } = await import(pathToFileURL(bundle));

const file = ({ name, base64 }) => ({ name, bytes: new Uint8Array(Buffer.from(base64, "base64")) });

/** A reading or the sentence of its fault; other faults carry their stack, so that a test shows it. */
function plain(found) {
  if (found instanceof ReadError) return { error: found.message };
  return found instanceof Error ? { crash: found.stack } : found;
}

function answer({ files, choices = {} }) {
  const layout = choices.layout ? file(choices.layout) : null;
  const all = files.map(file);
  try {
    if (all.length > 1) return readFiles(all, { ...choices, layout }).map(plain);
    return plain(readFile(all[0].name, all[0].bytes, { ...choices, layout }));
  } catch (fault) {
    return plain(fault);
  }
}

process.stdout.write(JSON.stringify(JSON.parse(readFileSync(requests, "utf8")).map(answer)));
