"""Many curves: order, failures, threads, clusters."""

import pandas as pd
import pytest
from conftest import FKBP12, simulate

import zolt
from zolt.read import Curve


def mixed_curves(count=40):
    """Sound curves with failures of several kinds among them."""
    curves = [Curve(f"c{i}", *simulate(FKBP12, noise=0.005, seed=i)) for i in range(count)]
    curves[3] = Curve("short", *simulate(FKBP12, 5))
    curves[7] = Curve("long", *simulate(FKBP12, 400))
    curves[11] = Curve("broken", [0.0, 1.0], [1.0])
    curves[13] = Curve("empty", [], [])
    return curves


def test_rows_follow_the_input_and_no_failure_stops_the_rest():
    curves = mixed_curves()
    one = zolt.fit_many(curves, workers=1, progress=False, states=2)
    two = zolt.fit_many(curves, workers=4, progress=False, states=2)
    pd.testing.assert_frame_equal(one, two)
    assert one["curve"].tolist() == [curve.name for curve in curves]
    statuses = dict(zip(one["curve"], one["status"]))
    assert statuses["short"] == statuses["empty"] == "too few points"
    assert statuses["long"] == "too many points" and statuses["broken"] == "error"
    assert "2 values and y has 1" in one.set_index("curve").loc["broken", "reason"]
    assert (one["status"] == "fitted").sum() == len(curves) - 4


def test_a_cluster_of_two_processes_gives_the_same_table():
    distributed = pytest.importorskip("distributed")
    curves = mixed_curves()
    cluster = distributed.LocalCluster(
        n_workers=2, threads_per_worker=1, processes=True, dashboard_address=None
    )
    with cluster, distributed.Client(cluster) as client:
        options = dict(progress=False, states=2, intervals=dict(rounds=20))
        far = zolt.fit_many(curves, client=client, **options)
    pd.testing.assert_frame_equal(far, zolt.fit_many(curves, **options), check_exact=True)


def test_what_curves_may_be():
    x, y = simulate(FKBP12, noise=0.005)
    wanted = zolt.fit(x, y, states=2).Cm[0]
    for curves in ([(x, y)], {"a": (x, y)}, pd.DataFrame({"x": x, "a": y}), [Curve("a", x, y)]):
        table = zolt.fit_many(curves, progress=False, states=2, intervals=dict(rounds=40))
        assert table["Cm1_M"].tolist() == [wanted]
        assert table["Cm1_lower_M"][0] < table["Cm1_upper_M"][0]
    warm = zolt.fit_many([Curve("a", x, y, temperature=40.0)], progress=False, temperature=10.0)
    assert warm["temperature_C"][0] == 40.0
