"""What SECURITY.md promises of the command: no network, files are data, and stay where they are told."""

import json
import re
import subprocess
import sys

import openpyxl
import pandas as pd
import pytest
from conftest import FKBP12, simulate

# Runs the command and writes down what it asks the system for, by the audit events of Python.
WATCHED = """
import json, os, sys
seen = []

def hook(event, arguments):
    if event.startswith(("socket.", "subprocess.", "os.system", "os.exec", "os.posix_spawn", "pickle.")):
        seen.append(event)
    elif event == "open" and isinstance(arguments[0], (str, bytes, os.PathLike)):
        path, mode, flags = arguments
        if flags & (os.O_WRONLY | os.O_RDWR | os.O_CREAT) and os.fspath(path) != os.devnull:
            seen.append("write " + os.path.dirname(os.path.realpath(os.fspath(path))))
    elif event in ("os.rename", "os.remove", "os.mkdir"):
        seen.append("write " + os.path.dirname(os.path.realpath(arguments[0])))

from zolt.cli import main
from matplotlib import font_manager  # lists the fonts of the machine when it is first used
sys.addaudithook(hook)
try:
    main(json.loads(sys.argv[1]))
except SystemExit as end:
    print("SEEN", json.dumps([end.code, sorted(set(seen))]))
"""
MARKUP = ["<img src=x onerror=alert(1)>", "</b><script>alert(1)</script>"]
HOSTILE = ["../../up", "/etc/absolute", *MARKUP, "=1+1", "@SUM(1)"]


def watched(*arguments):
    command = [sys.executable, "-c", WATCHED, json.dumps(list(map(str, arguments)))]
    done = subprocess.run(command, capture_output=True, text=True)
    line = next((line for line in done.stdout.splitlines() if line.startswith("SEEN ")), None)
    assert line is not None, done.stderr
    return json.loads(line[5:])


@pytest.fixture
def hostile(tmp_path):
    """A file whose name and curves try to be markup, formulas, and paths."""
    folder = tmp_path / "in"
    folder.mkdir()
    x, y = simulate(FKBP12, 24, noise=0.006)
    path = folder / "=<b>&x.csv"
    pd.DataFrame({"urea_M": x, **{name: y + k for k, name in enumerate(HOSTILE)}}).to_csv(path, index=False)
    (tmp_path / "out").mkdir()
    return path


def test_a_run_with_everything_asks_for_no_network_and_writes_where_it_is_told(hostile, tmp_path):
    out = tmp_path / "out"
    status, seen = watched(
        "fit", hostile, "--intervals", "--out", out / "o.csv", "--readings", out / "r.csv",
        "--curves", out / "c.csv", "--wide", "--report", out / "r.html", "--plots", out / "p",
        "--overlay", out / "o.svg",
        "--denaturant", "<i>urea</i>", "--quiet",
    )  # fmt: skip
    assert status == 0 and set(seen) <= {f"write {out}", f"write {out / 'p'}"} and len(seen) == 2
    assert len(list((out / "p").iterdir())) == len(HOSTILE)
    page = (out / "r.html").read_text()
    assert not [markup for markup in ("<img src=x", "<script", "<b>&x", "<i>urea") if markup in page]
    for name in ("o.csv", "r.csv", "c.csv"):
        cells = pd.read_csv(out / name, header=None, dtype=str).fillna("").to_numpy().ravel()
        assert not [cell for cell in cells if re.match(r"[=+@]|-\D", cell)]
    assert watched("fit", hostile)[1] == []


def test_a_session_and_a_workbook_of_others_are_data(hostile, tmp_path):
    out = tmp_path / "out"
    status, seen = watched("fit", hostile, "--out", out / "s.json", "--quiet")
    assert (status, seen) == (0, [f"write {out}"])
    status, seen = watched("rerun", out / "s.json", "--out", out / "s.xlsx")
    assert (status, seen) == (0, [f"write {out}"])
    book = openpyxl.load_workbook(out / "s.xlsx")
    cells = [cell for sheet in book for row in sheet.iter_rows() for cell in row]
    assert "f" not in {cell.data_type for cell in cells}
