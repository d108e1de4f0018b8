"""Several curves in one figure."""

import numpy as np
from matplotlib import colormaps

from .. import model
from ..model import CAL_PER_UNIT
from .energy import draw_energy
from .look import GRID, MOST_NAMED, denaturant_label, dress, limits, new_figure, palette, shortened, styled

_ASPECT = 0.7
QUANTITIES = ("fraction", "signal", "energy")


@styled
def plot_overlay(fits, ax=None, *, quantity="fraction", units="kcal", signal="Signal", denaturant=None):
    """Draw the readings and fits of several curves over one another; returns the figure.

    `quantity` is "fraction", which brings every curve between its own baselines to the fraction
    denatured, "signal", as it was read, or "energy", the free energy of unfolding at every
    concentration. Curves without a fit take part in "signal" alone. Up to 12 curves are named.
    Takes the keywords of `zolt.plot.look`.
    """
    if quantity not in QUANTITIES:
        raise ValueError(f"quantity is one of {', '.join(QUANTITIES)}, not {quantity!r}")
    shown = [fit for fit in fits if fit.ok or (quantity == "signal" and fit.x.size)]
    if ax is None:
        ax = new_figure(aspect=_ASPECT).subplots()
    for fit, color in zip(shown, colours(len(shown))):
        _DRAW[quantity](fit, ax, color, shortened(fit.name, 40), CAL_PER_UNIT[units])
    if not shown:
        ax.text(0.5, 0.5, "No curve was fitted.", ha="center", va="center", transform=ax.transAxes)
    names = dict(signal=signal, fraction="Fraction denatured", energy=f"dG ({units}/mol)")
    ax.set_ylabel(names[quantity])
    ax.set_xlabel(denaturant_label(shown, denaturant))
    if quantity == "fraction":
        ax.set_ylim(-0.15, 1.15)
    if 0 < len(shown) <= MOST_NAMED:
        ax.legend(loc="best")
    dress(ax)
    return ax.figure


def colours(count):
    """A colour per curve: those of the style as far as they go, else even steps of viridis."""
    own = palette()
    own = [own.reading, own.fit, own.mark, *own.shares]
    if count <= len(own):
        return own[:count]
    return [colormaps["viridis"](place) for place in np.linspace(0.0, 0.9, count)]


def _draw_signal(fit, ax, color, name, _):
    ax.scatter(fit.x[fit.kept], fit.y[fit.kept], s=14, color=color, label=name, linewidths=0)
    if fit.ok:
        ax.plot(*fit.curve(GRID), color=color)
        at, middle, half = fit.band(GRID)
        if np.isfinite(half).all():
            ax.fill_between(at, middle - half, middle + half, color=color, alpha=0.12, lw=0)
    values = np.concatenate([fit.y[fit.kept], ax.get_ylim()]) if ax.lines else fit.y[fit.kept]
    ax.set_ylim(*limits(values, 0.0 if ax.lines else 0.08))


def _draw_fraction(fit, ax, color, name, _):
    fraction = model.fraction_of(fit.x, fit.y, fit.result)
    ax.scatter(fit.x[fit.kept], fraction[fit.kept], s=14, color=color, label=name, linewidths=0)
    ax.plot(*fit.fraction_denatured(GRID), color=color)


def _draw_energy(fit, ax, color, name, scale):
    draw_energy(fit, ax, scale, color, name)


_DRAW = {"signal": _draw_signal, "fraction": _draw_fraction, "energy": _draw_energy}
