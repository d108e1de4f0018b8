"""The tables of a report: results, warnings, evidence."""

from html import escape

import numpy as np

from ..model import CAL_PER_UNIT
from ..sheets import warnings_of
from .html import folded, table

_MOST_LINKS = 12  # curves that a warning names one by one


def link(i, fit):
    return f'<a href="#curve-{i}">{escape(fit.name)}</a>'


def summary(fits, intervals, units):
    """A row per curve in the order of the input, a line per transition within its cells; then the codes."""
    energy = CAL_PER_UNIT[units]
    heads = ["curve", "source", "states", f"dG ({units}/mol)", "Cm (M)", f"m ({units}/mol/M)",
             "share", "R²", "marked", "code", "warnings"]  # fmt: skip
    rows, meanings = [], {}
    for i, (fit, spans) in enumerate(zip(fits, intervals)):
        codes = ", ".join(said.code for said in warnings_of(fit, spans))
        rows.append(
            [
                link(i, fit),
                escape(str(fit.details.get("file", ""))),
                fit.states if fit.ok else "",
                _lines(fit, spans, "dG", energy, 2),
                _lines(fit, spans, "Cm", 1.0, 3),
                _lines(fit, spans, "m", energy, 3),
                "<br>".join(f"{100 * w:.0f} %" for w in fit.weights) if fit.ok and fit.states > 2 else "",
                _number(fit.r_squared, 4),
                int(np.count_nonzero(fit.marked)) or "",
                f'<span title="{escape(fit.path.sentence)}">{fit.code}</span>',
                escape(codes if fit.ok else f"{fit.status}. {codes}"),
            ]
        )
        meanings.setdefault(
            (fit.code, fit.states if fit.ok else "", fit.path.status, fit.path.sentence), None
        )
    failed = {i for i, fit in enumerate(fits) if not fit.ok}
    in_order = sorted(meanings, key=lambda row: (row[0], str(row[1]), row[3]))
    codes = [[code, states, escape(status), escape(reason)] for code, states, status, reason in in_order]
    said = folded(
        "What the engine said: its codes", table(["code", "states", "status", "meaning"], codes, {0, 1})
    )
    return table(heads, rows, set(range(2, 10)), failed) + said


def _lines(fit, spans, name, scale, digits):
    """A quantity with error and interval, a line per transition."""
    return "<br>".join(
        _number(value / scale, digits)
        + _error(fit.se[name][k] / scale, digits)
        + (_span(getattr(spans, name)[k], scale, digits) if spans else "")
        for k, value in enumerate(getattr(fit, name) if fit.ok else ())
    )


def _number(value, digits):
    return "" if value is None or not np.isfinite(value) else f"{value:.{digits}f}"


def _error(value, digits):
    return f" ± {value:.{digits}f}" if np.isfinite(value) else ""


def _span(interval, scale, digits):
    low, high = interval / scale
    if np.isnan(low):
        return ""
    lower = f"[{low:.{digits}f}" if np.isfinite(low) else "(-∞"
    upper = f"{high:.{digits}f}]" if np.isfinite(high) else "∞)"
    return f" <small>{lower}, {upper}</small>"


def warning_list(fits, intervals):
    """Every warning once: its code, its sentences with the curves they are of, what to do."""
    codes = {}
    for i, (fit, spans) in enumerate(zip(fits, intervals)):
        for said in warnings_of(fit, spans):
            sentences, _ = codes.setdefault(said.code, ({}, said.advice))
            sentences.setdefault(said.sentence, []).append(link(i, fit))
    return "".join(
        f"<dt><b>{escape(code)}</b></dt>"
        + "".join(
            f"<dd>{escape(text)} <small>{_named(links)}</small></dd>" for text, links in sentences.items()
        )
        + f"<dd><i>{escape(advice)}</i></dd>"
        for code, (sentences, advice) in codes.items()
    )


def _named(links):
    more = len(links) - _MOST_LINKS
    return ", ".join(links[:_MOST_LINKS]) + (f" and {more} more" if more > 0 else "")


def _cell(value):
    if isinstance(value, float):
        return f"{value:.3g}" if np.isfinite(value) else ""
    return str(value)


def evidence(fit):
    """The comparison of the models of a curve, folded away."""
    if fit.evidence is None or not fit.evidence.record.row[3].tried:
        return ""
    heads = ["model", "free", "residual_sd", "durbin_watson", "dAICc", "F", "p", "p_without", "outcome"]
    rows = [[escape(_cell(row[name])) for name in heads] for row in fit.evidence.rows()]
    return folded(
        "Evidence for the states", escape(fit.evidence.sentence) + table(heads, rows, set(range(1, 8)))
    )
