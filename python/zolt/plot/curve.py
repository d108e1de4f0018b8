"""The picture of a fit: readings, curve, baselines, midpoints, residuals."""

from pathlib import Path

import numpy as np
from matplotlib.ticker import MaxNLocator

from .. import model
from ..writing import replacing
from .look import (
    BASELINE, GRID, denaturant_label, dress, is_narrow, limits, new_figure, palette, shortened, styled,
)  # fmt: skip

_NARROW_ASPECT = 1.2  # the legend stands below
_DOTS_PER_INCH = 150
_JOURNAL_DOTS_PER_INCH = 300  # what journals ask of a picture that is drawn to their width


@styled
def plot_fit(fit, ax=None, *, units="kcal", signal="Signal", denaturant=None, title=None):
    """Draw readings, fit, baselines, midpoints and, on a figure of its own, the residuals.

    Hollow points are spikes, outliers and readings left out of the fit; readings at the same
    concentration are drawn pale, with their mean and SD. With three or four states the share of
    each transition is drawn from the native baseline upwards. Given `ax`, only the upper panel is
    drawn, into it. The axis names `denaturant`, by default the one that the source stated. Takes
    the keywords of `zolt.plot.look`. Returns the figure.
    """
    below, alone = None, ax is None
    if alone:
        figure = new_figure(aspect=_NARROW_ASPECT if is_narrow() else None)
        if fit.ok:
            ax, below = figure.subplots(2, 1, sharex=True, height_ratios=(4, 1.15))
        else:
            ax = figure.subplots()
    figure = ax.figure
    _draw_points(fit, ax, fit.y)
    if fit.ok:
        _draw_model(fit, ax, units)
    if fit.y.size:
        fitted = fit.curve(GRID)[1] if fit.ok else fit.y
        ax.set_ylim(*limits(np.concatenate([fit.y, fitted])))
    ax.set_ylabel(signal)
    ax.set_title(shortened(fit.name if title is None else title), loc="left")
    dress(ax)
    lowest = ax
    if below is not None:
        lowest = below
        _draw_residuals(fit, below)
    lowest.set_xlabel(denaturant_label([fit], denaturant))
    _draw_legend(fit, ax, lowest, alone)
    return figure


def _draw_legend(fit, ax, lowest, alone):
    handles = ax.get_legend_handles_labels()
    options = dict(title=None if fit.ok else fit.status, alignment="left", loc="upper left")
    if not alone:
        options |= dict(loc="best", frameon=True, framealpha=0.8, edgecolor="none", fontsize="x-small")
    elif is_narrow():  # a column of a journal has no room beside the panel
        below = -0.9 if lowest is not ax else -0.2
        options |= dict(
            bbox_to_anchor=(0.0, below),
            borderaxespad=0.0,
            ncol=2,
            columnspacing=0.8,
            handlelength=1.4,
            handletextpad=0.5,
        )
        ax = lowest
    else:  # beside the panel, where it covers no reading
        options |= dict(bbox_to_anchor=(1.01, 1.0))
    legend = ax.legend(*handles, **options)
    legend.get_title().set_color(palette().fit)


def _said_of(fit, hollow):
    """What the hollow marks stand for."""
    kinds = ("left out", ~fit.kept), ("spike or outlier", hollow & fit.kept)
    return ", ".join(word for word, marks in kinds if marks.any())


def _draw_points(fit, ax, values, size=24):
    """Readings, or their residuals; replicates pale, with mean and SD over them."""
    size = size / 2 if is_narrow() else size
    colours, hollow = palette(), fit.marked
    at, mean, spread, count = fit.means()
    several = count > 1
    replicates = bool(several.any()) and 2 * np.count_nonzero(several) >= at.size
    style = dict(s=size, linewidths=1.0, zorder=4)
    ax.scatter(fit.x[~hollow], values[~hollow], c=colours.reading, edgecolors=colours.reading,
               label="readings", alpha=0.35 if replicates else None, **style)  # fmt: skip
    if hollow.any():
        ax.scatter(fit.x[hollow], values[hollow], facecolors=colours.paper, edgecolors=colours.mark,
                   label=_said_of(fit, hollow), **style)  # fmt: skip
    bars = dict(color=colours.reading, elinewidth=0.9, capsize=2, zorder=3)
    if replicates:
        mean = mean - np.interp(at, fit.x, fit.y - values)  # no shift for readings, the fit for residuals
        ax.errorbar(
            at[several],
            mean[several],
            spread[several],
            fmt="_",
            ms=7,
            label="mean and SD of replicates",
            **bars,
        )
    elif fit.sd is not None:
        ax.errorbar(fit.x, values, fit.sd, fmt="none", label="SD as given", **bars)


def _draw_model(fit, ax, units):
    colours = palette()
    x, y = fit.curve(GRID)
    native, denatured = model.lines(x, fit.result)
    at, middle, half = fit.band(GRID)
    if np.isfinite(half).all():
        ax.fill_between(at, middle - half, middle + half, color=colours.fit, alpha=0.15, lw=0, zorder=2,
                        label="95 % band of the curve")  # fmt: skip
    dashed = dict(color=BASELINE, lw=1.0, ls=(0, (5, 3)), zorder=1)
    ax.plot(x, native, label="baselines", **dashed)
    ax.plot(x, denatured, **dashed)
    if fit.states > 2:
        _draw_shares(fit, ax, x, native, denatured)
    label = f"{fit.states} states, R² = {fit.r_squared:.4f}"
    ax.plot(x, y, color=colours.fit, zorder=3, label=label)
    at = np.interp(fit.Cm, x, y)
    for i, (Cm, height) in enumerate(zip(fit.Cm, at)):
        color = colours.shares[i] if fit.states > 2 else colours.fit
        name = f"Cm{'' if fit.states == 2 else ' ' + str(i + 1)} = {Cm:.2f} M"
        energy = f"dG = {fit.dG_in(units)[i]:.2f} {units}/mol\nm = {fit.m_in(units)[i]:.2f} {units}/mol/M"
        ax.axvline(Cm, color=color, lw=0.9, ls=":", zorder=1)
        ax.plot([Cm], [height], marker="D", ms=6, mfc=colours.paper, mec=color, mew=1.4, ls="",
                zorder=5, label=f"{name}\n{energy}")  # fmt: skip


def _draw_shares(fit, ax, x, native, denatured):
    """Each transition's part of the way between the baselines, stacked from the native one."""
    steps = model.fractions(x, fit.dG, fit.Cm, fit.result[12]) * fit.weights[:, None]
    lower, colours = native, palette()
    for i, top in enumerate(np.cumsum(steps, axis=0)):
        upper = native + (denatured - native) * top
        ax.fill_between(x, lower, upper, color=colours.shares[i], alpha=0.18, lw=0, zorder=0,
                        label=f"transition {i + 1}: {100 * fit.weights[i]:.0f} %")  # fmt: skip
        lower = upper


def _draw_residuals(fit, ax):
    ax.axhline(0.0, color=BASELINE, lw=0.9)
    _draw_points(fit, ax, fit.residuals, size=14)
    reach = max(np.abs(limits([*fit.residuals, 0.0], 0.075)))
    ax.set_ylim(-reach, reach)
    ax.yaxis.set_major_locator(MaxNLocator(3))
    ax.set_ylabel("Residual")
    dress(ax)


def save_fit(fit, path, draw=plot_fit, *, width=None, **options):
    """Draw a fit into a file by `draw`; the suffix of the path tells the format."""
    save_figure(draw(fit, width=width, **options), path, width)
    return Path(path)


def save_figure(figure, path, width=None):
    with replacing(path) as part:  # two runs may draw into one folder
        figure.savefig(part, dpi=_DOTS_PER_INCH if width is None else _JOURNAL_DOTS_PER_INCH)
