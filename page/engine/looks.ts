// What the libraries say of a fit beside its numbers, for the warnings: where the curve is folded, what
// happens without the reading that decides most, what lies off, what the engine's own fit is.
import * as records from "../generated/records";
import { Engine, OneFit, Readings } from "./engine";

export interface Looks {
  fraction: number[];                       // denatured, at every reading
  crossing: { x: number; fraction: number } | null;  // of the baselines
  without: { x: number; fit: records.Fit } | null;   // the fit without the most decisive reading
  off: boolean[];                           // readings far off the fit
  spikes: boolean[];
  engine: number[];                         // the engine's vector, of its full analysis
}

/** `all` are the signals with those that were left out of the fit. */
export function looksOf(engine: Engine, curve: Readings, all: number[], one: OneFit, options: records.Options): Looks {
  const { fit } = one, { x } = curve;
  const ok = fit.status === records.FITTED;
  const given = options.native_kind === records.GIVEN && options.denatured_kind === records.GIVEN;
  const drawnAt = (at: number[]) => engine.draw(fit, at, 0.95).fraction;
  return {
    fraction: ok ? drawnAt(x) : [],
    crossing: ok ? crossing(fit, drawnAt) : null,
    without: ok ? withoutOne(engine, curve, one, options) : null,
    off: ok ? offOf(engine, x, all, vectorOf(fit)) : [],
    spikes: spikesOf(engine, all),
    engine: ok && (given || fit.transitions > 1)
      ? engine.analyse(fit.transitions + 1, ...finite(curve), curve.temperature, given ? options.baseline : null) : fit.engine,
  };
}

const placesOf = (x: number[], y: number[]) => x.map((_, i) => i).filter((i) => Number.isFinite(x[i]) && Number.isFinite(y[i]));

function finite({ x, y }: { x: number[]; y: number[] }): [number[], number[]] {
  const there = placesOf(x, y);
  return [there.map((i) => x[i]), there.map((i) => y[i])];
}

/** The rule knows no gaps: one would hide what lies off. */
function offOf(engine: Engine, x: number[], all: number[], vector: number[]): boolean[] {
  const marked = engine.outliers(...finite({ x, y: all }), vector), off = x.map(() => false);
  placesOf(x, all).forEach((i, k) => (off[i] = marked[k]));
  return off;
}

function crossing({ baseline: [aN, bN, aU, bU] }: records.Fit, fractionAt: (x: number[]) => number[]) {
  const x = (aU - aN) / (bN - bU);
  return Number.isFinite(x) ? { x, fraction: fractionAt([x])[0] } : null;
}

/** The reading whose own fitted value hangs on it most is left out, and the fit repeated. */
function withoutOne(engine: Engine, curve: Readings, { fit, residual, leverage }: OneFit, options: records.Options) {
  let place = -1, most = -1;
  residual.forEach((value, i) => {
    const pull = (Math.abs(value) * leverage[i]) / (1 - leverage[i]) / (curve.sd ? curve.sd[i] : 1);
    if (Number.isFinite(pull) && pull > most) [place, most] = [i, pull];
  });
  if (place < 0) return null;
  const y = curve.y.map((value, i) => (i === place ? NaN : value));
  return { x: curve.x[place], fit: engine.fit({ ...curve, y }, fit.transitions, options).fit };
}

/** The fit in the layout of the engine's vector; its error of dG is the standard error. */
export function vectorOf({ baseline, dG, dG_se, Cm, weight, transitions, RT, r_squared }: records.Fit): number[] {
  const vector = Array<number>(records.ENGINE_LENGTH).fill(0);
  vector.splice(0, 4, ...baseline);
  for (let t = 0; t < transitions; ++t)
    [vector[ENGINE.dG[t]], vector[ENGINE.Cm[t]], vector[ENGINE.error[t]]] = [dG[t], Cm[t], Math.max(dG_se[t], 0)];
  for (let t = 0; t < transitions - 1; ++t) vector[ENGINE.weight[t]] = weight[t];
  [vector[ENGINE.RT], vector[ENGINE.rSquared]] = [RT, r_squared];
  return vector;
}

/** Places of a result vector of the engine. */
export const ENGINE = { dG: [4, 6, 9], Cm: [5, 7, 10], weight: [8, 11], RT: 12, rSquared: 14, error: [15, 16, 17] };

/** Readings that leap out to one side of both their neighbours; the rule wants a positive signal. */
function spikesOf(engine: Engine, all: number[]): boolean[] {
  const there = all.map((_, i) => i).filter((i) => Number.isFinite(all[i]));
  let y = there.map((i) => all[i]);
  if (y.length < 2) return all.map(() => false);
  const [least, most] = [Math.min(...y), Math.max(...y)];
  if (least <= -1) y = y.map((value) => value - least + (most - least));
  const marked = engine.spikes(y);
  const found = all.map(() => false);
  there.forEach((i, k) => {
    const between = k > 0 && k < y.length - 1 && (y[k] - y[k - 1]) * (y[k + 1] - y[k]) >= 0;
    found[i] = marked[k] && !between;
  });
  return found;
}
