#!/usr/bin/env python3
"""Draw the pictures of the documents from the simulated examples.

Usage: python3 docs/make_pictures.py
"""

from pathlib import Path

import numpy as np
from matplotlib.backends.backend_agg import FigureCanvasAgg
from matplotlib.figure import Figure

import zolt

HERE = Path(__file__).resolve().parent
EXAMPLES = HERE.parent / "examples"
IMAGES = HERE / "images"


def first_fit(file, **options):
    curve = zolt.read_curves(EXAMPLES / file)[0]
    return zolt.fit(curve.x, curve.y, name=curve.name, **options)


def save(figure, name):
    figure.savefig(IMAGES / f"{name}.png", dpi=100, metadata={"Software": None})


def paper_figure(fit):
    """Readings and fit beside the fraction denatured with the interval of the midpoint."""
    figure = Figure(figsize=(6.6, 2.9), layout="constrained")
    FigureCanvasAgg(figure)
    left, right = figure.subplots(1, 2)
    fit.plot(left, signal="Signal, normalised", denaturant="Urea", title="A")
    left.get_legend().remove()
    low, high = fit.intervals().Cm[0]
    right.plot(*fit.fraction_denatured(200), color="#c23b22")
    right.axvspan(low, high, color="#c23b22", alpha=0.15, lw=0)
    right.set_title("B", loc="left", fontsize=11, fontweight="bold")
    right.set_xlabel("Urea (M)")
    right.set_ylabel("Fraction denatured")
    right.spines[["top", "right"]].set_visible(False)
    right.text(0.04, 0.92, f"Cm = {fit.Cm[0]:.2f} M\n({low:.2f} to {high:.2f} M)", va="top", transform=right.transAxes)
    return figure


def spoiled_fits():
    """A curve with one bad reading, fitted as it is and without it."""
    curve = zolt.read_curves(EXAMPLES / "ci2_gdmcl.csv")[0]
    y = np.array(curve.y)
    y[6] += 0.9
    figure = Figure(figsize=(8.0, 3.0), layout="constrained")
    FigureCanvasAgg(figure)
    for ax, drop in zip(figure.subplots(1, 2), (False, True)):
        fit = zolt.fit(curve.x, y, drop_outliers=drop)
        title = "with --drop-outliers" if drop else "as measured"
        fit.plot(ax, denaturant="GdmCl", title=title)
    return figure


def main():
    IMAGES.mkdir(exist_ok=True)
    fkbp12 = first_fit("fkbp12_urea.csv")
    save(fkbp12.plot(signal="Signal, normalised", denaturant="Urea", title="FKBP12 (simulated)"), "example")
    save(paper_figure(fkbp12), "paper")
    save(first_fit("three_state.csv").plot(title="Three states"), "three_state")
    save(spoiled_fits(), "outlier")
    series = zolt.fit_series(zolt.read_curves(EXAMPLES / "series.csv"))
    save(series.plot(label="Ligand (mM)"), "series")


if __name__ == "__main__":
    main()
