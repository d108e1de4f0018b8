"""Sheets of the workbooks of before 2007, .xls, by the module xlrd."""

import io

from .sheet_rows import text_of
from .taken_out import TakenOut


def sheets_of_xls(raw, cells):
    """Title of every sheet, whether it is visible, and a function for its rows and what is taken out."""
    import xlrd

    book = xlrd.open_workbook(file_contents=raw, formatting_info=True, logfile=io.StringIO())

    def read(sheet):
        taken_out = TakenOut(
            (i + 1 for i, row in sheet.rowinfo_map.items() if row.hidden),
            ((i + 1, i + 1) for i, column in sheet.colinfo_map.items() if column.hidden),
        )
        rows = []
        for i in range(sheet.nrows):
            row = sheet.row(i)
            cells.add(len(row) + 1, sheet.name)
            styles = [book.xf_list[cell.xf_index] for cell in row]
            texts = [_text(book, cell, style) for cell, style in zip(row, styles)]
            struck = [j for j, style in enumerate(styles) if book.font_list[style.font_index].struck_out]
            rows.append(taken_out.left(i + 1, texts, struck))
        return rows, taken_out

    for sheet in book.sheets():
        yield sheet.name, sheet.visibility == 0, lambda sheet=sheet: read(sheet)


def _text(book, cell, style):
    import xlrd

    if cell.ctype in (xlrd.XL_CELL_EMPTY, xlrd.XL_CELL_BLANK):
        return ""
    if cell.ctype == xlrd.XL_CELL_BOOLEAN:
        return str(bool(cell.value))
    if cell.ctype == xlrd.XL_CELL_ERROR:
        return xlrd.error_text_from_code.get(cell.value, "#VALUE!")
    if cell.ctype == xlrd.XL_CELL_DATE:
        return xlrd.xldate.xldate_as_datetime(cell.value, book.datemode).isoformat()
    return text_of(cell.value, book.format_map[style.format_key].format_str)
