"""Intervals as the host shows them; what they promise is counted in the tests of the library."""

import numpy as np
import pytest
from conftest import FKBP12, simulate

import zolt


@pytest.mark.parametrize("method", ["profile", "linear", "bootstrap"])
def test_intervals_hold_the_estimate_and_grow_with_level_and_noise(curve, method):
    fit = zolt.fit(*curve, states=2)
    spans = fit.intervals(method=method, rounds=200)
    wide = fit.intervals(level=0.99, method=method, rounds=200)
    noisy = zolt.fit(*simulate(FKBP12, noise=0.03), states=2).intervals(method=method, rounds=200)
    for name in ("dG", "Cm", "m"):
        lower, upper = getattr(spans, name)[0]
        assert getattr(wide, name)[0, 0] < lower < getattr(fit, name)[0] < upper < getattr(wide, name)[0, 1]
        assert np.ptp(getattr(noisy, name)[0]) > upper - lower
    assert spans.correlation[0] > 0.9 and len(spans.table("kJ")) == 3
    assert spans.to_dict()["Cm1_upper_M"] == spans.Cm[0, 1]
    assert ("bootstrap_used" in spans.to_dict()) == (method == "bootstrap")


def test_the_bootstrap_follows_its_seed_and_shows_its_draws(curve):
    fit = zolt.fit(*curve, states=2)
    first, again, other = (fit.intervals(method="bootstrap", rounds=100, seed=s) for s in (1, 1, 2))
    assert np.array_equal(first.dG, again.dG) and not np.array_equal(first.dG, other.dG)
    assert first.used == 100 and first.draws["m"].shape == (100, 1)
    assert fit.intervals(method="bootstrap", rounds=20).used == 20
    assert first.draws["dG"] == pytest.approx(first.draws["m"] * first.draws["Cm"])


def test_an_open_end_is_told_in_a_sentence():
    x = np.linspace(0.0, 8.0, 20)
    fit = zolt.fit(x, (x > 4.1) + np.random.default_rng(0).normal(0.0, 0.01, 20), states=2)
    spans = fit.intervals()
    assert spans.m[0, 1] == np.inf and any("m is at least" in text for text in spans.sentences())
    assert "between_two_readings" in [caution.code for caution in fit.warnings]
    assert [caution.code for caution in spans.warnings] == ["interval_unbounded"]


def test_wrong_requests_are_refused(curve):
    fit = zolt.fit(*curve, states=2)
    for options, said in (
        (dict(method="guess"), "method is one of"),
        (dict(level=1.0), "level is 1.0; it lies between"),
        (dict(rounds=3), "rounds is 3"),
    ):
        with pytest.raises(ValueError, match=said):
            fit.intervals(**options)
