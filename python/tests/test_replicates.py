"""Replicates: fitted together with their pure error, or each alone; kept apart where they do not agree."""

from dataclasses import replace

import numpy as np
import pandas as pd
import pytest
from click.testing import CliRunner
from conftest import FKBP12, simulate

import zolt
from zolt.cli import main
from zolt.read import Curve


def replicates(*scales, noise=0.008, group="WT", **more):
    return [
        Curve(f"{group} {i}", x, scale * y, 25.0, replicate=float(i), group=group, **more)
        for i, scale in enumerate(scales, start=1)
        for x, y in [simulate(FKBP12, 20, noise=noise, seed=i)]
    ]


def test_replicates_are_one_fit_with_their_pure_error():
    other = Curve("V38A", *simulate([(4800.0, 3.3, 1.0)], 20, noise=0.008), 25.0)
    curves = replicates(1.0, 1.0, 1.0)
    together = zolt.pooled([curves[0], other, *curves[1:]])
    assert [curve.name for curve in together] == ["WT", "V38A"]
    fit, _ = zolt.fit_each(together)[0]
    assert fit.x.size == 60 and fit.part[:3].tolist() == ["1", "2", "3"]
    assert (fit.answer.record.pure_degrees, fit.answer.record.concentrations) == (40.0, 20)
    rows = np.array([curve.y for curve in curves])
    x, mean, sd, count = fit.means()
    assert x.tolist() == curves[0].x.tolist() and set(count) == {3}
    assert mean == pytest.approx(rows.mean(axis=0)) and sd == pytest.approx(rows.std(axis=0, ddof=1))
    assert fit.answer.record.pure_sse == pytest.approx(np.sum((rows - rows.mean(axis=0)) ** 2))
    row = fit.to_dict()
    assert row["replicate_sd"] == pytest.approx(np.sqrt(rows.var(axis=0, ddof=1).mean()))
    assert row["lack_of_fit_p"] == fit.answer.record.lack_p > 0.01
    lone = zolt.fit(curves[0].x, curves[0].y)
    assert fit.se["dG"][0] < lone.se["dG"][0] and np.isnan(lone.means()[2]).all()


@pytest.mark.parametrize(
    "scales, count, told",
    [((1.0, 1.01), 1, False), ((0.97, 1.03), 1, True), ((1.0, 1.3), 2, True), ((1.0, 1.0, 1.6), 3, True)],
)
def test_replicates_of_other_scale_are_not_averaged(scales, count, told):
    together = zolt.pooled([replace(c, y=c.y + 0.5 * scale) for c, scale in zip(replicates(*scales), scales)])
    assert len(together) == count
    warned = {"replicates_differ" in [c.code for c in fit.warnings] for fit, _ in zolt.fit_each(together)}
    assert warned == {told}


def test_replicates_of_another_midpoint_are_not_averaged():
    first, near, far = (
        Curve(f"WT {Cm}", *simulate([(5000.0, Cm, 1.0)], 24, noise=0.005), 25.0, group="WT")
        for Cm in (3.9, 3.95, 4.3)
    )
    assert len(zolt.pooled([first, near])) == 1 and len(zolt.pooled([first, far])) == 2


def test_what_belongs_to_other_conditions_stays_apart():
    warm = [Curve(c.name + " warm", c.x, c.y, 40.0, group="WT") for c in replicates(1.0, 1.0)]
    sd = np.full(20, 0.01)
    labelled = [
        Curve(c.name, c.x, c.y, 25.0, label=k, group=c.group, sd=sd)
        for k in (0, 5)
        for c in replicates(1.0, 1.0)
    ]
    together = zolt.pooled([*warm, *labelled])
    assert [(c.temperature, c.label, c.x.size) for c in together] == [
        (40.0, None, 40),
        (25.0, 0, 40),
        (25.0, 5, 40),
    ]
    assert len({c.name for c in together}) == 3 and together[1].sd.size == 40


def test_columns_called_alike_in_two_files_are_two_proteins(tmp_path):
    for name in ("wild_type", "mutant"):
        table = pd.DataFrame({"urea_M": replicates(1.0)[0].x})
        for i, curve in enumerate(replicates(1.0, 1.0), start=1):
            table[f"signal rep {i}"] = curve.y
        table.to_csv(tmp_path / f"{name}.csv", index=False)
    curves = [c for name in ("wild_type", "mutant") for c in zolt.read_curves(tmp_path / f"{name}.csv")]
    apart = zolt.pooled(curves)
    assert [c.x.size for c in apart] == [40, 40] and len({c.name for c in apart}) == 2
    assert [c.x.size for c in zolt.pooled(curves, across=True)] == [80]
    assert zolt.fit_many(curves, replicates="across", progress=False)["points"].tolist() == [80]


def test_one_name_in_two_files_is_one_protein_where_that_is_asked_for(tmp_path):
    first, second, third = (curve.y for curve in replicates(1.0, 1.0, 1.0))
    x = replicates(1.0)[0].x
    pd.DataFrame({"urea_M": x, "WT": first, "V38A": third}).to_csv(tmp_path / "one.csv", index=False)
    pd.DataFrame({"urea_M": x, "WT": second}).to_csv(tmp_path / "two.csv", index=False)
    asked = ["fit", str(tmp_path / "one.csv"), str(tmp_path / "two.csv"), "--out", str(tmp_path / "o.csv")]
    for how, names, points in (
        ("across", ["WT", "V38A"], [40, 20]),
        ("pooled", ["WT (one.csv)", "V38A", "WT (two.csv)"], [20, 20, 20]),
    ):
        assert CliRunner().invoke(main, [*asked, "--replicates", how]).exit_code == 0
        table = pd.read_csv(tmp_path / "o.csv")
        assert table["curve"].tolist() == names and table["points"].tolist() == points


def test_each_alone_with_mean_and_deviation(tmp_path):
    table = pd.DataFrame({"urea_M": replicates(1.0)[0].x})
    for i, curve in enumerate(replicates(1.0, 1.0, 1.0), start=1):
        table[f"WT rep {i}"] = curve.y
    table["V38A"] = simulate([(4800.0, 3.3, 1.0)], 20, noise=0.008)[1]
    table.to_csv(tmp_path / "t.csv", index=False)
    curves = zolt.read_curves(tmp_path / "t.csv")
    fits = [fit for fit, _ in zolt.fit_each(curves, states=2)]
    means = zolt.replicate_means(fits, "kJ")
    values = [fit.dG_in("kJ")[0] for fit in fits[:3]]
    assert means[["curve", "replicates", "fitted", "states"]].values.tolist() == [["WT", 3, 3, 2]]
    assert means["dG1_mean_kJ_per_mol"][0] == pytest.approx(np.mean(values))
    assert means["dG1_sd_kJ_per_mol"][0] == pytest.approx(np.std(values, ddof=1))
    each, pooled = (
        CliRunner().invoke(
            main,
            ["fit", str(tmp_path / "t.csv"), "--replicates", how, "--out", str(tmp_path / f"{how}.xlsx")],
        )
        for how in ("each", "pooled")
    )
    sheets = pd.read_excel(tmp_path / "each.xlsx", sheet_name=None)
    assert sheets["replicates"]["Cm1_mean_M"][0] == pytest.approx(np.mean([fit.Cm[0] for fit in fits[:3]]))
    assert sheets["results"]["replicate_of"].tolist()[:3] == ["WT"] * 3
    assert "4 of 4 curves" in each.output and "Replicates, each fitted alone" in each.output
    assert "2 of 2 curves" in pooled.output and "each fitted alone" not in pooled.output
    assert len(zolt.fit_many(curves, progress=False)) == 2


def test_a_reading_is_left_out_by_its_well():
    x, y = simulate(FKBP12, 24, noise=0.005)
    curves = [
        Curve(
            "s",
            x,
            y,
            25.0,
            replicate=i,
            group="g",
            details={"well": " ".join(f"{row}{k}" for k in range(1, 25))},
        )
        for i, row in enumerate("AB")
    ]
    fit, _ = zolt.fit_each(zolt.pooled(curves), exclude="B3")[0]
    assert fit.kept.size == 48 and np.flatnonzero(~fit.kept).tolist() == [5]
    assert fit.details["well"].split()[5] == "B3"
    alone, _ = zolt.fit_each(zolt.pooled(replicates(1.0, 1.0)), exclude="WT 2@#1,7..")[0]
    assert {alone.part[i] for i in np.flatnonzero(~alone.kept)} == {"2"} and not alone.kept[1]
    assert np.count_nonzero(~alone.kept) == 4
