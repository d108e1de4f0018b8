"""The choices of a fit as options: which readings, which model, what is held."""

from functools import wraps

import click

from ..exclusion import without_effect
from ..model import CAL_PER_UNIT
from ..settings import REPLICATES, WEIGHTS, settings_of

CHOICES = (
    click.option("--states", type=click.Choice(["auto", "picker", "2", "3", "4"]), default="auto",
                 show_default=True, help="Number of states; auto weighs the evidence, picker asks the engine."),
    click.option("--m", default="free", show_default=True, metavar="shared|free|VALUE",
                 help="One m for all curves, one each, or held at a value."),
    click.option("--baselines", metavar="SIDES",
                 help="native=flat,denatured=line or =A,B (held); or aN,bN,aU,bU with 0,0 open."),
    click.option("--exclude", multiple=True, metavar="[CURVE@]WHAT",
                 help="Readings to leave out: well B3, 3.5 (M), 6..8, #5; may be repeated."),
    click.option("--weights", type=click.Choice(WEIGHTS), default="sd", show_default=True,
                 help="What a file's standard deviations are: of readings, of means (sem), or no weights."),
    click.option("--sd-known", is_flag=True, help="The deviations are true sizes, not only weights."),
    click.option("--replicates", type=click.Choice(REPLICATES), default="pooled", show_default=True,
                 help="Replicates fitted together, or each alone with mean ± SD."),
    click.option("--residues", type=click.IntRange(1), metavar="N",
                 help="Length of the chain: warn where m does not suit it."),
    click.option("--midpoint", is_flag=True, help="Midpoint fit only, for short or poor curves."),
    click.option("--drop-outliers", is_flag=True, help="Fit again without marked readings."),
)  # fmt: skip


def fit_choices(command):
    """Gives a command the choices of a fit, as one dictionary `choices`."""
    names = [option_name(option) for option in CHOICES]

    @wraps(command)
    def wrapped(*arguments, **options):
        choices = {name: options.pop(name) for name in names}
        return command(*arguments, choices=choices, **options)

    for option in reversed(CHOICES):
        wrapped = option(wrapped)
    return wrapped


def option_name(option):
    """The name of the argument that an option becomes."""

    def bare():
        pass

    option(bare)
    return bare.__click_params__[0].name


def settings_from(choices, units, temperature=None, intervals=None):
    """The `Settings` of the choices; a wrong one is an error of usage."""
    states, m = choices["states"], choices["m"]
    try:
        return settings_of(
            baselines_of(choices["baselines"]),
            states=int(states) if states.isdigit() else states, temperature=temperature, m=_m(m, units),
            weights=choices["weights"], sd_known=choices["sd_known"], replicates=choices["replicates"],
            exclude=choices["exclude"], drop_outliers=choices["drop_outliers"],
            midpoint_only=choices["midpoint"], residues=choices["residues"], intervals=intervals,
        )  # fmt: skip
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
    """The sides that `--baselines` tells: four numbers, or native= and denatured= with a word or two numbers."""
    if text is None:
        return None
    wrong = click.UsageError(
        "--baselines takes native=flat,denatured=line, or two numbers for a side (native=0,0), "
        f"or four numbers aN,bN,aU,bU, not '{text}'."
    )
    parts = [part.strip() for part in text.split(",")]
    if "=" not in text:
        try:
            values = [float(part) for part in parts]
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
    first, second = (float(word) for word in words)
    return first, second
