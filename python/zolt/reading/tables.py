"""Curves from the tables of a grid, whichever way these are laid out."""

import re
from dataclasses import replace
from pathlib import Path

import numpy as np

from .blocks import block_with, find_blocks, kinds_of, plate_corners, rows_left_out
from .columns import KEYS, read_numbers, table_of
from .concentrations import concentrations, need_concentrations
from .curve import Curve
from .grid import shown, tidy_name
from .numbers import cell_of
from .names import SignalNames, names_of, plain_value, signal_names
from .roles import assign_roles
from .signals import runs_like_concentration
from .spellings import SPELLINGS, denaturant_of, header_of, plain, unit_of
from .temperatures import doubt_temperature, temperature_column, temperature_of


def curves_of(grid, options):
    """All curves of a grid; notes go into the grid."""
    blocks, stated = find_blocks(grid)
    if not any(any(row) for row in grid.rows):
        raise grid.fault("the file holds no data; expected a concentration and a signal column.")
    if not blocks and (block := block_with(grid, "x")):
        blocks = [block]
    if not blocks:
        if max(sum(map(bool, row)) for row in grid.rows) < 2:
            raise grid.fault(
                "found one column; expected a concentration column and at least one signal column, "
                "parted by commas, semicolons, tabs or blanks."
            )
        row, column = _first_words(grid)
        if row is None:
            raise grid.fault("the file has a header but no readings below it.")
        raise grid.fault(f"expected a number, found '{shown(grid.cell(row, column))}'.", row, column)
    if plate_corners(grid):
        raise grid.fault(
            "this is a plate; say with --layout which well holds which sample and concentration."
        )
    rows_left_out(grid, blocks)
    curves = []
    for number, block in enumerate(blocks, start=1):
        table = table_of(*_upright(block, stated), options)
        assign_roles(table)
        found = _curves_of_table(table, options)
        if len(blocks) > 1:
            found = _titled(found, block.title or f"table {number}")
        curves += found
    if any(curve.temperature is None for curve in curves):
        doubt_temperature(grid, stated)
    return curves


def _first_words(grid):
    """The first cell of words below the header, or None where there is nothing below it."""
    rows = [r for r, row in enumerate(grid.rows) if sum(map(bool, row)) > 1]
    for row in rows[1:]:
        for column, kind in enumerate(kinds_of(grid.rows[row])):
            if kind == "text" and "number" in kinds_of(grid.rows[row]):
                return row, column
    return None, None


def _titled(curves, title):
    """Curves of one of several tables: a name that says nothing gets the title of its table."""
    title = tidy_name(title)
    named = []
    for curve in curves:
        generic = header_of(curve.name).role == "y" or re.fullmatch(r"curve \d+", curve.name)
        name = title if generic and len(curves) == 1 else f"{title} {curve.name}" if generic else curve.name
        named.append(replace(curve, name=name))
    return named


def _upright(block, stated):
    """The block itself, or with rows and columns changed where its concentrations run in a row."""
    grid = block.grid
    rows = sorted([*block.header, *block.marks.values(), *block.body])
    firsts = [cell_of(grid.cell(r, 0)).kind for r in rows]
    heads = [header_of(grid.cell(r, 0)) for r in rows]
    if len(block.header) > 1 or not any(grid.rows[rows[0]][1:]):
        return block, stated
    molar = [cell_of(cell) for cell in grid.rows[rows[0]][1:]]
    corner = cell_of(grid.cell(rows[0], 0)).kind != "number"
    certain = (
        corner
        and sum(c.kind == "number" and unit_of(c.unit) is not None for c in molar) >= 3
        and heads[0].role != "x"
    )
    if any(kind == "number" for kind in firsts[1:]) and not certain:
        return block, stated
    if certain:
        return _turned(block, rows), stated
    if sum(kind == "text" for kind in firsts[1:]) < len(rows) - 1:
        return block, stated
    names = [grid.cell(r, 0) for r in rows]
    if len(set(names)) < len(names):
        return block, stated
    numbers = [cell_of(cell) for cell in grid.rows[rows[0]][1:]]
    count = sum(cell.kind == "number" for cell in numbers)
    across = count >= 3 and any(h.role == "x" for h in heads)
    if not across:
        values = np.array([cell.value(".") for cell in numbers if cell.kind == "number"])
        across = count >= 4 and any(map(runs_like_concentration, (values, values[::-1])))
    if not across:
        return block, stated
    return _turned(block, rows), stated


def _turned(block, rows):
    """The block with its rows as columns; the corner names what runs along the row."""
    grid = block.grid
    turned = grid.transposed(rows)
    if header_of(turned.rows[0][0]).role != "x":
        turned.rows[0][0] = "concentration"
    blocks, _ = find_blocks(turned)
    if len(blocks) != 1:
        raise grid.fault("cannot tell the table whose concentrations run along this row.", rows[0])
    return blocks[0]


# From columns to curves.


def _curves_of_table(table, options):
    keys = [c for c in table.columns if c.role in (*KEYS, "part")]
    temperatures = temperature_column(table, keys)
    groups = {}
    for i in range(len(table.rows)):
        groups.setdefault(tuple(column.cells[i].text for column in keys), []).append(i)
    molar = {id(x): concentrations(table, x, options) for x in table.of("x")}
    signals = table.of("y")
    base, names = signal_names(table, signals), SignalNames(table)
    curves = []
    for key, rows in groups.items():
        named = dict(zip([(c.role, c.header.text) for c in keys], key))
        sample = next((text for (role, _), text in named.items() if role == "curve"), "")
        if keys and keys[0].role == "curve" and plain(sample) in SPELLINGS["empty_samples"]:
            table.grid.note("row_left_out", f"rows of '{shown(sample)}' are no curve")
            continue
        for signal, name in zip(signals, base):
            curves.append(_curve(table, signal, name, rows, named, molar, temperatures, names))
    return curves


def _curve(table, signal, base, rows, named, molar, temperatures, names):
    grid = table.grid
    x_column = signal.of
    x_all, y_all = molar[id(x_column)], read_numbers(table, signal)
    x, y = x_all[rows], y_all[rows]
    temperature = temperature_of(table, signal, temperatures, rows, named.values())
    name, label, replicate, group = names_of(base, named, names, temperature)
    label = _mark(table, "label", signal) if label is None else label
    replicate = _mark(table, "replicate", signal) if replicate is None else replicate
    for i, cell in zip(rows, (signal.cells[i] for i in rows)):
        if cell.kind in ("missing", "text") and not np.isnan(x_all[i]):
            reason = cell.reason or "not a number"
            grid.note(
                "blank",
                f"{grid.row_names[table.rows[i]]} of '{shown(name)}' holds '{shown(cell.text)}' ({reason})",
                name,
            )
    given = ~np.isnan(y)
    _note_restart(table, rows, x, name)
    need_concentrations(table, x_column, rows, x, given)
    given &= ~np.isnan(x)
    order = np.argsort(x[given], kind="stable")
    take = np.asarray(rows)[given][order]
    sd = n = None
    for column in signal.beside:
        if column.role == "deviation":
            sd = _deviation(table, column, take, name)
        elif column.role == "n":
            n = read_numbers(table, column)[take]
    denaturant = next(filter(None, map(denaturant_of, named.values())), None) or x_column.denaturant
    details = {"file": Path(grid.source).name}
    if grid.sheet:
        details["sheet"] = grid.sheet
    header = next((h for role in ("label", "part") for r, h in named if r == role), None)
    if label is not None and header is not None:
        details["label_is"] = tidy_name(header)
    well = table.first("well")
    if well is not None:
        texts = list(dict.fromkeys(well.cells[i].text for i in take))
        details["well"] = " ".join(texts[:400])
    return Curve(
        name, x_all[take], y_all[take], temperature, label, replicate, details, sd, n, group, denaturant
    )


def _note_restart(table, rows, x, name):
    """A note where the concentrations begin again: equal ones may be of another curve."""
    known = np.flatnonzero(~np.isnan(x))
    steps = np.diff(x[known])
    falls = np.flatnonzero(steps < 0.0)
    if known.size > 7 and 0 < falls.size <= known.size // 4:
        again = x[known][falls + 1]
        if (again <= x[known].min() + 0.2 * np.ptp(x[known])).all():
            row = table.grid.row_names[table.rows[rows[known[falls[0] + 1]]]]
            table.grid.note(
                "begins_again",
                f"the concentrations of '{shown(name)}' begin again in {row}; taken as one curve",
                name,
            )


def _mark(table, role, signal):
    """What a row such as `label` below the header says of a signal, or None."""
    cells = table.marks.get(role, ())
    return plain_value(cells[signal.place]) if signal.place < len(cells) else None


def _deviation(table, column, take, name):
    kind = column.header.kind
    what = {"sd": "standard deviation", "sem": "standard error", "error": "error"}[kind]
    table.grid.note("deviation", f"{column} kept as {what} of '{shown(name)}'", name)
    return read_numbers(table, column)[take]
