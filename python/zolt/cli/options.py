"""The options that several commands take, and the checks of their values."""

from functools import wraps
from pathlib import Path

import click

from ..model import CAL_PER_UNIT

DEFAULT_TEMPERATURE = 25.0  # °C
FILES = click.argument("files", nargs=-1, required=True, type=click.Path(path_type=Path))
UNITS = click.option(
    "--units", type=click.Choice([u for u in CAL_PER_UNIT if u != "cal"]), default="kcal",
    show_default=True, help="Energy unit of what is printed and written.",
)  # fmt: skip
TEMPERATURE = click.option(
    "--temperature", type=float,
    help="Temperature in °C of curves whose file does not say it.  [default: 25]",
)  # fmt: skip
LAYOUT = click.option(
    "--layout", type=click.Path(path_type=Path),
    help="Plate layout: a table with well, sample, concentration and, if wanted, label, replicate.",
)  # fmt: skip
OUT = click.option(
    "--out", type=click.Path(path_type=Path), help="Write the table: .csv, .xlsx or .json."
)

READING = (
    click.option("--sheet", help="Name or number of a workbook's sheet  [default: all with a table]"),
    click.option("--x", metavar="COLUMN", help="Name or number of the column of concentrations."),
    click.option("--columns", metavar="COLUMNS", help="Names or numbers of the signals, parted by commas."),
    click.option("--skip-rows", type=click.IntRange(0), metavar="N", help="Pass over the first N rows."),
    click.option("--decimal", type=click.Choice([".", ","]), help="The decimal mark, where it is open."),
    click.option("--denaturant", help="urea, GdmCl or another name."),
    click.option("--unit", help="Unit of the concentrations: M, mM, '% of 8 M', '% w/v'."),
)  # fmt: skip


def reading_options(command):
    """Gives a command the options that tell how files are read, as one dictionary `reading`."""

    @wraps(command)
    def wrapped(*arguments, sheet, x, columns, skip_rows, decimal, denaturant, unit, **options):
        reading = dict(
            sheet=sheet, x=x, columns=columns and columns.split(","), skip_rows=skip_rows,
            decimal=decimal, denaturant=denaturant, unit=unit,
        )  # fmt: skip
        reading = {name: value for name, value in reading.items() if value is not None}
        return command(*arguments, reading=reading, **options)

    for option in reversed(READING):
        wrapped = option(wrapped)
    return wrapped


def check_out(path, suffixes=(".csv", ".xlsx", ".json")):
    if path is not None and path.suffix.lower() not in suffixes:
        raise click.UsageError(f"{path}: the file name must end in {', '.join(suffixes)}.")


def check_temperature(value):
    if value is not None and not 0.0 <= value <= 100.0:
        raise click.UsageError(f"--temperature {value:g}: the engine takes 0 to 100 °C.")
