"""One self-contained HTML page: warnings, methods, results, plate, a picture per curve, logbook."""

import platform
from datetime import datetime
from html import escape

import numpy as np
from tqdm import tqdm

from .. import _library
from .._version import __version__
from ..caution import text_of
from ..methods import REFERENCES, methods
from ..plot import plate_cells, plate_figure, plot_fit
from ..sheets import plain
from .html import STYLE, listed, pairs, picture
from .summary import evidence, summary, warning_list

_SHOW_PROGRESS = 20  # pictures


def fit_html(fit, units="kcal"):
    """A fit as a fragment for a notebook: picture and one sentence."""
    image = picture(plot_fit(fit, units=units), fit.name, width="640px") if fit.x.size else ""
    return f"<div>{image}<p>{escape(repr(fit).strip('<>'))}<br><small>{escape(fit.reason)}</small></p></div>"


def write_report(path, fits, intervals=None, *, units="kcal", settings=None, problems=(), read=()):
    """Write the page, with the curves in the order of `fits`.

    `settings` go into the logbook, `problems` are sentences about input that could not be used,
    `read` tells what was read of each file. The page needs no other file and no network.
    """
    intervals = intervals or [None] * len(fits)
    fitted = sum(fit.ok for fit in fits)
    logbook = {
        "written": datetime.now().astimezone().isoformat(timespec="seconds"),
        "zolt": __version__,
        "engine library": _library.library().path,
        "Python, numpy": f"{platform.python_version()}, {np.__version__}",
        "system": platform.platform(),
        **{name: plain(value) for name, value in (settings or {}).items()},
    }
    spans = " Square brackets hold confidence intervals." if any(intervals) else ""
    page = f"""<!doctype html>
<html lang="en"><head><meta charset="utf-8"><title>zolt report</title><style>{STYLE}</style></head>
<body><h1>Denaturation curves</h1>
<p class="quiet">{len(fits)} curves, {fitted} fitted, in the order of the input; a curve of several
transitions has a line for each. Numbers are those of least squares, with standard errors after ±. "Marked"
counts spikes, outliers and readings left out.{spans}</p>
{_warnings(fits, intervals, problems)}
{_methods(fits, intervals)}
<h2>Results</h2>{summary(fits, intervals, units)}{_plate(fits)}
<h2>Curves</h2>{_gallery(fits, units)}
{f"<h2>What was read</h2>{listed(read)}" if read else ""}
<h2>Logbook</h2>{pairs(logbook.items())}</body></html>
"""
    with open(path, "w", encoding="utf-8") as file:
        file.write(page)


def _warnings(fits, intervals, problems):
    said = warning_list(fits, intervals)
    unread = f"<h2>Input that could not be used</h2>{listed(problems)}" if problems else ""
    found = f'<h2>Warnings</h2><dl class="warnings">{said}</dl>' if said else ""
    return (
        f'<section class="warnings">{unread}{found}</section>' if unread or found else "<p>No warnings.</p>"
    )


def _methods(fits, intervals):
    text = methods(fits, intervals)
    if not text:
        return ""
    references = "<br>".join(f"[{i}] {escape(entry)}" for i, entry in enumerate(REFERENCES, start=1))
    return (
        f'<h2>Methods</h2><p class="methods">{escape(text)}</p>'
        f'<p class="methods"><small>{references}</small></p>'
    )


def _plate(fits):
    cells = plate_cells(fits)
    return f"<h2>Plate</h2>{picture(plate_figure(cells), 'Maps of the plate')}" if cells else ""


def _gallery(fits, units):
    figures = []
    for i, fit in enumerate(
        tqdm(fits, unit="picture", disable=None if len(fits) >= _SHOW_PROGRESS else True)
    ):
        words = escape(f"{fit.reason} {text_of(fit.warnings)}".strip())
        image = picture(plot_fit(fit, units=units), fit.name) if fit.x.size else ""
        source = escape(str(fit.details.get("file", "")))
        figures.append(
            f'<figure id="curve-{i}">{image}<figcaption><b>{escape(fit.name)}</b> {source}, '
            f"{fit.x.size} readings at {fit.temperature:g} °C. {words}{evidence(fit)}</figcaption></figure>"
        )
    return f'<div class="gallery">{"".join(figures)}</div>'
