// The libraries in the module, through tasks: curves whose truth is known give it back.
import { ENGINE, vectorOf } from "../../engine/looks";
import { Runner } from "../../engine/runner";
import { Choices, Detail, FitAnswer, SharedAnswer, Task, run } from "../../engine/tasks";
import type { Readings } from "../../engine/engine";
import * as records from "../../generated/records";
import { Truth, choices, compiled, near, newEngine, places, simulated } from "./simulated";
import { ok, same, table, test } from "./check";

const engine = newEngine();
const usual = { m: [1500], Cm: [4] };
const fitted = (curve: Readings, changes: Partial<Choices> = {}, all = curve.y) =>
  run(engine, { kind: "fit", curve, all, choices: choices(changes) }) as FitAnswer;
const detailed = (curve: Readings, fit: records.Fit, changes: Partial<Choices> = {}, intervals: records.Intervals | null = null) =>
  run(engine, { kind: "detail", curve, choices: choices(changes), fit, intervals }) as Detail;
const changed = <T>(values: T[], place: number, value: T) => values.map((old, i) => (i === place ? value : old));

/** What of a fit differs from the truth by more than a millionth. */
function astray(truth: Truth, changes: Partial<Choices>) {
  const { fit } = fitted(simulated(truth), changes), { m, Cm, weight = [1], baseline = [0.1, 0.01, 1, -0.02] } = truth;
  const wanted = { m, Cm, dG: m.map((slope, t) => slope * Cm[t]), weight, baseline };
  const off = Object.entries(wanted).filter(([name, values]) => values.some((value, i) => !near((fit as any)[name][i], value)));
  return [fit.status, fit.free_parameters, off.map(([name]) => name).join(" ")];
}
const flat = [0.1, 0, 1, 0] as Truth["baseline"];
const three = { m: [2500, 2600], Cm: [2.2, 5.4], weight: [0.45, 0.55] };
table("a curve without noise gives its truth back", astray, [
  [usual, { states: 2 }, [0, 6, ""]],
  [{ ...usual, temperature: 60 }, { states: 2 }, [0, 6, ""]],
  [three, { states: 3 }, [0, 9, ""]],
  [{ ...usual, baseline: flat }, { states: 2, native: "flat" }, [0, 5, ""]],
  [{ ...usual, baseline: flat }, { states: 2, denatured: "flat" }, [0, 5, ""]],
  [usual, { states: 2, native: "given", baseline: [0.1, 0.01, 7, 7] }, [0, 4, ""]],
  [usual, { states: 2, denatured: "given", baseline: [7, 7, 1, -0.02] }, [0, 4, ""]],
  [usual, { states: 2, heldM: 1500 }, [0, 5, ""]],
]);

test("the states are those that the readings show, or those that were told, and the sentence says which", () => {
  const curve = simulated({ ...three, noise: 0.004 });
  const free = fitted(curve), told = fitted(curve, { states: 2 });
  same([free.fit.transitions, free.evidence.states, told.fit.transitions, told.evidence.states], [2, 3, 1, 3]);
  same([free.sentence, told.evidenceSentence], [free.evidenceSentence, free.evidenceSentence]);
  same(told.sentence, engine.sentence(told.fit.status));
  ok(told.sentence !== told.evidenceSentence);
});

test("deviations weigh, as true sizes only where a person says so", () => {
  const curve = simulated({ ...usual, noise: 0.01 }), weighed = { ...curve, sd: curve.x.map((x) => (x > 4 ? 0.02 : 0.01)) };
  const alike = fitted(curve, { states: 2 }).fit, relative = fitted(weighed, { states: 2 }).fit;
  const known = fitted(weighed, { states: 2, sdKnown: true }).fit;
  same([alike.sd_known, relative.sd_known, known.sd_known], [0, 0, 1]);
  ok(relative.dG[0] !== alike.dG[0] && relative.dG[0] === known.dG[0] && relative.dG_se[0] !== known.dG_se[0]);
  same(fitted(weighed, { states: 2, sdKnown: true, weights: "none" }).fit.sd_known, 0);
});

test("the reading that decides most is left out, a spike and what lies off are marked, gaps and all", () => {
  const clean = simulated({ ...usual, noise: 0.002 });
  const curve = { ...clean, y: changed(changed(clean.y, 8, clean.y[8] + 0.3), 3, NaN) };
  const all = changed(curve.y, 3, 0.7);  // left out of the fit, and a spike beside
  const { fit, looks } = fitted(curve, { states: 2 }, all);
  same(looks.without!.x, clean.x[8]);
  const alone = fitted({ ...curve, y: changed(curve.y, 8, NaN) }, { states: 2 });
  same(looks.without!.fit.dG, alone.fit.dG);
  const marked = (flags: boolean[]) => flags.flatMap((flag, i) => (flag ? [i] : []));
  same([marked(looks.off), marked(looks.spikes)], [[3, 8], [3, 8]]);
  const gap = fitted(curve, { states: 2 }).looks;
  same([marked(gap.off), marked(gap.spikes)], [[8], [8]]);
  const below = fitted({ ...curve, y: curve.y.map((y) => y - 3) }, { states: 2 }, all.map((y) => y - 3));
  same(marked(below.looks.spikes), [3]);  // lifted by the span above 0, where 0.3 is no leap any more
  // With deviations the pull is counted in them.
  const sure = { ...curve, sd: changed(curve.x.map(() => 0.01), 8, 1) };
  ok(fitted(sure, { states: 2 }).looks.without!.x !== clean.x[8]);
  same(fit.readings, 32);
});

test("the fraction is a half at the midpoint, and the baselines cross where they do", () => {
  const { looks } = fitted(simulated({ ...usual, x: places(33), baseline: [0, 0.3, 1, 0.1] }), { states: 2 });
  ok(near(looks.fraction[16], 0.5) && looks.fraction[0] < 0.001 && looks.fraction[32] > 0.999);
  ok(near(looks.crossing!.x, 5) && near(looks.crossing!.fraction, 1 / (1 + Math.exp(-1500 / 592.48368))), String(looks.crossing!.fraction));
  same(fitted(simulated({ ...usual, baseline: [0, 0.25, 1, 0.25] }), { states: 2, native: "given", denatured: "given", baseline: [0, 0.25, 1, 0.25] }).looks.crossing, null);
  const none = fitted({ ...simulated(usual), y: places(33).map((x, i) => 0.2 + 0.1 * x + 0.004 * Math.sin(37 * i * i)) });
  same([none.fit.status, none.looks.fraction, none.looks.crossing, none.looks.without, none.looks.off], [records.NO_TRANSITION, [], null, null, []]);
});

test("the engine's own vector: of the fit, of given baselines, of more states", () => {
  const curve = simulated({ ...usual, noise: 0.001 }), held = [0.1, 0.01, 1, -0.02] as Choices["baseline"];
  const given = { native: "given", denatured: "given", baseline: held } as const;
  const own = fitted(curve, { states: 2 });
  same(own.looks.engine, own.fit.engine);
  ok(near(own.looks.engine[5], 4, 0.02) && near(own.looks.engine[4], 6000, 0.05), String(own.looks.engine));
  const told = fitted({ ...curve, y: changed(curve.y, 3, NaN) }, { states: 2, ...given }).looks.engine;
  same(told.slice(0, 4), held);
  ok(near(told[5], 4, 0.01), String(told[5]));
  same(fitted(curve, { states: 2, native: "given", baseline: held }).looks.engine, fitted(curve, { states: 2, native: "given", baseline: held }).fit.engine);
  const more = fitted(simulated({ ...three, noise: 0.001 }), { states: 3 });
  ok(near(more.looks.engine[5], 2.2, 0.02) && near(more.looks.engine[7], 5.4, 0.02), String(more.looks.engine));
  const vector = vectorOf({ ...more.fit, dG_se: [-1, 50, 0] });
  same(vector.length, 24);
  same(vector.slice(0, 9), [...more.fit.baseline, more.fit.dG[0], more.fit.Cm[0], more.fit.dG[1], more.fit.Cm[1], more.fit.weight[0]]);
  same(vector.slice(9), [0, 0, 0, more.fit.RT, 0, more.fit.r_squared, 0, 50, 0, 0, 0, 0, 0, 0, 0]);
  // A vector of four states has every transition at its place, and the engine takes it.
  const four = simulated({ m: [2500, 2600, 2900], Cm: [1.6, 4.2, 6.7], weight: [0.35, 0.3, 0.35], x: places(65) });
  const { fit } = fitted(four, { states: 4 });
  same(fit.dG.map((_, t) => [vectorOf(fit)[ENGINE.dG[t]], vectorOf(fit)[ENGINE.Cm[t]]]), fit.dG.map((dG, t) => [dG, fit.Cm[t]]));
  same(Object.keys(vectorOf(fit)).length, 24);
  same(engine.outliers(four.x, changed(four.y, 20, four.y[20] + 0.2), vectorOf(fit)).flatMap((off, i) => (off ? [i] : [])), [20]);
});

test("what is drawn: a fine grid over the readings, the readings themselves, dG by the straight line", () => {
  const curve = simulated({ ...usual, noise: 0.003, x: places(33, 6) }), { fit } = fitted(curve, { states: 2 });
  const { grid, atReadings, intervals } = detailed(curve, fit);
  same([grid!.x.length, grid!.x[0], near(grid!.x[239], 6), atReadings!.x], [240, 0, true, curve.x]);
  ok(grid!.x.every((x, i) => near(x, (6 * i) / 239, 1e-12)));
  grid!.x.forEach((x, i) => {
    const share = grid!.fraction[i];
    ok(near(grid!.signal[i], grid!.native[i] * (1 - share) + grid!.denatured[i] * share), `signal at ${x}`);
    ok(near(grid!.energy[i], fit.dG[0] - fit.m[0] * x, 1e-6) || Math.abs(x - 4) < 0.1, `energy at ${x}`);
  });
  ok(near(atReadings!.native[32], fit.baseline[0] + fit.baseline[1] * 6) && near(atReadings!.denatured[32], fit.baseline[2] + fit.baseline[3] * 6));
  const [low, high] = intervals!.Cm[0];
  same([low < fit.Cm[0] && fit.Cm[0] < high, intervals!.method, intervals!.level], [true, records.PROFILE, 0.95]);
  const [wideLow, wideHigh] = detailed(curve, fit, { level: 0.99 }).intervals!.Cm[0];
  ok(wideLow < low && high < wideHigh);
  const rounds = (seed: number) => detailed(curve, fit, { intervals: { method: "bootstrap", rounds: 60, seed } }).intervals!;
  same([rounds(1).method, rounds(1).rounds_used], [records.BOOTSTRAP, 60]);
  ok(rounds(1).Cm[0][0] === rounds(1).Cm[0][0] && rounds(1).Cm[0][0] !== rounds(2).Cm[0][0]);
  const known = { ...intervals!, level: 0.5 };
  same(detailed(curve, fit, {}, known).intervals, known);
  const line = detailed(curve, { ...fit, status: records.NO_TRANSITION });
  same([line.intervals, line.grid!.x.length], [null, 240]);
  same(detailed(curve, { ...fit, status: records.NOT_CONVERGED }), { intervals: null, grid: null, atReadings: null });
});

const pair = [simulated({ m: [1500], Cm: [4], noise: 0.002 }), simulated({ m: [1500], Cm: [3], noise: 0.002, temperature: 25 })];

test("one m for all: that of both, with residuals of the shared fit and the evidence of each alone", () => {
  const curves = pair.map((curve) => ({ curve, all: curve.y, alone: fitted(curve) }));
  const { global, rows } = run(engine, { kind: "share", curves, choices: choices() }) as SharedAnswer;
  same([global.status, global.curves, global.transitions, global.share], [0, 2, 1, records.SHARE_M]);
  ok(near(global.shared[0], 1500, 0.01) && rows.every(({ fit }) => fit.m[0] === global.shared[0]));
  rows.forEach(({ fit, residual, sentence, evidence, shared, looks }, i) => {
    const drawn = engine.draw(fit, pair[i].x, 0.95).signal;
    same(residual, pair[i].y.map((y, k) => y - drawn[k]));
    same([sentence, evidence], ["Fitted with one m for 2 curves.", curves[i].alone.evidence]);
    same([fit.engine, looks.engine], [curves[i].alone.fit.engine, curves[i].alone.fit.engine]);
    ok(shared!.m[0][0] < global.shared[0] && global.shared[0] < shared!.m[0][1]);
  });
  const more = run(engine, { kind: "share", curves: [3, 3].map(() => {
    const curve = simulated({ ...three, noise: 0.002 });
    return { curve, all: curve.y, alone: fitted(curve) };
  }), choices: choices({ states: 3 }) }) as SharedAnswer;
  same(more.global.transitions, 2);
  const flatOne = { ...pair[0], y: pair[0].y.map(() => 1) };
  const mixed = run(engine, { kind: "share", curves: [...curves, { curve: flatOne, all: flatOne.y, alone: fitted(flatOne) }], choices: choices() }) as SharedAnswer;
  const { fit, residual, sentence } = mixed.rows[2];
  same([fit.status !== records.FITTED, residual.every(Number.isNaN), sentence], [true, true, engine.sentence(fit.status)]);
});

test("a difference is the curve's less the reference's, whichever that is", () => {
  for (const [reference, sign] of [[0, -1], [1, 1]] as const) {
    const task: Task = { kind: "compare", curves: pair, reference, choices: choices({ heldM: 700 }) };
    const { global, rows } = run(engine, task) as { global: records.Global; rows: records.Comparison[] };
    const row = rows[1 - reference];
    ok(near(global.shared[0], 1500, 0.01), "m is not held");
    ok(near(row.dCm, sign, 0.01) && near(row.shared_ddG, sign * 1500, 0.01) && near(row.plain_ddG, sign * 1500, 0.05), JSON.stringify(row));
    ok(row.shared_interval[0] < row.shared_ddG && row.shared_ddG < row.shared_interval[1]);
  }
});

test("the trend of dG along ln(label)", () => {
  const labels = [1, 2, 4, 8], fits = labels.map((label) => {
    const dG = 5000 + 700 * Math.log(label);
    return fitted(simulated({ m: [1500], Cm: [dG / 1500] }), { states: 2 }).fit;
  });
  const { label, dG, used, line } = run(engine, { kind: "trend", labels, fits }) as any;
  same([label, used, line.length], [labels, [1, 1, 1, 1], 4]);
  ok(near(line[0], 700, 1e-3) && near(line[1], 5000, 1e-3) && near(dG[3], 5000 + 700 * Math.log(8), 1e-3), String(line));
});

test("what cannot be asked is a fault in words, and the next task is answered", async () => {
  const runner = new Runner(compiled()), curve = simulated(usual);
  const ask = (one: Readings) => runner.run({ kind: "fit", curve: one, all: one.y, choices: choices({ states: 2 }) }) as Promise<any>;
  same(await ask({ ...curve, y: [1] }), { fault: "A curve needs as many signals as concentrations." });
  same(await ask({ ...curve, sd: [1] }), { fault: "A curve needs as many signals as concentrations." });
  ok(near((await ask(curve)).answer.fit.Cm[0], 4));
});

test("after a trap a fresh instance of the module takes the next task; a fault in words costs none", async () => {
  const real = WebAssembly.instantiate, curve = simulated(usual);
  let made = 0, trap = false;
  Object.assign(WebAssembly, { instantiate: async (module: WebAssembly.Module) => {
    ++made;
    const { exports } = await real(module, {}), decide = exports.ZOLTI_decide as any;
    return { exports: { ...exports, ZOLTI_decide: (at: number, ...rest: unknown[]) => decide(trap ? -16 : at, ...rest) } };
  } });
  const runner = new Runner(compiled());
  const ask = (one: Readings) => runner.run({ kind: "fit", curve: one, all: one.y, choices: choices() });
  ok("answer" in await ask(curve) && "fault" in await ask({ ...curve, y: [] }) && made === 1);
  trap = true;
  same(await ask(curve), { fault: "The engine stopped at this curve; the others are not touched." });
  trap = false;
  ok("answer" in await ask(curve) && made === 2);
  Object.assign(WebAssembly, { instantiate: real });
});
