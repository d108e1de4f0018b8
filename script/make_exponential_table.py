#!/usr/bin/env python3
"""Prints the rows of src/elementary/exponential_table.inc: for i from 0 to 127 the relative error of
the double nearest to 2^(i/128), and the bits of that double less i << 45. Both are bits of doubles."""

import struct

from mpmath import mp, mpf

mp.prec = 300


def bits(value):
    return struct.unpack("<Q", struct.pack("<d", value))[0]


for i in range(128):
    exact = mpf(2) ** (mpf(i) / 128)
    nearest = float(exact)
    error = float((exact - mpf(nearest)) / mpf(nearest))
    print(f"{{0x{bits(error):016x}, 0x{bits(nearest) - (i << 45):016x}}},")
