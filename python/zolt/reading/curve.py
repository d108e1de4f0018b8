"""The record of a curve, and what is said of all curves of a file together."""

from dataclasses import dataclass, field, replace

import numpy as np

from .grid import Note, shown

LONGEST_NAME = 120
_MOST_ALIKE = 3  # remarks of one kind that are said one by one


@dataclass(frozen=True, eq=False)
class Curve:
    """Readings of one curve: `x` in M, ascending, and the signal `y`. `details` say whence.

    `sd` are standard deviations of the readings and `n` how many measurements each is the mean of,
    both as the source gives them, or None. Curves with the same `group` are replicates of each
    other. `denaturant` is 'urea', 'GdmCl', another name, or None where the source does not say.
    `notes` are `Note` records of what the reader did or doubted. `part` tells of pooled replicates
    which of them a reading belongs to, `members` what that one was called.
    """

    name: str
    x: np.ndarray
    y: np.ndarray
    temperature: float = None  # °C, None where the source does not say
    label: object = None
    replicate: object = None
    details: dict = field(default_factory=dict)
    sd: np.ndarray = None
    n: np.ndarray = None
    group: str = None
    denaturant: str = None
    notes: tuple = ()
    part: np.ndarray = None
    members: np.ndarray = None

    def __iter__(self):
        return iter((self.x, self.y))


@dataclass(frozen=True)
class Reading:
    """All that was read of a file: curves, and notes on what was assumed, left out or converted."""

    source: str
    curves: list
    notes: list

    def summary(self, temperature=None):
        """What was read in one line; `temperature` is one that the user gives, in °C."""
        readings = sum(curve.x.size for curve in self.curves)
        parts = [f"read {_count(readings, 'reading')} of {_count(len(self.curves), 'curve')}"]
        levels = [curve.x for curve in self.curves if curve.x.size]
        if levels:
            low, high = min(x[0] for x in levels), max(x[-1] for x in levels)
            kinds = sorted({curve.denaturant for curve in self.curves if curve.denaturant})
            assumed = any(note.code == "unit_assumed" for note in self.notes)
            parts.append(
                " ".join([f"{low:.4g} to {high:.4g} M", " or ".join(kinds), "(unit assumed)" * assumed])
            )
            parts[-1] = " ".join(parts[-1].split())
        parts.append(self._temperatures(temperature))
        blanks = sum(note.code == "blank" for note in self.notes)
        if blanks:
            parts.append(_count(blanks, "blank"))
        return ", ".join(parts)

    def remarks(self):
        """Sentences of the notes that the summary does not say, many of one kind as one."""
        kinds = {}
        for note in self.notes:
            if note.code != "unit_assumed":
                kinds.setdefault(note.code, []).append(note.text)
        return [
            text if len(texts) <= _MOST_ALIKE else f"{text}, and {len(texts) - 1} more like this"
            for texts in kinds.values()
            for text in (texts if len(texts) <= _MOST_ALIKE else texts[:1])
        ]

    def _temperatures(self, given):
        known = sorted({curve.temperature for curve in self.curves if curve.temperature is not None})
        texts = [f"{known[0]:g} to {known[-1]:g} °C"] if len(known) > 1 else [f"{t:g} °C" for t in known]
        if any(curve.temperature is None for curve in self.curves):
            texts.append("25 °C assumed" if given is None else f"{given:g} °C as told")
        return " and ".join(texts)


def _count(number, what):
    return f"{number} {what}{'' if number == 1 else 's'}"


def tell_apart(curves):
    """The curves with a name of its own for each: a repeated one gets its source, then a number."""
    curves, notes = list(curves), []
    for detail in ("sheet", "file", None):
        places = {}
        for i, curve in enumerate(curves):
            places.setdefault(curve.name, []).append(i)
        for name, same in places.items():
            tails = [
                f"#{k}" if detail is None else curves[i].details.get(detail) for k, i in enumerate(same, 1)
            ]
            if len(set(tails)) < 2:
                continue
            for i, tail in zip(same, tails):
                own = f"{name} {tail}" if detail is None else f"{name} ({tail})"
                text = f"'{shown(name)}' is there more than once; one is called '{shown(own)}'"
                notes.append(Note("renamed", text, own))
                curves[i] = replace(curves[i], name=own)
    return curves, notes


def identical_curves(curves):
    """A note for every curve whose readings are those of an earlier one."""
    first, notes = {}, []
    for curve in curves:
        if curve.x.size < 3:
            continue
        key = (curve.x.tobytes(), curve.y.tobytes())
        other = first.setdefault(key, curve.name)
        if other != curve.name:
            notes.append(
                Note(
                    "identical",
                    f"the readings of '{shown(curve.name)}' are those of '{shown(other)}'",
                    curve.name,
                )
            )
    return notes
