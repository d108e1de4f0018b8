"""What is handed over: files that open elsewhere, written whole and in order, or a sentence why not."""

import os
import re
import resource
import subprocess
import sys
from html.parser import HTMLParser
from types import SimpleNamespace

import click
import numpy as np
import openpyxl
import pandas as pd
import pytest
from conftest import FKBP12, THREE, simulate

import zolt
from zolt import sheets
from zolt.cli.cluster import _check_workers
from zolt.methods import methods
from zolt.report import write_report
from zolt.writing import file_names, write_table

NASTY = ["=1+1", "+Ca", "-Ca", "@home", "<script>alert(1)</script>", "n" * 420, "$a$ & _b"]


@pytest.fixture
def table(tmp_path):
    x, y = simulate(FKBP12, 24, noise=0.006)
    columns = {name: y + k for k, name in enumerate(NASTY)}
    noise = np.random.default_rng(3).normal(0.0, 1.0, 24)
    path = tmp_path / "curves.csv"
    pd.DataFrame({"urea_M": x, **columns, "noise": noise}).to_csv(path, index=False)
    return path


def zolt_command(*arguments, **options):
    return subprocess.run(
        [sys.executable, "-m", "zolt", *map(str, arguments)], capture_output=True, text=True, **options
    )  # fmt: skip


def test_a_workbook_holds_everything_and_no_formula(run, table, tmp_path):
    assert run("fit", table, "--intervals", "--out", tmp_path / "o.xlsx").exit_code == 0
    book = openpyxl.load_workbook(tmp_path / "o.xlsx")
    assert book.sheetnames == [
        "results", "readings", "curves", "fraction folded", "comparison of states", "warnings", "settings",
    ]  # fmt: skip
    cells = [cell for sheet in book for row in sheet.iter_rows() for cell in row]
    assert {cell.data_type for cell in cells} == {"s", "n", "b"}  # no formulas, no errors
    assert not {cell.value for cell in cells} & {"inf", "-inf", "nan", "NaN", "None"}
    frames = pd.read_excel(tmp_path / "o.xlsx", sheet_name=None)
    assert frames["results"]["curve"][:4].tolist() == NASTY[:4] and len(frames["results"]) == 8
    assert frames["curves"].shape == (200, 8) and frames["curves"].columns[1] == "=1+1"
    readings = frames["readings"]
    assert len(readings) == 8 * 24
    good = readings[readings["curve"] == "+Ca"]
    assert (good["signal"] - good["fitted"]).to_numpy() == pytest.approx(good["residual"].to_numpy())
    assert good["fraction_folded_fit"].is_monotonic_decreasing
    assert good["fraction_folded"].to_numpy() == pytest.approx(
        good["fraction_folded_fit"].to_numpy(), abs=0.05
    )
    assert readings[readings["curve"] == "noise"]["fitted"].isna().all()
    assert {"states", "weights", "read"} <= set(frames["settings"]["setting"])
    assert "temperature_assumed" in set(frames["warnings"]["code"])
    assert frames["comparison of states"]["model"].value_counts()["two states"] == 8


def test_open_intervals_and_no_fit_are_blanks_in_every_format(tmp_path):
    table = pd.DataFrame(
        {"curve": ["a", "b"], "dG1_upper": [np.inf, -np.inf], "code": pd.array([1, None], "Int64")}
    )
    for suffix, read in ((".csv", pd.read_csv), (".xlsx", pd.read_excel), (".json", pd.read_json)):
        write_table(table, tmp_path / f"t{suffix}")
        assert read(tmp_path / f"t{suffix}")["dG1_upper"].isna().all()
    assert "inf" not in (tmp_path / "t.csv").read_text()


def test_a_wide_table_has_a_column_per_curve_on_one_axis(run, table, tmp_path):
    fits = [
        zolt.fit(*simulate(FKBP12, 24, reach=reach), name=name)
        for name, reach in (("short", 6.0), ("long", 8.0))
    ]
    wide = sheets.wide_curves(fits, n=81)
    assert wide.columns.tolist() == ["concentration_M", "short", "long"] and wide["long"].notna().all()
    assert wide["concentration_M"][wide["short"].notna()].max() == pytest.approx(6.0)
    assert wide["short"][20] == pytest.approx(zolt.model.signal(np.array([2.0]), fits[0].result)[0])
    folded = sheets.wide_curves(fits, fraction=True)
    assert folded["long"].iloc[[0, -1]].tolist() == pytest.approx([1.0, 0.0], abs=0.01)
    assert sheets.wide_curves([]).columns.tolist() == ["concentration_M"]
    run("fit", table, "--curves", tmp_path / "w.csv", "--wide", "--readings", tmp_path / "r.xlsx", "--quiet")
    written = pd.read_csv(tmp_path / "w.csv")
    assert written.shape == (200, 8) and len(pd.read_excel(tmp_path / "r.xlsx")) == 192
    assert written.columns[1:5].tolist() == [f"'{name}" for name in NASTY[:4]]  # no formulas there either


@pytest.mark.parametrize(
    "option, place, said",
    [
        ("--out", "none/o.csv", "there is no folder"),
        ("--report", "folder.html", "that is a folder"),
        ("--out", "curves.csv", "this file is read"),
        ("--readings", "twice.csv", "is written by --out"),
        ("--curves", "x" * 300 + ".csv", "too long"),
        ("--plots", "curves.csv/p", "name a folder"),
        ("--overlay", "o.bmp", "must end in .png, .svg, .pdf"),
    ],
)
def test_places_are_looked_at_before_the_work(run, table, tmp_path, option, place, said):
    (tmp_path / "folder.html").mkdir()
    result = run("fit", table, "--out", tmp_path / "twice.csv", option, tmp_path / place)
    assert result.exit_code == 2 and said in result.stderr and "read 192" not in result.stderr


def test_what_no_sheet_holds_is_refused_before_the_work(run, table, tmp_path, monkeypatch):
    for limits, options, size in (
        ((1000, 99), ["--curves", tmp_path / "c.xlsx"], "1600 rows of 1 columns"),
        ((1000, 8), ["--curves", tmp_path / "c.xlsx", "--wide"], "200 rows of 9 columns"),
        ((192, 99), ["--out", tmp_path / "o.xlsx"], "192 rows of 9 columns"),
        ((192, 99), ["--readings", tmp_path / "r.xlsx"], "192 rows of 1 columns"),
    ):
        monkeypatch.setattr("zolt.workbook._MOST_ROWS", limits[0])
        monkeypatch.setattr("zolt.workbook._MOST_COLUMNS", limits[1])
        result = run("fit", table, *options)
        assert result.exit_code == 2 and f"has {size}, more than a sheet holds; write .csv" in result.stderr
        assert "curves fitted" not in result.stdout


def test_a_closed_pipe_and_a_full_screen_lose_nothing(table, tmp_path):
    for k, screen in enumerate(("/dev/full", None)):
        out = tmp_path / f"{k}.csv"
        if screen:
            with open(screen, "w") as full:
                arguments = [sys.executable, "-m", "zolt", "fit", table, "--out", out]
                done = subprocess.run(arguments, stdout=full, stderr=subprocess.PIPE, text=True)
            assert done.returncode == 1 and "Error: no space left on device." in done.stderr
        else:
            command = f"{sys.executable} -m zolt fit {table} --out {out} | head -c 10"
            done = subprocess.run(command, shell=True, capture_output=True, text=True)
        assert "Traceback" not in done.stderr and len(pd.read_csv(out)) == 8


def test_a_full_disk_keeps_the_older_file_and_costs_that_file_alone(table, tmp_path):
    for suffix in (".csv", ".xlsx", ".json"):
        (tmp_path / f"o{suffix}").write_text("older")
    limit = lambda: resource.setrlimit(resource.RLIMIT_FSIZE, (3000, 3000))  # noqa: E731
    for suffix in (".csv", ".xlsx", ".json"):
        done = zolt_command("fit", table, "--out", tmp_path / f"o{suffix}", preexec_fn=limit)
        assert done.returncode == 2 and "not written, file too large." in done.stderr
        assert "Traceback" not in done.stderr and "8 curves fitted" in done.stdout
        assert (tmp_path / f"o{suffix}").read_text() == "older"
        lost = "o.csv.partial: not written, file too large; the run goes on"
        assert (lost in done.stderr) == (suffix == ".csv")
    assert not [name for name in os.listdir(tmp_path) if name.startswith(".")]


def test_what_no_curve_can_have_is_passed_over(run, table, tmp_path):
    pd.DataFrame({"x": range(20), "flat": [1.0, 1.01] * 10}).to_csv(tmp_path / "f.csv", index=False)
    more = ["--plots", tmp_path / "p", "--draw", "fit,energy,profile", "--overlay", tmp_path / "o.svg"]
    for suffix in ("csv", "xlsx", "json"):
        result = run("fit", tmp_path / "f.csv", "--intervals", *more, "--out", tmp_path / f"o.{suffix}",
                     "--report", tmp_path / "r.html", "--unit", "M")  # fmt: skip
        assert result.exit_code == 0 and "0 of 1 curves fitted" in result.stdout
    assert "--draw profile: no picture of flat, for want of a fit by least squares" in result.stderr
    assert [path.name for path in (tmp_path / "p").iterdir()] == ["f_flat.png"]
    run("fit", table, *more, "--format", "svg", "--width", "85", "--quiet")
    drawn = sorted(path.stem for path in (tmp_path / "p").glob("curves*.svg"))
    assert len(drawn) == 8 + 7 + 7 and sum(name.endswith("_profile") for name in drawn) == 7


@pytest.mark.parametrize("command, rows", [("series", 3), ("compare", 2)])
def test_other_commands_write_and_draw_in_the_same_way(run, tmp_path, command, rows):
    lines = ["label,x,y"]
    for label in (1, 4, 9):
        x, y = simulate([(4000.0 + 800.0 * label**0.5, 2.5 + 0.3 * label**0.5, 1.0)], noise=0.004, seed=label)
        lines += [f"{label},{a},{b}" for a, b in zip(x, y)]
    source = tmp_path / "s.csv"
    source.write_text("\n".join(lines))
    drawn = tmp_path / "d.svg"
    asked = ["--plot", drawn, "--width", 120, "--font", "DejaVu Serif", "--out", tmp_path / "o.xlsx"]
    assert run(command, source, *asked).exit_code == 0
    assert "DejaVu Serif" in drawn.read_text() and len(pd.read_excel(tmp_path / "o.xlsx")) == rows
    sheets = pd.read_excel(tmp_path / "o.xlsx", sheet_name=None)
    own = {"series": {"labels", "trend"}, "compare": {"comparison", "fits"}}[command]
    assert set(sheets) == {"results", "readings", "curves", "fraction folded", "warnings", "settings"} | own
    refused = run(command, source, "--out", source)
    assert refused.exit_code == 2 and "this file is read" in refused.stderr and len(source.read_text()) > 1000


def test_names_of_files_are_short_and_unlike():
    fits = [zolt.fit([], [], name=name) for name in ("é" * 420, "é" * 420, "A/B", "a B", "A?B")]
    names = file_names(fits, "_energy")
    assert len({name.casefold() for name in names}) == 5
    assert max(len(os.fsencode(name)) for name in names) < 130 and not set("/? ") & set("".join(names))


class Page(HTMLParser):
    """Headings in order, and what a page would fetch or run."""

    def __init__(self, text):
        super().__init__()
        self.heads, self.reached, self._tag, self.captions = [], [], "", []
        self.feed(text)

    def handle_starttag(self, tag, attrs):
        self._tag = tag
        self.reached += [tag] if tag in ("script", "link", "iframe") else []
        for name, value in attrs:
            if name in ("src", "href") and not value.startswith(("data:image/png;base64,", "#")):
                self.reached.append(value)

    def handle_data(self, text):
        if self._tag == "h2":
            self.heads.append(text)
        self.captions += [text] if self._tag == "b" else []
        self._tag = ""


def test_the_report_has_warnings_first_and_the_order_of_the_input(run, table, tmp_path):
    (tmp_path / "bad.csv").write_text("nothing <b>\n")
    run("fit", tmp_path / "bad.csv", table, "--report", tmp_path / "r.html", "--intervals")
    text = (tmp_path / "r.html").read_text()
    page = Page(text)
    assert page.heads == ["Input that could not be used", "Warnings", "Methods", "Results", "Curves",
                          "What was read", "Logbook"]  # fmt: skip
    assert page.reached == [] and "<script>" not in text
    assert [name for name in page.captions if name in NASTY] == NASTY[:5] + NASTY[6:]
    rows = re.findall(r'<td><a href="#curve-(\d)">', text)
    assert rows == sorted(rows) and len(rows) == 8
    assert "read 192 readings" in text and "Evidence for the states" in text and "temperature_assumed" in text


def test_methods_say_what_was_done_and_nothing_else():
    x, y = simulate(FKBP12, 32, noise=0.01)
    plain = zolt.fit(x, y, 15.0, denaturant="GdmCl")
    text = methods([plain], [plain.intervals(0.9)])
    for part in ("guanidinium chloride", "at 15 °C.", "a two-state model,", "linear baselines", "F tests",
                 "equal weight", "90 % confidence", "profile likelihood", zolt.__version__):  # fmt: skip
        assert part in text
    y[3] += 1.0
    other = zolt.fit(x, y, states=2, sd=np.full(32, 0.01), m=1434.0, drop_outliers=True,
                     baselines=dict(native="flat", denatured=(1.0, -0.003)))  # fmt: skip
    text = methods([other])
    for part in ("a constant native baseline and a given (1 - 0.003 [denaturant]) denatured",
                 "inverse squares", "m at 1434 cal/mol/M", "readings 1 were left out",
                 "standard errors of the fit.", "at 25 °C (assumed"):  # fmt: skip
        assert part in text
    assert not any(part in text for part in ("F tests", "confidence", "fitted together", "One m"))
    together = [fit for fit, _ in zolt.fit_each([(x, y), (x, 1.1 * y)], m="shared", states=2)]
    assert "One m was fitted to 2 curves together." in methods(together)
    three = zolt.fit(*simulate(THREE, 48, noise=0.004))
    assert "two-state model (1 of 2 curves) and a three-state model (1 of 2 curves)" in methods(
        [plain, three]
    )
    assert methods([zolt.fit(x, y, midpoint_only=True)]) == methods([]) == ""


def test_a_report_of_no_fit_at_all(tmp_path):
    write_report(tmp_path / "r.html", [zolt.fit([], [], name="none")])
    assert Page((tmp_path / "r.html").read_text()).heads == ["Warnings", "Results", "Curves", "Logbook"]


def test_the_help_of_fit_is_one_screen_with_every_option_in_a_group(run):
    from zolt.cli import main

    lines = run("fit", "--help").output.splitlines()
    assert len(lines) <= 45 and max(map(len, lines)) <= 80
    for option in main.commands["fit"].params:
        if isinstance(option, click.Option):
            assert any(re.search(rf"{option.opts[0]}\b", line) for line in lines)
    groups = [line.split()[0] for line in lines if re.match(r"[A-Z]\w+ +-", line)]
    assert groups == ["Reading", "Model", "Errors", "Results", "Figures", "Machine", "Other"]


@pytest.mark.parametrize(
    "versions, said",
    [
        ({}, "it has no workers"),
        ({"a": None, "b": zolt.__version__}, "1 of 2 workers have no zolt; install"),
        ({"a": "0.1", "b": None}, "2 of 2 workers have no zolt, zolt 0.1; install"),
        (ImportError("no library"), "does not load on its workers (no library)"),
    ],
)
def test_workers_without_the_package_are_named_before_the_work(versions, said):
    def run(*_):
        if isinstance(versions, Exception):
            raise versions
        return versions

    with pytest.raises(click.UsageError) as refused:
        _check_workers(SimpleNamespace(run=run), "tcp://here:1")
    assert said in refused.value.message


def test_a_cluster_is_asked_before_anything_is_read(run, table):
    from distributed import LocalCluster

    with LocalCluster(n_workers=0, processes=False, dashboard_address=None) as empty:
        result = run("fit", table, "--scheduler", empty.scheduler_address)
        assert (
            result.exit_code == 2 and "it has no workers" in result.stderr and "read 192" not in result.stderr
        )
    with LocalCluster(n_workers=1, processes=False, dashboard_address=None) as cluster:
        result = run("fit", table, "--scheduler", cluster.scheduler_address)
        assert result.exit_code == 0 and "8 curves fitted" in result.stdout
