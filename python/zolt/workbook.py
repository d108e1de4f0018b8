"""Workbooks: a sheet per table, numbers as numbers and words as words."""

import io
import math
import numbers
from pathlib import Path

import numpy as np
import pandas as pd

_MOST_ROWS, _MOST_COLUMNS = 1_048_576, 16_384
_LONGEST_CELL = 32_767
_WIDEST, _NARROWEST = 60, 9  # letters
_SAMPLE = 50  # rows that tell how wide a column is


def write_workbook(sheets, path):
    """Write DataFrames, by the names of their sheets, into an .xlsx file.

    What is not finite is a blank cell. Text stays text, also where it begins as a formula would
    (= + - @): names come from files of others. ValueError for a table that no sheet can hold.
    """
    import xlsxwriter

    for name, table in sheets.items():
        check_sheet(f"'{name}'", *table.shape)
    whole = io.BytesIO()  # so that a full disk is met by one write, not within the library
    with xlsxwriter.Workbook(whole, {"in_memory": True}) as book:
        bold, text = book.add_format({"bold": True, "num_format": "@"}), book.add_format({"num_format": "@"})
        for name, table in sheets.items():
            _write_sheet(book.add_worksheet(name), table, bold, text)
    Path(path).write_bytes(whole.getbuffer())


def check_sheet(what, rows, columns):
    """Raise ValueError for a table that no sheet can hold; `what` names it."""
    if rows >= _MOST_ROWS or columns > _MOST_COLUMNS:
        raise ValueError(
            f"{what} has {rows} rows of {columns} columns, more than a sheet holds; write .csv."
        )


def _write_sheet(sheet, table, bold, text):
    sheet.freeze_panes(1, 0)
    for j, name in enumerate(table.columns):
        longest = max(
            [len(str(name)), *(len(str(v)) for v in table[name].head(_SAMPLE) if isinstance(v, str))]
        )
        sheet.set_column(j, j, min(max(longest + 1, _NARROWEST), _WIDEST))
        sheet.write_string(0, j, str(name), bold)
    columns = [table[name].tolist() for name in table.columns]
    for i, row in enumerate(zip(*columns), start=1):
        for j, value in enumerate(row):
            _write_cell(sheet, i, j, value, text)


def _write_cell(sheet, i, j, value, text):
    if value is None or value is pd.NA:
        return
    if isinstance(value, (bool, np.bool_)):
        sheet.write_boolean(i, j, bool(value))
    elif isinstance(value, numbers.Real):
        if math.isfinite(value):
            sheet.write_number(i, j, float(value))
    elif value != "":
        sheet.write_string(i, j, str(value)[:_LONGEST_CELL], text)
