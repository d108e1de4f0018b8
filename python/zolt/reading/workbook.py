"""Sheets of a workbook as grids of text."""

import io
import re
import zipfile
from datetime import date, datetime, time

import pandas as pd

from .grid import Grid, Note, ReadError, shown
from .numbers import cell_of

MOST_UNPACKED = 100_000_000  # bytes; a workbook of a plate reader has a hundredth of it
MOST_CELLS = 2_000_000
_HIDDEN = "it is hidden in the workbook"
_ZIP, _OLD = b"PK\x03\x04", b"\xd0\xcf\x11\xe0\xa1\xb1\x1a\xe1"


def is_workbook(raw):
    """True for what begins like a workbook, whatever the file is called."""
    return raw.startswith((_ZIP, _OLD))


def grids_of_workbook(source, raw, skip_rows=0):
    """A `Grid` for every sheet, and the names of the sheets that are hidden."""
    if raw.startswith(_OLD):
        return _through_pandas(source, raw, "xlrd", skip_rows), []
    try:
        names, holds = _contents(source, raw)
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
        formulas = openpyxl.load_workbook(io.BytesIO(raw), read_only=True) if holds["formulas"] else {}
        whole = openpyxl.load_workbook(io.BytesIO(raw)) if holds["hidden"] else {}
        grids, hidden, cells = [], [], 0
        for sheet in book.worksheets:
            if sheet.sheet_state != "visible":
                hidden.append(sheet.title)
                continue
            twin = formulas[sheet.title] if formulas else None
            marks = _Marks(holds["struck"], whole[sheet.title] if whole else None)
            rows, cells = _rows(source, sheet, twin, marks, cells)
            grid = _grid(source, rows, sheet.title, skip_rows)
            grid.notes = dict.fromkeys(marks.notes())
            grids.append(grid)
    except ReadError:
        raise
    except Exception as fault:  # the readers of workbooks raise errors of many kinds
        raise ReadError(f"{source}: this workbook is damaged ({shown(str(fault), 80)}).") from None
    return grids, hidden


def _contents(source, raw):
    """Names of a package's entries, and whether there are formulas, hidden parts and cells struck through.

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
        holds = {"struck": "xl/styles.xml" in names and b"strike" in package.read("xl/styles.xml")}
        holds["formulas"] = holds["hidden"] = False
        for name in names:
            if name.startswith("xl/worksheets/"):
                sheet = package.read(name)
                holds["formulas"] |= b"<f" in sheet
                holds["hidden"] |= b"hidden=" in sheet
        return names, holds


class _Marks:
    """What a person took out of a sheet without deleting it: hidden rows and columns, struck numbers."""

    def __init__(self, may_be_struck, sheet=None):
        dimensions = [] if sheet is None else [d for d in sheet.column_dimensions.values() if d.hidden]
        self._rows = {r for r, d in sheet.row_dimensions.items() if d.hidden} if sheet else set()
        self._spans = [(d.min - 1, d.max) for d in dimensions]  # of hidden columns
        self._struck, self._notes, self._columns = may_be_struck, [], {}

    def left(self, number, cells, texts):
        """The texts of a row that are left, None of a row that is taken out as a whole."""
        if number in self._rows:
            if any(texts):
                self._notes.append(Note("row_left_out", f"row {number} left out: {_HIDDEN}"))
            return None
        for first, end in self._spans:
            for i in range(first, min(end, len(texts))):
                if texts[i]:
                    self._columns.setdefault(i, texts[i])
                    texts[i] = ""
        struck = [
            i
            for i, cell in enumerate(cells if self._struck else ())
            if texts[i] and cell.font.strike and cell_of(texts[i]).kind == "number"
        ]
        if struck and len(struck) == sum(map(bool, texts)):
            self._notes.append(Note("struck_through", f"row {number} left out: it is struck through"))
            return None
        for i in struck:
            what = f"row {number}, column {i + 1} ('{shown(texts[i])}')"
            self._notes.append(Note("struck_through", f"{what} left out: it is struck through"))
            texts[i] = ""
        return texts

    def notes(self):
        """The `Note`s on what was left out."""
        return self._notes + [
            Note("column_left_out", f"column {i + 1} ('{shown(text)}') left out: {_HIDDEN}")
            for i, text in sorted(self._columns.items())
        ]


def _rows(source, sheet, twin, marks, cells):
    """Texts of the rows of a sheet, None of one taken out; `cells` counts those of the sheets so far.

    `twin` is the same sheet with its formulas.
    """
    sheet.reset_dimensions()
    formulas = None
    if twin is not None:
        twin.reset_dimensions()
        formulas = twin.iter_rows()
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
        texts = marks.left(len(rows) + 1, row, texts)
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
