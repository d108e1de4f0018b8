"""The picture of a series: curves by label, dG against label, fractions."""

import numpy as np
from matplotlib import colormaps
from matplotlib.colors import LinearSegmentedColormap, LogNorm, Normalize
from matplotlib.ticker import NullLocator

from .. import model
from ..model import CAL_PER_UNIT
from .look import BASELINE, GRID, denaturant_label, dress, new_figure, palette, styled


@styled
def plot_series(series, *, units="kcal", label=None, signal="Fraction denatured"):
    """Three panels: the curves coloured by label, dG against label with the line, the fractions.

    The fractions follow from the trend form only. A label of 0 has a place of its own at the left end
    of a logarithmic axis. `label` is the name of that axis, that of the source unless told. Takes
    the keywords of `zolt.plot.look`. Returns the figure.
    """
    label = label or series.label_name or "Label"
    panels = 3 if series.form == "trend" and series.has_line else 2
    figure = new_figure(4.3 / 8.2 * panels, 3.9 / (4.3 * panels))
    axes = figure.subplots(1, panels)
    _draw_series_curves(series, axes[0], figure, label, signal)
    _draw_series_energies(series, axes[1], units, label)
    if panels == 3:
        _draw_series_fractions(series, axes[2], label)
    for ax in axes:
        dress(ax)
    return figure


def _draw_series_curves(series, ax, figure, label, signal):
    """Readings and fits between their own baselines, so that curves of any scale compare."""
    labels = series.labels
    logarithmic = _is_logarithmic(series)
    places = _places(labels, labels, logarithmic)
    norm = (LogNorm if logarithmic else Normalize)(places.min(), places.max())
    colors = LinearSegmentedColormap.from_list("labels", colormaps["viridis"](np.linspace(0, 0.9, 64)))
    for fit, value in zip(series.fits, places):
        if not fit.ok:
            continue
        color = colors(norm(value)) if labels.max() > labels.min() else palette().reading
        ax.scatter(fit.x, model.fraction_of(fit.x, fit.y, fit.result), s=9, color=color, alpha=0.75,
                   linewidths=0)  # fmt: skip
        ax.plot(*fit.fraction_denatured(GRID), color=color, lw=1.2)
    ax.set_ylim(-0.15, 1.15)
    ax.set_xlabel(denaturant_label(series.fits, series.denaturant))
    ax.set_ylabel(signal)
    if labels.max() > labels.min():
        from matplotlib.cm import ScalarMappable

        bar = figure.colorbar(ScalarMappable(norm, colors), ax=ax, pad=0.02)
        bar.set_label(label)
        bar.ax.yaxis.set_minor_locator(NullLocator())
        ticks = np.unique(labels)[:12]
        bar.set_ticks(_places(ticks, labels, logarithmic), labels=[f"{tick:g}" for tick in ticks])


def _draw_series_energies(series, ax, units, label):
    scale = CAL_PER_UNIT[units]
    logarithmic = _is_logarithmic(series)
    for fit, value in zip(series.fits, _places(series.labels, series.labels, logarithmic)):
        if fit.ok and fit.dG.size >= series.transition:
            ax.plot(value, fit.dG[series.transition - 1] / scale, ".", color=BASELINE, alpha=0.6)
    table = series.per_label
    for used, face in ((True, palette().reading), (False, palette().paper)):
        part = table[(table["in_trend"] == used) & table["dG"].notna()]
        if len(part):
            at = _places(part["label"].to_numpy(), series.labels, logarithmic)
            ax.errorbar(at, part["dG"] / scale, np.nan_to_num(part["error"]) / scale, fmt="o", ms=6, mfc=face,
                        mec=palette().reading, ecolor=palette().reading, capsize=3, lw=1.1,
                        label="mean per label" if used else "not in the trend")  # fmt: skip
    if series.has_line:
        grid, line = series.curve("dG", GRID)
        words = "trend" if series.significant else "no significant trend"
        ax.plot(
            grid,
            line / scale,
            color=palette().fit,
            lw=1.5,
            ls="-" if series.significant else "--",
            label=words,
        )
    if logarithmic:
        _logarithmic(ax, series.labels)
    ax.set_xlabel(label)
    ax.set_ylabel(f"dG ({units}/mol)")
    ax.legend(frameon=False, fontsize=8)


def _logarithmic(ax, labels):
    """A logarithmic axis that is marked at the labels themselves."""
    ax.set_xscale("log")
    ax.xaxis.set_minor_locator(NullLocator())
    ticks = np.unique(labels)[:12]
    ax.set_xticks(_places(ticks, labels), [f"{tick:g}" for tick in ticks])


def _is_logarithmic(series):
    return series.form == "trend" and series.labels.min() >= 0 and series.has_line


def _places(labels, among, logarithmic=True):
    """Where labels stand: on a logarithmic axis 0 lies a usual step left of the least other `among` all."""
    positive = np.unique(among[among > 0])
    if not logarithmic or not positive.size:
        return labels
    step = (positive[-1] / positive[0]) ** (1.0 / max(positive.size - 1, 1))
    return np.where(labels > 0, labels, positive[0] / max(step, 2.0))


def _draw_series_fractions(series, ax, label):
    kinds = [("denatured", "denatured", palette().shares[0])]
    if series.significant:
        kinds.append(("third", "third population", palette().shares[1]))
    if series.slope < 0:  # a rising trend has no such fraction
        kinds.append(("third_of_denatured", "third, of the denatured", palette().shares[2]))
    for kind, words, color in kinds:
        ax.plot(*series.curve(kind, GRID), color=color, lw=1.5, label=words)
    _logarithmic(ax, series.used_labels)
    ax.set_ylim(-0.03, 1.03)
    ax.set_xlabel(label)
    ax.set_ylabel("Fraction without denaturant")
    ax.legend(frameon=False, fontsize=8)
