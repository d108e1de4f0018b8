"""Proteins beside a reference: differences of dG and Cm with intervals, by three ways: `compare`."""

from dataclasses import dataclass, field

import pandas as pd

from . import inference
from .batch import fit_each
from .caution import LIMITS, p_words
from .checks import level_of, place_of
from .curves import as_curves
from .fit_record import Fit
from .model import CAL_PER_UNIT
from .replicates import gathered
from .settings import settings_of


@dataclass(frozen=True, eq=False, repr=False)
class Comparison:
    """Curves less a reference curve, two states each. Energies in cal/mol, concentrations in M.

    `fits` are those of every curve alone, `rows` the differences of each from the curve at `reference`,
    `record` that of the global fit with one m. A positive difference: more stable than the reference.
    """

    fits: list
    reference: int
    level: float
    record: object = field(repr=False)
    rows: list = field(repr=False)

    @property
    def ok(self):
        return self.record.status == inference.FITTED

    @property
    def p(self):
        """The chance that curves with one m differ as much as these do; NaN without a global fit."""
        return self.record.p if self.ok else float("nan")

    def table(self, units="kcal"):
        """A DataFrame with a row per curve other than the reference."""
        energy = CAL_PER_UNIT[units]
        rows = []
        for i, (fit, row) in enumerate(zip(self.fits, self.rows)):
            if i == self.reference:
                continue
            entry = {
                "curve": fit.name,
                "reference": self.fits[self.reference].name,
                "status": inference.WORDS[row.status],
            }
            if row.status == inference.FITTED:
                _describe(entry, "dCm", "_M", 1.0, row.dCm, row.dCm_se, row.dCm_interval)
                for way, (value, error, span, _) in inference.WAYS.items():
                    _describe(entry, f"ddG_{way}", f"_{units}_per_mol", energy, getattr(row, value),
                              getattr(row, error), getattr(row, span))  # fmt: skip
            if self.ok:
                unit = f"{units}_per_mol_per_M"
                entry[f"one_m_{unit}"] = self.record.shared[0] / energy
                entry[f"one_m_se_{unit}"] = self.record.shared_se[0] / energy
                entry["one_m_p"] = self.p
            entry["warnings"] = ", ".join(caution.code for caution in fit.warnings)
            rows.append(entry)
        return pd.DataFrame(rows)

    def facts(self, units="kcal"):
        """What holds for all curves together, by name: reference, level, the one m and its test, advice."""
        found = {"reference": self.fits[self.reference].name, "level of the intervals": self.level}
        if self.ok:
            scale = CAL_PER_UNIT[units]
            found[f"one m ({units}/mol/M)"] = self.record.shared[0] / scale
            found["its standard error"] = self.record.shared_se[0] / scale
            found["p of one m"] = self.p
            found["one m is doubted where p is below"] = LIMITS.shared_p
        return {**found, "advice": self.advice(units)}

    def advice(self, units="kcal"):
        """Which of the three ways is right for these curves, in sentences."""
        temperatures = sorted({fit.temperature for fit in self.fits})
        if len(temperatures) > 1:
            degrees = ", ".join(f"{value:g}" for value in temperatures)
            return (
                f"The curves stand at different temperatures ({degrees} °C): what differs between them "
                "is not what differs between the proteins. Compare curves of one temperature."
            )
        if not self.ok:
            return f"No global fit: {inference.sentence(self.record.status)}"
        scale = CAL_PER_UNIT[units]
        m = f"{self.record.shared[0] / scale:.3f} ± {self.record.shared_se[0] / scale:.3f} {units}/mol/M"
        ways = (
            "Mean m times the difference of Cm is what is often published. The plain difference asks nothing "
            "of m, but carries the error of both m-values over to zero denaturant."
        )
        chance = p_words(self.p, LIMITS.shared_p)
        if self.p >= LIMITS.shared_p:
            return (
                f"The curves agree with one m of {m} ({chance}): the global fit gives the sharpest ddG. "
                f"{ways}"
            )
        return (
            f"The curves do not agree with one m ({m}; {chance}): their ddG depends on the concentration. "
            "In water the plain difference holds; near the midpoints the difference of Cm tells more. "
            f"A difference of m may also be a third state: look at the residuals. {ways}"
        )

    def plot(self, units="kcal", **options):
        """Picture of the curves and of ddG by the three ways; see `zolt.plot.plot_compare`."""
        from .plot.compare import plot_compare

        return plot_compare(self, units, **options)

    def __repr__(self):
        return f"{self.table().to_string(index=False, float_format='{:.3g}'.format)}\n{self.advice()}"

    def _repr_html_(self):
        return f"{self.table().to_html(index=False, float_format='{:.3g}'.format)}<p>{self.advice()}</p>"


def _describe(entry, name, suffix, scale, value, error, span):
    entry[f"{name}{suffix}"] = value / scale
    entry[f"{name}_se{suffix}"] = error / scale if error >= 0.0 else float("nan")
    entry[f"{name}_lower{suffix}"], entry[f"{name}_upper{suffix}"] = (end / scale for end in span)


def compare(fits, reference=0, *, level=0.95, settings=None, **options):
    """Compare curves with a reference: `Comparison`.

    `fits` are two fits or more, or curves in any form that `zolt.fit_many` takes; replicates among
    curves are pooled, and `options` are those of `zolt.fit`. `reference` is the index or the name of
    one of them. All are taken for two states, with the readings and baselines of their fits.
    """
    if isinstance(fits, Fit):
        raise ValueError("a comparison takes two curves or more, one of them as reference")
    if isinstance(fits, (list, tuple)):
        fits = list(fits)
    if not (isinstance(fits, list) and all(isinstance(fit, Fit) for fit in fits)):
        settings = settings or settings_of(**{"states": 2, **options})
        curves = gathered(as_curves(fits), settings)
        fits = [fitted for fitted, _ in fit_each(curves, settings=settings)]
        if fault := next((fit for fit in fits if isinstance(fit, Exception)), None):
            raise fault
    names = [fit.name for fit in fits]
    reference, level = place_of(reference, names), level_of(level)
    if len(fits) < 2:
        raise ValueError("a comparison takes two curves or more, one of them as reference")
    choices = {(str(fit.settings.native), str(fit.settings.denatured), fit.settings.sd_known) for fit in fits}
    if len(choices) > 1:
        raise ValueError("the curves of a comparison have the same choices of baselines and deviations")
    one = fits[0].settings
    held = inference.Options(one.native, one.denatured, sd_known=one.sd_known)
    record, _, rows = inference.compare([fit.readings for fit in fits], held, reference, level)
    return Comparison(fits, reference, level, record, rows)
