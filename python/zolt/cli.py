"""The command `zolt`."""

import sys
import time
import webbrowser
from functools import wraps
from pathlib import Path

import click
import pandas as pd

from . import engine
from ._version import __version__
from .batch import fit_each, table_of
from .model import CAL_PER_UNIT
from .output import curve_table, draw_all, print_fits, write_table
from .page import write_page
from .points import pick_states
from .read import ReadError, read_together

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


class Input:
    """Curves of all files, and a sentence for every file that could not be used.

    What was read of each file is said in a line on the error stream, with a line for every thing
    that was left out, converted or doubted, and kept in `read`.
    """

    def __init__(self, files, layout=None, reading=None, temperature=None, quiet=False):
        self.problems, self.read = [], []
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

    def need_curves(self):
        if not self.curves:
            sys.exit(2)

    def finish(self):
        """Status 2 where a file could not be used; that a fit failed is a result."""
        sys.exit(2 if self.problems else 0)


def _check_out(path, suffixes=(".csv", ".xlsx", ".json")):
    if path is not None and path.suffix.lower() not in suffixes:
        raise click.UsageError(f"{path}: the file name must end in {', '.join(suffixes)}.")


def _check_temperature(value):
    if value is not None and not 0.0 <= value <= 100.0:
        raise click.UsageError(f"--temperature {value:g}: the engine takes 0 to 100 °C.")


@click.group(context_settings={"help_option_names": ["-h", "--help"]})
@click.version_option(__version__, prog_name="zolt")
def main():
    """Fit chemical-denaturation curves with two, three or four states.

    \b
    zolt fit curves.csv                      table of dG, Cm and m
    zolt fit *.csv --plots figures           a picture per curve as well
    zolt series calcium.csv --form trend     dG against a label
    zolt states curves.csv                   how many states the signals show
    zolt smooth spectra.csv --width 5        moving average of emission rows

    A file holds concentrations in its first column, or in one named so, and a signal per further
    column. What was read and what was assumed is said in a line per file.
    """


@main.command(name="fit")
@FILES
@click.option("--states", type=click.Choice(["auto", "picker", "2", "3", "4"]), default="auto",
              show_default=True, help="Number of states; auto weighs the evidence, picker asks the engine.")
@TEMPERATURE
@click.option("--baselines", metavar="aN,bN,aU,bU",
              help="Given baselines: intercept and slope, native then denatured; 0,0 leaves one open.")
@click.option("--midpoint", is_flag=True, help="Midpoint fit only, for short or poor curves.")
@click.option("--drop-outliers", is_flag=True, help="Fit again without marked readings.")
@click.option("--intervals", is_flag=True, help="95 % intervals.")
@click.option("--method", type=click.Choice(["profile", "linear", "bootstrap"]), default="profile",
              show_default=True, help="How intervals are found.")
@click.option("--rounds", type=click.IntRange(20), default=1000, show_default=True,
              help="Rounds of the bootstrap.")
@click.option("--seed", type=int, default=0, show_default=True, help="Seed of the bootstrap.")
@UNITS
@LAYOUT
@reading_options
@click.option("--workers", type=click.IntRange(1), help="Threads  [default: one per processor]")
@click.option("--scheduler", metavar="ADDRESS", help="Address of a dask scheduler to work for us.")
@OUT
@click.option("--curves", "curve_file", type=click.Path(path_type=Path),
              help="Write the fitted curves (.csv): signal, fraction denatured, slope.")
@click.option("--plots", type=click.Path(path_type=Path), help="Folder for a picture per curve.")
@click.option("--format", "picture", type=click.Choice(["png", "svg", "pdf"]), default="png",
              show_default=True, help="Format of the pictures.")
@click.option("--report", type=click.Path(path_type=Path), help="Write one self-contained HTML page.")
@click.option("--quiet", is_flag=True, help="No progress bar and no table.")
def fit_command(files, states, temperature, baselines, midpoint, drop_outliers, intervals, method,
                rounds, seed, units, layout, workers, scheduler, out, curve_file, plots, picture, report,
                quiet, reading):
    """Fit every curve of the FILES and print a table.

    \b
    Examples:
      zolt fit fkbp12.csv --intervals
      zolt fit plate.csv --layout wells.csv --out results.xlsx --report report.html
      zolt fit *.csv --states 3 --plots figures --format svg
      zolt fit cd.csv --baselines=-37.2,-0.5,-10.9,0.56

    The exit status is 0 when every file could be read (a curve without a fit is a result) and 2
    when a file could not be used.
    """  # fmt: skip
    _check_temperature(temperature)
    _check_out(out)
    _check_out(curve_file, (".csv",))
    options = dict(
        temperature=DEFAULT_TEMPERATURE if temperature is None else temperature,
        states=int(states) if states.isdigit() else states,
        baselines=_baselines(baselines, midpoint),
        midpoint_only=midpoint,
        drop_outliers=drop_outliers,
    )
    source = Input(files, layout, reading, temperature, quiet)
    source.need_curves()
    started = time.perf_counter()
    sampling = dict(method=method, rounds=rounds, seed=seed) if intervals else None
    with _client(scheduler) as client:
        outcomes = fit_each(source.curves, workers=workers, client=client, progress=not quiet,
                            intervals=sampling, **options)  # fmt: skip
    elapsed = time.perf_counter() - started
    table = table_of(outcomes, source.curves, units)
    fits = [(fit, spans) for fit, spans in outcomes if not isinstance(fit, Exception)]
    if not quiet:
        print_fits(table, units)
        good = int((table["status"].isin(["fitted", "midpoint fitted"])).sum())
        click.echo(f"{good} of {len(table)} curves fitted in {elapsed:.2f} s.")
    if out:
        write_table(table, out)
    if curve_file:
        curve_table([fit for fit, _ in fits]).to_csv(curve_file, index=False)
    if plots:
        draw_all([fit for fit, _ in fits], plots, picture, units)
    if report:
        from .report import write_report

        settings = {"command": " ".join(["zolt", *sys.argv[1:]]), "files": ", ".join(map(str, files)),
                    "read": "; ".join(source.read), **reading, **options, "intervals": sampling,
                    "fitting took": f"{elapsed:.2f} s"}  # fmt: skip
        write_report(report, *map(list, zip(*fits)), units=units, settings=settings,
                     problems=source.problems)  # fmt: skip
    source.finish()


def _baselines(text, midpoint):
    if text is None:
        return None
    if midpoint:
        raise click.UsageError("--midpoint takes no --baselines.")
    try:
        values = [float(part) for part in text.split(",")]
    except ValueError:
        values = []
    if len(values) != 4:
        raise click.UsageError(f"--baselines takes four numbers aN,bN,aU,bU, not '{text}'.")
    return values


class _client:
    """A dask client for the time of the work, or none."""

    def __init__(self, address):
        self.address, self.client = address, None

    def __enter__(self):
        if self.address:
            from distributed import Client

            try:
                self.client = Client(self.address, timeout="10s")
            except (OSError, ValueError) as fault:
                raise click.UsageError(f"--scheduler {self.address}: no answer ({fault}).") from None
        return self.client

    def __exit__(self, *_):
        if self.client is not None:
            self.client.close()


@main.command()
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
    from .series import fit_series

    _check_temperature(temperature)
    _check_out(out)
    _check_out(plot, (".png", ".svg", ".pdf"))
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
    print_fits(table, units)
    click.echo("\n" + result.label_table(units).to_string(index=False, float_format="{:.3f}".format))
    click.echo(result.verdict)
    if (together := result.shared_m()) is not None:
        click.echo(together.summary(units))
    if out:
        write_table(table, out)
    if plot:
        result.plot(units=units).savefig(plot, dpi=150)
    source.finish()


@main.command()
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


@main.command()
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
    _check_out(out)
    source = Input(files)
    source.need_curves()
    parts = [
        pd.DataFrame({"curve": c.name, "x": c.x, "y": c.y, "smoothed": engine.smooth_emission(c.y, width)})
        for c in source.curves
        if c.x.size
    ]
    table = pd.concat(parts, ignore_index=True)
    if out:
        write_table(table, out)
    else:
        click.echo(table.to_csv(index=False), nl=False)
    source.finish()


@main.command()
@click.argument("path", default="zolt.html", type=click.Path(path_type=Path))
@click.option("--open/--no-open", "show", default=True, help="Open it in the browser.  [default: open]")
def page(path, show):
    """Write the page, one file that does the whole analysis in a browser, to PATH [zolt.html].

    It needs no network and sends nothing: give it to whoever has curves and a browser.
    """
    try:
        written = write_page(path).resolve()
    except OSError as fault:
        raise click.ClickException(str(fault)) from None
    click.echo(f"wrote {written}")
    if show and not webbrowser.open(written.as_uri()):
        click.echo("No browser was found; open the file in one.", err=True)
