"""Fit codes in words."""

import runpy
from pathlib import Path

import pytest

from zolt import codes

WINDOW, THREE_POINTS = "constant slope", "three points"
PEAK, MEAN = "midpoint from the derivative peak", "mean of the good first fits"
ROWS = [
    # states, code, held, words of the seed
    (2, 2, "both baselines", "averaged"),
    (2, 5, "native baseline", f"{WINDOW}, midpoint held at the {MEAN}"),
    (2, 10, "denatured baseline", "ranked candidates refitted"),
    (2, 20, "denatured baseline", f"freely, midpoint held at the {MEAN}"),
    (2, 21, "native baseline", "freely"),
    (2, 23, "", f"{WINDOW}, {PEAK}"),
    (2, 25, "", "refitted with its slopes"),
    (2, 31, "", "end points"),
    (3, 5, "native baseline", f"{WINDOW}, weight"),
    (3, 20, "denatured baseline", "freely"),
    (3, 21, "", f"{WINDOW}, weight"),
    (3, 23, "", "midpoints of the best"),
    (3, 31, "", "two halves"),
    (4, 5, "native baseline", f"{WINDOW}, all weights fitted"),
    (4, 31, "native baseline", "freely, both weights held"),
    (4, 35, "denatured baseline", "freely, both weights held"),
    (4, 39, "denatured baseline", "freely, first weight held"),
    (4, 40, "", f"{WINDOW}, all weights fitted"),
    (4, 44, "", "fitted freely, weights of the best candidate held"),
    (4, 49, "", "midpoints of the best candidate, both weights held"),
    (4, 71, "", "three parts, second weight held"),
]


@pytest.mark.parametrize("states, number, held, words", ROWS)
def test_a_code_names_its_path(states, number, held, words):
    code = codes.explain(number, states)
    assert (code.status, code.held) == ("fitted", held)
    assert words in code.seed and code.sentence.endswith(f"{code.seed}." if number > 4 else ".")


@pytest.mark.parametrize("states, last", [(2, 31), (3, 31), (4, 71)])
def test_every_code_of_a_model_has_a_sentence_of_its_own(states, last):
    table = codes.CODES[states]
    assert set(table) == set(range(1, 35)) | set(range(35, last + 1))
    paths = {(code.stage, code.seed, code.held) for code in table.values() if code.is_fit}
    assert len(paths) == sum(code.is_fit for code in table.values()) == len(table) - 4


def test_the_same_number_depends_on_what_was_asked():
    assert codes.explain(35, 3, "midpoint").status == "midpoint fitted"
    assert codes.explain(36, 4, "midpoint").status == "midpoint rejected"
    assert codes.explain(36, 4).status == "fitted"
    assert codes.explain(2, 2, "baselines").held == "both baselines"
    assert codes.explain(3, 3, "series").stage == "series"
    assert codes.explain(99, 2).status == codes.explain(float("nan")).status == "unknown code"


@pytest.mark.parametrize("script, page", [
    ("script/make_code_names.py", "python/zolt/code_names.py"),
    ("docs/make_fit_codes.py", "docs/fit_codes.md"),
    ("docs/make_warnings.py", "docs/warnings.md"),
])  # fmt: skip
def test_what_is_made_by_a_script_is_up_to_date(script, page):
    root = Path(__file__).resolve().parents[2]
    assert (root / page).read_text(encoding="utf-8") == runpy.run_path(str(root / script))["page"]()
