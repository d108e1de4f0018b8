"""Concentrations of a table in M: unit and denaturant, and whether they can be right."""

from pathlib import Path

import numpy as np

from .columns import read_numbers
from .grid import shown, tidy_name
from .quantities import HIGHEST_WITHOUT_UNIT, LEAST_CONCENTRATION, factor_to_molar, soluble
from .spellings import SPELLINGS, denaturant_in, denaturant_of, plain, unit_of

_LITTLE = 0.2  # M; urea and guanidinium salts unfold hardly anything below


def concentrations(table, column, options):
    """The concentrations of a column in M."""
    grid = table.grid
    stated_unit = unit_of(str(options.unit)) if options.unit else None
    if options.unit and stated_unit is None:
        raise grid.fault(
            f"--unit {shown(str(options.unit))} is no unit of concentration; "
            "M, mM, µM, g/L, '% of 8 M' and '% w/v' are."
        )
    named = table.first("denaturant")
    if options.denaturant:
        column.denaturant = denaturant_of(options.denaturant) or tidy_name(options.denaturant)
    elif column.denaturant is None:
        own = denaturant_of(named.cells[0].text) if named else None
        column.denaturant = (
            own
            or table.stated.denaturant
            or denaturant_in(column.group)
            or denaturant_in(Path(grid.source).stem)
        )
    values = read_numbers(table, column).copy()
    unit = stated_unit or column.unit or _unit_column(table) or table.stated.unit
    in_cells = [unit_of(c.unit) if c.kind == "number" and c.unit else None for c in column.cells]
    if unit is not None and unit.key == "%":  # the header says of what the per cent of the cells are
        in_cells = [None if own is not None and own.key == "%" else own for own in in_cells]
    units = {u for u in in_cells if u is not None}
    for i, (cell, own) in enumerate(zip(column.cells, in_cells)):
        if cell.kind == "number":
            factor = factor_to_molar(stated_unit or own or unit, column.denaturant)
            if isinstance(factor, str):
                raise grid.fault(f"{factor}.", table.rows[i], column.place)
            if own is None and units and not unit and values[i] != 0.0:
                raise grid.fault(
                    f"'{cell.text}' has no unit while other concentrations have one.",
                    table.rows[i],
                    column.place,
                )
            values[i] *= factor
    used = stated_unit or unit or (units.pop() if len(units) == 1 else None)
    if used is None and not units:
        grid.note("unit_assumed", "no unit of concentration is stated; M assumed")
    elif str(used) != "M":
        what = str(used) if used else "the units of the cells"
        grid.note("unit_converted", f"concentrations converted to M from {what}")
    _check_concentrations(table, column, values, used or units)
    return values


def _unit_column(table):
    """The unit that a column 'unit' gives in every row, or None."""
    for column in table.columns:
        units = {unit_of(cell.text) for cell in column.cells}
        if plain(column.name) in SPELLINGS["metadata"]["unit"] and None not in units:
            if len(units) > 1:
                raise table.grid.fault(
                    "the concentrations have several units; convert them to one.", None, column.place
                )
            return units.pop()
    return None


def _check_concentrations(table, column, values, has_unit):
    grid, known = table.grid, values[~np.isnan(values)]
    if not known.size:
        raise grid.fault(
            "the column of concentrations holds no numbers; name another one with --x.", None, column.place
        )
    if known.min() < LEAST_CONCENTRATION:
        i = int(np.nanargmin(values))
        raise grid.fault(
            f"a concentration below 0, {shown(column.cells[i].text)}.", table.rows[i], column.place
        )
    if known.size > 1 and np.ptp(known) == 0.0:
        raise grid.fault(
            f"all concentrations are {known[0]:g} M; name another column with --x.", None, column.place
        )
    highest, limit = float(known.max()), soluble(column.denaturant)
    if highest > HIGHEST_WITHOUT_UNIT and not table.options.unit:
        lack = "" if has_unit else " and no unit"
        raise grid.fault(
            f"concentrations up to {highest:g} M{lack}, but no denaturant dissolves to that. Say --unit mM, "
            "--unit '% of 8 M' or --unit M, or name another column with --x.", None, column.place,
        )  # fmt: skip
    if highest > limit:
        what = column.denaturant or "any denaturant"
        grid.note(
            "beyond_solubility",
            f"concentrations up to {highest:g} M, while {limit:g} M {what} dissolve at 25 °C",
        )
    if highest < _LITTLE:
        grid.note(
            "low_concentrations", f"concentrations reach {highest:g} M only; say --unit if they are not in M"
        )


def need_concentrations(table, column, rows, x, given):
    """A reading without a concentration is a fault, unless its row is a summary or marked as void."""
    for k in np.flatnonzero(given & np.isnan(x)):
        i = rows[k]
        cell, row = column.cells[i], table.rows[i]
        words = plain(table.grid.cell(row, 0)).strip(":. ") or plain(cell.text)
        if (
            cell.kind == "missing"
            or plain(cell.text).strip(":. ") in SPELLINGS["summary_rows"]
            or words in SPELLINGS["summary_rows"]
        ):
            what = shown(cell.text or words)
            table.grid.note(
                "row_left_out", f"{table.grid.row_names[row]} left out: its concentration is '{what}'"
            )
        elif cell.kind == "blank":
            raise table.grid.fault("a reading without a concentration.", row)
        else:
            raise table.grid.fault(
                f"expected a concentration in M, found '{shown(cell.text)}'.", row, column.place
            )
