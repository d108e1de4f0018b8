"""The roles of the columns of a table: concentration, signal, deviation, sample, or left out.

A name that is known decides. Where none is, the place and the numbers do, as long as they leave no
doubt; in doubt the reader asks with a sentence and does not guess.
"""

import re
from collections import Counter

import numpy as np

from .columns import counts_rows, read_numbers
from .grid import shown
from .quantities import HIGHEST_WITHOUT_UNIT
from .spellings import SPELLINGS, denaturant_of, header_of, words_of

KEYS = ("curve", "label", "replicate")


def runs_like_concentration(values):
    """True for numbers that rise from row to row within what dissolves."""
    values = values[~np.isnan(values)]
    if values.size < 4 or values.min() < 0.0 or values.max() > HIGHEST_WITHOUT_UNIT or values.max() < 0.5:
        return False
    return bool((np.diff(values) >= 0.0).all()) and np.unique(values).size > values.size // 2


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
    _part_signals(table)
    if len(table.columns) < 2:
        _no_table(table, [])
    if not table.of("y"):
        _fault_of_words(table)
        raise table.grid.fault(
            "found no column of readings beside the concentrations; expected a signal in every further "
            "column. Name the columns with --x and --columns.", table.rows[0],
        )  # fmt: skip
    _join_pairs(table)
    _attach(table)


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
        alone = len(letters) == 1 and numeric[0].role == "y"
        kept = letters[:1] if letters[0] is numeric[0] or alone else []
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
        raise table.grid.fault(
            f"{first} counts rows, and no column is named as the concentration; "
            f"name it with --x, for instance --x {(scale or rising or [first])[0].place + 1}.", None,
        )  # fmt: skip
    if first.header.role == "y" or (rising and not runs_like_concentration(values)):
        raise table.grid.fault(
            f"cannot tell the concentrations: {first} comes first but does not look like "
            "them; name the column with --x.", None,
        )  # fmt: skip
    if re.search(r"\d\s*m\b", first.name.lower()):
        raise table.grid.fault(
            f"{first} names a stock; say the unit with --unit, for instance --unit '% of 8 M'.", None, first.place
        )
    first.role = "x"
    if first.name and not (first.header.unit or first.unit) and first.header.role != "curve":
        table.grid.note("x_assumed", f"{first} taken as concentrations in M")


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
    if len(table.of("x")) > 1 and not _are_pairs(table):
        _ask_x(table, table.of("x"))


def _ask_x(table, columns):
    names = " and ".join(map(str, columns))
    raise table.grid.fault(
        f"{names} may all be concentrations; name the one to take with --x and the readings with --columns.", None
    )


def _are_pairs(table):
    """True where every column of concentrations has signals between itself and the next."""
    roles = "".join("x" if c.role == "x" else "y" for c in table.columns if c.role in ("x", "y", None))
    return roles.startswith("x") and not roles.endswith("x") and "xx" not in roles


def _take_parting_columns(table):
    """Columns that part the rows into several curves are their labels, whatever their name.

    Such a column, a ligand or a wavelength in every row, has few values, each of them in several
    rows, and the concentrations come again with each.
    """
    xs = table.of("x")
    x = read_numbers(table, xs[0]) if len(xs) == 1 and xs[0].is_numeric else None
    long = table.of("y") or any(c.role in KEYS for c in table.columns)
    for column in table.columns:
        words = column.role is None and not column.is_numeric
        if x is None or not (words or column.role == "other" or (column.role is None and long)):
            continue
        if column.role is None and column.place < xs[0].place and column.name == "":
            continue
        values = [cell.text for cell in column.cells]
        counts = Counter(values)
        if not 1 < len(counts) <= len(values) // 3 or min(counts.values()) < 3 or "" in counts:
            continue
        if all(_comes_again(x, values, value) for value in counts):
            column.role = "part"
            if not words:
                table.grid.note("labels_taken", f"{column} parts the curves")


def _comes_again(x, values, value):
    """True where most concentrations of one value of a column are found with other values too."""
    inside = np.array([v == value for v in values])
    here, there = np.unique(x[inside & ~np.isnan(x)]), np.unique(x[~inside & ~np.isnan(x)])
    return here.size > 1 and np.isin(here, there).mean() > 0.5


def _part_signals(table):
    """The signals among the columns without a role, and a word about the others."""
    _take_parting_columns(table)
    asked = table.options.columns is not None
    long = any(c.role in KEYS for c in table.columns) and table.of("y")
    for column in table.columns:
        numeric = column.is_numeric
        if column.role == "y" and not numeric and column.kinds["text"]:
            table.leave_out(column, "it holds words")
        elif column.role == "other":
            table.leave_out(column, f"{column.header.kind} is no signal")
        elif column.role == "index":
            table.leave_out(column, "it counts rows")
        elif column.role == "unchosen" and not asked and numeric:
            table.leave_out(column, "--x names another column")
        elif column.role is None and not numeric and column.kinds["text"]:
            table.leave_out(column, "it holds words")
        elif column.role is None and long and not asked:
            table.leave_out(column, "its name is not known as a signal; --columns takes it")
        elif column.role is None:
            values = read_numbers(table, column)
            values = values[~np.isnan(values)]
            named = column.header.role == "y"
            if values.size > 2 and np.ptp(values) == 0.0 and not named and len(table.columns) > 2:
                table.leave_out(column, f"it holds {values[0]:g} in every row")
            else:
                column.role = "y"
    _leave_out_means(table)
    _doubt_rising(table)


def _leave_out_means(table):
    """A column 'mean' beside the replicates that it is the mean of would count them twice."""
    signals = table.of("y")
    for column in signals:
        words = set(words_of(column.name))
        others = [c for c in signals if c is not column]
        if len(others) < 2 or not words.intersection(SPELLINGS["mean_words"]):
            continue
        values = np.array([read_numbers(table, c) for c in others])
        if (~np.isnan(values)).any(axis=0).all():
            mean = np.nanmean(values, axis=0)
            if np.allclose(read_numbers(table, column), mean, rtol=5e-3, atol=5e-3 * np.ptp(mean)):
                table.leave_out(column, "it is the mean of the others")
                for beside in table.columns:
                    if beside.role in ("deviation", "n") and beside.place > column.place:
                        table.leave_out(beside, f"it belongs to {column}")


def _doubt_rising(table):
    """A second column of concentrations without a name must not be fitted as a signal."""
    xs, signals = table.of("x"), table.of("y")
    if table.options.columns is not None or len(xs) != 1 or len(signals) < 2:
        return
    x = read_numbers(table, xs[0])
    if np.isnan(x).all():
        return
    low, high = np.nanmin(x), np.nanmax(x)

    def is_grid(column):
        values = read_numbers(table, column)
        if not runs_like_concentration(values):
            return False
        span = max(high - low, 1e-9)
        return abs(np.nanmin(values) - low) < 0.2 * span and abs(np.nanmax(values) - high) < 0.2 * span

    grids = [column for column in signals if is_grid(column)]
    if not grids:
        return
    data = sorted([xs[0], *signals], key=lambda c: c.place)
    even, odd = data[0::2], data[1::2]
    if len(even) == len(odd) and set(map(id, even[1:])) == set(map(id, grids)) and even[0] is xs[0]:
        for column in grids:
            column.role = "x"
        names = ", ".join(str(column.place + 1) for column in even)
        table.grid.note("x_assumed", f"columns {names} taken as concentrations, each for the column after it")
        return
    raise table.grid.fault(
        f"{grids[0]} runs like a second column of concentrations; name the concentrations "
        "with --x and the readings with --columns.", None,
    )  # fmt: skip


def _join_pairs(table):
    """Every signal gets the concentrations before it; one column of them serves all."""
    xs = table.of("x")
    if len(xs) > 1 and not _are_pairs(table):
        _ask_x(table, xs)
    for column in table.of("y"):
        before = [x for x in xs if x.place < column.place]
        column.of = (before or xs)[-1 if before else 0]


def _attach(table):
    """Deviations and counts belong to the signal with the same words, else to the one before."""
    signals = table.of("y")
    for column in [c for c in table.columns if c.role in ("deviation", "n")]:
        stem = set(column.header.stem) if column.role == "deviation" else set()
        same = [s for s in signals if stem and stem == set(words_of(s.name))]
        before = [s for s in signals if s.place < column.place]
        if column.role == "deviation" and stem and header_of(" ".join(column.header.stem)).role == "x":
            table.leave_out(column, "deviations of the concentrations are not used")
        elif not column.is_numeric:
            table.leave_out(column, "it holds no numbers")
        else:
            column.of = (same or before[-1:] or signals[:1])[0]
