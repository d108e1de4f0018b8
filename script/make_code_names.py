#!/usr/bin/env python3
"""Writes python/zolt/code_names.py: the fit codes of each model by their names in the C header.

Usage: python3 script/make_code_names.py > python/zolt/code_names.py
"""

import re
from pathlib import Path

HEADER = Path(__file__).resolve().parents[1] / "include" / "zolt_fitting_engine.h"
HEAD = '''"""The fit codes of each model, by the names that the C header gives them.

Made by script/make_code_names.py from include/zolt_fitting_engine.h.
"""
'''


def page(header=None):
    text = HEADER.read_text(encoding="utf-8") if header is None else header
    lines = [HEAD, "COMMON = {"]
    lines += [f'    "{name}": {value},' for name, value in re.findall(r"ZOLTA_CODE_(\w+) = (\d+)", text)]
    lines += ["}", "", "PATHS = {"]
    for states in "234":
        lines.append(f"    {states}: {{")
        for name, value in re.findall(rf"ZOLTA_{states}STATE_(\w+) = (\d+)", text):
            lines.append(f'        {value}: "{name}",')
        lines.append("    },")
    return "\n".join(lines + ["}"]) + "\n"


if __name__ == "__main__":
    print(page(), end="")
