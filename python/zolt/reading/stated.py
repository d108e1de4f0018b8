"""What the text around a table states: temperature, denaturant, unit, names of axes."""

import re
from dataclasses import dataclass

from .quantities import degrees_in, temperature_from, temperature_unit
from .spellings import SPELLINGS, Unit, denaturant_in, denaturant_of, header_of, plain, unit_of

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
    loose: tuple = ()  # temperatures in running text, which may be of anything
    axes: tuple = ()  # headers that an instrument writes above its columns


def _stated(pairs, texts):
    """The `Stated` of pairs of key and value and of running texts."""
    temperature = denaturant = unit = unclear = None
    axes, loose = {}, []
    for key, value in pairs:
        bare = plain(key).strip("#%!/:;$ ")
        header = header_of(bare)
        if header.role == "temperature" or bare in SPELLINGS["short_temperature_keys"]:
            entry = temperature_unit(bare)
            name = entry["names"][0] if entry else ""
            degrees = temperature_from(value, name)
            if degrees is None:
                unclear = unclear or value
            elif temperature is not None and abs(degrees - temperature) > 1.0:
                unclear = unclear or f"{temperature:g} °C and {degrees:g} °C"
            elif temperature is None:
                temperature = degrees
        elif bare in SPELLINGS["metadata"]["denaturant"]:
            denaturant = denaturant or _denaturant(value)
        elif bare in SPELLINGS["metadata"]["unit"]:
            unit = unit or unit_of(value)
        elif bare in SPELLINGS["axis_keys"]:
            axes.setdefault(bare, value)
        else:
            loose += degrees_in(value)
    for text in texts:
        loose += degrees_in(text)
    temperature = None if unclear else temperature
    headers = tuple(axes[key] for key in SPELLINGS["axis_keys"] if key in axes)
    return Stated(temperature, denaturant, unit, unclear, tuple(loose), headers)


def _denaturant(text):
    return denaturant_of(text) or denaturant_in(text)


def states_something(cells):
    """True for a row such as 'Temperature, 25'."""
    key = plain(cells[0]).strip("#%!/:;$=. ") if cells else ""
    known = (
        SPELLINGS["metadata"]["denaturant"]
        + SPELLINGS["metadata"]["unit"]
        + SPELLINGS["short_temperature_keys"]
    )
    return key in known or key in SPELLINGS["axis_keys"] or header_of(key).role == "temperature"


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
            texts.append(" ".join(cells))
    return _stated(pairs, texts)


def _sort(text, pairs, texts):
    """A line is a pair of key and value, or running text."""
    text = text[:_LONGEST_LINE]
    if text.count("=") + text.count(":") > 1:  # several statements in a line
        for part in re.split(r"[,;]\s+", text)[1:]:
            if match := _KEY_VALUE.fullmatch(part):
                pairs.append((match[1], match[2]))
    if temperature_from(text) is not None and degrees_in(text):
        pairs.append(("temperature", text))
    elif match := _KEY_VALUE.fullmatch(text):
        pairs.append((match[1], match[2]))
    elif (match := _WORDS_VALUE.fullmatch(text)) and header_of(match[1]).role == "temperature":
        pairs.append((match[1], match[2]))
    elif len(words := text.split(None, 1)) == 2 and plain(words[0]) in SPELLINGS["axis_keys"]:
        pairs.append(tuple(words))
    texts.append(text)
