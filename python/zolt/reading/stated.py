"""What the text around a table states: temperature, denaturant, unit, names of axes."""

import re
from dataclasses import dataclass

from .mentions import Mention, choose, mentions_in
from .quantities import temperature_from, temperature_unit
from .spellings import SPELLINGS, Unit, denaturant_in, denaturant_of, header_of, plain, unit_of, words_of

_LONGEST_LINE = 400  # characters of a line that are looked at
_WORDS_VALUE = re.compile(r"\W*([^\d:=]+?)\s+([+-]?\d.*)")
_KEY_VALUE = re.compile(r"\s*([^:=\t;,]{1,60}?)\s*[:=\t;,]\s*(\S.*)")


@dataclass(frozen=True)
class Stated:
    """What the text around a table states: temperature in °C, denaturant and unit, or None.

    `unclear` is a temperature that was given and could not be understood.
    """

    temperature: float = None
    denaturant: str = None
    unit: Unit = None
    unclear: str = None
    mentioned: tuple = ()  # temperatures in running text, of which none is for certain that of the curves
    axes: tuple = ()  # headers that an instrument writes above its columns


def _stated(pairs, texts):
    """The `Stated` of pairs of key and value and of running texts."""
    temperature = denaturant = unit = unclear = None
    axes, mentioned = {}, []
    for key, value in pairs:
        bare = plain(key).strip("#%!/:;$ ")
        if _is_temperature(bare):
            degrees = _given(bare, value)
            if degrees is None:
                unclear = unclear or value
            elif temperature is None:
                temperature = degrees
            elif _differ(degrees, temperature):
                unclear = unclear or f"{temperature:g} °C and {degrees:g} °C"
        elif bare in SPELLINGS["metadata"]["denaturant"]:
            denaturant = denaturant or _denaturant(value)
        elif bare in SPELLINGS["metadata"]["unit"]:
            unit = unit or unit_of(value)
        elif bare in SPELLINGS["axis_keys"]:
            axes.setdefault(bare, value)
        elif _speaks_of_temperature(bare) and (degrees := _given(bare, value)) is not None:
            mentioned.append(Mention(degrees, f"{degrees:g} °C", "bare"))
    mentioned += [mention for text in texts for mention in mentions_in(text)]
    stated = [m.degrees for m in mentioned if m.kind == "explicit" and m.degrees is not None]
    if temperature is None and not unclear:
        temperature = choose(mentioned)
    elif temperature is not None and (others := [t for t in stated if _differ(t, temperature)]):
        unclear = unclear or f"{temperature:g} °C and {others[0]:g} °C"
    temperature = None if unclear else temperature
    doubts = () if temperature is not None else tuple(dict.fromkeys(mention.text for mention in mentioned))
    room = SPELLINGS["temperature_in_text"]["room"]
    if temperature is None and not doubts and any(word in plain(text) for text in texts for word in room):
        doubts = ("room temperature",)
    headers = tuple(axes[key] for key in SPELLINGS["axis_keys"] if key in axes)
    return Stated(temperature, denaturant, unit, unclear, doubts, headers)


def _given(key, value):
    """°C of the value of a key that is a temperature; None where it is none or more than one."""
    entry = temperature_unit(key)
    degrees = temperature_from(value, entry["names"][0] if entry else "")
    mentions = mentions_in(f"temperature: {value}")
    if degrees is None:
        return choose(mentions)
    return None if any(m.kind == "bare" and m.degrees != degrees for m in mentions) else degrees


def _differ(one, other):
    return abs(one - other) > 1.0


def _denaturant(text):
    return denaturant_of(text) or denaturant_in(text)


def states_something(cells):
    """True for a row such as 'Temperature, 25'."""
    key = plain(cells[0]).strip("#%!/:;$=. ") if cells else ""
    known = SPELLINGS["metadata"]["denaturant"] + SPELLINGS["metadata"]["unit"]
    return key in known or key in SPELLINGS["axis_keys"] or _is_temperature(key)


def _speaks_of_temperature(key):
    return any(word in SPELLINGS["headers"]["temperature"]["words"] for word in words_of(key))


def _is_temperature(key):
    return header_of(key).role == "temperature" or key in SPELLINGS["short_temperature_keys"]


def stated_around(grid, rows):
    """What comments and the rows around the tables state."""
    pairs, texts = [], []
    for _, text in grid.comments:
        _sort(text, pairs, texts)
    for row in rows:
        cells = [cell for cell in grid.rows[row] if cell]
        if len(cells) == 1 or grid.delimiter is None:
            _sort(" ".join(cells), pairs, texts)
        else:
            pairs.append((cells[0].rstrip(":= "), " ".join(cells[1:3])))
            texts.append(" ".join(cells)[:_LONGEST_LINE])
    return _stated(pairs, texts)


def _sort(text, pairs, texts):
    """A line is a pair of key and value, or running text."""
    text = text[:_LONGEST_LINE]
    if text.count("=") + text.count(":") > 1:  # several statements in a line
        for part in re.split(r"[,;]\s+", text)[1:]:
            if match := _KEY_VALUE.fullmatch(part):
                pairs.append((match[1], match[2]))
    if match := _KEY_VALUE.fullmatch(text):
        pairs.append((match[1], match[2]))
    elif (match := _WORDS_VALUE.fullmatch(text)) and _is_temperature(plain(match[1])):
        pairs.append((match[1], match[2]))
    elif len(words := text.split(None, 1)) == 2 and plain(words[0]) in SPELLINGS["axis_keys"]:
        pairs.append(tuple(words))
    texts.append(text)
