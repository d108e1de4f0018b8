"""`zolt fit`: every curve of the files on its own."""

import sys
import time
from functools import partial

import click

from ..batch import fit_each, table_of
from ..output import print_fits
from ..writing import TABLES
from .cluster import cluster
from .delivery import Delivery
from .files import DRAWN, write_all
from .help import GroupedCommand
from .input import Input
from .options import (
    DEFAULT_TEMPERATURE, FILE, FILES, LAYOUT, OUT, PICTURES, TEMPERATURE, UNITS, check_look, check_temperature,
    look_options, option, reading_options,
)  # fmt: skip

model, errors, results, figures, machine = (
    partial(option, group=group) for group in ("Model", "Errors", "Results", "Figures", "Machine")
)


@click.command(name="fit", cls=GroupedCommand)
@FILES
@LAYOUT
@TEMPERATURE
@reading_options
@model("--states", type=click.Choice(["auto", "picker", "2", "3", "4"]), default="auto", metavar="N",
       help="2, 3, 4, auto (evidence) or picker.  [auto]")
@model("--baselines", metavar="aN,bN,aU,bU", help="Given: intercept, slope; 0,0 leaves one open.")
@model("--midpoint", is_flag=True, help="Midpoint only, for short or poor curves.")
@model("--drop-outliers", is_flag=True, help="Fit again without marked readings.")
@errors("--intervals", is_flag=True, help="95 % intervals beside standard errors.")
@errors("--method", type=click.Choice(["profile", "linear", "bootstrap"]), default="profile", metavar="NAME",
        help="profile, linear or bootstrap.  [profile]")
@errors("--rounds", type=click.IntRange(20), default=1000, metavar="N", help="Of the bootstrap.  [1000, 0]")
@errors("--seed", type=int, default=0, metavar="N", beside=True)
@OUT
@results("--readings", "reading_file", type=FILE, metavar="FILE", help="Residuals, fraction folded: .csv, .xlsx")
@results("--curves", "curve_file", type=FILE, metavar="FILE", help="Fitted curves; wide: a column per curve.")
@results("--wide", is_flag=True, beside=True)
@results("--report", type=FILE, metavar="FILE", help="One page to read: .html")
@UNITS
@results("--quiet", is_flag=True, help="No progress bar and no table.")
@figures("--plots", type=FILE, metavar="FOLDER", help="Pictures of every curve.")
@figures("--draw", default="fit", metavar="KINDS", help="Of fit,energy,profile, with commas.  [fit]")
@figures("--format", "picture", type=click.Choice(["png", "svg", "pdf"]), default="png",
         help="Of --plots.  [png]")
@figures("--overlay", type=FILE, metavar="FILE", help="All curves in one: .png, .svg, .pdf")
@figures("--overlay-of", type=click.Choice(["fraction", "signal", "energy"]), default="fraction", metavar="WHAT",
         help="fraction, signal or energy.  [fraction]")
@look_options
@machine("--workers", type=click.IntRange(1), metavar="N", help="Threads.  [one per processor]")
@machine("--scheduler", metavar="ADDRESS", help="A dask scheduler that does the work.")
def fit_command(files, states, temperature, baselines, midpoint, drop_outliers, intervals, method,
                rounds, seed, units, layout, workers, scheduler, out, reading_file, curve_file, wide, plots, draw,
                picture, overlay, overlay_of, report, quiet, reading, look):
    """Fit every curve of the FILES and print a table.

    \b
      zolt fit plate.csv --layout wells.csv --out results.xlsx --report report.html
    Exit status: 0, or 2 when a file could not be read or written.
    """  # fmt: skip
    check_temperature(temperature)
    check_look(look)
    kinds = _kinds(draw)
    delivery = Delivery([*files, layout])
    delivery.file("--out", out, TABLES)
    delivery.file("--readings", reading_file, (".csv", ".xlsx"))
    delivery.file("--curves", curve_file, (".csv", ".xlsx"))
    delivery.file("--overlay", overlay, PICTURES)
    delivery.file("--report", report, (".html", ".htm"))
    delivery.folder("--plots", plots)
    options = dict(
        temperature=DEFAULT_TEMPERATURE if temperature is None else temperature,
        states=int(states) if states.isdigit() else states,
        baselines=_baselines(baselines, midpoint),
        midpoint_only=midpoint,
        drop_outliers=drop_outliers,
    )
    sampling = dict(method=method, rounds=rounds, seed=seed) if intervals else None
    with cluster(scheduler) as client:
        source = Input(files, layout, reading, temperature, quiet)
        source.need_curves()
        started = time.perf_counter()
        outcomes = fit_each(source.curves, workers=workers, client=client, progress=not quiet,
                            intervals=sampling, **options)  # fmt: skip
        elapsed = time.perf_counter() - started
    table = table_of(outcomes, source.curves, units)
    settings = {"command": " ".join(["zolt", *sys.argv[1:]]), "files": ", ".join(map(str, files)), **reading,
                **options, "intervals": sampling, "fitting took": f"{elapsed:.2f} s"}  # fmt: skip
    write_all(delivery, outcomes, table, source, settings, units=units, wide=wide, kinds=kinds, picture=picture,
              overlay_of=overlay_of, look=look)  # fmt: skip
    if not quiet:
        print_fits(table, units, [fit for fit, _ in outcomes if not isinstance(fit, Exception)])
        good = int((table["status"].isin(["fitted", "midpoint fitted"])).sum())
        click.echo(f"{good} of {len(table)} curves fitted in {elapsed:.2f} s.")
    source.problems += delivery.problems
    source.finish()


def _kinds(text):
    kinds = [kind.strip() for kind in text.split(",")]
    if unknown := [kind for kind in kinds if kind not in DRAWN]:
        raise click.UsageError(f"--draw takes {', '.join(DRAWN)}, not '{unknown[0]}'.")
    return kinds


def _baselines(text, midpoint):
    if text is None:
        return None
    if midpoint:
        raise click.UsageError("--midpoint takes no --baselines.")
    try:
        values = [float(part) for part in text.split(",")]
    except ValueError:
        values = []
    if len(values) != 4:
        raise click.UsageError(f"--baselines takes four numbers aN,bN,aU,bU, not '{text}'.")
    return values
