"""`zolt fit`: every curve of the files on its own."""

import sys
import time
from pathlib import Path

import click

from ..batch import fit_each, table_of
from ..output import curve_table, draw_all, print_fits, write_table
from ..replicates import pooled, replicate_means
from ..session import save
from .choices import check_exclusions, fit_choices, settings_from
from .input import Input
from .options import (
    FILES, LAYOUT, OUT, TEMPERATURE, UNITS, check_out, check_temperature, reading_options,
)  # fmt: skip


@click.command(name="fit")
@FILES
@fit_choices
@TEMPERATURE
@click.option("--intervals", is_flag=True, help="95 % intervals.")
@click.option("--method", type=click.Choice(["profile", "linear", "bootstrap"]), default="profile",
              show_default=True, help="How intervals are found.")
@click.option("--rounds", type=click.IntRange(20), default=1000, show_default=True,
              help="Rounds of the bootstrap.")
@click.option("--seed", type=int, default=0, show_default=True, help="Seed of the bootstrap.")
@UNITS
@LAYOUT
@reading_options
@click.option("--workers", type=click.IntRange(1), help="Threads  [default: one per processor]")
@click.option("--scheduler", metavar="ADDRESS", help="Address of a dask scheduler to work for us.")
@OUT
@click.option("--curves", "curve_file", type=click.Path(path_type=Path),
              help="Write the fitted curves (.csv): signal, fraction denatured, slope.")
@click.option("--plots", type=click.Path(path_type=Path), help="Folder for a picture per curve.")
@click.option("--format", "picture", type=click.Choice(["png", "svg", "pdf"]), default="png",
              show_default=True, help="Format of the pictures.")
@click.option("--report", type=click.Path(path_type=Path), help="Write one self-contained HTML page.")
@click.option("--quiet", is_flag=True, help="No progress bar and no table.")
def fit_command(files, temperature, intervals, method, rounds, seed, units, layout, workers, scheduler, out,
                curve_file, plots, picture, report, quiet, reading, choices):
    """Fit every curve of the FILES and print a table.

    \b
    Examples:
      zolt fit fkbp12.csv --intervals
      zolt fit plate.csv --layout wells.csv --out results.xlsx --report report.html
      zolt fit *.csv --states 3 --plots figures --format svg
      zolt fit cd.csv --baselines=-37.2,-0.5,-10.9,0.56

    The exit status is 0 when every file could be read (a curve without a fit is a result) and 2
    when a file could not be used.
    """  # fmt: skip
    check_temperature(temperature)
    check_out(out)
    check_out(curve_file, (".csv",))
    settings = settings_from(choices, units, temperature, _sampling(intervals, method, rounds, seed))
    source = Input(files, layout, reading, temperature, quiet)
    source.need_curves()
    check_exclusions(settings, source.curves)
    curves = pooled(source.curves) if settings.replicates == "pooled" else source.curves
    started = time.perf_counter()
    with _client(scheduler) as client:
        outcomes = fit_each(curves, workers=workers, client=client, progress=not quiet, settings=settings)
    elapsed = time.perf_counter() - started
    table = table_of(outcomes, curves, units)
    fits = [(fit, spans) for fit, spans in outcomes if not isinstance(fit, Exception)]
    if not quiet:
        print_fits(table, units, [fit for fit, _ in fits])
        good = int((table["status"].isin(["fitted", "midpoint fitted"])).sum())
        alike = replicate_means([fit for fit, _ in outcomes], curves, units)
        if len(alike):
            click.echo("Replicates, each fitted alone:")
            click.echo(alike.to_string(index=False, float_format="{:.3f}".format, na_rep=""))
        click.echo(f"{good} of {len(table)} curves fitted in {elapsed:.2f} s.")
    if out and out.suffix.lower() == ".json":
        save(out, [fit for fit, _ in fits], settings, units)
    elif out:
        write_table(table, out)
    if curve_file:
        curve_table([fit for fit, _ in fits]).to_csv(curve_file, index=False)
    if plots:
        draw_all([fit for fit, _ in fits], plots, picture, units)
    if report:
        from ..report import write_report

        logbook = {"command": " ".join(["zolt", *sys.argv[1:]]), "files": ", ".join(map(str, files)),
                    "read": "; ".join(source.read), **reading, **settings.words(units),
                    "fitting took": f"{elapsed:.2f} s"}  # fmt: skip
        write_report(report, *map(list, zip(*fits)), units=units, settings=logbook,
                     problems=source.problems)  # fmt: skip
    source.finish()


def _sampling(intervals, method, rounds, seed):
    """The options of `Fit.intervals`, or None; rounds and seed belong to the bootstrap."""
    if not intervals:
        return None
    return dict(method=method, rounds=rounds, seed=seed) if method == "bootstrap" else dict(method=method)


class _client:
    """A dask client for the time of the work, or none."""

    def __init__(self, address):
        self.address, self.client = address, None

    def __enter__(self):
        if self.address:
            from distributed import Client

            try:
                self.client = Client(self.address, timeout="10s")
            except (OSError, ValueError) as fault:
                raise click.UsageError(f"--scheduler {self.address}: no answer ({fault}).") from None
        return self.client

    def __exit__(self, *_):
        if self.client is not None:
            self.client.close()
