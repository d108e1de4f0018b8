"""Confidence intervals by residual bootstrap through the engine.

A round draws residuals with replacement, adds them to the fitted curve and repeats the analysis
that gave the fit: the same export with the same number of states, baselines and temperature. A
lighter export would hold slopes or baselines that the fit did not know beforehand, and so promise
more than the data give.
"""

import os
from concurrent.futures import ThreadPoolExecutor
from dataclasses import dataclass, field
from statistics import NormalDist

import numpy as np

from . import engine, model
from .engine import Element
from .model import CAL_PER_UNIT, MOST_M

_MOST_STEPS = 5
_ENOUGH = 1.0 - 1e-6  # A smaller gain is below what the rounds can show, and may be rounding alone.
_MOST_LEVERAGE = 0.9  # A reading that the fit follows almost wholly tells nothing of the noise.


@dataclass(frozen=True, eq=False, repr=False)
class Intervals:
    """Intervals of dG (cal/mol), Cm (M) and m (cal/mol/M), each by transition as (lower, upper).

    `correlation` is that of dG and m per transition over the rounds; `used` of `rounds` rounds
    gave a fit with the same number of states. `draws` holds the rounds of each quantity.
    """

    level: float
    rounds: int
    used: int
    dG: np.ndarray
    Cm: np.ndarray
    m: np.ndarray
    standard_error: dict
    correlation: np.ndarray
    estimate: dict
    draws: dict = field(repr=False)

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
                for name, unit, scale in _quantities(units)
            ]
        )

    def to_dict(self, units="kcal"):
        """Columns to stand beside those of `Fit.to_dict`."""
        row = {}
        for i in range(len(self.correlation)):
            for name, unit, scale in _quantities(units):
                for end, suffix in enumerate(("lower", "upper")):
                    row[f"{name}{i + 1}_{suffix}_{unit.replace('/', '_per_')}"] = getattr(self, name)[i, end] / scale
            row[f"dG{i + 1}_m{i + 1}_correlation"] = self.correlation[i]
        row["bootstrap_used"] = self.used
        return row

    def __repr__(self):
        head = f"{self.level:.0%} intervals, {self.used} of {self.rounds} rounds used"
        return f"{head}\n{self.table().to_string(index=False)}"

    def _repr_html_(self):
        return self.table().to_html(index=False)


def _quantities(units):
    """Name, unit and size of the unit in the engine's own one."""
    energy = CAL_PER_UNIT[units]
    return ("dG", f"{units}/mol", energy), ("Cm", "M", 1.0), ("m", f"{units}/mol/M", energy)


def population_of(original):
    """What the rounds are drawn from: a curve as a result vector, and the noise about it.

    The engine prefers fits with baselines held, so its estimate may lie a little beside the least
    squares of all parameters. The curve is therefore moved there by a few linear steps: the rounds
    then show how far the engine's estimates stray from a known truth, bias included. What remains
    is smaller than the noise by sqrt(1 - h), with h the leverage of the reading.
    """
    x, y = original.x[original.kept], original.y[original.kept]
    centre = original.result
    moved, h = model.linearised(x, y, centre)
    for _ in range(_MOST_STEPS):
        if not model.sensible(x, moved) or _misfit(x, y, moved) >= _ENOUGH * _misfit(x, y, centre):
            break
        centre = moved
        moved, h = model.linearised(x, y, centre)
    noise = (y - model.signal(x, centre)) / np.sqrt(1.0 - np.minimum(h, _MOST_LEVERAGE))
    return _settled(centre), _settled(noise - noise.mean())


def _settled(values):
    """The values to ten digits: the last bits of numpy's linear algebra differ from run to run."""
    mantissa, exponent = np.frexp(values)
    return np.ldexp(np.round(mantissa * 2.0**34) / 2.0**34, exponent)


def _misfit(x, y, result):
    return np.sum((y - model.signal(x, result)) ** 2)


def refit(original, y):
    """The same analysis of the same points with another signal: what resampling repeats."""
    x = original.x[original.kept]
    return engine.analyse(
        x, y, original.temperature, original.tried, original.given_baselines, original.midpoint_only
    )


def bootstrap(original, level=0.95, rounds=1000, seed=0, workers=None):
    """Residual-bootstrap `Intervals` of a fit; rounds run on `workers` threads (all processors)."""
    if not original.ok:
        raise ValueError(f"a curve without a fit has no intervals ({original.status})")
    if not 0.0 < level < 1.0 or rounds < 20:
        raise ValueError("level lies between 0 and 1, and at least 20 rounds are needed")
    centre, noise = population_of(original)
    picks = np.random.default_rng(seed).integers(0, noise.size, (rounds, noise.size))
    x = original.x[original.kept]
    signals = model.signal(x, centre) + noise[picks]
    workers = min(workers or os.cpu_count() or 1, rounds)
    with ThreadPoolExecutor(workers) as pool:
        blocks = pool.map(
            lambda block: [refit(original, y) for y in block], np.array_split(signals, workers)
        )
        results = [result for block in blocks for result in block]
    sound = [
        model.transitions(result)[:2]
        for result in results
        if result[Element.RT] > 0 and model.states_of(result) == original.states
    ]
    count = original.dG.size
    draws = {
        "dG": np.array([dG for dG, _ in sound]).reshape(-1, count),
        "Cm": np.array([Cm for _, Cm in sound]).reshape(-1, count),
    }
    draws["m"] = draws["dG"] / draws["Cm"]
    estimate = {"dG": original.dG, "Cm": original.Cm, "m": original.m}
    truth = dict(zip(("dG", "Cm"), model.transitions(centre)))
    truth["m"] = truth["dG"] / truth["Cm"]
    spare = max(1, noise.size - len(model.free_elements(centre)))
    enough = len(sound) >= max(10, rounds // 2)
    most = {"dG": MOST_M * x[-1], "Cm": x[-1], "m": MOST_M}
    bounds = {
        name: _interval(estimate[name], truth[name], values, level, spare, most[name])
        if enough
        else np.full((count, 2), np.nan)
        for name, values in draws.items()
    }
    return Intervals(
        level=level,
        rounds=rounds,
        used=len(sound),
        **bounds,
        standard_error={
            name: values.std(axis=0, ddof=1) if enough else np.full(count, np.nan)
            for name, values in draws.items()
        },
        correlation=np.array(
            [
                np.corrcoef(draws["dG"][:, i], draws["m"][:, i])[0, 1] if enough else np.nan
                for i in range(count)
            ]
        ),
        estimate=estimate,
        draws=draws,
    )


def _interval(estimate, truth, draws, level, spare, most):
    """The estimate less what the rounds strayed from the truth they were drawn from.

    All quantities are positive, so they are compared by ratio, which keeps the limits positive.
    The noise itself is known from `spare` degrees of freedom only; the limits are widened as
    Student's t is wider than the normal distribution. A limit above `most`, the largest value that
    the readings can show, is infinite: the data set no bound there. An estimate with a bias as large
    as its spread bounds its own interval.
    """
    tail = 0.5 * (1.0 - level)
    strayed = np.log(np.quantile(draws, [1.0 - tail, tail], axis=0) / truth)
    z = NormalDist().inv_cdf(1.0 - tail)
    bounds = (estimate * np.exp(-strayed * (1.0 + (z * z + 1.0) / (4.0 * spare)))).T
    bounds[bounds[:, 1] > most, 1] = np.inf
    bounds[:, 0] = np.minimum(bounds[:, 0], estimate)
    bounds[:, 1] = np.maximum(bounds[:, 1], estimate)
    return bounds
