"""The signals among the columns of a table, and what belongs to each: concentrations, deviations.

Columns that are no signals are left out with a word, columns that part the rows label the curves,
and a second column of concentrations is never taken for a signal.
"""

from collections import Counter

import numpy as np

from .columns import KEYS, read_numbers
from .quantities import HIGHEST_WITHOUT_UNIT
from .spellings import SPELLINGS, header_of, words_of


def runs_like_concentration(values):
    """True for numbers that rise from row to row within what dissolves."""
    values = values[~np.isnan(values)]
    if values.size < 4 or values.min() < 0.0 or values.max() > HIGHEST_WITHOUT_UNIT or values.max() < 0.5:
        return False
    return bool((np.diff(values) >= 0.0).all()) and np.unique(values).size > values.size // 2


def ask_x(table, columns):
    names = " and ".join(map(str, columns))
    raise table.grid.fault(
        f"{names} may all be concentrations; name the one to take with --x and the readings with --columns.",
        None,
    )


def are_pairs(table):
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
        if _come_again(x, values):
            column.role = "part"
            if not words:
                table.grid.note("labels_taken", f"{column} parts the curves")


def _come_again(x, values):
    """True where most concentrations of every value of a column are found with other values too."""
    known = ~np.isnan(x)
    kinds = {kind: number for number, kind in enumerate(dict.fromkeys(values))}
    value = np.array([kinds[kind] for kind in values])
    levels, level = np.unique(x[known], return_inverse=True)
    pairs = np.unique(value[known] * levels.size + level)  # every concentration of a value once
    own, shared = np.divmod(pairs, max(levels.size, 1))
    again = np.bincount(shared, minlength=levels.size)[shared] > 1
    count = np.bincount(own, minlength=len(kinds))
    return bool((count > 1).all() and (np.bincount(own, again, len(kinds)) > 0.5 * count).all())


def part_signals(table):
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
        if not set(words_of(column.name)).intersection(SPELLINGS["mean_words"]):
            continue
        others = [c for c in signals if c is not column]
        if len(others) < 2:
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


def join_pairs(table):
    """Every signal gets the concentrations before it; one column of them serves all."""
    xs = table.of("x")
    if len(xs) > 1 and not are_pairs(table):
        ask_x(table, xs)
    for column in table.of("y"):
        before = [x for x in xs if x.place < column.place]
        column.of = (before or xs)[-1 if before else 0]


def attach(table):
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
            column.of.beside.append(column)
