"""The rows of a sheet of any kind of workbook as a grid of text."""

import re
from datetime import date, datetime, time

from .grid import Grid, ReadError, shown

MOST_CELLS = 2_000_000


class Cells:
    """Counts the cells of all sheets of a workbook, and refuses more than can be meant."""

    def __init__(self, source):
        self._source, self._count = source, 0

    def add(self, count, title):
        self._count += count
        if self._count > MOST_CELLS:
            raise ReadError(
                f"{self._source}, sheet '{shown(title)}': more than {MOST_CELLS} cells; keep the table alone."
            )


def text_of(value, number_format=""):
    """The text of a cell as a person sees it, with all digits."""
    if value is None:
        return ""
    if isinstance(value, bool):
        return str(value)
    if isinstance(value, (int, float)):
        if "%" in (number_format or ""):
            return f"{round(value * 100.0, 12):.15g} %"
        return repr(int(value)) if float(value).is_integer() and abs(value) < 1e15 else repr(float(value))
    if isinstance(value, (datetime, date, time)):
        return value.isoformat()
    return str(value).strip()


def trimmed(rows):
    """The rows without blank cells at their ends and without blank rows at the end."""
    for texts in rows:
        while texts and not texts[-1]:
            texts.pop()
    while rows and not rows[-1]:
        rows.pop()
    return rows


def grid_of_rows(source, rows, title, skip_rows, taken_out):
    """The `Grid` of the texts of a sheet; rows that are None were taken out."""
    rows = [[] if i < skip_rows else row for i, row in enumerate(rows)]
    kept, names, comments = [], [], []
    for i, row in enumerate(rows):
        if row is None:
            continue
        first = next(filter(None, row), "")
        if (
            first.startswith("#")
            and re.match(r"#+\s*\w[^!]*$", first)
            and not re.match(r"#\s*(n/?a|name|nv|null)\b", first, re.I)
        ):
            comments.append((len(kept), "\t".join(filter(None, row)).lstrip("# ")))
            continue
        kept.append(row)
        names.append(f"row {i + 1}")
    notes = taken_out.notes()
    return Grid(source, kept, names, comments, sheet=shown(title), delimiter="\t", notes=notes)
