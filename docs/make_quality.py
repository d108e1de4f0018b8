#!/usr/bin/env python3
"""Remake the tables of quality.md from simulated curves and the examples.

Usage: python3 docs/make_quality.py [CURVES_PER_CELL]

Writes between the two marks of docs/quality.md, where 300 curves a cell stand. Two processes; about ten
minutes with 100. "Engine" is what the engine answers with the number of states of its own picker, one
fewer where that gives no fit.
"""

import sys
import time
from functools import partial
from multiprocessing import Pool
from pathlib import Path

import numpy as np
import quality_curves as simulated

import zolt
from zolt import engine, inference, model
from zolt.engine import Element

HERE = Path(__file__).resolve().parent
MARKS = "<!-- tables by make_quality.py -->", "<!-- end of the tables -->"
NOISES = (0.002, 0.005, 0.01, 0.02, 0.03)
TRUE_DG, TRUE_CM = simulated.ONE[0][:2]


def by_engine(x, y):
    """The engine's vector with the states of its picker."""
    states = zolt.pick_states(x, y)
    result = engine.analyse(x, y, 25.0, states)
    while result[Element.RT] < 0 and states > 2:
        states -= 1
        result = engine.analyse(x, y, 25.0, states)
    return result


def states_of(x, y):
    """Number of states by the engine and by the evidence; 0 where nothing is fitted."""
    vector = by_engine(x, y)
    decided = inference.decide(inference.Readings(x, y))
    said = decided.evidence.states if decided.status == inference.FITTED else 0
    return model.states_of(vector) if vector[Element.RT] > 0 else 0, said


def counted(make, seeds):
    """`states_of` for every seed."""
    return [states_of(*make(np.random.default_rng(seed))) for seed in seeds]


def two_clear(seeds):
    """Both midpoints of two clear transitions right, by engine and evidence."""
    rows = []
    for seed in seeds:
        x, y = simulated.curve(np.random.default_rng(seed), simulated.TWO, 48, 0.01)
        vector, answer = by_engine(x, y), inference.decide(inference.Readings(x, y))
        truth = [Cm for _, Cm, _ in simulated.TWO]
        rows.append([len(Cm) == 2 and np.allclose(Cm, truth, atol=0.1)
                     for Cm in (model.transitions(vector)[1], answer.values("Cm"))])  # fmt: skip
    return rows


def errors(n, noise, seeds):
    """Errors of dG (kcal/mol) and Cm (M) by engine and least squares, and what the engine misses."""
    rows = []
    for seed in seeds:
        x, y = simulated.curve(np.random.default_rng(seed), n=n, noise=noise)
        vector, record = engine.analyse(x, y, 25.0, 2), inference.fit(inference.Readings(x, y), 1).record
        sse = np.sum((y - model.signal(x, vector)) ** 2)
        moved = inference.fit(inference.Readings(x, y / 1000.0 + 3.0), 1).record
        moved_vector = engine.analyse(x, y / 1000.0 + 3.0, 25.0, 2)
        rows.append([
            vector[Element.DG1] - TRUE_DG, record.dG[0] - TRUE_DG,
            vector[Element.CM1] - TRUE_CM, record.Cm[0] - TRUE_CM,
            sse <= record.sse * (1.0 + 1e-4), abs(vector[Element.DG1] - record.dG[0]) <= 0.1 * record.dG_se[0],
            abs(moved_vector[Element.DG1] - vector[Element.DG1]) > 5.0, abs(moved.dG[0] - record.dG[0]) > 5.0,
        ])  # fmt: skip
    return rows


def covered(n, noise, method, seeds):
    """Whether 95 % intervals hold the true dG, Cm and m, and the width of that of dG."""
    truth = dict(dG=TRUE_DG, Cm=TRUE_CM, m=TRUE_DG / TRUE_CM)
    rows = []
    for seed in seeds:
        readings = inference.Readings(*simulated.curve(np.random.default_rng(seed), n=n, noise=noise))
        answer = inference.fit(readings, 1)
        record, _ = inference.intervals(readings, answer, method=method, rounds=300, seed=seed)
        ends = {name: getattr(record, name)[0] for name in truth}
        rows.append([*(ends[name][0] <= value <= ends[name][1] for name, value in truth.items()),
                     ends["dG"][1] - ends["dG"][0]])  # fmt: skip
    return rows


def in_blocks(pool, function, count, first):
    """The rows of a function of seeds, spread over the processes."""
    blocks = np.array_split(np.arange(first, first + count), 8)
    return np.array([row for rows in pool.map(function, blocks) for row in rows], float)


def table(heads, rows):
    lines = ["| " + " | ".join(heads) + " |", "|---" * len(heads) + "|"]
    return "\n".join(lines + ["| " + " | ".join(map(str, row)) + " |" for row in rows]) + "\n"


def share(hits):
    return f"{100.0 * np.mean(hits):.1f} %"


def top_table(pool, count):
    rows = []
    both = in_blocks(pool, partial(errors, 24, 0.01), count, 10_000)
    rows.append(["fits of one transition that reach the least sum of squares (to 1e-4)", share(both[:, 4]), "100 %"])
    rows.append(["dG within 0.1 standard errors of the least-squares one", share(both[:, 5]), "100 %"])
    rows.append(["dG moves by more than 0.005 kcal/mol when the signal is divided by 1000 and shifted",
                 share(both[:, 6]), share(both[:, 7])])  # fmt: skip
    cells = [np.sqrt(np.mean(in_blocks(pool, partial(errors, n, 0.01), count, 20_000)[:, 2:4] ** 2, axis=0))
             for n in (24, 48, 96)]  # fmt: skip
    rows.append(["RMS error of Cm (M) at 24, 48, 96 readings, 1 % noise",
                 *(", ".join(f"{cell[i]:.3f}" for cell in cells) for i in (0, 1))])  # fmt: skip
    cells = [np.median(np.abs(in_blocks(pool, partial(errors, n, 0.005), count, 30_000)[:, :2]), axis=0) / 1000
             for n in (48, 96)]  # fmt: skip
    rows.append(["median error of dG (kcal/mol) at 48, 96 readings, 0.5 % noise",
                 *(", ".join(f"{cell[i]:.3f}" for cell in cells) for i in (0, 1))])  # fmt: skip
    for name, make in simulated.PLAIN.items():
        found = in_blocks(pool, partial(counted, make), count, 40_000)
        rows.append([f"{name} with 2 % noise called fitted", *(share(found[:, i] > 0) for i in (0, 1))])
    found = in_blocks(pool, two_clear, count, 50_000)
    rows.append(["two clear transitions, 48 readings, 1 %: both midpoints right", *map(share, found.T)])
    return table(["question", "engine", "least squares and evidence"], rows)


def false_states(pool, count):
    rows = []
    for n in (12, 16, 18, 24, 36, 48, 96):
        row = [n]
        for noise in NOISES:
            found = in_blocks(pool, partial(counted, partial(simulated.varied, n=n, noise=noise)), count, 60_000)
            row.append(f"{share(found[:, 0] > 2)} → {share(found[:, 1] > 2)}")
        rows.append(row)
    return table(["readings", *(f"{100 * noise:g} % noise" for noise in NOISES)], rows)


def hard_transitions(pool, count):
    rows = []
    for name, make in simulated.HARD.items():
        found = in_blocks(pool, partial(counted, make), 2 * count, 70_000)
        rows.append([name, share(found[:, 0] > 2), share(found[:, 1] > 2), share(found[:, 1] == 0)])
    return table(["36 readings, 1 % noise", "engine: more than two states", "evidence: more than two states",
                  "evidence: no transition"], rows)  # fmt: skip


def power(pool, count):
    rows = []
    for apart in (1.0, 1.5, 2.0, 3.0):
        for weight in (0.5, 0.3, 0.2):
            row = [apart, weight]
            for noise in (0.002, 0.005, 0.01):
                make = partial(simulated.two_apart, apart=apart, weight=weight, n=48, noise=noise)
                found = in_blocks(pool, partial(counted, make), count // 2, 80_000)
                row.append(f"{share(found[:, 0] == 3)} → {share(found[:, 1] == 3)}")
            rows.append(row)
    return table(["midpoints apart (M)", "weight of the first", "0.2 % noise", "0.5 %", "1 %"], rows)


def coverage(pool, count):
    rows = []
    for n, noise in ((16, 0.01), (24, 0.02), (48, 0.01)):
        for method in ("profile", "linear", "bootstrap"):
            found = in_blocks(pool, partial(covered, n, noise, method), 5 * count, 90_000)
            width = np.median(found[:, 3]) / 1000.0
            rows.append([n, f"{100 * noise:g} %", method, *map(share, found[:, :3].T), f"{width:.2f}"])
    return table(["readings", "noise", "method", "dG", "Cm", "m", "median width of dG (kcal/mol)"], rows)


def examples():
    """The two-state examples beside the values that they were simulated from (kcal/mol, M)."""
    truth = {"fkbp12_urea": (1.434, 3.867), "ci2_gdmcl": (1.866, 3.987), "gankyrin_urea": (2.909, 4.124)}
    rows = []
    for file, (m, Cm) in truth.items():
        (one,) = zolt.read_curves(HERE.parent / "examples" / f"{file}.csv")
        fit = zolt.fit(one.x, one.y)
        rows.append([file, f"{m * Cm:.2f}", f"{fit.engine.dG[0] / 1000:.2f}",
                     f"{fit.dG[0] / 1000:.2f} ± {fit.se['dG'][0] / 1000:.2f}", f"{Cm:.3f}",
                     f"{fit.Cm[0]:.3f} ± {fit.se['Cm'][0]:.3f}", fit.states])  # fmt: skip
    return table(["example", "true dG", "engine", "least squares", "true Cm (M)", "Cm", "states"], rows)


def fastest(call, rounds):
    best = np.inf
    for _ in range(rounds):
        started = time.process_time()
        call()
        best = min(best, time.process_time() - started)
    return best


def speed():
    """Minima of processor time on this machine, calls from Python included."""
    rng = np.random.default_rng(1)
    small = inference.Readings(*simulated.curve(rng))
    large = inference.Readings(*simulated.curve(rng, simulated.TWO, 48))
    answer, alone = inference.fit(small, 1), inference.Options(engine=False)
    rows = [["least squares of two states, 24 readings", fastest(lambda: inference.fit(small, 1, alone), 300)],
            ["evidence for the states, 48 readings of two transitions", fastest(lambda: inference.decide(large), 50)],
            ["profile intervals of two states", fastest(lambda: inference.intervals(small, answer), 100)]]  # fmt: skip
    for count in (100, 400):
        curves = [inference.Readings(*simulated.curve(np.random.default_rng(i))) for i in range(count)]
        rows.append([f"global fit of {count} curves of 24 readings, with intervals and differences",
                     fastest(lambda curves=curves: inference.fit_global(curves), 3)])  # fmt: skip
    return table(["what", "ms"], [[name, f"{1e3 * seconds:.3g}"] for name, seconds in rows])


def main():
    count = int(sys.argv[1]) if len(sys.argv) > 1 else 100
    started = time.perf_counter()
    with Pool(2) as pool:
        parts = [
            f"Made by `python3 docs/make_quality.py {count}` from simulated curves with fixed seeds, {count} "
            "curves a cell unless said otherwise. Where two figures stand about an arrow, the first is the "
            "engine with its picker.\n",
            "### The engine alone, and what stands on it\n", top_table(pool, count),
            "### One transition called more than two states\n",
            "m from 0.8 to 3 kcal/mol/M, Cm from 2.5 to 5.5 M of 8 M.\n", false_states(pool, count),
            f"### One transition with faults, {2 * count} curves each\n", hard_transitions(pool, count),
            f"### Two transitions found, {count // 2} curves of 48 readings each\n", power(pool, count),
            f"### Nominal 95 % intervals that hold the truth, {5 * count} curves each\n", coverage(pool, count),
        ]  # fmt: skip
    parts += ["### Examples of the project\n", examples(), "### Time\n", speed()]
    page = HERE / "quality.md"
    before, rest = page.read_text().split(MARKS[0])
    after = rest.split(MARKS[1])[1]
    page.write_text(f"{before}{MARKS[0]}\n" + "\n".join(parts) + f"{MARKS[1]}{after}")
    print(f"{time.perf_counter() - started:.0f} s")


if __name__ == "__main__":
    main()
