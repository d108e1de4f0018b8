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
from .caution import text_of
from .model import CAL_PER_UNIT
from .plot import plate_figure, plot_fit

_STYLE = """
body { font: 15px/1.45 system-ui, sans-serif; color: #1d2733; max-width: 1400px; margin: 2em auto;
       padding: 0 1.2em; }
h1 { font-size: 1.6em; margin-bottom: .1em; } h2 { font-size: 1.2em; margin-top: 2em; }
p.quiet, figcaption { color: #5c6773; }
div.wide { overflow-x: auto; }
table { border-collapse: collapse; font-size: .87em; font-variant-numeric: tabular-nums; }
th { text-align: left; border-bottom: 2px solid #1b3a5c; padding: .3em .7em; white-space: nowrap; }
td { border-bottom: 1px solid #dfe3e8; padding: .25em .7em; vertical-align: top; }
td:last-child { min-width: 15em; } td.number { text-align: right; white-space: nowrap; } tr.failed td { color: #a03020; }
div.gallery { display: grid; grid-template-columns: repeat(auto-fill, minmax(520px, 1fr)); gap: 1em; }
figure { margin: 0; border: 1px solid #dfe3e8; border-radius: 6px; padding: .6em; }
details { margin-top: 1.4em; } summary { cursor: pointer; font-weight: 600; margin-bottom: .4em; }
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
    if np.isnan(low):
        return ""
    upper = f"{high:.{digits}f}]" if np.isfinite(high) else "∞)"
    return f" <small>[{low:.{digits}f}, {upper}</small>"


def _error(value, digits):
    return f" ± {value:.{digits}f}" if np.isfinite(value) else ""


def _evidence(fit):
    """The comparison of the models of a curve, folded away."""
    if fit.evidence is None or not fit.evidence.record.row[3].tried:
        return ""
    columns = ["model", "free", "residual_sd", "durbin_watson", "dAICc", "F", "p", "p_without", "outcome"]
    table = fit.evidence.table()[columns]
    numbers = {name: "{:.3g}".format for name in columns if table[name].dtype == float}
    body = table.to_html(index=False, border=0, na_rep="", formatters=numbers)
    return f"<details><summary>Evidence for the states</summary>{escape(fit.evidence.sentence)}{body}</details>"


def _summary(fits, intervals, units):
    """The table, with a line per transition within its cells, and the meaning of its codes."""
    energy = CAL_PER_UNIT[units]
    heads = ["curve", "source", "states", f"dG ({units}/mol)", "Cm (M)", f"m ({units}/mol/M)",
             "share", "R²", "marked", "code", "warnings"]  # fmt: skip
    text_columns = {0, 1, len(heads) - 1}
    rows, meanings = [], {}
    for i in quality_order(fits):
        fit, spans = fits[i], intervals[i]

        def lines(name, scale, digits):
            return "<br>".join(
                _number(value / scale, digits)
                + _error(fit.se[name][k] / scale, digits)
                + (_span(getattr(spans, name)[k], scale, digits) if spans else "")
                for k, value in enumerate(getattr(fit, name) if fit.ok else ())
            )

        remark = text_of(fit.warnings) if fit.ok else f"{fit.status}. {text_of(fit.warnings)}"
        rows.append(
            [
                f'<a href="#curve-{i}">{escape(fit.name)}</a>',
                escape(str(fit.details.get("file", ""))),
                fit.states if fit.ok else "",
                lines("dG", energy, 2),
                lines("Cm", 1.0, 3),
                lines("m", energy, 3),
                "<br>".join(f"{100 * w:.0f} %" for w in fit.weights) if fit.ok and fit.states > 2 else "",
                _number(fit.r_squared, 4),
                int(np.count_nonzero(fit.marked)) or "",
                f'<span title="{escape(fit.path.sentence)}">{fit.code}</span>',
                escape(remark[:1].upper() + remark[1:]),
            ]
        )
        meanings.setdefault((fit.code, fit.states if fit.ok else "", fit.path.status, fit.path.sentence), None)
    failed = [not fits[i].ok for i in quality_order(fits)]
    columns = [k for k in range(len(heads)) if k == 0 or any(row[k] != "" for row in rows)]
    head = "".join(f"<th>{heads[k]}</th>" for k in columns)
    body = "".join(
        f'<tr{" class=failed" if bad else ""}>'
        + "".join(f'<td{"" if k in text_columns else " class=number"}>{row[k]}</td>' for k in columns)
        + "</tr>"
        for row, bad in zip(rows, failed)
    )
    codes = "".join(
        f"<tr><td class=number>{code}</td><td class=number>{states}</td><td>{escape(status)}</td>"
        f"<td>{escape(reason)}</td></tr>"
        for code, states, status, reason in sorted(meanings, key=lambda key: (key[0], str(key[1]), key[3]))
    )
    return (
        f'<div class="wide"><table><tr>{head}</tr>{body}</table></div>'
        "<details><summary>What the engine said: its codes</summary>"
        f"<table><tr><th>code</th><th>states</th><th>status</th><th>meaning</th></tr>{codes}</table></details>"
    )


def _gallery(fits, units):
    figures = []
    for i in quality_order(fits):
        fit = fits[i]
        words = escape(f"{fit.reason} {text_of(fit.warnings)}".strip())
        image = ""
        if fit.x.size:
            image = f'<img src="{_picture(plot_fit(fit, units=units))}" alt="{escape(fit.name)}" loading="lazy">'
        source = escape(str(fit.details.get("file", "")))
        figures.append(
            f'<figure id="curve-{i}">{image}<figcaption><b>{escape(fit.name)}</b> {source}, '
            f"{fit.x.size} readings at {fit.temperature:g} °C. {words}{_evidence(fit)}</figcaption></figure>"
        )
    return f'<div class="gallery">{"".join(figures)}</div>'


def plate_cells(fits):
    """Row, column and fit of every well of a plate; empty where a curve comes from no plate."""
    cells = []
    for fit in fits:
        wells = re.findall(r"\b([A-P])(\d{1,2})\b", fit.details.get("well", ""))
        if not wells:
            return []
        cells += [(ord(row) - ord("A"), int(column) - 1, fit) for row, column in wells]
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
<p class="quiet">{len(fits)} curves, {fitted} fitted. Sorted by R²; a curve of several transitions has a
line for each. Numbers are those of least squares, with standard errors after ±. "Marked" counts spikes, outliers and readings left out.{spans}</p>
{f"<h2>Input that could not be used</h2><ul>{faults}</ul>" if faults else ""}
<h2>Summary</h2>{_summary(fits, intervals, units)}{plate}
<h2>Curves</h2>{_gallery(fits, units)}
<h2>Logbook</h2><dl>{entries}</dl></body></html>
"""
    with open(path, "w", encoding="utf-8") as file:
        file.write(page)
