"""The unfolding model as numpy expressions, for pictures, and result vectors of fits.

Each transition is K = exp(-dG (1 - x/Cm) / RT) and moves its weight of the signal from the native
to the denatured line; the lines are shared by all transitions. Fits come from the inference
library and the engine, which evaluate the same equations.
"""

from functools import cached_property

import numpy as np

from ._library import RESULT_LENGTH
from .engine import CM_ELEMENTS, DG_ELEMENTS, Element

# Units of energy that results may be asked for in; the engine works in cal/mol.
class _Units(dict):
    def __missing__(self, unit):
        raise ValueError(f"the unit is one of {', '.join(map(repr, self))} (per mol), not {unit!r}")


CAL_PER_UNIT = _Units({"cal": 1.0, "kcal": 1000.0, "kJ": 1000.0 / 4.184})


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


def holds_fit(result):
    """True where a result vector holds a fit: RT is told, and every transition is a number."""
    return bool(result[Element.RT] > 0) and all(np.isfinite(row).all() for row in transitions(result))


def transitions(result):
    """dG (cal/mol), Cm (M) and weight of every transition, as three rows."""
    count = states_of(result) - 1
    dG, Cm = (result[elements[:count]] for elements in (DG_ELEMENTS, CM_ELEMENTS))
    held = {1: [], 2: [result[Element.WEIGHT1]], 3: result[[Element.WEIGHT1, Element.WEIGHT2]]}[count]
    return dG, Cm, np.append(held, 1.0 - np.sum(held))


class Unfolding:
    """Whatever holds a fit as `result`, in the layout of the engine's vector: what that says by name."""

    @cached_property
    def states(self):
        """Number of states of the model that was fitted: 2, 3 or 4."""
        return states_of(self.result)

    @cached_property
    def ok(self):
        """True where the result holds a fit."""
        return holds_fit(self.result)

    @cached_property
    def _transitions(self):
        rows = transitions(self.result)
        return rows if self.ok else tuple(np.full(row.shape, np.nan) for row in rows)

    @property
    def dG(self):
        """Free energy of unfolding in water of each transition, cal/mol."""
        return self._transitions[0]

    @property
    def Cm(self):
        """Midpoint of each transition, M."""
        return self._transitions[1]

    @property
    def m(self):
        """m-value of each transition, dG/Cm, cal/mol/M."""
        return self.dG / self.Cm

    @property
    def weights(self):
        """Share of each transition in the signal change; they add up to 1."""
        return self._transitions[2]


def fractions(x, dG, Cm, RT):
    """K/(1+K) of every transition (rows) at every x; an overflowing K counts as its limit."""
    with np.errstate(over="ignore", divide="ignore", invalid="ignore"):
        return 1.0 / (1.0 + np.exp(dG[:, None] * (1.0 - x / Cm[:, None]) / RT))


def lines(x, result):
    """The native and the denatured baseline at x."""
    return result[0] + result[1] * x, result[2] + result[3] * x


def fraction_of(x, y, result):
    """Where each reading stands between the baselines: 0 on the native one, 1 on the denatured one."""
    native, denatured = lines(x, result)
    with np.errstate(divide="ignore", invalid="ignore"):
        return (y - native) / (denatured - native)


def signal(x, result):
    dG, Cm, weights = transitions(result)
    native, denatured = lines(x, result)
    fraction = (weights[:, None] * fractions(x, dG, Cm, result[Element.RT])).sum(axis=0)
    return native + (denatured - native) * fraction


def vector(answer, code):
    """The result vector, as the engine lays it out, of a fit by least squares."""
    record, count = answer.record, answer.record.transitions
    result = np.zeros(RESULT_LENGTH)
    result[:4] = record.baseline
    result[DG_ELEMENTS[:count]] = record.dG[:count]
    result[CM_ELEMENTS[:count]] = record.Cm[:count]
    result[[Element.WEIGHT1, Element.WEIGHT2][: count - 1]] = record.weight[: count - 1]
    result[[Element.RT, Element.CODE, Element.R_SQUARED]] = record.RT, code, record.r_squared
    return result


def no_fit(code, states=2):
    """The vector of a curve without a fit."""
    result = np.zeros(RESULT_LENGTH)
    result[: 3 * states] = -1.0
    result[[Element.RT, Element.R_SQUARED]] = -1.0
    result[Element.CODE] = code
    return result
