"""What a fit code says, in words.

A code names the path by which a fit was found. The paths are regular, and so are their names in the
C header: the side whose baseline was known, the start, and what was held beside it. The sentences
are put together from these parts. Only the failures and the two special entries have sentences of
their own.
"""

from dataclasses import dataclass

from .code_names import COMMON, PATHS

BAD_INPUT = COMMON["BAD_INPUT"]
NO_TRANSITION = COMMON["NO_TRANSITION"]
NO_CANDIDATE = COMMON["NO_CANDIDATE"]
NO_FIT = COMMON["NO_ACCEPTABLE_FIT"]
MIDPOINT = COMMON["MIDPOINT_FIT"]
MIDPOINT_REJECTED = COMMON["MIDPOINT_REJECTED"]
BOTH_GIVEN = COMMON["BOTH_BASELINES"]


@dataclass(frozen=True)
class Code:
    """One fit code: `stage` of the search, winning `seed`, `held` side, and the whole `sentence`."""

    number: int
    status: str
    sentence: str
    stage: str = ""
    seed: str = ""
    held: str = ""

    @property
    def is_fit(self):
        return self.status in ("fitted", "midpoint fitted")


_ENDS3 = "baselines from three points at each end"
_SIDES = {"NATIVE": "native", "DENATURED": "denatured"}

# The starts, by what is left of a name without its side and its extras.
_STARTS = {
    "ALL_FREE": f"{_ENDS3}, then fitted freely",
    "FREE_SIDE": "the other baseline fitted freely",
    "THREE_POINT": _ENDS3,
    "END_POINT": "flat baselines from the end points",
    "WINDOW": "baselines from the stretches of constant slope",
    "HALVES": "the curve fitted in two halves",
    "HALVES_PEAKS": "the curve fitted in two parts, split at the derivative peaks",
    "HALVES_BEST": "the curve fitted in two parts, split at the midpoints of the best candidate",
    "THIRDS": "the curve fitted in three parts",
    "THIRDS_PEAKS": "the curve fitted in three parts, split at the derivative peaks",
    "THIRDS_BEST": "the curve fitted in three parts, split at the midpoints of the best candidate",
    "REFIT": "the best candidate refitted with its slopes held",
}
_REFIT_OF_KNOWN_SIDE = "the ranked candidates refitted"

# What a name adds to its start. A midpoint is known from the derivative before any fit, and from the
# good fits once a baseline is known.
_EXTRAS = {
    "HINT": "midpoint from the derivative peak",
    "WEIGHT": "weight of the transitions held",
    "WEIGHT1": "first weight held",
    "WEIGHT2": "second weight held",
    "WEIGHTS": "both weights held",
}
_HINT_OF_KNOWN_SIDE = "midpoint held at the mean of the good first fits"
_BEST_WEIGHTS = "weights of the best candidate held"
_ALL_WEIGHTS_FREE = "all weights fitted"


def _side_and_seed(name, states):
    """The side that a path's name tells as known, or "", and its start in words."""
    first, _, rest = name.partition("_")
    side = _SIDES.get(first, "")
    start, extra = rest if side else name, ""
    if start.endswith("_BEST_WEIGHTS") and not start.startswith("THIRDS"):
        start, extra = start.removesuffix("_BEST_WEIGHTS"), _BEST_WEIGHTS
    elif start.rpartition("_")[2] in _EXTRAS:
        start, _, key = start.rpartition("_")
        extra = _HINT_OF_KNOWN_SIDE if side and key == "HINT" else _EXTRAS[key]
    elif states == 4:
        extra = _ALL_WEIGHTS_FREE
    seed = _REFIT_OF_KNOWN_SIDE if side and start == "REFIT" else _STARTS[start]
    return side, f"{seed}, {extra}" if extra else seed


_FAILURES = {
    BAD_INPUT: ("bad input", "The input cannot be analysed: x and y must have equal length, there "
                "must be 8 to 384 points (6 for a midpoint fit), at 0 to 100 °C."),
    NO_TRANSITION: ("no transition", "The signal shows no transition: its two ends differ by less "
                    "than one standard deviation of the signal, or all concentrations are equal."),
    NO_CANDIDATE: ("no candidate", "None of the first starts described the signal at all."),
    NO_FIT: ("no acceptable fit", "No start gave a physically sensible fit of sufficient R²; the "
             "model may have the wrong number of states, or the data too much noise."),
    MIDPOINT_REJECTED: ("midpoint rejected", "The midpoint fit describes less than half of the "
                        "variance of the signal (R² below 0.5)."),
}  # fmt: skip


def _path(number, name, states):
    side, seed = _side_and_seed(name, states)
    if side:
        return Code(number, "fitted", f"Best fit of the candidates that use a known {side} "
                    f"baseline; it started from: {seed}.", "ladder over known baselines", seed,
                    f"{side} baseline")  # fmt: skip
    return Code(number, "fitted", "No baseline could be confirmed at the ends of the curve; best of "
                f"the unaided fits, which started from: {seed}.", "ladder over unaided fits",
                seed)  # fmt: skip


def _table(states):
    codes = [
        Code(BOTH_GIVEN, "fitted", "Both baselines were found in agreement with the ends of the "
             "curve, and the fit with them held is excellent (R² at least 0.99).",
             "both baselines known", "averaged baselines", "both baselines")
    ]  # fmt: skip
    for key, side in _SIDES.items():
        codes.append(
            Code(COMMON[f"{key}_BASELINE"], "fitted", f"The {side} baseline was found in agreement "
                 "with its end of the curve and used in the fit, which is excellent (R² at least "
                 "0.99).", f"{side} baseline known", "first qualifying start", f"{side} baseline")
        )  # fmt: skip
    codes += [_path(number, name, states) for number, name in PATHS[states].items()]
    codes += [Code(number, *texts, stage="failure") for number, texts in _FAILURES.items()
              if number != MIDPOINT_REJECTED]  # fmt: skip
    return {code.number: code for code in codes}


CODES = {states: _table(states) for states in (2, 3, 4)}

_MIDPOINT_CODES = {
    MIDPOINT: Code(MIDPOINT, "midpoint fitted", "A midpoint fit from a single start; trust the "
                   "midpoint more than dG and m.", "midpoint fit", "end points", "baseline slopes"),
    MIDPOINT_REJECTED: Code(MIDPOINT_REJECTED, *_FAILURES[MIDPOINT_REJECTED], stage="midpoint fit"),
}  # fmt: skip
_USER_BASELINES = Code(BOTH_GIVEN, "fitted", "The baselines given by the user describe the curve; "
                       "only dG, midpoints and weights were fitted.", "given baselines", "",
                       "both baselines")  # fmt: skip


def _series_code(states):
    held = "baseline slopes" if states == 2 else "baseline slopes and weights"
    return Code(states, "fitted", "Refitted from the reference fit of its series, with its "
                f"{held} held.", "series", "the reference fit of the series", held)  # fmt: skip


def explain(code, states=2, analysis="full"):
    """The `Code` of a number; `analysis` is full, midpoint, baselines or series."""
    number = int(code) if code == code else -1
    if analysis == "series" and number == states:
        return _series_code(states)
    if analysis == "midpoint" and number in _MIDPOINT_CODES:
        return _MIDPOINT_CODES[number]
    if analysis == "baselines" and number == BOTH_GIVEN:
        return _USER_BASELINES
    return CODES[states].get(number) or Code(number, "unknown code", f"Unknown fit code {number}.")


def lost(code):
    """The same code for a vector without parameters: the winner turned out to be no fit."""
    return Code(code.number, "fit lost", "The candidate chosen for code "
                f"{code.number} was not physically sensible, so no parameters are given.",
                code.stage, code.seed, code.held)  # fmt: skip


def all_codes(states):
    """Every code that an analysis of this many states can return, in ascending order."""
    table = {**CODES[states], **(_MIDPOINT_CODES if states == 2 else {})}
    return [table[number] for number in sorted(table)]
