"""Pictures of fits, plates and series.

Figures are made without pyplot. They follow Matplotlib's style sheets, see `look`.
"""

from .compare import plot_compare
from .curve import plot_fit, save_figure, save_fit
from .energy import plot_free_energy
from .look import look, new_figure
from .overlay import plot_overlay
from .plate import plate_cells, plate_figure
from .profile import plot_profile, profile
from .series import plot_series

__all__ = [
    "look",
    "new_figure",
    "plate_cells",
    "plate_figure",
    "plot_compare",
    "plot_fit",
    "plot_free_energy",
    "plot_overlay",
    "plot_profile",
    "plot_series",
    "profile",
    "save_figure",
    "save_fit",
]
