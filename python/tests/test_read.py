"""Files in, curves out; and the sentences about files that cannot be used."""

import io
import json
import os
import random
import time
import zipfile
from pathlib import Path

import numpy as np
import openpyxl
import pandas as pd
import pytest

from zolt import ReadError, read_curves
from zolt.read import read_file, read_together

TABLES = Path(__file__).parents[2] / "tests" / "tables"
EXPECTED = sorted(TABLES.glob("*.expected.json"))
PLAIN = "urea_M,a,b\n0,1.5,2\n1,2.5,\n2,3.5,4\n"


def read_table(name, options):
    if "layout" in options:
        options = {**options, "layout": TABLES / options["layout"]}
    return read_file(TABLES / name, **options)


def as_expected(curve):
    """A curve in the form of the expectations: what is None is not written."""
    row = {"name": curve.name, "x": curve.x.round(9).tolist(), "y": curve.y.tolist()}
    for key in ("temperature", "label", "replicate", "group", "denaturant", "sd", "n"):
        value = getattr(curve, key)
        if value is not None:
            row[key] = value.tolist() if isinstance(value, np.ndarray) else value
    return row


@pytest.mark.parametrize("path", EXPECTED, ids=lambda path: path.name.removesuffix(".expected.json"))
def test_every_table_gives_the_curves_beside_it_or_its_sentence(path):
    wanted, name = json.loads(path.read_text(encoding="utf-8")), path.name.removesuffix(".expected.json")
    options = wanted.pop("options", {})
    try:
        reading = read_table(name, options)
        found = {
            "curves": [as_expected(curve) for curve in reading.curves],
            "notes": sorted({note.code for note in reading.notes}),
            "summary": reading.summary(),
        }
    except ReadError as fault:
        found = {"error": str(fault).replace(f"{TABLES}/", "")}
    assert found == wanted


def test_every_table_has_its_expectation():
    names = {path.name.removesuffix(".expected.json") for path in EXPECTED}
    tables = {path.name for path in TABLES.iterdir() if not path.name.startswith((".", "README"))}
    alone = {name for name in tables if ".expected.json" not in name and ".layout." not in name} - names
    assert len(names) > 100 and not alone


def truth(seed):
    """Curves of a random table as {name: y} over one x, with numbers of few digits."""
    draw = random.Random(seed)
    x = sorted(draw.sample([round(0.05 * k, 2) for k in range(170)], draw.randint(8, 24)))
    names = draw.sample(["WT", "V38A", "L12 G", "wild-type", "Δ1-20", "A", "D", "E2"], draw.randint(1, 4))
    return x, {name: [round(draw.uniform(-40.0, 90.0), draw.choice((2, 4))) for _ in x] for name in names}


def written(x, curves, seed):
    """The same curves in a random dialect: bytes of a file."""
    draw = random.Random(1000 + seed)
    mark = draw.choice(".,")
    between = draw.choice("\t;" if mark == "," else "\t;,")
    head, factor = draw.choice(
        [
            ("Urea (M)", 1),
            ("[urea] / M", 1),
            ("Harnstoff [mol/L]", 1),
            ("urea_mM", 1000),
            ("% of 8 M urea", 12.5),
            ("c(Urea), M", 1),
        ]
    )
    number = lambda v: f"{v:.10g}".replace(".", mark)  # noqa: E731
    quote = lambda t: f'"{t}"' if between in t else t  # noqa: E731
    xs = [number(v * factor) for v in x]
    layout = draw.choice(["wide", "long", "transposed", "pairs"])
    if layout == "long":
        rows = [["Sample", head, "Signal"]]
        rows += [[name, a, number(b)] for name, y in curves.items() for a, b in zip(xs, y)]
    elif layout == "pairs":
        rows = [[cell for name in curves for cell in (head, name)]]
        rows += [[c for y in curves.values() for c in (a, number(y[i]))] for i, a in enumerate(xs)]
    else:
        rows = [[head, *curves], *([a, *(number(y[i]) for y in curves.values())] for i, a in enumerate(xs))]
        body = rows[1:]
        draw.shuffle(body)
        rows[1:] = body
        if layout == "transposed":
            rows = [list(column) for column in zip(*[rows[0], *sorted(body, key=lambda r: xs.index(r[0]))])]
    lines = [between.join(map(quote, row)) for row in rows]
    lines[:0] = draw.choice(
        [
            [],
            ["# Temperature: 20 °C"],
            ["Operator" + between + "N. N.", "Temperature" + between + "293.15 K", ""],
        ]
    )
    text = draw.choice(["\n", "\r\n", "\r"]).join(lines) + draw.choice(["", "\n"])
    return text.encode(draw.choice(["utf-8", "utf-8-sig", "utf-16", "utf-16-le"]))


@pytest.mark.parametrize("seed", range(150))
def test_curves_survive_every_dialect(seed, tmp_path):
    x, curves = truth(seed)
    path = tmp_path / "file.txt"
    path.write_bytes(written(x, curves, seed))
    found = {curve.name: curve for curve in read_curves(path)}
    assert sorted(found) == sorted(curves)
    for name, y in curves.items():
        np.testing.assert_allclose(found[name].x, x, rtol=1e-9, atol=1e-12)
        assert found[name].y.tolist() == y and found[name].denaturant == "urea"
        assert found[name].temperature in (None, 20.0)


def spoiled(raw, draw):
    """Bytes of a file with an accident: cut, doubled, swapped, or with cells that do not belong."""
    lines = raw.split(b"\n")
    i, j = draw.randrange(len(lines)), draw.randrange(len(lines))
    accident = draw.randrange(7)
    if accident == 0:
        return raw[: draw.randrange(len(raw) + 1)]
    if accident == 1:
        lines[i], lines[j] = lines[j], lines[i]
    elif accident == 2:
        cells = lines[i].split(b",")
        cells[draw.randrange(len(cells))] = draw.choice(
            [b"", b"1e999", b"-", b'"', b"#REF!", b"9" * 400, b"\xff", b"1,2", b"nan"]
        )
        lines[i] = b",".join(cells)
    elif accident == 3:
        lines[i] = lines[i] + draw.choice([b",", b",1", b";", b"\t2", b"\0"])
    elif accident == 4:
        del lines[i]
    elif accident == 5:
        lines.insert(i, lines[j])
    else:
        at = draw.randrange(len(raw) + 1)
        return raw[:at] + bytes([draw.randrange(256)]) + raw[at:]
    return b"\n".join(lines)


def test_spoiled_files_give_numbers_or_a_sentence(tmp_path):
    draw, read, refused = random.Random(int(os.environ.get("ZOLT_SEED", 7))), 0, 0
    sources = [path for path in TABLES.iterdir() if path.suffix in (".csv", ".txt", ".dat", ".md")]
    for path in sorted(sources) * 6:
        file = tmp_path / "spoiled.csv"
        file.write_bytes(spoiled(spoiled(path.read_bytes(), draw), draw))
        try:
            curves = read_curves(file, TABLES / "plate.layout.csv" if draw.random() < 0.2 else None)
        except ReadError as fault:
            assert "\n" not in str(fault) and len(str(fault)) < 800
            refused += 1
            continue
        read += 1
        for curve in curves:
            assert curve.x.size == curve.y.size and np.isfinite(curve.x).all() and np.isfinite(curve.y).all()
            assert (np.diff(curve.x) >= 0).all()
    assert read > 200 and refused > 100


def write_plate(folder, wells):
    """A matrix of 8 by 12 readings with value 100 row + column, and its layout."""
    lines = ["," + ",".join(map(str, range(1, 13)))]
    lines += ["ABCDEFGH"[r] + "".join(f",{100 * r + c}" for c in range(1, 13)) for r in range(8)]
    (folder / "plate.csv").write_text("\n".join(lines))
    layout = pd.DataFrame(wells, columns=["well", "sample", "concentration", "label", "replicate"])
    layout.to_csv(folder / "layout.csv", index=False)
    return folder / "plate.csv", folder / "layout.csv"


def test_a_plate_is_joined_with_its_layout(tmp_path):
    wells = [
        ["B02", "p53", 1.5, 5, 1],
        ["B1", "p53", 0.5, 5, 1],
        ["H12", "p53", 0.5, 5, 2],
        ["A1", "", "", "", ""],
    ]
    first, second = read_curves(*write_plate(tmp_path, wells))
    assert (first.x.tolist(), first.y.tolist()) == ([0.5, 1.5], [101, 102])
    assert second.y.tolist() == [712] and second.replicate == 2.0 and first.label == 5.0
    assert second.details["well"] == "H12" and first.group == second.group == "p53 label 5"


def test_a_workbook_of_plates_names_the_sheets_it_leaves(tmp_path):
    plate, layout = write_plate(tmp_path, [["A1", "p53", 0, "", ""], ["A2", "p53", 1, "", ""]])
    frame = pd.read_csv(plate, header=None)
    with pd.ExcelWriter(tmp_path / "plate.xlsx") as book:
        frame.to_excel(book, sheet_name="day 1", header=False, index=False)
        frame.to_excel(book, sheet_name="day 2", header=False, index=False)
    reading = read_file(tmp_path / "plate.xlsx", layout)
    assert [curve.y.tolist() for curve in reading.curves] == [[1, 2]]
    assert any(text.startswith("sheet 'day 2' left out") for text in reading.remarks())
    assert read_file(tmp_path / "plate.xlsx", layout, sheet="day 2").curves[0].details["sheet"] == "day 2"


ODS = """<o:document-content xmlns:o="urn:oasis:names:tc:opendocument:xmlns:office:1.0"
 xmlns:s="urn:oasis:names:tc:opendocument:xmlns:style:1.0" xmlns:t="urn:oasis:names:tc:opendocument:xmlns:table:1.0"
 xmlns:p="urn:oasis:names:tc:opendocument:xmlns:text:1.0">
<s:style s:name="cross"><s:text-properties s:text-line-through-style="solid"/></s:style>
<s:style s:name="away"><s:table-properties t:display="false"/></s:style>{tables}</o:document-content>"""


def of_ods(**tables):
    """An open document with sheets whose rows are lists of cells: words, or attributes of a number."""

    def cell(content):
        if isinstance(content, str):
            return f'<t:table-cell o:value-type="string"><p:p>{content}</p:p></t:table-cell>'
        marks = {"o:value-type": "float", **content}
        return "<t:table-cell " + " ".join(f'{name}="{value}"' for name, value in marks.items()) + "/>"

    def row(cells, marks=""):
        return f"<t:table-row {marks}>{''.join(map(cell, cells))}</t:table-row>"

    sheets = "".join(
        f'<t:table t:name="{name}" {marks}>{columns}{"".join(row(*r) for r in rows)}'
        '<t:table-row t:number-rows-repeated="1048000"><t:table-cell t:number-columns-repeated="16384"/></t:table-row>'
        "</t:table>"
        for name, (marks, columns, rows) in tables.items()
    )
    return packed(**{"content.xml": ODS.format(tables=sheets)})


TAKEN_OUT = {"struck_through", "row_left_out", "column_left_out", "sheet_left_out"}


def test_an_open_document_is_read_like_other_workbooks(tmp_path):
    number = lambda value, **more: {"o:value": value, **more}  # noqa: E731
    rows = [(["urea_M", "WT", "aside", "V38A"],)]
    rows += [([number(k), number(k * k / 9), number(5), number(k / 7)],) for k in range(8)]
    rows[3] = ([number(2), number(0.9, **{"t:style-name": "cross"}), number(5), number(2 / 7)],)
    rows[5] = (*rows[5], 't:visibility="filter"')
    rows[7] = ([number(6), number(4), number(5), "n.d."],)
    columns = '<t:table-column t:number-columns-repeated="2"/><t:table-column t:visibility="collapse"/>'
    percent = [(["conc", "WT"],), *(([number(k / 10, **{"o:value-type": "percentage"}), number(k)],) for k in range(8))]
    path = tmp_path / "book.ods"
    path.write_bytes(of_ods(a=("", columns, rows), b=('t:style-name="away"', "", rows), c=("", "", percent)))
    reading = read_file(path, sheet="a")
    wild, mutant = reading.curves
    assert wild.x.tolist() == [0, 1, 3, 5, 6, 7] and wild.y[1] == 1 / 9
    assert mutant.x.tolist() == [0, 1, 2, 3, 5, 7] and TAKEN_OUT <= {note.code for note in reading.notes}
    (curve,) = read_curves(path, sheet="c", unit="% of 8 M")
    assert curve.x == pytest.approx(0.8 * np.arange(8)) and curve.y.tolist() == list(range(8))


def test_a_workbook_of_before_2007_is_read_like_others(tmp_path):
    pytest.importorskip("xlrd")
    xlwt = pytest.importorskip("xlwt")
    book = xlwt.Workbook()
    sheet, percent, away = (book.add_sheet(name) for name in "abc")
    away.visibility = 1
    crossed, share = xlwt.easyxf("font: struck_out on"), xlwt.easyxf(num_format_str="0.0%")
    for j, name in enumerate(["urea_M", "WT", "aside", "V38A"]):
        sheet.write(0, j, name)
    for k in range(8):
        for j, value in enumerate((k, k * k / 9, 5, k / 7)):
            sheet.write(1 + k, j, value, *([crossed] if (k, j) == (2, 1) else []))
        percent.write(1 + k, 0, k / 10, share)
        percent.write(1 + k, 1, k)
    percent.write(0, 0, "conc")
    percent.write(0, 1, "WT")
    sheet.row(5).hidden = sheet.col(2).hidden = True
    book.save(str(tmp_path / "book.xls"))
    reading = read_file(tmp_path / "book.xls", sheet="a")
    wild, mutant = reading.curves
    assert wild.x.tolist() == [0, 1, 3, 5, 6, 7] and wild.y[1] == 1 / 9 and mutant.x.size == 7
    assert TAKEN_OUT <= {note.code for note in reading.notes}
    (curve,) = read_curves(tmp_path / "book.xls", sheet="b", unit="% of 8 M")
    assert curve.x == pytest.approx(0.8 * np.arange(8))


PLATE_FAULTS = {
    "no such well": ([["Z9", "a", 1, "", ""]], "layout.csv, row 2, column 1: .*no well 'Z9'"),
    "the same well in two spellings": (
        [["A1", "a", 1, "", ""], ["a01", "b", 1, "", ""]],
        "row 3, column 1: well A1 is there twice",
    ),
    "no concentration": (
        [["A1", "a", 0, "", ""], ["A2", "a", "", "", ""]],
        "row 3, column 3: well A2 of 'a' has no concentration",
    ),
    "one concentration": ([["A1", "a", 1, "", ""], ["A2", "a", 1, "", ""]], "all concentrations are 1 M"),
}


@pytest.mark.parametrize("wells, said", PLATE_FAULTS.values(), ids=PLATE_FAULTS)
def test_a_faulty_layout_is_refused(wells, said, tmp_path):
    with pytest.raises(ReadError, match=said):
        read_curves(*write_plate(tmp_path, wells))


def packed(**entries):
    """A workbook package with the entries given, as bytes."""
    file = io.BytesIO()
    with zipfile.ZipFile(file, "w", zipfile.ZIP_DEFLATED) as package:
        for name, content in entries.items():
            package.writestr(name.replace("__", "/"), content)
    return file.getvalue()


def far_cell():
    book = openpyxl.Workbook()
    book.active["A1"], book.active["XFD900000"] = "urea_M", 1
    file = io.BytesIO()
    book.save(file)
    return file.getvalue()


FOREIGN = {
    "a bomb": (
        packed(xl__workbook_xml="", xl__worksheets__sheet1_xml=b"0" * 300_000_000),
        "unpacks to 300 MB; at most 100 MB",
    ),
    "no workbook in the package": (packed(readme="a text"), "a compressed file that is no workbook"),
    "a damaged package": (packed(readme="a text")[:40], "this workbook is damaged"),
    "a password": (
        b"\xd0\xcf\x11\xe0\xa1\xb1\x1a\xe1" + bytes(600) + "EncryptedPackage".encode("utf-16-le"),
        "protected by a password; save it without one",
    ),
    "a cell far away": (far_cell(), "the table has 16384 columns; at most 5000 are read"),
    "binary": (bytes(range(256)) * 4, "binary data"),
    "a picture": (b"\x89PNG\r\n" + bytes(60), "a picture"),
    "a web page": (b"<!DOCTYPE html><table><tr><td>1</td></tr></table>", "a web page or XML"),
}


@pytest.mark.parametrize("raw, said", FOREIGN.values(), ids=FOREIGN)
def test_what_is_no_table_is_refused(raw, said, tmp_path):
    (tmp_path / "file.xlsx").write_bytes(raw)
    (tmp_path / "file.csv").write_bytes(raw)
    with pytest.raises(ReadError, match=said):
        read_curves(tmp_path / "file.csv")
    with pytest.raises(ReadError, match=f"{said}|expected an Excel workbook"):
        read_curves(tmp_path / "file.xlsx")


WRONG_OPTIONS = {
    "a column that is not there": (dict(x="dose"), "no column 'dose'; the columns are 'urea_M', 'a', 'b'"),
    "a unit that is none": (dict(unit="furlong"), "--unit furlong is no unit of concentration"),
    "no file": (dict(layout="none.csv"), "there is no such file"),
    "a signal as concentrations": (dict(x="b", columns=["b"]), "found no column of readings"),
}


@pytest.mark.parametrize("options, said", WRONG_OPTIONS.values(), ids=WRONG_OPTIONS)
def test_options_that_do_not_fit_the_file(options, said, tmp_path):
    (tmp_path / "file.csv").write_text(PLAIN)
    with pytest.raises(ReadError, match=said):
        read_curves(tmp_path / "file.csv", **options)


def test_sheets_by_name_and_number():
    book = TABLES / "workbook_two_tables.xlsx"
    first, second = read_curves(book, sheet=2), read_curves(book, sheet="second")
    assert first[0].name == second[0].name == "WT" and first[0].y.tolist() != second[0].y.tolist()
    with pytest.raises(ReadError, match="no sheet 'third'; the sheets are 'Notes', 'first', 'second'"):
        read_curves(book, sheet="third")


def test_curves_of_several_files_are_told_apart(tmp_path):
    for name in ("one.csv", "two.csv"):
        (tmp_path / name).write_text(PLAIN)
    (tmp_path / "bad.csv").write_text("urea_M\n1\n2\n")
    results = read_together([tmp_path / name for name in ("one.csv", "bad.csv", "two.csv")])
    assert [type(found).__name__ for _, found in results] == ["Reading", "ReadError", "Reading"]
    names = [curve.name for _, found in results[::2] for curve in found.curves]
    assert names == ["a (one.csv)", "b (one.csv)", "a (two.csv)", "b (two.csv)"]
    assert any("are those of 'a (one.csv)'" in text for text in results[2][1].remarks())
    assert {c.details["temperature_from"] for _, found in results[::2] for c in found.curves} == {"assumed"}


def test_a_doubt_about_the_temperature_ends_where_one_is_given(tmp_path):
    (tmp_path / "cold.csv").write_text("# stored at 4 °C\n" + PLAIN)
    for temperature, codes in ((None, {"temperature_unclear"}), (20.0, set())):
        ((_, found),) = read_together([tmp_path / "cold.csv"], temperature=temperature)
        assert {note.code for note in found.notes} == codes == {n.code for c in found.curves for n in c.notes}


def test_a_blank_column_is_a_curve_without_readings(tmp_path):
    (tmp_path / "f.csv").write_text("x,a,b\n0,1,\n1,2,\n")
    a, b = read_curves(tmp_path / "f.csv")
    assert [note.text for note in a.notes] == ["no unit of concentration is stated; M assumed"]
    assert b.name == "b" and b.x.size == 0 and np.array_equal(a.y, [1, 2])


def test_a_file_that_changes_while_it_is_read_is_refused(tmp_path, monkeypatch):
    path = tmp_path / "growing.csv"
    path.write_text("urea_M,a\n" + "".join(f"{i},{i}\n" for i in range(9)))
    read = Path.read_bytes

    def read_bytes(path):
        with open(path, "a") as file:
            file.write("9,9\n")
        return read(path)

    monkeypatch.setattr(Path, "read_bytes", read_bytes)
    with pytest.raises(ReadError, match="growing.csv: the file changed while it was read; run again"):
        read_file(path)


def test_the_time_of_reading_grows_with_the_size(tmp_path):
    """Curves under each other with notes and deviations, and columns of equal names in two files."""

    def seconds(count):
        rows = [f"w{c},{i},{i % 7 or 'NA'},0.1" for c in range(count) for i in range(6)]
        (tmp_path / "long.csv").write_text("\n".join(["frob,urea_M,signal,sd", *rows]))
        signals = np.random.default_rng(1).normal(size=(9, count))
        for name in ("one.csv", "two.csv"):
            names = [f"v{c} rep {c % 9}" if c % 2 else f"u{c // 9} ({c % 9 + 1})" for c in range(count)]
            pd.DataFrame(signals, range(9), names).to_csv(tmp_path / name, index_label="urea_M")
        started = time.process_time()
        found = read_together([tmp_path / name for name in ("long.csv", "one.csv", "two.csv")])
        assert [len(reading.curves) for _, reading in found] == 3 * [count]
        return time.process_time() - started

    seconds(50)
    assert seconds(2000) < 9.0 * seconds(500)  # 4 times where it is linear, 16 where it is the square
