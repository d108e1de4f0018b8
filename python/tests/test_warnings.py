"""Warnings: each is raised where it belongs, and sound curves have none."""

import json
import re
from pathlib import Path
from types import SimpleNamespace

import numpy as np
import pytest
from conftest import FKBP12, THREE, simulate

import zolt
from zolt import doubts
from zolt.caution import TABLE
from zolt.chain import expected_m
from zolt.inference import OUTCOMES
from zolt.read import Curve

MODULES = Path(zolt.__file__).parent


def codes(fit):
    return [caution.code for caution in fit.warnings]


def fitted(x, y, **options):
    return zolt.fit(x, y, **{"temperature": 25.0, **options})


def without(x, y, low, high):
    """The curve without readings from low to high."""
    there = (x < low) | (x > high)
    return x[there], y[there]


def waves():
    x, y = simulate(FKBP12, 40, noise=0.001)
    return x, y + 0.02 * np.sin(2.5 * x)


def bad_readings(*places, by=0.4):
    x, y = simulate(FKBP12, 32, noise=0.003)
    y[list(places)] += by * (-1.0) ** np.arange(len(places))
    return x, y


def crossing():
    return simulate(FKBP12, 40, noise=0.002, native=(1.0, -0.1), denatured=(0.24, 0.1))


def step():
    x = np.linspace(0.0, 8.0, 20)
    return x, (x > 4.1) + np.random.default_rng(0).normal(0.0, 0.01, 20)


def lone_end():
    """A transition that one reading at 0 M sets the native baseline of, and that is off."""
    x, y = without(*simulate([(3000.0, 1.4, 1.0)], 26, noise=0.002), 0.1, 0.8)
    y[0] -= 0.25
    return x, y


CASES = {
    "structured_residuals": (waves, dict(states=2)),
    "many_readings_off": (lambda: bad_readings(2, 5, 12, 20, 25, 28), dict(states=2)),
    "spikes": (lambda: bad_readings(6), dict(states=2)),
    "one_reading_decides": (lone_end, dict(states=2)),
    "midpoint_outside": (lambda: without(*simulate(FKBP12, 60, 6.0, 0.002), 3.7, 9.0), dict(states=2)),
    "midpoint_at_edge": (lambda: without(*simulate(FKBP12, 60, 6.0, 0.002), 4.0, 9.0), dict(states=2)),
    "no_native_plateau": (lambda: without(*simulate(FKBP12, 60, noise=0.002), -1.0, 2.6), dict(states=2)),
    "no_denatured_plateau": (lambda: without(*simulate(FKBP12, 60, noise=0.002), 4.8, 9.0), dict(states=2)),
    "baselines_cross": (crossing, dict(states=2)),
    "between_two_readings": (step, dict(states=2)),
    "hardly_determined": (lambda: simulate(FKBP12, 14, noise=0.06, seed=2), dict(states=2)),
    "no_transition_evident": (lambda: simulate(FKBP12, 24, noise=2.0, seed=5), dict(states=2)),
    "states_indistinguishable": (lambda: simulate(FKBP12, 96, noise=0.005, seed=8), {}),
    "engine_apart": (lambda: simulate([(5000.0, 3.2, 0.5), (9000.0, 4.3, 0.5)], 40, noise=0.006, seed=3), {}),
    "lack_of_fit": (
        lambda: tuple(np.repeat(row, 2) + i * 0.001 * np.tile([-1, 1], 40) for i, row in enumerate(waves())),
        dict(states=2),
    ),
    "other_states_shown": (lambda: simulate(THREE, 60, noise=0.004), dict(states=2)),
    "readings_left_out": (lambda: simulate(FKBP12, 32, noise=0.003), dict(exclude="7..8")),
    "deviations_unused": (lambda: simulate(FKBP12, 32, noise=0.003), dict(sd=np.arange(32.0))),
    "weights_uneven": (lambda: simulate(FKBP12, 32, noise=0.003), dict(sd=np.r_[1e-3, np.full(31, 0.03)])),
    "m_unexpected": (lambda: simulate(FKBP12, 32, noise=0.003), dict(residues=300, denaturant="urea")),
    "m_not_compared": (lambda: simulate(FKBP12, 32, noise=0.003), dict(residues=107)),
    "signal_not_linear": (lambda: simulate(FKBP12, 32, noise=0.003), dict(name="WT F350/F330")),
    "temperature_assumed": (lambda: simulate(FKBP12, 32, noise=0.003), dict(temperature=None)),
    "baselines_not_used_by_engine": (
        lambda: simulate(FKBP12, 32, noise=0.003, native=(0.0, 0.0)),
        dict(states=2, baselines={"native": (0.0, 0.0), "denatured": (1.0, -0.003)}),
    ),
}


@pytest.mark.parametrize("code", CASES)
def test_a_warning_is_raised_where_it_belongs(code):
    make, options = CASES[code]
    fit = fitted(*make(), **options)
    assert code in codes(fit), codes(fit)
    caution = next(c for c in fit.warnings if c.code == code)
    assert "{" not in caution.sentence and caution.sentence.endswith(".") and caution.advice.endswith(".")
    row = fit.to_dict()
    assert code in row["warnings"].split(", ") and str(caution) in row["warnings_in_words"]


def gentle_waves(n, height):
    x, y = simulate(FKBP12, n, noise=0.01)
    return x, y + height * np.sin(2.5 * x)


NEAR = {  # curves that a less patient supervisor would warn of, and a word on how near they are
    "structured_residuals": (lambda: gentle_waves(24, 0.02), {}),  # Durbin-Watson 1.45 of 24 readings
    "many_readings_off": (lambda: bad_readings(6, 20, 26, by=0.1), {}),
    "no_native_plateau": (
        lambda: without(*simulate(FKBP12, 60, noise=0.002), -1.0, 2.5),
        {},
    ),  # 3 concentrations
    "midpoint_at_edge": (lambda: without(*simulate(FKBP12, 60, 6.0, 0.002), 4.4, 9.0), {}),  # 0.5 M inside
    "hardly_determined": (lambda: simulate(FKBP12, 14, noise=0.03, seed=2), {}),  # an error of 19 %
    "weights_uneven": (lambda: simulate(FKBP12, 32, noise=0.003), dict(sd=np.linspace(0.002, 0.02, 32))),
    "m_unexpected": (lambda: simulate(FKBP12, 32, noise=0.003), dict(residues=140, denaturant="urea")),
    "signal_not_linear": (lambda: simulate(FKBP12, 32, noise=0.003), dict(name="WT F350 15C, pH 7/8")),
}


@pytest.mark.parametrize("code", NEAR)
def test_a_warning_is_not_raised_lightly(code):
    make, options = NEAR[code]
    fit = fitted(*make(), **{"states": 2, **options})
    assert fit.ok and code not in codes(fit)


@pytest.mark.parametrize(
    "states, behind, sound, rival",
    [(2, 1.9, 1, True), (2, 2.1, 1, False), (2, 1.9, 0, False), (2, -11.0, 1, False),
     (4, -2.1, 1, True), (4, -1.9, 1, False), (4, -2.1, 0, False)],
)  # fmt: skip
def test_a_model_is_a_rival_where_it_is_sound_and_its_aicc_near(states, behind, sound, rival):
    noise = OUTCOMES.index("gain no more than noise")
    row = SimpleNamespace(states=states, aicc_difference=10.0 + behind, sound=sound, outcome=noise)
    chosen = SimpleNamespace(states=3, aicc_difference=10.0)
    assert doubts.LIMITS.aicc == 2.0 and bool(doubts._as_good(row, chosen)) == rival


def test_waves_count_for_more_with_many_readings():
    found = [codes(fitted(*gentle_waves(96, height), states=2)) for height in (0.008, 0.015)]
    assert ["structured_residuals" in one for one in found] == [False, True]  # Durbin-Watson 1.72 and 1.20


@pytest.mark.parametrize("off, told", [(0.05, False), (0.2, True)])
def test_one_reading_decides_only_if_the_answer_moves(off, told):
    x, y = simulate([(3000.0, 1.4, 1.0)], 26, noise=0.002)
    x, y = without(x, y, 0.1, 0.8)
    y[0] -= off
    assert ("one_reading_decides" in codes(fitted(x, y, states=2))) == told


@pytest.mark.parametrize("transitions, n, states", [(FKBP12, 24, 2), (FKBP12, 48, 2), (THREE, 60, 3)])
def test_sound_curves_have_hardly_a_warning(transitions, n, states):
    found = []
    for seed in range(40):
        fit = fitted(*simulate(transitions, n, noise=0.004, seed=seed), residues=107, denaturant="urea")
        found += [
            code for code in codes(fit) if not (states > 2 and code in ("m_unexpected", "engine_apart"))
        ]
    assert len(found) <= 4, found


def test_what_the_length_of_a_chain_suggests():
    # Myers, Pace and Scholtz 1995: barnase, 110 residues, 1.94 in urea and 4.4 in guanidinium chloride by
    # measurement; the regressions lie within their scatter of these.
    assert expected_m(110, "urea") == pytest.approx(1399.5, abs=0.1)
    assert expected_m(110, "GdmCl") == pytest.approx(2910.1, abs=0.1)
    assert expected_m(110, None) is None
    assert "m_unexpected" not in codes(
        fitted(*simulate(FKBP12, noise=0.003), residues=107, denaturant="urea")
    )


def test_notes_of_the_reader_become_warnings(tmp_path):
    x, y = simulate(FKBP12, 24, noise=0.004)
    rows = [f"{a},{b if i != 5 else 'OVER'},{b}" for i, (a, b) in enumerate(zip(x, y))]
    (tmp_path / "f.csv").write_text("conc,WT,copy\n" + "\n".join(rows[:5] + rows[6:]) + "\n" + rows[5])
    curves = zolt.read_curves(tmp_path / "f.csv")
    found = [codes(fit) for fit, _ in zolt.fit_each(curves)]
    assert found[0][:3] == ["unit_assumed", "blank", "temperature_assumed"]
    assert "blank" not in found[1]


def test_what_no_reader_has_seen_is_looked_at_too():
    x, y = simulate(FKBP12, 24, noise=0.004)
    both = zolt.fit_many({"a": (x, y), "b": (x, y), "c": (x, y + 1.0)}, temperature=25.0, progress=False)
    assert both["warnings"].tolist() == ["", "identical", ""]
    for denaturant, highest, told in (("GdmCl", 9.0, True), ("urea", 9.0, False), (None, 12.0, True)):
        fit = fitted(x * highest / 8.0, y, denaturant=denaturant)
        assert ("beyond_solubility" in codes(fit)) == told
    curve = Curve("a", x, y, 25.0, sd=np.full(24, 0.004))
    assert codes(zolt.fit_each([curve], weights="sem")[0][0]) == ["deviations_unused"]


def test_curves_that_differ_in_m_are_told_when_they_share_it():
    curves = [
        simulate([(slope * 3.9, 3.9, 1.0)], 32, noise=0.005, seed=i)
        for i, slope in enumerate((1400.0, 2200.0))
    ]
    assert all("m_not_shared" in codes(fit) for fit, _ in zolt.fit_each(curves, m="shared"))
    assert not any(
        "m_not_shared" in codes(fit) for fit, _ in zolt.fit_each([curves[0], curves[0]], m="shared")
    )


def test_a_global_fit_has_warnings_of_its_own():
    one, other = (simulate([(slope * 3.9, 3.9, 1.0)], 32, noise=0.005) for slope in (1400.0, 2200.0))
    assert [c.code for c in zolt.fit_global([one, other]).warnings] == ["temperature_assumed", "m_not_shared"]
    assert zolt.fit_global([one, one], temperature=25.0).warnings == ()


def test_a_wrong_answer_within_a_series_is_told():
    x, y = simulate(FKBP12, noise=0.004)
    _, far = simulate([(9000.0, 4.0, 1.0)], noise=0.004, native=(0.1, 0.12), denatured=(1.8, -0.1))
    series = zolt.fit_series(
        [Curve("a", x, y, label=1), Curve("b", x, y, label=1), Curve("c", x, far, label=3)]
    )
    assert "series_apart" in codes(series.fits[2]) and "series_apart" not in codes(series.fits[0])
    assert "Look first at c (series_apart" in series.verdict


def test_every_code_of_the_package_is_in_the_table_and_the_other_way_round():
    text = "".join(path.read_text() for path in [*MODULES.glob("*.py"), *MODULES.glob("reading/*.py")])
    raised = set(re.findall(r'caution\(\s*f?"(\w[\w{}]*)"', text))
    raised = {c.replace("{side}", side) for c in raised for side in ("native", "denatured")}
    with_sentence = {code for code, entry in TABLE.items() if "sentence" in entry}
    assert with_sentence - {"replicates_differ"} <= raised <= set(TABLE)
    noted = set(re.findall(r'[nN]ote\(\s*"(\w+)"', text))
    assert set(TABLE) - with_sentence - {"other_note"} <= noted
    entries = json.loads((MODULES / "cautions.json").read_text())["cautions"].values()
    assert all(entry["when"] and entry["advice"] for entry in entries)


@pytest.mark.parametrize(
    "code", [code for code, (_, options) in CASES.items() if not {"sd", "baselines"} & set(options)]
)
def test_the_scale_of_the_signal_moves_no_warning(code):
    make, options = CASES[code]
    x, y = make()
    of_engine = {"spikes", "engine_apart"}  # whose rules look at the signal itself
    one, other = (set(codes(fitted(x, row, **options))) - of_engine for row in (y, -2e5 * y + 3e6))
    assert one == other
