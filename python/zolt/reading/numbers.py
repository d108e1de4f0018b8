"""What a cell says: a number, nothing, a reading that is none, or text.

A point and a comma can both be the decimal mark and both part thousands. A number alone often
tells which ("0,51", "1,012.5"); where it does not ("1,012"), the column decides, then the table,
and where these say nothing the reader asks.
"""

import re
from dataclasses import dataclass
from functools import lru_cache

import numpy as np

from .spellings import SPELLINGS, denaturant_of, plain, unit_of

_REASON_OF = {text: reason for reason, texts in SPELLINGS["missing"].items() for text in texts}
_TEMPERATURE_UNITS = {n for entry in SPELLINGS["temperature_units"].values() for n in entry["names"]}
_MINUS = str.maketrans(dict.fromkeys("−‐‑‒–﹣-", "-"))
_NUMBER = re.compile(
    r"([+-]?)\s*(\d[\d.,'’\u00a0\u2009\u202f ]*|[.,]\d+)(?:[eEdD]([+-]?\d{1,3})(?![\d.,]))?(.*)", re.S
)
_PLAIN = re.compile(r"[+-]?\d{1,15}(?:\.\d{1,15})?")
_GROUPS = re.compile(r"[1-9]\d{0,2}(?:(['’\u00a0\u2009\u202f ])\d{3})(?:\1\d{3})*(?:[.,]\d*)?")
_FEW_DIGITS = re.compile(r"[1-9]\d{0,2}[.,]\d{3}")
_LIMIT = re.compile(r"[<>≤≥~≈]\s*[+-]?[\d.,]+.*")
_FILLED = re.compile(r"[*#\-.=]{2,}")
_WAVELENGTH = re.compile(r"\d+(?:[.,]\d+)?\s*nm")
_FLAG = re.compile(r"\s*[*†‡§!?^#a-d()\[\]]{1,4}")


@dataclass(frozen=True)
class Cell:
    """A cell. `kind` is number, blank, missing or text; `reason` says why a reading is missing.

    Of a number, `mark` is the decimal mark that its digits prove, '?' and the mark where they
    leave it open, or nothing where there is none. `unit` is the text behind the digits.
    """

    kind: str
    text: str = ""
    digits: str = ""
    exponent: int = 0
    mark: str = ""
    unit: str = ""
    reason: str = ""

    def value(self, decimal):
        """The number, if `decimal` is the decimal mark of its column."""
        mark = self.mark.lstrip("?") if self.mark[:1] != "?" else decimal
        other = "," if mark == "." else "."
        return float(f"{self.digits.replace(other, '').replace(',', '.')}e{self.exponent}")


@lru_cache(65536)
def cell_of(text):
    """The `Cell` of a text."""
    text = text.strip()
    if not text:
        return Cell("blank")
    if _PLAIN.fullmatch(text):  # nearly all cells; what follows is for the others
        mark = "" if "." not in text else "?." if _FEW_DIGITS.fullmatch(text.lstrip("+-")) else "."
        return Cell("number", text, text, mark=mark)
    lowered = plain(text)
    if reason := _REASON_OF.get(lowered):
        return Cell("missing", text, reason=reason)
    if _LIMIT.fullmatch(lowered):
        return Cell("missing", text, reason="a limit, not a reading")
    if _FILLED.fullmatch(lowered):
        return Cell("missing", text, reason="not measured")
    found = _NUMBER.fullmatch(text.translate(_MINUS))
    if not found:
        return Cell("text", text)
    sign, digits, exponent, unit = found.groups()
    digits, unit = digits.rstrip(" \u00a0\u2009\u202f"), unit.strip()
    if " " in unit and denaturant_of(unit.split(" ", 1)[1]):
        unit = unit.split(" ", 1)[0]  # '2 M urea'
    shaped = _shape(digits, exponent is not None)
    if shaped is None:
        return Cell("text", text)
    if unit and not _is_unit(unit):
        if _FLAG.fullmatch(unit):
            return Cell("missing", text, reason="marked by hand")
        return Cell("text", text)
    if abs(float(f"{re.sub('[.,]', '', shaped[0])}e{exponent or 0}")) > 1e300:
        return Cell("missing", text, reason="out of the instrument's range")
    return Cell("number", text, sign + shaped[0], int(exponent or 0), shaped[1], unit)


def _is_unit(text):
    lowered = plain(text)
    unit = unit_of(text)
    known = unit is not None and unit.key not in ("nm", "s")
    return known or lowered in _TEMPERATURE_UNITS or lowered in SPELLINGS["signal_units"]


def _shape(digits, has_exponent):
    """Digits without marks of thousands that are certain, and the decimal mark they prove."""
    if not digits[-1].isdigit() and digits[-1] not in ".,":
        return None
    if re.search(r"[^\d.,]", digits):
        if not _GROUPS.fullmatch(digits):
            return None
        digits = re.sub(r"[^\d.,]", "", digits)
    points, commas = digits.count("."), digits.count(",")
    if points + commas == 0:
        return digits, ""
    if points and commas:
        decimal = max(".,", key=digits.rfind)
        thousands = "," if decimal == "." else "."
        form = rf"[1-9]\d{{0,2}}(?:\{thousands}\d{{3}})+\{decimal}\d*"
        return (digits.replace(thousands, ""), decimal) if re.fullmatch(form, digits) else None
    only = "." if points else ","
    if points + commas > 1:
        thousands = re.fullmatch(rf"[1-9]\d{{0,2}}(?:\{only}\d{{3}})+", digits)
        return (digits.replace(only, ""), "," if points else ".") if thousands else None
    return digits, ("?" if _FEW_DIGITS.fullmatch(digits) and not has_exponent else "") + only


def proven_marks(cells):
    """The decimal marks that the cells prove: a set of '.' and ','."""
    return {cell.mark for cell in cells if cell.mark in (".", ",")}


class AmbiguousMark(Exception):
    """A number that can be read in two ways; `place` is its place in the column."""

    def __init__(self, place, text):
        self.place, self.text = place, text


def decimal_of(cells, of_table, decimal=None):
    """The decimal mark of the open numbers of a column.

    `of_table` are the marks proven anywhere in the table and `decimal` is the user's word.
    """
    if decimal:
        return decimal
    asking = {cell.mark for cell in cells if cell.mark[:1] == "?"}
    if not asking:
        return "."
    own = proven_marks(cells)
    marks = own or of_table
    doubt = next(i for i, cell in enumerate(cells) if cell.mark[:1] == "?")
    if len(asking) > 1 or len(marks) > 1:
        raise AmbiguousMark(doubt, cells[doubt].text)
    if asking == {"?."}:  # three digits behind a point are a decimal fraction, unless commas are
        if marks == {","}:
            if not own:
                raise AmbiguousMark(doubt, cells[doubt].text)
            return ","
        return "."
    if not marks:
        raise AmbiguousMark(doubt, cells[doubt].text)
    return next(iter(marks))


def values_of(cells, of_table, decimal=None):
    """The numbers of a column as doubles, NaN where a cell holds none."""
    mark = decimal_of(cells, of_table, decimal)
    return np.array([c.value(mark) if c.kind == "number" else np.nan for c in cells], float)


def has_thousands(cells, of_table, decimal=None):
    """True where a comma or point of the column was taken to part thousands."""
    mark = decimal_of(cells, of_table, decimal)
    return any(cell.mark[:1] == "?" and cell.mark[1] != mark for cell in cells)


def is_number_as_name(text):
    """True for a header that is a number or a wavelength, and so tells nothing of the protein."""
    return cell_of(text).kind == "number" or _WAVELENGTH.fullmatch(plain(text)) is not None
