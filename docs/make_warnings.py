#!/usr/bin/env python3
"""Write docs/warnings.md from the table of warnings in the Python package.

Usage: python3 docs/make_warnings.py > docs/warnings.md
"""

from zolt.caution import TABLE

HEAD = """# Warnings

Made by `docs/make_warnings.py` from `python/zolt/cautions.json`, which the command and the page both read.

A warning is what a careful supervisor would say before a number goes into a paper. Each has a code that
stays, a sentence, and what to do. The command prints them below its table, whose column `warnings` holds
the codes, and writes them into tables and reports; in Python they are in `fit.warnings`. They do not change
a number, and a fit without any can still be wrong: look at the picture.

| code | raised when | what to do |
|---|---|---|
"""


def page():
    rows = (f"| `{code}` | {entry['when']} | {entry['advice']} |\n" for code, entry in TABLE.items())
    return HEAD + "".join(rows)


if __name__ == "__main__":
    print(page(), end="")
