"""What people read of the examples and of doubtful curves, to the digits that are shown.

After a change that is meant, `python3 python/tests/test_shown.py` records it anew; the difference in
`shown.txt` is what to look at.
"""

import os
import re
import tempfile
from pathlib import Path

import numpy as np
import pandas as pd
from click.testing import CliRunner
from conftest import FKBP12, FOUR, THREE, simulate
from matplotlib.collections import Collection, PathCollection
from matplotlib.lines import Line2D
from test_warnings import CASES, fitted

import zolt
from zolt import plot
from zolt.cli import main
from zolt.report import write_report
from zolt.sheets import workbook_sheets

ROOT, SHOWN = Path(__file__).resolve().parents[2], Path(__file__).with_name("shown.txt")
COMMANDS = [
    "fit examples/fkbp12_urea.csv examples/ci2_gdmcl.csv examples/three_state.csv",
    "fit examples/three_state.csv examples/gankyrin_urea.csv --intervals --units kJ --weights none",
    "fit examples/series.csv --replicates each --states 2 --temperature 20",
    "fit examples/series.csv --m shared --exclude 0..0.5",
    "series examples/series.csv",
    "series examples/series.csv --form aggregation --units kJ",
    "compare examples/series.csv --units kJ",
    "fit examples/series.csv --replicates each --residues 30 --denaturant urea --units kJ",
    "fit examples/ci2_gdmcl.csv --intervals --method bootstrap --rounds 20 --seed 3",
    "states examples/three_state.csv examples/gankyrin_urea.csv",
    "fit examples/series.csv --states 2 --replicates each --columns 2,3,4,5",
]
# At a limit or beyond, most of them refused.
AT_LIMITS = [
    "--temperature 120", "--temperature 0", "--baselines 1,2", "--out a.txt", "--midpoint --intervals",
    "--midpoint --baselines 1,2,3,4", "--rounds 19", "--workers 0", "--font-size 2.5", "--states 5",
    "--skip-rows -1", "--residues 0", "--m 0", "--exclude 9..1", "--exclude B3", "--exclude p9@1",
    "--exclude all", "--m -1", "--m 1400", "--m shared --midpoint", "--draw x", "--draw profile",
    "--m shared --intervals --method linear",
]  # fmt: skip
COMMANDS += [f"fit examples/ci2_gdmcl.csv {options}" for options in AT_LIMITS] + [
    f"compare examples/series.csv --level {level}" for level in (1.2, 1, 0)
]


def lopsided():
    """Curves at whose ends, weights and slopes the fit runs into a limit."""
    x = np.linspace(0.0, 8.0, 24)
    noise = np.random.default_rng(1).normal(0.0, 0.003, x.size)
    yield "bend", (x, 0.01 * x**2 + noise), dict(states=2)
    for states in (3, 4):
        yield f"{states} states of 2", simulate(FKBP12, 32, noise=0.01, seed=1), dict(states=states)
    yield "weighted", simulate(THREE, 60, noise=0.01), dict(sd=np.linspace(0.005, 0.02, 60), sd_known=True)
    yield "held", simulate(FKBP12, 32, noise=0.01), dict(dG=5500.0, baselines=dict(native="flat"))
    yield "midpoint", simulate(FKBP12, 9), dict(midpoint_only=True)
    yield "too much", simulate([(9000.0, 6.0, 1.0)], 32, reach=12.0, noise=0.01), {}


def said(name, x, y, options):
    fit = fitted(x, y, **{"name": name, **options})
    yield from (fit, fit.reason, *fit.warnings)
    if name in CASES:
        return
    yield from (fit.settings.line("kJ"), fit.settings.to_plain(), zolt.methods([fit]), fit.evidence)
    if fit.answer is not None:
        yield from (fit.intervals(method=method) for method in ("profile", "linear"))


def drawn(figure):
    """What stands in a picture: its words, its limits and some places of every line, mark and face."""
    for ax in figure.axes:
        legend = ax.get_legend()
        words = [text.get_text() for text in (*ax.texts, *(legend.get_texts() if legend else []))]
        yield " | ".join([ax.get_title("left"), ax.get_xlabel(), ax.get_ylabel(), *words])
        places = [("limits", [ax.get_xlim(), ax.get_ylim()])]
        for artist in ax.get_children():
            if isinstance(artist, PathCollection):
                places.append(("marks", artist.get_offsets()))
            elif isinstance(artist, Collection):
                places.append(("face", [point for path in artist.get_paths() for point in path.vertices]))
            elif isinstance(artist, Line2D):
                places.append(("line", artist.get_xydata()))
        for kind, found in places:
            some = np.ravel(found[:: max(len(found) // 4, 1)])
            yield f"  {kind}: {' '.join(f'{value:.4g}' for value in np.round(some, 5) + 0.0)}"


def pictures():
    kinds = (FKBP12, "two", [0.01] * 48), (THREE, "three", None), (FOUR, "four", None)
    two, three, four = (zolt.fit(*simulate(made, 48, noise=0.01), name=name, sd=sd) for made, name, sd in kinds)
    x, y = simulate(FKBP12, 16, noise=0.01)
    again = zolt.fit(np.tile(x, 3), [*y, *(y + 0.02), *(y - 0.02)], name="again", exclude="0..0.5")
    for fit in (two, three, four, again):
        yield fit.plot(units="kJ")
        yield plot.plot_free_energy(fit)
        yield plot.plot_profile(fit)
    for quantity in ("fraction", "signal", "energy"):
        yield plot.plot_overlay([two, three, again], quantity=quantity)
    curves = zolt.read_curves("examples/series.csv")
    yield plot.plot_compare(zolt.compare(curves[2:], 1))
    yield plot.plot_series(zolt.fit_series(curves), units="kJ")
    yield plot.plot_series(zolt.fit_series(curves, form="aggregation"))


def parts():
    """Commands with what they print, curves with all that is said of them, pictures with what they draw."""
    for command in COMMANDS:
        done = CliRunner(mix_stderr=False).invoke(main, command.split())
        told = re.sub(r"(?s)Usage: .*?(?=Error)", "", done.stderr + done.stdout)
        told = re.sub(r"in [\d.]+ s\.", "in a moment.", told)
        yield f"$ zolt {command}\n{told}{done.exit_code}"
    for name, (x, y), options in [*((n, make(), o) for n, (make, o) in CASES.items()), *lopsided()]:
        yield "\n".join(map(str, said(name, x, y, options)))
    fits = [zolt.fit(*simulate(FKBP12, 48, noise=0.01), name="two", denaturant="urea"),
            zolt.fit(*simulate(THREE, 48, noise=0.01), 10.0, name="three"), zolt.fit([], [])]  # fmt: skip
    with tempfile.TemporaryDirectory() as folder:
        path, spans = Path(folder) / "r.html", [fit.intervals() if fit.ok else None for fit in fits]
        write_report(path, fits, spans, units="kJ", settings={"files": "none"}, read=["read"])
        page = re.sub(r"<style.*?</style>|<[^>]*>", " ", path.read_text(), flags=re.S)
    yield re.sub(r"(\s*\n)+", "\n", page.partition("Logbook")[0])  # which has the date
    sheets = workbook_sheets(pd.DataFrame(), fits, spans, fits[0].settings.words("kJ"), ["a file"])
    yield "\n".join(sheet[::9].to_csv(float_format="%.6g") for sheet in sheets.values())
    curves = zolt.read_curves("examples/series.csv")
    yield "\n".join(map(str, (zolt.fit_global(curves), zolt.fit_global(curves[:4], share="dG", reference=1),
                              zolt.compare(curves[2:], 1), zolt.fit_series(curves),
                              zolt.fit_series(curves, normalise=False, clean=False))))  # fmt: skip
    yield "\n\n".join("\n".join(drawn(figure)) for figure in pictures()) + "\n"


def test_what_is_shown_is_what_was_recorded(monkeypatch):
    monkeypatch.chdir(ROOT)
    for now, recorded in zip("\n\n".join(parts()).split("\n"), SHOWN.read_text().split("\n"), strict=True):
        assert now == recorded


if __name__ == "__main__":
    os.chdir(ROOT)
    SHOWN.write_text("\n\n".join(parts()))
