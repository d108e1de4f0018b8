"""Cells of a table as text, with the places they came from, and the sentences about them."""

from dataclasses import dataclass, field


class ReadError(ValueError):
    """A file that cannot be used; the text says file, place and what was expected."""


@dataclass(frozen=True)
class Note:
    """What a reader did with a file beside reading it: a short stable code and a sentence.

    `curve` is the name of the curve it concerns, None where it concerns the file.
    """

    code: str
    text: str
    curve: str = None

    def __str__(self):
        return self.text


@dataclass
class Grid:
    """Rows of cells. `row_names` and `column_names` say where each was found in its source."""

    source: str
    rows: list
    row_names: list
    comments: list = field(default_factory=list)  # pairs of the number of the next row and a text
    column_names: list = None
    sheet: str = None
    delimiter: str = None
    notes: dict = field(default_factory=dict)  # its keys are the notes, in order, each once
    widths: list = None  # of the rows with their blank ends, where the source tells

    def __post_init__(self):
        if self.column_names is None:
            width = max(map(len, self.rows), default=0)
            self.column_names = [f"column {i + 1}" for i in range(width)]

    @property
    def width(self):
        return len(self.column_names)

    def fault(self, text, row=None, column=None):
        """A `ReadError` about a place of the grid."""
        place = [self.source] + ([f"sheet '{self.sheet}'"] if self.sheet else [])
        if row is not None:
            place.append(self.row_names[row])
        if column is not None:
            place.append(self.column_names[column])
        return ReadError(f"{', '.join(place)}: {text}")

    def cell(self, row, column):
        cells = self.rows[row]
        return cells[column] if column < len(cells) else ""

    def note(self, code, text, curve=None):
        self.notes[Note(code, text, curve)] = None

    def transposed(self, rows):
        """The chosen rows as columns."""
        columns = [
            list(column) for column in zip(*([self.cell(r, c) for c in range(self.width)] for r in rows))
        ]
        keep = [i for i, column in enumerate(columns) if any(column)]
        return Grid(
            self.source,
            [columns[i] for i in keep],
            [self.column_names[i] for i in keep],
            self.comments,
            [self.row_names[r] for r in rows],
            self.sheet,
            self.delimiter,
            self.notes,
        )


def shown(text, most=40):
    """A text of a file for a sentence: one line, no control characters, of bounded length."""
    text = tidy_name(text)
    return text if len(text) <= most else text[:most] + "…"


def tidy_name(text):
    """A name without control characters and without marks that turn the direction of text."""
    text = " ".join(text.replace("\ufeff", "").split())
    return "".join(c for c in text if c.isprintable() or c == " ")
