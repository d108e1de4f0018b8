"""What people hand over by mistake in Python: one sentence each, that says what to do."""

import numpy as np
import pandas as pd
import pytest
from conftest import FKBP12, simulate

import zolt

X, Y = simulate(FKBP12, 24, noise=0.005)
NAN = np.nan
A_FIT = zolt.fit(X, Y, 25.0, states=2)
PAIR = {"a": (X, Y), "b": (X, 1.1 * Y)}

FIT = [  # arguments of zolt.fit in place of the usual, the error, and words of its sentence
    (dict(x=X - 2.0), ValueError, "x goes down to -2 M; a concentration is 0 or more"),
    (dict(x="curve.csv"), TypeError, "x is 'curve.csv'; give a list of numbers, or read a file"),
    (dict(y=["n.d."] * X.size), TypeError, "y holds what is no number; give a list of numbers, NaN where one lacks"),
    (dict(y=Y > 0.5), TypeError, "y holds True and False"),
    (dict(y=np.c_[Y, Y]), ValueError, r"y has the shape \(24, 2\); a curve is one row"),
    (dict(y=Y[1:]), ValueError, "x has 24 values and y has 23"),
    (dict(sd=Y[1:]), ValueError, "y has 24 values and sd has 23"),
    (dict(sd=Y, n=[1.0, 2.0], weights="sem"), ValueError, "y has 24 values and n has 2"),
    (dict(temperature="25 C"), ValueError, "temperature is '25 C'; give one number in °C"),
    (dict(temperature=NAN), ValueError, "temperature is nan"),
    (dict(states=True), ValueError, "states is 2, 3, 4"),
    (dict(states=2.5), ValueError, "states is 2, 3, 4"),
    (dict(baselines="native=flat"), ValueError, "baselines are a dictionary, as {'native': 'flat'}, or four numbers"),
    (dict(baselines={"native": 1.0}), ValueError, "the native baseline is 'line', 'flat' or two numbers"),
    (dict(baselines={"native": (NAN, 0.0)}), ValueError, "the native baseline's intercept is nan"),
    (dict(m="1200"), ValueError, "m is 'free', 'shared' or a number"),
    (dict(m=NAN), ValueError, "m is nan"),
    (dict(dG=5.0), ValueError, "dG is 5 cal/mol; .* Python takes it in cal"),
    (dict(Cm="3.9"), ValueError, "Cm is '3.9'; give one number in M"),
    (dict(Cm=40.0), ValueError, "Cm is 40 M; no denaturant dissolves"),
    (dict(exclude="#99"), ValueError, "exclude #99: no reading of the curve answers to it"),
    (dict(residues="107"), ValueError, "residues is the number of amino acids"),
    (dict(settings={"states": 2}), TypeError, "settings is a zolt.Settings"),
]


@pytest.mark.parametrize("change, error, said", FIT, ids=[' '.join(change) for change, *_ in FIT])
def test_a_fit_refuses(change, error, said):
    with pytest.raises(error, match=said):
        zolt.fit(**{"x": X, "y": Y, "temperature": 25.0, **change})


CALLS = {
    "a file": (lambda: zolt.fit_many("x.csv"), TypeError, r"read it first, by zolt.read_curves\('x.csv'\)"),
    "x and y": (lambda: zolt.fit_many((X, Y)), TypeError, "'curve 1' is no curve; expected a pair"),
    "y alone": (lambda: zolt.fit_many({"a": Y}), TypeError, "'a' is no curve; expected a pair"),
    "nothing": (lambda: zolt.fit_many(None), TypeError, "expected curves"),
    "words": (lambda: zolt.fit_many(pd.DataFrame({"x": X, "a": "q"})), TypeError, "y of 'a' holds what is no number"),
    "one column": (lambda: zolt.fit_many(pd.DataFrame({"x": X})), ValueError, "the table has one column"),
    "intervals": (lambda: zolt.fit_many(PAIR, intervals=True), ValueError, "intervals is a dictionary"),
    "unit": (lambda: A_FIT.dG_in("J"), ValueError, "the unit is one of 'cal', 'kcal', 'kJ'"),
    "unit of a table": (lambda: zolt.fit_many(PAIR, units="J"), ValueError, "the unit is one of"),
    "level of a band": (lambda: A_FIT.band(level=95), ValueError, "level is 95; it lies between 0 and 1"),
    "level of a global fit": (lambda: zolt.fit_global(PAIR, level=95), ValueError, "level is 95"),
    "reference": (lambda: zolt.fit_global(PAIR, reference="c"), ValueError, "there is no curve 'c'; the curves are a, b"),
    "no reference": (lambda: zolt.compare(PAIR, reference=2), ValueError, "reference is 2; it is the name or the index"),
    "one fit": (lambda: zolt.compare(A_FIT), ValueError, "a comparison takes two curves or more"),
    "states of a series": (lambda: zolt.fit_series(PAIR, [1, 2], states="auto"), ValueError, "are 2, 3 or 4, not 'auto'"),
    "transition": (lambda: zolt.fit_series(PAIR, [1, 2], transition=2), ValueError, "have the transitions 1 to 1, not 2"),
    "include": (lambda: zolt.fit_series(PAIR, [1, 2], include=[True]), ValueError, "tells of each of the 2 curves"),
    "decimal": (lambda: zolt.read_curves("x.csv", decimal=";"), ValueError, "decimal is '.' or ','"),
    "rows": (lambda: zolt.read_curves("x.csv", skip_rows=-1), ValueError, "skip_rows is the number of rows"),
    "an option": (lambda: zolt.read_curves("x.csv", colums=2), TypeError, "unknown option colums; there are layout"),
}


@pytest.mark.parametrize("call, error, said", CALLS.values(), ids=CALLS)
def test_a_call_refuses(call, error, said):
    with pytest.raises(error, match=said):
        call()


def test_what_means_the_same_is_taken():
    rows = zolt.fit_many(zolt.Curve("a", list(X), list(Y)), states=2.0, temperature=25, progress=False)
    assert rows["Cm1_M"][0] == A_FIT.Cm[0] and rows["states"][0] == 2
    assert zolt.fit([str(v) for v in X], Y[None, :], 25, np.int64(2)).Cm[0] == A_FIT.Cm[0]
    assert zolt.pick_states(list(X), list(Y)) == 2
    odd = zolt.fit_many({"below": (X - 9.0, Y), **PAIR}, states=2, progress=False)
    assert odd["status"].tolist() == ["error", "fitted", "fitted"] and "goes down to" in odd["reason"][0]


@pytest.mark.parametrize("x, y", [([], []), (X, NAN * Y), (X * NAN, Y), (X, [None] * X.size)])
def test_a_curve_without_a_reading_says_so(x, y):
    fitted = zolt.fit(x, y, 25.0)
    assert not fitted.ok and fitted.reason.startswith("The curve has 0 readings, none with a number for both")
