#!/usr/bin/env python3
"""Writes page/generated/records.ts: how the compiler lays out the records of zolt_inference.h for
WebAssembly, and the header's enumerators by name. The compiler is asked; nothing is computed here.
"""

import re
import subprocess
from pathlib import Path

TOP = Path(__file__).resolve().parent.parent
HEADER = TOP / "include" / "zolt_inference.h"
KINDS = {"int32_t": "i32", "double": "f64"}


def layouts(names):
    """Name, size and fields (name, type, shape, offset) of each record, as clang tells them."""
    source = f'#include "{HEADER}"\n' + "".join(f"char see_{n}[sizeof({n})];\n" for n in names)
    command = ["clang", "--target=wasm32-wasi", "-fsyntax-only", "-x", "c", "-", "-Xclang",
               "-fdump-record-layouts"]
    told = subprocess.run(command, input=source, capture_output=True, text=True, check=True).stdout
    for dump in re.split(r"\*\*\* Dumping AST Record Layout\n", told)[1:]:
        title = re.match(r"\s*0 \| (?:struct )?(\w+)$", dump, re.M)
        size = re.search(r"\[sizeof=(\d+)", dump)
        # Fields of the record itself stand two columns in; those of records within it stand deeper.
        fields = re.findall(r"^\s*(\d+) \|   (?! )(?:const )?(?:struct )?(\w+)((?: \*)?)((?:\[\d+\])*) (\w+)$", dump, re.M)
        if title and size:
            yield title[1], int(size[1]), [
                (name, "pointer" if star else kind, [int(n) for n in re.findall(r"\d+", shape)], int(at))
                for at, kind, star, shape, name in fields
            ]  # fmt: skip


def typescript(name, size, fields):
    types, places = [], []
    for field, kind, shape, offset in fields:
        inner = kind if kind.startswith("ZOLTI_") else None
        types.append(f"  {field}: {inner[6:] if inner else 'number'}{'[]' * len(shape)};")
        of = f"{inner[6:]}Layout" if inner else f"'{KINDS.get(kind, 'pointer')}'"
        places.append(f"    {field}: {{offset: {offset}, of: {of}, shape: {shape}}},")
    return "\n".join([
        f"export interface {name[6:]} {{", *types, "}",
        f"export const {name[6:]}Layout: Layout<{name[6:]}> = {{", f"  size: {size},", "  fields: {",
        *places, "  },", "};", "",
    ])  # fmt: skip


def main():
    header = HEADER.read_text()
    names = re.findall(r"^\} (ZOLTI_\w+);", header, re.M)
    found = {name: (size, fields) for name, size, fields in layouts(names)}
    lines = ["// Written by make_records.py from zolt_inference.h.", "import type {Layout} from '../engine/layout';", ""]
    for name in names:
        lines.append(typescript(name, *found[name]))
    code = re.sub(r"/\*.*?\*/", "", header, flags=re.S)
    for body in re.findall(r"\benum \{(.*?)\}", code, re.S):
        for name, value in re.findall(r"ZOLTI_(\w+) = (\d+)", body):
            lines.append(f"export const {name} = {value};")
    out = TOP / "page" / "generated" / "records.ts"
    out.parent.mkdir(exist_ok=True)
    out.write_text("\n".join(lines) + "\n")


if __name__ == "__main__":
    main()
