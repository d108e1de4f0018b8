"""zolt: fit chemical-denaturation curves with two, three or four states.

>>> import zolt
>>> for curve in zolt.read_curves("examples/fkbp12_urea.csv"):
...     print(zolt.fit(curve.x, curve.y, name=curve.name))
"""

from ._version import __version__
from .batch import fit_each, fit_many, table_of
from .caution import Caution
from .codes import explain
from .compare import Comparison, compare
from .evidence import Evidence
from .fit import fit
from .fit_record import Fit
from .global_fit import GlobalFit, fit_global
from .intervals import Intervals
from .methods import methods
from .points import pick_states
from .read import Curve, ReadError, Reading, read_curves, read_file
from .replicates import pooled, replicate_means
from .series import Series, fit_series
from .settings import Settings

__all__ = [
    "Caution",
    "Comparison",
    "Curve",
    "Evidence",
    "Fit",
    "GlobalFit",
    "Intervals",
    "ReadError",
    "Reading",
    "Series",
    "Settings",
    "__version__",
    "compare",
    "explain",
    "fit",
    "fit_each",
    "fit_global",
    "fit_many",
    "fit_series",
    "methods",
    "pick_states",
    "pooled",
    "read_curves",
    "read_file",
    "replicate_means",
    "table_of",
]
