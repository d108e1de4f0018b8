"""`zolt series`: curves that carry a label each."""

import sys
from functools import partial

import click

from ..output import print_fits
from ..sheets import facts_table, said_of, sheets_of_fits
from ..writing import TABLES
from .delivery import Delivery, command_line, write_result
from .help import GroupedCommand
from .input import Input
from .options import (
    FILE, FILES, LAYOUT, OUT, PICTURES, TEMPERATURE, UNITS, check_look, check_temperature,
    look_options, option, reading_options,
)  # fmt: skip

model = partial(option, group="Series")


@click.command(cls=GroupedCommand)
@FILES
@model("--form", type=click.Choice(["trend", "aggregation"]), default="trend", metavar="NAME",
       help="trend: ln(label); aggregation: label.  [trend]")
@model("--states", type=click.Choice(["2", "3", "4"]), default="2", help="Of all curves.  [2]")
@model("--transition", type=click.Choice(["1", "2", "3"]), default="1",
       help="The one whose dG is followed.  [1]")
@model("--labels", metavar="NUMBERS", help="With commas, where the file has none.")
@model("--exclude", default="", metavar="NUMBERS", help="Curves, from 1, to keep out of the trend.")
@model("--keep-all", is_flag=True, help="Leave spikes and outliers in.")
@model("--raw", is_flag=True, help="Do not normalise the signals first.")
@TEMPERATURE
@UNITS
@LAYOUT
@reading_options
@OUT
@option("--plot", type=FILE, metavar="FILE", group="Figures", help="The series: .png, .svg, .pdf")
@look_options
def series(files, form, states, transition, labels, exclude, keep_all, raw, temperature, units,
           layout, out, plot, look, reading):
    """Fit the curves of the FILES as one series and follow dG along their labels.

    The files are long tables with the columns label, x, y and, if wanted, replicate, or wide
    tables with a row `label` below the header. Curves with equal labels are replicates.

    \b
    Examples:
      zolt series calcium.csv --plot calcium.png
      zolt series arrays.csv --form aggregation --labels 2,3,4,5,6,8,10
    """  # fmt: skip
    from ..series import fit_series

    check_temperature(temperature)
    check_look(look)
    delivery = Delivery([*files, layout])
    delivery.file("--out", out, TABLES)
    delivery.file("--plot", plot, PICTURES)
    source = Input(files, layout, reading, temperature)
    source.need_curves()
    names = [curve.name for curve in source.curves]
    given = None if labels is None else _numbers("--labels", labels, float, names)
    excluded = _numbers("--exclude", exclude, int, names) if exclude.strip() else ()
    try:
        include = [i not in excluded for i in range(1, len(source.curves) + 1)]
        result = fit_series(
            source.curves, given, form=form, states=int(states), transition=int(transition),
            temperature=temperature, include=include, clean=not keep_all, normalise=not raw,
        )  # fmt: skip
    except ValueError as fault:
        click.echo(f"zolt: {str(fault).rstrip('.')}.", err=True)
        sys.exit(2)
    table = result.table(units)
    together = result.shared_m()
    told = {"command": command_line(), **reading, "form": form, "states": states,
            "transition": transition, "labels": labels, "kept out of the trend": exclude,
            "outliers": "kept" if keep_all else "left out", "signals": "raw" if raw else "normalised",
            "temperature": f"{result.temperature:g} °C", "read": "; ".join(source.read)}  # fmt: skip
    facts = {"trend": result.verdict_in(units), "one m": together.summary(units) if together else ""}
    sheets = {"results": lambda: table, "labels": lambda: result.label_table(units),
              "trend": lambda: facts_table(facts),
              **sheets_of_fits(result.fits, told, source.problems)}  # fmt: skip
    write_result(delivery, sheets, lambda: result.plot(units=units, **look), look)
    print_fits(table, units, said_of(result.fits))
    labels = result.label_table(units)
    click.echo("\n" + labels.to_string(index=False, float_format="{:.3f}".format, na_rep=""))
    click.echo(result.verdict_in(units))
    if together is not None:
        click.echo(together.summary(units))
    source.problems += delivery.problems
    source.finish()


def _numbers(option, text, kind, names):
    """The numbers of an option: a label for every curve, or places of curves from 1."""
    curves = f"the {len(names)} curves are {', '.join(names[:6])}{', ...' if len(names) > 6 else ''}"
    found = []
    for part in text.split(","):
        try:
            found.append(kind(part))
        except ValueError:
            what = (
                "numbers with commas between them, as 1,2,5" if kind is float else "places of curves, as 1,3"
            )
            raise click.UsageError(f"{option} takes {what}; '{part.strip()}' is none; {curves}.") from None
    if kind is float and len(found) != len(names):
        raise click.UsageError(f"{option} has {len(found)} numbers and needs one for every curve; {curves}.")
    if kind is int and not all(1 <= place <= len(names) for place in found):
        raise click.UsageError(f"{option} {text}: there is no such curve; {curves}.")
    return found
