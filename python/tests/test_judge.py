"""An independent judge: scipy goes on from accepted results and must not find a better fit.

From a result whose fit moved the parameters that the judge moves, no lower sum of squares may lie
near. The judge has its own model code, its own differences and other rules for steps and ends.
"""

import warnings

import numpy as np
import pytest
from conftest import FKBP12, FOUR, RT, THREE, simulate

from zolt.engine import Element, analyse

try:
    from scipy.optimize import least_squares
except ImportError:
    warnings.warn("scipy is missing: THE INDEPENDENT JUDGE OF THE FITS DID NOT SIT", stacklevel=1)
    pytest.skip("scipy is missing: no independent judge", allow_module_level=True)

# A fit ends once its sum of squares changes by less than 1e-8 of itself, or its parameters by less
# than 1e-8; what is left is then about the square of the last change, and the forward difference
# moves the minimum by less than that. Badly determined curves creep, so more is allowed, but no
# difference that a reader of the fit could see.
ALLOWED = 1e-4

NAMES = {2: "dG1 Cm1", 3: "dG1 Cm1 dG2 Cm2 weight1", 4: "dG1 Cm1 dG2 Cm2 dG3 Cm3 weight1 weight2"}
BASELINES = ["aN", "bN", "aU", "bU"]
ELEMENT = dict(
    aN=Element.NATIVE_INTERCEPT, bN=Element.NATIVE_SLOPE,
    aU=Element.DENATURED_INTERCEPT, bU=Element.DENATURED_SLOPE,
    dG1=Element.DG1, Cm1=Element.CM1, dG2=Element.DG2, Cm2=Element.CM2, weight1=Element.WEIGHT1,
    dG3=Element.DG3, Cm3=Element.CM3, weight2=Element.WEIGHT2,
)  # fmt: skip

# The codes whose candidates moved all parameters, that is, the columns of the first stage that free
# their baselines.
ALL_FREE = {2: {26, 27}, 3: {25}, 4: {52}}

CURVES = {2: FKBP12, 3: THREE, 4: FOUR}


def signal(p, x, states):
    native, denatured = p["aN"] + p["bN"] * x, p["aU"] + p["bU"] * x
    weights = [p.get(f"weight{t}", 0.0) for t in range(1, states - 1)]
    weights.append(1.0 - sum(weights))
    F = sum(
        w / (1.0 + np.exp(p[f"dG{t}"] / RT * (1.0 - x / p[f"Cm{t}"])))
        for t, w in enumerate(weights, 1)
    )
    return native + (denatured - native) * F


def lowered(x, y, result, states, free):
    """The part of the result's sum of squares that the judge takes off by moving `free`."""
    names = NAMES[states].split() + BASELINES
    values = {name: result[ELEMENT[name]] for name in names}
    scale = np.array([abs(values[name]) or 1.0 for name in free])

    def residuals(step):
        moved = dict(zip(free, scale * step, strict=True))
        return signal({**values, **moved}, x, states) - y

    start = np.array([values[name] for name in free]) / scale
    before = np.sum(residuals(start) ** 2)
    found = least_squares(residuals, start, method="lm", xtol=1e-14, ftol=1e-14, gtol=1e-14)
    print(f"{1.0 - 2.0 * found.cost / before:.1e}", end=" ")
    return 1.0 - 2.0 * found.cost / before


def generated(states, seeds, noises=(0.003, 0.01)):
    for seed in range(seeds):
        random = np.random.default_rng(seed)
        transitions = [
            (dG * random.uniform(0.9, 1.1), Cm * random.uniform(0.97, 1.03), w)
            for dG, Cm, w in CURVES[states]
        ]
        yield simulate(
            transitions, n=int(random.choice([32, 48, 96])), noise=random.choice(noises),
            native=(0.1, random.uniform(-0.01, 0.01)), seed=seed,
        )  # fmt: skip


@pytest.mark.parametrize("states", [2, 3, 4])
def test_midpoint_fits_are_minima(states):
    """A first midpoint fit moves all but the slopes; a later one holds the intercepts as well."""
    judged = 0
    for x, y in generated(states, 40):
        result = analyse(x, y, 25.0, states, midpoint_only=True)
        if result[Element.CODE] != 35 or result[Element.RT] < 0:
            continue
        transitions = NAMES[states].split()
        free = transitions if result[Element.NATIVE_INTERCEPT] == y[0] else [*transitions, "aN", "aU"]
        assert lowered(x, y, result, states, free) < ALLOWED, (states, len(x), result)
        judged += 1
    assert judged >= 20


@pytest.mark.parametrize("states", [2, 3, 4])
def test_fits_on_held_baselines_are_minima(states):
    """On the caller's baselines the energies, midpoints and weights move."""
    judged = 0
    for x, y in generated(states, 40):
        caller = np.array([0.1, 0.001, 1.0, -0.003])
        result = analyse(x, y, 25.0, states, baselines=caller)
        if result[Element.CODE] == 2 and np.array_equal(result[:4], caller):
            assert lowered(x, y, result, states, NAMES[states].split()) < ALLOWED, result
            judged += 1
    assert judged >= 20


@pytest.mark.parametrize("states", [2, 3, 4])
def test_all_free_fits_are_minima(states):
    """Results of a full analysis whose code says that all parameters were free."""
    # Noise keeps the analysis from learning baselines, and the freest fit then comes out best.
    judged = {}
    for x, y in generated(states, 60, (0.06, 0.07, 0.08)):
        result = analyse(x, y, 25.0, states)
        code = int(result[Element.CODE])
        judged[code] = judged.get(code, 0) + 1
        if code in ALL_FREE[states]:
            assert lowered(x, y, result, states, NAMES[states].split() + BASELINES) < ALLOWED, result
    print(judged)
    assert sum(judged.get(code, 0) for code in ALL_FREE[states]) >= 5
