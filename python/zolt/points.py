"""Readings before a fit: put in order, marked for spikes, counted for states."""

import numpy as np

from . import engine
from ._library import MOST_POINTS


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
    if x.size > MOST_POINTS or x.size < 3:
        return 2
    gaps = x[1:] - x[:-1]
    mean = (x[-1] - x[0]) / (x.size - 1)
    if mean > 0 and np.abs(gaps - mean).max() > 0.01 * mean:
        levels, place = np.unique(x, return_inverse=True)
        means = np.bincount(place, y) / np.bincount(place)
        y = np.interp(np.linspace(x[0], x[-1], x.size), levels, means)
    return engine.pick_states(y)


def tidy_readings(x, y, sd=None):
    """The readings as ascending rows of doubles without blanks; with `sd` None, None for it."""
    rows = [engine.row(values).reshape(-1) for values in ((x, y) if sd is None else (x, y, sd))]
    for name, row in zip(("y", "sd"), rows[1:]):
        if row.size != rows[0].size:
            raise ValueError(f"x has {rows[0].size} values and {name} has {row.size}; a curve needs as many of each")
    sound = np.isfinite(rows).all(axis=0)
    if not sound.all():
        rows = [row[sound] for row in rows]
    if np.any(rows[0][1:] < rows[0][:-1]):
        order = np.argsort(rows[0], kind="stable")
        rows = [row[order] for row in rows]
    return (*rows, None) if sd is None else tuple(rows)
