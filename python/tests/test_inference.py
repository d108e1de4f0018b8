"""The inference library against scipy: optimum, errors, intervals and global fits by other code."""

import re
import warnings
from pathlib import Path

import numpy as np
import pytest
from conftest import FKBP12, RT, THREE, simulate

import zolt
from zolt import inference

try:
    from scipy import stats
    from scipy.optimize import least_squares
except ImportError:
    warnings.warn("scipy is missing: THE INFERENCE WAS NOT COMPARED WITH OTHER CODE", stacklevel=1)
    pytest.skip("scipy is missing: nothing to compare with", allow_module_level=True)

HEADER = Path(__file__).resolve().parents[2] / "include" / "zolt_inference.h"
EXACT = dict(xtol=1e-15, ftol=1e-15, gtol=1e-15)


def signal(p, x, k):
    """aN, bN, aU, bU, then Cm and m (kcal/mol/M) of each transition, then weights but the last."""
    weights = [*p[4 + 2 * k :], 1.0 - sum(p[4 + 2 * k :])]
    G = sum(
        w / (1.0 + np.exp(-1000.0 * p[5 + 2 * t] * (x - p[4 + 2 * t]) / RT)) for t, w in enumerate(weights)
    )
    return (p[0] + p[1] * x) * (1.0 - G) + (p[2] + p[3] * x) * G


def start(transitions):
    shape = [value for dG, Cm, _ in transitions for value in (Cm, dG / Cm / 1000.0)]
    return np.array([0.1, 0.0, 1.0, 0.0, *shape, *(w for _, _, w in transitions[:-1])])


def judged(x, y, transitions, sd=None):
    """scipy's optimum with covariance by the model and HC3, from the truth as start."""
    k = len(transitions)
    weight = 1.0 if sd is None else 1.0 / sd
    residuals = lambda p: (signal(p, x, k) - y) * weight  # noqa: E731
    found = least_squares(residuals, start(transitions), jac="3-point", **EXACT)
    inverse = np.linalg.inv(found.jac.T @ found.jac)
    leverage = np.einsum("ij,jk,ik->i", found.jac, inverse, found.jac)
    meat = found.jac.T @ np.diag((found.fun / (1.0 - leverage)) ** 2) @ found.jac
    model = inverse * 2.0 * found.cost / (x.size - found.x.size)
    return found, model, inverse @ meat @ inverse


CASES = [(FKBP12, 24, 0.01), (FKBP12, 48, 0.03), (FKBP12, 11, 0.005), (THREE, 48, 0.01), (THREE, 96, 0.02)]


@pytest.mark.parametrize("transitions, n, noise", CASES)
@pytest.mark.parametrize("weighted", [False, True])
def test_optimum_and_errors_are_those_of_scipy(transitions, n, noise, weighted):
    for seed in range(5):
        x, y = simulate(transitions, n, noise=noise, seed=seed)
        sd = np.random.default_rng(seed).uniform(0.5, 2.0, n) if weighted else None
        k = len(transitions)
        found, model, hc3 = judged(x, y, transitions, sd)
        answer = inference.fit(inference.Readings(x, y, sd), k)
        shapes = np.column_stack([answer.values("Cm"), answer.values("m") / 1000.0])
        mine = [*answer.values("baseline"), *shapes.ravel()]
        assert answer.record.sse == pytest.approx(2.0 * found.cost, rel=1e-9)
        assert mine == pytest.approx(found.x[: len(mine)], rel=1e-6, abs=1e-8)
        for theirs, suffix in ((model, "_se"), (hc3, "_hc3")):
            errors = np.sqrt(np.diag(theirs))
            assert answer.values("baseline" + suffix) == pytest.approx(errors[:4], rel=1e-4)
            assert answer.values("Cm" + suffix) == pytest.approx(errors[4 : 4 + 2 * k : 2], rel=1e-4)
            assert answer.values("m" + suffix) / 1000.0 == pytest.approx(errors[5 : 4 + 2 * k : 2], rel=1e-4)
            slopes = np.zeros((k, found.x.size))
            for t in range(k):
                slopes[t, 4 + 2 * t : 6 + 2 * t] = found.x[5 + 2 * t], found.x[4 + 2 * t]
            energies = 1000.0 * np.sqrt(np.diag(slopes @ theirs @ slopes.T))
            assert answer.values("dG" + suffix) == pytest.approx(energies, rel=1e-4)


def test_profile_intervals_are_those_of_scipy():
    x, y = simulate(FKBP12, 24, noise=0.02, seed=3)
    found, model, _ = judged(x, y, FKBP12)
    fit = zolt.fit(x, y, states=2)
    wider = _widening(found)
    quantile = stats.t.ppf(0.975, x.size - 6)
    for place, name, scale in ((4, "Cm", 1.0), (5, "m", 1000.0)):
        others = [i for i in range(6) if i != place]

        def tau(value):
            def residuals(q):
                p = found.x.copy()
                p[others], p[place] = q, value
                return signal(p, x, 1) - y

            cost = least_squares(residuals, found.x[others], x_scale="jac", **EXACT).cost
            return np.sqrt((cost - found.cost) / found.cost * (x.size - 6))

        for end, bound in enumerate(getattr(fit.intervals(), name)[0] / scale):
            estimate = found.x[place]
            narrow = 1.0 / wider[place]
            moved = (bound / estimate) ** narrow if name == "m" else 1.0 + (bound / estimate - 1.0) * narrow
            value = estimate * moved
            assert tau(value) == pytest.approx(quantile, rel=2e-3), (name, end)


def _widening(found):
    inverse = np.linalg.inv(found.jac.T @ found.jac)
    leverage = np.einsum("ij,jk,ik->i", found.jac, inverse, found.jac)
    hc2 = inverse @ found.jac.T @ np.diag(found.fun**2 / (1.0 - leverage)) @ found.jac @ inverse
    model = inverse * 2.0 * found.cost / (found.fun.size - found.x.size)
    return np.maximum(1.0, np.sqrt(np.diag(hc2) / np.diag(model)))


def test_a_global_fit_is_that_of_scipy():
    midpoints = 3.1, 4.0, 4.6
    curves = [simulate([(1400.0 * Cm, Cm, 1.0)], 24, noise=0.01, seed=i) for i, Cm in enumerate(midpoints)]
    together = zolt.fit_global(curves)
    noise = [fit.record.residual_sd for fit in together.answers]

    def residuals(p):
        rows = (p[1 + 5 * i : 6 + 5 * i] for i in range(3))
        return np.concatenate(
            [(signal([*row, p[0]], x, 1) - y) / s for row, (x, y), s in zip(rows, curves, noise)]
        )

    first = [1.4, *np.ravel([[0.1, 0.0, 1.0, 0.0, Cm] for Cm in midpoints])]
    found = least_squares(residuals, first, jac="3-point", **EXACT)
    covariance = np.linalg.inv(found.jac.T @ found.jac) * 2.0 * found.cost / (72 - 16)
    assert together.shared[0] / 1000.0 == pytest.approx(found.x[0], rel=1e-6)
    assert together.shared_se[0] / 1000.0 == pytest.approx(covariance[0, 0] ** 0.5, rel=1e-4)
    last = together.differences[2]
    slope = np.zeros(16)
    slope[[0, 5, 15]] = found.x[15] - found.x[5], -found.x[0], found.x[0]
    assert last.ddG[0] / 1000.0 == pytest.approx(found.x[0] * slope[0], rel=1e-6)
    assert last.ddG_se[0] / 1000.0 == pytest.approx((slope @ covariance @ slope) ** 0.5, rel=1e-4)
    assert together.p > 0.01 and "Global fit of 3 curves" in repr(together)
    assert together.table()["ddG1_kcal_per_mol"][2] == pytest.approx(last.ddG[0] / 1000.0)


def test_the_drawn_band_is_the_propagated_error():
    x, y = simulate(THREE, 48, noise=0.01)
    found, model, _ = judged(x, y, THREE)
    at, middle, half = zolt.fit(x, y, states=3).band(9, level=0.9)
    h = 1e-6
    ends = [[signal(found.x + side * h * e, at, 2) for e in np.eye(9)] for side in (1.0, -1.0)]
    slopes = (np.subtract(*ends) / (2 * h)).T
    wanted = stats.t.ppf(0.95, 48 - 9) * np.sqrt(np.einsum("ij,jk,ik->i", slopes, model, slopes))
    assert middle == pytest.approx(signal(found.x, at, 2), rel=1e-6)
    assert half == pytest.approx(wanted, rel=1e-3)


def test_three_ways_of_a_difference():
    curves = [inference.Readings(*simulate([(1400.0 * Cm, Cm, 1.0)], 24, noise=0.01)) for Cm in (3.1, 4.0)]
    record, fits, (reference, mutant) = inference.compare(curves)
    assert record.status == inference.FITTED and reference.plain_ddG == 0.0
    for value, error in ((mutant.shared_ddG, mutant.shared_se), (mutant.mean_m_ddG, mutant.mean_m_se),
                         (mutant.plain_ddG, mutant.plain_se)):  # fmt: skip
        assert abs(value - 1260.0) < 3.0 * error
    assert mutant.shared_se < mutant.plain_se


def test_the_lists_of_names_agree_with_the_header():
    text = re.sub(r"/\*.*?\*/", "", HEADER.read_text(), flags=re.S)
    prototypes = set(re.findall(r"ZOLTI_API [\w* ]+?\**(ZOLTI_\w+)\(", text))
    assert prototypes == set(inference._ARGUMENTS)
    assert len(inference.WORDS) == int(re.search(r"ZOLTI_STATUS_COUNT = (\d+)", text)[1])
    assert len(inference.MODELS) == int(re.search(r"ZOLTI_MODEL_COUNT = (\d+)", text)[1])
    assert len(inference.OUTCOMES) == int(re.search(r"ZOLTI_SERVES_AS_WELL = (\d+)", text)[1]) + 1
