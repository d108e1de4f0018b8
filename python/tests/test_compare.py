"""Differences from a reference: three ways, what they rest on, and what is said of them."""

import numpy as np
import pandas as pd
import pytest
from click.testing import CliRunner
from conftest import simulate

import zolt
from zolt.cli import main
from zolt.read import Curve


def proteins(m=(1450.0, 1450.0, 1450.0), Cm=(3.9, 3.2, 4.4), n=32):
    return [
        Curve(f"p{i}", *simulate([(slope * mid, mid, 1.0)], n, noise=0.01, seed=i), 25.0)
        for i, (slope, mid) in enumerate(zip(m, Cm))
    ]


def test_differences_come_back_by_all_three_ways():
    result = zolt.compare(proteins())
    table = result.table().set_index("curve")
    assert table.index.tolist() == ["p1", "p2"] and set(table["reference"]) == {"p0"}
    for name, dCm in (("p1", -0.7), ("p2", 0.5)):
        row = table.loc[name]
        assert row["dCm_lower_M"] < dCm < row["dCm_upper_M"]
        for way in ("shared_m", "mean_m", "plain"):
            assert (
                row[f"ddG_{way}_lower_kcal_per_mol"] < 1.45 * dCm < row[f"ddG_{way}_upper_kcal_per_mol"]
            ), way
        assert row["ddG_shared_m_se_kcal_per_mol"] < row["ddG_plain_se_kcal_per_mol"]
    assert result.p > 0.05 and "agree with one m" in result.advice() and "sharpest" in result.advice()
    turned = zolt.compare(result.fits, "p1").table("kJ").set_index("curve")
    assert turned.loc["p0", "dCm_M"] == pytest.approx(-table.loc["p1", "dCm_M"])
    plain = result.fits[0].dG_in("kJ")[0] - result.fits[1].dG_in("kJ")[0]
    assert turned.loc["p0", "ddG_plain_kJ_per_mol"] == pytest.approx(plain, rel=1e-6)


def test_another_m_is_told():
    advice = zolt.compare(proteins(m=(1450.0, 2100.0, 1450.0))).advice()
    assert "do not agree with one m" in advice and "plain difference holds" in advice


def test_readings_left_out_of_the_fits_stay_out():
    x, y = proteins()[0]
    y = y.copy()
    y[4] += 0.6
    spoilt = [Curve("p0", x, y, 25.0), *proteins()[1:]]
    clean = zolt.compare([Curve("p0", np.delete(x, 4), np.delete(y, 4), 25.0), *proteins()[1:]])
    assert zolt.compare(spoilt, exclude=["p0@#5"]).table().equals(clean.table()) and not zolt.compare(
        spoilt
    ).table().equals(clean.table())


def test_a_curve_without_a_fit_has_no_difference():
    x = np.linspace(0.0, 8.0, 24)
    lost = Curve("flat", x, np.full(24, 1.0), 25.0)
    result = zolt.compare([*proteins(), lost])
    row = result.table().set_index("curve").loc["flat"]
    assert row["status"] != "fitted" and np.isnan(row["ddG_plain_kcal_per_mol"])
    assert len(result.plot().axes[1].get_yticks()) == 2


def test_curves_of_two_temperatures_are_not_called_comparable():
    fits = [zolt.fit(x, y, temperature) for (x, y), temperature in zip(proteins()[:2], (25.0, 37.0))]
    assert "different temperatures (25, 37 °C)" in zolt.compare(fits).advice()


def test_wrong_comparisons_are_refused():
    for arguments, said in (
        ((proteins()[:1],), "two curves or more"),
        ((proteins(), "p9"), "there is no curve 'p9'"),
        ((proteins(), -1), "the index, from 0, of one of 3 curves"),
        ((proteins(), 3), "the index, from 0, of one of 3 curves"),
    ):
        with pytest.raises(ValueError, match=said):
            zolt.compare(*arguments)
    fits = [
        zolt.fit(*curve, states=2, baselines=sides)
        for curve, sides in zip(proteins(), (None, {"native": "flat"}))
    ]
    with pytest.raises(ValueError, match="same choices"):
        zolt.compare(fits)


def test_the_command_compares_pooled_replicates(tmp_path):
    wild, mutant = proteins()[:2]
    noise = np.random.default_rng(0)
    pd.DataFrame(
        {"urea_M": wild.x, **{f"WT rep {i}": wild.y + noise.normal(0, 0.005, 32) for i in (1, 2)}}
    ).to_csv(tmp_path / "wt.csv", index=False)
    pd.DataFrame({"urea_M": mutant.x, "V38A": mutant.y}).to_csv(tmp_path / "mut.csv", index=False)
    out, picture = tmp_path / "c.csv", tmp_path / "c.svg"
    result = CliRunner().invoke(
        main,
        [
            "compare",
            *(str(tmp_path / f) for f in ("wt.csv", "mut.csv")),
            "--out",
            str(out),
            "--plot",
            str(picture),
        ],
    )
    assert (
        result.exit_code == 0
        and "Each less WT; kcal/mol" in result.output
        and "temperature_assumed" in result.output
    )
    assert (
        pd.read_csv(out)["dCm_M"].tolist() == pytest.approx([-0.7], abs=0.1) and picture.stat().st_size > 5000
    )
    book = tmp_path / "c.xlsx"
    files = [str(tmp_path / name) for name in ("wt.csv", "mut.csv")]
    CliRunner().invoke(main, ["compare", *files, "--out", str(book)])
    sheets = pd.read_excel(book, sheet_name=None)
    facts = dict(zip(sheets["comparison"]["what"], sheets["comparison"]["value"]))
    assert facts["reference"] == "WT" and facts["advice"] == sheets["results"]["advice"][0]
    assert facts["one m (kcal/mol/M)"] == sheets["results"]["one_m_kcal_per_mol_per_M"][0]
    assert 0.0 < facts["p of one m"] <= 1.0 and facts["one m is doubted where p is below"] == 0.05
    assert sheets["fits"]["points"].tolist() == [64, 32] and len(sheets["readings"]) == 96
    assert "level" in sheets["settings"]["setting"].tolist()
    assert "temperature_assumed" in sheets["warnings"]["code"].tolist()
    lone = CliRunner().invoke(main, ["compare", str(tmp_path / "mut.csv")])
    assert lone.exit_code == 2 and "two curves or more" in lone.output
