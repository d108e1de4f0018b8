"""Files in, curves out; and the sentences about files that cannot be used."""

import numpy as np
import pandas as pd
import pytest

from zolt import ReadError, read_curves

PLAIN = "urea_M,a,b\n0,1.5,2\n1,2.5,\n2,3.5,4\n"
SAME = {
    "comma": PLAIN.encode(),
    "BOM and CR LF": b"\xef\xbb\xbf" + PLAIN.replace("\n", "\r\n").encode(),
    "UTF-16": PLAIN.encode("utf-16"),
    "semicolon, decimal comma": b"x;a;b\n0;1,5;2\n1;2,5;\n2;3,5;4,0\n",
    "tab": PLAIN.replace(",", "\t").encode(),
    "tab, decimal comma": b"x\ta\tb\n0\t1,5\t2\n1\t2,5\t\n2\t3,5\t4\n",
    "blanks": b"x a b\n0 1.5 2\n1 2.5 NA\n2 3.5 4\n",
    "blanks, decimal comma": b"x a b\n0 1,5 2\n1 2,5 NA\n2 3,5 4\n",
    "quoted decimal comma": b'x,a,b\n0,"1,5",2\n1,"2,5",\n2,"3,5",4\n',
    "comments": b"# made today, with care\n#Temperature: 25\n" + PLAIN.encode() + b"\n# end\n",
    "unsorted": b"x,a,b\n2,3.5,4\n0,1.5,2\n1,2.5,nan\n",
    "long": b"sample,concentration,signal\nb,0,2\na,1,2.5\na,0,1.5\na,2,3.5\nb,2,4\n",
    "latin letters": "x (M),a,b,\xb5\n0,1.5,2,0\n1,2.5,,0\n2,3.5,4,0\n".encode("latin-1"),
}


@pytest.mark.parametrize("text", SAME.values(), ids=SAME.keys())
def test_the_same_curves_from_every_format(text, tmp_path):
    (tmp_path / "file.csv").write_bytes(text)
    curves = {curve.name: curve for curve in read_curves(tmp_path / "file.csv")}
    assert curves["a"].x.tolist() == [0, 1, 2] and curves["a"].y.tolist() == [1.5, 2.5, 3.5]
    assert curves["b"].x.tolist() == [0, 2] and curves["b"].y.tolist() == [2, 4]
    assert curves["a"].temperature == (25.0 if b"Temperature" in text else None)


def test_excel_reads_like_text(tmp_path):
    path = tmp_path / "book.xlsx"
    pd.DataFrame({"x": [1, 0, 2], "a": [2.5, 1.5, None]}).to_excel(path, index=False)
    (curve,) = read_curves(path)
    assert (curve.x.tolist(), curve.y.tolist()) == ([0, 1], [1.5, 2.5])


def test_a_file_without_header_and_with_repeated_concentrations(tmp_path):
    (tmp_path / "f.txt").write_text("1 5\n0 3\n1 4\n")
    (curve,) = read_curves(tmp_path / "f.txt")
    assert (curve.name, curve.x.tolist(), curve.y.tolist()) == ("curve 1", [0, 1, 1], [3, 5, 4])


def test_labels_of_wide_and_long_tables(tmp_path):
    (tmp_path / "wide.csv").write_text("x,a,b\nlabel,5,10\nreplicate,1,2\ntemperature,20,25\n0,1,2\n1,3,4\n")
    (tmp_path / "long.csv").write_text("label,x,y,replicate\n5,0,1,1\n5,1,3,1\n10,0,2,2\n10,1,4,2\n")
    for name in ("wide", "long"):
        a, b = read_curves(tmp_path / f"{name}.csv")
        assert (a.label, b.label, a.replicate, b.replicate) == (5.0, 10.0, 1.0, 2.0)
        assert b.y.tolist() == [2, 4]
    assert read_curves(tmp_path / "wide.csv")[0].temperature == 20.0


def write_plate(folder, wells):
    """A matrix of 8 by 12 readings with value 100 row + column, and its layout."""
    lines = ["," + ",".join(map(str, range(1, 13)))]
    lines += ["ABCDEFGH"[r] + "".join(f",{100 * r + c}" for c in range(1, 13)) for r in range(8)]
    (folder / "plate.csv").write_text("\n".join(lines))
    layout = pd.DataFrame(wells, columns=["well", "sample", "concentration", "label", "replicate"])
    layout.to_csv(folder / "layout.csv", index=False)
    return folder / "plate.csv", folder / "layout.csv"


def test_a_plate_is_joined_with_its_layout(tmp_path):
    wells = [["B02", "p53", 1.5, 5, 1], ["B1", "p53", 0.5, 5, 1], ["H12", "p53", 0.5, 5, 2], ["A1", "", "", "", ""]]
    first, second = read_curves(*write_plate(tmp_path, wells))
    assert (first.x.tolist(), first.y.tolist()) == ([0.5, 1.5], [101, 102])
    assert second.y.tolist() == [712] and second.replicate == 2.0 and first.label == 5.0
    assert second.details["well"] == "H12"


BAD = [
    ("empty", b"", "holds no data"),
    ("one column", b"x\n1\n2\n", "one column; expected a concentration column"),
    ("header only", b"x,y\n", "no readings below"),
    ("text in a cell", b"x,a\n0,1\n# note\n1,high\n", "row 4, column 2: expected a reading of 'a', found 'high'"),
    ("text as concentration", b"x,a\n0,1\nzero,2\n", "row 3, column 1: expected a concentration in M, found 'zero'"),
    ("reading without x", b"x,a\n0,1\n,2\n", "row 3: a reading without a concentration"),
    ("binary", bytes(range(256)) * 4, "binary data"),
]


@pytest.mark.parametrize("text, said", [row[1:] for row in BAD], ids=[row[0] for row in BAD])
def test_a_bad_file_is_told_by_place_and_expectation(text, said, tmp_path):
    path = tmp_path / "bad.csv"
    path.write_bytes(text)
    with pytest.raises(ReadError) as fault:
        read_curves(path)
    assert str(fault.value).startswith(str(path)) and said in str(fault.value)
    assert "\n" not in str(fault.value)


def test_bad_workbooks_plates_and_layouts(tmp_path):
    plate, layout = write_plate(tmp_path, [["Z9", "a", 1, "", ""]])
    (tmp_path / "no.xlsx").write_bytes(b"no workbook")
    (tmp_path / "short.csv").write_text("well,sample\nA1,a\n")
    (tmp_path / "plain.csv").write_text(PLAIN)
    for arguments, said in (
        ((plate, layout), "layout.csv, row 2, column 1: .*no well 'Z9'"),
        ((plate, tmp_path / "short.csv"), "missing: concentration"),
        ((tmp_path / "plain.csv", layout), "expected a plate matrix"),
        ((tmp_path / "no.xlsx",), "expected an Excel workbook"),
        ((tmp_path / "none.csv",), "no such file"),
    ):
        with pytest.raises(ReadError, match=said):
            read_curves(*arguments)


def test_a_blank_column_is_a_curve_without_readings(tmp_path):
    (tmp_path / "f.csv").write_text("x,a,b\n0,1,\n1,2,\n")
    a, b = read_curves(tmp_path / "f.csv")
    assert b.name == "b" and b.x.size == 0 and np.array_equal(a.y, [1, 2])
