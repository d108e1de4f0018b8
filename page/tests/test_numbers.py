"""The page's numbers and warnings beside those of the native libraries and of the host."""

import re
import subprocess
import sys

import curves
import native
import numpy as np
import pytest
from browser import TOP, example, readings
from native import close

from zolt import pooled, session
from zolt.batch import fit_each
from zolt.read import read_file
from zolt.settings import Settings


def test_results_are_those_of_the_native_libraries(page):
    page.give(("hundred.csv", curves.wide(100, 40)))
    session = page.session()
    assert len(session["curves"]) == 100
    for curve, one in zip(session["curves"], readings(session)):
        fit, _ = native.decide(*one)
        assert curve["fit"]["engine"] == fit["engine"], curve["name"]  # every bit
        assert any(fit["engine"]) and curve["fit"]["transitions"] == fit["transitions"]
        for name in ("dG", "Cm", "m", "weight", "dG_se", "Cm_se", "m_se"):
            close(curve["fit"][name], fit[name])


def test_hash_of_all_results_is_the_pinned_one(page):
    pinned = re.search(r"kResults = 0x([0-9a-f]{16})", (TOP / "tests" / "result_hash_test.cpp").read_text())[1]
    page.click("#check")
    page.until(lambda: len(page.text("hash")) == 16, 100)
    assert page.text("hash") == pinned


def test_curves_are_compared_and_trended(page):
    page.give(example("series.csv"))
    page.click("#compare")
    page.until(lambda: "One m for all" in page.text("set"))
    session = page.session()
    whole, rows = native.compare(readings(session), 0)
    assert f"{whole['shared'][0] / 1000:.2f}" in page.text("set")
    assert f"{rows[-1]['shared_ddG'] / 1000:.2f}" in page.text("set")
    page.click("#trend")
    page.until(lambda: "ln(label)" in page.text("set"))
    intercept, slope = map(float, re.search(r"ΔG = ([\d.]+) \+ ([\d.]+) ln", page.text("set")).groups())
    assert intercept == pytest.approx(4.2, abs=0.35) and slope == pytest.approx(0.9, abs=0.2)


def hard_curves():
    """Curves that give warnings: noise, an outlier, transitions at the edge, beside one another, and none."""
    x = np.round(np.linspace(0, 8, 26), 3)
    rows = {
        "noisy": curves.signal(x, [(1200.0, 4.0, 1.0)], 1, noise=0.08),
        "edge": curves.signal(x, [(1500.0, 0.3, 1.0)], 2),
        "late": curves.signal(x, [(1100.0, 7.8, 1.0)], 3),
        "steep": curves.signal(x, [(30000.0, 4.1, 1.0)], 4),
        "two": curves.signal(x, [(2600.0, 2.5, 0.5), (2600.0, 4.4, 0.5)], 5),
        "none": curves.signal(x, [(1500.0, 30.0, 1.0)], 6),
        "waving": curves.signal(x, [(1500.0, 4.0, 1.0)], 7) + 0.02 * np.sin(2 * x),
    }
    rows["spike"] = curves.signal(x, [(1500.0, 4.0, 1.0)], 8) + np.where(x == x[5], 0.6, 0.0)
    lines = [",".join(["urea (M)", *rows]), *(",".join(f"{v:.6f}" for v in row) for row in zip(x, *rows.values()))]
    return "\n".join(lines) + "\n"


def replicates():
    """Two proteins, three replicates of each in columns; one replicate of the second is off."""
    x = np.round(np.linspace(0, 8, 20), 3)
    names = [f"{name} rep {i}" for name in ("WT", "L12A") for i in (1, 2, 3)]
    rows = [curves.signal(x, [(1500.0, 3.5 + 0.8 * (i > 2), 1.0)], 20 + i) + 0.3 * (i == 5) for i in range(6)]
    lines = [",".join(["GdmCl (M)", *names]), *(",".join(f"{v:.6f}" for v in row) for row in zip(x, *rows))]
    return "\n".join(lines) + "\n"


def deviations():
    """A mean, its standard deviation and how many measurements it is the mean of."""
    x = np.round(np.linspace(0, 8, 20), 3)
    sd = np.where(np.arange(20) % 4 == 0, 0.03, 0.005)
    n = np.where(np.arange(20) % 3 == 0, 9, 3)
    y = curves.signal(x, [(1500.0, 3.5, 1.0)], 5)
    return "urea (M),WT,SD,n\n" + "\n".join(f"{a},{b:.6f},{c},{d}" for a, b, c, d in zip(x, y, sd, n)) + "\n"


FILES = {
    "deviations.csv": deviations(),
    "hard.csv": hard_curves(), "replicates.csv": replicates(), "wide.csv": curves.wide(4, 30),
    "series.csv": example("series.csv")[1], "three_state.csv": example("three_state.csv")[1],
}  # fmt: skip


@pytest.mark.parametrize("name, choices", [
    ("hard.csv", {}), ("hard.csv", {"states": 2}), ("replicates.csv", {}), ("replicates.csv", {"replicates": "each"}),
    ("wide.csv", {"native": "flat"}), ("three_state.csv", {"states": 3}), ("series.csv", {"m": "shared"}),
    ("wide.csv", {"m": 1400.0}), ("wide.csv", {"residues": 107}), ("deviations.csv", {}),
    ("deviations.csv", {"weights": "sem"}), ("deviations.csv", {"weights": "none"}),
])  # fmt: skip
def test_numbers_and_warnings_are_the_hosts(page, tmp_path, name, choices):
    page.give((name, FILES[name]))
    for key, value in choices.items():
        page.choose(key, "given" if key == "m" and value != "shared" else value)
        page.until(page.idle)
        if key == "m" and value != "shared":
            page.choose("heldM", value / 1000)
            page.until(page.idle)
    saved = page.export("session", "session.json")
    (tmp_path / name).write_text(FILES[name])
    (tmp_path / "session.json").write_bytes(saved)
    settings = Settings(**choices)
    read = read_file(tmp_path / name).curves
    fits = [fit for fit, _ in fit_each(pooled(read) if settings.replicates == "pooled" else read, settings=settings)]
    page_curves = page.session()["curves"]
    assert len(fits) == len(page_curves)
    for fit, curve in zip(fits, page_curves):
        codes = set(curve["warnings"]) - {"interval_unbounded"}  # the host says it with the intervals
        assert codes == {caution.code for caution in fit.warnings}, curve["name"]
        assert (curve["fit"]["status"] == 0) == fit.ok
        if fit.ok:
            assert curve["fit"]["dG"][: fit.dG.size] == pytest.approx(fit.dG, rel=1e-6)
    again = session.rerun(tmp_path / "session.json")
    assert again.same and again.settings.m == settings.m, again.verdict


def test_a_session_of_the_host_opens_with_the_same_numbers(page, tmp_path):
    path = tmp_path / "host.json"
    command = [sys.executable, "-m", "zolt", "fit", TOP / "examples" / "series.csv", "--m", "shared", "--out", path]
    subprocess.run(command, check=True, capture_output=True)
    page.give(("host.json", path.read_bytes()))
    page.until(lambda: "with the numbers it was saved with" in page.text("message"))
    assert "fitted with one m" in page.text("set") and page.text("faults") == ""
    page.give(("picker.json", path.read_bytes().replace(b'"states": "auto"', b'"states": "picker"')))
    page.until(lambda: "the page has no choice of states by the engine's picker" in page.text("faults"))
