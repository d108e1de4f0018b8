"""`zolt rerun`: a saved run made again."""

import sys
from pathlib import Path

import click

from ..output import print_fits
from ..writing import write_table
from .options import OUT, check_out


@click.command()
@click.argument("file", type=click.Path(path_type=Path))
@OUT
def rerun(file, out):
    """Make a saved run again: the readings, choices and results of FILE, a session of `zolt fit` or the page.

    \b
    Example:
      zolt fit curves.csv --out results.json
      zolt rerun results.json

    The exit status is 0 when the numbers are the same, 1 when they are not.
    """
    from ..batch import table_of
    from ..session import SessionError, rerun, save

    check_out(out)
    try:
        again = rerun(file)
    except SessionError as fault:
        click.echo(f"zolt: {fault}", err=True)
        sys.exit(2)
    table = table_of(again.outcomes, again.fits, again.units)
    if out and out.suffix.lower() == ".json":
        save(out, again.fits, again.settings, again.units)
    elif out:
        write_table(table, out)
    print_fits(table, again.units, again.fits)
    click.echo(f"Settings: {again.settings.line(again.units)}.")
    click.echo(again.verdict)
    sys.exit(0 if again.same else 1)
