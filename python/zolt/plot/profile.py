"""The profile behind the intervals: how fast the fit worsens as dG, Cm or m is moved."""

import math

import numpy as np

from ..intervals import quantities
from .look import BASELINE, dress, limits, new_figure, palette, shortened, styled

_ASPECT = 0.36  # of a row of three panels
# Levels whose intervals would be even steps of the standard error if the errors were normal.
_LEVELS = [math.erf(0.15 * step / math.sqrt(2.0)) for step in range(1, 21)]


def profile(fit):
    """The profile of the sum of squares of a fit: arrays under dG, Cm and m, in cal/mol and M.

    Each has a row per transition and level: lower end, upper end, and by how many variances of the
    residuals the sum of squares has risen there. An end that the readings do not set is infinite.
    Where an interval is widened for unequal scatter, so is the profile. Where the sum of squares has
    several valleys, an end is the farthest place that any smaller rise reaches, so that the intervals
    lie within one another. ValueError if the fit is not one by least squares.
    """
    spans = [(fit.intervals(level), fit.intervals(level, "linear")) for level in _LEVELS]
    rows = {
        name: np.array(
            [
                [(*ends, ((straight[1] - straight[0]) / (2.0 * error)) ** 2) for ends, straight in rows]
                for error, rows in zip(
                    fit.se[name], zip(*(zip(getattr(a, name), getattr(b, name)) for a, b in spans))
                )
            ]
        )
        for name in ("dG", "Cm", "m")
    }
    for quantity in rows.values():
        np.minimum.accumulate(quantity[..., 0], axis=-1, out=quantity[..., 0])
        np.maximum.accumulate(quantity[..., 1], axis=-1, out=quantity[..., 1])
    return rows


@styled
def plot_profile(fit, *, units="kcal", level=0.95, title=None):
    """Draw the profile of the sum of squares against dG, Cm and m, a row per transition.

    The solid line is the least sum of squares with the quantity held, the dashed parabola what the
    standard error alone would say; where they part, only the profile tells the interval. Dotted
    lines are the ends of the interval at `level`; a side without one is open, which is written there.
    An upright piece of the solid line stands where the sum of squares has a further valley. Takes the
    keywords of `zolt.plot.look`. Returns the figure.
    """
    lines, spans, count = profile(fit), fit.intervals(level), fit.dG.size
    figure = new_figure(aspect=_ASPECT * count + 0.06)
    for i, row in enumerate(figure.subplots(count, 3, squeeze=False, sharey="row")):
        for ax, (name, unit, scale) in zip(row, quantities(units)):
            _draw_profile(ax, getattr(fit, name)[i] / scale, fit.se[name][i] / scale, lines[name][i], scale)
            for end, place, side in zip(getattr(spans, name)[i] / scale, (0.03, 0.97), ("left", "right")):
                if np.isfinite(end):
                    ax.axvline(end, color=palette().reading, lw=0.9, ls=":")
                else:
                    ax.text(place, 0.97, "open", transform=ax.transAxes, ha=side, va="top", fontsize="small")
            ax.set_xlabel(f"{name if count == 1 else f'{name} {i + 1}'} ({unit})")
            dress(ax)
        row[0].set_ylim(bottom=0.0)
        row[0].set_ylabel("Rise of the sum\nof squares / s²")
    figure.suptitle(shortened(fit.name if title is None else title), x=0.01, ha="left",
                    fontsize="medium", fontweight="bold")  # fmt: skip
    return figure


def _draw_profile(ax, estimate, error, rows, scale):
    """Both branches of a profile; `rows` are lower end, upper end and rise."""
    colours = palette()
    lower, upper, rise = rows.T / np.array([[scale], [scale], [1.0]])
    below, above = np.isfinite(lower), np.isfinite(upper)
    values = [*lower[below][::-1], estimate, *upper[above]]
    ax.plot(values, [*rise[below][::-1], 0.0, *rise[above]], color=colours.fit)
    steps = np.sqrt(rise)
    steps = error * np.array([*-steps[::-1], 0.0, *steps])
    ax.plot(estimate + steps, (steps / error) ** 2, color=BASELINE, lw=1.0, ls=(0, (5, 3)))
    ax.axvline(estimate, color=colours.reading, lw=0.9)
    if len(values) > 1:  # a parabola much wider than the profile would hide it
        reach = max(np.ptp(values), min(error, 2.0 * np.ptp(values)))
        ends = np.clip(estimate + steps, min(values) - 0.5 * reach, max(values) + 0.5 * reach)
        ax.set_xlim(*limits([*values, *ends]))
