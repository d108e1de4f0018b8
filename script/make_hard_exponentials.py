#!/usr/bin/env python3
"""Prints the rows of tests/elementary/hard_exponentials.inc: arguments at which an exponential by other
means goes wrong first, and its bits there. The sequence of fused operations that defines the bits is
followed in exact rational arithmetic, each operation rounded once."""

import itertools
import math
import random
from fractions import Fraction

from mpmath import exp, mp, mpf

mp.prec = 200

STEPS_PER_UNIT = float.fromhex("0x1.71547652b82fep+7")
SHIFT = float.fromhex("0x1.8p+52")
STEP_HIGH = float.fromhex("-0x1.62e42fefap-8")
STEP_LOW = float.fromhex("-0x1.cf79abc9e3b3ap-47")
C2, C3, C4, C5 = map(float.fromhex, (
    "0x1.ffffffffffdbdp-2", "0x1.555555555543cp-3", "0x1.55555cf172b91p-5", "0x1.1111167a4d017p-7"))


def fused(a, b, c):
    """a b + c rounded once: a quotient of integers is rounded to the nearest double, ties to even."""
    return float(Fraction(a) * Fraction(b) + Fraction(c))


def nearest_step(x):
    return fused(x, STEPS_PER_UNIT, SHIFT) - SHIFT


def scale_and_growth(x, k=None):
    """2^(k/128) as a Fraction and e^r - 1."""
    k = nearest_step(x) if k is None else k
    r = fused(k, STEP_LOW, fused(k, STEP_HIGH, x))
    power = mpf(2) ** (mpf(int(k) % 128) / 128)
    entry = float(power)
    error = float((power - mpf(entry)) / mpf(entry))
    growth = fused(r * r, fused(r, C3, C2), r + error)
    growth = fused((r * r) * (r * r), fused(r, C5, C4), growth)
    return Fraction(entry) * Fraction(2) ** (int(k) // 128), growth


def exponential(x, k=None, fuse_from=-512):
    scale, growth = scale_and_growth(x, k)
    if x > fuse_from:
        exact = scale + scale * Fraction(growth)
        return float(exact) if exact < Fraction(2) ** 1024 - Fraction(2) ** 970 else math.inf
    scale = float(scale * Fraction(2) ** 1022)
    product = scale * growth
    result = scale + product
    if result < 1.0:
        lost = (scale - result) + product
        high = 1.0 + result
        result = (high + (((1.0 - high) + result) + lost)) - 1.0
    return float(Fraction(result) / 2**1022)


def distance_to_midpoint(x):
    """How far the sum that is rounded last lies from the middle of two doubles, in parts of it."""
    scale, growth = scale_and_growth(x)
    exact = scale + scale * Fraction(growth)
    unit = Fraction(math.ulp(float(exact)))
    return abs((exact / unit) % 1 - Fraction(1, 2)) * unit / exact


def hardest(candidates, measure, count):
    return sorted(candidates, key=measure)[:count]


def first(count, candidates, condition):
    return list(itertools.islice(filter(condition, candidates), count))


def tie_decides(x):
    """Whether the product with STEPS_PER_UNIT, rounded by itself, leads to another k and result."""
    k = round(x * STEPS_PER_UNIT)
    return k != nearest_step(x) and exponential(x, float(k)) != exponential(x)


random.seed(1)
some = [random.uniform(-40, 20) for _ in range(20000)]
halves = [(k + 0.5) / STEPS_PER_UNIT for k in random.sample(range(-65000, 90000), 100000)]
margin = Fraction(1, 2**59)
rows = (
    hardest(some, distance_to_midpoint, 12)
    + hardest(some, lambda x: abs(distance_to_midpoint(x) - margin), 8)
    + first(8, halves, tie_decides)
    + first(8, iter(lambda: random.uniform(-708, -512), None),
            lambda x: exponential(x) != exponential(x, fuse_from=-math.inf))
    + hardest([random.uniform(-745.13, -708.4) for _ in range(4000)],
              lambda x: abs(float(exp(mpf(x)) * 2**1074) % 1 - 0.5), 8)
    + [sign * x for x in (2.0**-54, 2.0**-53, 1.5 * 2.0**-53, 5e-324, math.nextafter(512, 0), 512.0)
       for sign in (1, -1)]
    + [709.782712893384, math.nextafter(709.782712893384, 710), -708.3964185322641,
       -745.1332191019411, -745.1332191019412, -745.2]
)
for x in rows:
    result = exponential(x)
    if 2.0**-1022 <= result < math.inf:
        wanted = exp(mpf(x))
        assert abs(mpf(result) - wanted) < 0.51 * mpf(math.ulp(result)), x
    print(f"{{{x.hex()}, {result.hex() if result < math.inf else 'HUGE_VAL'}}},")
