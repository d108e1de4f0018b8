"""One curve, one fit: `fit` and the record `Fit` that it returns."""

from dataclasses import dataclass, field
from functools import cached_property

import numpy as np

from . import codes, engine, inference, model
from ._library import MOST_POINTS
from .engine import Element
from .evidence import Evidence
from .model import CAL_PER_UNIT
from .points import pick_states, spike_marks, tidy_readings

FEWEST_POINTS = 8
FEWEST_POINTS_MIDPOINT = 6
_NOTABLE_SHARE = 8
_NOTABLE_ERRORS = 2.0  # by how many standard errors the engine's answer may differ unmentioned


@dataclass(frozen=True, eq=False, repr=False)
class EngineAnswer:
    """What the engine said of a curve: its result vector, and what that holds by name."""

    vector: np.ndarray
    analysis: str = "full"

    @property
    def states(self):
        return model.states_of(self.vector)

    @property
    def ok(self):
        """True where the vector holds a fit."""
        return bool(self.vector[Element.RT] > 0)

    @property
    def code(self):
        """Fit code, element 13 of the vector."""
        return int(self.vector[Element.CODE])

    @cached_property
    def path(self):
        """The fit code taken apart: stage, seed, held side, sentence (see `zolt.codes`)."""
        code = codes.explain(self.code, self.states, self.analysis)
        return codes.lost(code) if code.is_fit and not self.ok else code

    @property
    def sentence(self):
        return self.path.sentence

    @cached_property
    def _transitions(self):
        rows = model.transitions(self.vector)
        return rows if self.ok else tuple(np.full(row.shape, np.nan) for row in rows)

    @property
    def dG(self):
        """Free energy of unfolding in water of each transition, cal/mol."""
        return self._transitions[0]

    @property
    def Cm(self):
        """Midpoint of each transition, M."""
        return self._transitions[1]

    @property
    def m(self):
        """m-value of each transition, cal/mol/M."""
        return self.dG / self.Cm

    def __repr__(self):
        return f"<EngineAnswer {self.states} states, code {self.code}. {self.sentence}>"


@dataclass(frozen=True, eq=False, repr=False)
class Fit:
    """A fitted curve. Energies are in cal/mol, concentrations in M, temperatures in °C.

    `x` and `y` are the readings, ascending and without blanks; `kept` tells which of them the fit
    used. The numbers are those of least squares, `se` holds their standard errors, `engine` what
    the engine said, `evidence` what speaks for the number of states. `result` holds the fit in the
    layout of the engine's vector of 24 numbers. In fits of a series and in midpoint fits the
    numbers are the engine's own, without errors. Energies in kcal/mol or kJ/mol come from `dG_in`
    and `m_in`.
    """

    x: np.ndarray
    y: np.ndarray
    temperature: float
    result: np.ndarray
    kept: np.ndarray
    name: str = ""
    asked: object = "auto"  # the number of states asked for, "auto" or "picker"
    tried: int = 2  # the number of states that was fitted in the end
    answer: object = None  # the record of the inference library
    engine: EngineAnswer = None
    options: inference.Options = inference.Options()
    sd: np.ndarray = None  # standard deviations of the readings, in units of the signal
    midpoint_only: bool = False
    from_series: bool = False
    note: str = ""
    details: dict = field(default_factory=dict)  # what the source said: file, label, well, ...

    def __post_init__(self):
        if self.engine is None:
            analysis = "midpoint" if self.midpoint_only else "series" if self.from_series else "full"
            object.__setattr__(self, "engine", EngineAnswer(self.result, analysis))

    # What was fitted.

    @cached_property
    def states(self):
        """Number of states of the model that the engine used: 2, 3 or 4."""
        return model.states_of(self.result)

    @property
    def code(self):
        """Fit code of the engine's answer."""
        return self.engine.code

    @property
    def path(self):
        """The engine's fit code taken apart: stage, seed, held side, sentence (see `zolt.codes`)."""
        return self.engine.path

    @property
    def status(self):
        """The outcome in a word or two: fitted, no transition, too few points, ..."""
        if self._count_fault()[0]:
            return self._count_fault()[0]
        return self.path.status if self.answer is None else inference.WORDS[self.answer.status]

    @property
    def reason(self):
        """A sentence that says why the fit is what it is."""
        if self._count_fault()[1]:
            return self._count_fault()[1]
        if self.answer is None:
            return self.path.sentence
        if self.answer.evidence is not None:
            return self.evidence.sentence
        return inference.sentence(self.answer.status)

    @property
    def remark(self):
        """What else one should know of this fit, in sentences; mostly empty."""
        parts = [self.note] if self.note else []
        if self.ok and np.count_nonzero(self.outliers & self.kept) > self.x.size // _NOTABLE_SHARE:
            parts.append("Many readings lie off the fit: look at its residuals.")
        elif not self.ok and not self._count_fault()[0] and (spikes := np.count_nonzero(self.spikes & self.kept)):
            parts.append(f"Readings marked as spikes: {spikes}; a fit without outliers may help.")
        if self.ok and self.answer is not None:
            parts += self._bound_remarks() + self._engine_remarks()
        return " ".join(parts)

    def _bound_remarks(self):
        said = []
        for i in range(self.dG.size):
            bits = self.answer.record.bounds >> (8 * i)
            which = "" if self.dG.size == 1 else f" {i + 1}"
            if bits & inference.M_MOST:
                said.append(f"Transition{which} falls between two readings: m and dG have no upper limit.")
            if bits & inference.M_LEAST:
                said.append(f"Transition{which} is as flat as a curved baseline.")
            if bits & (inference.OUTSIDE | inference.CM_LEAST | inference.CM_MOST):
                said.append(f"The midpoint{which} lies outside the readings.")
            if bits & inference.WEIGHT_EDGE:
                said.append(f"Transition{which} carries next to nothing, or next to all.")
        return said

    def _engine_remarks(self):
        """Where the engine's own numbers differ by more than two standard errors."""
        if not self.engine.ok or self.engine.states != self.states:
            return []
        apart = [
            name
            for name in ("dG", "Cm", "m")
            if np.any(np.abs(getattr(self.engine, name) - getattr(self, name)) > _NOTABLE_ERRORS * self.se[name])
        ]
        if not apart:
            return []
        values = ", ".join(f"{v / 1000:.2f}" for v in self.engine.dG)
        return [f"The engine's own fit is more than two standard errors away in {', '.join(apart)} "
                f"(its dG is {values} kcal/mol)."]  # fmt: skip

    @cached_property
    def readings(self):
        """The kept readings, as the inference library takes them."""
        sd = None if self.sd is None else self.sd[self.kept]
        return inference.Readings(self.x[self.kept], self.y[self.kept], sd, self.temperature)

    @cached_property
    def evidence(self):
        """What speaks for the number of states (see `zolt.evidence`); None in fits of the engine."""
        if self.answer is None:
            return None
        return Evidence(self.answer.evidence or inference.decide(self.readings, self.options).evidence)

    @cached_property
    def se(self):
        """Standard errors: arrays under dG, Cm, m, weights and baselines; NaN where there is none."""
        rows = {"dG": "dG", "Cm": "Cm", "m": "m", "weights": "weight", "baselines": "baseline"}
        if self.answer is None or not self.ok:
            return {name: np.full(getattr(self, name).size, np.nan) for name in rows}
        return {name: self.answer.values(field + "_se") for name, field in rows.items()}

    def _count_fault(self):
        n, fewest = self.x.size, fewest_points(self.midpoint_only)
        if n < fewest:
            return "too few points", f"The curve has {n} readings; this analysis needs at least {fewest}."
        if n > MOST_POINTS:
            return "too many points", f"The curve has {n} readings; the engine takes at most {MOST_POINTS}."
        return "", ""

    @property
    def ok(self):
        """True where the result holds a fit."""
        return bool(self.result[Element.RT] > 0)

    @cached_property
    def _transitions(self):
        rows = model.transitions(self.result)
        return rows if self.ok else tuple(np.full(row.shape, np.nan) for row in rows)

    @property
    def dG(self):
        """Free energy of unfolding in water of each transition, cal/mol."""
        return self._transitions[0]

    @property
    def Cm(self):
        """Midpoint of each transition, M."""
        return self._transitions[1]

    @property
    def m(self):
        """m-value of each transition, dG/Cm, cal/mol/M."""
        return self.dG / self.Cm

    @property
    def weights(self):
        """Share of each transition in the signal change; they add up to 1."""
        return self._transitions[2]

    def dG_in(self, unit="kcal"):
        """dG per transition in `cal`, `kcal` or `kJ` per mol."""
        return self.dG / CAL_PER_UNIT[unit]

    def m_in(self, unit="kcal"):
        """m-value per transition in `cal`, `kcal` or `kJ` per mol and M."""
        return self.m / CAL_PER_UNIT[unit]

    @property
    def baselines(self):
        """aN, bN, aU, bU: intercepts (signal) and slopes (signal per M), native then denatured."""
        return self.result[:4] if self.ok else np.full(4, np.nan)

    @property
    def r_squared(self):
        return float(self.result[Element.R_SQUARED]) if self.ok else float("nan")

    # Curves and points.

    def curve(self, n=200):
        """Concentrations (M) and fitted signal on an even grid of n points."""
        return engine.fitted_curve("signal", self.x, self.result, n)

    def fraction_denatured(self, n=200):
        """Concentrations (M) and fraction denatured on an even grid of n points."""
        return engine.fitted_curve("fraction", self.x, self.result, n)

    def first_derivative(self, n=200):
        """Concentrations (M) and slope of the fraction denatured (1/M) at n points."""
        return engine.fitted_curve("derivative", self.x, self.result, n)

    def band(self, n=200, level=0.95):
        """Concentrations (M), fitted signal and half-width of its confidence band at n points."""
        x = np.linspace(self.x[0], self.x[-1], n) if self.x.size else np.empty(0)
        if self.answer is None or not self.ok:
            return x, np.full(x.size, np.nan), np.full(x.size, np.nan)
        drawn = inference.draw(self.answer, x, level)
        return x, drawn["signal"], drawn["band"]

    @cached_property
    def residuals(self):
        """Reading minus fit at every x, in units of the signal."""
        return self.y - model.signal(self.x, self.result) if self.ok else np.full(self.x.size, np.nan)

    @cached_property
    def spikes(self):
        """True where a reading leaps out to one side of both its neighbours (see `spike_marks`)."""
        return spike_marks(self.y)

    @cached_property
    def outliers(self):
        """True where a reading is more than 0.15 standard deviations of the signal off the fit."""
        if not self.ok:
            return np.zeros(self.x.size, bool)
        return engine.outlier_mask(self.x, self.y, self.result) == 0

    @property
    def marked(self):
        """Readings to look at: spikes, outliers, and what the fit left out."""
        return self.spikes | self.outliers | ~self.kept

    # Uncertainty, pictures, tables.

    def intervals(self, level=0.95, method="profile", rounds=1000, seed=0):
        """Confidence intervals of dG, Cm and m by profile, linear or bootstrap: `zolt.Intervals`."""
        from .intervals import intervals_of

        return intervals_of(self, level, method, rounds, seed)

    def plot(self, ax=None, **options):
        """Draw the fit; see `zolt.plot.plot_fit`."""
        from .plot import plot_fit

        return plot_fit(self, ax, **options)

    def to_dict(self, units="kcal"):
        """One flat row of plain values; the keys carry the units."""
        row = {
            "curve": self.name,
            **self.details,
            "status": self.status,
            "states": self.states if self.ok else None,
            "points": int(self.x.size),
            "temperature_C": self.temperature,
        }
        energy = CAL_PER_UNIT[units]
        for name, suffix, scale in (
            ("dG", f"_{units}_per_mol", energy),
            ("Cm", "_M", 1.0),
            ("m", f"_{units}_per_mol_per_M", energy),
            ("weight", "", 1.0),
        ):
            key = "weights" if name == "weight" else name
            for i, (value, error) in enumerate(zip(getattr(self, key), self.se[key]), start=1):
                row[f"{name}{i}{suffix}"] = float(value) / scale
                row[f"{name}{i}_se{suffix}"] = float(error) / scale
        row["R_squared"] = self.r_squared
        row["durbin_watson"] = self.answer.record.durbin_watson if self.ok and self.answer else float("nan")
        row["code"] = self.code
        row["reason"] = self.reason
        row["remark"] = self.remark
        row["spikes"] = int(np.count_nonzero(self.spikes))
        row["outliers"] = int(np.count_nonzero(self.outliers))
        row["left_out"] = int(np.count_nonzero(~self.kept))
        row.update(zip(("aN", "bN_per_M", "aU", "bU_per_M"), self.baselines.tolist()))
        return row

    def summary(self, units="kcal"):
        """The transitions in one line of text."""
        energy = CAL_PER_UNIT[units]

        def spelled(value, error, digits):
            return f"{value:.{digits}f}" + (f" ± {error:.{digits}f}" if np.isfinite(error) else "")

        return "; ".join(
            f"Cm {spelled(self.Cm[i], self.se['Cm'][i], 3)} M, "
            f"dG {spelled(self.dG[i] / energy, self.se['dG'][i] / energy, 2)} {units}/mol, "
            f"m {spelled(self.m[i] / energy, self.se['m'][i] / energy, 3)} {units}/mol/M"
            for i in range(self.dG.size)
        )

    def __repr__(self):
        name = f"{self.name}: " if self.name else ""
        if not self.ok:
            words = f"{self.reason} {self.remark}".strip()
            return f"<Fit {name}{self.status}, code {self.code}. {words}>"
        return f"<Fit {name}{self.states} states; {self.summary()}; R² {self.r_squared:.4f}, code {self.code}>"

    def _repr_html_(self):
        from .report import fit_html

        return fit_html(self)


def fewest_points(midpoint_only):
    return FEWEST_POINTS_MIDPOINT if midpoint_only else FEWEST_POINTS


def fit(
    x,
    y,
    temperature=25.0,
    states="auto",
    baselines=None,
    midpoint_only=False,
    *,
    sd=None,
    sd_known=False,
    m=None,
    dG=None,
    Cm=None,
    drop_outliers=False,
    name="",
    details=None,
):
    """Fit one denaturation curve by least squares.

    `x` are denaturant concentrations in M, `y` the signal, `temperature` is in °C. `states` is 2,
    3 or 4, "auto", which weighs the models against one another and against curves without a
    transition (see `Fit.evidence`), or "picker", which asks the engine's model picker.

    `baselines` are (aN, bN, aU, bU), intercepts and slopes of the native and the denatured
    baseline, where a pair of zeros leaves a side to the fit; or a dictionary with "native" and
    "denatured", each "line", "flat" or (intercept, slope). `sd` are standard deviations of the
    readings; they weigh them, and with `sd_known` they also tell the size of the errors. `m`
    (cal/mol/M), `dG` (cal/mol) and `Cm` (M) are held where given.

    With `midpoint_only` a light fit of the engine gives the midpoint of short or poor curves. With
    `drop_outliers` spikes are left out of the fit, and the fit is repeated without its outliers,
    as long as at most a quarter of the curve goes.

    A curve that cannot be fitted is a result, not an error: see `ok`, `status` and `reason`.
    """
    x, y, sd = tidy_readings(x, y, sd)
    if midpoint_only and baselines is not None:
        raise ValueError("a midpoint fit takes no baselines")
    if states not in ("auto", "picker", 2, 3, 4):
        raise ValueError(f"states is 2, 3, 4, 'auto' or 'picker', not {states!r}")
    options = inference.Options(**_sides(baselines), m=m, dG=dG, Cm=Cm, sd_known=sd_known)
    fixed = dict(
        x=x, y=y, temperature=float(temperature), name=name, asked=states, options=options, sd=sd,
        midpoint_only=midpoint_only, details=details or {},
    )  # fmt: skip
    kept = np.ones(x.size, bool)
    if not fewest_points(midpoint_only) <= x.size <= MOST_POINTS:
        return Fit(result=model.no_fit(codes.BAD_INPUT), kept=kept, **fixed)
    if drop_outliers:
        kept = _without(kept, spike_marks(y), fixed)
    fitted = _fit_kept(fixed, kept)
    if drop_outliers and fitted.ok:
        fewer = _without(kept, fitted.outliers, fixed)
        if fewer is not kept:
            return _fit_kept(fixed, fewer)
    return fitted


def _sides(baselines):
    """The baselines of an option record from the forms in which they are given."""
    if baselines is None:
        return {}
    if isinstance(baselines, dict):
        if unknown := set(baselines) - {"native", "denatured"}:
            raise ValueError(f"baselines have a native and a denatured side, not {', '.join(sorted(unknown))}")
        return baselines
    values = tuple(float(value) for value in baselines)
    if len(values) != 4:
        raise ValueError("baselines are four numbers: aN, bN, aU, bU")
    pairs = zip(("native", "denatured"), (values[:2], values[2:]))
    return {side: pair for side, pair in pairs if any(pair)}


def _without(kept, marked, fixed):
    """The kept points less the marked ones, if a quarter at most goes and enough stay."""
    fewer = kept & ~marked
    lost = fewer.size - np.count_nonzero(fewer)
    if np.any(kept & marked) and lost <= fewer.size // 4:
        if fewer.size - lost >= fewest_points(fixed["midpoint_only"]):
            return fewer
    return kept


def _fit_kept(fixed, kept):
    """The fit of the kept points with the states asked for, or with those that the readings show."""
    x, y = fixed["x"][kept], fixed["y"][kept]
    asked = fixed["asked"]
    if fixed["midpoint_only"]:
        return _midpoint(fixed, kept, x, y)
    sd = None if fixed["sd"] is None else fixed["sd"][kept]
    readings = inference.Readings(x, y, sd, fixed["temperature"])
    tried = pick_states(x, y) if asked == "picker" else asked
    if asked == "auto":
        answer = inference.decide(readings, fixed["options"])
        tried = max(answer.evidence.states, 2)
    else:
        answer = inference.fit(readings, tried - 1, fixed["options"])
    note = f"The picker saw {tried} states." if asked == "picker" else ""
    if tried == 2 and asked != "auto":
        # The number was given, but not that there is a transition at all.
        decided = inference.decide(readings, fixed["options"], most_states=2)
        if decided.status == inference.NO_TRANSITION:
            note = f"{note} {inference.evidence_sentence(decided.evidence)}".strip()
    said = _engine_answer(readings, answer, tried, fixed["options"])
    fitted = answer.status == inference.FITTED
    result = model.vector(answer, said.code) if fitted else model.no_fit(said.code, tried)
    return Fit(result=result, kept=kept, tried=tried, answer=answer, engine=said, note=note, **fixed)


def _engine_answer(readings, answer, states, options):
    """What the engine says to the readings with that many states, and with baselines if given."""
    given = [side for side in (options.native, options.denatured) if not isinstance(side, str)]
    if len(given) == 2:
        vector = engine.analyse(readings.x, readings.y, readings.temperature, states, np.ravel(given))
        return EngineAnswer(vector, "baselines")
    vector = np.array(answer.record.engine)
    if answer.evidence is not None and states > 2:
        # The decision asked for a light analysis only.
        vector = engine.analyse(readings.x, readings.y, readings.temperature, states)
    # No answer at all comes from curves that the engine was not asked about.
    return EngineAnswer(vector if vector.any() else model.no_fit(codes.BAD_INPUT, states))


def _midpoint(fixed, kept, x, y):
    asked = fixed["asked"]
    tried = asked if isinstance(asked, int) else pick_states(x, y)
    result = engine.analyse(x, y, fixed["temperature"], tried, midpoint_only=True)
    while not isinstance(asked, int) and result[Element.CODE] == codes.NO_CANDIDATE and tried > 2:
        tried -= 1
        result = engine.analyse(x, y, fixed["temperature"], tried, midpoint_only=True)
    return Fit(result=result, kept=kept, tried=tried, engine=EngineAnswer(result, "midpoint"), **fixed)
