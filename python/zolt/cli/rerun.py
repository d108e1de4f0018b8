"""`zolt rerun`: a saved run made again."""

import sys
from pathlib import Path

import click

from ..output import print_fits, print_replicates
from ..sheets import said_of
from ..writing import TABLES
from .delivery import Delivery
from .files import Run, write_page, write_results
from .help import GroupedCommand
from .options import FILE, OUT, option


@click.command(cls=GroupedCommand)
@click.argument("file", type=click.Path(path_type=Path))
@OUT
@option("--report", type=FILE, metavar="FILE", group="Results", help="One page to read: .html")
def rerun(file, out, report):
    """Make a saved run again: the readings, choices and results of FILE, a session of `zolt fit` or the page.

    \b
    Example:
      zolt fit curves.csv --out results.json
      zolt rerun results.json --report report.html

    The exit status is 0 when the numbers are the same, 1 when they are not, and 2 when a file could
    not be read or written.
    """
    from ..batch import table_of
    from ..session import SessionError, rerun

    delivery = Delivery([file])
    delivery.file("--out", out, TABLES)
    delivery.file("--report", report, (".html", ".htm"))
    try:
        again = rerun(file)
    except SessionError as fault:
        click.echo(f"zolt: {fault}", err=True)
        sys.exit(2)
    table = table_of(again.outcomes, again.fits, again.units)
    logbook = {"command": f"zolt rerun {file}", **again.settings.words(again.units), "rerun": again.verdict}
    run = Run(again.outcomes, table, again.settings, again.units, logbook, [f"session {file}"], [])
    delivery.write("--out", lambda path: write_results(run, path))
    write_page(delivery, run)
    print_fits(table, again.units, said_of(run.fits, run.intervals))
    print_replicates(run.fits, again.units)
    click.echo(f"Settings: {again.settings.line(again.units)}.")
    click.echo(again.verdict)
    sys.exit(2 if delivery.problems else 0 if again.same else 1)
