"""What there is to hand over beside the results: readings, curves, evidence, warnings, settings."""

import numpy as np
import pandas as pd

from . import model

CURVE_POINTS = 200


def readings_table(fits):
    """A row per reading: signal, fit, residual, fraction folded, whether it was used, its mark.

    The fraction folded of a reading is its place between the baselines, 1 on the native one; it may
    leave 0 to 1 by noise. Without a fit the columns that follow from one are blank.
    """
    parts = {name: [] for name in ("fitted", "residual", "fraction_folded", "fraction_folded_fit")}
    for fit in fits:
        nan = np.full(fit.x.size, np.nan)
        fitted = fit.y - fit.residuals
        parts["fitted"].append(fitted)
        parts["residual"].append(fit.residuals)
        for name, values in (("fraction_folded", fit.y), ("fraction_folded_fit", fitted)):
            parts[name].append(1.0 - model.fraction_of(fit.x, values, fit.result) if fit.ok else nan)
    columns = _keys(fits, [fit.x.size for fit in fits])
    columns["concentration_M"] = _joined([fit.x for fit in fits])
    columns["signal"] = _joined([fit.y for fit in fits])
    if any(fit.sd is not None for fit in fits):
        columns["sd"] = _joined([np.full(fit.x.size, np.nan) if fit.sd is None else fit.sd for fit in fits])
    columns |= {name: _joined(rows) for name, rows in parts.items()}
    columns["used"] = _joined([fit.kept for fit in fits], bool)
    marks = np.select(
        [~columns["used"], *(_joined([getattr(f, m) for f in fits], bool) for m in ("spikes", "outliers"))],
        ["left out", "spike", "outlier"], "",
    )  # fmt: skip
    return pd.DataFrame(columns | {"mark": marks})


def curve_table(fits, n=CURVE_POINTS):
    """The fitted curves as a long table of n rows each."""
    fits = [fit for fit in fits if fit.ok]
    columns = _keys(fits, [n] * len(fits))
    for names, points in (
        (("concentration_M", "signal"), "curve"),
        ((None, "fraction_denatured"), "fraction_denatured"),
        (("derivative_concentration_M", "derivative_per_M"), "first_derivative"),
    ):
        for name, rows in zip(names, zip(*(getattr(fit, points)(n) for fit in fits)) if fits else ((), ())):
            if name:
                columns[name] = _joined(rows)
    return pd.DataFrame(columns)


def wide_curves(fits, fraction=False, n=CURVE_POINTS):
    """The fitted curves as plotting programs take them: a column of concentration, one per curve.

    All share n concentrations; a curve is blank where it has no readings. With `fraction` the
    fraction folded stands in place of the signal.
    """
    fits = [fit for fit in fits if fit.ok]
    if not fits:
        return pd.DataFrame(columns=["concentration_M"])
    x = np.linspace(min(fit.x[0] for fit in fits), max(fit.x[-1] for fit in fits), n)
    columns, names = [x], ["concentration_M"]
    for fit in fits:
        y = model.signal(x, fit.result)
        y = 1.0 - model.fraction_of(x, y, fit.result) if fraction else y
        columns.append(np.where((x >= fit.x[0]) & (x <= fit.x[-1]), y, np.nan))
        names.append(fit.name)
    return pd.DataFrame(np.column_stack(columns), columns=names)


def evidence_table(fits):
    """The comparison of the models of every curve, a row per curve and model."""
    parts = []
    for fit in fits:
        if fit.answer is not None and fit.evidence is not None:
            rows = fit.evidence.rows()
            parts += [{"curve": fit.name, **row, "verdict": fit.evidence.sentence if i == 0 else ""}
                      for i, row in enumerate(rows)]  # fmt: skip
    return pd.DataFrame(parts or {"curve": []})


def warnings_table(fits, intervals=None, problems=()):
    """A row per warning: curve, code, sentence and advice; then what of the input could not be used."""
    rows = [
        {"curve": fit.name, "code": said.code, "warning": said.sentence, "advice": said.advice}
        for fit, spans in zip(fits, intervals or [None] * len(fits))
        for said in warnings_of(fit, spans)
    ]
    rows += [{"curve": "", "code": "input", "warning": text, "advice": ""} for text in problems]
    return pd.DataFrame(rows, columns=["curve", "code", "warning", "advice"])


def warnings_of(fit, spans=None):
    """The warnings of a fit and of its intervals."""
    return (*fit.warnings, *(spans.warnings if spans is not None else ()))


def said_of(fits, intervals=None):
    """Pairs of the name of a fit and its warnings."""
    return [(fit.name, warnings_of(fit, spans)) for fit, spans in zip(fits, intervals or [None] * len(fits))]


def workbook_sheets(table, fits, intervals=None, settings=None, problems=()):
    """All tables of a run by the names of their sheets; `table` is that of the results."""
    makers = sheets_of_fits(fits, settings or {}, problems, intervals)
    makers["comparison of states"] = lambda: evidence_table(fits)
    order = ("readings", "curves", "fraction folded", "comparison of states", "warnings", "settings")
    return {"results": table, **{name: makers[name]() for name in order}}


def sheets_of_fits(fits, settings, problems=(), intervals=None):
    """Functions that make the tables of fits, by the names of their sheets."""
    return {
        "readings": lambda: readings_table(fits),
        "curves": lambda: wide_curves(fits),
        "fraction folded": lambda: wide_curves(fits, fraction=True),
        "warnings": lambda: warnings_table(fits, intervals, problems),
        "settings": lambda: settings_table(settings),
    }


def facts_table(facts):
    """A row per thing that is known of all curves together."""
    return pd.DataFrame(list(facts.items()), columns=["what", "value"])


def settings_table(settings):
    """A row per setting, in plain words and numbers."""
    return pd.DataFrame(
        [(str(name), plain(value)) for name, value in settings.items()], columns=["setting", "value"]
    )


def plain(value):
    """A value of a setting as a person reads it."""
    if value is None or value == ():
        return ""
    if isinstance(value, dict):
        return ", ".join(f"{name} {plain(entry)}" for name, entry in value.items())
    if isinstance(value, (list, tuple)):
        return ", ".join(map(plain, value))
    if isinstance(value, bool):
        return "yes" if value else "no"
    return value if isinstance(value, (int, float)) else str(value)


def _keys(fits, counts):
    """The columns that tell whose rows these are."""
    keys = {}
    if any(fit.details.get("file") for fit in fits):
        keys["file"] = np.repeat([str(fit.details.get("file") or "") for fit in fits], counts)
    keys["curve"] = np.repeat([fit.name for fit in fits], counts) if fits else np.empty(0, object)
    return {name: column.astype(object) for name, column in keys.items()}


def _joined(rows, kind=float):
    rows = list(rows)
    return np.concatenate(rows) if rows else np.empty(0, kind)
