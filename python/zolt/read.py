"""Curves from files: wide and long tables, text and Excel, plates with a layout.

A wide table has concentrations in its first column and a signal per further column. A long table
has named columns for concentration, signal and at least one of curve, label, replicate. Rows may
stand between the header and the numbers of a wide table to give `label`, `replicate` or
`temperature` of each column. Lines that begin with # are comments; `#Temperature: 25` is read.
"""

import re
from dataclasses import dataclass, field
from pathlib import Path

import numpy as np

from .sheet import BLANKS, ReadError, load, to_number

__all__ = ["Curve", "ReadError", "read_curves"]

NAMES = {
    "x": {"x", "concentration", "conc", "denaturant", "denaturant_m", "concentration_m", "urea",
          "urea_m", "gdmcl", "gdmcl_m", "guhcl", "guhcl_m", "gdnhcl", "gdnhcl_m", "d"},
    "y": {"y", "signal", "fluorescence", "value", "reading", "intensity"},
    "curve": {"curve", "sample", "name", "protein", "id"},
    "label": {"label", "condition"},
    "replicate": {"replicate", "rep", "run"},
    "temperature": {"temperature", "temperature_c", "temp"},
    "well": {"well", "position"},
}  # fmt: skip
_WELL_ROWS = "ABCDEFGHIJKLMNOP"


@dataclass(frozen=True, eq=False)
class Curve:
    """Readings of one curve: `x` in M, ascending, and the signal `y`. `details` say whence."""

    name: str
    x: np.ndarray
    y: np.ndarray
    temperature: float = None  # °C, None where the source does not say
    label: object = None
    replicate: object = None
    details: dict = field(default_factory=dict)

    def __iter__(self):
        return iter((self.x, self.y))


def read_curves(path, layout=None, sheet=0):
    """All curves of a file as a list of `Curve`.

    `layout` is the path of a table with the columns well, sample, concentration and, if wanted,
    label, replicate and temperature; the file is then a plate matrix (rows A, B, ..., columns 1,
    2, ...) or a table of well and signal. `sheet` picks the sheet of an Excel file. Unusable files
    raise `ReadError` with file, row, column and what was expected.
    """
    table = load(Path(path), sheet)
    if layout is not None:
        return _plate_curves(table, load(Path(layout)))
    if not table.rows:
        raise table.fault("the file holds no data; expected a concentration and a signal column.")
    columns = _named_columns(table.rows[0])
    if {"x", "y"} <= columns.keys() and columns.keys() & {"curve", "label", "replicate", "well"}:
        return _long_curves(table, columns)
    return _wide_curves(table)


def _temperature(notes):
    """The temperature of a comment in °C; a value in kelvin is converted."""
    match = re.match(r"(-?\d+(?:[.,]\d+)?)\s*°?\s*([CK]?)", notes.get("temperature", ""), re.I)
    if not match:
        return None
    value = to_number(match[1])
    return value - 273.15 if match[2].upper() == "K" else value


def _key(text):
    return re.sub(r"[\s_\-\[\]()/]+", "_", text.strip().lower()).strip("_")


def _named_columns(header):
    """Roles of the columns whose names are known: {role: position}."""
    roles = {}
    for position, cell in enumerate(header):
        for role, names in NAMES.items():
            if _key(cell) in names:
                roles.setdefault(role, position)
    return roles


def _curve(table, name, x, y, rows, temperature=None, **labels):
    """A curve of numbers as they were read: blank readings dropped, rows in order of x."""
    x, y = np.asarray(x, float), np.asarray(y, float)
    given = ~np.isnan(y)
    if np.isnan(x[given]).any():
        row = rows[int(np.flatnonzero(given & np.isnan(x))[0])]
        raise table.fault("a reading without a concentration.", row)
    x, y = x[given], y[given]
    order = np.argsort(x, kind="stable")
    if temperature is None or np.isnan(temperature):
        temperature = _temperature(table.notes)
    details = {"file": Path(table.source).name}
    return Curve(name, x[order], y[order], temperature, details=details, **labels)


def _wide_curves(table):
    width = max(len(row) for row in table.rows)
    if width < 2:
        raise table.fault(
            "found one column; expected a concentration column and at least one signal column, "
            "parted by commas, semicolons, tabs or blanks."
        )
    header = to_number(table.rows[0][0]) is None and not _key(table.rows[0][0]) in NAMES["label"]
    names = table.rows[0] if header else []
    first = 1 if header else 0
    marks = {}
    while first < len(table.rows) and (role := _mark_role(table.rows[first][0])):
        marks[role] = table.rows[first]
        first += 1
    body = range(first, len(table.rows))
    if not len(body):
        raise table.fault("the file has a header but no readings below it.")
    x = [table.number(row, 0, "a concentration in M") for row in body]
    curves = []
    for column in range(1, width):
        name = names[column] if column < len(names) and names[column] else f"curve {column}"
        y = [table.number(row, column, f"a reading of '{name}'") for row in body]
        mark = {
            role: _plain(row[column]) for role, row in marks.items() if column < len(row)
        }
        curves.append(_curve(table, name, x, y, body, **mark))
    return curves


def _mark_role(cell):
    return next((r for r in ("label", "replicate", "temperature") if _key(cell) in NAMES[r]), None)


def _plain(text):
    """A number where the text is one, else the text; None for a blank."""
    if text.lower() in BLANKS:
        return None
    value = to_number(text)
    return text if value is None else value


def _long_curves(table, columns):
    groups = {}
    keys = [role for role in ("curve", "label", "replicate", "well") if role in columns]
    for row in range(1, len(table.rows)):
        cells = table.rows[row]
        cell = lambda role: cells[columns[role]] if columns[role] < len(cells) else ""  # noqa: E731
        groups.setdefault(tuple(cell(role) for role in keys), []).append(row)
    if not groups:
        raise table.fault("the file has a header but no readings below it.")
    return [_long_curve(table, columns, dict(zip(keys, key)), rows) for key, rows in groups.items()]


def _long_curve(table, columns, key, rows):
    x = [table.number(row, columns["x"], "a concentration in M") for row in rows]
    y = [table.number(row, columns["y"], "a reading") for row in rows]
    temperature = None
    if "temperature" in columns:
        temperature = table.number(rows[0], columns["temperature"], "a temperature in °C")
    name = key.get("curve") or key.get("well") or ""
    if not name or "label" in key or "replicate" in key:
        extra = [f"{role} {key[role]}" for role in ("label", "replicate") if key.get(role)]
        name = " ".join(filter(None, [name, *extra]))
    labels = {role: _plain(key[role]) for role in ("label", "replicate") if role in key}
    return _curve(table, name, x, y, rows, temperature, **labels)


# Plates.


def _well(text):
    match = re.fullmatch(r"([A-P])0*(\d{1,2})", text.strip().upper())
    return match and f"{match[1]}{int(match[2])}"


def _plate_readings(table):
    """Signal by well, of a matrix with rows A, B, ... or of a table of well and signal."""
    columns = _named_columns(table.rows[0]) if table.rows else {}
    if {"well", "y"} <= columns.keys():
        return {
            _well(row[columns["well"]]): table.number(i, columns["y"], "a reading")
            for i, row in enumerate(table.rows)
            if i and columns["well"] < len(row)
        }
    corner = next(
        (i for i, row in enumerate(table.rows) if [to_number(c) for c in row[1:3]] == [1, 2]
         and to_number(row[0]) is None), None,
    )  # fmt: skip
    if corner is None:
        raise table.fault("expected a plate matrix with columns 1, 2, ... and rows A, B, ...")
    readings = {}
    for i in range(corner + 1, len(table.rows)):
        row = table.rows[i]
        if row[0].upper() not in _WELL_ROWS or len(row[0]) != 1:
            raise table.fault(f"expected a plate row A to P, found '{row[0][:40]}'.", i, 0)
        for column in range(1, len(table.rows[corner])):
            number = table.rows[corner][column]
            if number:
                well = f"{row[0].upper()}{int(to_number(number))}"
                readings[well] = table.number(i, column, f"the reading of well {well}")
    return readings


def _plate_curves(table, layout):
    columns = _named_columns(layout.rows[0]) if layout.rows else {}
    lacking = [role for role in ("well", "curve", "x") if role not in columns]
    if lacking:
        names = {"curve": "sample", "x": "concentration"}
        raise layout.fault(
            "a layout needs the columns well, sample and concentration; missing: "
            f"{', '.join(names.get(role, role) for role in lacking)}."
        )
    readings = _plate_readings(table)
    text = {role: columns.get(role) for role in ("curve", "label", "replicate")}
    groups = {}
    for i in range(1, len(layout.rows)):
        row = layout.rows[i]
        well = _well(row[columns["well"]])
        if well not in readings:
            raise layout.fault(f"{table.source} has no well '{row[columns['well']]}'.", i, columns["well"])
        key = tuple(row[c] if c is not None and c < len(row) else "" for c in text.values())
        groups.setdefault(key, []).append((i, well))
    curves = []
    for key, members in groups.items():
        if not key[0]:
            continue  # wells without a sample are empty
        rows = [i for i, _ in members]
        x = [layout.number(i, columns["x"], "a concentration in M") for i in rows]
        y = [readings[well] for _, well in members]
        temperature = _temperature(table.notes)
        if "temperature" in columns:
            temperature = layout.number(rows[0], columns["temperature"], "a temperature in °C")
        parts = [key[0], *(f"{role} {k}" for role, k in zip(("label", "replicate"), key[1:]) if k)]
        labels = {role: _plain(k) for role, k in zip(("label", "replicate"), key[1:])}
        curve = _curve(layout, " ".join(parts), x, y, rows, temperature, **labels)
        curve.details.update(file=Path(table.source).name, well=" ".join(well for _, well in members))
        curves.append(curve)
    return curves
