"""The notebook runs, shows what it holds, and finds the truth of the examples."""

import io
import subprocess
import sys
from pathlib import Path

import nbformat
import pandas as pd
import pytest

DOCS = Path(__file__).resolve().parents[2] / "docs"


def texts(notebook):
    """What the cells print and return, without pictures."""
    for cell in notebook.cells:
        for output in cell.get("outputs", []):
            data = output.get("data", {})
            if output.output_type == "stream" or "text/html" in data:
                yield output.get("text") or data["text/plain"]


def tables(notebook):
    htmls = [output["data"]["text/html"] for cell in notebook.cells for output in cell.get("outputs", [])
             if "text/html" in output.get("data", {})]  # fmt: skip
    return [pd.read_html(io.StringIO(html))[0] for html in htmls]


def test_the_notebook_is_what_it_was_and_tells_the_truth(tmp_path):
    subprocess.run([sys.executable, DOCS / "make_notebook.py", tmp_path / "now.ipynb"], check=True)
    now, kept = (nbformat.read(path, 4) for path in (tmp_path / "now.ipynb", DOCS / "published.ipynb"))
    nbformat.validate(now)
    assert list(texts(now)) == list(texts(kept))  # else run docs/make_notebook.py
    two, three, series, outliers = tables(now)
    assert two["states"].tolist() == [2, 2, 2] and two["held"].all()
    assert two[["m off", "Cm off"]].abs().to_numpy().max() < 2.0
    for name in ("m", "Cm", "share"):
        off = (three[name] - three[f"{name} true"]) / three[f"± {name}"]
        assert off.abs().max() < 2.0
    assert series["dG_kcal_per_mol"].tolist() == pytest.approx(series["dG true"].tolist(), abs=0.05)
    gross = outliers[outliers["part of the span"] >= 0.2]
    assert gross["dropped"].sum() >= 0.99 * gross["curves"].sum()
    assert gross["dG off without, middle"].max() < 0.01 < 0.05 < gross["dG off, middle"].min()
