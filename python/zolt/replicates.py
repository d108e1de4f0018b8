"""Replicates: brought together before a fit, or compared after fits of each."""

from collections import Counter
from dataclasses import replace

import numpy as np

from .caution import LIMITS
from .model import CAL_PER_UNIT
from .points import means_at
from .reading.curve import tell_apart
from .reading.grid import Note

GROUP = "replicate_of"  # the detail of a fit that names its group
_QUANTITIES = ("dG", "Cm", "m")
_MOST_NAMED = 6
_GRID = 60  # places at which replicates are compared


def conditions(curve, across=False):
    """What replicates of one another have in common: also the file, unless they go `across` files.

    Columns of two files are often called alike and are different proteins.
    """
    file = None if across else curve.details.get("file")
    return curve.group, file, curve.temperature, curve.label, curve.denaturant


def pooled(curves, across=False):
    """The curves with those of one `group`, temperature and label brought together, in order.

    Only curves of one file are brought together, unless `across` is set; then curves of one name in
    several files, or sheets, are replicates too.
    Every reading stays a reading; equal concentrations tell the pure error of the fit. `part` says of
    each reading which replicate it belongs to. Replicates that differ in scale or offset, so that no
    one curve runs through them, stay as they are with a note.
    """
    curves = _by_plain_name(curves) if across else curves
    groups = {}
    for i, curve in enumerate(curves):
        key = i if curve.group is None else conditions(curve, across)
        groups.setdefault(key, []).append(curve)
    taken = Counter(same[0].group if len(same) > 1 else same[0].name for same in groups.values())
    brought = []
    for same in groups.values():
        if len(same) == 1:
            brought += same
        elif (apart := _apart(same)) > LIMITS.replicates_apart:
            brought += [_with_note(curve, apart) for curve in same]
        else:
            brought.append(_together(same, taken[same[0].group] > 1))
    return tell_apart(brought)[0]


def _by_plain_name(curves):
    """The curves, those of one name in several files or sheets with that name as their group."""
    places = {}
    names = [curve.group or _plain_name(curve) for curve in curves]
    for curve, name in zip(curves, names):
        places.setdefault(name, set()).add((curve.details.get("file"), curve.details.get("sheet")))
    return [
        replace(curve, group=name) if curve.group is None and len(places[name]) > 1 else curve
        for curve, name in zip(curves, names)
    ]


def _plain_name(curve):
    """The name without the file or the sheet that told it from equal ones."""
    name = curve.name
    for detail in ("file", "sheet"):
        name = name.removesuffix(f" ({curve.details.get(detail)})")
    return name


def gathered(curves, settings):
    """The curves with their replicates as the settings have them: pooled, across files too, or each."""
    return curves if settings.replicates == "each" else pooled(curves, settings.replicates == "across")


def told_together(curves):
    """A sentence that names the curves which are several replicates; empty where there are none."""
    together = [f"{c.name} ({c.details['replicates']})" for c in curves if c.details.get("replicates", 1) > 1]
    more = f" and {len(together) - _MOST_NAMED} more" if len(together) > _MOST_NAMED else ""
    named = ", ".join(together[:_MOST_NAMED])
    return f"replicates fitted together: {named}{more}" if together else ""


def _with_note(curve, apart):
    text = (
        f"replicates of '{curve.group}' differ by {100.0 * apart:.0f} % of the signal; each is fitted alone"
    )
    note = Note("replicates_differ", text, curve.name)
    return curve if note in curve.notes else replace(curve, notes=(*curve.notes, note))


def _apart(curves):
    """How far a replicate lies from the mean of the others over a sixth of the curve, over the span."""
    sound = [(c.x[there], c.y[there]) for c in curves for there in [np.isfinite(c.x) & np.isfinite(c.y)]]
    if min(x.size for x, _ in sound) < 2:
        return 0.0
    low, high = max(x[0] for x, _ in sound), min(x[-1] for x, _ in sound)
    span = np.ptp(np.concatenate([y for _, y in sound]))
    if not (high > low and span > 0.0):
        return 0.0
    rows = np.array([np.interp(np.linspace(low, high, _GRID), *means_at(x, y)) for x, y in sound])
    others = (rows.sum(axis=0) - rows) / (len(rows) - 1)
    off = rows - others
    windows = np.lib.stride_tricks.sliding_window_view(off, _GRID // 6, axis=1)
    return np.abs(windows.mean(axis=-1)).max() / span


def _together(curves, ambiguous):
    first = curves[0]
    x = np.concatenate([curve.x for curve in curves])
    order = np.argsort(x, kind="stable")
    members = np.concatenate([np.full(len(curve.x), curve.name) for curve in curves])
    part = np.concatenate([np.full(len(c.x), str(_mark(c, i))) for i, c in enumerate(curves, start=1)])

    def rows(name):
        values = [getattr(curve, name) for curve in curves]
        return None if any(v is None for v in values) else np.concatenate(values)[order]

    wells = [str(curve.details.get("well", "")).split() for curve in curves]
    details = {key: value for key, value in first.details.items()
               if all(curve.details.get(key) == value for curve in curves)}  # fmt: skip
    if all(len(own) == len(curve.x) and own for own, curve in zip(wells, curves)):
        details["well"] = " ".join(np.concatenate(wells)[order])
    files = dict.fromkeys(str(curve.details["file"]) for curve in curves if "file" in curve.details)
    if files:
        details["file"] = ", ".join(files)
    details["replicates"] = len(curves)
    notes = dict.fromkeys(note for curve in curves for note in curve.notes)
    if notes:
        details["input_notes"] = "; ".join(dict.fromkeys(note.text for note in notes))
    return replace(
        first, name=_named(first, ambiguous), x=x[order], y=rows("y"), sd=rows("sd"), n=rows("n"),
        part=part[order], members=members[order], replicate=None, group=None, details=details,
        notes=tuple(notes),
    )  # fmt: skip


def _named(first, ambiguous):
    """The name of the group, with the conditions that part it from others of that name."""
    parts = [first.group]
    if ambiguous:
        parts += [f"label {first.label}"] if first.label is not None else []
        parts += [f"{first.temperature:g} °C"] if first.temperature is not None else []
    return " ".join(parts)


def _mark(curve, place):
    mark = place if curve.replicate is None else curve.replicate
    return f"{mark:g}" if isinstance(mark, float) else mark


def replicate_means(fits, units="kcal"):
    """A DataFrame with mean and SD of dG, Cm and m of replicates that were fitted each alone.

    A row per group of replicates; of its fits those count that are fitted with the number of states
    that most of them have. A lone fit has no SD.
    """
    import pandas as pd

    groups = {}
    for fit in fits:
        if GROUP in fit.details:
            shared = (fit.details.get(name) for name in (GROUP, "file", "label"))
            groups.setdefault((*shared, fit.temperature, fit.denaturant), []).append(fit)
    rows = []
    for (name, _, label, *_), members in groups.items():
        if len(members) < 2:
            continue
        sound = [fit for fit in members if fit.ok]
        states = [fit.states for fit in sound]
        most = max(states, key=states.count) if states else None
        alike = [fit for fit in sound if fit.states == most]
        row = {
            "curve": name,
            "label": label,
            "replicates": len(members),
            "fitted": len(alike),
            "states": most,
        }
        for i in range(0 if most is None else most - 1):
            for quantity in _QUANTITIES:
                scale = 1.0 if quantity == "Cm" else CAL_PER_UNIT[units]
                values = np.array([getattr(fit, quantity)[i] for fit in alike]) / scale
                suffix = {"dG": f"_{units}_per_mol", "Cm": "_M", "m": f"_{units}_per_mol_per_M"}[quantity]
                row[f"{quantity}{i + 1}_mean{suffix}"] = values.mean()
                row[f"{quantity}{i + 1}_sd{suffix}"] = values.std(ddof=1) if values.size > 1 else np.nan
        rows.append(row)
    table = pd.DataFrame(rows)
    if len(table):
        table["states"] = table["states"].astype("Int64")
        if table["label"].isna().all():
            table = table.drop(columns="label")
    return table
