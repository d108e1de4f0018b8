"""The curves of the files that a command is given, and the words about what was read."""

import sys

import click

from ..read import ReadError, read_together
from ..replicates import gathered, told_together


class Input:
    """Curves of all files, and a sentence for every file that could not be used.

    What was read of each file is said in a line on the error stream, with a line for every thing
    that was left out, converted or doubted, and kept in `read`.
    """

    def __init__(self, files, layout=None, reading=None, temperature=None, quiet=False):
        self.problems, self.read, self.quiet = [], [], quiet
        readings = []
        for path, found in read_together(files, layout, temperature, **(reading or {})):
            if isinstance(found, ReadError):
                self.problems.append(str(found))
                click.echo(f"zolt: {found}", err=True)
                continue
            readings.append(found)
            lines = [f"{path.name}: {found.summary(temperature)}", *found.remarks()]
            self.read += lines
            if not quiet:
                click.echo("\n  ".join(lines), err=True)
        self.curves = [curve for found in readings for curve in found.curves]

    def gathered(self, settings):
        """The curves with their replicates as the settings have them, and a line that names them."""
        curves = gathered(self.curves, settings)
        if said := told_together(curves):
            self.read.append(said)
            if not self.quiet:
                click.echo(said, err=True)
        return curves

    def need_curves(self):
        if not self.curves:
            sys.exit(2)

    def finish(self):
        """Status 2 where a file could not be used; that a fit failed is a result."""
        sys.exit(2 if self.problems else 0)
