"""The roles of the columns of a table: concentration, signal, deviation, sample, or left out.

A name that is known decides. Where none is, the place and the numbers do, as long as they leave no
doubt; in doubt the reader asks with a sentence and does not guess.
"""

import re

import numpy as np

from .columns import KEYS, counts_rows, read_numbers
from .grid import shown
from .signals import are_pairs, ask_x, attach, join_pairs, part_signals, runs_like_concentration
from .spellings import denaturant_of, words_of


def assign_roles(table):
    """Give every column its role, by the user's word, by name, or by place and numbers."""
    for column in table.columns:
        column.role = _role_by_name(table, column)
    _weigh_names(table)
    if table.options.columns is not None:
        _choose_columns(table)
    if table.options.x is not None:
        _choose_x(table)
    elif not table.of("x"):
        _find_x(table)
    else:
        _before_x(table)
    part_signals(table)
    if len(table.columns) < 2:
        _no_table(table, [])
    if not table.of("y"):
        _fault_of_words(table)
        raise table.grid.fault(
            "found no column of readings beside the concentrations; expected a signal in every further "
            "column. Name the columns with --x and --columns.", table.rows[0],
        )  # fmt: skip
    join_pairs(table)
    attach(table)


def _role_by_name(table, column):
    role, numeric = column.header.role, column.is_numeric
    if role is None and numeric and _has_twin(table, column):
        return "x"
    if role in KEYS:
        return _key_role(table, column)
    if role == "well":
        return role
    if role == "x" and not numeric and column.kinds["text"]:
        if all(denaturant_of(cell.text) for cell in column.cells if cell.kind == "text"):
            return "part" if len({cell.text for cell in column.cells}) > 1 else "denaturant"
    if role in ("n", "index"):
        whole = numeric and all(not cell.mark for cell in column.cells if cell.kind == "number")
        counted = whole and (role == "n" or counts_rows(read_numbers(table, column)))
        return role if counted else None
    if role == "temperature" or (role is None and column.name.lower() == "t" and numeric):
        values = read_numbers(table, column)
        values = values[~np.isnan(values)]
        if role is None and (values.size == 0 or np.ptp(values) > 3.0 or not 4.0 <= values.min() <= 400.0):
            return None
        return "temperature" if numeric else "left out"
    if role == "other" and not numeric and not column.kinds["text"]:
        return None
    if role == "x" and not numeric:
        return "x" if column.kinds["text"] else None
    return role


def _key_role(table, column):
    """A name of a curve stands in several rows; in merged cells only in the first of them."""
    if column.kinds["blank"] == len(column.cells):
        return "left out"
    if column.kinds["blank"] and column.cells[0].kind != "blank":
        for i, cell in enumerate(column.cells):
            if cell.kind == "blank":
                column.cells[i] = column.cells[i - 1]
        table.grid.note("filled_down", f"blank cells of {column} taken to repeat the cell above")
    texts = [cell.text for cell in column.cells]
    if column.place == 0 and column.is_numeric and not any(c.header.role == "x" for c in table.columns):
        if not counts_rows(read_numbers(table, column)) and len(set(texts)) > len(texts) // 2:
            return None  # the corner of a wide table, which names what stands to its right
    if len(set(texts)) == len(texts) > 3:
        table.leave_out(column, "it differs in every row")
        return "left out"
    return column.header.role


def _weigh_names(table):
    """Letters can name concentrations and curves alike: a plainer name for them decides.

    'urea' goes before 'x', and 'x' before 'c' and 'd', which count only in the first column or
    behind a signal.
    """
    xs = table.of("x")
    letters = [c for c in xs if c.name.lower() in ("c", "d") and c.unit is None]
    plain_x = [c for c in xs if words_of(c.name)[-1:] in (["x"], ["X"]) and c.unit is None]
    others = [c for c in xs if c not in letters and c not in plain_x]
    kept = others or plain_x
    if not kept and letters:
        numeric = [c for c in table.columns if c.is_numeric and c.role != "index"]
        first = numeric[0] if numeric else None
        alone = len(letters) == 1 and first is not None and first.role == "y"
        kept = letters[:1] if letters[0] is first or alone else []
    for column in xs:
        if column not in kept:
            column.role = None


def _has_twin(table, column):
    """True for 'WT x' where there is a 'WT y'."""
    words = words_of(column.name)
    twin = [*words[:-1], "y"]
    return words[-1:] == ["x"] and any(words_of(other.name) == twin for other in table.columns)


def _column_by(table, wanted):
    """The column of a name or a number from 1."""
    text = str(wanted).strip()
    for column in table.columns:
        if column.name == text or column.name.lower() == text.lower():
            return column
    for column in table.columns:
        if text.isdigit() and column.place + 1 == int(text):
            return column
    names = ", ".join(f"'{shown(c.name)}'" for c in table.columns if c.name) or f"1 to {len(table.columns)}"
    raise table.grid.fault(f"there is no column '{shown(text)}'; the columns are {names}.")


def _choose_columns(table):
    chosen = [_column_by(table, wanted) for wanted in table.options.columns]
    for column in table.columns:
        if column in chosen:
            column.role = "y"
        elif column.role in ("y", None):
            column.role = "unchosen"


def _choose_x(table):
    chosen = _column_by(table, table.options.x)
    for column in table.of("x"):
        column.role = "unchosen"
    chosen.role = "x"


def _find_x(table):
    """Take a column for the concentrations that no name gives away, if only one can be."""
    numeric = [c for c in table.columns if c.is_numeric and c.role in (None, "y", "index", "n")]
    _take_solute(table)
    if table.of("x"):
        return
    aside = next((c for c in table.columns if c.role in ("other", "temperature") and c.place == 0), None)
    if aside is not None:
        raise table.grid.fault(
            f"{aside} is {_article(aside)}, not a concentration; a table needs "
            "a column of denaturant concentrations. Name it with --x.", None,
        )  # fmt: skip
    if len(numeric) < 2:
        _no_table(table, numeric)
    first, others = numeric[0], numeric[1:]
    rising = [c for c in others if runs_like_concentration(read_numbers(table, c))]
    values = read_numbers(table, first)
    unnamed = first.name == "" and table.named
    counts = counts_rows(values)
    scale = [c for c in rising if np.nanmax(read_numbers(table, c)) >= 2.0]
    if first.role == "index" or (counts and (unnamed or scale or values.max() > 11)):
        likely = next(iter(scale or rising), None)
        example = "" if likely is None else f", for instance --x {likely.place + 1}"
        raise table.grid.fault(
            f"{first} counts rows, and no column is named as the concentration; name it with --x{example}.",
            None,
        )
    if first.header.role == "y" or (rising and not runs_like_concentration(values)):
        raise table.grid.fault(
            f"cannot tell the concentrations: {first} comes first but does not look like "
            "them; name the column with --x.", None,
        )  # fmt: skip
    if re.search(r"\d\s*m\b", first.name.lower()):
        raise table.grid.fault(
            f"{first} names a stock; say the unit with --unit, for instance --unit '% of 8 M'.",
            None,
            first.place,
        )
    first.role = "x"
    if first.name and not (first.header.unit or first.unit):
        table.grid.note("x_assumed", f"{first} taken as concentrations in M")


def _take_solute(table):
    """'SDS (mM)' in the first column is the concentration where nothing else is."""
    first = table.columns[0]
    if first.role == "other" and first.header.stem:
        first.role, first.denaturant = "x", shown(" ".join(first.header.stem))
        table.grid.note("x_assumed", f"{first} taken as concentrations")


def _article(column):
    return {"temperature": "a temperature"}.get(column.role) or f"a {column.header.kind}"


def _no_table(table, numeric):
    grid = table.grid
    if len(table.columns) < 2:
        raise grid.fault(
            "found one column; expected a concentration column and at least one signal column, "
            "parted by commas, semicolons, tabs or blanks."
        )
    _fault_of_words(table, numeric)
    raise grid.fault("expected a column of concentrations and at least one of readings.", table.rows[0])


def _fault_of_words(table, numeric=()):
    """The fault of words where numbers belong, if there are such."""
    for column in table.columns:
        at = next((i for i, cell in enumerate(column.cells) if cell.kind == "text"), None)
        if at is not None and column not in numeric and column.role not in KEYS and column.role != "well":
            first = column is table.columns[0] or column.role == "x"
            what = "a concentration in M" if first else f"a reading of '{shown(column.name)}'"
            raise table.grid.fault(
                f"expected {what}, found '{shown(column.cells[at].text)}'.", table.rows[at], column.place
            )


def _before_x(table):
    """Numbers of rows may stand before a column that is named as the concentration."""
    first = table.of("x")[0]
    for column in table.columns:
        if column.role is None and column.place < first.place and column.is_numeric:
            if counts_rows(read_numbers(table, column)):
                column.role = "index"
    if len(table.of("x")) > 1 and not are_pairs(table):
        ask_x(table, table.of("x"))
