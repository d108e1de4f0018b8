"""Temperatures that running text mentions, and which of them is the one of the measurement."""

import re
from dataclasses import dataclass, replace

from .quantities import GIVE_OR_TAKE, RATE, UNITS, VALUE, celsius, unit_in_text
from .spellings import SPELLINGS, plain

_WORDS = SPELLINGS["temperature_in_text"]
_KEYS = SPELLINGS["headers"]["temperature"]["words"] + SPELLINGS["short_temperature_keys"]
_T = "|".join(map(re.escape, _KEYS))
_ROUGHLY = r"(?:\b(?:about|around|approx\.?|ca\.?|constant)|[~≈(])?\s*"
_MENTION = re.compile(rf"(?<![\w.,]){VALUE}\s*{GIVE_OR_TAKE}({UNITS})(?!-?\w)")
_IS = r"(?:\s*[:=]|\s+(?:is|was|of|at|set to|held at|kept at))*\s*"
_AFTER_T = re.compile(rf".*(?<!\w)(?:{_T})\.?{_IS}{_ROUGHLY}")
_AFTER_AT = re.compile(rf".*(?:(?<!\w)(?:at|bei)\s|@)\s*{_ROUGHLY}")
_ITEM_BEFORE = re.compile(rf"(?:.*[,;|(])?[\W_]*{_ROUGHLY}")
_ITEM_BEHIND = re.compile(r"\s*\.?(?:[,;|()].*)?")
_LINK = re.compile(r"\s*(?:and|or|to|then|und|oder|bis|-|–|/|&|,(?:\s*then)?)\s*")
_RATE = re.compile(RATE)


@dataclass(frozen=True)
class Mention:
    """A temperature in running text, in °C or None where nothing is measured at it.

    `kind` is 'explicit' ('T 310 K', 'measured at 20 C'), 'plain' ('at 37 degrees', or an item of a
    list), 'other' (of a storage, an incubation) or 'bare'.
    """

    degrees: float
    text: str
    kind: str


def mentions_in(line):
    """The `Mention`s of a line of running text, in order."""
    text = plain(line)
    found, end = [], None
    for match in _MENTION.finditer(text):
        value = float(match[1].replace(",", "."))
        unit = unit_in_text(value, match[2], text)
        if unit is None or _RATE.match(text, match.end()):
            continue
        kind = _kind(text[: match.start()], text[match.end() :])
        if end is not None and _LINK.fullmatch(text, end, match.start()):  # 'at 20 and 37 °C' is not one
            found[-1] = replace(found[-1], kind="bare")
            kind = "bare"
        shown = f"{match[1]} {'K' if unit == 'K' else '°' + unit}"
        found.append(Mention(celsius(value, SPELLINGS["temperature_units"][unit]), shown, kind))
        end = match.end()
    return found


def _kind(before, behind):
    cue = _cue(before)
    if _AFTER_T.fullmatch(before):
        return "other" if cue == "other" else "explicit"
    if _AFTER_AT.fullmatch(before):
        return {"measured": "explicit", None: "plain"}.get(cue, "other")
    if cue == "other":
        return "other"
    return "plain" if _ITEM_BEFORE.fullmatch(before) and _ITEM_BEHIND.fullmatch(behind) else "bare"


def _cue(before):
    """Of what the last word speaks that says what was done: 'measured', 'other', or None."""
    words = re.findall(r"\w+", before)
    for word in reversed(words):
        if word in _WORDS["measured"]:
            return "measured"
        if word in _WORDS["other"]:
            return "other"
    return "other" if any(word.endswith("ed") for word in words) else None


def choose(mentions):
    """The one temperature that mentions state for certain in °C, or None."""
    explicit = [m for m in mentions if m.kind == "explicit"]
    found = {m.degrees for m in explicit or mentions}
    certain = explicit or all(m.kind == "plain" for m in mentions)
    return found.pop() if certain and len(found) == 1 else None
