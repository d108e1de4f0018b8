"""What a person took out of a sheet without deleting it: hidden rows and columns, struck numbers."""

from .grid import Note, shown
from .numbers import cell_of

_HIDDEN = "it is hidden in the workbook"


class TakenOut:
    """Takes hidden rows and columns and numbers struck through out of the rows of a sheet, with notes.

    `rows` holds the numbers of hidden rows, from 1, `spans` pairs of first and last hidden column, from 1.
    """

    def __init__(self, rows=(), spans=()):
        self._rows, self._spans, self._notes, self._columns = set(rows), list(spans), [], {}

    def left(self, number, texts, struck=()):
        """The texts of a row that are left, None of a row that is taken out as a whole.

        `struck` are the places of cells that are struck through.
        """
        if number in self._rows:
            if any(texts):
                self._note("row_left_out", f"row {number}", _HIDDEN)
            return None
        for first, last in self._spans:
            for i in range(first - 1, min(last, len(texts))):
                if texts[i]:
                    self._columns.setdefault(i, texts[i])
                    texts[i] = ""
        struck = [i for i in struck if texts[i] and cell_of(texts[i]).kind == "number"]
        if struck and len(struck) == sum(map(bool, texts)):
            self._note("struck_through", f"row {number}", "it is struck through")
            return None
        for i in struck:
            what = f"row {number}, column {i + 1} ('{shown(texts[i])}')"
            self._note("struck_through", what, "it is struck through")
            texts[i] = ""
        return texts

    def notes(self):
        """The `Note`s on what was left out."""
        for i, text in sorted(self._columns.items()):
            self._note("column_left_out", f"column {i + 1} ('{shown(text)}')", _HIDDEN)
        return dict.fromkeys(self._notes)

    def _note(self, code, what, why):
        self._notes.append(Note(code, f"{what} left out: {why}"))
