"""What `zolt fit` writes: table or workbook, readings, curves, pictures, report."""

from dataclasses import dataclass

import click
from tqdm import tqdm

from ..replicates import replicate_means
from ..session import save
from ..settings import Settings
from ..sheets import CURVE_POINTS, curve_table, readings_table, wide_curves, workbook_sheets
from ..workbook import check_sheet, write_workbook
from ..writing import file_names, write_table

DRAWN = ("fit", "energy", "profile")
_SHOW_PROGRESS = 20  # pictures
_MOST_NAMED = 6  # curves
_NEEDS = {"energy": "a fit", "profile": "a fit by least squares with an m of its own"}


@dataclass
class Run:
    """What a command has done, for those who hand it over: pairs of fit and intervals, and the words."""

    outcomes: list
    table: object
    settings: Settings
    units: str
    logbook: dict
    read: list
    problems: list

    @property
    def fits(self):
        return [fit for fit, _ in self.outcomes if not isinstance(fit, Exception)]

    @property
    def intervals(self):
        return [spans for fit, spans in self.outcomes if not isinstance(fit, Exception)]


def check_sheets(curves, out, reading_file, curve_file, wide):
    """An error of usage, before the work, where a workbook is asked for that no program could hold."""
    readings, count = sum(curve.x.size for curve in curves), len(curves)
    long_or_wide = (CURVE_POINTS, count + 1) if wide else (CURVE_POINTS * count, 1)
    for what, path, sizes in (
        ("--out", out, (readings, count + 1)), ("--readings", reading_file, (readings, 1)),
        ("--curves", curve_file, long_or_wide),
    ):  # fmt: skip
        if path is not None and path.suffix.lower() == ".xlsx":
            try:
                check_sheet(f"{what} {path}", *sizes)
            except ValueError as fault:
                raise click.UsageError(str(fault)) from None


def write_all(delivery, run, *, wide, kinds, picture, overlay_of, look):
    """Write every file that was asked for; a fault in one leaves the others be."""
    fits = run.fits
    delivery.write("--out", lambda path: write_results(run, path))
    delivery.write("--readings", lambda path: write_table(readings_table(fits), path))
    delivery.write(
        "--curves", lambda path: write_table(wide_curves(fits) if wide else curve_table(fits), path)
    )
    delivery.write("--plots", lambda path: draw_all(fits, path, kinds, picture, run.units, look))
    delivery.write("--overlay", lambda path: _draw_overlay(fits, path, overlay_of, run.units, look))
    write_page(delivery, run)


def write_page(delivery, run):
    """The report, if it was asked for."""
    if not delivery.asked("--report"):
        return
    from ..report import write_report

    known = dict(units=run.units, settings=run.logbook, problems=run.problems, read=run.read)
    delivery.write("--report", lambda path: write_report(path, run.fits, run.intervals, **known))


def write_results(run, path):
    """The results as a table, as a workbook with all that belongs to them, or as a session to run again."""
    if path.suffix.lower() == ".xlsx":
        told = {**run.logbook, "read": "; ".join(run.read)}
        sheets = workbook_sheets(run.table, run.fits, run.intervals, told, run.problems)
        if len(alike := replicate_means(run.fits, run.units)):
            sheets["replicates"] = alike
        write_workbook(sheets, path)
    elif path.suffix.lower() == ".json":
        save(path, run.fits, run.settings, run.units)
    else:
        write_table(run.table, path)


def draw_all(fits, folder, kinds, picture, units, look):
    """Pictures of every fit, named after its file and curve; a kind that a fit cannot have is told."""
    from ..plot import plot_fit, plot_free_energy, plot_profile, save_fit

    draws = dict(zip(DRAWN, (plot_fit, plot_free_energy, plot_profile)))
    for kind in kinds:
        names = file_names(fits, "" if kind == "fit" else f"_{kind}")
        progress = tqdm(
            list(zip(fits, names)), unit="picture", disable=None if len(fits) >= _SHOW_PROGRESS else True
        )
        lacking = []
        for fit, name in progress:
            if _can_be_drawn(fit, kind):
                save_fit(fit, folder / f"{name}.{picture}", draws[kind], units=units, **look)
            else:
                lacking.append(fit.name)
        if lacking:
            names = ", ".join(lacking[:_MOST_NAMED]) + (", ..." if len(lacking) > _MOST_NAMED else "")
            click.echo(f"--draw {kind}: no picture of {names}, for want of {_NEEDS[kind]}.", err=True)


def _can_be_drawn(fit, kind):
    if kind == "profile":
        return fit.ok and fit.answer is not None and fit.together is None
    return kind == "fit" or fit.ok


def _draw_overlay(fits, path, quantity, units, look):
    from ..plot import plot_overlay, save_figure

    save_figure(plot_overlay(fits, quantity=quantity, units=units, **look), path, look.get("width"))
