"""One list of exports of the inference library: the committed one, the header's and the library's.

Usage: check_inference_exports.py LIBRARY, at the top of the source tree.
"""

import re
import sys
from pathlib import Path

from check_exports import names_in_library

# What check_exports.py allows, and the engine.
NEEDED = re.compile(r"lib(c|m|stdc\+\+|gcc_s|ZOLTFittingEngine)\.so\.\d+|ld-linux.*\.so\.\d+")


def main(library):
    wanted = Path("tests/abi/inference_exports.txt").read_text().split()
    header = re.sub(r"/\*.*?\*/", "", Path("include/zolt_inference.h").read_text(), flags=re.DOTALL)
    exported, needed = names_in_library(library)
    faults = [
        f"{place}: differs in {sorted(set(names) ^ set(wanted))}"
        for place, names in (
            ("header", re.findall(r"^ZOLTI_API\b[^(]*?\b(\w+)\(", header, flags=re.MULTILINE)),
            ("library", exported),
        )
        if sorted(names) != sorted(wanted)
    ]
    faults += [f"library: linked to {name}" for name in needed if not NEEDED.fullmatch(name)]
    print("\n".join(faults) or f"{len(wanted)} exports, the same in all places")
    return bool(faults)


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
