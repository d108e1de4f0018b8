"""The methods section of a paper, for what was done here: to be read and completed by its author."""

import numpy as np

from ._version import __version__

REFERENCES = (
    "Pace CN (1986) Determination and analysis of urea and guanidine hydrochloride denaturation curves. "
    "Methods Enzymol 131:266-280.",
    "Santoro MM, Bolen DW (1988) Unfolding free energy changes determined by the linear extrapolation "
    "method. 1. Unfolding of phenylmethanesulfonyl α-chymotrypsin using different denaturants. "
    "Biochemistry 27:8063-8068.",
)
_WORDS = {2: "two-state", 3: "three-state", 4: "four-state"}
_NAMES = {"GdmCl": "guanidinium chloride"}
_METHODS = {
    "profile": "profile likelihood, widened where the scatter is uneven",
    "linear": "the standard errors and Student's t",
    "bootstrap": "the bootstrap of residuals",
}


def methods(fits, intervals=None):
    """What was done, in the sentences of a methods section; the references are `REFERENCES`.

    `fits` are those of one run, `intervals` their `Intervals` or None. Midpoint fits and fits of a
    series, which are the engine's own, have no such section: the text is then empty.
    """
    fitted = [fit for fit in fits if fit.ok and fit.answer is not None]
    if not fitted:
        return ""
    settings = fitted[0].settings
    sentences = [
        _experiment(fitted),
        _model(fitted),
        _states(settings),
        _weights(fitted),
        _shared(settings, fitted),
        _left_out(fitted),
        _errors(fitted, intervals),
        f"Fits were made with zolt {__version__} (ZOLTFittingEngine {__version__}).",
    ]
    return " ".join(sentence for sentence in sentences if sentence)


def _experiment(fits):
    named = {fit.denaturant or fit.details.get("denaturant") for fit in fits}
    kinds = sorted(_NAMES.get(kind, kind) for kind in named - {None})
    if None in named:
        kinds.append("another that the data do not name" if kinds else "a denaturant")
    temperatures = sorted({fit.temperature for fit in fits})
    at = f"{temperatures[0]:g}" if len(temperatures) == 1 else f"{temperatures[0]:g} to {temperatures[-1]:g}"
    assumed = any(said.code == "temperature_assumed" for fit in fits for said in fit.warnings)
    doubt = " (assumed where the data do not state it)" if assumed else ""
    return f"Unfolding by {' and '.join(kinds)} was followed at {at} °C{doubt}."


def _model(fits):
    counts = {states: sum(fit.states == states for fit in fits) for states in _WORDS}
    used = [f"{_WORDS[k]} model" + (f" ({n} of {len(fits)} curves)" if n < len(fits) else "")
            for k, n in counts.items() if n]  # fmt: skip
    settings = fits[0].settings
    sides = [(side, getattr(settings, side)) for side in ("native", "denatured")]
    if sides[0][1] == sides[1][1] and isinstance(sides[0][1], str):
        lines = f"{_LINE[sides[0][1]]} baselines of the native and the denatured state"
    else:
        lines = " and ".join(f"{_line(kind)} {side} baseline" for side, kind in sides)
    free = all(isinstance(kind, str) for _, kind in sides)
    together = " fitted together with dG(water) and m" if free else ""
    return (
        f"Curves were fitted by nonlinear least squares with a {' and a '.join(used)}, in which the free "
        "energy of unfolding falls in proportion to the concentration of denaturant, "
        "dG = dG(water) - m [denaturant] [1], "
        f"with {lines}{together} [2]."
    )


_LINE = {"line": "linear", "flat": "constant"}


def _line(kind):
    if isinstance(kind, str):
        return f"a {_LINE[kind]}"
    return f"a given ({kind[0]:g} {'-' if kind[1] < 0 else '+'} {abs(kind[1]):g} [denaturant])"


def _states(settings):
    if settings.states == "auto":
        return (
            "The number of states of each curve was decided by F tests between models of increasing number "
            "of states, repeated without influential readings, and against curves without a transition."
        )
    if settings.states == "picker":
        return "The number of states of each curve was read off the shape of its signal."
    return ""


def _weights(fits):
    weighted = sum(fit.sd is not None for fit in fits)
    several = any("replicates" in fit.details for fit in fits)
    text = "All readings had equal weight."
    if weighted:
        whom = "Readings" if weighted == len(fits) else f"Readings of {weighted} curves"
        text = f"{whom} were weighted by the inverse squares of their standard deviations."
    return f"{text} Replicates were fitted together." if several else text


def _shared(settings, fits):
    together = sum(fit.together is not None for fit in fits)
    if together:
        return f"One m was fitted to {together} curves together."
    held = [f"{name} at {value:g} {unit}" for name, value, unit in (
        ("m", settings.m, "cal/mol/M"), ("dG", settings.dG, "cal/mol"), ("Cm", settings.Cm, "M"))
        if isinstance(value, (int, float))]  # fmt: skip
    return f"Held: {', '.join(held)}." if held else ""


def _left_out(fits):
    lost = sum(int(np.count_nonzero(~fit.kept)) for fit in fits)
    return f"Of {sum(fit.x.size for fit in fits)} readings {lost} were left out." if lost else ""


def _errors(fits, intervals):
    text = "Errors are standard errors of the fit"
    spans = [one for one in intervals or () if one is not None]
    if not spans:
        return f"{text}."
    level = f"{100 * spans[0].level:g} %"
    return f"{text}; {level} confidence intervals were found by {_METHODS[spans[0].method]}."
