"""The command: what is printed and written, and the exit status."""

import json

import pandas as pd
import pytest
from conftest import FKBP12, THREE, simulate

from zolt import __version__


@pytest.fixture
def table(tmp_path):
    x, two = simulate(FKBP12, 48, noise=0.005)
    path = tmp_path / "curves.csv"
    pd.DataFrame({"urea_M": x, "fkbp": two, "three": simulate(THREE, 48)[1]}).to_csv(path, index=False)
    return path


def test_fit_writes_everything_that_was_asked_for(run, table, tmp_path):
    outputs = {s: tmp_path / f"out{s}" for s in (".csv", ".xlsx", ".json", ".html")}
    for suffix in (".csv", ".xlsx", ".json"):
        more = ["--plots", tmp_path / "p", "--format", "svg", "--report", outputs[".html"], "--intervals",
                "--curves", tmp_path / "fitted.csv", "--rounds", 40] if suffix == ".csv" else []  # fmt: skip
        result = run("fit", table, "--units", "kJ", "--out", outputs[suffix], *more)
        assert result.exit_code == 0 and "2 of 2 curves fitted" in result.stdout
    frame = pd.read_csv(outputs[".csv"])
    assert frame["states"].tolist() == [2, 3] and frame["Cm1_M"][0] == pytest.approx(3.867, abs=0.1)
    assert frame["dG1_kJ_per_mol"][0] == pytest.approx(23.2, rel=0.15)
    assert frame["Cm2_lower_M"][1] <= frame["Cm2_upper_M"][1]
    assert pd.read_excel(outputs[".xlsx"])["Cm1_M"].tolist() == pytest.approx(frame["Cm1_M"].tolist())
    assert json.loads(outputs[".json"].read_text())["curves"][1]["name"] == "three"
    assert {path.name for path in (tmp_path / "p").iterdir()} == {"curves_fkbp.svg", "curves_three.svg"}
    assert pd.read_csv(tmp_path / "fitted.csv").groupby("curve").size().tolist() == [200, 200]
    page = outputs[".html"].read_text()
    assert page.count("data:image/png") == 2 and "http" not in page and __version__ in page


BAD_FILES = {
    "empty.csv": b"",
    "one.csv": b"x\n1\n",
    "text.csv": b"x,a\n0,one\n",
    "binary.csv": bytes(range(256)),
}


def test_bad_files_get_a_sentence_each_and_the_others_are_fitted(run, table, tmp_path):
    for name, content in BAD_FILES.items():
        (tmp_path / name).write_bytes(content)
    bad = (tmp_path / name for name in BAD_FILES)
    result = run("fit", *bad, table, "--quiet", "--out", tmp_path / "o.csv")
    assert result.exit_code == 2
    sentences = [line for line in result.stderr.splitlines() if line.startswith("zolt: ")]
    assert [name in line for name, line in zip(BAD_FILES, sentences, strict=True)] == [True] * 4
    assert pd.read_csv(tmp_path / "o.csv")["status"].tolist() == ["fitted", "fitted"]


def test_a_failed_fit_is_a_result(run, tmp_path):
    x, y = simulate(FKBP12, 400)
    pd.DataFrame({"x": x, "long": y, "short": [*y[:5], *[None] * 395], "blank": None}).to_csv(
        tmp_path / "f.csv", index=False
    )
    result = run("fit", tmp_path / "f.csv")
    assert result.exit_code == 0 and "0 of 3 curves fitted" in result.stdout
    assert "400 readings; the engine takes at most 384" in result.stdout
    assert "5 readings" in result.stdout and "0 readings" in result.stdout


def test_plate_report_has_a_map(run, tmp_path):
    from test_read import write_plate

    x, y = simulate(FKBP12, 24)
    matrix = [["", *range(1, 13)]]
    flat = [*y, *y, *y, *y]
    matrix += [["ABCDEFGH"[r], *flat[12 * r : 12 * r + 12]] for r in range(8)]
    wells = [["ABCDEFGH"[i // 12] + str(i % 12 + 1), f"s{i // 24}", x[i % 24], "", ""] for i in range(96)]
    plate, layout = write_plate(tmp_path, wells)
    pd.DataFrame(matrix).to_csv(plate, index=False, header=False)
    result = run("fit", plate, "--layout", layout, "--report", tmp_path / "r.html")
    assert result.exit_code == 0 and "4 of 4 curves fitted" in result.stdout
    assert "<h2>Plate</h2>" in (tmp_path / "r.html").read_text()


def test_series_states_smooth_and_version(run, table, tmp_path):
    lines = ["label,x,y,replicate"]
    for label in (1, 3, 9):
        dG = 4000.0 + 800.0 * label**0.5
        for a, b in zip(*simulate([(dG, dG / 1500.0, 1.0)])):
            lines.append(f"{label},{a},{b},1")
    (tmp_path / "s.csv").write_text("\n".join(lines))
    for form in ("trend", "aggregation"):
        picture = tmp_path / f"{form}.svg"
        result = run("series", tmp_path / "s.csv", "--form", form, "--plot", picture)
        assert result.exit_code == 0 and "dG changes by +" in result.stdout and picture.stat().st_size > 5000
    for options, said in (
        ((), "give a column or a row 'label', or the labels of all 2 curves"),
        (("--labels", "1;2"), "--labels takes numbers with commas between them, as 1,2,5; '1;2' is none; the 2 curves"),
        (("--labels", "1"), "--labels has 1 numbers and needs one for every curve; the 2 curves are fkbp, three."),
        (("--labels", "1,2", "--exclude", "3"), "--exclude 3: there is no such curve"),
    ):
        refused = run("series", table, *options)
        assert refused.exit_code == 2 and said in refused.stderr
    assert run("states", table).stdout.split()[-6:] == ["fkbp", "48", "2", "three", "48", "3"]
    smooth = run("smooth", table, "--width", "0.5").stdout.splitlines()
    assert smooth[0] == "curve,x,y,smoothed" and len(smooth) == 97
    assert __version__ in run("--version").stdout


def test_what_was_read_is_said_and_kept(run, tmp_path):
    x, y = simulate(FKBP12, 20, noise=0.004)
    for name in ("one", "two"):
        frame = pd.DataFrame({"conc": x, "Time (s)": range(20), "WT": y})
        frame.to_csv(tmp_path / f"{name}.csv", index=False)
    files = tmp_path / "one.csv", tmp_path / "two.csv"
    result = run("fit", *files, "--denaturant", "guanidinium chloride", "--out", tmp_path / "o.csv",
                 "--report", tmp_path / "r.html")  # fmt: skip
    lines = result.stderr.splitlines()
    assert lines[0] == "one.csv: read 20 readings of 1 curve, 0 to 8 M GdmCl (unit assumed), 25 °C assumed"
    assert "  column 'Time (s)' left out: time is no signal" in lines
    assert "  the readings of 'WT (two.csv)' are those of 'WT (one.csv)'" in lines
    table = pd.read_csv(tmp_path / "o.csv")
    assert table["curve"].tolist() == ["WT (one.csv)", "WT (two.csv)"]
    assert set(table["temperature_from"]) == {"assumed"} and set(table["denaturant"]) == {"GdmCl"}
    assert "25 °C assumed" in (tmp_path / "r.html").read_text()
    warm = run("fit", *files, "--temperature", "37", "--unit", "M", "--out", tmp_path / "w.csv")
    assert "0 to 8 M, 37 °C as told" in warm.stderr
    assert set(pd.read_csv(tmp_path / "w.csv")["temperature_from"]) == {"given"}


def test_reading_options_reach_the_reader(run, tmp_path):
    rows = "".join(f'5;{i};"1,{i:03}";"2,{i:03}"\n' for i in range(9))
    (tmp_path / "f.csv").write_text("a line\nfoo;dose;WT;V38A\n" + rows)
    options = ["--x", "dose", "--columns", "WT", "--skip-rows", 1, "--decimal", ",", "--unit", "% of 10 M"]
    result = run("states", tmp_path / "f.csv", *options)
    assert result.stdout.split()[-3:-1] == ["WT", "9"] and "0 to 0.8 M" in result.stderr
    assert "may be a decimal fraction or thousands" in run("states", tmp_path / "f.csv", *options[:6]).stderr
