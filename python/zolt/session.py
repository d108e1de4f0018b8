"""A run in one JSON document, that it may be said again with the same numbers: `save`, `load`, `rerun`.

The document is that of the page as well: readings, choices and results of every curve. Readers pass over
names that they do not know; a number that is none is null.
"""

import hashlib
import json
from dataclasses import dataclass, replace
from pathlib import Path

import numpy as np

from . import _library, inference
from ._version import __version__
from .batch import with_intervals
from .caution import cautions_of_notes
from .fit import fit
from .global_fit import alone, with_one_m
from .reading.grid import Note
from .settings import Settings

FORMAT, FORMAT_VERSION = "zolt session", 1
_OF_RECORD = (
    "status", "transitions", "readings", "concentrations", "free_parameters", "bounds", "baseline",
    "dG", "Cm", "m", "weight", "baseline_se", "dG_se", "Cm_se", "m_se", "weight_se", "sse", "degrees",
    "residual_sd", "r_squared", "durbin_watson", "lack_p",
)  # fmt: skip
_COMPARED = ("dG", "Cm", "m")


class SessionError(ValueError):
    """A document that is no saved session; the text says what is wrong with it."""


@dataclass(frozen=True)
class Rerun:
    """A saved run made again: `fits` beside the numbers that were saved.

    `outcomes` are pairs of a fit and its intervals, or None where none are asked for. `apart` has for
    each curve the largest relative difference of dG, Cm and m, NaN where nothing was saved, infinite
    where one of the two is no fit.
    """

    settings: Settings
    units: str
    outcomes: list
    apart: np.ndarray

    @property
    def fits(self):
        return [fit for fit, _ in self.outcomes]

    @property
    def same(self):
        """True where every dG, Cm and m came back within 1e-6 of itself."""
        return not bool(np.any(self.apart > 1e-6))

    @property
    def verdict(self):
        """One sentence on whether the numbers are the same."""
        known = np.isfinite(self.apart) | np.isinf(self.apart)
        if not known.any():
            return "The session holds no results to compare with."
        most = self.apart[known].max()
        if most == 0.0:
            return f"dG, Cm and m of all {known.sum()} curves are the same, to the last digit."
        if self.same:
            return f"dG, Cm and m of all {known.sum()} curves are the same within {most:.1g} of their size."
        names = [fit.name for fit, apart in zip(self.fits, self.apart) if apart > 1e-6]
        shown = ", ".join(names[:4]) + (f" and {len(names) - 4} more" if len(names) > 4 else "")
        return f"{len(names)} of {known.sum()} curves give other numbers: {shown}."


def save(path, fits, settings, units="kcal"):
    """Write the fits with their readings and the settings of the run."""
    library = Path(_library.library().path)
    document = {
        "format": FORMAT,
        "formatVersion": FORMAT_VERSION,
        "zolt": __version__,
        "engine": hashlib.sha256(library.read_bytes()).hexdigest(),
        "unit": units,
        "settings": settings.to_plain(),
        "curves": [_curve(fit) for fit in fits],
    }
    with open(path, "w", encoding="utf-8") as file:
        json.dump(document, file, indent=1, ensure_ascii=False, allow_nan=False)


def _curve(fit):
    details = {
        key: value for key, value in fit.details.items() if key not in ("file", "well", "label", "replicate")
    }
    return {
        "name": fit.name, "file": str(fit.details.get("file", "")), "well": str(fit.details.get("well", "")),
        "x": _plain(fit.x), "y": _plain(fit.y), "sd": None if fit.sd is None else _plain(fit.sd),
        "part": None if fit.part is None else fit.part.tolist(), "temperature": fit.temperature,
        "denaturant": fit.denaturant, "unit": "M", "label": _plain(fit.details.get("label")),
        "replicate": _plain(fit.details.get("replicate")),
        "details": {k: _plain(v) for k, v in details.items()},
        "notes": [caution.sentence for caution in fit.input_cautions],
        "noteCodes": [caution.code for caution in fit.input_cautions],
        "out": (~fit.kept).tolist(), "range": None, "fit": _numbers(fit), "sentence": fit.reason,
        "status": fit.status, "warnings": [caution.code for caution in fit.warnings],
    }  # fmt: skip


def _numbers(fit):
    """The record of the fit under the names of `zolt_inference.h`."""
    if fit.answer is not None:
        record = fit.answer.record
        return {name: _plain(np.array(getattr(record, name))) for name in _OF_RECORD}
    if not fit.ok:
        return None
    rows = {name: np.append(getattr(fit, name), np.zeros(3 - fit.dG.size)) for name in _COMPARED}
    return {
        "status": inference.FITTED,
        "transitions": int(fit.dG.size),
        **{k: _plain(v) for k, v in rows.items()},
    }


def _plain(value):
    """Plain values of rows and numbers; null for what is not finite."""
    if isinstance(value, np.ndarray):
        value = value.tolist()
    if isinstance(value, list):
        return [_plain(v) for v in value]
    if isinstance(value, (float, np.floating)):
        return float(value) if np.isfinite(value) else None
    return int(value) if isinstance(value, np.integer) else value


def load(path):
    """The document at `path`, checked as far as a run needs it."""
    try:
        document = json.loads(Path(path).read_text(encoding="utf-8"))
    except OSError as fault:
        raise SessionError(f"{path}: the file cannot be opened ({fault.strerror}).") from None
    except ValueError:
        raise SessionError(f"{path}: expected a saved session, found something else.") from None
    if not isinstance(document, dict) or document.get("format") != FORMAT:
        raise SessionError(
            f"{path}: this JSON is no saved session; `zolt fit --out results.json` writes one."
        )
    if document.get("formatVersion") != FORMAT_VERSION:
        raise SessionError(f"{path}: the session is of another release; open it there.")
    if not document.get("curves") or not isinstance(document["curves"], list):
        raise SessionError(f"{path}: the session holds no curves.")
    return document


def rerun(path):
    """The saved run made again: `Rerun`."""
    document = load(path)
    try:
        settings = Settings.from_plain(document.get("settings") or {})
    except (ValueError, TypeError, AttributeError) as fault:
        raise SessionError(f"{path}: the settings are damaged: {fault}.") from None
    fits = []
    for i, curve in enumerate(document["curves"], start=1):
        try:
            fits.append(_fitted(curve, settings))
        except (KeyError, TypeError, ValueError, IndexError, AttributeError) as fault:
            raise SessionError(f"{path}: curve {i} of the session is damaged ({fault}).") from None
    if settings.shares_m:
        try:
            fits = with_one_m(fits, settings)
        except ValueError as fault:
            raise SessionError(f"{path}: {fault}.") from None
    try:
        apart = [_apart(fit, curve) for fit, curve in zip(fits, document["curves"])]
    except (KeyError, TypeError, ValueError, AttributeError) as fault:
        raise SessionError(f"{path}: the results of the session are damaged ({fault}).") from None
    units = document.get("unit") if document.get("unit") in ("kcal", "kJ") else "kcal"
    return Rerun(settings, units, [with_intervals(fit) for fit in fits], np.array(apart))


def _fitted(curve, settings):
    """A saved curve fitted again: without what was left out, by hand or as an outlier."""
    x, y = (np.array(curve[name], float) for name in ("x", "y"))
    sd = None if curve.get("sd") is None else np.array(curve["sd"], float)
    out = np.array(curve.get("out") or np.zeros(x.size), bool)
    if curve.get("range") is not None:
        low, high = curve["range"]
        out |= ~((x >= low) & (x <= high))
    own = {name: curve.get(name) for name in ("file", "well", "label", "replicate")}
    told = {name: value for name, value in own.items() if value not in (None, "")}
    details = {**(curve.get("details") or {}), **told}
    notes = curve.get("notes") or []
    codes = curve.get("noteCodes") or ["other_note"] * len(notes)
    once = replace(alone(settings) if settings.shares_m else settings, weights="none" if sd is None else "sd",
                   exclude=(), drop_outliers=False)  # fmt: skip
    fitted = fit(
        x, y, float(curve["temperature"]), settings=once, exclude=out, sd=sd, part=curve.get("part"),
        name=str(curve.get("name", "")), details=details, denaturant=curve.get("denaturant") or None,
        notes=cautions_of_notes([Note(code, text) for code, text in zip(codes, notes)]),
    )  # fmt: skip
    return replace(fitted, settings=settings)


def _apart(fit, saved):
    """The largest relative difference of the numbers of a fit and of those that were saved."""
    if "fit" not in saved:
        return np.nan
    now, then = _numbers(fit) if fit.ok else None, saved["fit"]
    then = then if then and then.get("status") == inference.FITTED else None
    if now is None or then is None:
        return 0.0 if now is then else np.inf
    old, new = (
        np.concatenate([np.array(numbers[name], float) for name in _COMPARED]) for numbers in (then, now)
    )
    if old.size != new.size or np.any((old == 0.0) != (new == 0.0)):
        return np.inf
    there = old != 0.0
    return float(np.max(np.abs(new[there] - old[there]) / np.abs(old[there]), initial=0.0))
