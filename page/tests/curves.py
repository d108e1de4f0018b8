"""Simulated curves and the files that hold them."""

import numpy as np

RT = 298.15 * 1.9872


def signal(x, transitions, seed, noise=0.006):
    fraction = sum(w / (1 + np.exp(-m * (x - Cm) / RT)) for m, Cm, w in transitions)
    clean = (0.1 + 0.004 * x) * (1 - fraction) + (1.0 - 0.003 * x) * fraction
    return clean + np.random.default_rng(seed).normal(0, noise, x.size)


def wide(count, readings, name="c{}", unit="urea (M)"):
    """Two- and three-state curves side by side."""
    x = np.round(np.linspace(0, 8, readings), 4)
    columns = []
    for i in range(count):
        first = 1.8 + 2.5 * i / count
        transitions = [(1500.0, 2.0 + first, 1.0)] if i % 3 else [(2600.0, 0.6 + first / 2, 0.45), (2900.0, 3.2 + first / 2, 0.55)]
        columns.append(np.round(signal(x, transitions, i), 6))
    rows = [",".join([unit, *(name.format(i) for i in range(count))])]
    rows += [",".join(map(repr, [float(v) for v in row])) for row in zip(x, *columns)]
    return "\n".join(rows) + "\n"


def wells():
    return [f"{row}{column}" for row in "ABCDEFGHIJKLMNOP" for column in range(1, 25)]


def plate_of_curves(readings=24):
    """384 curves named by their wells, one a column."""
    return wide(384, readings, "{}").replace(",".join(map(str, range(384))), ",".join(wells()))
