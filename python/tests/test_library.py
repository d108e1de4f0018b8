"""The table of exports, the records and the search for the library."""

import re
import subprocess
import sys
from pathlib import Path

import numpy as np
import pytest
from conftest import simulate

from zolt import _library, engine
from zolt._library import EXPORTS, Record, library

HEADER = Path(__file__).resolve().parents[2] / "include" / "zolt_fitting_engine.h"


def _plain(argument):
    """pointer, int or double, the way the C prototype passes an argument."""
    if "*" in argument:
        return "pointer"
    return "int" if "int32_t" in argument else "double"


def test_the_table_agrees_with_the_header():
    text = re.sub(r"\s+", " ", re.sub(r"/\*.*?\*/", "", HEADER.read_text(), flags=re.S))
    prototypes = re.findall(r"ZOLTA_API [\w*]+ (ZOLTA_\w+)\(([^)]*)\)", text)
    width = {"array": 2, "flags": 2}
    spelled = {
        name: [
            kind if kind in ("int", "double") else "pointer"
            for kind in kinds.split()
            for _ in range(width.get(kind, 1))
        ]
        for name, kinds in EXPORTS.items()
    }
    assert {name: [_plain(a) for a in args.split(",")] for name, args in prototypes} == spelled


@pytest.mark.parametrize("dtype", [np.float64, np.int32])
def test_a_record_shows_its_row_and_releases_itself(dtype):
    row = np.arange(5, dtype=dtype)
    for _ in range(1000):
        with Record(row) as record:
            assert record.values().tolist() == [0, 1, 2, 3, 4]
    assert row.tolist() == [0, 1, 2, 3, 4]


def test_a_record_that_the_engine_had_to_grow_is_read_back():
    x, y = simulate([(5000.0, 3.0, 1.0)])
    result = engine.analyse(x, y, 25.0, 2)
    with Record.empty() as grid, Record(np.full(3, -7.0)) as curve:
        library().call("ZOLTA_ChemDenatFluorescenceFitCurve", x, result, 50, grid, curve)
        assert grid.values().size == curve.values().size == 50
        assert curve._row.tolist() == [-7.0] * 3
        assert np.array_equal(curve.values(), engine.fitted_curve("signal", x, result, 50)[1])


def test_storage_of_the_wrong_kind_is_refused():
    with pytest.raises(TypeError, match="float64"):
        library().call("ZOLTA_ChemDenatModelPicker", np.arange(9))


@pytest.mark.parametrize(
    "setting, said",
    [("ZOLT_LIBRARY=/nowhere/lib.so", "ZOLT_LIBRARY names /nowhere/lib.so"),
     ("ZOLT_LIBRARY=", "cmake --preset release")],
)  # fmt: skip
def test_a_missing_library_is_told_in_one_sentence(setting, said, tmp_path):
    package = Path(_library.__file__).parent
    (tmp_path / "a" / "b").mkdir(parents=True)
    (tmp_path / "a" / "b" / "zolt").mkdir()
    for name in ("_library.py",):
        (tmp_path / "a" / "b" / "zolt" / name).write_text((package / name).read_text())
    code = "import importlib; importlib.import_module('zolt._library').library()"
    name, value = setting.split("=")
    run = subprocess.run(
        [sys.executable, "-c", code], capture_output=True, text=True, cwd="/",
        env={name: value, "PYTHONPATH": str(tmp_path / "a" / "b"), "PATH": "/usr/bin:/bin"},
    )  # fmt: skip
    last = run.stderr.strip().splitlines()[-1]
    assert run.returncode == 1 and last.startswith("ImportError") and said in last


def test_auxiliary_rows_of_the_table_can_be_called():
    y = np.arange(1.0, 20.0)
    assert np.allclose(engine.normalise(y, 2.0, 10.0), 5.0 * y)
    assert np.array_equal(engine.normalise(y, 0.0, 10.0), y)
    assert np.array_equal(engine.smooth_emission(y, 0.5), y)
    assert np.allclose(engine.smooth_emission(y, 3.0)[3:-3], y[3:-3])


def test_the_library_is_looked_for_where_it_is_told_then_installed_then_built(tmp_path, monkeypatch):
    package, name = tmp_path / "python" / "zolt", _library.file_name("ZOLTInference")
    monkeypatch.setattr(_library, "__file__", str(package / "_library.py"))
    source = Path(library().path).with_name(name)
    places = [tmp_path / "build" / "release", package / "lib", tmp_path / "told"]
    monkeypatch.delenv("ZOLT_LIBRARY", raising=False)
    for place in places:
        place.mkdir(parents=True)
        (place / name).symlink_to(source)
        if place == places[-1]:
            monkeypatch.setenv("ZOLT_LIBRARY", str(place / "engine.so"))  # the other one lies beside it
        assert _library.open_library("ZOLTInference", "ZOLT_INFERENCE_LIBRARY")[1] == str(place / name)
