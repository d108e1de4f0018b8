"""Sheets of a workbook as grids of text: .xlsx, and by their own modules .ods and .xls."""

import io
import zipfile

from .grid import ReadError, shown
from .sheet_rows import Cells, grid_of_rows, text_of, trimmed
from .taken_out import TakenOut

MOST_UNPACKED = 100_000_000  # bytes; a workbook of a plate reader has a hundredth of it
_ZIP, _OLD = b"PK\x03\x04", b"\xd0\xcf\x11\xe0\xa1\xb1\x1a\xe1"
_ENCRYPTED = "EncryptedPackage".encode("utf-16-le")  # the name of a stream within the old container


def is_workbook(raw):
    """True for what begins like a workbook, whatever the file is called."""
    return raw.startswith((_ZIP, _OLD))


def grids_of_workbook(source, raw, skip_rows=0):
    """A `Grid` for every sheet, and the names of the sheets that are hidden."""
    try:
        if raw.startswith(_OLD) and _ENCRYPTED in raw:
            raise ReadError(f"{source}: this workbook is protected by a password; save it without one.")
        if raw.startswith(_OLD):
            from .workbook_xls import sheets_of_xls as sheets_of
        else:
            sheets_of = _kind_of_package(source, raw)
        grids, hidden = [], []
        for title, visible, read in sheets_of(raw, Cells(source)):
            if visible:
                rows, taken_out = read()
                grids.append(grid_of_rows(source, trimmed(rows), title, skip_rows, taken_out))
            else:
                hidden.append(title)
    except ReadError:
        raise
    except ImportError:
        raise ReadError(
            f"{source}: this kind of workbook needs the Python package xlrd; or save it as .xlsx."
        ) from None
    except Exception as fault:  # the readers of workbooks and packages raise errors of many kinds
        raise ReadError(f"{source}: this workbook is damaged ({shown(str(fault), 80)}).") from None
    return grids, hidden


def _kind_of_package(source, raw):
    """The function that reads the sheets of a package; one that would fill the memory is refused."""
    with zipfile.ZipFile(io.BytesIO(raw)) as package:
        size = sum(entry.file_size for entry in package.infolist())
        names = package.namelist()
    if size > MOST_UNPACKED:
        raise ReadError(
            f"{source}: this workbook unpacks to {size / 1e6:.0f} MB; "
            f"at most {MOST_UNPACKED / 1e6:.0f} MB are read."
        )
    if "xl/workbook.xml" in names:
        return _sheets_of_xlsx
    if "content.xml" in names:
        from .workbook_ods import sheets_of_ods

        return sheets_of_ods
    raise ReadError(
        f"{source}: expected a table, found a compressed file that is no workbook; unpack it first."
    )


def _sheets_of_xlsx(raw, cells):
    """Title of every sheet, whether it is visible, and a function for its rows and what is taken out."""
    import openpyxl  # a tenth of the time that the command takes to start

    holds = _contents(raw)
    book = openpyxl.load_workbook(io.BytesIO(raw), read_only=True, data_only=True)
    formulas = openpyxl.load_workbook(io.BytesIO(raw), read_only=True) if holds["formulas"] else {}
    whole = openpyxl.load_workbook(io.BytesIO(raw)) if holds["hidden"] else {}

    def read(sheet):
        taken_out = _hidden_in(whole[sheet.title]) if whole else TakenOut()
        twin = formulas[sheet.title] if formulas else None
        return _rows(sheet, twin, holds["struck"], taken_out, cells), taken_out

    for sheet in book.worksheets:
        yield sheet.title, sheet.sheet_state == "visible", lambda sheet=sheet: read(sheet)


def _contents(raw):
    """Whether there are formulas, hidden parts and cells struck through."""
    holds = dict.fromkeys(("formulas", "hidden", "struck"), False)
    with zipfile.ZipFile(io.BytesIO(raw)) as package:
        for name in package.namelist():
            if name == "xl/styles.xml":
                holds["struck"] = b"strike" in package.read(name)
            elif name.startswith("xl/worksheets/"):
                sheet = package.read(name)
                holds["formulas"] |= b"<f" in sheet
                holds["hidden"] |= b"hidden=" in sheet
    return holds


def _hidden_in(sheet):
    return TakenOut(
        (number for number, row in sheet.row_dimensions.items() if row.hidden),
        ((column.min, column.max) for column in sheet.column_dimensions.values() if column.hidden),
    )


def _rows(sheet, twin, may_be_struck, taken_out, cells):
    """Texts of the rows of a sheet, None of one taken out; `twin` is the same sheet with its formulas."""
    sheet.reset_dimensions()
    formulas = None
    if twin is not None:
        twin.reset_dimensions()
        formulas = twin.iter_rows()
    rows = []
    for row in sheet.iter_rows():
        cells.add(len(row) + 1, sheet.title)
        texts = [text_of(cell.value, cell.number_format if cell.value is not None else "") for cell in row]
        if formulas is not None:
            for i, cell in enumerate(next(formulas, ())):
                if cell.value is not None and texts[i] == "" and str(cell.value).startswith("="):
                    texts[i] = "formula without a value"
        struck = [i for i, cell in enumerate(row) if texts[i] and cell.font.strike] if may_be_struck else ()
        rows.append(taken_out.left(len(rows) + 1, texts, struck))
    return rows
