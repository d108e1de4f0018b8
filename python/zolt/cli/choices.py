"""The choices of a fit as options: which readings, which model, what is held."""

from functools import partial, wraps
from math import isfinite

import click

from ..exclusion import without_effect
from ..model import CAL_PER_UNIT
from ..settings import REPLICATES, WEIGHTS, settings_of
from .options import option

model = partial(option, group="Model")
CHOICES = {
    "states": model("--states", type=click.Choice(["auto", "picker", "2", "3", "4"]), default="auto",
                    metavar="N", help="2, 3, 4, auto (evidence) or picker.  [auto]"),
    "m": model("--m", default="free", metavar="HOW", help="free, shared by all, or a number to hold."),
    "baselines": model("--baselines", metavar="SIDES", help="native=flat,denatured=A,B or aN,bN,aU,bU"),
    "exclude": model("--exclude", multiple=True, metavar="[CURVE@]WHAT",
                     help="Readings: well B3, 3.5 (M), 6..8, #5 ..."),
    "weights": model("--weights", type=click.Choice(WEIGHTS), default="sd",
                     help="Standard deviations of the file.  [sd]"),
    "sd_known": model("--sd-known", is_flag=True, help="They are true sizes, not only weights."),
    "replicates": model("--replicates", type=click.Choice(REPLICATES), default="pooled",
                        metavar="HOW", help="pooled, across files too, or each.  [pooled]"),
    "residues": model("--residues", type=click.IntRange(1), metavar="N",
                      help="Chain length: warn where m does not suit."),
    "midpoint": model("--midpoint", is_flag=True, help="Midpoint only, for short or poor curves."),
    "drop_outliers": model("--drop-outliers", is_flag=True, help="Fit again without marked readings."),
}  # fmt: skip


def choices_of(*names):
    """Gives a command those choices of a fit, as one dictionary `choices`."""

    def dressed(command):
        @wraps(command)
        def wrapped(*arguments, **options):
            choices = {name: options.pop(name) for name in names}
            return command(*arguments, choices=choices, **options)

        for name in reversed(names):
            wrapped = CHOICES[name](wrapped)
        return wrapped

    return dressed


fit_choices = choices_of(*CHOICES)


def settings_from(choices, units, temperature=None, intervals=None):
    """The `Settings` of the choices; a wrong one is an error of usage."""
    told = dict(choices)
    baselines = baselines_of(told.pop("baselines", None))
    if told.get("states", "").isdigit():
        told["states"] = int(told["states"])
    if "m" in told:
        told["m"] = _m(told["m"], units)
    if "midpoint" in told:
        told["midpoint_only"] = told.pop("midpoint")
    try:
        return settings_of(baselines, temperature=temperature, intervals=intervals, **told)
    except ValueError as fault:
        raise click.UsageError(f"{fault}.") from None


def check_exclusions(settings, curves):
    """An error of usage where `--exclude` tells what no curve has."""
    try:
        idle = without_effect(settings.exclude, curves)
    except ValueError as fault:
        raise click.UsageError(f"--exclude: {fault}.") from None
    if idle:
        raise click.UsageError(f"--exclude {', '.join(idle)}: no reading of these curves answers to it.")


def _m(text, units):
    if text in ("shared", "free"):
        return text
    try:
        value = float(text)
    except ValueError:
        value = 0.0
    if not value > 0.0:
        raise click.UsageError(f"--m is shared, free or a number above 0 in {units}/mol/M, not '{text}'.")
    return value * CAL_PER_UNIT[units]


def baselines_of(text):
    """The sides that `--baselines` tells: four numbers, or native= and denatured=, each a word or a pair."""
    if text is None:
        return None
    wrong = click.UsageError(
        "--baselines takes native=flat,denatured=line, or two numbers for a side (native=0,0), "
        f"or four numbers aN,bN,aU,bU, not '{text}'."
    )
    parts = [part.strip() for part in text.split(",")]
    if "=" not in text:
        try:
            values = _finite(parts)
        except ValueError:
            raise wrong from None
        if len(values) != 4:
            raise wrong
        return values
    sides, side = {}, None
    for part in parts:
        name, told, value = part.rpartition("=")
        if told:
            side = name.strip()
            if side in sides:
                raise wrong
            sides[side] = []
        if side is None:
            raise wrong
        sides[side].append(value.strip())
    try:
        return {name: words[0] if words[0] in ("line", "flat") and len(words) == 1 else _pair(words)
                for name, words in sides.items()}  # fmt: skip
    except ValueError:
        raise wrong from None


def _pair(words):
    first, second = _finite(words)
    return first, second


def _finite(words):
    values = [float(word) for word in words]
    if not all(map(isfinite, values)):
        raise ValueError("a number that is none")
    return values
