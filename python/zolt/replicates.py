"""Replicates: brought together before a fit, or compared after fits of each."""

from dataclasses import replace

import numpy as np

from .model import CAL_PER_UNIT

_QUANTITIES = ("dG", "Cm", "m")


def pooled(curves):
    """The curves with those of one `group`, temperature and label brought together, in order.

    Every reading stays a reading; equal concentrations tell the pure error of the fit. `part` says of
    each reading which replicate it belongs to.
    """
    groups = {}
    for i, curve in enumerate(curves):
        key = i if curve.group is None else (curve.group, curve.temperature, curve.label, curve.denaturant)
        groups.setdefault(key, []).append(curve)
    several = [same for same in groups.values() if len(same) > 1]
    taken = {curve.name for same in groups.values() if len(same) == 1 for curve in same}
    names = [same[0].group for same in several]
    return [
        same[0] if len(same) == 1 else _together(same, names.count(same[0].group) > 1 or same[0].group in taken)
        for same in groups.values()
    ]


def _together(curves, ambiguous):
    first = curves[0]
    x = np.concatenate([curve.x for curve in curves])
    order = np.argsort(x, kind="stable")
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
        first, name=first.name if ambiguous else first.group, x=x[order], y=rows("y"), sd=rows("sd"), n=rows("n"),
        part=part[order], replicate=None, group=None, details=details, notes=tuple(notes),
    )  # fmt: skip


def _mark(curve, place):
    mark = place if curve.replicate is None else curve.replicate
    return f"{mark:g}" if isinstance(mark, float) else mark


def replicate_means(fits, curves, units="kcal"):
    """A DataFrame with mean and SD of dG, Cm and m of replicates that were fitted each alone.

    A row per group of `curves`, which stand beside `fits`; of its fits those count that are fitted
    with the number of states that most of them have. A lone fit has no SD.
    """
    import pandas as pd

    groups = {}
    for curve, fit in zip(curves, fits, strict=True):
        if curve.group is not None:
            groups.setdefault((curve.group, curve.temperature, curve.label), []).append(fit)
    rows = []
    for (name, _, label), members in groups.items():
        sound = [fit for fit in members if not isinstance(fit, Exception) and fit.ok]
        states = [fit.states for fit in sound]
        most = max(states, key=states.count) if states else None
        alike = [fit for fit in sound if fit.states == most]
        row = {"curve": name, "label": label, "replicates": len(members), "fitted": len(alike), "states": most}
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
