"""What a person chooses: readings left out, baselines, m, weights, and that all of it can be said again."""

import json
from dataclasses import fields

import click
import numpy as np
import pandas as pd
import pytest
from click.testing import CliRunner
from conftest import FKBP12, simulate

import zolt
from zolt.cli import main
from zolt.cli.choices import baselines_of
from zolt.exclusion import excluded, exclusions
from zolt.read import Curve
from zolt.session import SessionError, load, rerun
from zolt.settings import Settings, settings_of


@pytest.fixture
def run():
    return lambda *arguments: CliRunner(mix_stderr=False).invoke(main, list(map(str, arguments)))


@pytest.fixture
def table(tmp_path):
    columns = {"urea_M": simulate(FKBP12, 32)[0]}
    for i, Cm in enumerate((3.2, 3.9, 4.4)):
        columns[f"p{i}"] = simulate([(1450.0 * Cm, Cm, 1.0)], noise=0.01, seed=i)[1]
    path = tmp_path / "curves.csv"
    pd.DataFrame(columns).to_csv(path, index=False)
    return path


X = np.array([0.0, 1.0, 2.0, 2.0, 3.0, 4.0])
WELLS = ["A1", "A2", "A3", "B3", "A4", "A5"]


PLACES = {
    "2": [2, 3], "2.0000001": [2, 3], "4.000003": [5], "1.000002": [], "1..2": [1, 2, 3], "3..": [4, 5],
    "..0.5": [0], "#2": [1], "b03": [3], "WT@3,#1": [0, 4], "V38A@3": [], "b@#2,2": [3, 4], "9": [],
}  # fmt: skip


@pytest.mark.parametrize("text, places", PLACES.items())
def test_readings_are_left_out_as_they_are_told(text, places):
    curve = Curve(
        "WT", X, X, details={"well": " ".join(WELLS)}, members=np.array(["a", "a", "a", "b", "b", "b"])
    )
    assert np.flatnonzero(excluded([text], curve)).tolist() == places


@pytest.mark.parametrize("text", ["", "..", "high", "3-4", "#", "WT@"])
def test_what_tells_no_reading_is_refused(text):
    with pytest.raises(ValueError, match="tells no reading"):
        exclusions([text])


@pytest.mark.parametrize(
    "text, sides",
    [
        ("native=flat,denatured=line", {"native": "flat", "denatured": "line"}),
        ("native=0,0", {"native": (0.0, 0.0)}),
        ("denatured=1.2,-0.05,native=flat", {"denatured": (1.2, -0.05), "native": "flat"}),
        ("1,2,3,4", [1.0, 2.0, 3.0, 4.0]),
    ],
)
def test_baselines_in_all_their_forms(text, sides):
    assert baselines_of(text) == sides


NO_BASELINES = "1,2 native= native=1 native=flat,native=line flat native=1,2,3 native=nan,0 1,2,3,inf".split()


@pytest.mark.parametrize("text", NO_BASELINES)
def test_baselines_that_are_none_are_refused(text):
    with pytest.raises(click.UsageError, match="--baselines takes"):
        baselines_of(text)


def test_a_native_baseline_of_zero_is_held():
    x, y = simulate(FKBP12, noise=0.003, native=(0.0, 0.0), denatured=(1.0, 0.0))
    held = zolt.fit(x, y, states=2, baselines={"native": (0.0, 0.0), "denatured": (1.0, 0.0)})
    assert held.baselines.tolist() == [0.0, 0.0, 1.0, 0.0]
    assert "given by the user" not in held.engine.sentence
    assert held.se["Cm"][0] < zolt.fit(x, y, states=2).se["Cm"][0]


def test_exclusion_and_dropping_outliers_go_together():
    x, y = simulate(FKBP12, noise=0.004)
    y[3] += 0.5
    fit = zolt.fit(x, y, exclude=["6.."], drop_outliers=True)
    assert np.array_equal(fit.kept, (x < 6.0) & (np.arange(x.size) != 3))
    plain = zolt.fit(x[fit.kept], y[fit.kept])
    assert fit.dG.tolist() == plain.dG.tolist()
    marks = ~fit.kept
    assert zolt.fit(x, y, exclude=marks).dG.tolist() == plain.dG.tolist()
    with pytest.raises(ValueError, match="it marks every reading"):
        zolt.fit(x, y, exclude=marks[1:])


def test_deviations_weigh_the_readings():
    x, y = simulate(FKBP12, noise=0.004)
    y[20] += 0.3
    sd = np.full(x.size, 0.004)
    sd[20] = 0.04
    trusted = zolt.fit(x, y, states=2, sd=sd)
    assert abs(trusted.Cm[0] - 3.867) < 0.3 * abs(
        zolt.fit(x, y, states=2, sd=sd, weights="none").Cm[0] - 3.867
    )
    curve = Curve("a", x, y, temperature=25.0, sd=sd, n=np.full(x.size, 4.0))
    by_mean = zolt.fit_each([curve], weights="sem", sd_known=True, states=2)[0][0]
    known = zolt.fit_each([curve], sd_known=True, states=2)[0][0]
    assert by_mean.se["dG"][0] == pytest.approx(0.5 * known.se["dG"][0], rel=1e-6)


def test_one_m_for_all_curves(table):
    curves = zolt.read_curves(table)
    outcomes = zolt.fit_each(curves, m="shared", states=2, intervals={})
    whole = zolt.fit_global(curves)
    for (fit, spans), answer in zip(outcomes, whole.answers):
        assert fit.dG[0] == answer.record.dG[0] and fit.m[0] == pytest.approx(whole.shared[0])
        assert "one m for 3 curves" in fit.reason
        assert spans.dG[0, 0] < fit.dG[0] < spans.dG[0, 1]
    with pytest.raises(ValueError, match="share m with one another"):
        zolt.fit(*simulate(FKBP12), m="shared")
    for wrong in (
        dict(m="shared", dG=5000.0),
        dict(m="shared", intervals=dict(method="bootstrap")),
        dict(m="held"), dict(m=19.9), dict(m=50_001.0), dict(residues=0), dict(states=1), dict(weights="n"),
        dict(replicates="all"), dict(baselines=(1.0, 2.0)), dict(baselines={"left": "flat"}),
    ):  # fmt: skip
        with pytest.raises(ValueError):
            settings_of(**wrong)


SETTINGS = [
    dict(),
    dict(states=3, m=1434.0, weights="none", exclude=["B3", "6..8"], residues=107, temperature=10.0),
    dict(
        baselines={"native": "flat", "denatured": (1.0, -0.003)},
        drop_outliers=True,
        intervals=dict(method="profile"),
    ),
    dict(m="shared", replicates="each", sd_known=True),
    dict(dG=[None, 9000.0], Cm=3.2, states="picker"),
    dict(midpoint_only=True),
    dict(m=20.0, residues=1),
    dict(m=50_000.0),
]


@pytest.mark.parametrize("choices", SETTINGS)
def test_settings_go_to_plain_values_and_back(choices):
    settings = settings_of(**choices)
    plain = json.loads(json.dumps(settings.to_plain()))
    again = type(settings).from_plain(plain)
    assert again.to_plain() == plain and again.words("kJ") == settings.words("kJ")
    assert again == settings and settings.line().startswith("states: ")


def test_what_goes_there_and_back_is_every_choice():
    told = {name for choices in SETTINGS for name in choices} - {"baselines"} | {"native", "denatured"}
    assert told == {field.name for field in fields(Settings)}


RUNS = [
    [],
    ["--m", "shared", "--intervals"],
    ["--m", "1.4", "--baselines", "native=flat", "--exclude", "p1@#3,7..", "--units", "kJ"],
    ["--drop-outliers", "--states", "2", "--temperature", "20"],
    ["--midpoint"],
]


@pytest.mark.parametrize("options", RUNS)
def test_a_run_gives_the_same_numbers_again(run, table, tmp_path, options):
    first = run("fit", table, "--out", tmp_path / "r.json", *options)
    again = run("rerun", tmp_path / "r.json", "--out", tmp_path / "s.json", "--report", tmp_path / "r.html")
    assert first.exit_code == again.exit_code == 0, again.stderr
    assert "3 curves are the same, to the last digit." in again.stdout
    one, two = (json.loads((tmp_path / name).read_text()) for name in ("r.json", "s.json"))
    assert (tmp_path / "r.html").read_text().count("data:image") >= 3
    assert one == two and one["curves"][0]["fit"]["dG"][0] > 0.0


def test_a_session_of_the_page_runs_here(tmp_path):
    x, y = simulate(FKBP12, 24, noise=0.01)
    fit = zolt.fit(x, y, m=1400.0, exclude="..0.4")
    page = {
        "format": "zolt session", "formatVersion": 1, "unit": "kJ", "unknown": 1,
        "settings": {"states": "auto", "native": "line", "denatured": "line", "baseline": [0, 0, 0, 0],
                     "heldM": 1400.0, "sdKnown": False, "level": 0.95},
        "curves": [{"name": "a", "file": "f.csv", "well": "", "x": [*x, None], "y": [*y, 1.0], "sd": None,
                    "temperature": 25, "denaturant": None, "unit": "M", "label": None, "notes": ["a note"],
                    "out": [False] * 25, "range": [0.5, 8],
                    "fit": {"status": 0, **{k: [*getattr(fit, k), 0, 0] for k in ("dG", "Cm", "m")}}}],
    }  # fmt: skip
    path = tmp_path / "page.json"
    path.write_text(json.dumps(page))
    again = rerun(path)
    assert again.same and again.units == "kJ" and again.fits[0].warnings[0].sentence == "A note."
    page["curves"][0]["fit"]["dG"][0] *= 1.001
    path.write_text(json.dumps(page))
    assert not rerun(path).same and "1 of 1 curves give other numbers: a." in rerun(path).verdict


SESSION = {"format": "zolt session", "formatVersion": 1}
CURVE = {"x": [1], "y": [1], "temperature": 25}
NO_SESSIONS = {
    "no json": "expected a saved session",
    "[]": "is no saved session",
    json.dumps({**SESSION, "formatVersion": 9}): "another release",
    json.dumps({**SESSION, "curves": []}): "holds no curves",
    json.dumps({**SESSION, "curves": [{"x": [1]}]}): "curve 1 of the session is damaged",
    json.dumps({**SESSION, "settings": {"states": 7}, "curves": [1]}): "settings are damaged",
    json.dumps({**SESSION, "settings": [1], "curves": [1]}): "settings are damaged",
    json.dumps({**SESSION, "curves": [{**CURVE, "fit": [3]}]}): "results of the session are damaged",
    json.dumps({**SESSION, "settings": {"shareM": True}, "curves": [CURVE]}): "a shared m takes two curves",
}


@pytest.mark.parametrize("text, said", NO_SESSIONS.items())
def test_what_is_no_session_is_told(run, tmp_path, text, said):
    path = tmp_path / "s.json"
    path.write_text(text)
    result = run("rerun", path)
    assert result.exit_code == 2 and said in result.stderr
    with pytest.raises(SessionError, match="cannot be opened"):
        load(tmp_path / "absent.json")


@pytest.mark.parametrize(
    "columns, said", [(["p0"], "two curves or more"), (["p0", "flat"], "Fewer than two of the curves")]
)
def test_nothing_to_share_is_one_sentence(run, table, columns, said):
    frame = pd.read_csv(table).assign(flat=1.0)
    frame[["urea_M", *columns]].to_csv(table, index=False)
    result = run("fit", table, "--m", "shared", "--columns", ",".join(columns))
    assert (
        result.exit_code == 2 and said in result.stderr.splitlines()[-1] and "Traceback" not in result.output
    )
