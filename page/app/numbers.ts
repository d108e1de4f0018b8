// Numbers as a reader wants them: as many digits as their error allows, energies in kcal or kJ.

export type EnergyUnit = "kcal" | "kJ";
export const CAL_PER_UNIT: Record<EnergyUnit, number> = { kcal: 1000, kJ: 1000 / 4.184 };

const minus = (text: string) => text.replace("-", "−");

/** Decimals that show an error with two digits. */
function decimalsFor(error: number): number {
  return Math.min(Math.max(1 - Math.floor(Math.log10(error)), 0), 12);
}

export function withError(value: number, error: number): string {
  if (!Number.isFinite(value)) return "–";
  if (!(error > 0) || !Number.isFinite(error)) return minus(String(+value.toPrecision(5)));
  const decimals = decimalsFor(error);
  return `${minus(value.toFixed(decimals))} ± ${error.toFixed(decimals)}`;
}

export function interval([low, high]: readonly number[], error: number): string {
  const decimals = error > 0 && Number.isFinite(error) ? decimalsFor(error) : 3;
  const end = (value: number) => (Number.isFinite(value) ? minus(value.toFixed(decimals)) : "open");
  return `${end(low)} to ${end(high)}`;
}

export const short = (value: number, digits = 4) =>
  (Number.isFinite(value) ? minus(String(+value.toPrecision(digits))) : "–");

/** A probability; small ones as what they are below. */
export const probability = (p: number) => (p < 0 ? "–" : p < 1e-4 ? "< 0.0001" : p.toFixed(4));
