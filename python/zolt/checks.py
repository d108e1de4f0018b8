"""What people hand over in Python, looked at before it is used; a sentence on what cannot be used."""

import os

import numpy as np

from . import engine
from .reading.quantities import LEAST_CONCENTRATION

_KINDS = {"c": "complex numbers", "b": "True and False", "M": "dates", "m": "times"}


def numbers(values, name):
    """A row of doubles of `values`, a list or an array of one dimension; blanks (None) are NaN."""
    if isinstance(values, np.ndarray) and values.dtype == np.float64 and values.ndim == 1:
        return engine.row(values)
    if isinstance(values, (str, bytes, os.PathLike)):
        raise TypeError(f"{name} is {values!r}; give a list of numbers, or read a file by zolt.read_curves")
    try:
        found = np.asarray(values)
        kind = found.dtype.kind
        found = engine.row(values).reshape(-1) if kind in "fiuOUS" else None
    except (TypeError, ValueError):
        found, kind = None, "mixed"
    if found is None:
        what = _KINDS.get(kind, "what is no number")
        raise TypeError(f"{name} holds {what}; give a list of numbers, NaN where one lacks")
    if sum(length > 1 for length in np.shape(values)) > 1:
        raise ValueError(
            f"{name} has the shape {np.shape(values)}; a curve is one row: "
            "of several give each, as {name: (x, y)}, to zolt.fit_many"
        )
    return found


def concentrations(values, name="x"):
    """`numbers` that can be concentrations in M."""
    x = numbers(values, name)
    least = np.fmin.reduce(x, initial=0.0)
    if least < LEAST_CONCENTRATION:
        raise ValueError(
            f"{name} goes down to {least:g} M; a concentration is 0 or more: is {name} the signal?"
        )
    return x


def number(value, name, unit=""):
    """A float of a number; NaN and texts are refused."""
    try:
        found = float(value) if not isinstance(value, (str, bytes, bool)) else np.nan
    except (TypeError, ValueError):
        found = np.nan
    if not np.isfinite(found):
        raise ValueError(f"{name} is {value!r}; give one number{f' in {unit}' if unit else ''}")
    return found


def level_of(level):
    """A level of confidence, which is a number between 0 and 1."""
    if not 0.0 < number(level, "level") < 1.0:
        raise ValueError(f"level is {level!r}; it lies between 0 and 1, as 0.95")
    return level


def place_of(reference, names):
    """The index of a curve that is told by its name or its index."""
    if isinstance(reference, str):
        if reference not in names:
            raise ValueError(f"there is no curve '{reference}'; the curves are {', '.join(names)}")
        return names.index(reference)
    whole = isinstance(reference, (int, np.integer)) and not isinstance(reference, bool)
    if not whole or not 0 <= reference < len(names):
        raise ValueError(
            f"reference is {reference!r}; it is the name or the index, from 0, of one of {len(names)} curves"
        )
    return int(reference)
