"""What a fit code says, in words.

A code names the path by which a fit was found. The paths are regular, so the sentences are put
together: the stage of the search, the side whose baseline was known beforehand, and the start that
won. Only the failures and the two special entries have sentences of their own.
"""

from dataclasses import dataclass

BAD_INPUT, NO_TRANSITION, NO_CANDIDATE, NO_FIT, MIDPOINT, MIDPOINT_REJECTED = 1, 32, 33, 34, 35, 36
BOTH_GIVEN, NATIVE_GIVEN, DENATURED_GIVEN = 2, 3, 4

_ENDS3 = "baselines from three points at each end"
_ENDS1 = "flat baselines from the end points"
_WINDOW = "baselines from the stretches of constant slope"
_HINT = "midpoint from the derivative peak"
_WEIGHT = "weight of the transitions held"


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


def _families(extra, *starts):
    """Every start plain and with one thing more known, as neighbouring columns."""
    return [text for start in starts for text in (start, f"{start}, {extra}")]


def _weighted(start, *, free="all weights fitted"):
    """The four members of a group of four-state starts."""
    holds = (free, "second weight held", "first weight held", "both weights held")
    return [f"{start}, {hold}" for hold in holds]


_GIVEN_STARTS = ("the other baseline fitted freely", _ENDS3, _ENDS1, _WINDOW)

# Starts by column: of the tables in which one baseline was known, and of the first stage.
_GIVEN = {
    2: [*_families(_HINT, *_GIVEN_STARTS), "the ranked candidates refitted"],
    3: _families(_WEIGHT, *_GIVEN_STARTS),
    4: [text for start in _GIVEN_STARTS for text in _weighted(start)],
}
_FIRST = {
    2: [
        *(start := [f"{_ENDS3}, then fitted freely", _ENDS3, _ENDS1, _WINDOW]),
        *(f"{text}, {_HINT}" for text in start),
        "the best candidate refitted with its slopes held",
    ],
    3: [
        *start,
        "the curve fitted in two halves",
        "the curve fitted in two parts, split at the derivative peaks",
        "the curve fitted in two parts, split at the midpoints of the best candidate",
        *(f"{text}, {_WEIGHT}" for text in start),
    ],
    4: [
        *(
            text
            for group in (
                *start,
                "the curve fitted in three parts",
                "the curve fitted in three parts, split at the derivative peaks",
                "the curve fitted in three parts, split at the midpoints of the best candidate",
            )
            for text in _weighted(group)
        ),
        *(f"{text}, weights of the best candidate held" for text in start),
    ],
}

# The order in which the ladders try the columns. A code follows from the place in this order.
_GIVEN_ORDER = {
    2: [7, 6, 8, 3, 2, 5, 4, 1, 0],
    3: [7, 6, 3, 2, 5, 4, 1, 0],
    4: [12, 15, 13, 14, 4, 7, 5, 6, 8, 11, 9, 10, 0, 3, 1, 2],
}
_FIRST_ORDER = {
    2: [7, 3, 8, 4, 0, 5, 1, 6, 2],
    3: [10, 3, 6, 7, 0, 8, 1, 9, 2, 5, 4],
    4: [12, 15, 14, 13, 28, 31, 30, 29, 24, 27, 26, 25, 0, 3, 2, 1]
    + [4, 7, 6, 5, 8, 11, 10, 9, 20, 23, 22, 21, 16, 19, 18, 17],
}
_FIRST_LADDER_START = {2: 23, 3: 21, 4: 40}

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


def _given_codes(states):
    """Codes of the first ladder in its order: native and denatured table by turns."""
    numbers = [n for n in range(5, 40) if not NO_TRANSITION <= n <= NO_FIT]
    for place, column in enumerate(_GIVEN_ORDER[states]):
        yield numbers[2 * place], "native", column
        yield numbers[2 * place + 1], "denatured", column


def _table(states):
    codes = [
        Code(BOTH_GIVEN, "fitted", "Both baselines were found in agreement with the ends of the "
             "curve, and the fit with them held is excellent (R² at least 0.99).",
             "both baselines known", "averaged baselines", "both baselines")
    ]  # fmt: skip
    for number, side in ((NATIVE_GIVEN, "native"), (DENATURED_GIVEN, "denatured")):
        codes.append(
            Code(number, "fitted", f"The {side} baseline was found in agreement with its end of the "
                 "curve and used in the fit, which is excellent (R² at least 0.99).",
                 f"{side} baseline known", "first qualifying start", f"{side} baseline")
        )  # fmt: skip
    for number, side, column in _given_codes(states):
        seed = _GIVEN[states][column]
        codes.append(
            Code(number, "fitted", f"Best fit of the candidates that use a known {side} baseline; "
                 f"it started from: {seed}.", "ladder over known baselines", seed,
                 f"{side} baseline")
        )  # fmt: skip
    for place, column in enumerate(_FIRST_ORDER[states]):
        seed = _FIRST[states][column]
        codes.append(
            Code(_FIRST_LADDER_START[states] + place, "fitted", "No baseline could be confirmed at "
                 f"the ends of the curve; best of the unaided fits, which started from: {seed}.",
                 "ladder over unaided fits", seed)
        )  # fmt: skip
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
