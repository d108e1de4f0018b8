"""A series: curves that carry a label each, brought under one reference fit.

The engine fits the averaged replicates of one label and refits every curve from there with the
baseline slopes held. The trend form puts the m-values on one line in ln(label) and looks for a
trend of dG against ln(label); the aggregation form leaves m free and uses the label itself.
"""

from dataclasses import dataclass
from functools import cached_property

import numpy as np
import pandas as pd

from . import engine
from .engine import CM_ELEMENTS, DG_ELEMENTS, Element
from .caution import caution, cautions_of_notes
from .checks import number
from .curves import as_curves
from .fit_record import Fit
from .model import CAL_PER_UNIT
from .points import spike_marks, tidy_readings
from .settings import USUAL_TEMPERATURE, Settings

FORMS = ("trend", "aggregation")
_OF_POINTS = ("series_apart", "many_readings_off", "spikes")  # warnings that a point of the trend may be wild
_END_POINTS = 3
_LEAST_CHANGE = 300.0  # cal/mol that a trend must change dG by, as the engine has it


@dataclass(frozen=True, eq=False, repr=False)
class Series:
    """A fitted series. Energies in cal/mol, concentrations in M, temperature in °C.

    `fits` holds a `Fit` per curve on its own signal, in the order of the input. `per_label` has a
    row per label: mean dG, its error, and whether it took part in the trend; all is NaN where every
    curve of the label was lost. `vectors` is what the engine returned, also of a lost curve. `trend` is the
    engine's (slope, intercept, R², count of labels), against ln(label) in the trend form and
    against the label in the aggregation form.
    """

    form: str
    states: int
    transition: int
    temperature: float
    labels: np.ndarray
    fits: list
    vectors: np.ndarray  # the engine's vectors, on the normalised signal where that was asked for
    included: np.ndarray
    per_label: pd.DataFrame
    trend: np.ndarray

    @property
    def slope(self):
        """cal/mol per unit of ln(label) or of the label; 0 where no significant trend was found."""
        return float(self.trend[0])

    @cached_property
    def used_labels(self):
        """The labels that entered the trend, one per curve that was fitted."""
        return self.labels[self.included & (self.labels > 0) & _sound(self.vectors, self.transition)]

    @property
    def has_line(self):
        """At least two labels took part, so that there is a trend to speak of."""
        return np.unique(self.used_labels).size >= 2

    @property
    def significant(self):
        """True where dG changes across the labels by more than its errors and 300 cal/mol."""
        return self.has_line and self.slope != 0.0

    @property
    def verdict(self):
        """The trend in a sentence, in kcal/mol."""
        return self.verdict_in("kcal")

    def verdict_in(self, units="kcal"):
        """The trend in a sentence, with the curves that took no part for want of a fit."""
        name = self.label_name or "label"
        against = f"ln({name})" if self.form == "trend" else f"the {name}" if name == "label" else name
        scale = CAL_PER_UNIT[units]
        lost = [fit.name for fit, there in zip(self.fits, _sound(self.vectors, self.transition)) if not there]
        missing = f" Without a fit, and no part of it: {', '.join(lost)}." if lost else ""
        if (outside := np.unique(self.labels[self.labels <= 0])).size:
            values = ", ".join(f"{value:g}" for value in outside)
            missing += f" Curves with a label of 0 or below ({values}) are fitted, but are no part of it."
        if doubtful := self._doubtful():
            missing += f" Look first at {doubtful}: they are part of it, unless --exclude keeps them out."
        if not self.has_line:
            return f"Fewer than two labels gave a dG, so there is no trend.{missing}"
        if not self.significant:
            return (
                f"No significant change of dG with {against}: the line changes less across the "
                f"labels than the errors of its ends or {_LEAST_CHANGE / scale:.1f} {units}/mol.{missing}"
            )
        return f"dG changes by {self.slope / scale:+.3f} {units}/mol per unit of {against}.{missing}"

    def _doubtful(self):
        """Names and codes of warnings of the curves that enter the trend and should perhaps not."""
        used = self.included & (self.labels > 0) & _sound(self.vectors, self.transition)
        codes = {fit.name: [c.code for c in fit.warnings if c.code in _OF_POINTS]
                 for fit, part in zip(self.fits, used) if part}  # fmt: skip
        return ", ".join(f"{name} ({', '.join(said)})" for name, said in codes.items() if said)

    @property
    def label_name(self):
        """What the source calls the labels, or "" where it does not say or the curves differ."""
        names = {fit.details.get("label_is", "") for fit in self.fits}
        return names.pop() if len(names) == 1 else ""

    @property
    def denaturant(self):
        """The denaturant of all curves, or "" where it is not known or not one."""
        names = {fit.denaturant for fit in self.fits}
        return (names.pop() or "") if len(names) == 1 else ""

    def curve(self, kind="dG", n=200):
        """Grid of labels and one of the curves that follow from the trend.

        `dG` in cal/mol; in the trend form also the fractions without denaturant `denatured`,
        `third` (the population that grows from the smallest label) and `third_of_denatured`.
        """
        names = {"denatured": "fd", "third": "fragg", "third_of_denatured": "fraggfd"}
        if kind == "dG":
            names["dG"] = "trend" if self.form == "trend" else "agg"
        elif self.form != "trend":
            raise ValueError("fractions belong to the trend form")
        return engine.series_curve(names[kind], self.used_labels, self.trend, n, self.temperature)

    def shared_m(self):
        """The curves fitted together with one m-value, `zolt.GlobalFit`; None with fewer than two."""
        from .global_fit import fit_global
        from .read import Curve

        curves = [
            Curve(fit.name, fit.x[fit.kept], fit.y[fit.kept], temperature=fit.temperature)
            for fit, included in zip(self.fits, self.included)
            if included
        ]
        return fit_global(curves, states=self.states) if len(curves) >= 2 else None

    def table(self, units="kcal"):
        """One row per curve."""
        rows = [fit.to_dict(units) for fit in self.fits]
        for row, label, included in zip(rows, self.labels, self.included):
            row.update(label=label, included=bool(included))
        table = pd.DataFrame(rows)
        table["states"] = table["states"].astype("Int64")
        return table

    def label_table(self, units="kcal"):
        """One row per label with dG and error in the unit asked for."""
        table = self.per_label.copy()
        for name in ("dG", "error"):
            table[name] /= CAL_PER_UNIT[units]
        return table.rename(columns={name: f"{name}_{units}_per_mol" for name in ("dG", "error")})

    def plot(self, **options):
        """Picture of dG against label, the fractions and the curves; see `zolt.plot.plot_series`."""
        from .plot import plot_series

        return plot_series(self, **options)

    def __repr__(self):
        return (
            f"<Series of {len(self.fits)} curves, {self.form} form, {self.states} states. "
            f"{self.verdict}>\n{self.label_table().to_string(index=False)}"
        )


def fit_series(
    curves,
    labels=None,
    *,
    form="trend",
    states=2,
    transition=1,
    temperature=None,
    include=None,
    clean=True,
    normalise=True,
):
    """Fit a series of curves, see `Series`.

    `curves` is what `zolt.fit_many` takes; `labels` is one number per curve, by default the label
    that each curve carries. `include` tells which curves enter dG per label and the trend. Labels
    of 0 or below have no place in a trend: their curves are fitted and their dG is reported, but
    they stay outside of it. All curves have one temperature, in °C: their own, or `temperature` where
    they state none; without either 25 °C is assumed, with a warning.

    With `clean`, spikes and outliers are left out. With `normalise`, each curve is brought to run
    from 1 to 2 between the levels of its ends before the fit, so that replicates of different
    scale can be averaged and the engine's errors, which carry the unit of the signal, can be
    compared; the fits given back are in the units of the input.
    """
    if form not in FORMS:
        raise ValueError(f"form is one of {', '.join(FORMS)}, not {form!r}")
    if states not in (2, 3, 4):
        raise ValueError(f"states of a series are 2, 3 or 4, not {states!r}")
    if transition not in range(1, int(states)):
        raise ValueError(f"{states} states have the transitions 1 to {states - 1}, not {transition!r}")
    states, temperature = int(states), None if temperature is None else number(temperature, "temperature", "°C")
    curves = as_curves(curves)
    if include is not None and np.size(include) != len(curves):
        raise ValueError(f"include tells of each of the {len(curves)} curves whether it enters the trend")
    labels = np.array([c.label for c in curves] if labels is None else labels, dtype=object)
    labels = _numeric_labels(labels, len(curves))
    readings = [tidy_readings(*curve)[:2] for curve in curves]
    if not readings or min(x.size for x, _ in readings) == 0:
        raise ValueError("every curve of a series needs readings")
    temperature, assumed = _one_temperature(curves, temperature)
    maps = [_normalisation(y) if normalise else (0.0, 1.0) for _, y in readings]
    x, y, mask = _on_common_rows([(x, (y - shift) / scale) for (x, y), (shift, scale) in zip(readings, maps)])
    vectors, kept = _fit_form(form, x, y, mask, labels, states, temperature, clean)
    # Without a reference fit the engine leaves the parameters of every vector at 0.
    lacking = () if vectors[:, : Element.RT].any() else (caution("no_reference"),)
    fits = []
    for i, curve in enumerate(curves):
        own = mask[i] == 1
        fits.append(
            Fit(
                *readings[i], temperature, _in_signal_units(vectors[i], *maps[i]), kept[i][own] == 1,
                name=curve.name, settings=Settings(states=states), tried=states, details=dict(curve.details),
                from_series=True, denaturant=curve.denaturant,
                input_cautions=(*cautions_of_notes(curve.notes), *assumed, *lacking),
            )
        )  # fmt: skip
    include = np.ones(len(curves), bool) if include is None else np.asarray(include, bool)
    per_label, trend = _calculate(form, labels, vectors, include, transition)
    return Series(form, states, transition, temperature, labels, fits, vectors, include, per_label, trend)


def _one_temperature(curves, given):
    """The temperature of a series in °C, and the cautions about it."""
    known = {float(given if curve.temperature is None else curve.temperature)
             for curve in curves if curve.temperature is not None or given is not None}  # fmt: skip
    if len(known) > 1:
        stated = ", ".join(f"{value:g}" for value in sorted(known))
        raise ValueError(
            f"the curves of a series have one temperature, these have {stated} °C; fit them apart"
        )
    if known and all(curve.temperature is not None or given is not None for curve in curves):
        return known.pop(), ()
    used = known.pop() if known else USUAL_TEMPERATURE
    return used, (caution("temperature_assumed", temperature=f"{used:g}"),)


def _numeric_labels(labels, count):
    if labels.size != count:
        raise ValueError(f"{count} curves need as many labels, in their order; found {labels.size}")
    try:
        numbers = labels.astype(float)
    except (TypeError, ValueError):
        numbers = np.array([np.nan])
    if not np.isfinite(numbers).all():
        raise ValueError(
            "every curve of a series needs a number as its label: give a column or a row 'label', or the "
            f"labels of all {count} curves in their order"
        )
    return numbers


def _normalisation(y):
    """Shift and scale that bring the levels of the two ends to 1 and 2."""
    first, last = np.median(y[:_END_POINTS]), np.median(y[-_END_POINTS:])
    scale = last - first
    if scale == 0.0 or not np.isfinite(scale):
        return 0.0, 1.0
    return first - scale, scale


def _in_signal_units(vector, shift, scale):
    """A vector of the normalised signal in the units of the signal as it was read."""
    vector = vector.copy()
    if vector[Element.RT] > 0:
        vector[:4] *= scale
        vector[[Element.NATIVE_INTERCEPT, Element.DENATURED_INTERCEPT]] += shift
        vector[15:18] *= abs(scale)
    return vector


def _on_common_rows(readings):
    """x, y and mask with a row per curve over all concentrations of the series.

    The engine averages replicates where their x agree at the same place of the row. A common row
    of all concentrations brings them there; what a curve has not measured is masked.
    """
    counts = {}
    for x, _ in readings:
        for value, count in zip(*np.unique(x, return_counts=True)):
            counts[value] = max(counts.get(value, 0), count)
    grid = np.repeat(*map(np.array, zip(*sorted(counts.items()))))
    y = np.zeros((len(readings), grid.size))
    mask = np.zeros(y.shape, np.int32)
    for i, (x, signal) in enumerate(readings):
        # The k-th reading at one concentration goes to the k-th place of it.
        place = np.searchsorted(grid, x) + np.arange(x.size) - np.searchsorted(x, x)
        y[i, place], mask[i, place] = signal, 1
    return np.tile(grid, (len(readings), 1)), y, mask


def _fit_form(form, x, y, mask, labels, *settings):
    """`_fit_rows`, with the curves that have no place on a line of m-values kept off it.

    These are, in the trend form, curves with labels of 0 or below, whose logarithm would spoil the
    line, and curves whose refit fails, which would enter the line as zeros. Their own fits are
    those of the aggregation form.
    """
    if form == "aggregation":
        return _fit_rows(form, x, y, mask, labels, *settings)
    vectors, kept = _fit_rows("aggregation", x, y, mask, labels, *settings)
    part = (labels > 0) & (vectors[:, Element.RT] > 0)
    if part.any():
        vectors[part], kept[part] = _fit_rows(form, x[part], y[part], mask[part], labels[part], *settings)
    return vectors, kept


def _fit_rows(form, x, y, mask, labels, states, temperature, clean):
    """Vectors and kept points; the engine cleans by itself where every curve fills its row."""
    if clean and mask.all():
        return engine.series_fit(form, x, y, labels, states, temperature)
    kept = mask.copy()
    if clean:
        for i, own in enumerate(mask == 1):
            kept[i, own] &= ~spike_marks(y[i, own])
    vectors, _ = engine.series_fit(form, x, y, labels, states, temperature, kept)
    if clean and _without_outliers(x, y, kept, vectors):
        vectors, _ = engine.series_fit(form, x, y, labels, states, temperature, kept)
    return vectors, kept


def _without_outliers(x, y, kept, vectors):
    """Takes each curve's outliers out of `kept`, at most a quarter; True where there were any."""
    changed = False
    for i, own in enumerate(kept == 1):
        if vectors[i][Element.RT] > 0:
            outlier = engine.outlier_mask(x[i, own], y[i, own], vectors[i]) == 0
            if 0 < np.count_nonzero(outlier) <= outlier.size // 4:
                kept[i, own] = ~outlier
                changed = True
    return changed


def _calculate(form, labels, vectors, include, transition):
    """The table of labels and the trend, over the included curves with positive labels."""
    element = DG_ELEMENTS[transition - 1]
    rows, trend = [], np.zeros(4)
    sound = _sound(vectors, transition)
    part = include & (labels > 0) & sound
    if part.any():
        names, dG, error, used, trend = engine.series_calculation(
            form, labels[part], vectors[part].reshape(-1), np.ones(part.sum()), transition
        )
        rows = list(zip(names, dG, error, used == 1))
    for label in np.unique(labels[~part]):
        if label not in labels[part]:
            values = vectors[(labels == label) & sound][:, element]
            mean = values.mean() if values.size else np.nan
            rows.append((label, mean, values.std(ddof=1) if values.size > 1 else np.nan, False))
    table = pd.DataFrame(rows, columns=["label", "dG", "error", "in_trend"])
    table["curves"] = [np.count_nonzero(labels == label) for label in table.label]
    table["fitted"] = [np.count_nonzero(sound & (labels == label)) for label in table.label]
    table["Cm_M"] = [_mean_Cm(vectors[(labels == label) & sound], transition) for label in table.label]
    return table.sort_values("label", ignore_index=True), trend


def _sound(vectors, transition):
    """True of the vectors that hold a fit with numbers for that transition."""
    numbers = vectors[:, [DG_ELEMENTS[transition - 1], CM_ELEMENTS[transition - 1]]]
    return (vectors[:, Element.RT] > 0) & np.isfinite(numbers).all(axis=1) & (numbers > 0).all(axis=1)


def _mean_Cm(vectors, transition):
    return vectors[:, CM_ELEMENTS[transition - 1]].mean() if len(vectors) else np.nan
