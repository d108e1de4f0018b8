"""Many curves at once: on the threads of this machine or on a dask cluster."""

import re
from dataclasses import dataclass

import pandas as pd
from tqdm import tqdm

from .caution import cautions_of_notes, codes_of, text_of
from .curves import as_curves
from .exclusion import excluded
from .fit import fit
from .global_fit import alone, with_one_m
from .replicates import GROUP, gathered
from .settings import Settings, settings_of
from .sheets import warnings_of
from .turns import in_turn

_QUANTITIES = ("dG", "Cm", "m", "weight")
_PER_TRANSITION = re.compile(r"(dG|Cm|m|weight)(\d)")
_CLOSING = (
    "bootstrap_used", "R_squared", "durbin_watson", "replicate_sd", "lack_of_fit_p", "code", "reason",
    "warnings", "warnings_in_words", "settings", "spikes", "outliers", "left_out",
    "aN", "bN_per_M", "aU", "bU_per_M",
)  # fmt: skip
_COUNTS = ("states", "code", "points", "replicates", "spikes", "outliers", "left_out", "bootstrap_used")


def fit_curve(curve, settings=Settings()):
    """The `Fit` of a `Curve`; its own temperature goes before that of the settings."""
    details = dict(curve.details)
    for role in ("label", "replicate"):
        if getattr(curve, role) is not None:
            details[role] = getattr(curve, role)
    if curve.group is not None:
        details[GROUP] = curve.group
    return fit(
        curve.x, curve.y, curve.temperature, settings=settings, name=curve.name, details=details, sd=curve.sd,
        n=curve.n, denaturant=curve.denaturant, part=curve.part,
        exclude=excluded(settings.exclude, curve), notes=cautions_of_notes(curve.notes),
    )  # fmt: skip


def _outcome(curve, settings):
    """A `Fit` and its intervals, or the exception that stood in the way, for one curve."""
    try:
        return with_intervals(fit_curve(curve, settings))
    except Exception as fault:  # one bad curve must not stop a plate
        return fault, None


def with_intervals(fitted):
    """The fit and the intervals that its settings ask for, or None."""
    fitted.warnings  # found here, so that the threads share the work
    intervals = fitted.settings.intervals
    if intervals is None or not fitted.ok or fitted.answer is None:
        return fitted, None
    return fitted, fitted.intervals(**intervals)


@dataclass(frozen=True)
class FitAll:
    """The work on a list of curves: a pair of `Fit` (or the exception) and `Intervals` (or None) for each.

    With `units` it is what `row_of` makes of the pair, which is small and of plain values.
    """

    settings: Settings
    units: str = None

    def __call__(self, curves):
        return [self._answer(curve, _outcome(curve, self.settings)) for curve in curves]

    def lost(self, curve, fault):
        """The answer for a curve that could not be worked on."""
        return self._answer(curve, (fault, None))

    def _answer(self, curve, outcome):
        return outcome if self.units is None else row_of(curve, outcome, self.units)


def fit_each(curves, *, workers=None, client=None, progress=False, settings=None, **options):
    """Pairs of `Fit` (or the exception) and `Intervals` (or None) in the order of the curves.

    `options` are those of `zolt.fit`, or all of them are `settings`, a `zolt.Settings`. `m="shared"` fits
    all curves with one m-value. `intervals` is None or a dictionary of options of `Fit.intervals`.
    `workers` threads run at once, as many as there are processors unless told otherwise; with
    `client`, a `dask.distributed.Client`, its cluster does the work instead. Replicates are fitted
    each alone: `zolt.pooled` brings them together first.
    """
    curves, settings = as_curves(curves), settings or settings_of(**options)
    if settings.shares_m:
        fits = with_one_m([fit_curve(curve, alone(settings)) for curve in curves], settings)
        return [with_intervals(fitted) for fitted in fits]
    done = []
    with tqdm(total=len(curves), unit="curve", disable=None if progress else True) as bar:
        for outcomes in in_turn(FitAll(settings), curves, workers, client):
            done += outcomes
            bar.update(len(outcomes))
    return done


def table_of(outcomes, curves, units="kcal"):
    """A tidy DataFrame, one row per curve in the order of `outcomes`."""
    rows = [row_of(curve, outcome, units)[0] for curve, outcome in zip(curves, outcomes, strict=True)]
    frame = frame_of(rows)
    return frame[sorted(frame, key=column_place)]


def row_of(curve, outcome, units="kcal"):
    """The row of a curve in the table as a dictionary of plain values, and its warnings."""
    fitted, intervals = outcome
    if isinstance(fitted, Exception):
        row = {"curve": curve.name, **curve.details, "status": "error", "reason": str(fitted), "warnings": ""}
        return row, ()
    row, said = fitted.to_dict(units), warnings_of(fitted, intervals)
    if intervals is not None:
        row.update(intervals.to_dict(units))
        row["warnings"], row["warnings_in_words"] = codes_of(said), text_of(said)
    return row, said


def frame_of(rows):
    """A DataFrame of rows, in which counts stay whole numbers where some rows have none."""
    frame = pd.DataFrame(rows)
    counts = [name for name in _COUNTS if name in frame]
    frame[counts] = frame[counts].astype("Int64")
    return frame


def column_place(column):
    """Sorts the columns: what a curve is, its transitions one after the other, the rest."""
    if match := _PER_TRANSITION.match(column):
        return 1, match[2], _QUANTITIES.index(match[1])
    return (2 if column in _CLOSING else 0), "", 0


def fit_many(curves, *, workers=None, client=None, progress=True, units="kcal", settings=None, **options):
    """Fit many curves; a tidy DataFrame with one row per curve, in the order of the input.

    `curves` are `Curve` records, a wide DataFrame, a dictionary of (x, y) or a list of such pairs.
    Replicates are one curve, unless `replicates="each"`. See `fit_each` for the options. No curve stops
    the others: `status` says how each went.
    """
    settings = settings or settings_of(**options)
    curves = gathered(as_curves(curves), settings)
    outcomes = fit_each(curves, workers=workers, client=client, progress=progress, settings=settings)
    return table_of(outcomes, curves, units)
