"""What is taken along: tables, pictures, the report, the session."""

import io
import re
import struct
import xml.etree.ElementTree as ElementTree
import zlib

import curves
import openpyxl
from browser import example



def chunks_of(png):
    """The chunks of a PNG by their kind, the last of each; every one with a sound check."""
    assert png[:8] == b"\x89PNG\r\n\x1a\n"
    found, at = {}, 8
    while at < len(png):
        (size,) = struct.unpack_from(">I", png, at)
        body = png[at + 4 : at + 8 + size]
        assert zlib.crc32(body) == int.from_bytes(png[at + 8 + size : at + 12 + size], "big")
        found[body[:4].decode()], at = body[4:], at + 12 + size
    return found


def test_exports(page):
    page.give(("formulas.csv", curves.wide(2, 30).replace("c0", "=1+2")))
    rows = page.export("results", "results.csv").decode().splitlines()
    assert rows[1].startswith("'=1+2,") and rows[0].startswith("name,file,well,label")
    fit = page.session()["curves"][0]["fit"]
    assert repr(fit["Cm"][0]) in rows[1]
    assert len(page.export("readings", "readings.csv").splitlines()) == 1 + 60
    assert len(page.export("fitted", "curves.csv").splitlines()) == 1 + 480
    svg = ElementTree.fromstring(page.export("svg", "_1_2.svg"))
    assert "=1+2" in [element.text for element in svg.iter("{http://www.w3.org/2000/svg}text")]
    origin = page.run("return document.querySelector('footer p').firstChild.textContent").strip().rstrip(".")
    assert re.fullmatch(r"ZOLT [\d.]+, module [0-9a-f]{16}", origin)
    assert svg.find("{http://www.w3.org/2000/svg}metadata").text == origin
    chunks = chunks_of(page.export("png", "_1_2.png"))
    assert int.from_bytes(chunks["IHDR"][:4], "big") == 2280 and chunks["tEXt"] == b"Software\0" + origin.encode()
    assert rows[1].endswith(origin.removeprefix("ZOLT ").replace(", module ", ","))


def test_a_session_opens_again_with_the_same_numbers(page):
    page.give(example("three_state.csv"), example("ci2_gdmcl.csv"))
    page.choose("denatured", "flat")
    page.until(page.idle)
    page.run("document.querySelector('[data-reading=\"3\"]').dispatchEvent(new MouseEvent('click', {bubbles: true}))")
    page.until(lambda: "readings left out" in page.text("results"))
    saved = page.export("session", "session.json")
    first = page.session()
    page.open()
    page.give(("saved.json", saved))
    page.until(lambda: "with the numbers it was saved with" in page.text("message"))
    again = page.session()
    assert again == first
    damaged = saved.replace(repr(first["curves"][0]["fit"]["dG"][0]).encode(), b"1234.5")
    page.give(("other.json", damaged))
    page.until(lambda: "1 of 2 curves give other numbers" in page.text("message"))


def test_workbook_holds_numbers_and_no_formula(page):
    page.give(("formulas.csv", curves.wide(3, 30).replace("c0", "=1+2").replace("c1", "@SUM")))
    page.click("#compare")
    page.until(lambda: "One m for all" in page.text("set"))
    book = openpyxl.load_workbook(io.BytesIO(page.export("workbook", "results.xlsx")))
    names = ["results", "readings", "curves", "evidence", "comparison", "warnings", "settings"]
    assert book.sheetnames == names
    rows = list(book["results"].values)
    table = [dict(zip(rows[0], row)) for row in rows[1:]]
    assert [row["name"] for row in table] == ["=1+2", "@SUM", "c2"]
    kinds = {cell.data_type for sheet in book for row in sheet.iter_rows() for cell in row}
    assert kinds <= {"n", "s", "inlineStr"}  # "f" would be a formula
    for row, curve in zip(table, page.session()["curves"]):
        assert row["dG1 (kcal/mol)"] == curve["fit"]["dG"][0] / 1000 and row["states"] == curve["fit"]["transitions"] + 1
    assert book["readings"].max_row == 1 + 90 and dict(book["settings"].values)["module"] == rows[1][-1]


def test_report(page):
    page.give(example("series.csv"))
    page.run("window.print = () => { window.printed = document.getElementById('report').innerText || document.getElementById('report').textContent; }")
    page.click("#export-report")
    page.until(lambda: page.run("return window.printed"))
    assert page.count("#report article svg") == 5 and "module" in page.run("return window.printed")
    assert page.count("#report article table") >= 5
