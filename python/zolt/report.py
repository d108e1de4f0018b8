"""One self-contained HTML page: summary, plate map, a picture per curve, logbook."""

import base64
import io
import platform
import re
from datetime import datetime
from html import escape

import numpy as np

from . import _library
from ._version import __version__
from .plot import plate_figure, plot_fit

_STYLE = """
body { font: 15px/1.45 system-ui, sans-serif; color: #1d2733; max-width: 1180px; margin: 2em auto;
       padding: 0 1.2em; }
h1 { font-size: 1.6em; margin-bottom: .1em; } h2 { font-size: 1.2em; margin-top: 2em; }
p.quiet, figcaption { color: #5c6773; }
div.wide { overflow-x: auto; }
table { border-collapse: collapse; font-size: .87em; font-variant-numeric: tabular-nums; }
th { text-align: left; border-bottom: 2px solid #1b3a5c; padding: .3em .7em; white-space: nowrap; }
td { border-bottom: 1px solid #dfe3e8; padding: .25em .7em; vertical-align: top; }
td.number { text-align: right; white-space: nowrap; } tr.failed td { color: #a03020; }
div.gallery { display: grid; grid-template-columns: repeat(auto-fill, minmax(520px, 1fr)); gap: 1em; }
figure { margin: 0; border: 1px solid #dfe3e8; border-radius: 6px; padding: .6em; }
figure img { width: 100%; } figcaption { font-size: .85em; }
dl { display: grid; grid-template-columns: max-content 1fr; gap: .15em 1.2em; font-size: .9em; }
dt { color: #5c6773; } dd { margin: 0; }
"""


def _picture(figure, dpi=110):
    buffer = io.BytesIO()
    figure.savefig(buffer, format="png", dpi=dpi)
    return f"data:image/png;base64,{base64.b64encode(buffer.getvalue()).decode()}"


def fit_html(fit, units="kcal"):
    """A fit as a fragment for a notebook: picture and one sentence."""
    image = f'<img src="{_picture(plot_fit(fit, units=units))}" style="max-width:640px">' if fit.x.size else ""
    return f"<div>{image}<p>{escape(repr(fit).strip('<>'))}<br><small>{escape(fit.reason)}</small></p></div>"


def quality_order(fits):
    """Positions of the fits: the best R-squared first, curves without a fit last."""
    return sorted(range(len(fits)), key=lambda i: (not fits[i].ok, -(fits[i].r_squared if fits[i].ok else 0)))


def _number(value, digits):
    return "" if value is None or not np.isfinite(value) else f"{value:.{digits}f}"


def _span(interval, scale, digits):
    low, high = interval / scale
    return "" if not np.isfinite(low) else f" <small>[{low:.{digits}f}, {high:.{digits}f}]</small>"


def _summary(fits, intervals, units):
    """The table; a curve has a line per transition within its cells."""
    from .fit import CAL_PER_UNIT

    energy = CAL_PER_UNIT[units]
    heads = ["curve", "source", "states", f"dG ({units}/mol)", "Cm (M)", f"m ({units}/mol/M)",
             "share", "R²", "marked", "code", "meaning"]  # fmt: skip
    rows = []
    for i in quality_order(fits):
        fit, spans = fits[i], intervals[i]

        def cell(name, scale, digits):
            lines = [
                _number(value / scale, digits) + (_span(getattr(spans, name)[k], scale, digits) if spans else "")
                for k, value in enumerate(getattr(fit, name))
            ]
            return "<br>".join(lines) if fit.ok else ""

        shares = "<br>".join(f"{100 * w:.0f} %" for w in fit.weights) if fit.ok and fit.states > 2 else ""
        cells = [
            f'<td><a href="#curve-{i}">{escape(fit.name)}</a></td>',
            f"<td>{escape(str(fit.details.get('file', '')))}</td>",
            f'<td class="number">{fit.states if fit.ok else ""}</td>',
            *(
                f'<td class="number">{text}</td>'
                for text in (
                    cell("dG", energy, 2), cell("Cm", 1.0, 3), cell("m", energy, 3), shares,
                    _number(fit.r_squared, 4),
                    int(np.count_nonzero(fit.marked)) or "", fit.code,
                )
            ),
            f"<td>{escape(fit.reason if fit.ok else f'{fit.status}: {fit.reason}')}</td>",
        ]  # fmt: skip
        rows.append(f'<tr{"" if fit.ok else " class=failed"}>{"".join(cells)}</tr>')
    head = "".join(f"<th>{text}</th>" for text in heads)
    return f'<div class="wide"><table><tr>{head}</tr>{"".join(rows)}</table></div>'


def _gallery(fits, units):
    figures = []
    for i in quality_order(fits):
        fit = fits[i]
        image = ""
        if fit.x.size:
            image = f'<img src="{_picture(plot_fit(fit, units=units))}" alt="{escape(fit.name)}" loading="lazy">'
        source = escape(str(fit.details.get("file", "")))
        figures.append(
            f'<figure id="curve-{i}">{image}<figcaption><b>{escape(fit.name)}</b> {source}, '
            f"{fit.x.size} readings at {fit.temperature:g} °C. {escape(fit.reason)}</figcaption></figure>"
        )
    return f'<div class="gallery">{"".join(figures)}</div>'


def plate_cells(fits):
    """Row, column and fit of curves that carry a well, as of a plate; empty if they do not."""
    cells = []
    for fit in fits:
        well = re.fullmatch(r"([A-P])(\d{1,2})", str(fit.details.get("well", "")).upper())
        if well is None:
            return []
        cells.append((ord(well[1]) - ord("A"), int(well[2]) - 1, fit))
    return cells


def write_report(path, fits, intervals=None, *, units="kcal", settings=None, problems=()):
    """Write the page. `settings` go into the logbook, `problems` are sentences about the input."""
    intervals = intervals or [None] * len(fits)
    fitted = sum(fit.ok for fit in fits)
    logbook = {
        "written": datetime.now().astimezone().isoformat(timespec="seconds"),
        "zolt": __version__,
        "engine library": _library.library().path,
        "Python, numpy": f"{platform.python_version()}, {np.__version__}",
        "system": platform.platform(),
        **(settings or {}),
    }
    entries = "".join(f"<dt>{escape(str(k))}</dt><dd>{escape(str(v))}</dd>" for k, v in logbook.items())
    cells = plate_cells(fits)
    plate = f'<h2>Plate</h2><img src="{_picture(plate_figure(cells))}" style="max-width:100%">' if cells else ""
    faults = "".join(f"<li>{escape(text)}</li>" for text in problems)
    spans = " Square brackets hold confidence intervals." if any(intervals) else ""
    page = f"""<!doctype html>
<html lang="en"><head><meta charset="utf-8"><title>zolt report</title><style>{_STYLE}</style></head>
<body><h1>Denaturation curves</h1>
<p class="quiet">{len(fits)} curves, {fitted} fitted. Sorted by R².{spans}</p>
{f"<h2>Input that could not be used</h2><ul>{faults}</ul>" if faults else ""}
<h2>Summary</h2>{_summary(fits, intervals, units)}{plate}
<h2>Curves</h2>{_gallery(fits, units)}
<h2>Logbook</h2><dl>{entries}</dl></body></html>
"""
    with open(path, "w", encoding="utf-8") as file:
        file.write(page)
