"""Picture of a comparison: the curves on one scale, and ddG by three ways."""

import numpy as np
from matplotlib import colormaps

from .. import inference, model
from ..model import CAL_PER_UNIT
from .look import BASELINE, MOST_NAMED, denaturant_label, dress, new_figure, palette, shortened, styled

_LONGEST = 32  # letters of a name
_MARKS = ("o", "s", "D")


@styled
def plot_compare(comparison, units="kcal"):
    """Left, the fraction denatured of every curve; right, a row per curve with ddG and intervals.

    Takes the keywords of `zolt.plot.look`. Returns the figure.
    """
    own = palette()
    shown = [i for i, row in enumerate(comparison.rows)
             if i != comparison.reference and row.status == inference.FITTED]  # fmt: skip
    figure = new_figure(9.6 / 8.2, max(3.6, 1.6 + 0.42 * len(shown)) / 9.6)
    left, right = figure.subplots(1, 2, width_ratios=(1.0, 1.1))
    _draw_curves(comparison, left)
    scale = CAL_PER_UNIT[units]
    for k, (value, _, span, words) in enumerate(inference.WAYS.values()):
        rows = [comparison.rows[i] for i in shown]
        values = np.array([getattr(row, value) for row in rows]) / scale
        ends = np.array([list(getattr(row, span)) for row in rows]).reshape(-1, 2) / scale
        reach = np.abs(np.nan_to_num(ends - values[:, None], posinf=np.nan, neginf=np.nan)).T
        places = np.arange(len(shown)) + 0.22 * (k - 1)
        right.errorbar(values, places, xerr=np.nan_to_num(reach), fmt=_MARKS[k], ms=5, lw=1.2, capsize=2.5,
                       color=own.shares[k], mfc=own.paper, label=words)  # fmt: skip
    right.axvline(0.0, color=BASELINE, lw=0.9)
    right.set_yticks(range(len(shown)), [shortened(comparison.fits[i].name, _LONGEST) for i in shown])
    right.set_ylim(len(shown) - 0.4, -0.6)
    right.set_xlabel(f"ddG ({units}/mol), {100 * comparison.level:g} % intervals")
    right.legend(loc="lower center", bbox_to_anchor=(0.5, 1.0), ncols=1)
    for ax in (left, right):
        dress(ax)
    return figure


def _draw_curves(comparison, ax):
    colors = colormaps["viridis"](np.linspace(0.15, 0.9, max(len(comparison.fits), 2)))
    for i, fit in enumerate(comparison.fits):
        if not fit.ok:
            continue
        color = palette().reading if i == comparison.reference else colors[i]
        x, y = fit.x[fit.kept], model.fraction_of(fit.x, fit.y, fit.result)[fit.kept]
        ax.scatter(x, y, s=9, color=color, alpha=0.6, linewidths=0)
        name = shortened(fit.name, _LONGEST) + (" (reference)" if i == comparison.reference else "")
        ax.plot(
            *fit.fraction_denatured(), color=color, lw=1.6 if i == comparison.reference else 1.2, label=name
        )
    ax.set_ylim(-0.15, 1.15)
    ax.set_xlabel(denaturant_label(comparison.fits))
    ax.set_ylabel("Fraction denatured")
    if len(comparison.fits) <= MOST_NAMED:
        ax.legend(loc="lower center", bbox_to_anchor=(0.5, 1.0), ncols=1)
