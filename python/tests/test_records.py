"""Records of the inference library for curves and choices of many kinds, to a ten-thousandth.

After a change that is meant, `python3 python/tests/test_records.py` records them anew.
"""

import json
from pathlib import Path

import numpy as np
import pytest
from conftest import FKBP12, FOUR, THREE, simulate

from zolt import inference

RECORDED = Path(__file__).with_name("records.jsonl")


def numbers_of(record, found=None):
    """The numbers of a record by field, a matrix by its sum; how the search went is not told."""
    found = {} if found is None else found
    for name, _ in record._fields_:
        value = getattr(record, name)
        if name == "row":
            for row in value:
                numbers_of(row, found)
        elif name not in ("iterations", "starts"):
            numbers = np.ravel(np.array(value))
            found.setdefault(name, []).extend(numbers if numbers.size < 30 else [numbers.sum()])
    return found


def of_library():
    """What the inference library gives for curves and choices of many kinds, record by record."""

    def curve(made, n=32, noise=0.01, **more):
        return inference.Readings(*simulate(made, n, noise=noise, **more))

    two, three, four, options = curve(FKBP12), curve(THREE, 60), curve(FOUR, 96, 0.003), inference.Options
    x, y = simulate(FKBP12, 16, noise=0.01)
    both, weigh = ((0.1, 0.004), (1.0, -0.003)), np.geomspace(1e-3, 5, 32)
    gap = np.r_[two.y[:9], np.nan, two.y[10:]]
    cases = [
        (two, 1, options()), (two, 1, options("flat")),
        (two, 1, options(denatured=(1.0, -0.003), margin=0.5)),
        (two, 1, options(m=1400.0)), (two, 1, options(dG=5500.0)), (two, 2, options(Cm=[None, 3.0])),
        (three, 2, options()), (three, 2, options(m=[2300.0, None])), (three, 3, options(engine=False)),
        (four, 3, options()), (curve([(30000.0, 1.3, 1.0)], 12), 1, options()),
        (curve(FKBP12, reach=3.6), 1, options()),
        (inference.Readings(two.x, two.y, np.linspace(0.005, 0.02, 32)), 1, options(sd_known=True)),
        (inference.Readings([*x, *x, *x], [*y, *(y + 0.02), *(y[::-1])], temperature=60.0), 1, options()),
        (inference.Readings(two.x, 1.0 - 0.1 * two.x**2 + 0.1 * two.y), 1, options()),
        (inference.Readings(two.x, np.exp(-two.x / 2) + 0.05 * two.y), 1, options()),
        (curve(FKBP12, 8), 1, options()), (curve(THREE, 17), 2, options()),
        (curve(FOUR, 24, 0.004), 3, options()), (curve(FOUR, 96, 0.02), 3, options()),
        (inference.Readings(1e3 * two.x[::-1], 1e-90 * two.y[::-1]), 1, options(engine=False)),
        (inference.Readings(two.x, gap, temperature=0.0), 1, options()),
        (inference.Readings(three.x[20:], 1e90 * three.y[20:], None, 100.0), 1, options("flat", "flat")),
        (two, 1, options(*both)), (three, 2, options(*both)),
        (two, 1, options("flat", both[1], m=[1380.0])), (three, 2, options(both[0], dG=[5000.0])),
        (inference.Readings(two.x, two.y, weigh), 1, options()),
        (curve(FKBP12, 12, 0.08), 1, options(margin=0.0)), (curve(THREE, 60, 0.05), 2, options()),
        (inference.Readings(np.repeat(two.x[::2], 2), two.y), 1, options(Cm=[3.9])),
        (inference.Readings(two.x, (two.x > 4.1) + 0.01 * two.y), 1, options()),
        (inference.Readings(two.x, 0.3 + 0.02 * two.x + 0.01 * two.y), 1, options()),
        (four, 3, options(Cm=[None, 4.2])),
    ]  # fmt: skip
    for readings, transitions, choice in cases:
        for answer in (inference.fit(readings, transitions, choice), inference.decide(readings, choice)):
            yield answer.record
            if answer.evidence:
                yield answer.evidence
        for method in inference.METHODS:
            yield inference.intervals(readings, answer, choice, method, rounds=20)[0]
        yield inference.intervals(readings, answer, choice, level=0.4)[0]
    several = [curve([(1400.0 * at, at, 1.0)], 24, seed=at) for at in (3, 4, 5)]
    halves = [curve([(2200.0 * at, at, 0.5), (13000.0, 5.6, 0.5)], 48, seed=1) for at in (2.0, 2.4)]
    for share in inference.SHARES:
        for transitions, curves in enumerate((several, halves), 1):
            for level in (0.95, 0.4):
                whole, *parts = inference.fit_global(curves, share, transitions, reference=1, level=level)
                yield from (whole, *(part for kind in parts for part in kind))
    for level in (0.95, 0.5):
        yield from inference.compare(several, reference=2, level=level)[2]


def test_records_are_those_that_were_recorded():
    # Where readings hardly determine a fit, processors that round otherwise part in the sixth digit.
    for record, line in zip(of_library(), RECORDED.read_text().splitlines(), strict=True):
        assert numbers_of(record) == {
            name: pytest.approx(numbers, rel=1e-4, abs=1e-12) for name, numbers in json.loads(line).items()
        }


if __name__ == "__main__":
    with RECORDED.open("w") as file:
        for record in of_library():
            fields = {name: [float(f"{n:.6g}") for n in found] for name, found in numbers_of(record).items()}
            print(json.dumps(fields), file=file)
