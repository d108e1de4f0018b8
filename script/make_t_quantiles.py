#!/usr/bin/env python3
"""Prints the rows of src/analysis/t_quantiles.inc: the one-sided 0.95 quantiles of Student's t
distribution with 1 to 384 degrees of freedom, each the double nearest to the exact value."""

from mpmath import betainc, findroot, mp, mpf
from scipy.stats import t as student

mp.dps = 40


def upper_tail(degrees, quantile):
    """P(T > quantile) by the regularised incomplete beta function."""
    ratio = degrees / (degrees + quantile * quantile)
    return betainc(mpf(degrees) / 2, mpf(1) / 2, 0, ratio, regularized=True) / 2


for degrees in range(1, 385):
    start = mpf(float(student.ppf(0.95, degrees)))
    quantile = findroot(lambda q: upper_tail(degrees, q) - mpf("0.05"), start)
    print(f"{float(quantile)!r},")
