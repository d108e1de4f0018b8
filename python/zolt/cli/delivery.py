"""The files that a command is asked for: looked at before the work, written before the screen is."""

import os
import sys

import click

from ..workbook import write_workbook
from ..writing import CannotWrite, check_folder, check_place, reason, replacing, write_table


class Delivery:
    """Places that may be written to, by the option that names them.

    `sources` are the files that are read, which no result may replace. A fault in writing costs that
    file alone: it is said in a sentence, kept in `problems`, and the others are written.
    """

    def __init__(self, sources):
        self._taken = {os.path.realpath(path): "is read" for path in sources if path is not None}
        self._places, self.problems, self.written = {}, [], set()

    def file(self, what, path, suffixes):
        if path is None:
            return
        if path.suffix.lower() not in suffixes:
            raise click.UsageError(f"{what} {path}: the file name must end in {', '.join(suffixes)}.")
        _or_usage(check_place, path, what)
        if use := self._taken.get(os.path.realpath(path)):
            raise click.UsageError(f"{what} {path}: this file {use}; name another.")
        self._taken[os.path.realpath(path)] = f"is written by {what}"
        self._places[what] = path

    def folder(self, what, path):
        if path is None:
            return
        _or_usage(check_folder, path, what)
        self._places[what] = path

    def asked(self, *options):
        return any(what in self._places for what in options)

    def write(self, what, write):
        """Call `write` with the path, if the option was given."""
        if what not in self._places:
            return
        path = self._places[what]
        try:
            if path.is_dir():
                write(path)
            else:
                with replacing(path) as part:
                    write(part)
            self.written.add(what)
        except (OSError, ValueError) as fault:
            words = reason(fault) if isinstance(fault, OSError) else str(fault)
            self.problems.append(f"{what} {path}: not written, {words.rstrip('.')}.")
            click.echo(f"zolt: {self.problems[-1]}", err=True)


def command_line():
    """The command as it was given, for what is written to tell it."""
    return " ".join(["zolt", *sys.argv[1:]])


def write_result(delivery, sheets, draw, look):
    """Write the tables and the picture of what curves gave together.

    `sheets` are functions that make tables, by name; other files than workbooks hold the first alone.
    `draw` makes the picture if it is asked for.
    """

    def write(path):
        if path.suffix.lower() == ".xlsx":
            write_workbook({name: make() for name, make in sheets.items()}, path)
        else:
            write_table(next(iter(sheets.values()))(), path)

    delivery.write("--out", write)
    if delivery.asked("--plot"):
        from ..plot import save_figure

        delivery.write("--plot", lambda path: save_figure(draw(), path, look.get("width")))


def _or_usage(check, path, what):
    try:
        check(path, what)
    except CannotWrite as fault:
        raise click.UsageError(str(fault)) from None
