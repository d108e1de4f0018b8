"""Many curves at once: on the threads of this machine or on a dask cluster."""

import os
import re
from concurrent.futures import ThreadPoolExecutor
from functools import partial

import pandas as pd
from tqdm import tqdm

from .caution import cautions_of_notes, codes_of, text_of
from .exclusion import wells_of
from .fit import fit
from .read import Curve

_QUANTITIES = ("dG", "Cm", "m", "weight")
_PER_TRANSITION = re.compile(r"(dG|Cm|m|weight)(\d)")
_CLOSING = (
    "bootstrap_used", "R_squared", "durbin_watson", "code", "reason", "warnings", "warnings_in_words", "settings", "spikes", "outliers", "left_out",
    "aN", "bN_per_M", "aU", "bU_per_M",
)  # fmt: skip
_MOST_PER_TASK = 16  # Large enough to hide what a task costs, small enough to share evenly.


def as_curves(curves):
    """Curves from what people have: `Curve` records, a wide DataFrame, {name: (x, y)}, pairs."""
    if hasattr(curves, "columns"):
        x = curves.iloc[:, 0].to_numpy(float)
        pairs = ((name, x, curves[name].to_numpy(float)) for name in curves.columns[1:])
        return [Curve(str(name), x, y) for name, x, y in pairs]
    if hasattr(curves, "items"):
        curves = [Curve(str(name), x, y) for name, (x, y) in curves.items()]
    return [
        curve if isinstance(curve, Curve) else Curve(f"curve {i}", *curve)
        for i, curve in enumerate(curves, start=1)
    ]


def fit_curve(curve, temperature=None, **options):
    """The `Fit` of a `Curve`; its own temperature goes before the one given here."""
    return fit(curve.x, curve.y, temperature if curve.temperature is None else curve.temperature,
               **known_of(curve), **options)  # fmt: skip


def known_of(curve):
    """What a reader knows of a curve beside x, y and temperature, under the names of `zolt.fit`."""
    details = dict(curve.details)
    for role in ("label", "replicate"):
        if getattr(curve, role) is not None:
            details[role] = getattr(curve, role)
    return dict(
        name=curve.name, details=details, sd=curve.sd, n=curve.n, denaturant=curve.denaturant,
        wells=wells_of(curve), part=curve.part, notes=cautions_of_notes(curve.notes),
    )  # fmt: skip


def _outcome(curve, intervals, options):
    """A `Fit` and its intervals, or the exception that stood in the way, for one curve."""
    try:
        fitted = fit_curve(curve, **options)
        fitted.warnings  # found here, so that the threads share the work
        if intervals is None or not fitted.ok:
            return fitted, None
        return fitted, fitted.intervals(**intervals)
    except Exception as fault:  # one bad curve must not stop a plate
        return fault, None


def _outcomes(curves, intervals, options):
    return [_outcome(curve, intervals, options) for curve in curves]


def fit_each(curves, *, workers=None, client=None, progress=False, intervals=None, **options):
    """Pairs of `Fit` (or the exception) and `Intervals` (or None) in the order of the curves.

    `options` go to `zolt.fit`. `intervals` is None or a dictionary of options of `Fit.intervals`.
    `workers` threads run at once, as many as there are processors unless told otherwise; with
    `client`, a `dask.distributed.Client`, its cluster does the work instead.
    """
    curves = as_curves(curves)
    workers = workers or os.cpu_count() or 1
    size = min(_MOST_PER_TASK, 1 + len(curves) // (4 * workers))
    tasks = [curves[i : i + size] for i in range(0, len(curves), size)]
    work = partial(_outcomes, intervals=intervals, options=options)
    done = []
    with (
        tqdm(total=len(curves), unit="curve", disable=None if progress else True) as bar,
        ThreadPoolExecutor(workers) as pool,
    ):
        if client is None:
            results = pool.map(work, tasks)
        else:
            results = (future.result() for future in client.map(work, tasks, pure=False))
        for outcomes in results:
            done += outcomes
            bar.update(len(outcomes))
    return done


def table_of(outcomes, curves, units="kcal"):
    """A tidy DataFrame, one row per curve in the order of `outcomes`."""
    rows = []
    for curve, (fitted, intervals) in zip(curves, outcomes, strict=True):
        if isinstance(fitted, Exception):
            rows.append(
                {"curve": curve.name, **curve.details, "status": "error", "reason": str(fitted), "warnings": ""}
            )
            continue
        row = fitted.to_dict(units)
        if intervals is not None:
            row.update(intervals.to_dict(units))
            said = (*fitted.warnings, *intervals.warnings)
            row["warnings"], row["warnings_in_words"] = codes_of(said), text_of(said)
        rows.append(row)
    frame = pd.DataFrame(rows)
    counts = [name for name in ("states", "code") if name in frame]
    frame[counts] = frame[counts].astype("Int64")
    return frame[sorted(frame, key=_place)]


def _place(column):
    """Sorts the columns: what a curve is, its transitions one after the other, the rest."""
    if match := _PER_TRANSITION.match(column):
        return 1, match[2], _QUANTITIES.index(match[1])
    return (2 if column in _CLOSING else 0), "", 0


def fit_many(
    curves, *, workers=None, client=None, progress=True, intervals=None, units="kcal", **options
):
    """Fit many curves; a tidy DataFrame with one row per curve, in the order of the input.

    `curves` are `Curve` records, a wide DataFrame, a dictionary of (x, y) or a list of such pairs.
    See `fit_each` for the options. No curve stops the others: `status` says how each went.
    """
    curves = as_curves(curves)
    outcomes = fit_each(
        curves, workers=workers, client=client, progress=progress, intervals=intervals, **options
    )
    return table_of(outcomes, curves, units)
