"""One list of exports: the committed one, the header's, the library's, and the Python package's.

Usage: check_exports.py LIBRARY, at the top of the source tree.
"""

import ast
import re
import subprocess
import sys
from pathlib import Path

# What the library may be linked to: the C library, its mathematics, the C++ runtime, the loader; on
# Windows the system and its C library.
NEEDED = re.compile(r"lib(c|m|stdc\+\+|gcc_s)\.so\.\d+|ld-linux.*\.so\.\d+|(KERNEL32|msvcrt)\.dll")


def output_of(*command):
    return subprocess.run(command, check=True, capture_output=True, text=True).stdout


def names_in_header():
    text = Path("include/zolt_fitting_engine.h").read_text()
    code = re.sub(r"/\*.*?\*/", "", text, flags=re.DOTALL)
    return re.findall(r"^ZOLTA_API\b[^(]*?\b(\w+)\(", code, flags=re.MULTILINE)


def names_in_library(library):
    """The names that the library exports, and the libraries that it needs."""
    if library.endswith(".dll"):
        table = output_of("x86_64-w64-mingw32-objdump", "-p", library)
        names = re.findall(r"^\s*\[ *\d+\] (\w+)$", table, flags=re.MULTILINE)
        return names, re.findall(r"DLL Name: (.*)", table)
    lines = output_of("nm", "-D", "--defined-only", library).splitlines()
    names = [line.split()[-1].split("@")[0] for line in lines]
    return names, re.findall(r"\(NEEDED\).*\[(.*)\]", output_of("readelf", "-dW", library))


def names_in_package():
    for node in ast.parse(Path("python/zolt/_library.py").read_text()).body:
        if isinstance(node, ast.Assign) and node.targets[0].id == "EXPORTS":
            return [key.value for key in node.value.keys]
    return []


def main(library):
    wanted = Path("tests/abi/exports.txt").read_text().split()
    faults = []
    if len(wanted) != 34:
        faults.append(f"the committed list has {len(wanted)} names, wanted 34")
    exported, needed = names_in_library(library)
    for place, names in (
        ("header", names_in_header()),
        ("library", exported),
        ("Python package", names_in_package()),
    ):
        if sorted(names) != sorted(wanted):
            lacking = sorted(set(wanted) - set(names))
            foreign = sorted(set(names) - set(wanted))
            faults.append(f"{place}: {len(names)} names, lacks {lacking}, has besides {foreign}")
    faults += [f"library: linked to {name}" for name in needed if not NEEDED.fullmatch(name)]
    print("\n".join(faults) or f"{len(wanted)} exports, the same in all places")
    return bool(faults)


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
