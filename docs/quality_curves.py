"""Simulated curves with known truth, for the tables of quality.md.

A design is a function of a random generator that gives x, y; transitions are (dG in cal/mol, Cm in
M, weight). The signal runs from about 0.1 to 1, and noise is told as a share of that.
"""

from functools import partial

import numpy as np

RT = 298.15 * 1.9872
REACH = 8.0
ONE = ((5546.0, 3.867, 1.0),)
TWO = ((5000.0, 2.2, 0.5), (13000.0, 5.6, 0.5))


def fraction(x, transitions):
    return sum(w / (1.0 + np.exp(dG * (1.0 - x / Cm) / RT)) for dG, Cm, w in transitions)


def curve(rng, transitions=ONE, n=24, noise=0.01, reach=REACH, low=(0.1, 0.004), high=(1.0, -0.003)):
    x = np.linspace(0.0, reach, n)
    G = fraction(x, transitions)
    clean = (low[0] + low[1] * x) * (1.0 - G) + (high[0] + high[1] * x) * G
    return x, clean + rng.normal(0.0, noise, n)


def varied(rng, n, noise):
    """One transition with m from 0.8 to 3 kcal/mol/M, its midpoint within the middle half."""
    m, Cm = rng.uniform(800.0, 3000.0), rng.uniform(2.5, 5.5)
    return curve(rng, ((m * Cm, Cm, 1.0),), n, noise)


def two_apart(rng, apart, weight, n, noise):
    """Two transitions of m 2.2 kcal/mol/M about 4 M, `apart` M from one another."""
    first, second = 4.0 - 0.5 * apart, 4.0 + 0.5 * apart
    return curve(rng, ((2200.0 * first, first, weight), (2200.0 * second, second, 1.0 - weight)), n, noise)


def _hard(change, rng, n=36, noise=0.01):
    return change(rng, *varied(rng, n, noise), noise)


def _outlier(rng, x, y, noise, size):
    y[rng.integers(x.size)] += rng.choice([-1.0, 1.0]) * size * noise
    return x, y


def _concentrations(rng, x, y, noise):
    return x * (1.0 + rng.normal(0.0, 0.004, x.size)), y


def _unequal(rng, x, y, noise):
    return x, y + rng.normal(0.0, 1.0, x.size) * 3.0 * noise * (y - y.min()) / np.ptp(y)


def _heavy(rng, x, y, noise):
    return x, y + noise * rng.standard_t(3, x.size)


def _curved(rng, x, y, noise):
    bend = rng.uniform(-0.06, 0.06) * (x / REACH) ** 2
    return x, y + bend


def _correlated(rng, x, y, noise):
    wave = np.zeros(x.size)
    for i in range(1, x.size):
        wave[i] = 0.6 * wave[i - 1] + rng.normal(0.0, noise)
    return x, y + wave


def _no_plateau(rng, n=36, noise=0.01):
    Cm = rng.choice([0.6, REACH - 0.6])
    return curve(rng, ((1500.0 * Cm, Cm, 1.0),), n, noise)


HARD = {
    "one outlier of 5 sd": partial(_hard, partial(_outlier, size=5.0)),
    "one gross outlier of 25 sd": partial(_hard, partial(_outlier, size=25.0)),
    "concentrations off by 0.4 %": partial(_hard, _concentrations),
    "unequal noise, up to 3 sd": partial(_hard, _unequal),
    "heavy tails (t with 3 degrees)": partial(_hard, _heavy),
    "curved baselines": partial(_hard, _curved),
    "a plateau missing": _no_plateau,
    "correlated noise (0.6)": partial(_hard, _correlated),
}


def _line(u):
    return u


def _parabola(u):
    return u * u


def _decay(u):
    return np.exp(-3.0 * u)


def _plain(value, rng, n=24, noise=0.02):
    x = np.linspace(0.0, REACH, n)
    return x, value(x / REACH) + rng.normal(0.0, noise, n)


PLAIN = {
    "straight line": partial(_plain, _line),
    "parabola": partial(_plain, _parabola),
    "exponential decay": partial(_plain, _decay),
}
