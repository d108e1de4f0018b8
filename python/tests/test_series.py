"""Series: one dG per label and its trend."""

from dataclasses import replace

import numpy as np
import pytest
from conftest import simulate

import zolt
from zolt.read import Curve

M = 1500.0


def make_series(labels, energy, noise=0.004, scale=lambda i: 1.0, shapes=lambda i: {}):
    curves = []
    for i, label in enumerate(labels):
        dG = energy(label)
        x, y = simulate([(dG, dG / M, 1.0)], noise=noise, seed=i, **shapes(i))
        curves.append(Curve(f"c{i}", x, scale(i) * y, label=label))
    return curves


def rising(label):
    return 4200.0 + 900.0 * np.log(label)


@pytest.mark.parametrize(
    "scale", [lambda i: 1.0, lambda i: -40.0, lambda i: 1000.0 * (1 + i % 3)], ids=["1", "CD", "mixed"]
)
@pytest.mark.parametrize("shapes", [lambda i: {}, lambda i: {"n": 26 + i}], ids=["one grid", "own grids"])
def test_a_trend_comes_back(scale, shapes):
    labels = [1, 1, 2, 2, 5, 5, 10, 10]
    series = zolt.fit_series(make_series(labels, rising, scale=scale, shapes=shapes))
    assert series.significant and series.slope == pytest.approx(900.0, rel=0.1)
    assert series.per_label["dG"].to_numpy() == pytest.approx([rising(u) for u in (1, 2, 5, 10)], rel=0.08)
    assert series.per_label["curves"].tolist() == [2, 2, 2, 2]
    for i, fit in enumerate(series.fits):
        assert fit.ok and fit.r_squared > 0.99
        assert np.abs(fit.residuals).max() < 0.05 * abs(scale(i))
    grid, line = series.curve("dG", 3)
    assert grid == pytest.approx([1.0, 5.5, 10.0])
    assert line[-1] - line[0] == pytest.approx(series.slope * np.log(10.0))
    assert series.curve("third")[1][0] == 0.0


def test_the_aggregation_form_follows_the_label_itself():
    series = zolt.fit_series(
        make_series([1, 2, 3, 4, 5], lambda label: 4000.0 + 500.0 * label), form="aggregation"
    )
    assert series.slope == pytest.approx(500.0, rel=0.1)
    assert "per unit of the label" in series.verdict
    assert series.plot().axes[1].get_xscale() == "linear"
    with pytest.raises(ValueError, match="trend form"):
        series.curve("denatured")


@pytest.mark.parametrize("form", ["trend", "aggregation"])
def test_labels_without_a_place_in_the_trend(form):
    series = zolt.fit_series(make_series([0, 1, 3, 9], lambda u: rising(max(u, 1))), form=form)
    assert series.per_label["in_trend"].tolist() == [False, True, True, True]
    assert series.per_label["dG"][0] == pytest.approx(4200.0, rel=0.1)
    without = zolt.fit_series(
        make_series([1, 3, 9, 27], rising), form=form, include=[True, True, True, False]
    )
    assert without.per_label["in_trend"].tolist() == [True, True, True, False]


@pytest.mark.parametrize("form", ["trend", "aggregation"])
def test_a_failed_curve_stays_outside(form):
    curves = make_series([1, 2, 4, 8], rising)
    sound = zolt.fit_series(curves, form=form)
    noise = np.random.default_rng(0).normal(0.0, 1.0, curves[0].x.size)
    noise[[0, 1, 2]] = 0.0
    noise[[-1, -2, -3]] = 0.0
    bent = zolt.fit_series([*curves, Curve("bad", curves[0].x, noise, label=16)], form=form)
    assert not bent.fits[-1].ok or bent.fits[-1].r_squared < 0.5
    if not bent.fits[-1].ok:
        assert bent.per_label["dG"][:4].to_numpy() == pytest.approx(sound.per_label["dG"].to_numpy())


def test_no_trend_is_told_as_such():
    flat = zolt.fit_series(make_series([1, 2, 5, 10], lambda label: 4500.0))
    assert not flat.significant and "No significant" in flat.verdict
    for form in ("trend", "aggregation"):
        one = zolt.fit_series(make_series([5, 5], rising), form=form)
        assert not one.has_line and "Fewer than two labels" in one.verdict
        one.plot()


def test_wrong_series_are_refused():
    curves = make_series([1, 2], rising)
    for arguments, said in (
        (dict(labels=[1]), "2 curves need as many labels"),
        (dict(labels=["a", "b"]), "a number as its label"),
        (dict(form="other"), "form is one of"),
    ):
        with pytest.raises(ValueError, match=said):
            zolt.fit_series(curves, **arguments)


def test_what_is_no_part_of_the_trend_and_what_is_doubtful_in_it_is_said():
    curves = make_series([0, 1, 2, 5, 10], lambda label: rising(max(label, 0.1)))
    curves[3].y[8:14] += [0.2, -0.2, 0.2, -0.2, 0.2, -0.2]
    series = zolt.fit_series(curves, clean=False)
    said = "Look first at c3 (many_readings_off, spikes): they are part of it"
    assert "label of 0 or below (0) are fitted, but are no part of it." in series.verdict
    assert said in series.verdict
    left = zolt.fit_series(curves, include=[label != 5 for label in (0, 1, 2, 5, 10)], clean=False)
    assert "Look first" not in left.verdict


@pytest.mark.parametrize("form", ["trend", "aggregation"])
def test_a_lost_label_is_missing_and_not_zero(form):
    curves = make_series([1, 2, 4, 8], rising)
    lost = [
        replace(curve, y=np.full(curve.x.size, 1.0 + 0.1 * i), label=3) for i, curve in enumerate(curves[:2])
    ]
    series = zolt.fit_series([*curves, *[replace(c, name=f"lost{i}") for i, c in enumerate(lost)]], form=form)
    row = series.per_label.set_index("label").loc[3]
    assert (
        np.isnan(row["dG"])
        and np.isnan(row["Cm_M"])
        and not row["in_trend"]
        and (row["curves"], row["fitted"]) == (2, 0)
    )
    assert [fit.status == "fitted" for fit in series.fits] == [True] * 4 + [False] * 2
    assert series.slope == zolt.fit_series(curves, form=form).slope and 3 not in series.used_labels
    assert "no part of it: lost0, lost1." in series.verdict and series.vectors.shape == (6, 24)
    assert np.isnan(series.table()["dG1_kcal_per_mol"][4]) and series.plot().axes


def test_units_and_names_come_from_what_was_asked_and_read(tmp_path):
    lines = ["Ca (mM),urea (M),signal"]
    for curve in make_series([0, 0.5, 5, 50], lambda u: rising(max(u, 0.1))):
        lines += [f"{curve.label},{x},{y}" for x, y in zip(*curve)]
    (tmp_path / "s.csv").write_text("\n".join(lines))
    series = zolt.fit_series(zolt.read_curves(tmp_path / "s.csv"))
    assert (series.denaturant, series.label_name) == ("urea", "Ca (mM)")
    kcal, kJ = (float(series.verdict_in(units).split()[3]) for units in ("kcal", "kJ"))
    assert kJ == pytest.approx(
        4.184 * kcal, abs=0.003
    ) and "kJ/mol per unit of ln(Ca (mM))" in series.verdict_in("kJ")
    curves, energies, fractions = series.plot(units="kJ").axes[:3]
    assert curves.get_xlabel() == "Urea (M)" and energies.get_xlabel() == fractions.get_xlabel() == "Ca (mM)"
    assert energies.get_ylabel() == "dG (kJ/mol)" and energies.get_xscale() == "log"
    ticks = dict(zip((text.get_text() for text in energies.get_xticklabels()), energies.get_xticks()))
    assert ticks["0"] == pytest.approx(0.05) and ticks["50"] == 50.0
    drawn = np.concatenate([line.get_xdata() for line in energies.lines if line.get_marker() == "o"])
    assert sorted(drawn) == pytest.approx([0.05, 0.5, 5.0, 50.0])


@pytest.mark.parametrize(
    "stated, given, used, told",
    [
        ((15.0, 15.0, 15.0), None, 15.0, False),
        ((15.0, 15.0, 15.0), 40.0, 15.0, False),
        ((None, None, None), 40.0, 40.0, False),
        ((None, None, None), None, 25.0, True),
        ((15.0, None, 15.0), None, 15.0, True),
    ],
)
def test_a_series_has_the_temperature_of_its_curves(stated, given, used, told):
    curves = [replace(c, temperature=T) for c, T in zip(make_series([1, 3, 9], rising), stated)]
    series = zolt.fit_series(curves, temperature=given)
    assert {fit.temperature for fit in series.fits} == {used}
    assert {"temperature_assumed" in [c.code for c in fit.warnings] for fit in series.fits} == {told}
    with pytest.raises(ValueError, match="these have 15, 30 °C"):
        zolt.fit_series([replace(curves[0], temperature=15.0), replace(curves[1], temperature=30.0)])


@pytest.mark.parametrize("lacking", [0, 1])
def test_a_bad_reading_is_left_out_of_a_series_unless_it_is_told_to_stay(lacking):
    first, *others = make_series([1, 3, 9], rising)
    y = first.y.copy()
    y[5] += 0.4
    curves = [replace(first, y=y), *(replace(c, x=c.x[lacking:], y=c.y[lacking:]) for c in others)]
    cleaned, whole = (zolt.fit_series(curves, clean=clean).fits[0].kept for clean in (True, False))
    assert not cleaned[5] and cleaned.sum() >= y.size - 3 and whole.all()
