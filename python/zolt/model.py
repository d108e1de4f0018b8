"""The unfolding model as numpy expressions, for residuals, leverages and pictures.

Each transition is K = exp(-dG (1 - x/Cm) / RT) and moves its weight of the signal from the native
to the denatured line; the lines are shared by all transitions. Fits and fitted curves come from
the engine, which evaluates the same equations.
"""

import numpy as np

from .engine import CM_ELEMENTS, DG_ELEMENTS, Element

# Units of energy that results may be asked for in; the engine works in cal/mol.
CAL_PER_UNIT = {"cal": 1.0, "kcal": 1000.0, "kJ": 1000.0 / 4.184}

LEAST_M, MOST_M = 100.0, 15000.0  # cal/mol/M, between which the engine takes a fit for sensible


def states_of(result):
    """The number of states of a result vector, told by the elements it leaves at 0 or -1."""
    values = result[: Element.CODE].tolist()
    if values[Element.RT] == -1:
        if values[Element.WEIGHT2] == -1:
            return 4
        return 3 if values[Element.WEIGHT1] == -1 else 2
    if not any(values[6:9]):
        return 2
    return 4 if any(values[9:12]) else 3


def transitions(result):
    """dG (cal/mol), Cm (M) and weight of every transition, as three rows."""
    count = states_of(result) - 1
    dG, Cm = (result[elements[:count]] for elements in (DG_ELEMENTS, CM_ELEMENTS))
    held = {1: [], 2: [result[Element.WEIGHT1]], 3: result[[Element.WEIGHT1, Element.WEIGHT2]]}[count]
    return dG, Cm, np.append(held, 1.0 - np.sum(held))


def fractions(x, dG, Cm, RT):
    """K/(1+K) of every transition (rows) at every x; an overflowing K counts as its limit."""
    with np.errstate(over="ignore", divide="ignore", invalid="ignore"):
        return 1.0 / (1.0 + np.exp(dG[:, None] * (1.0 - x / Cm[:, None]) / RT))


def lines(x, result):
    """The native and the denatured baseline at x."""
    return result[0] + result[1] * x, result[2] + result[3] * x


def signal(x, result):
    dG, Cm, weights = transitions(result)
    native, denatured = lines(x, result)
    fraction = (weights[:, None] * fractions(x, dG, Cm, result[Element.RT])).sum(axis=0)
    return native + (denatured - native) * fraction


def free_elements(result):
    """The elements of a result vector that are parameters of its model."""
    further = {2: [], 3: [6, 7, 8], 4: [6, 7, 8, 9, 10, 11]}[states_of(result)]
    return [0, 1, 2, 3, 4, 5, *further]


def jacobian(x, result):
    """Derivatives of the signal by the free elements (columns), by central differences."""
    columns = []
    for element in free_elements(result):
        step = 1e-6 * (abs(result[element]) or 1.0)
        ends = []
        for sign in (1.0, -1.0):
            moved = result.copy()
            moved[element] += sign * step
            ends.append(signal(x, moved))
        columns.append((ends[0] - ends[1]) / (2.0 * step))
    return np.array(columns).T


def linearised(x, y, result):
    """Least squares of the model linearised at a result, all parameters free.

    Returns the result that the linear step leads to and the leverage of every reading.
    """
    slopes = jacobian(x, result)
    scale = np.linalg.norm(slopes, axis=0)
    scale[scale == 0.0] = 1.0
    left, singular, right = np.linalg.svd(slopes / scale, full_matrices=False)
    kept = singular > 1e-6 * singular[0]
    left = left[:, kept]
    step = right[kept].T @ ((left.T @ (y - signal(x, result))) / singular[kept])
    moved = result.copy()
    moved[free_elements(result)] += step / scale
    return moved, np.einsum("ij,ij->i", left, left)


def sensible(x, result):
    """Midpoints within the readings and m-values such as the engine asks for."""
    dG, Cm, weights = transitions(result)
    inside = (Cm > 0.0) & (Cm <= x[-1]) & (weights > 0.0)
    return bool(inside.all() and ((dG / Cm >= LEAST_M) & (dG / Cm <= MOST_M)).all())
