"""All choices of a run in one record: `Settings`, to and from plain values."""

from dataclasses import dataclass, fields, replace

import numpy as np

from . import inference
from .checks import level_of, number
from .model import CAL_PER_UNIT

STATES = ("auto", "picker", 2, 3, 4)
WEIGHTS = ("sd", "sem", "none")
_LEAST_M, _MOST_M = 20, 50_000  # cal/mol/M
_LEAST_DG, _MOST_DG = 50, 200_000  # cal/mol; a held dG of 5 is one in kcal
_MOST_CM = 15.0  # M, more than any denaturant dissolves
_OF_INTERVALS = ("method", "level", "rounds", "seed")
REPLICATES = ("pooled", "across", "each")
USUAL_TEMPERATURE = 25.0  # °C
# What the saved form calls the fields that it holds as they are.
_PLAIN = {
    "states": "states", "temperature": "temperature", "dG": "heldDG", "Cm": "heldCm", "weights": "weights",
    "sd_known": "sdKnown", "replicates": "replicates", "drop_outliers": "dropOutliers",
    "midpoint_only": "midpoint", "residues": "residues", "intervals": "intervals",
}  # fmt: skip


@dataclass(frozen=True)
class Settings:
    """How curves are fitted. Energies in cal/mol, concentrations in M, temperature in °C.

    `temperature` is for curves that do not state theirs; None: 25 °C, with a warning. `native` and
    `denatured` are "line", "flat" or (intercept, slope). `m` is "free", "shared", one number for every
    transition or one each; `dG` and `Cm` hold values where given, one number that of the first.
    `weights` are "sd", "sem" (the deviations as those of means) or "none"; `sd_known` takes the
    deviations for true sizes. `replicates` of each file are "pooled", those of all files together
    ("across"), or fitted "each" alone. `exclude` holds texts that `zolt.exclusion` reads. `residues` is
    the length of the chain. `intervals` is None or the options of `Fit.intervals`.
    """

    states: object = "auto"
    temperature: float = None
    native: object = "line"
    denatured: object = "line"
    m: object = "free"
    dG: object = None
    Cm: object = None
    weights: str = "sd"
    sd_known: bool = False
    replicates: str = "pooled"
    exclude: tuple = ()
    drop_outliers: bool = False
    midpoint_only: bool = False
    residues: int = None
    intervals: dict = None

    def __post_init__(self):
        if isinstance(self.states, (bool, list, tuple, dict)) or self.states not in STATES:
            raise ValueError(f"states is 2, 3, 4, 'auto' or 'picker', not {self.states!r}")
        if not isinstance(self.states, str):
            object.__setattr__(self, "states", int(self.states))
        if self.weights not in WEIGHTS:
            raise ValueError(f"weights is one of {', '.join(WEIGHTS)}, not {self.weights!r}")
        if self.replicates not in REPLICATES:
            raise ValueError(f"replicates is 'pooled', 'across' or 'each', not {self.replicates!r}")
        if isinstance(self.m, str) and self.m not in ("free", "shared"):
            raise ValueError(f"m is 'free', 'shared' or a number in cal/mol/M, not {self.m!r}")
        if self.m is None:
            object.__setattr__(self, "m", "free")
        for value in () if isinstance(self.m, str) else _values("m", self.m, "cal/mol/M"):
            if not _LEAST_M <= value <= _MOST_M:
                raise ValueError(
                    f"m is {value:g} cal/mol/M; of proteins it lies between {_LEAST_M} and {_MOST_M:,}: the "
                    "command line takes m in kcal or kJ, as --units says, Python in cal"
                )
        for value in _values("dG", self.dG, "cal/mol"):
            if not _LEAST_DG <= abs(value) <= _MOST_DG:
                raise ValueError(
                    f"dG is {value:g} cal/mol; a held one lies between {_LEAST_DG} and {_MOST_DG:,} above or "
                    "below 0: Python takes it in cal"
                )
        for value in _values("Cm", self.Cm, "M"):
            if abs(value) > _MOST_CM:
                raise ValueError(f"Cm is {value:g} M; no denaturant dissolves to {_MOST_CM:g} M")
        if self.shares_m and self.states == "auto":
            object.__setattr__(self, "states", 2)  # which is what curves with one m are fitted with
        for side in ("native", "denatured"):
            object.__setattr__(self, side, _side(side, getattr(self, side)))
        if self.shares_m and (self.dG is not None or self.Cm is not None or self.midpoint_only):
            raise ValueError("with a shared m nothing is held, and there are no midpoint fits")
        if self.shares_m and (self.intervals or {}).get("method", "profile") != "profile":
            raise ValueError("with a shared m intervals are profiles")
        if self.midpoint_only and (self.native, self.denatured) != ("line", "line"):
            raise ValueError("a midpoint fit takes no baselines")
        if self.residues is not None and (isinstance(self.residues, str) or not self.residues > 0):
            raise ValueError(f"residues is the number of amino acids of the chain, not {self.residues!r}")
        if self.intervals is not None:
            if not isinstance(self.intervals, dict) or not set(self.intervals) <= set(_OF_INTERVALS):
                known = ", ".join(_OF_INTERVALS)
                raise ValueError(f"intervals is a dictionary with any of {known}, not {self.intervals!r}")
            level_of(self.intervals.get("level", 0.95))

    @property
    def shares_m(self):
        return isinstance(self.m, str) and self.m == "shared"

    def options(self):
        """The options of the inference library."""
        m = None if isinstance(self.m, str) else self.m
        m = (m,) * inference.MOST_TRANSITIONS if isinstance(m, (int, float)) else m
        return inference.Options(
            self.native, self.denatured, dG=self.dG, Cm=self.Cm, m=m, sd_known=self.sd_known
        )

    def to_plain(self):
        """Plain values under the names of the saved document."""
        plain = {name: _listed(getattr(self, key)) for key, name in _PLAIN.items()}
        sides = [getattr(self, side) for side in ("native", "denatured")]
        return {
            **plain,
            "native": sides[0] if isinstance(sides[0], str) else "given",
            "denatured": sides[1] if isinstance(sides[1], str) else "given",
            "baseline": [v for side in sides for v in ((0.0, 0.0) if isinstance(side, str) else side)],
            "heldM": None if isinstance(self.m, str) else _listed(self.m),
            "shareM": self.shares_m,
            "exclude": list(self.exclude),
            "level": (self.intervals or {}).get("level", 0.95),
        }

    @classmethod
    def from_plain(cls, plain):
        """The record of plain values; what is absent is as usual, unknown names are passed over."""
        values = {key: plain[name] for key, name in _PLAIN.items() if name in plain}
        baseline = plain.get("baseline") or [0.0] * 4
        for side, pair in (("native", baseline[:2]), ("denatured", baseline[2:])):
            if (kind := plain.get(side, "line")) is not None:
                values[side] = tuple(pair) if kind == "given" else kind
        held = plain.get("heldM")
        values["m"] = "shared" if plain.get("shareM") else "free" if held is None else held
        values["exclude"] = tuple(plain.get("exclude") or ())
        return cls(**values)

    def words(self, units="kcal"):
        """What was chosen as pairs of a name and words, energies in `units`."""
        energy = CAL_PER_UNIT[units]
        held = {name: _held(getattr(self, name), scale, unit) for name, scale, unit in (
            ("dG", energy, f"{units}/mol"), ("Cm", 1.0, "M"), ("m", energy, f"{units}/mol/M"))}  # fmt: skip
        pairs = {
            "states": {"auto": "by the evidence", "picker": "by the engine's picker"}.get(
                self.states, self.states
            ),
            "temperature": "25 °C where none is stated"
            if self.temperature is None
            else f"{self.temperature:g} °C where none is stated",
            "native baseline": _side_words(self.native),
            "denatured baseline": _side_words(self.denatured),
            "m": self.m if isinstance(self.m, str) else held["m"],
            "dG": held["dG"],
            "Cm": held["Cm"],
            "weights": self.weights + (", taken for true sizes" if self.sd_known else ""),
            "replicates": self.replicates,
            "left out": ", ".join(self.exclude),
            "outliers": "left out" if self.drop_outliers else "kept",
            "midpoint fit": "yes" if self.midpoint_only else "",
            "residues": self.residues,
            "intervals": "" if self.intervals is None else _interval_words(**self.intervals),
        }
        return {name: str(words) for name, words in pairs.items() if words not in (None, "")}

    def line(self, units="kcal"):
        """What differs from the usual choices, in one cell of a table, and the states always."""
        usual = Settings().words(units)
        words = self.words(units)
        return "; ".join(f"{name}: {text}" for name, text in words.items()
                         if name == "states" or usual.get(name) != text)  # fmt: skip


def settings_of(baselines=None, **choices):
    """The record of choices as users give them, with `baselines` in any of its forms (see `sides_of`)."""
    known = {field.name for field in fields(Settings)}
    if unknown := set(choices) - known:
        raise TypeError(f"unknown choice {', '.join(sorted(unknown))}; there are {', '.join(sorted(known))}")
    if isinstance(exclude := choices.get("exclude"), (str, int, float)):
        choices["exclude"] = (exclude,)
    if choices.get("exclude") is not None:
        choices["exclude"] = tuple(map(str, choices["exclude"]))
    return replace(Settings(), **{**sides_of(baselines), **choices})


def sides_of(baselines):
    """The two sides from None, a dictionary of sides, or four numbers in which a pair of 0 is open."""
    if baselines is None:
        return {}
    if isinstance(baselines, dict):
        if unknown := set(baselines) - {"native", "denatured"}:
            raise ValueError(
                f"baselines have a native and a denatured side, not {', '.join(sorted(unknown))}"
            )
        return baselines
    values = () if isinstance(baselines, str) or np.ndim(baselines) != 1 else tuple(baselines)
    if len(values) != 4:
        raise ValueError(
            "baselines are a dictionary, as {'native': 'flat'}, or four numbers: aN, bN, aU, bU; "
            f"not {baselines!r}"
        )
    names = ("aN", "bN", "aU", "bU")
    values = tuple(number(value, f"the baseline's {name}") for name, value in zip(names, values))
    pairs = zip(("native", "denatured"), (values[:2], values[2:]))
    return {side: pair for side, pair in pairs if any(pair)}


def _side(name, side):
    if isinstance(side, str):
        if side not in inference.KINDS:
            raise ValueError(f"the {name} baseline is 'line', 'flat' or two numbers, not {side!r}")
        return side
    if np.shape(side) != (2,):
        raise ValueError(
            f"the {name} baseline is 'line', 'flat' or two numbers, intercept and slope, not {side!r}"
        )
    names = (f"the {name} baseline's {what}" for what in ("intercept", "slope"))
    return tuple(map(number, side, names))


def _values(name, held, unit):
    """The numbers among values that are held, one or one each transition; NaN and None hold nothing."""
    if held is None:
        return []
    if np.ndim(held) == 0:
        return [number(held, name, unit)]
    return [number(value, name, unit) for value in held if value is not None and value == value]


def _side_words(side):
    return side if isinstance(side, str) else f"given, {side[0]:g} {side[1]:+g} x"


def _interval_words(method="profile", level=0.95, rounds=1000, seed=0):
    drawn = f", {rounds} rounds, seed {seed}" if method == "bootstrap" else ""
    return f"{100.0 * level:g} %, {method}{drawn}"


def _held(value, scale, unit):
    """'held at 1.2 kcal/mol/M' of a value, or one of each transition; '' where nothing is held."""
    values = [
        v
        for v in (value if isinstance(value, (list, tuple)) else [value])
        if v is not None and not isinstance(v, str)
    ]
    return f"held at {', '.join(f'{v / scale:g}' for v in values)} {unit}" if values else ""


def _listed(value):
    """A value as JSON holds it: rows as lists."""
    if hasattr(value, "tolist"):
        return value.tolist()
    return [_listed(v) for v in value] if isinstance(value, tuple) else value
