"""One curve, one fit: `fit`, which returns a `Fit`."""

import numpy as np

from . import codes, engine, inference, model
from ._library import MOST_POINTS
from .caution import caution
from .checks import number, numbers
from .engine import Element
from .engine_answer import EngineAnswer, answer_of_engine
from .exclusion import excluded, without_effect
from .fit_record import Fit, fewest_points
from .points import pick_states, spike_marks, tidy_readings, usable_deviations
from .reading.curve import Curve
from .reading.quantities import soluble
from .settings import USUAL_TEMPERATURE, Settings, settings_of


def fit(
    x,
    y,
    temperature=None,
    states="auto",
    baselines=None,
    midpoint_only=False,
    *,
    sd=None,
    n=None,
    weights="sd",
    sd_known=False,
    m="free",
    dG=None,
    Cm=None,
    exclude=(),
    drop_outliers=False,
    residues=None,
    name="",
    details=None,
    denaturant=None,
    settings=None,
    part=None,
    notes=(),
):
    """Fit one denaturation curve by least squares.

    `x` are denaturant concentrations in M, `y` the signal, `temperature` is in °C; without one 25 °C
    is assumed, with a warning. `states` is 2, 3 or 4, "auto", which weighs the models against one
    another and against curves without a transition (see `Fit.evidence`), or "picker", which asks the
    engine's model picker.

    `baselines` are a dictionary with "native" and "denatured", each "line", "flat" or (intercept,
    slope); or (aN, bN, aU, bU), where a pair of zeros leaves a side to the fit. `sd` are standard
    deviations of the readings and `n` the number of measurements behind each; by `weights` they weigh
    the readings as they are ("sd"), as those of means ("sem") or not at all ("none"), and with
    `sd_known` they also tell the size of the errors. `m` (cal/mol/M), `dG` (cal/mol) and `Cm` (M) are
    held where given. `exclude` tells readings to leave out, as "3.5", "6..8" or "#5" (see
    `zolt.exclusion`), or marks them by True. `residues` is the length of the chain, from which m can
    be expected. All choices together may come as `settings`, a `zolt.Settings`, in their place.

    With `midpoint_only` a light fit of the engine gives the midpoint of short or poor curves. With
    `drop_outliers` spikes are left out of the fit, and the fit is repeated without its outliers,
    as long as at most a quarter of the curve goes.

    `part` (of pooled replicates), `denaturant` and `notes` are what a reader knows of the readings. A
    curve that cannot be fitted is a result, not an error: see `ok`, `status`, `reason`.
    """
    if not isinstance(settings, Settings | None):
        raise TypeError(f"settings is a zolt.Settings, not {settings!r}; single choices are arguments")
    exclude = () if exclude is None else exclude
    marked = not isinstance(exclude, str) and np.asarray(exclude).dtype == bool
    marks, exclude = (np.asarray(exclude), ()) if marked else (None, exclude)
    if settings is None:
        settings = settings_of(
            baselines, states=states, temperature=temperature, midpoint_only=midpoint_only, weights=weights,
            sd_known=sd_known, m=m, dG=dG, Cm=Cm, exclude=exclude, drop_outliers=drop_outliers,
            residues=residues,
        )  # fmt: skip
    if settings.shares_m:
        raise ValueError("curves share m with one another: give them to zolt.fit_many or zolt.fit_global")
    temperature = settings.temperature if temperature is None else number(temperature, "temperature", "°C")
    sd, refused = usable_deviations(sd, n, settings.weights, y)
    given = x
    x, y, order = tidy_readings(x, y)
    if marks is None:
        curve = Curve(name, numbers(given, "x"), y)
        marks = excluded(settings.exclude, curve)
        if idle := without_effect(settings.exclude, [curve]):
            raise ValueError(f"exclude {', '.join(idle)}: no reading of the curve answers to it")
    if marks.size != np.size(given):
        raise ValueError(f"x has {np.size(given)} values and exclude has {marks.size}; it marks every reading")
    said = [*notes]
    if temperature is None:
        temperature = USUAL_TEMPERATURE
        said.append(caution("temperature_assumed", temperature=f"{temperature:g}"))
    if (
        x.size
        and x[-1] > (limit := soluble(denaturant))
        and "beyond_solubility" not in [c.code for c in said]
    ):
        name_of = denaturant or "of any denaturant"
        said.append(caution("beyond_solubility", x=f"{x[-1]:g}", limit=f"{limit:g}", denaturant=name_of))
    if refused:
        said.append(caution("deviations_unused"))
    fixed = dict(
        x=x, y=y, temperature=float(temperature), name=name, settings=settings,
        sd=None if sd is None else sd[order], part=None if part is None else np.asarray(part)[order],
        denaturant=denaturant, input_cautions=tuple(said), details=details or {},
    )  # fmt: skip
    kept = ~marks[order]
    if not fewest_points(settings.midpoint_only) <= np.count_nonzero(kept) <= MOST_POINTS:
        return Fit(result=model.no_fit(codes.BAD_INPUT), kept=kept, **fixed)
    wanted = kept
    if settings.drop_outliers:
        kept = _without(kept, spike_marks(y), wanted, settings)
    fitted = _fit_kept(fixed, kept)
    if settings.drop_outliers and fitted.ok:
        fewer = _without(kept, fitted.outliers, wanted, settings)
        if fewer is not kept:
            return _fit_kept(fixed, fewer)
    return fitted


def _without(kept, marked, wanted, settings):
    """The kept points less the marked ones, if at most a quarter of the wanted ones goes and enough stay."""
    fewer = kept & ~marked
    left, all_wanted = np.count_nonzero(fewer), np.count_nonzero(wanted)
    if np.any(kept & marked) and all_wanted - left <= all_wanted // 4:
        if left >= fewest_points(settings.midpoint_only):
            return fewer
    return kept


def _fit_kept(fixed, kept):
    """The fit of the kept points with the states asked for, or with those that the readings show."""
    x, y, settings = fixed["x"][kept], fixed["y"][kept], fixed["settings"]
    if settings.midpoint_only:
        return _midpoint(fixed, kept, x, y)
    sd = None if fixed["sd"] is None else fixed["sd"][kept]
    readings, options = inference.Readings(x, y, sd, fixed["temperature"]), settings.options()
    if settings.states == "auto":
        answer = inference.decide(readings, options)
        tried = max(answer.evidence.states, 2)
    else:
        tried = pick_states(x, y) if settings.states == "picker" else settings.states
        answer = inference.fit(readings, tried - 1, options)
    return fit_of_answer(fixed, kept, readings, answer, tried)


def fit_of_answer(fixed, kept, readings, answer, tried, **more):
    """The `Fit` of an answer of the inference library, with what the engine says beside it."""
    said = answer_of_engine(readings, answer, tried, fixed["settings"].options())
    fitted = answer.status == inference.FITTED
    result = model.vector(answer, said.code) if fitted else model.no_fit(said.code, tried)
    return Fit(result=result, kept=kept, tried=tried, answer=answer, engine=said, **fixed, **more)


def _midpoint(fixed, kept, x, y):
    asked = fixed["settings"].states
    tried = asked if isinstance(asked, int) else pick_states(x, y)
    result = engine.analyse(x, y, fixed["temperature"], tried, midpoint_only=True)
    while not isinstance(asked, int) and result[Element.CODE] == codes.NO_CANDIDATE and tried > 2:
        tried -= 1
        result = engine.analyse(x, y, fixed["temperature"], tried, midpoint_only=True)
    return Fit(result=result, kept=kept, tried=tried, engine=EngineAnswer(result, "midpoint"), **fixed)
