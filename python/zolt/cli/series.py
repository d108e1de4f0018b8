"""`zolt series`: curves that carry a label each."""

import sys
from pathlib import Path

import click

from ..output import print_fits, write_table
from .input import Input
from .options import (
    DEFAULT_TEMPERATURE, FILES, LAYOUT, OUT, TEMPERATURE, UNITS, check_out, check_temperature, reading_options,
)  # fmt: skip


@click.command()
@FILES
@click.option("--form", type=click.Choice(["trend", "aggregation"]), default="trend",
              show_default=True, help="dG against ln(label), or against the label.")
@click.option("--states", type=click.Choice(["2", "3", "4"]), default="2", show_default=True)
@click.option("--transition", type=click.Choice(["1", "2", "3"]), default="1", show_default=True,
              help="The transition whose dG is followed.")
@click.option("--labels", help="Labels of the curves, parted by commas, where the file has none.")
@click.option("--exclude", default="", help="Numbers (from 1) of curves to keep out of the trend.")
@click.option("--keep-all", is_flag=True, help="Leave spikes and outliers in.")
@click.option("--raw", is_flag=True, help="Do not normalise the signals before the fit.")
@TEMPERATURE
@UNITS
@LAYOUT
@reading_options
@OUT
@click.option("--plot", type=click.Path(path_type=Path), help="Draw the series (.png, .svg, .pdf).")
def series(files, form, states, transition, labels, exclude, keep_all, raw, temperature, units,
           layout, out, plot, reading):
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
    check_out(out)
    check_out(plot, (".png", ".svg", ".pdf"))
    source = Input(files, layout, reading, temperature)
    source.need_curves()
    temperature = DEFAULT_TEMPERATURE if temperature is None else temperature
    try:
        given = None if labels is None else [float(text) for text in labels.split(",")]
        excluded = {int(text) for text in exclude.split(",") if text.strip()}
        include = [i not in excluded for i in range(1, len(source.curves) + 1)]
        result = fit_series(
            source.curves, given, form=form, states=int(states), transition=int(transition),
            temperature=temperature, include=include, clean=not keep_all, normalise=not raw,
        )  # fmt: skip
    except ValueError as fault:
        click.echo(f"zolt: {fault}", err=True)
        sys.exit(2)
    table = result.table(units)
    print_fits(table, units, result.fits)
    click.echo("\n" + result.label_table(units).to_string(index=False, float_format="{:.3f}".format, na_rep=""))
    click.echo(result.verdict_in(units))
    if (together := result.shared_m()) is not None:
        click.echo(together.summary(units))
    if out:
        write_table(table, out)
    if plot:
        result.plot(units=units).savefig(plot, dpi=150)
    source.finish()
