"""The options that several commands take, and the checks of their values."""

from functools import partial, wraps
from pathlib import Path

import click

from ..model import CAL_PER_UNIT
from .help import Option

PICTURES = (".png", ".svg", ".pdf")
FILES = click.argument("files", nargs=-1, required=True, type=click.Path(path_type=Path))
FILE = click.Path(path_type=Path)
option = partial(click.option, cls=Option)
UNITS = option("--units", type=click.Choice([u for u in CAL_PER_UNIT if u != "cal"]), default="kcal",
               group="Results", help="Energies per mol.  [kcal]")  # fmt: skip
TEMPERATURE = option("--temperature", type=float, metavar="°C", group="Reading",
                     help="Of curves whose file is silent.  [25]")  # fmt: skip
LAYOUT = option("--layout", type=FILE, metavar="FILE", group="Reading",
                help="Plate: well, sample, concentration, ...")  # fmt: skip
OUT = option("--out", type=FILE, metavar="FILE", group="Results", help="The table: .csv, .xlsx, .json")

_reading = partial(option, group="Reading")
READING = (
    _reading("--sheet", metavar="NAME", help="Sheet of a workbook.  [all with a table]"),
    _reading("--x", metavar="COLUMN", help="The column of concentrations."),
    _reading("--columns", metavar="COLUMNS", help="The signals: names or numbers, commas."),
    _reading("--skip-rows", type=click.IntRange(0), metavar="N", help="Pass over the first N rows."),
    _reading("--decimal", type=click.Choice([".", ","]), help="The decimal mark, where it is open."),
    _reading("--denaturant", metavar="NAME", help="urea, GdmCl or another name."),
    _reading("--unit", metavar="UNIT", help="M, mM, '% of 8 M' or '% w/v'."),
)


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

    for one in reversed(READING):
        wrapped = one(wrapped)
    return wrapped


_figure = partial(option, group="Figures")
LOOK = (
    _figure("--style", multiple=True, metavar="NAME|FILE", help="Matplotlib style sheet; may be repeated."),
    _figure("--width", type=float, metavar="MM", help="Width of a figure, such as 85 or 175."),
    _figure("--font", metavar="NAME", help="Font of all letters and its size."),
    _figure("--font-size", type=click.FloatRange(3.0, 40.0), metavar="PT", beside=True),
)


def look_options(command):
    """Gives a command the options that tell how figures look, as one dictionary `look`."""

    @wraps(command)
    def wrapped(*arguments, style, width, font, font_size, **options):
        look = dict(style=style, width=width, font=font, font_size=font_size)
        return command(*arguments, look={name: value for name, value in look.items() if value}, **options)

    for one in reversed(LOOK):
        wrapped = one(wrapped)
    return wrapped


def check_look(look):
    """Refuse a style or a font that is not there, before any work."""
    if not look:
        return
    from ..plot import look as looking

    try:
        with looking(**look):
            pass
    except ValueError as fault:
        raise click.UsageError(f"{fault}.") from None


def check_temperature(value):
    if value is not None and not 0.0 <= value <= 100.0:
        raise click.UsageError(f"--temperature {value:g}: the engine takes 0 to 100 °C.")
