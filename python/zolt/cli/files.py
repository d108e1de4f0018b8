"""What `zolt fit` writes: table or workbook, readings, curves, pictures, report."""

from tqdm import tqdm

from ..sheets import curve_table, readings_table, wide_curves, workbook_sheets
from ..writing import file_names, write_table
from ..workbook import write_workbook

DRAWN = ("fit", "energy", "profile")
_SHOW_PROGRESS = 20  # pictures


def write_all(delivery, outcomes, table, source, settings, *, units, wide, kinds, picture, overlay_of, look):
    """Write every file that was asked for; a fault in one leaves the others be."""
    pairs = [(fit, spans) for fit, spans in outcomes if not isinstance(fit, Exception)]
    fits, intervals = [fit for fit, _ in pairs], [spans for _, spans in pairs]

    def write_results(path):
        if path.suffix.lower() == ".xlsx":
            told = {"read": "; ".join(source.read), **settings}
            write_workbook(workbook_sheets(table, fits, intervals, told, source.problems), path)
        else:
            write_table(table, path)

    delivery.write("--out", write_results)
    delivery.write("--readings", lambda path: write_table(readings_table(fits), path))
    delivery.write("--curves", lambda path: write_table(wide_curves(fits) if wide else curve_table(fits), path))
    delivery.write("--plots", lambda path: draw_all(fits, path, kinds, picture, units, look))
    delivery.write("--overlay", lambda path: _draw_overlay(fits, path, overlay_of, units, look))
    if delivery.asked("--report"):
        from ..report import write_report

        delivery.write("--report", lambda path: write_report(
            path, fits, intervals, units=units, settings=settings, problems=source.problems, read=source.read))  # fmt: skip


def draw_all(fits, folder, kinds, picture, units, look):
    """Pictures of every fit, named after its file and curve. A kind that a curve cannot have is passed over."""
    from ..plot import plot_fit, plot_free_energy, plot_profile, save_fit

    draws = dict(zip(DRAWN, (plot_fit, plot_free_energy, plot_profile)))
    for kind in kinds:
        names = file_names(fits, "" if kind == "fit" else f"_{kind}")
        progress = tqdm(list(zip(fits, names)), unit="picture", disable=None if len(fits) >= _SHOW_PROGRESS else True)
        for fit, name in progress:
            if kind == "fit" or (fit.ok and (kind == "energy" or fit.answer is not None)):
                save_fit(fit, folder / f"{name}.{picture}", draws[kind], units=units, **look)


def _draw_overlay(fits, path, quantity, units, look):
    from ..plot import plot_overlay, save_figure

    save_figure(plot_overlay(fits, quantity=quantity, units=units, **look), path, look.get("width"))
