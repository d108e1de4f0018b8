"""`zolt states` and `zolt smooth`: what the engine says of signals without a fit."""

import click
import pandas as pd

from .. import engine
from ..points import pick_states
from ..writing import TABLES, harmless, write_table
from .delivery import Delivery
from .input import Input
from .options import FILES, LAYOUT, OUT, reading_options


@click.command()
@FILES
@LAYOUT
@reading_options
def states(files, layout, reading):
    """Say how many states the signals of the FILES show, without fitting.

    \b
    Example:
      zolt states plate.csv --layout wells.csv
    """
    source = Input(files, layout, reading)
    source.need_curves()
    rows = []
    for curve in source.curves:
        count = pick_states(curve.x, curve.y) if 3 <= curve.x.size <= 384 else "-"
        rows.append({"curve": curve.name, "readings": curve.x.size, "states": count})
    click.echo(pd.DataFrame(rows).to_string(index=False))
    source.finish()


@click.command()
@FILES
@click.option("--width", type=float, default=5.0, show_default=True,
              help="Smoothing width; below 0.934 the rows stay as they are.")
@OUT
def smooth(files, width, out):
    """Smooth every row of readings of the FILES by a moving average.

    \b
    Example:
      zolt smooth spectra.csv --width 5 --out smooth.csv
    """
    delivery = Delivery(files)
    delivery.file("--out", out, TABLES)
    source = Input(files)
    source.need_curves()
    parts = [
        pd.DataFrame({"curve": c.name, "x": c.x, "y": c.y, "smoothed": engine.smooth_emission(c.y, width)})
        for c in source.curves
        if c.x.size
    ]
    table = pd.concat(parts, ignore_index=True)
    delivery.write("--out", lambda path: write_table(table, path))
    if not out:
        click.echo(harmless(table).to_csv(index=False), nl=False)
    source.problems += delivery.problems
    source.finish()
