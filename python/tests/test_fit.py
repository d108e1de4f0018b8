"""One curve: recovery, failures, marks, units."""

from dataclasses import replace

import numpy as np
import pytest
from conftest import FKBP12, FOUR, THREE, simulate

import zolt
from zolt import engine, model
from zolt.engine_answer import EngineAnswer


@pytest.mark.parametrize("states, transitions, n", [(2, FKBP12, 32), (3, THREE, 48), (4, FOUR, 72)])
@pytest.mark.parametrize("sign", [1.0, -1.0])
def test_midpoints_come_back(states, transitions, n, sign):
    x, y = simulate(transitions, n, noise=0.003)
    fit = zolt.fit(x, sign * y, states=states)
    assert fit.ok and fit.states == states and fit.r_squared > 0.99
    assert fit.Cm == pytest.approx([Cm for _, Cm, _ in transitions], abs=0.1)
    assert fit.weights.sum() == pytest.approx(1.0)
    assert [fit.to_dict()[f"weight{i}"] for i in range(1, states)] == fit.weights.tolist()
    assert fit.m == pytest.approx(fit.dG / fit.Cm)
    # The numpy form of the model is the engine's.
    grid, signal = fit.curve(40)
    assert signal == pytest.approx(model.signal(grid, fit.result), abs=1e-9)
    at_ends = fit.fraction_denatured(2)[1]
    assert at_ends == pytest.approx([0.0, 1.0], abs=0.1)
    assert np.trapz(*fit.first_derivative(800)[::-1]) == pytest.approx(at_ends[1] - at_ends[0], abs=5e-3)
    assert fit.residuals == pytest.approx(sign * y - model.signal(x, fit.result))


@pytest.mark.parametrize("transitions, n, states", [(FKBP12, 48, 2), (THREE, 48, 3), (FOUR, 48, 4)])
def test_auto_chooses_the_number_of_states(transitions, n, states):
    assert zolt.fit(*simulate(transitions, n)).states == states


def test_the_picker_sees_an_uneven_grid_as_an_even_one():
    x, y = simulate(THREE, 48)
    crowded = np.sort(np.concatenate([x, np.linspace(0.01, 0.4, 60)]))
    assert zolt.pick_states(crowded, np.interp(crowded, x, y)) == zolt.pick_states(x, y) == 3
    twice = np.repeat(x, 2)
    assert zolt.pick_states(twice, np.repeat(y, 2)) == 3


@pytest.mark.parametrize("off, even", [(0.009, True), (0.011, False)])
def test_the_picker_takes_a_grid_for_even_to_a_hundredth(monkeypatch, off, even):
    x, y = simulate(THREE, 41)
    monkeypatch.setattr(engine, "pick_states", lambda seen: np.array_equal(seen, y))
    x[20] += off * 0.2
    assert zolt.pick_states(x + 1.0, y) == even


def test_order_and_blanks_of_the_readings_do_not_matter(curve):
    x, y = curve
    shuffled = np.random.default_rng(1).permutation(x.size)
    blank = np.append(y[shuffled], [np.nan, 3.0])
    fit = zolt.fit(np.append(x[shuffled], [1.0, np.nan]), blank)
    assert np.array_equal(fit.result, zolt.fit(x, y).result)


@pytest.mark.parametrize(
    "change, status",
    [
        (dict(n=7), "too few points"),
        (dict(n=0), "too few points"),
        (dict(n=385), "too many points"),
        (dict(flat=True), "no transition"),
        (dict(noise=2.0), "no transition"),
        (dict(temperature=150.0), "bad input"),
        (dict(n=10, states=4), "too few points"),
    ],
)
def test_a_curve_without_a_fit_says_why(change, status):
    x, y = simulate(FKBP12, change.get("n", 32), noise=change.get("noise", 0.0), seed=5)
    if change.get("flat"):
        y = np.full(x.size, 3.0)
    fit = zolt.fit(x, y, change.get("temperature", 25.0), states=change.get("states", "auto"))
    assert (fit.ok, fit.status) == (False, status)
    assert fit.reason.endswith(".") and status in repr(fit)
    assert np.isnan(fit.Cm).all() and np.isnan(fit.residuals).all() and not fit.outliers.any()
    assert np.isnan(fit.se["dG"]).all() and np.isnan(fit.band(5)[2]).all()
    assert fit.to_dict()["status"] == status and status in fit._repr_html_()
    with pytest.raises(ValueError, match=status):
        fit.intervals()


def test_the_shortest_and_the_longest_curves_are_fitted():
    assert zolt.fit(*simulate(FKBP12, 384), states=2).ok and zolt.fit(*simulate(FKBP12, 8), states=2).ok
    assert zolt.fit(*simulate(FKBP12, 6), midpoint_only=True).status != "too few points"


def test_a_number_of_states_forces_a_fit_that_is_doubted():
    x = np.linspace(0.0, 8.0, 24)
    y = 0.1 * x + np.random.default_rng(3).normal(0.0, 0.02, x.size)
    assert zolt.fit(x, y).status == "no transition"
    forced = zolt.fit(x, y, states=2)
    assert forced.evidence.states == 0 and forced.warnings[1].code == "no_transition_evident"


def test_the_engine_is_heard_beside_least_squares():
    x, y = simulate(FKBP12, 48, noise=0.005)
    fit = zolt.fit(x, y)
    assert np.array_equal(fit.engine.result, engine.analyse(x, y, 25.0, 2))
    assert fit.engine.dG[0] != fit.dG[0] and fit.code == fit.engine.code
    far = replace(fit, engine=EngineAnswer(fit.engine.result * np.where(np.arange(24) == 4, 2.0, 1.0)))
    assert [c.code for c in far.warnings] == ["temperature_assumed", "engine_apart"]
    assert "far away in dG, m (its dG is" in far.warnings[1].sentence
    three = zolt.fit(*simulate(THREE, 48, noise=0.005))
    assert three.engine.states == 3 and three.engine.Cm == pytest.approx(three.Cm, abs=0.2)
    assert zolt.fit(x, y, states="picker").reason.startswith("The picker saw")


def test_wrong_arguments_are_refused(curve):
    for arguments, said in (
        (dict(states=5), "states is"),
        (dict(baselines=[1, 2, 3]), "four numbers"),
        (dict(baselines=[1, 2, 3, 4], midpoint_only=True), "takes no baselines"),
    ):
        with pytest.raises(ValueError, match=said):
            zolt.fit(*curve, **arguments)
    with pytest.raises(ValueError, match="32 values and y has 31"):
        zolt.fit(curve[0], curve[1][1:])


def test_given_baselines_are_held_and_a_midpoint_takes_few_points(curve):
    given = zolt.fit(*curve, states=2, baselines=(0.1, 0.004, 1.0, -0.003))
    assert given.baselines == pytest.approx([0.1, 0.004, 1.0, -0.003])
    assert given.engine.code == 2 and "given by the user" in given.engine.sentence
    assert given.Cm[0] == pytest.approx(3.867, abs=0.02)
    one = zolt.fit(*curve, baselines=(0.0, 0.0, 1.0, -0.003))
    assert one.baselines[2:] == pytest.approx([1.0, -0.003]) and one.se["baselines"][0] > 0
    flat = zolt.fit(*curve, baselines={"native": "flat", "denatured": (1.0, -0.003)})
    assert flat.baselines[1] == 0.0 and np.isnan(flat.se["baselines"][1])
    short = simulate(FKBP12, 9, native=(0.0, 0.0), denatured=(1.0, 0.0))
    fit = zolt.fit(*short, midpoint_only=True)
    assert np.isnan(zolt.fit(short[0][:5], short[1][:5]).fraction_denatured(5)[1]).all()  # no line of zeros
    assert zolt.fit(short[0][:5], short[1][:5], midpoint_only=True).status == "too few points"
    assert zolt.fit(short[0][1:8], short[1][1:8], midpoint_only=True).status != "too few points"
    assert fit.status == "midpoint fitted" and fit.Cm[0] == pytest.approx(3.867, abs=0.1)
    with pytest.raises(ValueError, match="least squares"):
        fit.intervals()


def test_a_held_m_stands_and_narrows_dG(curve):
    fit = zolt.fit(*curve, states=2, m=1434.0)
    assert fit.m[0] == 1434.0 and np.isnan(fit.se["m"][0])
    assert fit.se["dG"][0] < 0.5 * zolt.fit(*curve, states=2).se["dG"][0]


@pytest.mark.parametrize("sign, shift", [(1.0, 0.0), (-1.0, 0.0), (30.0, 0.0), (-30.0, 0.0), (30.0, -15.0)])
def test_a_spike_is_marked_in_any_unit_and_can_be_left_out(sign, shift):
    x, y = simulate(FKBP12, noise=0.002, native=(0.2, 0.0), denatured=(1.0, 0.0))
    y[4] += 0.9
    fit = zolt.fit(x, sign * y + shift, states=2)
    assert fit.spikes.tolist() == [i == 4 for i in range(x.size)]
    clean = zolt.fit(x, sign * y + shift, states=2, drop_outliers=True)
    assert not clean.kept[4] and clean.ok and clean.Cm[0] == pytest.approx(3.867, abs=0.05)
    assert clean.outliers[4] and clean.marked[4]


def test_a_reading_within_a_steep_transition_is_no_spike():
    x, y = simulate([(12000.0, 3.9, 1.0)], 16)
    assert not zolt.fit(x, 1000.0 * y, states=2).spikes.any()


def test_units(curve):
    fit = zolt.fit(*curve, states=2, name="a")
    assert fit.dG_in("kJ")[0] == pytest.approx(fit.dG[0] / 1000 * 4.184)
    row = fit.to_dict("kJ")
    assert row["m1_kJ_per_mol_per_M"] == pytest.approx(fit.m_in("kJ")[0])
    assert "kcal/mol" in repr(fit) and repr(fit).startswith("<Fit a: 2 states")
