"""One curve, one fit: `fit` and the record `Fit` that it returns."""

from dataclasses import dataclass, field
from functools import cached_property

import numpy as np

from . import codes, engine, model
from ._library import MOST_POINTS, RESULT_LENGTH
from .engine import Element
from .model import CAL_PER_UNIT
from .points import pick_states, spike_marks, tidy_readings

FEWEST_POINTS = 8
FEWEST_POINTS_MIDPOINT = 6
_NOTABLE_SHARE = 8


@dataclass(frozen=True, eq=False, repr=False)
class Fit:
    """A fitted curve. Energies are in cal/mol, concentrations in M, temperatures in °C.

    `x` and `y` are the readings, ascending and without blanks; `kept` tells which of them the fit
    used. `result` is the engine's vector of 24 numbers. Energies in kcal/mol or kJ/mol come from
    `dG_in` and `m_in`.
    """

    x: np.ndarray
    y: np.ndarray
    temperature: float
    result: np.ndarray
    kept: np.ndarray
    name: str = ""
    asked: object = "auto"  # the number of states asked for, or "auto"
    tried: int = 2  # the number of states handed to the engine
    given_baselines: tuple = None
    midpoint_only: bool = False
    from_series: bool = False
    note: str = ""
    details: dict = field(default_factory=dict)  # what the source said: file, label, well, ...

    # What was fitted.

    @cached_property
    def states(self):
        """Number of states of the model that the engine used: 2, 3 or 4."""
        return model.states_of(self.result)

    @property
    def code(self):
        """Fit code, element 13 of the result."""
        return int(self.result[Element.CODE])

    @cached_property
    def path(self):
        """The fit code taken apart: stage, seed, held side, sentence (see `zolt.codes`)."""
        analysis = "midpoint" if self.midpoint_only else "series" if self.from_series else "full"
        if self.given_baselines is not None and self._baselines_are_given():
            analysis = "baselines"
        code = codes.explain(self.code, self.states, analysis)
        return codes.lost(code) if code.is_fit and not self.ok else code

    def _baselines_are_given(self):
        pairs = zip(np.reshape(self.given_baselines, (2, 2)), self.result[:4].reshape(2, 2))
        return all(given.sum() == 0.0 or np.allclose(given, used, atol=2e-3) for given, used in pairs)

    @property
    def status(self):
        """The outcome in a word or two: fitted, no transition, too few points, ..."""
        return self._count_fault()[0] or self.path.status

    @property
    def reason(self):
        """A sentence that says why the fit is what it is."""
        return self._count_fault()[1] or self.path.sentence

    @property
    def remark(self):
        """What else one should know of this fit, in sentences; mostly empty."""
        parts = [self.note] if self.note else []
        if self.ok and np.count_nonzero(self.outliers & self.kept) > self.x.size // _NOTABLE_SHARE:
            parts.append("Many readings lie off the fit: look at its residuals.")
        elif not self.ok and not self._count_fault()[0] and (spikes := np.count_nonzero(self.spikes & self.kept)):
            parts.append(f"Readings marked as spikes: {spikes}; a fit without outliers may help.")
        return " ".join(parts)

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

    def intervals(self, level=0.95, method="bootstrap", rounds=1000, seed=0, workers=None):
        """Confidence intervals of dG, Cm and m; see `zolt.intervals.bootstrap`."""
        from .intervals import bootstrap

        if method != "bootstrap":
            raise ValueError(f"method is 'bootstrap', not {method!r}")
        return bootstrap(self, level=level, rounds=rounds, seed=seed, workers=workers)

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
        for i, (dG, Cm, m, weight) in enumerate(
            zip(self.dG_in(units), self.Cm, self.m_in(units), self.weights), start=1
        ):
            row[f"dG{i}_{units}_per_mol"] = float(dG)
            row[f"Cm{i}_M"] = float(Cm)
            row[f"m{i}_{units}_per_mol_per_M"] = float(m)
            row[f"weight{i}"] = float(weight)
        row["R_squared"] = self.r_squared
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
        return "; ".join(
            f"Cm {Cm:.3f} M, dG {dG:.2f} {units}/mol, m {m:.3f} {units}/mol/M"
            for Cm, dG, m in zip(self.Cm, self.dG_in(units), self.m_in(units))
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


def _no_analysis():
    """The vector of an input that the engine is not asked about."""
    result = np.zeros(RESULT_LENGTH)
    result[:6] = -1.0
    result[[Element.RT, Element.R_SQUARED]] = -1.0
    result[Element.CODE] = codes.BAD_INPUT
    return result


def fit(
    x,
    y,
    temperature=25.0,
    states="auto",
    baselines=None,
    midpoint_only=False,
    *,
    drop_outliers=False,
    name="",
    details=None,
):
    """Fit one denaturation curve.

    `x` are denaturant concentrations in M, `y` the signal, `temperature` is in °C. `states` is 2,
    3, 4 or "auto"; auto asks the model picker, and where the picked model finds no acceptable fit
    it goes on with one state fewer. `baselines` are (aN, bN, aU, bU), intercepts and slopes of the
    native and the denatured baseline; a pair of zeros is taken from the curve's ends. With
    `midpoint_only` a light fit gives the midpoint of short or poor curves. With `drop_outliers`
    spikes are left out of the fit, and the fit is repeated without its outliers, as long as at
    most a quarter of the curve goes.

    A curve that cannot be fitted is a result, not an error: see `ok`, `status` and `reason`.
    """
    x, y = tidy_readings(x, y)
    if baselines is not None:
        baselines = tuple(float(value) for value in baselines)
        if len(baselines) != 4:
            raise ValueError("baselines are four numbers: aN, bN, aU, bU")
        if midpoint_only:
            raise ValueError("a midpoint fit takes no baselines")
    if states not in ("auto", 2, 3, 4):
        raise ValueError(f"states is 2, 3, 4 or 'auto', not {states!r}")
    temperature = float(temperature)
    fixed = dict(
        x=x, y=y, temperature=temperature, name=name, asked=states, given_baselines=baselines,
        midpoint_only=midpoint_only, details=details or {},
    )  # fmt: skip
    kept = np.ones(x.size, bool)
    if not fewest_points(midpoint_only) <= x.size <= MOST_POINTS:
        return Fit(result=_no_analysis(), kept=kept, **fixed)
    if drop_outliers:
        kept = _without(kept, spike_marks(y), fixed)
    fitted = _fit_states(fixed, kept)
    if drop_outliers and fitted.ok:
        fewer = _without(kept, fitted.outliers, fixed)
        if fewer is not kept:
            return _fit_states(fixed, fewer)
    return fitted


def _without(kept, marked, fixed):
    """The kept points less the marked ones, if a quarter at most goes and enough stay."""
    fewer = kept & ~marked
    lost = fewer.size - np.count_nonzero(fewer)
    if np.any(kept & marked) and lost <= fewer.size // 4:
        if fewer.size - lost >= fewest_points(fixed["midpoint_only"]):
            return fewer
    return kept


def _fit_states(fixed, kept):
    """The fit of the kept points with the states asked for, or with those that suit."""
    x, y = (fixed["x"], fixed["y"]) if kept.all() else (fixed["x"][kept], fixed["y"][kept])
    temperature = fixed["temperature"]
    request = fixed["given_baselines"], fixed["midpoint_only"]
    picked = tried = pick_states(x, y) if fixed["asked"] == "auto" else fixed["asked"]
    result = engine.analyse(x, y, temperature, tried, *request)
    if fixed["asked"] == "auto":
        while result[Element.CODE] in (codes.NO_CANDIDATE, codes.NO_FIT) and tried > 2:
            tried -= 1
            result = engine.analyse(x, y, temperature, tried, *request)
    note = ""
    if tried < picked:
        note = f"The picker saw {picked} states, which gave no acceptable fit."
    elif result[Element.RT] != -1 and model.states_of(result) < tried:
        note = f"{x.size} readings allow {model.states_of(result)} states."
    return Fit(result=result, kept=kept, tried=tried, note=note, **fixed)
