"""Many curves in one fit that shares m or dG: `fit_global`."""

from dataclasses import dataclass, field, replace

import numpy as np
import pandas as pd

from . import inference, model
from .caution import LIMITS, caution, p_words
from .checks import level_of, number, place_of
from .curves import as_curves
from .model import CAL_PER_UNIT
from .points import tidy_readings, usable_deviations
from .settings import USUAL_TEMPERATURE


@dataclass(frozen=True, eq=False, repr=False)
class GlobalFit:
    """Curves fitted with one m-value or one dG. Energies in cal/mol, concentrations in M.

    `answers`, `intervals` and `differences` hold a record per curve, in the order of the input;
    `differences` are from the curve at index `reference`. `p` is the chance that curves which share
    the value differ as much as these do: a small one speaks against sharing. `warnings` are
    `zolt.Caution` records.
    """

    share: str
    names: list
    reference: int
    level: float
    record: object = field(repr=False)
    answers: list = field(repr=False)
    intervals: list = field(repr=False)
    differences: list = field(repr=False)
    warnings: tuple = ()

    @property
    def ok(self):
        return self.record.status == inference.FITTED

    @property
    def reason(self):
        return inference.sentence(self.record.status)

    @property
    def shared(self):
        """The shared value per transition, cal/mol/M or cal/mol."""
        return self._row(self.record.shared)

    @property
    def shared_se(self):
        return self._row(self.record.shared_se)

    @property
    def shared_interval(self):
        """(lower, upper) per transition."""
        return self._row(self.record.shared_interval)

    @property
    def p(self):
        return self.record.p if self.ok else float("nan")

    def _row(self, values):
        return np.array(values)[: self.record.transitions]

    def table(self, units="kcal"):
        """A row per curve: dG, Cm and m with standard errors, intervals, and differences."""
        rows = []
        for name, fit, spans, apart in zip(self.names, self.answers, self.intervals, self.differences):
            row = {"curve": name, "status": inference.WORDS[fit.status]}
            for i in range(fit.record.transitions if fit.status == inference.FITTED else 0):
                self._describe(row, i, fit.record, spans, apart, units)
            rows.append(row)
        return pd.DataFrame(rows)

    def _describe(self, row, i, fit, spans, apart, units):
        energy = CAL_PER_UNIT[units]
        quantities = (
            (f"dG{i + 1}_{{}}{units}_per_mol", energy, fit.dG[i], fit.dG_se[i], spans.dG[i]),
            (f"Cm{i + 1}_{{}}M", 1.0, fit.Cm[i], fit.Cm_se[i], spans.Cm[i]),
            (f"m{i + 1}_{{}}{units}_per_mol_per_M", energy, fit.m[i], fit.m_se[i], spans.m[i]),
            (f"dCm{i + 1}_{{}}M", 1.0, apart.dCm[i], apart.dCm_se[i], apart.dCm_interval[i]),
            (f"ddG{i + 1}_{{}}{units}_per_mol", energy, apart.ddG[i], apart.ddG_se[i], apart.ddG_interval[i]),
        )
        for name, scale, value, error, span in quantities:
            row[name.format("")] = value / scale
            row[name.format("se_")] = error / scale if error >= 0 else float("nan")
            row[name.format("lower_")], row[name.format("upper_")] = span[0] / scale, span[1] / scale

    def summary(self, units="kcal"):
        """The shared value and its test in one sentence."""
        if not self.ok:
            return self.reason
        unit = f"{units}/mol/M" if self.share == "m" else f"{units}/mol"
        scale = CAL_PER_UNIT[units]
        values = ", ".join(f"{v / scale:.3f} ± {e / scale:.3f}" for v, e in zip(self.shared, self.shared_se))
        agree = self.p >= LIMITS.shared_p
        verdict = "agree with it" if agree else "do not agree with it"
        return (
            f"Global fit of {self.record.curves} curves: {self.share} = {values} {unit}; "
            f"the curves {verdict} ({p_words(self.p, LIMITS.shared_p)})."
        )

    def __repr__(self):
        said = "".join(f"\n{caution}" for caution in self.warnings)
        rows = self.table().to_string(index=False, float_format="{:.4g}".format)
        return f"<{self.summary()}>\n{rows}{said}"


def fit_global(curves, share="m", *, states=2, reference=0, temperature=None, level=0.95, options=None):
    """Fit curves together with one m-value (`share="m"`) or one dG (`share="dG"`).

    `curves` is what `zolt.fit_many` takes, 2 curves or more; each keeps its own baselines and
    midpoints. `reference` is the name or the index of the curve that differences refer to. `options` are
    `zolt.inference.Options`, without held values. `temperature` (°C) is for curves that state none;
    without it 25 °C is assumed, with a warning.
    """
    curves = as_curves(curves)
    assumed = temperature is None and any(curve.temperature is None for curve in curves)
    temperature = USUAL_TEMPERATURE if temperature is None else number(temperature, "temperature", "°C")
    readings = [
        _readings(curve, temperature if curve.temperature is None else curve.temperature) for curve in curves
    ]
    whole = global_of(readings, [c.name for c in curves], share, states, options, reference, level)
    said = [caution("temperature_assumed", temperature=f"{temperature:g}")] if assumed else []
    if share == "m" and whole.p < LIMITS.shared_p:
        said.append(caution("m_not_shared", p=f"{whole.p:.1g}"))
    return replace(whole, warnings=tuple(said))


def _readings(curve, temperature):
    x, y, order = tidy_readings(curve.x, curve.y)
    sd, _ = usable_deviations(curve.sd, curve.n, "sd", curve.y)
    return inference.Readings(x, y, None if sd is None else sd[order], float(temperature))


def global_of(readings, names, share="m", states=2, options=None, reference=0, level=0.95):
    """The `GlobalFit` of readings in the form of the inference library."""
    if len(readings) < 2:
        raise ValueError("a global fit takes two curves or more")
    if states not in (2, 3, 4):
        raise ValueError(f"states of a global fit are 2, 3 or 4, not {states!r}")
    reference, level, states = place_of(reference, names), level_of(level), int(states)
    record, fits, spans, differences = inference.fit_global(
        readings, share, states - 1, options or inference.Options(), reference, level
    )
    empty = np.empty(0)
    return GlobalFit(share, names, reference, level, record,
                     [inference.Answer(fit, empty, empty) for fit in fits], spans, differences)  # fmt: skip


def alone(settings):
    """The settings by which curves that will share m are fitted first; two states unless told."""
    states = settings.states if isinstance(settings.states, int) else 2
    return replace(settings, m="free", states=states, intervals=None)


def with_one_m(fits, settings):
    """The fits of curves each alone, made again with one m for all.

    The readings are those that the fits kept. A curve without a fit of its own takes no part.
    """
    if len(fits) < 2:
        raise ValueError("a shared m takes two curves or more")
    states = alone(settings).states
    readings, names = [fit.readings for fit in fits], [fit.name for fit in fits]
    whole = global_of(readings, names, "m", states, settings.options(),
                      level=(settings.intervals or {}).get("level", 0.95))  # fmt: skip
    if not whole.ok:
        raise ValueError(f"no fit with a shared m: {whole.reason}")
    together = []
    for i, (fit, answer) in enumerate(zip(fits, whole.answers)):
        fitted = answer.status == inference.FITTED
        result = model.vector(answer, fit.engine.code) if fitted else model.no_fit(fit.engine.code, states)
        together.append(replace(fit, result=result, answer=answer, settings=settings, together=(whole, i)))
    return together
