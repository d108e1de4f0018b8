"""The free energy of unfolding against the concentration of denaturant."""

import numpy as np

from .. import model
from ..model import CAL_PER_UNIT
from .look import BASELINE, denaturant_label, dress, limits, new_figure, palette, shortened, styled

_ASPECT = 0.7
# Outside of these fractions a reading tells the baselines and next to nothing of the free energy.
_LEAST_FRACTION, _MOST_FRACTION = 0.05, 0.95


@styled
def plot_free_energy(fit, ax=None, *, units="kcal", denaturant=None, title=None):
    """Draw dG against the concentration of denaturant down to water; returns the figure.

    The lines are those of the fit, dG = m (Cm - x). With two states the readings of the transition
    stand beside them as -RT ln K, K from the distances to both baselines. At 0 M stands dG in water
    with its standard error. Takes the keywords of `zolt.plot.look`.
    """
    if ax is None:
        ax = new_figure(aspect=_ASPECT).subplots()
    ax.axhline(0.0, color=BASELINE, lw=0.9)
    if fit.ok:
        draw_energy(fit, ax, CAL_PER_UNIT[units])
        ax.legend(loc="best")
    else:
        ax.text(0.5, 0.5, fit.status, ha="center", va="center", transform=ax.transAxes)
    ax.set_xlabel(denaturant_label([fit], denaturant))
    ax.set_ylabel(f"dG ({units}/mol)")
    ax.set_title(shortened(fit.name if title is None else title), loc="left")
    dress(ax)
    return ax.figure


def draw_energy(fit, ax, scale, color=None, name=None):
    """Line, readings and value in water of a fit, in one colour where one is given."""
    own = palette()
    x = np.linspace(0.0, fit.x[-1], 2)
    errors = fit.se["dG"] / scale
    for i, (dG, Cm) in enumerate(zip(fit.dG / scale, fit.Cm)):
        shade = color or (own.fit if fit.dG.size == 1 else own.shares[i])
        label = name if name is not None and i == 0 else None
        if name is None:
            label = f"dG = {dG:.2f}" + (f" ± {errors[i]:.2f}" if np.isfinite(errors[i]) else "")
        ax.plot(x, dG * (1.0 - x / Cm), color=shade, label=label)
        ax.errorbar([0.0], [dG], [errors[i] if np.isfinite(errors[i]) else 0.0], fmt="D", ms=5, color=shade,
                    mfc=own.paper, capsize=3, clip_on=False, zorder=5)  # fmt: skip
    if fit.dG.size == 1:
        at, energy = readings_of_energy(fit)
        ax.scatter(at, energy / scale, s=18, color=color or own.reading, zorder=4, linewidths=0)
    ends = [*fit.dG / scale, *((fit.dG[:, None] * (1.0 - x / fit.Cm[:, None])).ravel() / scale)]
    if ax.lines and np.isfinite(ends).all():
        ax.set_xlim(left=-0.02 * fit.x[-1])
        ax.set_ylim(
            *limits([*ends, *(ax.dataLim.intervaly if np.isfinite(ax.dataLim.intervaly).all() else ())])
        )


def readings_of_energy(fit):
    """Concentrations (M) and -RT ln K (cal/mol) of the kept readings within the transition."""
    fraction = model.fraction_of(fit.x, fit.y, fit.result)
    within = fit.kept & (fraction > _LEAST_FRACTION) & (fraction < _MOST_FRACTION)
    part = fraction[within]
    return fit.x[within], -fit.result[12] * np.log(part / (1.0 - part))
