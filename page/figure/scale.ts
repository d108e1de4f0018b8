// Axes: from values to places, and where the marks stand.

export interface Scale {
  low: number;
  high: number;
  (value: number): number;
}

export function linear(low: number, high: number, from: number, to: number): Scale {
  const place = (value: number) => from + ((value - low) / (high - low || 1)) * (to - from);
  return Object.assign(place, { low, high });
}

/** The range of the values with some room on either side; never empty. */
export function reach(values: readonly number[], room = 0.06): [number, number] {
  let low = Infinity, high = -Infinity;
  for (const value of values) {
    if (!Number.isFinite(value)) continue;
    if (value < low) low = value;
    if (value > high) high = value;
  }
  if (low > high) return [0, 1];
  const margin = room * (high - low || Math.abs(high) || 1);
  return [low - margin, high + margin];
}

/** Round values within a range, about as many as wanted: steps of 1, 2 or 5 times a power of ten. */
export function marks(low: number, high: number, wanted: number): number[] {
  const rough = (high - low) / Math.max(wanted, 1);
  const power = 10 ** Math.floor(Math.log10(rough));
  const within = (step: number) => {
    const first = Math.ceil(low / step - 1e-9), count = Math.floor(high / step + 1e-9) - first + 1;
    return Array.from({ length: Math.max(count, 0) }, (_, i) => (first + i) * step);
  };
  const steps = [0.5, 1, 2, 5, 10].map((times) => times * power);
  const place = steps.findIndex((size) => size >= rough * 0.999);
  const found = within(steps[place]);
  return found.length > 2 || place === 0 ? found : within(steps[place - 1]);  // two or three tell a scale, one does not
}

/** Labels of marks, with the digits that tell neighbours apart; large or small ones share a power. */
export function markLabels(values: readonly number[]): { labels: string[]; power: number } {
  const most = Math.max(...values.map(Math.abs));
  const magnitude = most > 0 ? Math.floor(Math.log10(most)) : 0;
  const power = magnitude >= 5 || magnitude <= -3 ? magnitude : 0;
  const step = values.length > 1 ? Math.abs(values[1] - values[0]) / 10 ** power : 1;
  const digits = Math.min(Math.max(-Math.floor(Math.log10(step) + 1e-9), 0), 12);
  const labels = values.map((value) => (value / 10 ** power).toFixed(digits).replace(/^-(0\.?0*)$/, "$1").replace("-", "−"));
  return { labels, power };
}
