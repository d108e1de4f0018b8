"""What a header means: the words of `spellings.json` and how headers are compared with them.

Headers are taken apart into words in lower case. A unit, in brackets, behind a slash or a comma or
as the last word, is set aside; the words that remain decide the role of the column.
"""

import json
import re
import unicodedata
from dataclasses import dataclass
from functools import lru_cache
from pathlib import Path

SPELLINGS = json.loads(Path(__file__).with_name("spellings.json").read_text(encoding="utf-8"))

_DENATURANT_OF = {name: key for key, entry in SPELLINGS["denaturants"].items() for name in entry["names"]}
_UNIT_OF = {name: key for key, entry in SPELLINGS["concentration_units"].items() for name in entry["names"]}
_OTHER_OF = {word: key for key, words in SPELLINGS["other_quantities"].items() for word in words}
_DEVIATION_OF = {word: key for key, words in SPELLINGS["deviation_words"].items() for word in words}
_HEADERS = {
    role: (frozenset(entry["words"]), frozenset(entry["words"] + entry["fillers"]))
    for role, entry in SPELLINGS["headers"].items()
}
_OF_STOCK = re.compile(
    r"(%|fraction|part)\s*(?:\(?v/?v\)?)?\s*(?:of|von|from)?\s*(?:an?|the)?"
    r"\s*(\d+(?:[.,]\d+)?)\s*(?:m|molar)\b(?:\s*stock)?"
)
_BRACKETS = re.compile(r"[(\[{]([^()\[\]{}]*)[)\]}]")
_BREAK = re.compile(r"[^\w%°±#+.μ·]+|_+|(?<!\d)\.|\.(?!\d)")


def plain(text):
    """Lower case, compatibility forms made one, blanks made single."""
    return " ".join(unicodedata.normalize("NFKC", text).replace("−", "-").lower().split())


def words_of(text):
    """The words of a header, in lower case."""
    return [word for word in _BREAK.split(plain(text)) if word]


@dataclass(frozen=True)
class Unit:
    """A unit of concentration by its key in the table; `stock` in M for per cent of a stock."""

    key: str
    stock: float = None

    def __str__(self):
        return self.key if self.stock is None else f"{self.key} of {self.stock:g} M"


@lru_cache(1024)
def unit_of(text):
    """The `Unit` that a text names, or None."""
    text = plain(text).strip("()[]{} ").removeprefix("in ")
    if match := _OF_STOCK.fullmatch(text):
        return _unit_of_stock(match)
    joined = re.sub(r"[\s·.^*\-]", "", text)
    key = _UNIT_OF.get(joined) or _UNIT_OF.get(re.sub(r"[()/]", "", joined))
    return Unit(key) if key else None


def _unit_of_stock(match):
    return Unit("%" if match[1] == "%" else "fraction", float(match[2].replace(",", ".")))


def denaturant_of(text):
    """The denaturant whose name a text is, or None: 'Gdn-HCl' is 'GdmCl'."""
    return _DENATURANT_OF.get("".join(words_of(text)))


def denaturant_in(text):
    """The one denaturant named among the words of a text, or None."""
    words = words_of(text)
    pairs = [a + b for a, b in zip(words, words[1:])]
    found = {_DENATURANT_OF[w] for w in words + pairs if len(w) > 3 and w in _DENATURANT_OF}
    return found.pop() if len(found) == 1 else None


@dataclass(frozen=True)
class Header:
    """A header taken apart: its role, the unit, the denaturant, and what it is a deviation of.

    `role` is a key of the table's headers, 'deviation', 'other' or None. `stem` holds the words
    that are left when those of the role are gone; `kind` tells the deviations and the other
    quantities apart.
    """

    text: str
    role: str = None
    unit: Unit = None
    denaturant: str = None
    stem: tuple = ()
    kind: str = None


def _without_unit(text):
    """The words of a header without its unit, the unit, and whether brackets or a slash set it off."""
    text = plain(text)
    if match := _OF_STOCK.search(text):
        return words_of(text[: match.start()] + " " + text[match.end() :]), _unit_of_stock(match), True
    for match in reversed(list(_BRACKETS.finditer(text))):
        if unit := unit_of(match[1]):
            return words_of(text[: match.start()] + " " + text[match.end() :]), unit, True
    for mark in ("/", ","):
        head, found, tail = text.rpartition(mark)
        if found and (unit := unit_of(tail)):
            return words_of(head), unit, True
    words = words_of(text)
    for start in range(max(0, len(words) - 3), len(words)):
        number = start > 0 and re.fullmatch(r"[\d.]+", words[start - 1])  # '5 mM' is a value
        if not number and (unit := unit_of("".join(words[start:]))):
            return words[:start], unit, False
    if len(words) > 1 and (unit := unit_of(words[0])):
        return words[1:], unit, False
    return words, None, False


@lru_cache(4096)
def header_of(text):
    """What a header says, as a `Header`."""
    text = text[:400]
    if match := re.fullmatch(r"(\w+?)_?(m?m)", plain(text)):  # 'ureaM'
        text = f"{match[1]} {match[2]}" if match[1] in _DENATURANT_OF and len(match[1]) > 3 else text
    every = words_of(text)
    words, unit, set_off = _without_unit(text)
    make = lambda role, **more: Header(text, role, unit, **more)  # noqa: E731
    if not every:
        return Header(text)
    if found := next((_DEVIATION_OF[word] for word in every if word in _DEVIATION_OF), None):
        fillers = {*_DEVIATION_OF, *SPELLINGS["deviation_fillers"]}
        return make("deviation", stem=tuple(w for w in every if w not in fillers), kind=found)
    core, fillers = _HEADERS["x"]
    rest = [word for word in words if word not in fillers]
    named = denaturant_of(" ".join(rest)) if rest else None
    if named or (
        not rest and (core.intersection(words) or (unit and not unit.stock and "molar" in _entry(unit)))
    ):
        return make("x", denaturant=named)
    if not rest and unit and unit.stock:
        return make("x")
    bare = words[0].rstrip("0123456789") if len(words) == 1 else ""
    if bare in ("x", "y") and bare != words[0]:
        return make(bare)
    for role, (core, fillers) in _HEADERS.items():
        for candidate in (words, every):
            if role != "x" and core.intersection(candidate) and fillers.issuperset(candidate):
                return make(role)
    if _is_temperature(every):
        return make("temperature")
    if other := _other(every, words):
        return make("other", kind=other)
    if set_off and (unit.stock or "molar" in _entry(unit)):  # the concentration of something
        if denaturant_in(text) or _HEADERS["x"][0].intersection(words):
            return make("x", denaturant=denaturant_in(text), stem=tuple(words))
        return make("other", kind="protein or ligand concentration", stem=tuple(words))
    return make(None, stem=tuple(words))


def _entry(unit):
    return SPELLINGS["concentration_units"][unit.key]


def _is_temperature(words):
    """Words such as 'T C' or 'temp °C': a temperature and its unit."""
    core, fillers = _HEADERS["temperature"]
    units = {name for entry in SPELLINGS["temperature_units"].values() for name in entry["names"]}
    keys = core | set(SPELLINGS["short_temperature_keys"])
    return bool(keys.intersection(words)) and len(words) > 1 and (fillers | keys | units).issuperset(words)


def _other(every, words):
    """The quantity other than signal and concentration that a header names."""
    concentration = {"conc", "concentration", "concn", "konzentration"}
    if every[-1] in SPELLINGS["volume_units"]:
        return "volume"
    first = _OTHER_OF.get((words or every)[0])
    if first == "protein or ligand concentration":
        return first if concentration.intersection(every) else None
    units = set(_UNIT_OF) | {"s", "min", "h", "v", "ml", "ul", "μl", "g", "mg"}
    return first if first and all(w in units or w in _OTHER_OF for w in every) else None
