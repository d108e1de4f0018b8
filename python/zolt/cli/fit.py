"""`zolt fit`: every curve of the files on its own."""

import sys
import time
from functools import partial

import click

from ..batch import table_of
from ..output import MOST_PRINTED, print_fits, print_replicates
from ..writing import TABLES
from .choices import check_exclusions, fit_choices, settings_from
from .cluster import cluster
from .delivery import Delivery, command_line
from .files import DRAWN, Run, check_sheets, write_all
from .help import GroupedCommand
from .input import Input
from .options import (
    FILE, FILES, LAYOUT, OUT, PICTURES, TEMPERATURE, UNITS, check_look, check_temperature, look_options,
    option, reading_options,
)  # fmt: skip
from .work import fit_all, kept_rows

errors, results, figures, machine = (
    partial(option, group=group) for group in ("Errors", "Results", "Figures", "Machine")
)
_OF_FITS = ("--readings", "--curves", "--plots", "--overlay", "--report")  # tables alone are made of rows


@click.command(name="fit", cls=GroupedCommand)
@FILES
@LAYOUT
@TEMPERATURE
@reading_options
@fit_choices
@errors("--intervals", is_flag=True, help="95 % intervals beside standard errors.")
@errors("--method", type=click.Choice(["profile", "linear", "bootstrap"]), default="profile",
        metavar="NAME", help="profile, linear or bootstrap.  [profile]")
@errors("--rounds", type=click.IntRange(20), default=1000, metavar="N", help="Of the bootstrap.  [1000, 0]")
@errors("--seed", type=int, default=0, metavar="N", beside=True)
@OUT
@results("--resume", is_flag=True, help="Go on with a run that was stopped.")
@results("--readings", "reading_file", type=FILE, metavar="FILE",
         help="Residuals, fraction folded: .csv, .xlsx")
@results("--curves", "curve_file", type=FILE, metavar="FILE", help="Fitted curves; wide: a column per curve.")
@results("--wide", is_flag=True, beside=True)
@results("--report", type=FILE, metavar="FILE", help="One page to read: .html")
@UNITS
@results("--quiet", is_flag=True, help="No progress bar and no table.")
@figures("--plots", type=FILE, metavar="FOLDER", help="Pictures of every curve.")
@figures("--draw", default="fit", metavar="KINDS", help=f"Of {','.join(DRAWN)}, with commas.  [fit]")
@figures("--format", "picture", type=click.Choice(["png", "svg", "pdf"]), default="png",
         help="Of --plots.  [png]")
@figures("--overlay", type=FILE, metavar="FILE", help="All curves in one: .png, .svg, .pdf")
@figures("--overlay-of", type=click.Choice(["fraction", "signal", "energy"]), default="fraction",
         metavar="WHAT", help="fraction, signal or energy.  [fraction]")
@look_options
@machine("--workers", type=click.IntRange(1), metavar="N", help="Threads.  [one per processor]")
@machine("--scheduler", metavar="ADDRESS", help="A dask scheduler that does the work.")
def fit_command(files, temperature, intervals, method, rounds, seed, units, layout, workers, scheduler, out,
                reading_file, curve_file, wide, plots, draw, picture, overlay, overlay_of, report, resume,
                quiet, reading, look, choices):
    """Fit every curve of the FILES and print a table. The exit status is 0, or 2
    when a file could not be read or written.
    """  # fmt: skip
    check_temperature(temperature)
    check_look(look)
    kinds = _kinds(draw)
    if intervals and choices["midpoint"]:
        raise click.UsageError("--midpoint takes no --intervals: a midpoint fit has no errors.")
    settings = settings_from(choices, units, temperature, _sampling(intervals, method, rounds, seed))
    delivery = Delivery([*files, layout])
    delivery.file("--out", out, TABLES)
    delivery.file("--readings", reading_file, (".csv", ".xlsx"))
    delivery.file("--curves", curve_file, (".csv", ".xlsx"))
    delivery.file("--overlay", overlay, PICTURES)
    delivery.file("--report", report, (".html", ".htm"))
    delivery.folder("--plots", plots)
    if kinds != ["fit"] and plots is None:
        raise click.UsageError(f"--draw {draw} says what --plots draws; name a folder by --plots.")
    if resume and (out is None or out.suffix.lower() != ".csv"):
        raise click.UsageError(
            "--resume goes with --out and a .csv file, beside which finished curves are kept."
        )
    with cluster(scheduler) as client:
        source = Input(files, layout, reading, temperature, quiet)
        source.need_curves()
        curves = source.gathered(settings)
        check_exclusions(settings, curves)
        check_sheets(curves, out, reading_file, curve_file, wide)
        whole = (settings.shares_m or settings.replicates == "each" or delivery.asked(*_OF_FITS)
                 or (out is not None and out.suffix.lower() != ".csv"))  # fmt: skip
        with kept_rows(len(curves), out, whole) as kept:
            started = time.perf_counter()
            try:
                outcomes = fit_all(curves, settings, units, kept, whole=whole, resume=resume, workers=workers,
                                   client=client, progress=not quiet)  # fmt: skip
            except ValueError as fault:  # of all curves together; one curve's faults stay its own
                click.echo(f"zolt: {fault}", err=True)
                sys.exit(2)
            elapsed = time.perf_counter() - started
            if whole:
                logbook = {"command": command_line(), "files": ", ".join(map(str, files)), **reading,
                           **settings.words(units), "fitting took": f"{elapsed:.2f} s"}  # fmt: skip
                table = table_of(outcomes, curves, units)
                run = Run(outcomes, table, settings, units, logbook, source.read, source.problems)
                write_all(delivery, run, wide=wide, kinds=kinds, picture=picture,
                          overlay_of=overlay_of, look=look)  # fmt: skip
            else:
                delivery.write("--out", kept.write_csv)
            head = kept.head(MOST_PRINTED)
            kept.close(written="--out" in delivery.written)
    if not quiet:
        said = ((curve.name, cautions) for curve, cautions in zip(curves, kept.said))
        print_fits(head, units, said, len(curves))
        if whole:
            print_replicates(run.fits, units)
        click.echo(f"{kept.fitted} of {len(curves)} curves fitted in {elapsed:.2f} s.")
    source.problems += delivery.problems
    source.finish()


def _kinds(text):
    kinds = [kind.strip() for kind in text.split(",")]
    if unknown := [kind for kind in kinds if kind not in DRAWN]:
        raise click.UsageError(f"--draw takes {', '.join(DRAWN)}, not '{unknown[0]}'.")
    return kinds


def _sampling(intervals, method, rounds, seed):
    """The options of `Fit.intervals`, or None; rounds and seed belong to the bootstrap."""
    if not intervals:
        return None
    return dict(method=method, rounds=rounds, seed=seed) if method == "bootstrap" else dict(method=method)
