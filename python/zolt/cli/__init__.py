"""The command `zolt`: a file per command, and the options that they share."""

import contextlib
import errno
import os
import sys

import click

from .._version import __version__
from ..writing import reason
from .compare import compare
from .fit import fit_command
from .page import page
from .rerun import rerun
from .series import series
from .signals import smooth, states


class Commands(click.Group):
    """Commands whose last resort, where the system refuses a file or the screen, is a sentence."""

    def invoke(self, ctx):
        try:
            return super().invoke(ctx)
        except OSError as fault:
            if fault.errno == errno.EPIPE:  # the reader of a pipe has seen enough
                raise
            if not fault.filename:
                _let_the_screen_go()
            place = f"{fault.filename}: " if fault.filename else ""
            raise click.ClickException(f"{place}{reason(fault)}.") from None


def _let_the_screen_go():
    """Has what is still to be written there go nowhere: at the exit it would fail once more, without a sentence."""
    with contextlib.suppress(OSError, ValueError):  # where it is no file
        os.dup2(os.open(os.devnull, os.O_WRONLY), sys.stdout.fileno())


@click.group(cls=Commands, context_settings={"help_option_names": ["-h", "--help"]})
@click.version_option(__version__, prog_name="zolt")
def main():
    """Fit chemical-denaturation curves with two, three or four states.

    \b
    zolt fit curves.csv                      table of dG, Cm and m
    zolt fit *.csv --plots figures           a picture per curve as well
    zolt compare wildtype.csv mutants.csv    differences of dG and Cm
    zolt rerun results.json                  a saved run again, with the same numbers
    zolt series calcium.csv --form trend     dG against a label
    zolt states curves.csv                   how many states the signals show
    zolt smooth spectra.csv --width 5        moving average of emission rows

    A file holds concentrations in its first column, or in one named so, and a signal per further
    column. What was read and what was assumed is said in a line per file.
    """


for command in (fit_command, compare, rerun, series, states, smooth, page):
    main.add_command(command)
