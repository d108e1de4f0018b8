"""The exports as functions on numpy rows: no policy, no units, no pictures."""

from contextlib import ExitStack
from enum import IntEnum

import numpy as np

from ._library import RESULT_LENGTH, Record, library


class Element(IntEnum):
    """Elements of a result vector. Energies in cal/mol, concentrations in M."""

    NATIVE_INTERCEPT = 0
    NATIVE_SLOPE = 1
    DENATURED_INTERCEPT = 2
    DENATURED_SLOPE = 3
    DG1 = 4
    CM1 = 5
    DG2 = 6
    CM2 = 7
    WEIGHT1 = 8
    DG3 = 9
    CM3 = 10
    WEIGHT2 = 11
    RT = 12
    CODE = 13
    R_SQUARED = 14
    DG1_WIDTH = 15
    DG2_WIDTH = 16
    DG3_WIDTH = 17


DG_ELEMENTS = [Element.DG1, Element.DG2, Element.DG3]
CM_ELEMENTS = [Element.CM1, Element.CM2, Element.CM3]
CURVES = {
    "signal": "ZOLTA_ChemDenatFluorescenceFitCurve",
    "fraction": "ZOLTA_ChemDenatFDFitCurve",
    "derivative": "ZOLTA_ChemDenatFirstDerivativeFitCurve",
}


def row(values, dtype=np.float64):
    """The values as the engine reads them: contiguous and aligned."""
    return np.require(values, dtype, ("C", "A"))


def analyse(x, y, temperature, states, baselines=None, midpoint_only=False):
    """The result vector of one analysis. `baselines` are aN, bN, aU, bU."""
    result = np.empty(RESULT_LENGTH)
    name = f"ZOLTA_{states}state"
    if midpoint_only:
        library().call(name + "_chalf", x, y, temperature, result)
    elif baselines is not None:
        library().call(name + "_user_set_baselines", x, y, row(baselines), temperature, result)
    else:
        library().call(name, x, y, temperature, result)
    return result


def fitted_curve(kind, x, result, n):
    """Grid and values of the fitted `signal`, `fraction` or `derivative` over the range of x."""
    with Record(np.empty(max(n, 0))) as grid, Record(np.empty(max(n, 0))) as curve:
        library().call(CURVES[kind], x, result, n, grid, curve)
        return grid.values(), curve.values()


def pick_states(y):
    """2, 3 or 4: the number of states that a signal on an even grid shows."""
    return library().call("ZOLTA_ChemDenatModelPicker", y)


def spike_mask(y):
    mask = np.ones(y.size, np.int32)
    library().call("ZOLTA_ChemDenatKillSpikes", y, mask)
    return mask


def outlier_mask(x, y, result):
    mask = np.ones(x.size, np.int32)
    library().call("ZOLTA_ChemDenatOutlierRemoval", x, y, result, mask)
    return mask


def smooth_emission(y, width):
    out = np.empty(y.size)
    library().call("ZOLTA_emission_smooth", y, width, out)
    return out


def series_fit(form, x, y, labels, states, temperature, mask=None):
    """Result vectors (curves by 24) and masks of the curves that are the rows of x and y.

    Without a mask the engine removes spikes and outliers by itself and reports what it kept.
    """
    curves, n = x.shape
    prefix = "ZOLTA_dGtrend" if form == "trend" else "ZOLTA_dGagg"
    with ExitStack() as open_records:
        xs, ys = (open_records.enter_context(Record(row(block))) for block in (x, y))
        results = open_records.enter_context(Record(np.empty(curves * RESULT_LENGTH)))
        if mask is None:
            kept = open_records.enter_context(Record(np.empty(curves * n, np.int32)))
            library().call(
                prefix + "_primaryFit", n, xs, ys, labels, states, temperature, results, kept
            )
            mask = kept.values().reshape(curves, n)
        else:
            flags = row(mask, np.int32).reshape(-1)
            library().call(
                prefix + "_user_primaryFit", n, xs, ys, labels, flags, states, temperature, results
            )
        return results.values().reshape(curves, RESULT_LENGTH), mask


def series_calculation(form, labels, results, include, transition):
    """Distinct labels, dG and error per label, flags of the labels used, and the trend."""
    name = "ZOLTA_dGtrend_calc" if form == "trend" else "ZOLTA_dGagg_calc"
    trend = np.empty(4)
    with ExitStack() as open_records:
        vectors = open_records.enter_context(Record(row(results)))
        outputs = [
            open_records.enter_context(Record.empty(dtype))
            for dtype in (np.float64, np.float64, np.float64, np.int32)
        ]
        library().call(
            name, labels, vectors, row(include, np.int32), transition, *outputs, trend
        )
        return *(output.values() for output in outputs), trend


def series_curve(kind, labels, trend, n, temperature):
    """Grid and values of `trend`, `agg`, `fd`, `fragg` or `fraggfd` over the range of the labels."""
    with Record(np.empty(n)) as grid, Record(np.empty(n)) as curve:
        if kind == "agg":
            library().call("ZOLTA_dGagg_trend", labels, trend, n, grid, curve)
        elif kind == "trend":
            library().call("ZOLTA_dGtrend_trend", labels, trend, n, grid, curve)
        else:
            library().call(f"ZOLTA_dGtrend_{kind}", labels, trend, n, temperature, grid, curve)
        return grid.values(), curve.values()


def normalise(y, reference, value):
    """y times value/reference, or y itself where the reference is not positive."""
    out = np.empty(y.size)
    library().call("ZOLTA_dGtrend_normalization", y, reference, value, out)
    return out
