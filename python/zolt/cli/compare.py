"""`zolt compare`: proteins beside a reference."""

import sys

import click

from ..output import print_cautions
from ..batch import table_of
from ..sheets import facts_table, said_of, sheets_of_fits
from ..writing import TABLES
from .choices import check_exclusions, choices_of, settings_from
from .delivery import Delivery, command_line, write_result
from .help import GroupedCommand
from .input import Input

from .options import (
    FILE, FILES, LAYOUT, OUT, PICTURES, TEMPERATURE, UNITS, check_look, check_temperature, look_options,
    option, reading_options,
)  # fmt: skip


@click.command(cls=GroupedCommand)
@FILES
@option("--reference", metavar="NAME", group="Model", help="The curve to compare with.  [the first]")
@option(
    "--level",
    type=click.FloatRange(0.0, 1.0, min_open=True, max_open=True),
    default=0.95,
    metavar="P",
    group="Model",
    help="Level of the intervals.  [0.95]",
)
@choices_of("baselines", "exclude", "weights", "sd_known", "replicates", "residues", "drop_outliers")
@TEMPERATURE
@UNITS
@LAYOUT
@reading_options
@OUT
@option("--plot", type=FILE, metavar="FILE", group="Figures", help="The comparison: .png, .svg, .pdf")
@look_options
def compare(files, reference, level, temperature, units, layout, reading, out, plot, look, choices):
    """Compare the curves of the FILES with a reference: differences of dG and Cm with intervals.

    All curves are taken for two states, and replicates of a file are pooled. ddG comes by three ways: a
    global fit with one m, the mean m times the difference of Cm, and the plain difference of dG.

    \b
    Examples:
      zolt compare wildtype.csv mutants.csv --plot compared.pdf
      zolt compare all.csv --reference WT --out compared.csv
    """  # fmt: skip
    from ..compare import compare as compared

    check_temperature(temperature)
    check_look(look)
    delivery = Delivery([*files, layout])
    delivery.file("--out", out, TABLES)
    delivery.file("--plot", plot, PICTURES)
    settings = settings_from({**choices, "states": "2"}, units, temperature)
    source = Input(files, layout, reading, temperature)
    source.need_curves()
    curves = source.gathered(settings)
    check_exclusions(settings, curves)
    try:
        result = compared(curves, reference or 0, level=level, settings=settings)
    except ValueError as fault:
        click.echo(f"zolt: {fault}.", err=True)
        sys.exit(2)
    table = result.table(units)
    facts = result.facts(units)
    told = {"command": command_line(), **reading, **settings.words(units),
            "level": level, "read": "; ".join(source.read)}  # fmt: skip
    told["reference"] = facts["reference"]
    sheets = {
        "results": lambda: table.assign(advice=facts["advice"], settings=settings.line(units)),
        "comparison": lambda: facts_table(facts),
        "fits": lambda: table_of([(fit, None) for fit in result.fits], curves, units),
        **sheets_of_fits(result.fits, told, source.problems),
    }
    write_result(delivery, sheets, lambda: result.plot(units=units, **look), look)
    click.echo(_printed(table, units))
    click.echo(f"Each less {result.fits[result.reference].name}; {units}/mol and M, ± standard error, "
               f"[{100 * level:g} % interval].")  # fmt: skip
    click.echo(result.advice(units))
    print_cautions(said_of(result.fits))
    source.problems += delivery.problems
    source.finish()


def _printed(table, units):
    shown = table[["curve"]].copy()
    for name, suffix, digits, head in (
        ("dCm", "_M", 3, "dCm"), ("ddG_shared_m", f"_{units}_per_mol", 2, "ddG, one m"),
        ("ddG_mean_m", f"_{units}_per_mol", 2, "ddG, mean m x dCm"),
        ("ddG_plain", f"_{units}_per_mol", 2, "ddG, plain"),
    ):  # fmt: skip
        columns = [f"{name}{part}{suffix}" for part in ("", "_se", "_lower", "_upper")]
        rows = table.reindex(columns=columns).to_numpy(float)
        form = f"{{:+.{digits}f}} ± {{:.{digits}f}} [{{:.{digits}f}}, {{:.{digits}f}}]"
        shown[head] = ["" if row[0] != row[0] else form.format(*row) for row in rows]
    shown["status"] = table["status"]
    return shown.to_string(index=False)
