"""Curves from a plate and its layout.

The plate is a matrix with rows A, B, ... and columns 1, 2, ..., or several of them below each
other, one per wavelength, or a table with a row per well. The layout is a table that names sample
and concentration of every well.
"""

import re
from collections import Counter
from dataclasses import replace
from pathlib import Path

import numpy as np

from .blocks import block_with, find_blocks, plate_corners, whole_number
from .columns import Column, Table, read_numbers, table_of
from .curve import Curve
from .grid import shown, tidy_name
from .numbers import cell_of, proven_marks
from .quantities import celsius, temperature_from, temperature_unit
from .spellings import SPELLINGS, header_of, plain
from .concentrations import concentrations
from .names import plain_value
from .temperatures import doubt_temperature, temperature_of_names

_WELL = re.compile(r"([A-Z]|A[A-F])[\s\-_]*0*([1-9]\d?)")


def well_of(text):
    """'A1' of 'A01', 'a 1' or 'A1'; None where it is no well."""
    match = _WELL.fullmatch(text.strip().upper())
    return match and f"{match[1]}{match[2]}"


def _matrices(grid, options):
    """Readings by well for every matrix: {name: {well: (cell, row, column)}}."""
    corners, matrices = plate_corners(grid), {}
    for k, (top, left) in enumerate(corners):
        end = corners[k + 1][0] if k + 1 < len(corners) else len(grid.rows)
        wells = {}
        for i in range(top + 1, end):
            letter = grid.cell(i, left).strip().upper()
            if not re.fullmatch(r"[A-Z]|A[A-F]", letter):
                if (
                    any(grid.rows[i])
                    and cell_of(grid.cell(i, left)).kind in ("number", "blank")
                    and _has_numbers(grid, i, left)
                ):
                    raise grid.fault(
                        f"expected a plate row A to P, found '{shown(grid.cell(i, left))}'.", i, left
                    )
                if wells and any(grid.rows[i]):
                    break
                continue
            for j in range(left + 1, len(grid.rows[top])):
                number = whole_number(grid.cell(top, j))
                if number is not None:
                    wells[f"{letter}{number}"] = (cell_of(grid.cell(i, j)), i, j)
        if wells:
            matrices[_title(grid, top, left, matrices)] = wells
    return matrices


def _has_numbers(grid, row, left):
    return sum(cell_of(cell).kind == "number" for cell in grid.rows[row][left + 1 :]) > 1


def _title(grid, top, left, taken):
    """The name of a matrix: its corner, or the words right above it."""
    above = next((r for r in range(top - 1, max(-1, top - 3), -1) if any(grid.rows[r])), None)
    words = [grid.cell(top, left).strip("<> ")]
    if above is not None and grid.rows[above][0] and not re.fullmatch(r"[A-P]", grid.rows[above][0]):
        words.append(" ".join(filter(None, grid.rows[above][:3])))
    title = tidy_name(next(filter(None, words), "")) or f"block {len(taken) + 1}"
    return title if title not in taken else f"{title} {len(taken) + 1}"


def _readings(grid, options):
    """Signals by name and well: {signal: {well: number}}, and the cells that hold none."""
    matrices = _matrices(grid, options)
    if not matrices:
        matrices = _well_table(grid, options)
    cells = [entry[0] for wells in matrices.values() for entry in wells.values()]
    proven = proven_marks(cells)
    signals = {}
    for name, wells in matrices.items():
        keys, entries = list(wells), list(wells.values())
        column = Column(entries[0][2], name, header_of(name), [cell for cell, _, _ in entries])
        table = Table(grid, [row for _, row, _ in entries], [column], {}, None, options, proven=proven)
        values = read_numbers(table, column)
        signals[name] = {key: (value, cell) for key, value, (cell, _, _) in zip(keys, values, entries)}
    return signals


def _well_table(grid, options):
    """A table with a row per well and a signal in every further column."""
    block = block_with(grid, "well")
    if block is not None:
        table = table_of(block, find_blocks(grid)[1], options)
        wells = next(c for c in table.columns if c.header.role == "well")
        named = [c for c in table.columns if c.header.role == "y" and c.is_numeric]
        signals = named or [c for c in table.columns if c.header.role is None and c.is_numeric]
        names = [well_of(cell.text) for cell in wells.cells]
        for i, name in enumerate(names):
            if name and names.index(name) < i:
                raise grid.fault(f"well {name} is there twice.", table.rows[i], wells.place)
        if signals and any(names):
            return {
                s.name: {n: (c, r, s.place) for n, c, r in zip(names, s.cells, table.rows) if n}
                for s in signals
            }
    raise grid.fault(
        "expected a plate matrix with columns 1, 2, ... and rows A, B, ..., "
        "or a table with the columns well and signal."
    )


def _layout_table(layout, options):
    """The table of the layout and its columns by role."""
    block = block_with(layout, "well") or block_with(layout, "curve") or block_with(layout, "x")
    if block is None:
        raise layout.fault("expected a layout with the columns well, sample and concentration.")
    table = table_of(block, find_blocks(layout)[1], options)
    roles = {}
    for column in table.columns:
        roles.setdefault(column.header.role, column)
    lacking = [role for role in ("well", "curve", "x") if role not in roles]
    if lacking:
        names = {"curve": "sample", "x": "concentration"}
        raise layout.fault(
            "a layout needs the columns well, sample and concentration; missing: "
            f"{', '.join(names.get(role, role) for role in lacking)}."
        )
    return table, roles


def plate_curves(grid, layout, options):
    """The curves of a plate, sample by sample in the order of the layout."""
    signals = _readings(grid, options)
    table, roles = _layout_table(layout, replace(options, x=None, columns=None))
    _, stated = find_blocks(grid)
    if stated.temperature is None and stated.unclear is None:
        stated = replace(stated, temperature=table.stated.temperature)
    sample_of = roles["curve"]
    empty = [
        i for i, cell in enumerate(sample_of.cells)
        if cell.kind in ("blank", "missing") or plain(cell.text) in SPELLINGS["empty_samples"]
    ]  # fmt: skip
    places, seen = {}, {}
    for i, cell in enumerate(roles["well"].cells):
        well = well_of(cell.text)
        if well is None or (i not in empty and not any(well in wells for wells in signals.values())):
            raise layout.fault(
                f"{grid.source} has no well '{shown(cell.text)}'.", table.rows[i], roles["well"].place
            )
        if well in seen:
            other = layout.row_names[table.rows[seen[well]]]
            raise layout.fault(
                f"well {well} is there twice; it stands in {other} too.", table.rows[i], roles["well"].place
            )
        seen[well] = i
        places[i] = well
    molar = concentrations(table, roles["x"], options)
    lone = Counter(well for wells in signals.values() for well in wells).keys() - seen.keys()
    if lone:
        grid.note("wells_left_out", f"{len(lone)} wells of the plate are not in the layout")
    columns = [roles.get(role) for role in ("curve", "label", "replicate")]
    groups = {}
    for i in range(len(table.rows)):
        if i not in empty:
            groups.setdefault(tuple(c.cells[i].text if c else "" for c in columns), []).append(i)
    curves = []
    for key, rows in groups.items():
        for signal, wells in signals.items():
            curves.append(_curve(grid, layout, table, roles, key, rows, molar, places, wells, stated,
                                 signal if len(signals) > 1 else ""))  # fmt: skip
    grid.notes.update(layout.notes)
    if any(curve.temperature is None for curve in curves):
        doubt_temperature(grid, stated if stated.mentioned or stated.unclear is not None else table.stated)
    return curves


def _curve(grid, layout, table, roles, key, rows, molar, places, wells, stated, signal):
    sample, label, replicate = (tidy_name(text) for text in key)
    parts = [sample, f"label {label}" if label else "", f"replicate {replicate}" if replicate else ""]
    name = " ".join(filter(None, [*parts, signal]))
    group = " ".join(filter(None, [*parts[:2], signal])) if replicate else None
    used = []
    for i in rows:
        value, cell = wells.get(places[i], (np.nan, cell_of("")))
        if cell.kind in ("missing", "text"):
            grid.note(
                "blank",
                f"well {places[i]} holds '{shown(cell.text)}' ({cell.reason or 'not a number'})",
                name,
            )
        elif cell.kind == "blank":
            grid.note("blank", f"well {places[i]} of '{shown(name)}' holds no reading", name)
        elif np.isnan(molar[i]) and not np.isnan(value):
            raise layout.fault(
                f"well {places[i]} of '{shown(sample)}' has no concentration.",
                table.rows[i],
                roles["x"].place,
            )
        if not np.isnan(value):
            used.append((molar[i], value, places[i]))
    used.sort(key=lambda entry: entry[0])
    temperature = None
    if (column := roles.get("temperature")) is not None:
        temperature = _layout_temperature(layout, table, column, rows)
    if temperature is None:
        temperature = temperature_of_names(grid, (sample, label, signal), stated)
    details = {"file": Path(grid.source).name, "well": " ".join(well for _, _, well in used)}
    if grid.sheet:
        details["sheet"] = grid.sheet
    if label:
        details["label_is"] = tidy_name(roles["label"].name)
    return Curve(
        name, np.array([u[0] for u in used], float), np.array([u[1] for u in used], float), temperature,
        plain_value(label), plain_value(replicate), details, group=group,
        denaturant=roles["x"].denaturant or stated.denaturant,
    )  # fmt: skip


def _layout_temperature(layout, table, column, rows):
    """°C of the wells of a curve, which must agree."""
    entry = temperature_unit(column.name)
    values = set()
    for i in rows:
        cell = column.cells[i]
        if cell.kind == "number":
            values.add(temperature_from(cell.text) if cell.unit else celsius(cell.value("."), entry))
    if None in values or len(values) > 1:
        texts = ", ".join(dict.fromkeys(shown(column.cells[i].text) for i in rows))
        raise layout.fault(
            f"expected one temperature of 0 to 100 °C for a curve, found {texts}.",
            table.rows[rows[0]],
            column.place,
        )
    return values.pop() if values else None
