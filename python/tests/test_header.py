"""Numbers that the host keeps beside the engine's header, and the table of quantiles behind widths."""

import re
from pathlib import Path

import numpy as np
from scipy import stats

from zolt import _library, codes, engine
from zolt.engine import Element
from zolt.fit_record import FEWEST_POINTS, FEWEST_POINTS_MIDPOINT

HEADER = (Path(__file__).resolve().parents[2] / "include" / "zolt_fitting_engine.h").read_text()
CONSTANTS = {name: int(value) for name, value in re.findall(r"\bZOLTA_(\w+) = (\d+)", HEADER)}


def test_elements_and_codes_have_the_header_s_numbers():
    of_paths = sum(map(len, codes.PATHS.values()))
    assert len(CONSTANTS) == of_paths + len(codes.COMMON) + 22  # elements of a result, and their number
    for element in Element:
        name = {"CODE": "FIT_CODE"}.get(element.name, element.name)
        assert CONSTANTS[name] == element, element
    assert [CONSTANTS[f"DG{k}"] for k in (1, 2, 3)] == engine.DG_ELEMENTS
    assert [CONSTANTS[f"CM{k}"] for k in (1, 2, 3)] == engine.CM_ELEMENTS
    assert _library.RESULT_LENGTH == CONSTANTS["RESULT_LENGTH"]
    of_codes = {
        "BAD_INPUT": codes.BAD_INPUT, "NO_TRANSITION": codes.NO_TRANSITION,
        "NO_CANDIDATE": codes.NO_CANDIDATE, "NO_ACCEPTABLE_FIT": codes.NO_FIT,
        "MIDPOINT_FIT": codes.MIDPOINT, "MIDPOINT_REJECTED": codes.MIDPOINT_REJECTED,
        "BOTH_BASELINES": codes.BOTH_GIVEN,
    }  # fmt: skip
    assert {name: CONSTANTS[f"CODE_{name}"] for name in of_codes} == of_codes


def test_the_bounds_of_lengths_are_those_that_the_header_tells():
    text = re.sub(r"\s+\*\s+", " ", HEADER)
    full, most, midpoint = re.search(r"takes (\d+) to (\d+) points, a midpoint fit (\d+)", text).groups()
    assert (int(full), int(most)) == (FEWEST_POINTS, _library.MOST_POINTS)
    assert int(midpoint) == FEWEST_POINTS_MIDPOINT


def test_widths_rest_on_the_quantile_of_as_many_degrees_as_points():
    for n in range(8, _library.MOST_POINTS + 1):
        x = np.linspace(0.0, 8.0, n)
        y = 1.0 + 2.0 / (1.0 + np.exp(6.0 - 1.5 * x)) + 0.05 * (-1.0) ** np.arange(n)
        result = engine.analyse(x, y, 25.0, 2, midpoint_only=True)
        grid, fitted = engine.fitted_curve("signal", x, result, n)
        error = np.sqrt(np.sum((y - fitted) ** 2) / (n - 2))
        wanted = result[Element.DG1] * error * stats.t.ppf(0.95, n)
        assert np.allclose(grid, x) and np.isclose(result[Element.DG1_WIDTH], wanted, rtol=1e-7), n
