"""zolt: fit chemical-denaturation curves with two, three or four states.

>>> import zolt
>>> for curve in zolt.read_curves("examples/fkbp12_urea.csv"):
...     print(zolt.fit(curve.x, curve.y, name=curve.name))
"""

from ._version import __version__
from .batch import fit_each, fit_many, table_of
from .codes import explain
from .fit import Fit, fit
from .intervals import Intervals
from .points import pick_states
from .read import Curve, ReadError, Reading, read_curves, read_file
from .series import Series, fit_series

__all__ = [
    "Curve",
    "Fit",
    "Intervals",
    "ReadError",
    "Reading",
    "Series",
    "__version__",
    "explain",
    "fit",
    "fit_each",
    "fit_many",
    "fit_series",
    "pick_states",
    "read_curves",
    "read_file",
    "table_of",
]
