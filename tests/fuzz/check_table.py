"""The table of fuzz targets names every export once, and only targets that reach it.

Usage: check_table.py, at the top of the source tree.
"""

import re
import sys
from pathlib import Path

FUZZ = Path("tests/fuzz")


def main():
    exports = Path("tests/abi/exports.txt").read_text().split()
    rows = re.findall(r"^\| `(ZOLTA_\w+)` \| `(\w+)` \|$", (FUZZ / "README.md").read_text(), re.M)
    # A target takes whole families of the table through which it calls.
    table = Path("tests/support/every_export.h").read_text()
    families = dict(
        (name, family) for family, name in re.findall(r"ZOLT_ROW\w*\((\w+), \w+, (ZOLTA_\w+)\)", table)
    )
    faults = []
    named = [name for name, _ in rows]
    if sorted(named) != sorted(exports):
        faults.append(f"lacking {set(exports) - set(named)}, foreign {set(named) - set(exports)}")
    for name, target in rows:
        source = FUZZ / f"{target}.cpp"
        if not source.is_file() or f"Family::{families.get(name)}" not in source.read_text():
            faults.append(f"{name}: not reached by {source}")
    print("\n".join(faults) or f"{len(rows)} exports, each with its fuzz target")
    return bool(faults)


if __name__ == "__main__":
    sys.exit(main())
