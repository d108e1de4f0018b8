#!/usr/bin/env python3
"""Prints the rows of tests/elementary/hard_logarithms.inc or, with the argument `powers`,
hard_powers.inc: arguments whose logarithm or power lies close to or on the middle of two doubles, and
the double nearest to it, ties to even."""

import math
import random
import sys
from fractions import Fraction

from mpmath import log, mp, mpf, power

mp.prec = 400


def nearest(exact):
    """The nearest double; subnormal ones too, where mpmath's own conversion would round twice."""
    scale = mpf(2) ** 1074
    if exact == math.inf:
        return math.inf
    if abs(exact) < mpf(2) ** -1022:
        return float(Fraction(int(mp.nint(exact * scale))) / 2**1074)
    return float(exact)


def distance_to_midpoint(exact):
    unit = mpf(math.ulp(float(exact)))
    return float(abs(abs(exact / unit) % 1 - mpf(1) / 2))


def hardest(candidates, function, count):
    return sorted(candidates, key=lambda x: distance_to_midpoint(function(x)))[:count]


def text(x):
    return "HUGE_VAL" if x == math.inf else x.hex()


def logarithms():
    # The one that comes closest to a double of all (Lefevre and Muller 2001), then the hardest of some
    # thousands.
    yield float.fromhex("0x1.62a88613629b6p+678")
    yield from hardest([random.uniform(0.5, 2) for _ in range(40000)], mp.log, 8)
    yield from hardest([random.uniform(0, 1000) for _ in range(40000)], mp.log, 8)
    yield from hardest([1 + random.choice((-1, 1)) * 2.0 ** random.uniform(-52, -8)
                        for _ in range(20000)], mp.log, 4)
    yield from (1.0, math.nextafter(1, 0), math.nextafter(1, 2), 0.5, 2.0, 5e-324, 2.2e-308,
                sys.float_info.max)


def powers():
    for y in (3.0, 4.0):
        for x in hardest([random.uniform(0.1, 20) for _ in range(40000)], lambda x: mpf(x) ** y, 5):
            yield x, y
    ties = [(x / 2.0**16, 3.0) for x in range(2**18 - 1, 2**17, -2)]
    ties += [(x / 2.0**10, 4.0) for x in range(2**13 + 2**12, 2**14)]
    yield from [(x, y) for x, y in ties if distance_to_midpoint(mpf(x) ** y) == 0][:6]
    for x in hardest([random.uniform(0.1, 20) for _ in range(5000)], lambda x: mpf(x) ** 0.3, 4):
        yield x, 0.3
    yield from ((25.0, 11.5), (9.0, 16.5), (25.0, -11.5), (2.0, -1075.0), (2.0, -1074.0), (8.0, -358.5),
                (3.0 * 2.0**-358, 3.0), (1.5 * 2.0**-358, 3.0), (0.25, 537.0), (0.25, 537.5), (0.75, 2500.0),
                (7.0, -380.0), (2.0**256, 4.0), (math.nextafter(2.0**256, 0), 4.0), (1 + 2.0**-52, 2.0**52),
                (1 - 2.0**-53, 2.0**62), (1 - 2.0**-53, 1e-30), (1e-300, 1e-12), (10.0, 22.0), (10.0, 23.0),
                (10.0, -5.0), (3.0, 34.0), (1e200, 1e200), (1e200, -1e200))


random.seed(1)
if sys.argv[1:] == ["powers"]:
    for x, y in powers():
        exact = power(mpf(x), mpf(y)) if abs(y * math.log(x)) < 800 else mpf(0 if y < 0 else math.inf)
        print(f"{{{x.hex()}, {y.hex()}, {text(nearest(exact))}}},")
else:
    for x in logarithms():
        print(f"{{{x.hex()}, {text(nearest(log(mpf(x))))}}},")
