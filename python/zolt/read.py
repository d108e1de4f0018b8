"""Curves from files: wide and long tables, text and workbooks, plates with a layout.

A wide table has concentrations in its first column, or in the one that is named so, and a signal
per further column. A long table has columns for concentration, signal and sample. Rows may stand
between the header and the numbers to give `label`, `replicate` or `temperature` of each column.
Text above the table, or lines that begin with #, may state temperature, denaturant and unit.
"""

from dataclasses import replace
from pathlib import Path

from .reading.columns import Options
from .reading.curve import Curve, Reading, identical_curves, tell_apart
from .reading.grid import Note, ReadError, shown
from .reading.names import number_replicates
from .reading.plates import plate_curves
from .reading.tables import curves_of
from .reading.text import MOST_BYTES, decode, grid_of_text
from .reading.workbook import grids_of_workbook, is_workbook

_ON_ALL = (  # notes on a file that bear on the numbers of all its curves
    "unit_assumed", "unit_converted", "x_assumed", "temperature_unclear", "beyond_solubility",
    "low_concentrations",
)  # fmt: skip

__all__ = ["Curve", "Note", "ReadError", "Reading", "read_curves", "read_file", "read_together"]


def read_curves(path, layout=None, sheet=None, **options):
    """All curves of a file as a list of `Curve`; see `read_file`."""
    return read_file(path, layout, sheet, **options).curves


def read_file(path, layout=None, sheet=None, **options):
    """The `Reading` of a file: its curves, notes on what was assumed or left out, and a summary.

    `layout` is the path of a table with the columns well, sample, concentration and, if wanted,
    label, replicate and temperature; the file is then a plate matrix (rows A, B, ..., columns 1,
    2, ...) or a table of well and signal. `sheet` is the name of a sheet of a workbook or its
    number from 1; without it all sheets with a table are read. Where the file leaves it open,
    `x` names the column of concentrations, `columns` those of the signals (names, or numbers from
    1), `skip_rows` how many rows to pass over, `decimal` the decimal mark, `denaturant` the
    denaturant and `unit` the unit of concentration. Unusable files raise `ReadError` with file,
    row, column and what was expected.
    """
    if unknown := set(options) - set(Options.__dataclass_fields__):
        known = ", ".join(Options.__dataclass_fields__)
        raise TypeError(f"unknown option {', '.join(sorted(unknown))}; there are layout, sheet, {known}")
    options = Options(**options)
    grids, notes = _grids(Path(path), sheet, options.skip_rows)
    curves = []
    if layout is not None:
        plate, *others = [grid for grid in grids if any(map(any, grid.rows))] or grids[:1]
        curves = plate_curves(plate, _layout_grid(Path(layout)), options)
        notes += plate.notes
        for grid in others:
            why = "the layout is of one sheet; --sheet takes another"
            notes.append(Note("sheet_left_out", f"sheet '{grid.sheet}' left out: {why}"))
    else:
        curves = _curves_of_sheets(grids, options, notes)
    curves = number_replicates(curves)
    if not curves:
        raise ReadError(f"{path}: found no readings.")
    curves, renamed = tell_apart(curves)
    notes += renamed + identical_curves(curves)
    return Reading(str(path), _with_notes(curves, notes), notes)


def read_together(paths, layout=None, temperature=None, **options):
    """Pairs of path and `Reading`, or of path and the `ReadError` that stood in the way.

    Curves of equal names in several files are told apart by their file, and equal readings are
    noted. The details of every curve say whether its temperature was read, given here, or assumed.
    """
    results = []
    for path in map(Path, paths):
        try:
            found = read_file(path, layout, **options)
            results.append((path, found if temperature is None else _without_doubt(found)))
        except ReadError as fault:
            results.append((path, fault))
        except Exception as fault:  # a fault of ours must not cost the other files
            kind = type(fault).__name__
            text = f"{path.name}: the reader fails on this file ({kind}); please send it to the developers."
            results.append((path, ReadError(text)))
    readings = [found for _, found in results if isinstance(found, Reading)]
    curves, notes = tell_apart([curve for reading in readings for curve in reading.curves])
    notes = _by_curve(notes + identical_curves(curves))
    curves = iter(curves)
    for i, (path, found) in enumerate(results):
        if isinstance(found, Reading):
            own = [_with_origin(_with_own(next(curves), notes), temperature) for _ in found.curves]
            kept = {c.temperature for c in own} - {None, temperature}
            if temperature is not None and kept:
                stated = " and ".join(f"{value:g}" for value in sorted(kept))
                silent = f"{temperature:g} °C is for curves whose file is silent"
                text = f"{stated} °C of the file kept; {silent}"
                found.notes.append(Note("temperature_kept", text))
            said = set(found.notes)
            names = dict.fromkeys(curve.name for curve in own)
            more = [note for name in names for note in notes.get(name, ()) if note not in said]
            results[i] = path, Reading(found.source, own, found.notes + more)
    return results


def _without_doubt(reading):
    """The reading without its notes on temperatures in doubt, as one is given."""
    sure = lambda notes: [note for note in notes if note.code != "temperature_unclear"]  # noqa: E731
    curves = [replace(curve, notes=tuple(sure(curve.notes))) for curve in reading.curves]
    return Reading(reading.source, curves, sure(reading.notes))


def _with_origin(curve, temperature):
    """The curve with what its row of a table must say of its reading."""
    origin = "file" if curve.temperature is not None else "assumed" if temperature is None else "given"
    details = {**curve.details, "denaturant": curve.denaturant, "temperature_from": origin}
    if curve.notes:
        details["input_notes"] = "; ".join(note.text for note in curve.notes)
    return replace(curve, details=details)


def _grids(path, sheet, skip_rows=0):
    """The grids of a file: one of a text, one per sheet of a workbook."""
    if path.is_dir():
        raise ReadError(f"{path}: expected a file, found a folder.")
    if not path.is_file():
        raise ReadError(f"{path}: there is no such file.")
    try:
        before = path.stat()
        if before.st_size > MOST_BYTES:
            raise ReadError(
                f"{path}: the file has more than {MOST_BYTES / 1e6:.0f} MB; keep the table alone."
            )
        raw = path.read_bytes()
        after = path.stat()
    except OSError as fault:
        raise ReadError(f"{path}: the file cannot be opened ({fault.strerror}).") from None
    if (len(raw), after.st_mtime_ns) != (before.st_size, before.st_mtime_ns):
        raise ReadError(f"{path}: the file changed while it was read; run again once it is written.")
    if not is_workbook(raw):
        if path.suffix.lower() == ".xlsx":
            raise ReadError(f"{path}: expected an Excel workbook, found other data.")
        return [grid_of_text(str(path), decode(str(path), raw), skip_rows)], []
    grids, hidden = grids_of_workbook(str(path), raw, skip_rows)
    notes = [Note("sheet_left_out", f"sheet '{shown(name)}' left out: it is hidden") for name in hidden]
    if sheet is not None:
        grids = [_chosen(path, grids, sheet)]
    return grids, notes


def _chosen(path, grids, sheet):
    text = str(sheet).strip()
    for grid in grids:
        if grid.sheet == text:
            return grid
    if text.isdigit() and 1 <= int(text) <= len(grids):
        return grids[int(text) - 1]
    names = ", ".join(f"'{grid.sheet}'" for grid in grids)
    raise ReadError(f"{path}: there is no sheet '{shown(text)}'; the sheets are {names}.")


def _layout_grid(path):
    """The grid of a layout; of a workbook the first sheet that is not empty."""
    grids, _ = _grids(path, None)
    return next((grid for grid in grids if any(map(any, grid.rows))), grids[0])


def _curves_of_sheets(grids, options, notes):
    """Curves of all sheets with a table; the first fault counts where no sheet has one."""
    curves, faults = [], []
    filled = [grid for grid in grids if any(map(any, grid.rows))] or grids[:1]
    for grid in filled:
        if len(filled) == 1:
            grid.sheet = None
        try:
            curves += curves_of(grid, options)
            notes += grid.notes
        except ReadError as fault:
            if len(filled) == 1:
                raise
            faults.append((grid.sheet, fault))
    if not curves and faults:
        raise faults[0][1]
    for name, fault in faults:
        why = str(fault).split(": ", 1)[-1]
        notes.append(Note("sheet_left_out", f"sheet '{name}' left out: {why}"))
    return curves


def _with_notes(curves, notes):
    """The curves with the notes that concern them: their own, and those on all numbers of the file."""
    places = {note: place for place, note in enumerate(notes)}
    own = _by_curve(notes)
    on_all = [note for note in own.pop(None, ()) if note.code in _ON_ALL]
    return [
        replace(curve, notes=tuple(sorted([*on_all, *own.get(curve.name, ())], key=places.get)))
        for curve in curves
    ]


def _by_curve(notes):
    """The notes by the name of their curve."""
    names = {}
    for note in notes:
        names.setdefault(note.curve, []).append(note)
    return names


def _with_own(curve, notes):
    """The curve with those of further notes that name it."""
    more = [note for note in notes.get(curve.name, ()) if note not in curve.notes]
    return replace(curve, notes=(*curve.notes, *more)) if more else curve
