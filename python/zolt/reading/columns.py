"""The columns of a table: headers joined with cells, cells read as numbers."""

from collections import Counter
from dataclasses import dataclass, field

import numpy as np

from .grid import Grid, shown, tidy_name
from .numbers import AmbiguousMark, cell_of, has_thousands, proven_marks, values_of
from .stated import Stated
from .spellings import Header, header_of, unit_of

LONGEST_HEADER = 400  # characters of a header that are looked at
MOST_COLUMNS = 5000  # the wells of three of the largest plates
KEYS = ("curve", "label", "replicate")  # roles of columns that say to which curve a row belongs


@dataclass(frozen=True)
class Options:
    """What a user says where a file leaves it open; None leaves it to the reader.

    `x` and `columns` are names of columns or their numbers from 1, `unit` is a unit of
    concentration, `decimal` is '.' or ','.
    """

    x: object = None
    columns: tuple = None
    skip_rows: int = 0
    decimal: str = None
    denaturant: str = None
    unit: object = None

    def __post_init__(self):
        if self.decimal not in (None, ".", ","):
            raise ValueError(f"decimal is '.' or ',', not {self.decimal!r}")
        if isinstance(self.skip_rows, bool) or not isinstance(self.skip_rows, int) or self.skip_rows < 0:
            raise ValueError(f"skip_rows is the number of rows to pass over, not {self.skip_rows!r}")
        if isinstance(self.columns, (str, int)):
            object.__setattr__(self, "columns", (self.columns,))


@dataclass(eq=False)
class Column:
    """A column of a table: header, cells, and what it is taken for."""

    place: int
    name: str
    header: Header
    cells: list
    group: str = ""
    role: str = None
    unit: object = None
    unit_text: str = ""  # of the row of units below the header
    denaturant: str = None
    of: object = None  # of a deviation or a count: its signal; of a signal: its concentrations
    beside: list = field(default_factory=list)  # of a signal: its deviations and counts
    numbers: np.ndarray = None

    def __str__(self):
        return f"column '{shown(self.name)}'" if self.name else f"column {self.place + 1}"

    @property
    def kinds(self):
        return Counter(cell.kind for cell in self.cells)

    @property
    def is_numeric(self):
        kinds = self.kinds
        return kinds["number"] > 0 and kinds["number"] >= kinds["text"]


@dataclass
class Table:
    """The columns of a block; `rows` are the numbers of its rows of readings in the grid."""

    grid: Grid
    rows: list
    columns: list
    marks: dict
    stated: Stated
    options: Options
    title: str = ""
    named: bool = False  # True where the table has a header
    proven: set = field(default_factory=set)

    def of(self, role):
        return [column for column in self.columns if column.role == role]

    def first(self, role):
        return next(iter(self.of(role)), None)

    def leave_out(self, column, why):
        column.role = "left out"
        self.grid.note("column_left_out", f"{column} left out: {why}")


def table_of(block, stated, options):
    """The `Table` of a block, its cells read and its columns without roles."""
    grid, rows = block.grid, block.body
    high, low = _headers(block, stated)
    width = max(len(grid.rows[r]) for r in rows)
    if width > MOST_COLUMNS:
        raise grid.fault(f"the table has {width} columns; at most {MOST_COLUMNS} are read.")
    named = bool(low)
    low, shift = _fit_header(block, low, width)
    width = max(width, len(low))
    high = [""] * shift + high
    group, columns = "", []
    for c in range(width):
        over = tidy_name(high[c][:LONGEST_HEADER]) if c < len(high) else ""
        group = over or group
        text = tidy_name(low[c][:LONGEST_HEADER]) if c < len(low) else ""
        header = header_of(text)
        cells = [cell_of(grid.cell(r, c)) for r in rows]
        if not text and not over and all(cell.kind == "blank" for cell in cells):
            continue
        column = Column(c, text, header, cells, group, unit=header.unit, denaturant=header.denaturant)
        if block.units is not None:
            column.unit_text = grid.cell(block.units, c).strip("()[] ")
            column.unit = column.unit or unit_of(column.unit_text)
        columns.append(column)
    marks = {role: grid.rows[row] for role, row in block.marks.items()}
    proven = proven_marks([cell for column in columns for cell in column.cells])
    return Table(grid, rows, columns, marks, stated, options, block.title, named, proven)


def _headers(block, stated):
    """The texts of the row of groups and of the row of names."""
    rows = [block.grid.rows[r] for r in block.header]
    if not rows and block.labels:
        return [], list(block.labels)
    if stated.axes and not (rows and any(header_of(cell).role == "x" for cell in rows[-1])):
        return [], list(stated.axes)
    low = list(rows[-1]) if rows else []
    if low and block.corner:
        low[0] = block.corner
    elif len(rows) > 1 and not low[0] and rows[-2] and header_of(rows[-2][0]).role == "x":
        low[0] = rows[-2][0]
    return (rows[-2] if len(rows) > 1 else []), low


def _fit_header(block, low, width):
    """Names for all columns; a row wider than its header is a fault."""
    grid = block.grid
    if not low:
        _need_equal_rows(block, width)
        return [], 0
    if grid.delimiter is None and len(low) > width:
        low = _rejoined(low, width, block)
    low = _not_wider(block, low)
    # The blank names at its end were cut off with its marks, and are no sign of a column of row numbers.
    written = grid.widths[block.header[-1]] if grid.widths and block.header else 0
    low = [*low, *[""] * (min(written, width) - len(low))]
    if len(low) == width - 1 and not any(low[1::2]) and len(low) > 2:
        low = [*low, ""]  # names above pairs of columns: the last is blank and was cut off
    _need_equal_rows(block, max(width, len(low)))
    wider = [r for r in block.body if len(grid.rows[r]) > len(low)]
    if not wider:
        return low, 0
    first = [cell_of(grid.cell(r, 0)) for r in block.body]
    counts = all(c.kind == "number" and not c.mark for c in first) and counts_rows(
        [c.value(".") for c in first]
    )
    if counts and all(low) and all(len(grid.rows[r]) == len(low) + 1 for r in block.body):
        return ["", *low], 1  # numbers of rows without a header of their own
    cells = len(grid.rows[wider[0]])
    why = f"the row has {cells} cells and the header {len(low)}"
    if grid.delimiter == "," and cells >= 2 * len(low) - 1:
        raise grid.fault(
            f"{why}. Where commas are decimal marks, save the table with semicolons or tabs between "
            "the columns.", wider[0],
        )  # fmt: skip
    raise grid.fault(f"{why}; give every column a name, or remove what stands beside the table.", wider[0])


def _not_wider(block, low):
    """A header with more names than the rows have cells was cut within brackets, or is a fault."""
    grid = block.grid
    width = max((grid.widths[r] for r in block.body), default=0) if grid.widths else len(low)
    if len(low) <= width or not block.header or grid.delimiter is None:
        return low
    joined = []
    for cell in low:
        if joined and joined[-1].count("(") > joined[-1].count(")"):
            joined[-1] += f", {cell}"
        else:
            joined.append(cell)
    if len(joined) > width:
        raise grid.fault(f"the header has {len(joined)} names and the rows {width} cells.", block.header[-1])
    return joined


def _need_equal_rows(block, width):
    """Between blanks a cell that is missing cannot be told: all rows must be of one width."""
    grid = block.grid
    short = next((r for r in block.body if grid.delimiter is None and len(grid.rows[r]) < width), None)
    if short is not None:
        raise grid.fault(
            f"the row has {len(grid.rows[short])} cells and the table {width} columns; where blanks part the "
            "columns, a missing reading has to be written, as NA.", short,
        )  # fmt: skip


def _rejoined(low, width, block):
    """A header parted by blanks whose units were parted from their names: 'Urea (M)'."""
    joined = []
    for word in low:
        if joined and (word[:1] in "([/" or joined[-1].endswith("/")):
            joined[-1] += f" {word}"
        else:
            joined.append(word)
    if len(joined) != width:
        raise block.grid.fault(
            f"the header has {len(low)} words and the table {width} columns; names with blanks need "
            "tabs, commas or semicolons between the columns.", block.header[-1] if block.header else None,
        )  # fmt: skip
    return joined


def counts_rows(values):
    """True for 0, 1, 2, ... or 1, 2, 3, ..."""
    values = np.asarray(values, float)
    return values.size > 1 and values[0] in (0.0, 1.0) and bool((np.diff(values) == 1.0).all())


def read_numbers(table, column):
    """The numbers of a column as doubles; kept for the next call."""
    if column.numbers is None:
        decimal = table.options.decimal
        try:
            column.numbers = values_of(column.cells, table.proven, decimal)
            if has_thousands(column.cells, table.proven, decimal):
                table.grid.note("thousands", f"{column} holds marks of thousands, which were taken as such")
        except AmbiguousMark as doubt:
            raise table.grid.fault(
                f"'{shown(doubt.text)}' may be a decimal fraction or thousands; "
                "say --decimal . or --decimal ,",
                table.rows[doubt.place], column.place,
            ) from None  # fmt: skip
    return column.numbers
