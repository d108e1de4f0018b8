"""Sheets of a workbook as grids of text."""

import io
import re
import zipfile
from datetime import date, datetime, time

import pandas as pd

from .grid import Grid, ReadError, shown

MOST_UNPACKED = 100_000_000  # bytes; a workbook of a plate reader has a hundredth of it
MOST_CELLS = 2_000_000
_ZIP, _OLD = b"PK\x03\x04", b"\xd0\xcf\x11\xe0\xa1\xb1\x1a\xe1"


def is_workbook(raw):
    """True for what begins like a workbook, whatever the file is called."""
    return raw.startswith((_ZIP, _OLD))


def grids_of_workbook(source, raw, skip_rows=0):
    """A `Grid` for every sheet, and the names of the sheets that are hidden."""
    if raw.startswith(_OLD):
        return _through_pandas(source, raw, "xlrd", skip_rows), []
    try:
        names, formulas = _contents(source, raw)
    except ReadError:
        raise
    except Exception as fault:  # damaged packages raise errors of zipfile, zlib and more
        raise ReadError(f"{source}: this workbook is damaged ({shown(str(fault), 80)}).") from None
    if "xl/workbook.xml" not in names:
        if "content.xml" in names:
            return _through_pandas(source, raw, "odf", skip_rows), []
        raise ReadError(
            f"{source}: expected a table, found a compressed file that is no workbook; unpack it first."
        )
    import openpyxl  # a tenth of the time that the command takes to start

    try:
        book = openpyxl.load_workbook(io.BytesIO(raw), read_only=True, data_only=True)
        plain = openpyxl.load_workbook(io.BytesIO(raw), read_only=True) if formulas else None
        grids, hidden, cells = [], [], 0
        for sheet in book.worksheets:
            if sheet.sheet_state != "visible":
                hidden.append(sheet.title)
                continue
            rows, cells = _rows(source, sheet, plain, cells)
            grids.append(_grid(source, rows, sheet.title, skip_rows))
    except ReadError:
        raise
    except Exception as fault:  # the readers of workbooks raise errors of many kinds
        raise ReadError(f"{source}: this workbook is damaged ({shown(str(fault), 80)}).") from None
    return grids, hidden


def _contents(source, raw):
    """Names of a package's entries, and whether its sheets hold formulas.

    What would fill the memory once it is unpacked is refused.
    """
    with zipfile.ZipFile(io.BytesIO(raw)) as package:
        size = sum(entry.file_size for entry in package.infolist())
        if size > MOST_UNPACKED:
            raise ReadError(
                f"{source}: this workbook unpacks to {size / 1e6:.0f} MB; "
                f"at most {MOST_UNPACKED / 1e6:.0f} MB are read."
            )
        names = package.namelist()
        sheets = [name for name in names if name.startswith("xl/worksheets/")]
        return names, any(b"<f" in package.read(name) for name in sheets)


def _rows(source, sheet, plain, cells):
    """Texts of a sheet; `cells` counts those of the sheets so far."""
    sheet.reset_dimensions()
    formulas = None
    if plain is not None:
        plain[sheet.title].reset_dimensions()
        formulas = plain[sheet.title].iter_rows()
    rows = []
    for row in sheet.iter_rows():
        cells += len(row) + 1
        if cells > MOST_CELLS:
            raise ReadError(
                f"{source}, sheet '{shown(sheet.title)}': more than {MOST_CELLS} cells; keep the table alone."
            )
        texts = [_text(cell.value, cell.number_format if cell.value is not None else "") for cell in row]
        if formulas is not None:
            for i, cell in enumerate(next(formulas, ())):
                if cell.value is not None and texts[i] == "" and str(cell.value).startswith("="):
                    texts[i] = "formula without a value"
        while texts and not texts[-1]:
            texts.pop()
        rows.append(texts)
    while rows and not rows[-1]:
        rows.pop()
    return rows, cells


def _text(value, number_format):
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


def _grid(source, rows, title, skip_rows):
    rows = [[] if i < skip_rows else row for i, row in enumerate(rows)]
    kept, names, comments = [], [], []
    for i, row in enumerate(rows):
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
    return Grid(source, kept, names, comments, sheet=shown(title), delimiter="\t")


def _through_pandas(source, raw, engine, skip_rows):
    """Sheets of older and of open formats, where the module that reads them is installed."""
    try:
        frames = pd.read_excel(io.BytesIO(raw), sheet_name=None, header=None, dtype=object, engine=engine)
    except ImportError:
        raise ReadError(
            f"{source}: this kind of workbook needs the Python package {engine}; or save it as .xlsx."
        ) from None
    except Exception as fault:  # the readers behind pandas raise errors of many kinds
        raise ReadError(
            f"{source}: this workbook cannot be read ({shown(str(fault), 120)}); save it as .xlsx."
        ) from None
    grids = []
    for title, frame in frames.items():
        rows = [["" if pd.isna(v) else _text(v, "") for v in row] for row in frame.to_numpy()]
        grids.append(_grid(source, rows, str(title), skip_rows))
    return grids
