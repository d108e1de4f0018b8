"""Every reason to look twice at a fit, as `zolt.Caution` records: `doubts_of`.

A rule is a function from a fit to cautions; the limits stand in `cautions.json` beside the texts.
"""

import re

import numpy as np

from . import chain, inference, model
from .caution import LIMITS, caution
from .model import CAL_PER_UNIT

_NUMBERS = {2: "two", 3: "three", 4: "four"}
_TWO_STATES = 3  # place of the two-state model among those of the evidence
_KCAL = CAL_PER_UNIT["kcal"]


def doubts_of(fit):
    """The cautions of a fit: what was read, what was fitted, the readings, in that order."""
    found = [*fit.input_cautions]
    if fit.ok and fit.answer is not None:
        for rule in _OF_LEAST_SQUARES:
            found += rule(fit)
    for rule in _OF_ALL:
        found += rule(fit)
    return tuple(dict.fromkeys(found))


def _states(fit):
    told, shown = _told(fit), fit.evidence.states
    if told and shown not in (0, fit.states):
        return [caution("other_states_shown", states=_NUMBERS[fit.states], shown=_NUMBERS[shown],
                        evidence=fit.evidence.sentence)]  # fmt: skip
    rows = [row for row in fit.evidence.record.row[_TWO_STATES:] if row.tried]
    chosen = next((row for row in rows if row.states == fit.states), None)
    if chosen is None or told:
        return []
    others = [
        _NUMBERS[row.states]
        for row in rows
        if row.states != fit.states
        and (_outcome(row) == "hangs on one reading" or _as_good(row, chosen))
    ]
    if not others:
        return []
    return [caution("states_indistinguishable", states=_NUMBERS[fit.states], others=" or ".join(others))]


def _told(fit):
    return fit.settings.states != "auto" or fit.together is not None


def _as_good(row, chosen):
    """A smaller model that AICc puts hardly behind, or a larger one that it puts clearly before.

    A larger one counts only where noise alone speaks against it; one whose transitions are not apart, not
    complete or too small is no rival.
    """
    known = row.aicc_difference >= 0 and chosen.aicc_difference >= 0 and row.sound
    behind = row.aicc_difference - chosen.aicc_difference
    if row.states < chosen.states:
        return known and behind < LIMITS.aicc
    return known and behind < -LIMITS.aicc and _outcome(row) == "gain no more than noise"


def _outcome(row):
    return inference.OUTCOMES[row.outcome]


def _signal(fit):
    if re.search(LIMITS.not_linear, fit.name, re.IGNORECASE):
        yield caution("signal_not_linear", name=fit.name)


def _residuals(fit):
    record = fit.answer.record
    limit = max(LIMITS.durbin_watson, 2.0 - 2.0 * LIMITS.durbin_watson_deviations / np.sqrt(record.readings))
    if record.durbin_watson < limit:
        yield caution("structured_residuals", durbin_watson=f"{record.durbin_watson:.2f}")
    if 0.0 <= record.lack_p < LIMITS.lack_of_fit_p:
        yield caution("lack_of_fit", p=f"{record.lack_p:.1g}")


def _replicates(fit):
    if fit.part is None:
        return
    part, above = fit.part[fit.kept], fit.residuals[fit.kept] > 0.0
    for one in dict.fromkeys(part.tolist()):
        own = above[part == one]
        share = max(own.mean(), 1.0 - own.mean())
        if own.size >= LIMITS.same_side_readings and share >= LIMITS.same_side and own.size < part.size:
            yield caution("replicates_differ", replicate=one)
            return


def _bounds(fit):
    record = fit.answer.record
    reach = LIMITS.edge * (record.x_last - record.x_first)
    for i, Cm in enumerate(fit.Cm):
        bits = record.bounds >> (8 * i)
        which = _which(fit, i)
        if bits & inference.M_MOST:
            yield caution("between_two_readings", which=which)
        if bits & inference.M_LEAST:
            yield caution("no_steeper_than_baseline", which=which)
        if bits & (inference.OUTSIDE | inference.CM_LEAST | inference.CM_MOST):
            yield caution("midpoint_outside", which=which)
        elif min(Cm - record.x_first, record.x_last - Cm) < reach:
            yield caution("midpoint_at_edge", which=which)
        if bits & inference.WEIGHT_EDGE:
            yield caution("weight_at_edge", which=which)


def _plateaus(fit):
    """Too few concentrations at an end for the baseline that is fitted there."""
    x = np.unique(fit.x[fit.kept])
    denatured = _denatured(fit, x)
    for side, share in (("native", denatured), ("denatured", 1.0 - denatured)):
        kind = getattr(fit.settings, side)
        needed = LIMITS.plateau_readings[kind if isinstance(kind, str) else "given"]
        there = np.count_nonzero(share < LIMITS.plateau_fraction)
        if there < needed:
            words = {0: "no reading", 1: "one concentration"}.get(there, f"{there} concentrations")
            yield caution(f"no_{side}_plateau", count=words)


def _crossing(fit):
    aN, bN, aU, bU = fit.baselines
    if bN == bU:
        return
    x = (aU - aN) / (bN - bU)
    with np.errstate(over="ignore"):
        if LIMITS.plateau_fraction < _denatured(fit, np.array([x]))[0] < 1.0 - LIMITS.plateau_fraction:
            yield caution("baselines_cross", x=f"{x:.2f}")


def _denatured(fit, x):
    """Fraction denatured at x."""
    return fit.weights @ model.fractions(x, fit.dG, fit.Cm, fit.answer.record.RT)


def _errors(fit):
    for i in range(fit.dG.size):
        wide = [q for q in ("dG", "m") if fit.se[q][i] > LIMITS.relative_error * abs(getattr(fit, q)[i])]
        if wide:
            share = max(fit.se[q][i] / abs(getattr(fit, q)[i]) for q in wide)
            yield caution("hardly_determined", quantities=" and ".join(wide), share=f"{100.0 * share:.0f}",
                          have="has" if len(wide) == 1 else "have", which=_which(fit, i))  # fmt: skip


def _one_reading(fit):
    """The reading whose own fitted value hangs on it most is left out, and the fit repeated."""
    answer, readings = fit.answer, fit.readings
    if answer.leverage.size != readings.x.size or np.count_nonzero(fit.kept) < 2:
        return
    with np.errstate(divide="ignore", invalid="ignore"):
        pull = np.abs(answer.residuals) * answer.leverage / (1.0 - answer.leverage)
        if readings.sd is not None:
            pull = pull / readings.sd
    if not np.isfinite(pull).any():
        return
    place = int(np.nanargmax(np.where(np.isfinite(pull), pull, -1.0)))
    rest = np.arange(readings.x.size) != place
    sd = None if readings.sd is None else readings.sd[rest]
    fewer = inference.Readings(readings.x[rest], readings.y[rest], sd, readings.temperature)
    without = inference.fit(fewer, fit.states - 1, fit.options)
    if without.status in (inference.TOO_FEW_READINGS, inference.TOO_FEW_CONCENTRATIONS):
        return
    where = f"{readings.x[place]:.3g}"
    if without.status != inference.FITTED:
        yield caution("one_reading_decides", x=where, without="there is no fit")
        return
    reach = answer.record.x_last - answer.record.x_first
    for name, unit, scale, digits, least in (
        ("dG", "kcal/mol", _KCAL, 2, LIMITS.decides_relative * fit.dG),
        ("Cm", "M", 1.0, 3, LIMITS.decides_midpoint * reach),
    ):
        now, then = getattr(fit, name), without.values(name)
        far = np.abs(then - now) > np.maximum(LIMITS.decides_errors * fit.se[name], least)
        if far.any():
            i = int(np.argmax(far))
            new, old = (f"{values[i] / scale:.{digits}f}" for values in (then, now))
            words = f"{name}{_which(fit, i)} is {new}, not {old} {unit}"
            yield caution("one_reading_decides", x=where, without=words)
            return


def _engine(fit):
    if fit.engine.ok and fit.engine.states == fit.states and fit.together is None:
        reach = fit.answer.record.x_last - fit.answer.record.x_first
        apart = []
        for name in ("dG", "Cm", "m"):
            now = getattr(fit, name)
            off = np.abs(getattr(fit.engine, name) - now)
            room = LIMITS.engine_midpoint * reach if name == "Cm" else LIMITS.engine_relative * np.abs(now)
            if np.any((off > LIMITS.engine_errors * fit.se[name]) & (off > room)):
                apart.append(name)
        if apart:
            dG = ", ".join(f"{v / _KCAL:.2f}" for v in fit.engine.dG)
            Cm = ", ".join(f"{v:.2f}" for v in fit.engine.Cm)
            yield caution("engine_apart", quantities=", ".join(apart), dG=dG, Cm=Cm)
    given = not isinstance(fit.settings.native, str) and not isinstance(fit.settings.denatured, str)
    if given and fit.engine.analysis != "baselines":
        yield caution("baselines_not_used_by_engine")


def _shared(fit):
    if fit.together is not None and fit.together[0].p < LIMITS.shared_p:
        yield caution("m_not_shared", p=f"{fit.together[0].p:.1g}")


def _chain(fit):
    residues = fit.settings.residues
    if residues is None:
        return
    expected = chain.expected_m(residues, fit.denaturant)
    if expected is None:
        yield caution("m_not_compared")
        return
    m = float(fit.m.sum())
    if not expected / LIMITS.m_factor <= m <= expected * LIMITS.m_factor:
        yield caution("m_unexpected", m=f"{m / _KCAL:.2f}", residues=residues,
                      expected=f"{expected / _KCAL:.2f}", denaturant=fit.denaturant)  # fmt: skip


def _no_transition(fit):
    """The number of states was given, but not that there is a transition at all."""
    if fit.answer is not None and _told(fit) and fit.evidence.record.status == inference.NO_TRANSITION:
        yield caution("no_transition_evident", evidence=fit.evidence.sentence)


def _series(fit):
    """What the curve alone says, beside a fit from the reference of its series."""
    if not (fit.from_series and fit.ok):
        return
    alone = inference.fit(fit.readings, fit.states - 1)
    within = ", ".join(f"{v / _KCAL:.2f}" for v in fit.dG)
    if alone.status != inference.FITTED:
        yield caution("series_apart", dG=within, alone="the curve alone has no fit")
        return
    dG, error = alone.values("dG"), alone.values("dG_se")
    far = np.maximum(LIMITS.engine_errors * error, LIMITS.engine_relative * np.abs(dG))
    if np.any(np.abs(fit.dG - dG) > far):
        words = ", ".join(f"{v / _KCAL:.2f} ± {e / _KCAL:.2f}" for v, e in zip(dG, error))
        yield caution("series_apart", dG=within, alone=f"the curve alone gives {words}")


def _off(fit):
    count, readings = np.count_nonzero(fit.outliers & fit.kept), np.count_nonzero(fit.kept)
    if fit.ok and count > LIMITS.off_share * readings:
        yield caution("many_readings_off", count=count, readings=readings)
    spikes = np.count_nonzero(fit.spikes & fit.kept & (fit.outliers if fit.ok else True))
    if spikes:
        yield caution("spikes", count=f"{spikes} reading{' leaps' if spikes == 1 else 's leap'}")


def _left_out(fit):
    if not fit.kept.all():
        yield caution("readings_left_out", count=np.count_nonzero(~fit.kept), readings=fit.kept.size)


def _weights(fit):
    if fit.sd is not None and fit.sd.size:
        ratio = fit.sd.max() / fit.sd.min()
        if ratio > LIMITS.sd_ratio:
            yield caution("weights_uneven", ratio=f"{ratio:.0f}")


def _which(fit, i):
    return "" if fit.dG.size == 1 else f" {i + 1}"


_OF_LEAST_SQUARES = (_signal, _states, _residuals, _replicates, _bounds, _plateaus, _crossing, _errors,
                     _one_reading, _engine, _shared, _chain)  # fmt: skip
_OF_ALL = (_no_transition, _series, _off, _weights, _left_out)
