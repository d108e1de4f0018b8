"""From files to cells: text in its many dialects and Excel workbooks."""

import csv
import re
from dataclasses import dataclass

import numpy as np
import pandas as pd

EXCEL = {".xlsx", ".xlsm", ".xls"}
BLANKS = {"", "na", "n/a", "nan", "null", "none", "-"}


class ReadError(ValueError):
    """A file that cannot be used; the text says file, place and what was expected."""


@dataclass
class Sheet:
    """Cells as text with the line number of each row."""

    source: str
    rows: list
    lines: list
    notes: dict

    def fault(self, text, row=None, column=None):
        place = [self.source]
        if row is not None:
            place.append(f"row {self.lines[row]}")
        if column is not None:
            place.append(f"column {column + 1}")
        return ReadError(f"{', '.join(place)}: {text}")

    def number(self, row, column, what):
        """The number in a cell, NaN for a blank one."""
        cells = self.rows[row]
        text = cells[column].strip() if column < len(cells) else ""
        if text.lower() in BLANKS:
            return np.nan
        value = to_number(text)
        if value is None:
            raise self.fault(f"expected {what}, found '{text[:40]}'.", row, column)
        return value


def to_number(text):
    """A number written with decimal point or comma, or None."""
    try:
        return float(text)
    except ValueError:
        pass
    try:
        return float(text.replace(",", ".")) if text.count(",") == 1 else None
    except ValueError:
        return None


def load(path, sheet=0):
    """The `Sheet` of a file."""
    if path.is_dir():
        raise ReadError(f"{path}: expected a file, found a folder.")
    if not path.is_file():
        raise ReadError(f"{path}: there is no such file.")
    if path.suffix.lower() in EXCEL:
        return _load_excel(path, sheet)
    raw = path.read_bytes()
    return _split(str(path), _decode(path, raw))


def _load_excel(path, sheet):
    if path.read_bytes()[:4] not in (b"PK\x03\x04", b"\xd0\xcf\x11\xe0"):
        raise ReadError(f"{path}: expected an Excel workbook, found other data.")
    try:
        frame = pd.read_excel(path, sheet_name=sheet, header=None, dtype=object)
    except Exception as fault:  # the readers behind pandas raise errors of many kinds
        raise ReadError(f"{path}: this Excel workbook cannot be read ({fault}).") from None
    rows = [["" if pd.isna(cell) else str(cell) for cell in row] for row in frame.to_numpy()]
    return _without_comments(str(path), rows, range(1, len(rows) + 1))


def _decode(path, raw):
    if raw.startswith((b"\xff\xfe", b"\xfe\xff")):
        return raw.decode("utf-16", errors="replace")
    if b"\0" in raw:
        raise ReadError(f"{path}: expected a text table, found binary data.")
    try:
        return raw.decode("utf-8-sig")
    except UnicodeDecodeError:
        pass
    odd = sum(byte < 9 or 13 < byte < 32 for byte in raw)
    if odd > len(raw) // 50:
        raise ReadError(f"{path}: expected a text table, found binary data.")
    return raw.decode("cp1252", errors="replace")


def _split(source, text):
    lines = text.splitlines()
    data = [line for line in lines if line.strip() and not line.lstrip().startswith("#")]
    delimiter = _delimiter(data)
    if delimiter is None:
        rows = [line.split() for line in lines]
    else:
        rows = [next(csv.reader([line], delimiter=delimiter), []) for line in lines]
    # A comment keeps its own text: it must not be cut at delimiters.
    rows = [[line] if line.lstrip().startswith("#") else row for line, row in zip(lines, rows)]
    return _without_comments(source, rows, range(1, len(lines) + 1))


def _delimiter(lines):
    """Tab, semicolon or comma; None for blanks. A comma may also be the decimal mark."""
    sample = lines[:50]
    for mark in ("\t", ";"):
        if sample and sum(mark in line for line in sample) > len(sample) // 2:
            return mark
    tokens = [line.split() for line in sample]
    in_blanks = [len(row) > 1 and all(map(_is_cell, row)) for row in tokens]
    if in_blanks and sum(in_blanks) > len(in_blanks) // 2:
        return None
    return "," if any("," in line for line in sample) else None


def _is_cell(text):
    return text.lower() in BLANKS or to_number(text) is not None


def _without_comments(source, rows, lines):
    notes, kept, numbers = {}, [], []
    for row, line in zip(rows, lines):
        first = row[0].strip() if row else ""
        if first.startswith("#"):
            parts = re.split(r"[:=]", " ".join(row).strip().lstrip("# "), maxsplit=1)
            if len(parts) == 2:
                notes[parts[0].strip().lower()] = parts[1].strip()
        elif any(cell.strip() for cell in row):
            kept.append([cell.strip() for cell in row])
            numbers.append(line)
    return Sheet(source, kept, numbers, notes)
