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

# The part of a sum of squares that the judge may take off. A fit ends once its sum of squares
# changes by less than 1e-8 of itself or its parameters by less than 1e-8, and the next step would
# gain far less: well-determined fits are left below 1e-9. With all parameters free, noisy curves
# leave long flat valleys in which the last steps are short before the bottom is reached.
ALLOWED = 1e-8
ALLOWED_IN_VALLEYS = 1e-4

NAMES = {2: "dG1 Cm1", 3: "dG1 Cm1 dG2 Cm2 weight1", 4: "dG1 Cm1 dG2 Cm2 dG3 Cm3 weight1 weight2"}
BASELINES = ["aN", "bN", "aU", "bU"]
ELEMENT = dict(
    aN=Element.NATIVE_INTERCEPT, bN=Element.NATIVE_SLOPE,
    aU=Element.DENATURED_INTERCEPT, bU=Element.DENATURED_SLOPE,
    dG1=Element.DG1, Cm1=Element.CM1, dG2=Element.DG2, Cm2=Element.CM2, weight1=Element.WEIGHT1,
    dG3=Element.DG3, Cm3=Element.CM3, weight2=Element.WEIGHT2,
)  # fmt: skip

# Codes of the full analysis by what their candidates held: nothing at all, or the slopes of an
# earlier candidate, which here is the best of those that held nothing.
ALL_FREE = {2: {27}, 3: {25}, 4: {52}}
SLOPES_HELD = {2: {25}, 3: set(), 4: set()}

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
    """The part of the result's sum of squares that the judge takes off by moving `free`.

    None where the judge leaves the curve: fits with a midpoint outside of it are refused everywhere.
    """
    names = NAMES[states].split() + BASELINES
    values = {name: result[ELEMENT[name]] for name in names}
    scale = np.array([abs(values[name]) or 1.0 for name in free])

    def residuals(step):
        moved = dict(zip(free, scale * step, strict=True))
        return signal({**values, **moved}, x, states) - y

    start = np.array([values[name] for name in free]) / scale
    before = np.sum(residuals(start) ** 2)
    found = least_squares(residuals, start, method="lm", xtol=1e-14, ftol=1e-14, gtol=1e-14)
    midpoints = [scale[i] * found.x[i] for i, name in enumerate(free) if name.startswith("Cm")]
    if min(midpoints) < 0.0 or max(midpoints) > x[-1]:
        return None
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
def test_accepted_first_fits_are_minima(states):
    """Noise keeps a full analysis from learning baselines, and the freest fits come out best."""
    judged = left = 0
    for x, y in generated(states, 160, (0.04, 0.06)):
        result = analyse(x, y, 25.0, states)
        code = int(result[Element.CODE])
        free = NAMES[states].split() + ["aN", "aU"]
        if code in ALL_FREE[states]:
            free += ["bN", "bU"]
        elif code not in SLOPES_HELD[states]:
            continue
        found = lowered(x, y, result, states, free)
        if found is None:
            left += 1
            continue
        assert found < ALLOWED_IN_VALLEYS, (code, len(x), result)
        judged += 1
    assert judged >= 8 and left <= judged / 10
