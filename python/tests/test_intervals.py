"""Bootstrap intervals: what they promise is counted on simulated curves."""

from concurrent.futures import ThreadPoolExecutor

import numpy as np
import pytest
from conftest import FKBP12, simulate

import zolt

CURVES, ROUNDS = 300, 200


@pytest.mark.parametrize(
    "design",
    [
        dict(n=24, noise=0.02, native=(0.0, 0.0), denatured=(1.0, 0.0)),
        dict(n=32, noise=0.01, native=(0.0, 0.002), denatured=(1.0, 0.003)),
    ],
    ids=["flat baselines", "sloped baselines"],
)
def test_nominal_95_percent_intervals_hold_the_midpoint(design):
    def holds(seed):
        fit = zolt.fit(*simulate(FKBP12, seed=seed, **design), states=2)
        lower, upper = fit.intervals(rounds=ROUNDS, seed=seed, workers=1).Cm[0]
        return lower <= FKBP12[0][1] <= upper

    with ThreadPoolExecutor() as pool:
        share = np.mean(list(pool.map(holds, range(CURVES))))
    assert 0.90 <= share <= 0.99


def test_intervals_are_repeatable_and_report_the_correlation(curve):
    fit = zolt.fit(*curve, states=2)
    first, again, other = (fit.intervals(rounds=100, seed=s, workers=w) for s, w in ((0, 1), (0, 2), (1, 2)))
    assert np.array_equal(first.dG, again.dG) and not np.array_equal(first.dG, other.dG)
    assert first.correlation[0] > 0.8
    assert first.used == 100 and len(first.table("kJ")) == 3
    wide = fit.intervals(level=0.99, rounds=100)
    assert (first.dG[0, 0] <= fit.dG[0] <= first.dG[0, 1]) and (first.Cm[0, 0] <= fit.Cm[0] <= first.Cm[0, 1])
    assert wide.Cm[0, 0] < first.Cm[0, 0] and wide.Cm[0, 1] > first.Cm[0, 1]


def test_more_noise_gives_wider_intervals():
    widths = [
        np.ptp(zolt.fit(*simulate(FKBP12, noise=noise), states=2, **how).intervals(rounds=100).Cm[0])
        for how in ({}, dict(baselines=(0.1, 0.004, 1.0, -0.003)))
        for noise in (0.004, 0.016)
    ]
    assert widths[0] < widths[1] and widths[2] < widths[3]
    assert widths[3] < widths[1]  # known baselines leave less to be uncertain of


def test_a_limit_that_the_readings_cannot_show_is_infinite():
    x, y = simulate([(6000.0, 3.0, 1.0)], 12, noise=0.02, reach=3.6)
    fit = zolt.fit(x, y, states=2)
    spans = fit.intervals(rounds=200)
    assert fit.ok and spans.Cm[0, 0] < fit.Cm[0] and spans.Cm[0, 1] == np.inf
