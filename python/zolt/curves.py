"""Curves from what people have at hand."""

from dataclasses import replace
from os import PathLike

import numpy as np

from .checks import numbers
from .read import Curve, Reading
from .reading.curve import identical_curves


def as_curves(curves):
    """Curves from what people have: `Curve` records, a wide DataFrame, {name: (x, y)}, pairs.

    Of what no reader has seen, curves with the same readings get a note.
    """
    if isinstance(curves, (str, PathLike)):
        file = repr(str(curves))
        raise TypeError(f"{file} is the name of a file; read it first, by zolt.read_curves({file})")
    if isinstance(curves, (Curve, Reading)):
        curves = [curves] if isinstance(curves, Curve) else curves.curves
    if hasattr(curves, "columns"):
        if len(curves.columns) < 2:
            raise ValueError("the table has one column; expected concentrations and a signal in each other")
        x = curves.iloc[:, 0]
        curves = [Curve(str(name), x, curves.iloc[:, i]) for i, name in enumerate(curves.columns) if i]
    elif hasattr(curves, "items"):
        curves = [_curve(str(name), pair) for name, pair in curves.items()]
    else:
        if not hasattr(curves, "__iter__"):
            raise TypeError(f"expected curves, as {{name: (x, y)}} or a list of zolt.Curve, found {curves!r}")
        curves = list(curves)
        if all(isinstance(c, Curve) and all(isinstance(row, np.ndarray) for row in c) for c in curves):
            return curves
        curves = [c if isinstance(c, Curve) else _curve(f"curve {i}", c) for i, c in enumerate(curves, 1)]
    rows = [
        replace(c, x=numbers(c.x, f"x of '{c.name}'"), y=numbers(c.y, f"y of '{c.name}'")) for c in curves
    ]
    notes = {note.curve: (note,) for note in identical_curves(rows)}
    return [replace(curve, notes=(*curve.notes, *notes.get(curve.name, ()))) for curve in rows]


def _curve(name, pair):
    """The `Curve` of a pair of x and y."""
    if isinstance(pair, (str, bytes)) or not hasattr(pair, "__len__") or len(pair) != 2:
        raise TypeError(f"'{name}' is no curve; expected a pair of concentrations and signals: (x, y)")
    return Curve(name, *pair)
