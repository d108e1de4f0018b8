"""Confidence intervals of a fit, as the inference library finds them."""

from dataclasses import dataclass, field

import numpy as np

from . import inference
from .checks import level_of
from .model import CAL_PER_UNIT

QUANTITIES = ("dG", "Cm", "m")


@dataclass(frozen=True, eq=False, repr=False)
class Intervals:
    """Intervals of dG (cal/mol), Cm (M) and m (cal/mol/M), each by transition as (lower, upper).

    An end that the readings do not set is infinite. `standard_error` and `estimate` hold a row per
    quantity, `correlation` that of dG and m per transition. By bootstrap, `used` of `rounds` rounds
    gave a sound fit and `draws` holds their values; otherwise `draws` is None.
    """

    method: str
    level: float
    rounds: int
    used: int
    dG: np.ndarray
    Cm: np.ndarray
    m: np.ndarray
    standard_error: dict
    correlation: np.ndarray
    estimate: dict
    draws: dict = field(repr=False, default=None)

    def table(self, units="kcal"):
        """A DataFrame with a row per transition and quantity."""
        import pandas as pd

        return pd.DataFrame(
            [
                {
                    "transition": i + 1,
                    "quantity": name,
                    "unit": unit,
                    "estimate": self.estimate[name][i] / scale,
                    "lower": getattr(self, name)[i, 0] / scale,
                    "upper": getattr(self, name)[i, 1] / scale,
                    "standard_error": self.standard_error[name][i] / scale,
                    "dG_m_correlation": self.correlation[i],
                }
                for i in range(len(self.correlation))
                for name, unit, scale in quantities(units)
            ]
        )

    def to_dict(self, units="kcal"):
        """Columns to stand beside those of `Fit.to_dict`."""
        row = {}
        for i in range(len(self.correlation)):
            for name, unit, scale in quantities(units):
                for end, suffix in enumerate(("lower", "upper")):
                    row[f"{name}{i + 1}_{suffix}_{unit.replace('/', '_per_')}"] = (
                        getattr(self, name)[i, end] / scale
                    )
            row[f"dG{i + 1}_m{i + 1}_correlation"] = self.correlation[i]
        if self.method == "bootstrap":
            row["bootstrap_used"] = self.used
        return row

    def sentences(self, units="kcal"):
        """One sentence for every end that is open."""
        said = []
        for i in range(len(self.correlation)):
            for name, unit, scale in quantities(units):
                lower, upper = getattr(self, name)[i] / scale
                label = name if len(self.correlation) == 1 else f"{name} {i + 1}"
                if np.isinf(lower) and np.isinf(upper):
                    said.append(f"The readings do not bound {label}.")
                elif np.isinf(upper):
                    said.append(f"{label} is at least {lower:.4g} {unit}.")
                elif np.isinf(lower):
                    said.append(f"{label} is at most {upper:.4g} {unit}.")
        return said

    @property
    def warnings(self):
        """`zolt.Caution` records about open ends, mostly none."""
        from .caution import caution

        open_ends = self.sentences()
        return (caution("interval_unbounded", quantities=" ".join(open_ends)),) if open_ends else ()

    def __repr__(self):
        head = f"{self.level:.0%} intervals by {self.method}"
        if self.method == "bootstrap":
            head += f", {self.used} of {self.rounds} rounds used"
        return "\n".join([head, self.table().to_string(index=False), *self.sentences()])

    def _repr_html_(self):
        return self.table().to_html(index=False)


def quantities(units):
    """Name, unit and size of the unit in the library's own one."""
    energy = CAL_PER_UNIT[units]
    return ("dG", f"{units}/mol", energy), ("Cm", "M", 1.0), ("m", f"{units}/mol/M", energy)


def intervals_of(fit, level, method, rounds, seed):
    """`Intervals` of a fit; `rounds` and `seed` belong to the bootstrap."""
    if not fit.ok or fit.answer is None:
        raise ValueError(f"a curve without a fit by least squares has no intervals ({fit.status})")
    level_of(level)
    if not 20 <= rounds <= 100000:
        raise ValueError(f"rounds is {rounds!r}; 20 to 100000 rounds are taken")
    answer = fit.answer
    if fit.together is not None:
        whole, place = fit.together
        if method != "profile" or level != whole.level:
            raise ValueError(
                f"with a shared m there are profile intervals at the level of the fit, {whole.level:g}"
            )
        record, draws = whole.intervals[place], None
    else:
        record, draws = inference.intervals(fit.readings, answer, fit.options, method, level, rounds, seed)
    if record.status != inference.FITTED:
        raise ValueError(inference.sentence(record.status))
    count = answer.record.transitions
    if draws is not None:
        sound = np.isfinite(draws[:, 0, 0])
        draws = {name: draws[sound, place, :count] for place, name in enumerate(QUANTITIES)}
    return Intervals(
        method=method,
        level=level,
        rounds=rounds if draws is not None else 0,
        used=record.rounds_used,
        **{name: np.array(getattr(record, name))[:count] for name in QUANTITIES},
        standard_error={name: answer.values(name + "_se") for name in QUANTITIES},
        correlation=answer.values("dG_m_correlation"),
        estimate={name: answer.values(name) for name in QUANTITIES},
        draws=draws,
    )
