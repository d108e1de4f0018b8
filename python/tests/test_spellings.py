"""Headers, cells, units and temperatures one by one: what each spelling means."""

import pytest

from zolt.reading.numbers import AmbiguousMark, cell_of, proven_marks, values_of
from zolt.reading.mentions import choose, mentions_in
from zolt.reading.quantities import factor_to_molar, temperature_from, temperature_in_name
from zolt.reading.spellings import SPELLINGS, header_of, unit_of

HEADERS = [  # text, role, unit, denaturant
    ("x", "x", None, None),
    ("[D]", "x", None, None),
    ("c / M", "x", "M", None),
    ("Conc. (M)", "x", "M", None),
    ("final [Urea] (M)", "x", "M", "urea"),
    ("Urea, mM", "x", "mM", "urea"),
    ("urea_M", "x", "M", "urea"),
    ("ureaM", "x", "M", "urea"),
    ("GdnM", None, None, None),  # too short a name to be cut
    ("M urea", "x", "M", "urea"),
    ("c(urea)/mol dm-3", "x", "M", "urea"),
    ("Urea (mol·L⁻¹)", "x", "M", "urea"),
    ("Harnstoff [mol/l]", "x", "M", "urea"),
    ("Gdn-HCl (M)", "x", "M", "GdmCl"),
    ("guanidine hydrochloride concentration", "x", None, "GdmCl"),
    ("GuHCl %", "x", "%", "GdmCl"),
    ("% of 8 M urea", "x", "% of 8 M", "urea"),
    ("urea (% of 9.5 M)", "x", "% of 9.5 M", "urea"),
    ("WT urea (M)", "x", "M", "urea"),
    ("Fluorescence", "y", None, None),
    ("CD 222 nm", None, None, None),
    ("mean", "y", None, None),
    ("Sample ID", "curve", None, None),
    ("Mutant", "curve", None, None),
    ("condition", "label", None, None),
    ("Replicate No.", "replicate", None, None),
    ("Well Position", "well", None, None),
    ("Capillary", "well", None, None),
    ("Temp. [°C]", "temperature", None, None),
    ("T (K)", "temperature", None, None),
    ("Sample temperature", "temperature", None, None),
    ("Unnamed: 0", "index", None, None),
    ("No.", "index", None, None),
    ("SD", "deviation", None, None),
    ("WT ±", "deviation", None, None),
    ("std. error of the mean", "deviation", None, None),
    ("Time (s)", "other", None, None),
    ("HT [V]", "other", None, None),
    ("Ligand conc (mM)", "other", None, None),
    ("calcium (mM)", "other", None, None),
    ("buffer (mL)", "other", None, None),
    ("A10C", None, None, None),
    ("Ca 5 mM", None, None, None),
    ("WT", None, None, None),
    ("protein", "curve", None, None),
]


@pytest.mark.parametrize("text, role, unit, denaturant", HEADERS, ids=[row[0] for row in HEADERS])
def test_headers(text, role, unit, denaturant):
    header = header_of(text)
    assert header.role == role
    if_x = (str(header.unit) if header.unit else None, header.denaturant) if role == "x" else (None, None)
    assert if_x == (unit, denaturant)


def test_no_name_has_two_meanings():
    for family in ("denaturants", "concentration_units", "temperature_units"):
        names = [name for entry in SPELLINGS[family].values() for name in entry["names"]]
        assert len(names) == len(set(names)), family
    marks = [text for texts in SPELLINGS["missing"].values() for text in texts]
    assert len(marks) == len(set(marks)) and all(mark == mark.lower() for mark in marks)


CELLS = [  # text, kind, mark that the digits prove
    ("", "blank", ""),
    ("12", "number", ""),
    ("-0.5", "number", "."),
    ("+.5", "number", "."),
    ("5.", "number", "."),
    ("0,512", "number", ","),
    ("1,5", "number", ","),
    ("1,012", "number", "?,"),
    ("1.012", "number", "?."),
    ("1,012.5", "number", "."),
    ("1.012,5", "number", ","),
    ("1,234,567", "number", "."),
    ("1 234 567", "number", ""),
    ("1'012.25", "number", "."),
    ("12,34,5", "text", ""),
    ("1,23.456", "text", ""),
    ("−0.25", "number", "."),
    ("- 0.25", "number", "."),
    ("1.5E-3", "number", "."),
    ("1.5D+02", "number", "."),
    ("1,234E2", "number", ","),
    ("１２.５", "number", "."),
    ("0.5 M", "number", "."),
    ("2 M urea", "number", ""),
    ("500 mM", "number", ""),
    ("12 %", "number", ""),
    ("15 °C", "number", ""),
    ("850 mdeg", "number", ""),
    ("350 nm", "text", ""),
    ("1_000", "text", ""),
    ("0x10", "text", ""),
    ("2024-05-01", "text", ""),
    ("0.5±0.1", "text", ""),
    ("0.512*", "missing", ""),
    ("(0.512)", "text", ""),
    ("<0.01", "missing", ""),
    ("> 65,000", "missing", ""),
    ("*****", "missing", ""),
    ("---", "missing", ""),
    ("n.d.", "missing", ""),
    ("N/A", "missing", ""),
    ("NaN", "missing", ""),
    ("inf", "missing", ""),
    ("1e999", "missing", ""),
    ("9" * 330, "missing", ""),
    ("OVRFLW", "missing", ""),
    ("#DIV/0!", "missing", ""),
    ("#N/A", "missing", ""),
    ("high", "text", ""),
]


@pytest.mark.parametrize("text, kind, mark", CELLS, ids=[row[0][:12] or "blank" for row in CELLS])
def test_cells(text, kind, mark):
    cell = cell_of(text)
    assert (cell.kind, cell.mark) == (kind, mark)
    assert (cell.kind == "missing") == bool(cell.reason)


COLUMNS = [  # texts, marks proven elsewhere in the table, the user's word, numbers
    (["0.5", "1.012"], "", None, [0.5, 1.012]),
    (["1.012", "2.024"], "", None, [1.012, 2.024]),
    (["0,5", "1,012"], "", None, [0.5, 1.012]),
    (["998.5", "1,012"], "", None, [998.5, 1012.0]),
    (["998", "1,012"], ".", None, [998.0, 1012.0]),
    (["998", "1,012"], ",", None, [998.0, 1.012]),
    (["0,5", "1.012"], "", None, [0.5, 1012.0]),
    (["998", "1,012"], "", ",", [998.0, 1.012]),
    (["998", "1,012"], "", ".", [998.0, 1012.0]),
    (["1,5", "2.5"], "", None, [1.5, 2.5]),
    (["1 012,5", "998,25"], "", None, [1012.5, 998.25]),
    (["2.5e3", "1d2"], "", None, [2500.0, 100.0]),
]
DOUBTS = [
    (["998", "1,012"], ""),
    (["1.012", "2.024"], ","),
    (["1,012", "1.012"], ""),
    (["1,5", "2.5", "1,012"], ""),
]


@pytest.mark.parametrize(
    "texts, elsewhere, told, numbers", COLUMNS, ids=[" ".join(row[0]) for row in COLUMNS]
)
def test_decimal_marks_of_a_column(texts, elsewhere, told, numbers):
    cells = [cell_of(text) for text in texts]
    assert values_of(cells, proven_marks(cells) | set(elsewhere), told).tolist() == numbers


@pytest.mark.parametrize("texts, elsewhere", DOUBTS, ids=[" ".join(row[0]) for row in DOUBTS])
def test_numbers_with_two_readings_are_asked_about(texts, elsewhere):
    cells = [cell_of(text) for text in texts]
    with pytest.raises(AmbiguousMark) as doubt:
        values_of(cells, proven_marks(cells) | set(elsewhere))
    assert texts[doubt.value.place] == doubt.value.text


TEMPERATURES = [  # text, unit of the key, °C
    ("25", "", 25.0),
    ("15.5", "c", 15.5),
    ("15,5 °C", "", 15.5),
    ("25.0 ± 0.1 °C", "", 25.0),
    ("ca. 20 °C (cell holder)", "", 20.0),
    ("298.15 K", "", 25.0),
    ("298.15", "", 25.0),
    ("288.15", "k", 15.0),
    ("77 °F", "", 25.0),
    ("0 °C", "", 0.0),
    ("100 °C", "", 100.0),
    ("101 °C", "", None),
    ("20 deg C", "", 20.0),
    ("room temperature", "", None),
    ("15 to 25", "", None),
    ("-80 °C", "", None),
    ("1500", "", None),
]


@pytest.mark.parametrize("text, unit, wanted", TEMPERATURES, ids=[row[0] for row in TEMPERATURES])
def test_temperatures(text, unit, wanted):
    assert temperature_from(text, unit) == (None if wanted is None else pytest.approx(wanted, abs=1e-9))


NAMES = [("F350_40C", 40.0), ("WT 25 °C", 25.0), ("WT-15C rep2", 15.0), ("298 K", 24.85), ("40C 45C", None),
         ("WT at 37 degrees", 37.0), ("scatter at 90 degrees", None), ("Q 41 C", None),
         ("20 +/- 0.1 C", 20.0), ("1 C/min", None), ("WT (37 deg)", None),
         ("A10C", None), ("T4V", None), ("4K", None), ("NRC_1", None), ("C12", None), ("5 M", None)]  # fmt: skip


@pytest.mark.parametrize("name, wanted", NAMES, ids=[row[0] for row in NAMES])
def test_temperatures_in_names(name, wanted):
    assert temperature_in_name(name) == (None if wanted is None else pytest.approx(wanted, abs=1e-9))


TEXTS = [
    ("incubated at 25 C overnight, measured at 37 degrees C", 37.0),
    ("50 mM Tris pH 7.5, 20 C, 1 mM DTT", 20.0),
    ("scanned at 1 °C/min, T was 310 K", 36.85),
    ("protein refolded at 4 °C", None),
    ("pH 7 at 20-25 °C", None),
    ("measured at 20 C and 37 C", None),
    ("melting temperature 53 °C, clone 12 K", None),
]


@pytest.mark.parametrize("text, wanted", TEXTS, ids=[row[0] for row in TEXTS])
def test_temperatures_in_running_text(text, wanted):
    assert choose(mentions_in(text)) == (None if wanted is None else pytest.approx(wanted, abs=1e-9))


UNITS = [("M", None, 1.0), ("mM", None, 1e-3), ("µM", None, 1e-6), ("mol/L", None, 1.0), ("mol dm-3", None, 1.0),
         ("% of 8 M", None, 0.08), ("fraction of 8 M", None, 8.0), ("g/L", "urea", 1 / 60.06),
         ("% w/v", "GdmCl", 10 / 95.53), ("% (w/v)", "urea", 10 / 60.06)]  # fmt: skip
ASKED = [
    ("%", "urea", "per cent of what"),
    ("g/L", None, "--denaturant"),
    ("mol/kg", "urea", "need a density"),
]


@pytest.mark.parametrize("text, denaturant, factor", UNITS, ids=[row[0] for row in UNITS])
def test_units(text, denaturant, factor):
    assert factor_to_molar(unit_of(text), denaturant) == pytest.approx(factor, rel=1e-12)


@pytest.mark.parametrize("text, denaturant, said", ASKED, ids=[row[0] for row in ASKED])
def test_units_that_need_a_word(text, denaturant, said):
    assert said in factor_to_molar(unit_of(text), denaturant)
    assert unit_of("furlong") is None
