"""Concentrations in M and temperatures in °C from what tables say of them."""

import re

from .spellings import SPELLINGS, plain

HIGHEST_WITHOUT_UNIT = 15.0  # M; more than any denaturant dissolves, so something else is meant
LEAST_CONCENTRATION = -0.05  # M; a refractometer may read a little below nothing
ENGINE_RANGE = 0.0, 100.0  # °C

_TEMPERATURE_UNIT_OF = {
    name: entry for entry in SPELLINGS["temperature_units"].values() for name in entry["names"]
}
_KEY_OF_UNIT = {name: key for key, entry in SPELLINGS["temperature_units"].items() for name in entry["names"]}
_UNITS = "|".join(sorted(map(re.escape, _TEMPERATURE_UNIT_OF), key=len, reverse=True))
UNITS = rf"{_UNITS}|degrees?|deg\.?|°|º"  # of temperatures in running text and in names
VALUE = r"([+-]?\d+(?:[.,]\d+)?)"
GIVE_OR_TAKE = r"(?:(?:±|\+/-)\s*\d+(?:[.,]\d+)?\s*)?"
RATE = r"\s*(?:/\s*(?:s|sec|m|min|h|hour)\b|per\b|\b(?:s|min|h)\s*-1)"  # behind a unit: no temperature
_TEMPERATURE = re.compile(
    rf"(?:about|approx\.?|ca\.?|c\.|~|≈)?\s*{VALUE}\s*{GIVE_OR_TAKE}"
    rf"({_UNITS})?\s*\.?(?:[(,;].*)?"
)
# A letter that stands alone before the number makes it a residue, as in 'Q 41 C'.
_IN_NAME = re.compile(
    rf"(\bat |@)?(?<![\w.,])(?<!\W[a-su-z] )(?<!^[a-su-z] ){VALUE}\s*{GIVE_OR_TAKE}({UNITS})(?![\w%]|{RATE})"
)
_LEAST_KELVIN = 200.0  # less is an index, as in 'clone 12 K'


def temperature_from(text, unit_text=""):
    """°C of a text such as '15', '288 K' or '25.0 ± 0.1 °C'; None where it is none.

    `unit_text` is the unit that the key or header gives. A bare number above 200 is kelvin.
    """
    match = _TEMPERATURE.fullmatch(plain(text).strip("'\" "))
    if not match:
        return None
    value = float(match[1].replace(",", "."))
    entry = _TEMPERATURE_UNIT_OF.get(match[2] or plain(unit_text))
    return celsius(value, entry)


def celsius(value, entry=None):
    """°C of a number with the table's entry of its unit, or None outside of what is measured."""
    if entry is None:
        kelvin = 200.0 < value < 400.0
        entry = SPELLINGS["temperature_units"]["K" if kelvin else "C"]
    degrees = round(value * entry["scale"] + entry["offset"], 9)
    return degrees if ENGINE_RANGE[0] <= degrees <= ENGINE_RANGE[1] else None


def temperature_unit(header):
    """The table's entry of the unit that a temperature's header or key names, or None."""
    words = plain(header).replace("(", " ").replace(")", " ").replace("[", " ").replace("]", " ")
    words = words.replace("_", " ").replace("/", " ").split()
    tail = words[-1] if len(words) > 1 else ""
    return _TEMPERATURE_UNIT_OF.get(tail) or _TEMPERATURE_UNIT_OF.get(" ".join(words[-2:]))


def unit_in_text(value, unit, text):
    """Key of the unit of temperature, 'C', 'K' or 'F', behind a number within `text`.

    None where the number is an index or an angle. Degrees without a letter are of Celsius.
    """
    key = _KEY_OF_UNIT.get(unit)
    if key is None:
        return None if any(word in text for word in SPELLINGS["temperature_in_text"]["angle"]) else "C"
    return None if key == "K" and value < _LEAST_KELVIN else key


def temperatures_in_name(text):
    """Set of °C that a name states, such as 'F350_40C' or 'WT 298 K', and texts of what may be such."""
    text = plain(text).replace("_", " ")
    found, doubtful = set(), []
    for at, number, unit in _IN_NAME.findall(text):
        value = float(number.replace(",", "."))
        key = unit_in_text(value, unit, text)
        degrees = celsius(value, SPELLINGS["temperature_units"][key]) if key in ("C", "K") else None
        if degrees is not None and (at or unit in _KEY_OF_UNIT):
            found.add(degrees)
        elif degrees is not None:
            doubtful.append(f"{degrees:g} °C")
    return found, doubtful


def temperature_in_name(text):
    """°C that the name of a column states, or None."""
    found, _ = temperatures_in_name(text)
    return found.pop() if len(found) == 1 else None


def factor_to_molar(unit, denaturant):
    """What a number in `unit` is multiplied by to be M, or a sentence of why there is none."""
    if unit is None:
        return 1.0
    if unit.stock is not None:
        return unit.stock / (100.0 if unit.key == "%" else 1.0)
    entry = SPELLINGS["concentration_units"][unit.key]
    if "molar" in entry:
        return entry["molar"]
    if "grams_per_litre" in entry:
        known = SPELLINGS["denaturants"].get(denaturant)
        if known:
            return entry["grams_per_litre"] / known["molar_mass"]
        return f"{unit} needs the name of the denaturant; say --denaturant urea or --denaturant GdmCl"
    return f"{entry['ask']}; say --unit M, --unit mM, --unit '% of 8 M' or --unit '% w/v'"


def soluble(denaturant):
    """M that dissolve at 25 °C; the highest of all where the denaturant is not known."""
    table = SPELLINGS["denaturants"]
    known = table.get(denaturant, {}).get("soluble_M")
    return known or max(entry["soluble_M"] or 0.0 for entry in table.values())
