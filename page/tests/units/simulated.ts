// Curves whose truth is known, by the equations of docs/equations.md, and the module to fit them with.
import { readFileSync } from "node:fs";
import { Engine, Readings } from "../../engine/engine";
import type { Choices } from "../../engine/tasks";
import { usualSettings } from "../../app/state";

declare const process: { env: Record<string, string> };
const module = new WebAssembly.Module(readFileSync(process.env.ZOLT_WASM));
export const compiled = () => module;
export const newEngine = () => new Engine(new WebAssembly.Instance(module, {}));

export interface Truth {
  m: number[];
  Cm: number[];
  weight?: number[];
  baseline?: [number, number, number, number];
  temperature?: number;
  noise?: number;  // alternating in no simple way, with a mean of nearly 0
  x?: number[];
}

export const places = (count: number, last = 8) => Array.from({ length: count }, (_, i) => (last * i) / (count - 1));

export function simulated({ m, Cm, weight = [1], baseline = [0.1, 0.01, 1, -0.02], temperature = 25, noise = 0, x = places(33) }: Truth): Readings {
  const RT = 1.9872 * (temperature + 273.15), [aN, bN, aU, bU] = baseline;
  const y = x.map((at, i) => {
    const share = m.reduce((sum, slope, t) => sum + weight[t] / (1 + Math.exp((slope * (Cm[t] - at)) / RT)), 0);
    return (aN + bN * at) * (1 - share) + (aU + bU * at) * share + noise * Math.sin(37 * i * i + 5 * i);
  });
  return { x, y, sd: null, temperature };
}

export const choices = (changes: Partial<Choices> = {}): Choices => {
  const { shareM, replicates, residues, ...usual } = usualSettings();
  return { ...usual, ...changes };
};

/** Whether two numbers agree to a part of the second. */
export const near = (found: number, wanted: number, part = 1e-6) => Math.abs(found - wanted) <= part * Math.max(Math.abs(wanted), 1e-9);
