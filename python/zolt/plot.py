"""Pictures of fits and series. Figures are made without pyplot, so threads may draw at once."""

from pathlib import Path

import numpy as np
from matplotlib import colormaps
from matplotlib.backends.backend_agg import FigureCanvasAgg
from matplotlib.colors import LinearSegmentedColormap, LogNorm, Normalize
from matplotlib.figure import Figure
from matplotlib.ticker import MaxNLocator, NullLocator, ScalarFormatter

from . import model
from .model import CAL_PER_UNIT

POINT, FIT, BASELINE, MARK = "#1b3a5c", "#c23b22", "#6b6b6b", "#b8860b"
SHARES = ("#3a7d44", "#6a4c93", "#1f77b4")
_GRID = 400


def _figure(*size):
    figure = Figure(figsize=size, layout="constrained")
    FigureCanvasAgg(figure)  # gives the figure its renderer
    return figure


def _dress(ax):
    ax.spines[["top", "right"]].set_visible(False)
    ax.tick_params(direction="out", length=3.5)
    if isinstance(ax.yaxis.get_major_formatter(), ScalarFormatter):
        ax.ticklabel_format(axis="y", scilimits=(-3, 5))


def _limits(values, margin=0.08):
    low, high = np.min(values), np.max(values)
    room = margin * ((high - low) or abs(high) or 1.0)
    return low - room, high + room


def plot_fit(fit, ax=None, *, units="kcal", signal="Signal", denaturant="Denaturant", title=None):
    """Draw readings, fit, baselines, midpoints and, on a figure of its own, the residuals.

    Hollow points are spikes, outliers and readings left out of the fit. With three or four states
    the share of each transition is drawn from the native baseline upwards. Given `ax`, only the
    upper panel is drawn, into it. Returns the figure.
    """
    below, alone = None, ax is None
    if alone:
        figure = _figure(8.2, 4.8)
        if fit.ok:
            ax, below = figure.subplots(2, 1, sharex=True, height_ratios=(4, 1.15))
        else:
            ax = figure.subplots()
    figure = ax.figure
    _draw_points(fit, ax, fit.y)
    if fit.ok:
        _draw_model(fit, ax, units)
    if fit.y.size:
        fitted = fit.curve(_GRID)[1] if fit.ok else fit.y
        ax.set_ylim(*_limits(np.concatenate([fit.y, fitted])))
    ax.set_ylabel(signal)
    title = fit.name if title is None else title
    ax.set_title(title, loc="left", fontsize=11, fontweight="bold")
    heading = dict(title=None if fit.ok else fit.status, alignment="left")
    if alone:  # beside the panel, where it covers no reading
        legend = ax.legend(loc="upper left", bbox_to_anchor=(1.01, 1.0), frameon=False, fontsize=9, **heading)
    else:
        legend = ax.legend(loc="best", framealpha=0.8, edgecolor="none", fontsize=7, **heading)
    legend.get_title().set_color(FIT)
    _dress(ax)
    lowest = ax
    if below is not None:
        lowest = below
        _draw_residuals(fit, below)
    lowest.set_xlabel(f"{denaturant} (M)")
    return figure


def _draw_points(fit, ax, values, size=24):
    hollow = fit.marked
    style = dict(s=size, linewidths=1.0, zorder=4)
    ax.scatter(fit.x[~hollow], values[~hollow], c=POINT, edgecolors=POINT, label="readings", **style)
    if hollow.any():
        ax.scatter(
            fit.x[hollow], values[hollow], facecolors="white", edgecolors=MARK,
            label="spike or outlier", **style,
        )  # fmt: skip


def _draw_model(fit, ax, units):
    x, y = fit.curve(_GRID)
    native, denatured = model.lines(x, fit.result)
    at, middle, half = fit.band(_GRID)
    if np.isfinite(half).all():
        ax.fill_between(at, middle - half, middle + half, color=FIT, alpha=0.15, lw=0, zorder=2,
                        label="95 % band of the curve")  # fmt: skip
    dashed = dict(color=BASELINE, lw=1.0, ls=(0, (5, 3)), zorder=1)
    ax.plot(x, native, label="baselines", **dashed)
    ax.plot(x, denatured, **dashed)
    if fit.states > 2:
        _draw_shares(fit, ax, x, native, denatured)
    label = f"{fit.states}-state fit, R² = {fit.r_squared:.4f}"
    ax.plot(x, y, color=FIT, lw=1.8, zorder=3, label=label)
    at = np.interp(fit.Cm, x, y)
    for i, (Cm, height) in enumerate(zip(fit.Cm, at)):
        color = SHARES[i] if fit.states > 2 else FIT
        name = f"Cm{'' if fit.states == 2 else ' ' + str(i + 1)} = {Cm:.2f} M"
        energy = f"dG = {fit.dG_in(units)[i]:.2f} {units}/mol\nm = {fit.m_in(units)[i]:.2f} {units}/mol/M"
        ax.axvline(Cm, color=color, lw=0.9, ls=":", zorder=1)
        ax.plot([Cm], [height], marker="D", ms=6, mfc="white", mec=color, mew=1.4, ls="",
                zorder=5, label=f"{name}\n{energy}")  # fmt: skip


def _draw_shares(fit, ax, x, native, denatured):
    """Each transition's part of the way between the baselines, stacked from the native one."""
    steps = model.fractions(x, fit.dG, fit.Cm, fit.result[12]) * fit.weights[:, None]
    lower = native
    for i, top in enumerate(np.cumsum(steps, axis=0)):
        upper = native + (denatured - native) * top
        ax.fill_between(x, lower, upper, color=SHARES[i], alpha=0.18, lw=0, zorder=0,
                        label=f"transition {i + 1}: {100 * fit.weights[i]:.0f} %")  # fmt: skip
        lower = upper


def _draw_residuals(fit, ax):
    ax.axhline(0.0, color=BASELINE, lw=0.9)
    _draw_points(fit, ax, fit.residuals, size=14)
    reach = 1.15 * np.abs(fit.residuals).max() or 1.0
    ax.set_ylim(-reach, reach)
    ax.yaxis.set_major_locator(MaxNLocator(3))
    ax.set_ylabel("Residual")
    _dress(ax)


def save_fit(fit, path, **options):
    """Draw a fit into a file; the suffix of the path tells the format."""
    plot_fit(fit, **options).savefig(path, dpi=150)
    return Path(path)


def plot_series(series, *, units="kcal", label=None, signal="Fraction denatured"):
    """Three panels: the curves coloured by label, dG against label with the line, the fractions.

    The fractions follow from the trend form only. A label of 0 has a place of its own at the left end
    of a logarithmic axis. `label` is the name of that axis, that of the source unless told. Returns
    the figure.
    """
    label = label or series.label_name or "Label"
    panels = 3 if series.form == "trend" and series.has_line else 2
    figure = _figure(4.3 * panels, 3.9)
    axes = figure.subplots(1, panels)
    _draw_series_curves(series, axes[0], figure, label, signal)
    _draw_series_energies(series, axes[1], units, label)
    if panels == 3:
        _draw_series_fractions(series, axes[2], label)
    for ax in axes:
        _dress(ax)
    return figure


def _draw_series_curves(series, ax, figure, label, signal):
    """Readings and fits between their own baselines, so that curves of any scale compare."""
    labels = series.labels
    logarithmic = _is_logarithmic(series) and labels.max() > labels.min()
    places = _places(labels, logarithmic)
    norm = (LogNorm if logarithmic else Normalize)(places.min(), places.max())
    colors = LinearSegmentedColormap.from_list("labels", colormaps["viridis"](np.linspace(0, 0.9, 64)))
    for fit, value in zip(series.fits, places):
        if not fit.ok:
            continue
        color = colors(norm(value)) if labels.max() > labels.min() else POINT
        native, denatured = model.lines(fit.x, fit.result)
        ax.scatter(fit.x, (fit.y - native) / (denatured - native), s=9, color=color, alpha=0.75,
                   linewidths=0)  # fmt: skip
        ax.plot(*fit.fraction_denatured(_GRID), color=color, lw=1.2)
    ax.set_ylim(-0.15, 1.15)
    ax.set_xlabel(f"{series.denaturant or 'Denaturant'} (M)")
    ax.set_ylabel(signal)
    if labels.max() > labels.min():
        from matplotlib.cm import ScalarMappable

        bar = figure.colorbar(ScalarMappable(norm, colors), ax=ax, pad=0.02)
        bar.set_label(label)
        bar.ax.yaxis.set_minor_locator(NullLocator())
        ticks = np.unique(labels)[:12]
        bar.set_ticks(_places(ticks, logarithmic), labels=[f"{tick:g}" for tick in ticks])


def _draw_series_energies(series, ax, units, label):
    scale = CAL_PER_UNIT[units]
    logarithmic = _is_logarithmic(series)
    for fit, value in zip(series.fits, _places(series.labels, logarithmic)):
        if fit.ok and fit.dG.size >= series.transition:
            ax.plot(value, fit.dG[series.transition - 1] / scale, ".", color=BASELINE, alpha=0.6)
    table = series.per_label
    for used, face in ((True, POINT), (False, "white")):
        part = table[(table["in_trend"] == used) & table["dG"].notna()]
        if len(part):
            ax.errorbar(_places(part["label"].to_numpy(), logarithmic), part["dG"] / scale, np.nan_to_num(part["error"]) / scale, fmt="o", ms=6,
                        mfc=face, mec=POINT, ecolor=POINT, capsize=3, lw=1.1,
                        label="mean per label" if used else "not in the trend")  # fmt: skip
    if series.has_line:
        grid, line = series.curve("dG", _GRID)
        words = "trend" if series.significant else "no significant trend"
        ax.plot(grid, line / scale, color=FIT, lw=1.5, ls="-" if series.significant else "--", label=words)
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
    ax.set_xticks(_places(ticks), [f"{tick:g}" for tick in ticks])


def _is_logarithmic(series):
    return series.form == "trend" and series.labels.min() >= 0 and series.has_line


def _places(labels, logarithmic=True):
    """Where labels stand: on a logarithmic axis 0 lies one usual step left of the smallest other label."""
    positive = np.unique(labels[labels > 0])
    if not logarithmic or positive.size == labels.size or not positive.size:
        return labels
    step = (positive[-1] / positive[0]) ** (1.0 / max(positive.size - 1, 1))
    return np.where(labels > 0, labels, positive[0] / max(step, 2.0))


def _draw_series_fractions(series, ax, label):
    kinds = [("denatured", "denatured", SHARES[0])]
    if series.significant:
        kinds.append(("third", "third population", SHARES[1]))
    if series.slope < 0:  # a rising trend has no such fraction
        kinds.append(("third_of_denatured", "third, of the denatured", SHARES[2]))
    for kind, words, color in kinds:
        ax.plot(*series.curve(kind, _GRID), color=color, lw=1.5, label=words)
    _logarithmic(ax, series.used_labels)
    ax.set_ylim(-0.03, 1.03)
    ax.set_xlabel(label)
    ax.set_ylabel("Fraction without denaturant")
    ax.legend(frameon=False, fontsize=8)


def plate_figure(cells):
    """Maps of the midpoint and of R-squared over a plate; `cells` are (row, column, fit)."""
    rows = 8 if max(row for row, _, _ in cells) < 8 else 16
    columns = 12 if max(column for _, column, _ in cells) < 12 else 24
    figure = _figure(12.0, 3.6 if rows == 8 else 4.6)
    for ax, title, value in zip(
        figure.subplots(1, 2),
        ("Cm of the first transition (M)", "R²"),
        (lambda fit: fit.Cm[0], lambda fit: fit.r_squared),
    ):
        map_of_values = np.full((rows, columns), np.nan)
        for row, column, fit in cells:
            map_of_values[row, column] = value(fit)
            if not fit.ok:
                ax.text(column, row, "×", ha="center", va="center", color=FIT)
        image = ax.imshow(map_of_values, cmap="viridis", aspect="auto")
        figure.colorbar(image, ax=ax, pad=0.02)
        ax.set_title(title, loc="left", fontsize=10)
        ax.set_xticks(range(columns), range(1, columns + 1), fontsize=7)
        ax.set_yticks(range(rows), "ABCDEFGHIJKLMNOP"[:rows], fontsize=7)
        ax.tick_params(length=0)
    return figure
