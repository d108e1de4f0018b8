"""Readings before a fit: put in order, marked for spikes, counted for states."""

import numpy as np

from . import engine
from ._library import MOST_POINTS
from .checks import concentrations, numbers


def spike_marks(y):
    """True where the engine's spike rule marks a reading that lies above or below both neighbours.

    The rule compares leaps with the neighbours' values, so it wants a positive signal: one that
    falls to -1 or below, as CD does, is lifted to begin at its own range. It does not look at the
    direction of the leaps; a sound reading within a steep transition, which lies between its
    neighbours, is not counted here.
    """
    if not 2 <= y.size <= MOST_POINTS:
        return np.zeros(y.size, bool)
    if y.min() <= -1.0:
        y = y - y.min() + np.ptp(y)
    marked = engine.spike_mask(np.ascontiguousarray(y)) == 0
    if marked.any():
        steps = np.diff(y)
        marked[1:-1] &= steps[:-1] * steps[1:] < 0.0
    return marked


def pick_states(x, y):
    """The number of states that the signal shows, by the engine's picker.

    The picker sees the signal only and takes its points as evenly spaced. Readings at equal x are
    averaged, and where the spacing departs from even by more than a hundredth, the signal is first
    brought to an even grid of as many points by linear interpolation.
    """
    x, y, _ = tidy_readings(x, y)
    if x.size > MOST_POINTS or x.size < 3:
        return 2
    gaps = x[1:] - x[:-1]
    mean = (x[-1] - x[0]) / (x.size - 1)
    if mean > 0 and np.abs(gaps - mean).max() > 0.01 * mean:
        y = np.interp(np.linspace(x[0], x[-1], x.size), *means_at(x, y))
    return engine.pick_states(y)


def means_at(x, y):
    """The distinct concentrations, ascending, and the mean signal at each."""
    levels, place = np.unique(x, return_inverse=True)
    return levels, np.bincount(place, y) / np.maximum(np.bincount(place), 1)


def tidy_readings(x, y):
    """The readings as ascending rows of doubles without blanks, and the places that they came from."""
    x, y = concentrations(x), numbers(y, "y")
    if y.size != x.size:
        raise ValueError(f"x has {x.size} values and y has {y.size}; a curve needs as many of each")
    order = np.flatnonzero(np.isfinite(x) & np.isfinite(y))
    if np.any(x[order][1:] < x[order][:-1]):
        order = order[np.argsort(x[order], kind="stable")]
    if order.size == x.size and np.all(order[1:] > order[:-1]):
        return x, y, order
    return x[order], y[order], order


def usable_deviations(sd, n, weights, y):
    """Deviations that may weigh the readings, and whether there are some that may not.

    `sd` and `n` are as read or None, `weights` as in `zolt.settings`, `y` the signal. Gaps count only
    where there is a reading.
    """
    if sd is None or weights == "none":
        return None, False
    sd = _beside(sd, "sd", y)
    if weights == "sem":
        if n is None:
            return None, True
        n = _beside(n, "n", y)
        sd = np.divide(sd, np.sqrt(n, where=n > 0), out=np.full(sd.size, np.nan), where=n > 0)
    there = np.isfinite(numbers(y, "y"))
    sound = np.isfinite(sd[there]).all() and (sd[there] > 0).all()
    return (sd, False) if sound else (None, bool(there.any()))


def _beside(values, name, y):
    values = numbers(values, name)
    if values.size != np.size(y):
        raise ValueError(
            f"y has {np.size(y)} values and {name} has {values.size}; a curve needs as many of each"
        )
    return values
