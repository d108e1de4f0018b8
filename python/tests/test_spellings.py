"""Headers, cells, units and temperatures one by one: what each spelling means, by tests/spellings.json."""

import json
from pathlib import Path

import pytest

from zolt.reading.mentions import choose, mentions_in
from zolt.reading.numbers import AmbiguousMark, cell_of, proven_marks, values_of
from zolt.reading.quantities import factor_to_molar, temperature_from, temperature_in_name
from zolt.reading.spellings import SPELLINGS, header_of, unit_of

WANTED = json.loads((Path(__file__).parents[2] / "tests" / "spellings.json").read_text(encoding="utf-8"))


def header(text):
    found = header_of(text)
    as_x = (str(found.unit) if found.unit else None, found.denaturant) if found.role == "x" else (None, None)
    return [found.role, *as_x]


def cell(text):
    found = cell_of(text)
    assert (found.kind == "missing") == bool(found.reason)
    return [found.kind, found.mark]


def column(texts, elsewhere, told):
    """Numbers of a column, or the text of which nothing tells the mark; marks may be proven elsewhere."""
    cells = [cell_of(text) for text in texts]
    try:
        return values_of(cells, proven_marks(cells) | set(elsewhere), told).tolist()
    except AmbiguousMark as doubt:
        assert texts[doubt.place] == doubt.text
        return doubt.text


ASKED = {
    "headers": header,
    "cells": cell,
    "columns": column,
    "temperatures": temperature_from,
    "temperatures_in_names": temperature_in_name,
    "temperatures_in_texts": lambda text: choose(mentions_in(text)),
    "units": lambda text, denaturant: factor_to_molar(unit_of(text), denaturant),
}


def test_every_spelling_means_what_is_written_beside_it():
    assert WANTED.keys() == ASKED.keys()
    for what, rows in WANTED.items():
        for *given, wanted in rows:
            near = pytest.approx(wanted, rel=1e-12, abs=1e-9) if isinstance(wanted, float) else wanted
            assert ASKED[what](*given) == near, f"{what}: {given}"


def test_no_name_has_two_meanings():
    for family in ("denaturants", "concentration_units", "temperature_units"):
        names = [name for entry in SPELLINGS[family].values() for name in entry["names"]]
        assert len(names) == len(set(names)), family
    marks = [text for texts in SPELLINGS["missing"].values() for text in texts]
    assert len(marks) == len(set(marks)) and all(mark == mark.lower() for mark in marks)
