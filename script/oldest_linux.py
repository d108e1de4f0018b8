#!/usr/bin/env python3
"""Prints the oldest manylinux platform that has what the libraries given ask of their system.

A platform promises a version of the C library, and with it one of the C++ runtime.
"""

import re
import subprocess
import sys

# C library, then the newest versions of the symbols of the C++ runtime there (PEP 600 and its profiles).
PLATFORMS = (
    ((2, 17), (3, 4, 19), (1, 3, 7)),
    ((2, 24), (3, 4, 22), (1, 3, 10)),
    ((2, 27), (3, 4, 24), (1, 3, 11)),
    ((2, 28), (3, 4, 25), (1, 3, 11)),
    ((2, 31), (3, 4, 28), (1, 3, 12)),
    ((2, 34), (3, 4, 29), (1, 3, 13)),
    ((2, 35), (3, 4, 30), (1, 3, 13)),
)


def needed(libraries, name):
    listed = subprocess.run(["objdump", "-T", *libraries], capture_output=True, text=True, check=True).stdout
    found = re.findall(rf"\b{name}_(\d+(?:\.\d+)*)", listed)
    return max((tuple(map(int, version.split("."))) for version in found), default=(0,))


def main(libraries):
    asked = tuple(needed(libraries, name) for name in ("GLIBC", "GLIBCXX", "CXXABI"))
    for platform in PLATFORMS:
        if all(need <= has for need, has in zip(asked, platform)):
            print("manylinux_%d_%d" % platform[0])
            return
    sys.exit(f"no platform has GLIBC, GLIBCXX, CXXABI {asked}")


main(sys.argv[1:])
