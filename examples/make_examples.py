#!/usr/bin/env python3
"""Simulate the example curves of this folder.

Parameters are published ones where a protein is named; the readings are simulated with normal
noise from fixed seeds, so that a run gives the same files again. Run it as
`python3 examples/make_examples.py`; it needs numpy only.
"""

from pathlib import Path

import numpy as np

HERE = Path(__file__).resolve().parent
GAS_CONSTANT = 1.9872e-3  # kcal/mol/K
RT = GAS_CONSTANT * 298.15


def signal(x, transitions, native=(0.0, 0.0), denatured=(1.0, 0.0)):
    """Signal at x of transitions (m in kcal/mol/M, midpoint in M, weight) between two lines."""
    fraction = sum(weight / (1.0 + np.exp(m * (midpoint - x) / RT)) for m, midpoint, weight in transitions)
    lower, upper = (intercept + slope * x for intercept, slope in (native, denatured))
    return lower + (upper - lower) * fraction


def write(name, title, x, columns, extra_rows=()):
    """A wide table: comments, header, rows for labels, readings."""
    lines = [f"# {line}" for line in title] + ["#Temperature: 25", ",".join(["denaturant_M", *columns])]
    lines += [",".join(map(str, row)) for row in extra_rows]
    lines += [
        ",".join([f"{value:.3f}", *(f"{column[i]:.5f}" for column in columns.values())])
        for i, value in enumerate(x)
    ]
    (HERE / name).write_text("\n".join(lines) + "\n", encoding="utf-8")


def two_state_examples():
    for seed, file, protein, denaturant, m, midpoint, reach, n, noise, lines, source in (
        (1, "fkbp12_urea.csv", "FKBP12", "urea", 1.434, 3.867, 7.5, 40, 0.010,
         dict(native=(0.02, 0.004), denatured=(1.00, -0.003)),
         "Main, Fulton, Jackson, J Mol Biol 291 (1999) 429"),
        (3987, "ci2_gdmcl.csv", "chymotrypsin inhibitor 2", "guanidinium chloride", 1.866, 3.987, 7.0, 36,
         0.008, dict(native=(0.05, 0.010), denatured=(0.95, 0.006)),
         "Jackson, Fersht, Biochemistry 30 (1991) 10428"),
        (4124, "gankyrin_urea.csv", "gankyrin", "urea", 2.909, 4.124, 8.0, 32, 0.25,
         dict(native=(-37.3, -0.50), denatured=(-10.9, 0.56)),
         "Hutton et al., J Am Chem Soc 137 (2015) 14610"),
    ):  # fmt: skip
        rng = np.random.default_rng(seed)
        x = np.linspace(0.0, reach, n)
        y = signal(x, [(m, midpoint, 1.0)], **lines) + rng.normal(0.0, noise, n)
        title = [
            f"SIMULATED two-state curve of {protein} in {denaturant}: no measured data.",
            f"m {m} kcal/mol/M and midpoint {midpoint} M as published in {source};",
            f"normal noise of standard deviation {noise} added by make_examples.py.",
        ]
        write(file, title, x, {file.split("_")[0]: y})


def three_state_example():
    rng = np.random.default_rng(3)
    x = np.linspace(0.0, 8.0, 48)
    y = signal(x, [(2.2, 2.1, 0.45), (2.6, 5.2, 0.55)], (0.05, 0.004), (1.0, 0.005))
    title = [
        "SIMULATED three-state curve of no protein in particular: no measured data.",
        "m 2.2 and 2.6 kcal/mol/M, midpoints 2.1 and 5.2 M, 45 % of the change in the first",
        "transition; normal noise of standard deviation 0.008 added by make_examples.py.",
    ]
    write("three_state.csv", title, x, {"three_state": y + rng.normal(0.0, 0.008, x.size)})


def series_example():
    """dG rises by 0.9 kcal/mol per unit of ln(label); two replicates of each of five labels."""
    rng = np.random.default_rng(11)
    x = np.linspace(0.0, 8.0, 32)
    m, columns, labels, replicates = 1.5, {}, ["label"], ["replicate"]
    for label in (1, 2, 5, 10, 20):
        dG = 4.2 + 0.9 * np.log(label)
        for replicate in (1, 2):
            y = signal(x, [(m, dG / m, 1.0)], (0.10, 0.003), (1.0, 0.004))
            columns[f"label{label}_rep{replicate}"] = y + rng.normal(0.0, 0.008, x.size)
            labels.append(label)
            replicates.append(replicate)
    title = [
        "SIMULATED series of no protein in particular, such as a ligand titration: no measured data.",
        "m 1.5 kcal/mol/M for all, dG = 4.2 + 0.9 ln(label) kcal/mol; normal noise of standard",
        "deviation 0.008 added by make_examples.py.",
    ]
    write("series.csv", title, x, columns, (labels, replicates))


if __name__ == "__main__":
    two_state_examples()
    three_state_example()
    series_example()
