"""Temperatures of the curves of a table: its column, its row, names of columns, then the text around."""

from collections import Counter
from pathlib import Path

import numpy as np

from .columns import read_numbers
from .grid import shown
from .quantities import celsius, temperature_from, temperature_unit, temperatures_in_name

_ASSUMED = "25 °C is assumed unless --temperature says another"


def temperature_column(table, keys):
    """°C by row from a column of temperatures, or None; set values in several rows part the curves."""
    column = table.first("temperature")
    if column is None:
        return None
    entry = temperature_unit(column.name) or temperature_unit(f"T {column.unit_text}")
    values = []
    for cell, number in zip(column.cells, read_numbers(table, column)):
        own = temperature_from(cell.text) if cell.unit else None
        values.append(own if own is not None else np.nan if np.isnan(number) else celsius(number, entry))
    outside = next((i for i, value in enumerate(values) if value is None), None)
    if outside is not None:
        raise table.grid.fault(
            f"the temperature {shown(column.cells[outside].text)} is outside of 0 to 100 °C.",
            table.rows[outside],
            column.place,
        )
    values = np.array(values, float)
    levels = np.unique(np.round(values[~np.isnan(values)], 3))
    groups = Counter(tuple(c.cells[i].text for c in keys) + (values[i],) for i in range(values.size))
    if levels.size > 1 and np.ptp(levels) > 1.0:
        if min(groups.values()) < 3:
            raise table.grid.fault(
                f"the temperatures run from {levels[0]:g} to {levels[-1]:g} °C; "
                "a curve needs one temperature.",
                None,
                column.place,
            )
        keys.append(column)
        column.role = "part"
    return values


def temperature_of(table, signal, by_row, rows, keys=()):
    """°C of a curve: its column, its mark, its names, then what the file says.

    `keys` are the texts that part its rows from those of other curves.
    """
    if by_row is not None and not np.isnan(by_row[rows]).all():
        return float(np.round(np.nanmean(by_row[rows]), 6))
    marks = table.marks.get("temperature", ())
    text = marks[signal.place] if signal.place < len(marks) else ""
    if text:
        degrees = temperature_from(text, _unit_text(marks[0]))
        if degrees is None:
            raise table.grid.fault(
                f"expected a temperature of 0 to 100 °C for {signal}, found '{shown(text)}'."
            )
        return degrees
    names = (signal.name, *keys, signal.group, signal.of.name)
    return temperature_of_names(table.grid, names, table.stated, table.title)


def temperature_of_names(grid, names, stated, title=""):
    """°C that one of the names of a curve, or the title of its table, states, else what the file says.

    What stays in doubt is noted; of the title this is done with the other text.
    """
    doubtful = {}
    for name in (*names, title):
        found, unsure = temperatures_in_name(name)
        if len(found) == 1 and not unsure:
            return found.pop()
        if (found or unsure) and name != title:
            doubtful[name] = _or(found, unsure)
    if stated.temperature is None:
        for name, values in doubtful.items():
            grid.note("temperature_unclear", f"'{shown(name)}' may state {values}; {_ASSUMED}")
    return stated.temperature


def _or(found, unsure):
    return " or ".join([*(f"{degrees:g} °C" for degrees in sorted(found)), *unsure])


def doubt_temperature(grid, stated):
    """A note on a temperature that is mentioned and could not be taken."""
    if stated.unclear is not None:
        text = f"the temperature of the file, '{shown(stated.unclear)}', is not clear"
    elif len(stated.mentioned) > 1:
        text = f"the text mentions {' and '.join(stated.mentioned[:4])} and not which is that of the curves"
    elif stated.mentioned:
        text = f"the text mentions {stated.mentioned[0]}, which may be of something else"
    else:
        found, unsure = temperatures_in_name(Path(grid.source).stem.replace("-", " "))
        text = f"the file's name says {_or(found, unsure)}" if found or unsure else None
    if text is not None:
        grid.note("temperature_unclear", f"{text}; {_ASSUMED}")


def _unit_text(text):
    entry = temperature_unit(text)
    return entry["names"][0] if entry else ""
