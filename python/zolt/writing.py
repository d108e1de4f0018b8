"""Files are written whole or not at all, and their places are looked at before any work is done."""

import os
from collections import Counter
from contextlib import contextmanager
from pathlib import Path

import numpy as np

TABLES = (".csv", ".xlsx", ".json")
_LONGEST_STEM = 100  # of a name of ours; file systems end at 255 bytes


class CannotWrite(Exception):
    """A sentence that says why a file cannot be written."""


def check_place(path, what):
    """Raise CannotWrite if a file cannot be made at `path`; `what` is the option that named it."""
    path = Path(path)
    folder = path.parent
    if len(os.fsencode(path.name)) > 255:
        raise CannotWrite(
            f"{what}: the name '{path.name[:40]}...' is too long for a file; take a shorter one."
        )
    if not folder.is_dir():
        raise CannotWrite(f"{what} {path}: there is no folder {folder}; make it, or name another.")
    if path.is_dir():
        raise CannotWrite(f"{what} {path}: that is a folder; name a file in it.")
    if not os.access(path if path.exists() else folder, os.W_OK):
        raise CannotWrite(f"{what} {path}: you may not write there; name another place.")


def check_folder(path, what):
    """Raise CannotWrite if `path` is no folder that can be written to; it is made if it is missing."""
    path = Path(path)
    try:
        path.mkdir(parents=True, exist_ok=True)
    except OSError as fault:
        raise CannotWrite(f"{what} {path}: {reason(fault)}; name a folder.") from None
    if not os.access(path, os.W_OK):
        raise CannotWrite(f"{what} {path}: you may not write there; name another folder.")


@contextmanager
def replacing(path):
    """The path of a file beside `path` that takes its place once it is written without a fault.

    So an older file stays as it is when the disk is full. What is no ordinary file, a pipe for
    instance, is written to as it is.
    """
    if Path(path).exists() and not Path(path).is_file():
        yield Path(path)
        return
    path = Path(os.path.realpath(path))
    part = path.with_name(f".{path.stem[:_LONGEST_STEM]}.{os.getpid()}{path.suffix}")
    try:
        yield part
        os.replace(part, path)
    finally:
        part.unlink(missing_ok=True)


def reason(fault):
    """An OSError in words, without its number."""
    return (fault.strerror or str(fault)).lower()


def write_table(table, path):
    """Write a DataFrame in the format that the suffix of the path names; an infinite value is a blank."""
    from .workbook import write_workbook

    path = Path(path)
    table = finite(table)
    writers = {
        ".csv": lambda part: harmless(table).to_csv(part, index=False),
        ".xlsx": lambda part: write_workbook({"results": table}, part),
        ".json": lambda part: table.to_json(part, orient="records", indent=1, force_ascii=False),
    }
    with replacing(path) as part:
        writers[path.suffix.lower()](part)


def finite(table):
    """The table with a blank for what is infinite, such as an open end of an interval."""
    numbers = table.select_dtypes("float").columns
    return table.assign(**{name: table[name].where(np.isfinite(table[name])) for name in numbers})


def harmless(table):
    """The table with an apostrophe before texts that a spreadsheet would take for formulas (= + - @).

    Names come from files of others.
    """

    def tame(value):
        return f"'{value}" if isinstance(value, str) and value[:1] in tuple("=+-@\t\r") else value

    words = table.select_dtypes("object").columns
    tamed = table.assign(**{name: table[name].map(tame) for name in words})
    return tamed.rename(columns=tame)


def file_names(fits, tail=""):
    """A name without suffix for every fit, after its file and curve; no two are equal."""
    used, names, counts = set(), [], Counter()
    for fit in fits:
        stem = Path(str(fit.details.get("file", "curve"))).stem
        whole = "".join(c if c.isalnum() or c in "-_." else "_" for c in f"{stem}_{fit.name}")
        base = name = whole.encode()[:_LONGEST_STEM].decode(errors="ignore") + tail
        while name.casefold() in used:  # some file systems do not tell a from A
            counts[base.casefold()] += 1
            name = f"{base}_{counts[base.casefold()] + 1}"
        used.add(name.casefold())
        names.append(name)
    return names
