"""Temperatures of the curves of a table: its column, its row, names of columns, then the text around."""

from collections import Counter
from pathlib import Path

import numpy as np

from .columns import read_numbers
from .grid import shown
from .quantities import celsius, temperature_from, temperature_in_name, temperature_unit


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


def temperature_of(table, signal, by_row, rows):
    """°C of a curve: its column, its mark, its name, then what the file says."""
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
    for text in (signal.name, signal.group, signal.of.name, table.title):
        degrees = temperature_in_name(text)
        if degrees is not None:
            return degrees
    return table.stated.temperature


def doubt_temperature(grid, stated):
    """A note on a temperature that is mentioned and could not be taken."""
    if stated.unclear is not None:
        grid.note(
            "temperature_unclear",
            f"the temperature '{shown(stated.unclear)}' is not understood; say --temperature",
        )
    elif stated.temperature is None and stated.loose:
        grid.note(
            "temperature_unclear",
            f"the text mentions {stated.loose[0]} °C, which may be of something else; say --temperature",
        )
    elif stated.temperature is None:
        degrees = temperature_in_name(Path(grid.source).stem.replace("-", " "))
        if degrees is not None:
            grid.note(
                "temperature_unclear",
                f"the file's name says {degrees:g} °C; say --temperature {degrees:g} if that is so",
            )


def _unit_text(text):
    entry = temperature_unit(text)
    return entry["names"][0] if entry else ""
