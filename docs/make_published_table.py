#!/usr/bin/env python3
"""Fit measured curves and put the values beside published ones.

Usage: python3 docs/make_published_table.py DATA_FOLDER > docs/published.md

The folder holds the measured curves as wide CSV files; they do not belong to this repository. The
published values stand in the tables below, with their sources.
"""

import sys
from pathlib import Path

import numpy as np

import zolt

# file, column, temperature (°C), states, {quantity: value} per transition, source. Energies in kcal.
PUBLISHED = [
    ("FKBP12_urea", "fraction_unfolded", 25, 2, [dict(Cm=3.867, m=1.434)], "A"),
    ("CI2-WT_GdmCl", "fraction_unfolded", 25, 2, [dict(Cm=3.987, m=1.866, dG=7.44)], "B"),
    ("CI2-VA38_GdmCl", "fraction_unfolded", 25, 2, [dict(Cm=3.748, m=2.002, dG=7.50)], "C"),
    ("gankyrin_urea", "CD222", 25, 2, [dict(Cm=4.124, m=2.909)], "D"),
    ("R2ab-Y722A_GdmCl", "norm_fluorescence", 22, 2, [dict(Cm=0.696, m=5.094, dG=3.544)], "E"),
    ("ACBP_GuHCl", "F350_15C", 15, 2, [dict(Cm=2.000, dG=7.381)], "F"),
    ("ACBP_GuHCl", "F350_25C", 25, 2, [dict(Cm=1.646, dG=6.076)], "F"),
    ("ACBP_GuHCl", "F350_35C", 35, 2, [dict(Cm=1.170, dG=4.320)], "F"),
    ("ACBP_GuHCl", "F350_45C", 45, 2, [dict(Cm=0.576, dG=2.126)], "F"),
]

# The same without published two-state values: midpoints (and m) of plain least squares fits.
PLAIN = [
    ("LcrH-50uM_urea", 25, 3, {"CD_50uM_1": [(1.29, None), (4.71, None)],
                               "CD_50uM_2": [(1.36, None), (4.65, None)]}),
    ("CTPRa-series_GuHCl", 25, 2, {"CTPRa2": [(1.560, 1.86)], "CTPRa3": [(2.290, 2.23)],
                                   "CTPRa4": [(2.758, 2.72)], "CTPRa5": [(2.918, 2.53)],
                                   "CTPRa6": [(3.127, 3.48)], "CTPRa8": [(3.307, 4.13)],
                                   "CTPRa10": [(3.415, 4.60)]}),
    ("CTPR3-10C_GuHCl", 10, 2, {"CTPR3_1": [(3.357, 2.89)], "CTPR3_2": [(3.290, 3.61)],
                                "CTPR3dA_1": [(2.971, 2.82)], "CTPR3dA_2": [(2.984, 2.53)]}),
    ("cANK-NRC_GdnHCl", 20, 2, {"CD222_NRC_1": [(2.523, 2.37)], "CD222_NRC_2": [(2.540, 2.42)],
                                "CD222_NRR_1": [(3.738, 2.50)], "CD222_NRR_2": [(3.704, 2.51)],
                                "CD222_RRC_1": [(2.998, 2.33)], "CD222_RRC_2": [(2.994, 2.27)],
                                "CD222_NRRC_1": [(4.368, 3.00)], "CD222_NRRC_2": [(4.305, 2.95)],
                                "CD222_NRRR_1": [(5.097, 3.29)], "CD222_NRRR_2": [(5.056, 3.19)]}),
]  # fmt: skip

# Published values at 0, 0.5 and 5 mM calcium: dG with m floating, dG with one m of 0.95 for all, and Cm
# with m floating.
CALCIUM = {
    "hS100A9-WT": ((2.890, 2.357, 5.241), (2.601, 3.457, 4.286), (2.816, 3.397, 4.522)),
    "hS100A9-F37L": ((2.713, 1.905, 2.115), (2.930, 3.089, 3.364), (3.024, 2.860, 3.233)),
    "hS100A9-F37L-M63F": ((3.634, 1.641, 2.522), (2.919, 4.007, 4.195), (3.199, 3.595, 4.415)),
}

HEAD = """# Measured curves beside published values

Made by `docs/make_published_table.py` from measured curves that are not part of this repository.
dG in kcal/mol, Cm in M, m in kcal/mol/M; brackets hold 95 % intervals by profile,
with ∞ where the readings set no upper bound. The number of states is that of the
published model; readings without denaturant are left out for ACBP and S100A9, as their authors do.
"""

SOURCES = """
A: Main, Fulton, Jackson, J Mol Biol 291 (1999) 429, refitted with flat baselines of 0 and 1. B: Jackson,
Fersht, Biochemistry 30 (1991) 10428, digitised and refitted. C: Jackson, elMasry, Fersht, Biochemistry
32 (1993) 11270, likewise. D: Hutton et al., JACS 137 (2015) 14610. E: one global fit with sloped
baselines, fluorescence of R2ab Y722A. F: Hamborg et al., Anal Biochem 605 (2020) 113863, one fit over
all temperatures and concentrations, here carried to each temperature by the Gibbs-Helmholtz equation.

What differs, and why:

- Midpoints agree within 0.04 M, except for ACBP at 45 °C, which unfolds from 0 M on and whose
  published value is carried there from lower temperatures.
- m, and with it dG = m Cm, differs more than Cm does. The published fits of FKBP12 and CI2 hold the
  baselines at 0 and 1; here both baselines are found from the curve, so their uncertainty is part of
  the interval.
- R2ab unfolds from 0 M on. No reading shows its native baseline, and m hangs on the one assumed.
- ACBP's published dG comes from all temperatures at once. One slice of 15 readings holds less, and
  leaves m lower at 15 and 25 °C; a least squares fit of the same slice by another program gives the
  same Cm of 1.670 and m of 2.73 at 25 °C.
"""

CALCIUM_TEXT = """
## S100A9 with calcium

dG and Cm by label (mM calcium), the mean of its runs, each fitted by itself with m floating and with
the published m of 0.95, beside the published fits; ± is the standard deviation between runs. Runs
whose dG has a standard error above half of its value, and runs without a transition, are left out of
the column with floating m; "runs" counts those that stay of all. The last columns are the engine's
series: the aggregation form, and the trend form, in which a label of 0 has no place.

| protein | label | dG, m floating | zolt | runs | dG, m = 0.95 | zolt | Cm, m floating | zolt | aggregation dG | trend dG |
|---|---|---|---|---|---|---|---|---|---|---|
"""

CALCIUM_NOTES = """
Runs of 10 to 16 readings with few of them on the plateaus do not fix m: the two published columns of
dG differ among themselves as much as ours do from them. The series holds the baseline slopes of one
reference fit, so its dG carries the slopes of the curve that was the reference. Midpoints are what
these curves tell: with calcium they move in the same order and by about the same amount.
"""

PLAIN_TEXT = """
## Curves without published two-state values

Repeat arrays and a dimer, for which global models were published. The values beside ours are those
of a plain least squares fit of the same apparent model by another program, with two sloped baselines.
For LcrH, whose native plateau is missing, both fits have flat baselines; with sloped ones nothing fixes
the first midpoint. Of the CTPRa arrays outliers are left out: CTPRa5 has one gross one, with which its
plain fit is off.

| curve | transition | plain Cm | Cm | plain m | m | R² |
|---|---|---|---|---|---|---|
"""


def curves_of(folder, file):
    return {curve.name: curve for curve in zolt.read_curves(folder / f"{file}.csv")}


def without_zero(curve):
    """A curve less its readings without denaturant."""
    x, y = np.asarray(curve.x), np.asarray(curve.y)
    return zolt.Curve(curve.name, x[x > 0], y[x > 0], label=curve.label)


def with_interval(value, bounds, digits):
    if np.isnan(bounds[0]):
        return f"{value:.{digits}f}"
    lower = f"[{bounds[0]:.{digits}f}" if np.isfinite(bounds[0]) else "(−∞"
    upper = f"{bounds[1]:.{digits}f}]" if np.isfinite(bounds[1]) else "∞)"
    return f"{value:.{digits}f} {lower}, {upper}"


def published_rows(folder):
    yield "| file, curve | states | quantity | published | zolt | inside | source |\n|---|---|---|---|---|---|---|"
    for file, column, temperature, states, transitions, source in PUBLISHED:
        curve = curves_of(folder, file)[column]
        if file.startswith("ACBP"):
            curve = without_zero(curve)
        fit = zolt.fit(curve.x, curve.y, temperature, states=states)
        if not fit.ok:
            yield f"| {file}, {column} | {states} | | | {fit.status} | | {source} |"
            continue
        spans = fit.intervals()
        for i, values in enumerate(transitions):
            for name, published in values.items():
                scale, digits = (1.0, 3) if name == "Cm" else (1000.0, 2)
                bounds = getattr(spans, name)[i] / scale
                ours = with_interval(getattr(fit, name)[i] / scale, bounds, digits)
                inside = "yes" if bounds[0] <= published <= bounds[1] else "no"
                yield (f"| {file}, {column} | {states} | {name} | {published} | {ours} | {inside} | {source} |")


def plain_rows(folder):
    for file, temperature, states, expected in PLAIN:
        curves = curves_of(folder, file)
        for name, transitions in expected.items():
            flat = {"native": "flat", "denatured": "flat"} if file.startswith("LcrH") else None
            fit = zolt.fit(*curves[name], temperature, states=states, baselines=flat,
                           drop_outliers=file.startswith("CTPRa"))  # fmt: skip
            if not fit.ok:
                yield f"| {name} | | {transitions[0][0]} | {fit.status} | | | |"
                continue
            spans = fit.intervals()
            for i, (Cm, m) in enumerate(transitions):
                ours = with_interval(fit.Cm[i], spans.Cm[i], 3)
                slope = with_interval(fit.m[i] / 1000, spans.m[i] / 1000, 2)
                yield f"| {name} | {i + 1} | {Cm} | {ours} | {m or ''} | {slope} | {fit.r_squared:.4f} |"


def runs_of(curves, labels, label, **options):
    fits = [zolt.fit(c.x, c.y, 25.0, states=2, **options) for c, own in zip(curves, labels) if own == label]
    return [fit for fit in fits if fit.ok and fit.se["dG"][0] < 0.5 * fit.dG[0]], len(fits)


def mean_and_sd(values, digits):
    spread = f" ± {np.std(values, ddof=1):.{digits}f}" if len(values) > 1 else ""
    return f"{np.mean(values):.{digits}f}{spread}" if len(values) else ""


def calcium_rows(folder):
    for protein, published in CALCIUM.items():
        curves = [without_zero(c) for c in curves_of(folder, f"{protein}-calcium_urea").values()]
        labels = [float(curve.name.split("mM")[0].removeprefix("Ca")) for curve in curves]
        tables = [
            zolt.fit_series(curves, labels, form=form).label_table().set_index("label")
            for form in ("aggregation", "trend")
        ]
        for k, label in enumerate((0.0, 0.5, 5.0)):
            free, runs = runs_of(curves, labels, label)
            held, _ = runs_of(curves, labels, label, m=950.0)
            given = [f"{values[k]:.2f}" for values in published]
            series = [f"{t.loc[label, 'dG_kcal_per_mol']:.2f}" for t in tables]
            cells = [
                protein, f"{label:g}", given[0], mean_and_sd([f.dG_in()[0] for f in free], 2),
                f"{len(free)} of {runs}", given[1], mean_and_sd([f.dG_in()[0] for f in held], 2),
                given[2], mean_and_sd([f.Cm[0] for f in free], 2), *series,
            ]  # fmt: skip
            yield f"| {' | '.join(cells)} |"


def main(folder):
    print(HEAD)
    print("\n".join(published_rows(folder)))
    print(SOURCES.rstrip("\n"))
    print(PLAIN_TEXT + "\n".join(plain_rows(folder)))
    print(CALCIUM_TEXT + "\n".join(calcium_rows(folder)))
    print(CALCIUM_NOTES.rstrip("\n"))


if __name__ == "__main__":
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    main(Path(sys.argv[1]))
