"""Runs that are stopped, resumed, run twice, or robbed of their workers: nothing that was done is lost."""

import json
import os
import signal
import subprocess
import sys
import time
from dataclasses import replace
from types import SimpleNamespace

import pandas as pd
import pytest
from conftest import FKBP12, simulate
from test_batch import mixed_curves

import zolt
from zolt import kept, turns
from zolt.kept import KeptRows, keys_of
from zolt.read import Curve, Note
from zolt.settings import settings_of
from zolt.turns import ClusterLost, in_turn
from zolt.writing import CannotWrite


def write_curves(path, count, **columns):
    x, _ = simulate(FKBP12, 24)
    curves = {f"c{i}": simulate(FKBP12, 24, noise=0.01, seed=i)[1] for i in range(count)}
    pd.DataFrame({"urea_M": x, **curves, **columns}).to_csv(path, index=False)
    return path


@pytest.mark.parametrize(
    "how, status, last",
    [
        (signal.SIGINT, 130, "zolt: interrupted; {} of 100 curves were done and are in {}."),
        (signal.SIGKILL, -signal.SIGKILL, ""),
    ],
)
def test_a_stopped_run_goes_on_where_it_was(run, tmp_path, how, status, last):
    table, out = write_curves(tmp_path / "t.csv", 100), tmp_path / "o.csv"
    command = ["fit", table, "--intervals", "--method", "bootstrap", "--rounds", 150, "--quiet"]
    stopped = subprocess.Popen(
        [sys.executable, "-m", "zolt", *map(str, command), "--out", out, "--workers", "1"],
        stderr=subprocess.PIPE, text=True,
    )  # fmt: skip
    beside = tmp_path / "o.csv.partial"
    while stopped.poll() is None and not (beside.exists() and beside.read_bytes().count(b"\n") > 20):
        time.sleep(0.05)
    stopped.send_signal(how)
    said = stopped.communicate()[1]
    assert stopped.returncode == status and not out.exists() and "Traceback" not in said
    done = beside.read_bytes().count(b"\n")
    assert last.format(done, beside) in said
    with open(beside, "ab") as file:
        file.write(b'["cut off", {"cur')
    again = run(*command, "--out", out, "--resume")
    assert again.exit_code == 0 and f"{done} of 100 curves were done before" in again.stderr
    assert run(*command, "--out", tmp_path / "whole.csv").exit_code == 0
    assert out.read_bytes() == (tmp_path / "whole.csv").read_bytes()
    assert sorted(os.listdir(tmp_path)) == ["o.csv", "t.csv", "whole.csv"]


def test_rows_are_taken_over_for_the_same_readings_and_settings_only():
    x, y = simulate(FKBP12, 24)
    curve = Curve("c", x, y, details={"file": "a.csv"})
    settings = settings_of(intervals={"method": "profile"})

    def key(curve=curve, settings=settings, units="kcal"):
        return next(keys_of([curve], settings, units))

    assert key() == key(replace(curve, x=curve.x.copy(), details=dict(curve.details)))
    others = [
        key(replace(curve, y=curve.y + 1e-12)), key(replace(curve, sd=0.0 * curve.y + 0.1)),
        key(replace(curve, temperature=26.0)), key(replace(curve, label=2.0)), key(replace(curve, name="d")),
        key(replace(curve, details={"file": "b.csv"})), key(replace(curve, denaturant="urea")),
        key(replace(curve, notes=(Note("blank", "row 3 is blank", "c"),))), key(units="kJ"),
        key(settings=settings_of()), key(settings=settings_of(intervals={"method": "profile"}, states=2)),
        key(settings=settings_of(intervals={"method": "profile"}, baselines=(0.0, 0.0, 1.0, 0.1))),
    ]  # fmt: skip
    assert len({key(), *others}) == len(others) + 1


def test_rows_written_in_parts_are_the_table(run, tmp_path, monkeypatch):
    monkeypatch.setattr(kept, "_CHUNK", 3)
    x, y = simulate(FKBP12, 24, noise=0.01)
    table = write_curves(tmp_path / "t.csv", 6, **{"WT rep 1": y, "WT rep 2": y + 0.01, "=1+1": y},
                         short=[*y[:5], *[None] * 19])  # fmt: skip
    more = ["--intervals", "--quiet"]
    assert run("fit", table, *more, "--out", tmp_path / "parts.csv").exit_code == 0
    run("fit", table, *more, "--out", tmp_path / "whole.csv", "--readings", tmp_path / "r.csv")
    assert (tmp_path / "parts.csv").read_bytes() == (tmp_path / "whole.csv").read_bytes()
    frame = pd.read_csv(tmp_path / "parts.csv")
    assert frame["curve"].tolist() == [*(f"c{i}" for i in range(6)), "WT", "'=1+1", "short"]
    assert frame["replicates"].dropna().tolist() == [2]
    assert "2.0" not in (tmp_path / "parts.csv").read_text().split(",")  # counts are whole numbers


def test_failures_and_what_is_no_row_are_not_taken_over(tmp_path):
    curves, settings = mixed_curves(20), settings_of(states=2)
    keys = list(keys_of(curves[:10], settings, "kcal"))
    first = KeptRows(10, tmp_path / "o.csv")
    for i, curve in enumerate(curves[:4]):
        first.add(i, keys[i], {"curve": curve.name, "status": "error" if i == 2 else "fitted"}, ())
    first.close()
    lines = (tmp_path / "o.csv.partial").read_bytes().splitlines()
    lines[1:1] = [b"", b"[1]", b"\xff{", json.dumps(["of another run", {"status": "fitted"}, []]).encode()]
    (tmp_path / "o.csv.partial").write_bytes(b"\n".join(lines)[:-4])  # the last one is cut off
    second = KeptRows(10, tmp_path / "o.csv")
    assert second.take_over(keys) == 2 and [second.is_done(i) for i in range(4)] == [True, True, False, False]
    second.close(written=True)
    assert os.listdir(tmp_path) == []


def test_two_runs_do_not_write_one_file(run, tmp_path):
    table = write_curves(tmp_path / "t.csv", 2)
    other = KeptRows(1, tmp_path / "o.csv")
    with pytest.raises(CannotWrite):
        KeptRows(1, tmp_path / "o.csv")
    refused = run("fit", table, "--out", tmp_path / "o.csv")
    assert refused.exit_code == 2 and "another run is writing it; wait" in refused.stderr
    other.close()
    assert run("fit", table, "--out", tmp_path / "o.csv").exit_code == 0
    for out in ([], ["--out", tmp_path / "o.xlsx"]):
        result = run("fit", table, *out, "--resume")
        assert result.exit_code == 2 and "--resume goes with --out and a .csv file" in result.stderr


@pytest.mark.parametrize("again", [False, True])
def test_a_file_that_another_run_has_just_removed_is_not_written(tmp_path, monkeypatch, again):
    path, lock, taken = tmp_path / "o.csv.partial", kept.fcntl.flock, []

    def late(file, how):
        taken.append(file)
        if len(taken) == 1:
            path.unlink()
            if again:
                path.touch()
        lock(file, how)

    monkeypatch.setattr(kept.fcntl, "flock", late)
    rows = KeptRows(1, tmp_path / "o.csv")
    rows.add(0, "key", {"curve": "c", "status": "fitted"}, ())
    rows.close()
    assert b'"key"' in path.read_bytes() and len(taken) == 2


class DeadlyOnce(zolt.batch.FitAll):
    """Work at which the process dies when it first meets a curve; a file tells that it has."""

    def __call__(self, curves):
        mark = self.settings.exclude[0]
        if any(curve.name == "c5" for curve in curves) and not os.path.exists(mark):
            open(mark, "x").close()
            os._exit(1)
        return zolt.batch.FitAll(replace(self.settings, exclude=()), self.units)(curves)


def test_a_worker_that_dies_in_mid_run_loses_no_curve(tmp_path):
    distributed = pytest.importorskip("distributed")
    curves, settings = mixed_curves(30), settings_of(states=2)
    work = DeadlyOnce(replace(settings, exclude=(str(tmp_path / "mark"),)), "kcal")
    with (
        distributed.LocalCluster(n_workers=2, threads_per_worker=1, dashboard_address=None) as cluster,
        distributed.Client(cluster) as client,
    ):
        rows = [row for answers in in_turn(work, curves, client=client) for row, _ in answers]
    assert (tmp_path / "mark").exists()
    pd.testing.assert_frame_equal(
        pd.DataFrame([row for row, _ in zolt.batch.FitAll(settings, "kcal")(curves)]), pd.DataFrame(rows)
    )


class DeadlyCluster:
    """A client whose workers die whenever they meet one of the curves."""

    def nthreads(self):
        return {"here": 2}

    def submit(self, work, task, pure):
        killed = any(curve.name == "c5" for curve in task)

        def result(timeout):
            from distributed.scheduler import KilledWorker

            if killed:
                raise KilledWorker("task", "worker", 3)
            return work(task)

        return SimpleNamespace(result=result)


def test_a_curve_at_which_workers_die_is_the_only_one_lost():
    curves = mixed_curves(40)
    table = zolt.fit_many(curves, client=DeadlyCluster(), progress=False, states=2)
    near = zolt.fit_many(curves, progress=False, states=2)
    assert table["status"][5] == "error" and "workers of the cluster died" in table["reason"][5]
    pd.testing.assert_frame_equal(table.drop(5), near.drop(5), check_dtype=False)


def test_a_cluster_without_workers_is_given_up_with_a_sentence(run, tmp_path, monkeypatch, capsys):
    distributed = pytest.importorskip("distributed")
    monkeypatch.setattr(turns, "_PATIENCE", 0.1)
    monkeypatch.setattr("zolt.cli.cluster._check_workers", lambda *_: None)
    table = write_curves(tmp_path / "t.csv", 4)
    with distributed.LocalCluster(n_workers=0, processes=False, dashboard_address=None) as empty:
        result = run("fit", table, "--out", tmp_path / "o.csv", "--scheduler", empty.scheduler_address)
        with distributed.Client(empty) as client, pytest.raises(ClusterLost):
            zolt.fit_each([simulate(FKBP12, 24)], client=client)
    assert result.exit_code == 2
    assert "waiting for one" in result.stderr and "no worker left; 0 of 4 curves were done" in result.stderr
    assert run("fit", table, "--out", tmp_path / "o.csv", "--resume").exit_code == 0


def test_tasks_are_begun_as_results_are_taken():
    begun = []

    def work(curves):
        begun.append(len(curves))
        return curves

    for i, _ in enumerate(in_turn(work, list(range(4000)), workers=2), start=1):
        assert len(begun) <= i + 3 * 2
    assert sum(begun) == 4000
