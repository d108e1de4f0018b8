"""The record of a fitted curve: `Fit`."""

from dataclasses import dataclass, field
from functools import cached_property

import numpy as np

from . import engine, inference, model
from ._library import MOST_POINTS
from .caution import codes_of, text_of
from .engine import Element
from .engine_answer import EngineAnswer
from .evidence import Evidence
from .checks import level_of
from .model import CAL_PER_UNIT
from .points import spike_marks
from .settings import Settings

FEWEST_POINTS = 8
FEWEST_POINTS_MIDPOINT = 6


@dataclass(frozen=True, eq=False, repr=False)
class Fit(model.Unfolding):
    """A fitted curve. Energies are in cal/mol, concentrations in M, temperatures in °C.

    `x` and `y` are the readings, ascending and without blanks; `kept` tells which of them the fit
    used. The numbers are those of least squares, `se` holds their standard errors, `engine` what
    the engine said, `evidence` what speaks for the number of states, `warnings` what one should know
    before trusting it, `settings` the choices it was made with. `result` holds the fit in the
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
    settings: Settings = Settings()
    tried: int = 2  # the number of states that was fitted in the end
    answer: object = None  # the record of the inference library
    engine: EngineAnswer = None
    sd: np.ndarray = None  # standard deviations that weigh the readings, in units of the signal
    part: np.ndarray = None  # of pooled replicates, which of them a reading belongs to
    denaturant: str = None  # 'urea', 'GdmCl', another name or None
    input_cautions: tuple = ()  # what the reader of the file had to say
    together: object = None  # `zolt.GlobalFit` and the place in it, of curves that share m
    from_series: bool = False
    details: dict = field(default_factory=dict)  # what the source said: file, label, well, ...

    def __post_init__(self):
        if self.engine is None:
            analysis = "midpoint" if self.midpoint_only else "series" if self.from_series else "full"
            object.__setattr__(self, "engine", EngineAnswer(self.result, analysis))

    # What was fitted.

    @property
    def midpoint_only(self):
        return self.settings.midpoint_only

    @property
    def options(self):
        """The choices as the inference library takes them."""
        return self.settings.options()

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
        if self.together is not None and self.ok:
            return f"Fitted with one m for {self.together[0].record.curves} curves."
        sentence = inference.sentence(self.answer.status)
        return (
            f"The picker saw {self.tried} states. {sentence}"
            if self.settings.states == "picker"
            else sentence
        )

    @cached_property
    def warnings(self):
        """What one should know before trusting the fit: `zolt.Caution` records, mostly none."""
        from .doubts import doubts_of

        return doubts_of(self)

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
        n, fewest = np.count_nonzero(self.kept), fewest_points(self.midpoint_only)
        if n < fewest and not self.x.size:
            need = f"this analysis needs at least {fewest}"
            return "too few points", f"The curve has 0 readings, none with a number for both x and y; {need}."
        if n < fewest:
            return "too few points", f"The curve has {n} readings; this analysis needs at least {fewest}."
        if n > MOST_POINTS:
            return "too many points", f"The curve has {n} readings; the engine takes at most {MOST_POINTS}."
        return "", ""

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

    def _drawn(self, kind, n):
        x, values = engine.fitted_curve(kind, self.x, self.result, n)
        return x, values if self.ok else np.full(values.size, np.nan)

    def curve(self, n=200):
        """Concentrations (M) and fitted signal on an even grid of n points."""
        return self._drawn("signal", n)

    def fraction_denatured(self, n=200):
        """Concentrations (M) and fraction denatured on an even grid of n points."""
        return self._drawn("fraction", n)

    def first_derivative(self, n=200):
        """Concentrations (M) and slope of the fraction denatured (1/M) at n points."""
        return self._drawn("derivative", n)

    def band(self, n=200, level=0.95):
        """Concentrations (M), fitted signal and half-width of its confidence band at n points."""
        x = np.linspace(self.x[0], self.x[-1], n) if self.x.size else np.empty(0)
        if self.answer is None or not self.ok:
            return x, np.full(x.size, np.nan), np.full(x.size, np.nan)
        drawn = inference.draw(self.answer, x, level_of(level))
        return x, drawn["signal"], drawn["band"]

    def means(self):
        """Of the kept readings: distinct concentrations (M), mean signal, its SD, number of readings.

        Replicates are drawn by these. The SD is that of the readings at one concentration, NaN for a
        lone one; where no concentration repeats, the means are the readings.
        """
        x, place, count = np.unique(self.x[self.kept], return_inverse=True, return_counts=True)
        y = self.y[self.kept]
        mean = np.bincount(place, y, x.size) / np.maximum(count, 1)
        squares = np.bincount(place, (y - mean[place]) ** 2, x.size)
        with np.errstate(divide="ignore", invalid="ignore"):
            return x, mean, np.where(count > 1, np.sqrt(squares / (count - 1)), np.nan), count

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
        if self.ok and self.answer and self.answer.record.pure_degrees > 0:
            record = self.answer.record
            row["replicate_sd"] = (record.pure_sse / record.pure_degrees) ** 0.5
            row["lack_of_fit_p"] = record.lack_p if record.lack_p >= 0.0 else float("nan")
        row["code"] = self.code
        row["reason"] = self.reason
        row["warnings"] = codes_of(self.warnings)
        row["warnings_in_words"] = text_of(self.warnings)
        row["settings"] = self.settings.line(units)
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
            words = f"{self.reason} {text_of(self.warnings)}".strip()
            return f"<Fit {name}{self.status}, code {self.code}. {words}>"
        warned = f"; warnings: {codes_of(self.warnings)}" if self.warnings else ""
        words = f"{self.summary()}; R² {self.r_squared:.4f}, code {self.code}{warned}"
        return f"<Fit {name}{self.states} states; {words}>"

    def _repr_html_(self):
        from .report import fit_html

        return fit_html(self)


def fewest_points(midpoint_only):
    return FEWEST_POINTS_MIDPOINT if midpoint_only else FEWEST_POINTS
