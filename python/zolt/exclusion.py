"""Readings to leave out, as a person says it: `B3`, `3.5`, `6..8`, `#5`, `WT@3.5,6..8`."""

import re
from dataclasses import dataclass

import numpy as np

from .reading.plates import well_of

_NUMBER = r"[+-]?(?:\d+\.?\d*|\.\d+)(?:[eE][+-]?\d+)?"
_RANGE = re.compile(rf"({_NUMBER})?\s*\.\.\s*({_NUMBER})?")
FORMS = "a well (B3), a concentration (3.5), a range (6..8, 6.. or ..1) or the place of a reading (#5)"


@dataclass(frozen=True)
class Exclusion:
    """One thing to leave out; of `curve` where that is not empty."""

    text: str
    curve: str
    what: str

    def marks(self, curve):
        """True at the readings of the `Curve` that are meant."""
        x, meant = np.asarray(curve.x, float), self._of(curve)
        if well_of(self.what):
            return meant & (np.array(wells_of(curve) or [""] * x.size) == self.what)
        if self.what.startswith("#"):
            return meant & (np.cumsum(meant) == int(self.what[1:]))
        if match := _RANGE.fullmatch(self.what):
            low, high = (
                float(end) if end else bound for end, bound in zip(match.groups(), (-np.inf, np.inf))
            )
            return meant & (x >= low) & (x <= high)
        value = float(self.what)
        return meant & (np.abs(x - value) <= 1e-6 * max(1.0, abs(value)))

    def _of(self, curve):
        """True at the readings of what is named: the curve, its group, or one of the replicates in it."""
        if self.curve in ("", curve.name, curve.group):
            return np.ones(len(curve.x), bool)
        return np.zeros(len(curve.x), bool) if curve.members is None else curve.members == self.curve


def exclusions(texts):
    """The `Exclusion` records of texts, each `[CURVE@]WHAT[,WHAT ...]`."""
    found = []
    for text in texts:
        curve, _, parts = str(text).rpartition("@")
        for part in parts.split(","):
            what = well_of(part) or part.strip()
            if not well_of(what) and not (
                re.fullmatch(rf"{_NUMBER}|#\d+", what) or (_RANGE.fullmatch(what) and what != "..")
            ):
                raise ValueError(f"'{part.strip()}' of '{text}' tells no reading; say {FORMS}")
            found.append(Exclusion(f"{curve}@{what}" if curve else what, curve.strip(), what))
    return found


def excluded(texts, curve):
    """True where a reading of the `Curve` is to be left out."""
    marks = np.zeros(np.size(curve.x), bool)
    for one in exclusions(texts):
        marks |= one.marks(curve)
    return marks


def without_effect(texts, curves):
    """The texts of what no reading of any curve answers to."""
    return [one.text for one in exclusions(texts) if not any(one.marks(curve).any() for curve in curves)]


def wells_of(curve):
    """The well of every reading, or None where the curve comes from no plate."""
    wells = str(curve.details.get("well", "")).split()
    return wells if wells and len(wells) == len(curve.x) else None
