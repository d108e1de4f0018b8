"""Where the tables of a grid are: runs of rows of numbers, the header above, words around.

A file may begin with lines about the instrument and end with more of them, may hold several tables
below each other, and may name its concentrations in the first row in place of the first column.
"""

from dataclasses import dataclass, field

from .grid import Grid, shown
from .numbers import cell_of, is_number_as_name
from .spellings import SPELLINGS, header_of, plain, unit_of
from .stated import stated_around, states_something
from .text import split

UNIT_WORDS = {
    *SPELLINGS["unit_row_words"],
    *SPELLINGS["signal_units"],
    *(name for entry in SPELLINGS["temperature_units"].values() for name in entry["names"]),
}
MARKS = ("label", "replicate", "temperature", "sd")  # rows below a header that tell of each column


@dataclass
class Block:
    """One table: rows of headers and of readings by their number in the grid."""

    grid: Grid
    header: list  # numbers of header rows, from the top
    marks: dict  # role: number of the row
    units: int  # number of the row of units, or None
    body: list
    title: str = ""
    corner: str = ""  # name of the concentrations where it stands in a row of its own
    labels: list = field(default_factory=list)  # headers that stand elsewhere than above the table


def kinds_of(row):
    return [cell_of(cell).kind for cell in row]


def _class_of(row):
    """Number row, key and value, words, rule, or blank: N, K, T, R, B."""
    kinds = [kind for kind in kinds_of(row) if kind != "blank"]
    if not kinds:
        return "B"
    numbers, texts = kinds.count("number"), kinds.count("text")
    if numbers >= 2 or (numbers == 1 and (texts == 0 or kinds[0] == "number")):
        return "N"
    if numbers:
        return "K"
    return "T" if texts or _has_words(row) else "R"


def _has_words(row):
    """True where cells that could be marks of missing readings are words of a header."""
    return any(header_of(cell).role for cell in row if cell)


def find_blocks(grid):
    """The `Block`s of a grid and what the rest of it states."""
    classes = [_class_of(row) for row in grid.rows]
    runs, pending, aside = [], [], []
    for i, kind in enumerate(classes):
        if kind == "N":
            if runs and _continues(grid, runs[-1][1], pending, i, classes):
                runs[-1][1].extend([*(r for r in pending if classes[r] == "K"), i])
                aside += [r for r in pending if classes[r] == "T"]
            else:
                if runs:
                    pending = _end_of(grid, runs[-1][1], pending, classes)
                runs.append((pending, [i]))
            pending = []
        else:
            pending.append(i)
    if runs:
        pending = _end_of(grid, runs[-1][1], pending, classes)
    aside += pending
    most = max((len(body) for _, body in runs), default=0)
    blocks, carried, groups = [], {}, []
    for (above, body), (next_above, _) in zip(runs, [*runs[1:], ((), ())]):
        if len(body) < min(3, most):
            aside += above
            if _are_above_names(grid, body, next_above):
                if _count_from_one(grid, body[0]):
                    carried = {"replicate": body[0]}
                else:
                    groups, classes[body[0]] = body, "T"
            elif all(map(_mark_role, (grid.rows[r] for r in body))):  # marks above the header
                carried = {_mark_role(grid.rows[r]): r for r in body}
            else:
                aside += body
            continue
        block, rest = _block(grid, [*groups, *above], body, classes)
        groups = []
        block.marks, carried = {**carried, **block.marks}, {}
        blocks.append(block)
        aside += rest
    return blocks, stated_around(grid, sorted(r for r in aside if any(grid.rows[r])))


def _continues(grid, body, pending, row, classes):
    """True where the rows between two runs of numbers do not part two tables."""
    words = [r for r in pending if classes[r] == "T"]
    if any(sum(map(bool, grid.rows[r])) > 1 for r in words):
        return False
    if not pending:
        return True
    first, again = (cell_of(grid.cell(r, 0)) for r in (body[0], row))
    if first.kind != "number" or again.kind != "number" or len(body) < 3:
        return True
    return again.value(".") > first.value(".")  # a table that begins again is another one


def _end_of(grid, body, pending, classes):
    """Takes rows right below a run into it that are rows of readings with a fault; the rest."""
    while pending and classes[pending[0]] == "K" and not states_something(grid.rows[pending[0]]):
        body.append(pending.pop(0))
    return pending


def _block(grid, above, body, classes):
    """The block of a run and of the rows above it; the rest of these goes back."""
    start = len(above)
    while start and classes[above[start - 1]] != "B":
        start -= 1
    if start == len(above) and start and any(sum(map(bool, grid.rows[r])) > 1 for r in above[-2:]):
        start = len(above) - 1  # one blank row below the header
        while start and classes[above[start - 1]] != "B":
            start -= 1
    rest, near = above[:start], [r for r in above[start:] if classes[r] in "TK"]
    width = max(len(grid.rows[r]) for r in body)
    marks, units, header, faulty, corner = {}, None, [], [], ""
    for row in reversed(near):
        cells = grid.rows[row]
        role = _mark_role(cells)
        about_axes = plain(cells[0]) in SPELLINGS["axis_keys"]
        lone = sum(map(bool, cells)) == 1 < width and cells[0]  # not one name above the columns of its group
        if lone or about_axes or (header and classes[row] == "K"):
            rest.append(row)
        elif header:
            header.insert(0, row)
        elif role and len(cells) > 1 and role not in marks and _has_header_above(grid, near, row):
            marks[role] = row
        elif units is None and _is_unit_row(cells) and row != near[0]:
            units = row
        elif classes[row] == "T" or header_of(cells[0]).role == "x" or not cells[0]:
            header.insert(0, row)
        elif len(cells) == width and _is_header(grid, near, row - 1, classes) and not states_something(cells):
            faulty.insert(0, row)
        else:
            rest.append(row)
    body = [*faulty, *body]
    if header and _names_columns(grid, body, header[-1]):
        if "replicate" not in marks and _numbers_replicates(grid, body, header[-1]):
            marks["replicate"] = row = body.pop(0)
            corner = grid.cell(row, 0)
        else:
            header.append(body.pop(0))
    if header and cell_of(grid.cell(body[0], 0)).kind == "text" and len(grid.rows[header[-1]]) < width:
        # The rows name themselves; what is above is about the file.
        rest, header, marks = [*rest, *header, *marks.values()], [], {}
    if not header:  # numbers may be names: the first row of the run with words in front
        first = grid.cell(body[0], 0)
        if len(body) > 1 and cell_of(first).kind in ("text", "blank") and not _mark_role(grid.rows[body[0]]):
            if cell_of(grid.cell(body[1], 0)).kind in ("number", "text"):
                header = [body.pop(0)]
    while len(body) > 1 and (role := _mark_role(grid.rows[body[0]])) and role not in marks:
        marks[role] = body.pop(0)
    for row in range(header[-1] + 1, body[0]) if header else ():
        if len(grid.rows[row]) == 1 < width and header_of(grid.rows[row][0]).role == "x":
            corner = grid.rows[row][0]  # the concentrations have their name in a row of its own
    if header and "replicate" not in marks and not grid.cell(body[0], 0):
        if _numbers_replicates(grid, body, header[-1]):
            marks["replicate"] = body.pop(0)
    keep = _header_rows(grid, header, body)
    rest += [r for r in header if r not in keep]
    titles = [
        next(filter(None, grid.rows[r]))
        for r in rest
        if classes[r] == "T" and sum(map(bool, grid.rows[r])) == 1
    ]
    block = Block(grid, keep, marks, units, body, titles[-1] if titles else "", corner)
    if not keep:
        block.labels = _header_elsewhere(grid, body, near)
    return block, rest


def _mark_role(cells):
    if not cells:
        return None
    header = header_of(cells[0])
    return header.role if header.role in MARKS else None


def _has_header_above(grid, near, row):
    return any(r < row and sum(map(bool, grid.rows[r])) >= 2 for r in near)


def _is_header(grid, near, row, classes):
    return row in near and classes[row] == "T" and not states_something(grid.rows[row])


def _names_columns(grid, body, header):
    """True for a first row such as 'urea, 330, 340' below ', WT, WT': numbers that are names."""
    first = grid.cell(body[0], 0)
    if len(body) < 3 or cell_of(grid.cell(body[1], 0)).kind != "number":
        return False
    if first:
        return header_of(first).role == "x" and cell_of(first).kind == "text"
    numbers = all(cell_of(cell).kind == "number" for cell in grid.rows[body[0]][1:])
    return numbers and _has_repeats(grid, header) and not _numbers_replicates(grid, body, header)


def _are_above_names(grid, rows, above):
    """True for a row such as ', 330, 340' right above 'urea, WT, WT'."""
    cells = grid.rows[rows[0]]
    if len(rows) > 1 or above[:1] != [rows[0] + 1] or len(cells) != len(grid.rows[above[0]]):
        return False
    if cells[0] and header_of(cells[0]).kind != "wavelength":
        return False
    return all(cell_of(cell).kind == "number" for cell in cells[1:]) and _has_repeats(grid, above[0])


def _count_from_one(grid, row):
    numbers = {whole_number(cell) for cell in grid.rows[row][1:]}
    return numbers == set(range(1, len(numbers) + 1))


def _has_repeats(grid, header):
    names = grid.rows[header][1:]
    return len(set(names)) < len(names) or "" in names


def _numbers_replicates(grid, body, header):
    """True for a first row such as ', 1, 2, 1, 2' below 'urea, WT, WT, V38A, V38A', without a gap."""
    return len(body) > 2 and _has_repeats(grid, header) and _count_from_one(grid, body[0])


def _is_unit_row(cells):
    """A row of units below the header: units of concentration or signal and nothing else."""
    texts = [plain(cell).strip("()[] ") for cell in cells if cell]
    known = lambda t: t in UNIT_WORDS or unit_of(t) is not None  # noqa: E731
    return all(map(known, texts)) and any(unit_of(t) is not None for t in texts)


def _header_rows(grid, rows, body):
    """The lowest row of the header, and the row of group names above it if there is one."""
    width = max(len(grid.rows[r]) for r in body)
    while rows and width > 1 and sum(map(bool, grid.rows[rows[-1]])) < 2:
        rows = rows[:-1]
    if len(rows) < 2:
        return rows
    low, high = grid.rows[rows[-1]], grid.rows[rows[-2]]
    filled = [i for i, cell in enumerate(high) if cell]
    names = [cell for cell in low if cell]
    generic = len(set(names)) < len(names) or all(
        header_of(name).role in ("x", "y", "deviation", "n", "replicate") for name in names[1:]
    )
    if not high[0] or header_of(high[0]).role in ("x", "curve"):
        generic = generic or all(is_number_as_name(name) for name in low[1:] if name)
    pair_of_words = filled in ([0, 1], [0])
    if generic and not pair_of_words and width > 2:
        return rows[-2:]
    return rows[-1:]


def _header_elsewhere(grid, body, near):
    """Names in the last comment above the table, or in a line parted otherwise than the table."""
    width = max(len(grid.rows[r]) for r in body)
    lines = [(row, text) for row, text in grid.comments if row <= body[0]]
    lines += [(row, grid.rows[row][0]) for row in near if len(grid.rows[row]) == 1]
    for _, text in sorted(lines, reverse=True):
        for delimiter in (grid.delimiter, "\t", ";", ",", None):
            cells = split(text, delimiter)
            if len(cells) == width > 1 and any(header_of(cell).role == "x" for cell in cells):
                return cells
    return []


def rows_left_out(grid, blocks):
    """Rows of two numbers and more that are in no table: they must not vanish without a word."""
    used = {r for b in blocks for r in [*b.header, *b.body, *b.marks.values(), b.units]}
    for row, cells in enumerate(grid.rows):
        if row not in used and kinds_of(cells).count("number") >= 2:
            grid.note(
                "row_left_out", f"{grid.row_names[row]} ('{shown(' '.join(cells))}') belongs to no table"
            )


def block_with(grid, role):
    """The block below the first header with a column of the role, whatever its rows hold, or None."""
    for i, row in enumerate(grid.rows):
        roles = {header_of(cell).role for cell in row if cell}
        words = [cell for cell in row if cell and cell_of(cell).kind != "number"]
        if role in roles and len(words) > 1:
            body = [r for r in range(i + 1, len(grid.rows)) if any(grid.rows[r])]
            units = body.pop(0) if body and _is_unit_row(grid.rows[body[0]]) else None
            return Block(grid, [i], {}, units, body) if body else None
    return None


def plate_corners(grid):
    """Row and column of the corner above A and before 1 of every plate matrix."""
    found = []
    for i, row in enumerate(grid.rows[:-1]):
        if not any(cell[:1] == "1" for cell in row[1:4]):
            continue
        below = next((r for r in range(i + 1, min(i + 3, len(grid.rows))) if any(grid.rows[r])), i)
        for j in range(min(3, len(row))):
            ahead = [whole_number(cell) for cell in row[j + 1 : j + 3]]
            if (
                ahead == [1, 2]
                and whole_number(row[j]) is None
                and grid.cell(below, j).strip().upper() == "A"
            ):
                found.append((i, j))
                break
    return found


def whole_number(text):
    """The whole number that a cell holds ('3' and '3.0' are one), or None."""
    cell = cell_of(text)
    value = cell.value(".") if cell.kind == "number" and not cell.unit else 0.5
    return int(value) if value.is_integer() else None
