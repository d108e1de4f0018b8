"""Names of curves, and which of them are replicates of each other."""

import re
from collections import Counter
from dataclasses import replace

from .curve import LONGEST_NAME
from .grid import tidy_name
from .numbers import cell_of
from .spellings import header_of, words_of

_REPLICATE = re.compile(
    r"(.*?)[\s_\-.,(\[]*\b(?:rep|replicate|replica|repeat|run|trial|replikat|n\s*=)"
    r"[\s_.\-#]*(\w{1,3})\b[)\]]?(.*)",
    re.I,
)
_NUMBERED = re.compile(r"(.+?)(?:\.|\s*\()(\d{1,2})\)?")


def signal_names(table, signals):
    """Names of the signals from header and group; equal ones of one protein are told apart later."""
    names, counts, many = [], Counter(c.name for c in signals), len(table.of("x")) > 1
    for i, column in enumerate(signals, start=1):
        general = header_of(column.name).role in ("y", "deviation") or not column.name
        group = column.group if column.group != column.name else ""
        if group and header_of(group).role in ("x", "y"):
            group = ""
        twin = words_of(column.name)[-1:] == ["y"] and len(words_of(column.name)) > 1
        if twin:
            names.append(re.sub(r"[\s_\-.]*y$", "", column.name, flags=re.I))
        elif general and group:
            names.append(group)
        elif group and counts[column.name] > 1:
            names.append(f"{group} {column.name}")
        elif group and many:
            names.append(group if column.of.name == group else f"{group} {column.name}")
        elif column.name:
            names.append(column.name)
        else:
            over = column.of.name if many and header_of(column.of.name).role is None else ""
            names.append(over or f"curve {i}")
    return names


def names_of(base, named, names, temperature):
    """Name, label, replicate and group of a curve from its keys and the name of its signal.

    `names` are the `SignalNames` of its table.
    """
    texts = {role: text for (role, _), text in named.items()}
    label, replicate = (plain_value(texts[r]) if r in texts else None for r in ("label", "replicate"))
    if not named:
        group, found = _replicate_of(base, names)
        return _short(base), None, found, group
    parts = [texts.get("curve", "")]
    parts += [f"{role} {texts[role]}" for role in ("label", "replicate") if texts.get(role)]
    for (role, header), text in named.items():
        if role == "part" and header_of(header).role == "temperature":
            parts.append(f"{temperature:g} °C")
        elif role == "part":
            parts.append(text if cell_of(text).kind == "text" else f"{tidy_name(header)} {text}")
            label = plain_value(text) if label is None else label
    if names.counts.total() > 1 or not any(parts):
        parts.append(base)
    name = tidy_name(" ".join(filter(None, parts)))
    group = None
    within, number = _replicate_of(base, names)
    if texts.get("replicate"):
        group = (
            tidy_name(" ".join(part for part in parts if part and not part.startswith("replicate "))) or base
        )
    elif within and parts[-1] == base:
        replicate = number
        group = tidy_name(" ".join(filter(None, [*parts[:-1], "" if within == "replicates" else within])))
    return _short(name), label, replicate, group


def _short(name):
    name = tidy_name(name)
    return name if len(name) <= LONGEST_NAME else name[: LONGEST_NAME - 1] + "…"


class SignalNames:
    """The names of all signals of a table, looked through once for those that are numbered alike."""

    def __init__(self, names):
        self.counts, self._stems = Counter(names), {}
        for name in self.counts:
            if match := _NUMBERED.fullmatch(name):
                self._stems.setdefault(match[1], []).append(name)

    def has_twin(self, name, stem):
        """True where another name is the stem, or the stem with another number."""
        return stem in self.counts or any(other != name for other in self._stems.get(stem, ())[:2])

    def is_stem(self, name):
        return name in self._stems


def _replicate_of(name, names):
    """Group and replicate that the name of a column states: 'WT rep 2', 'WT (2)', 'WT.2' or 'WT' twice."""
    if match := _REPLICATE.fullmatch(name.replace("_", " ")):
        rest = " ".join(filter(None, [match[1].strip(" ,-"), match[3].strip(" ,-")]))
        return rest or "replicates", plain_value(match[2])
    if (match := _NUMBERED.fullmatch(name)) and names.has_twin(name, match[1]):
        return match[1], float(match[2])
    if names.is_stem(name):
        return name, None
    if names.counts[name] > 1 and header_of(name).role is None:
        return name, None
    return None, None


def number_replicates(curves):
    """Curves of equal names become numbered replicates of one group."""
    counts, seen, numbered = Counter(c.name for c in curves if c.group == c.name), Counter(), []
    for curve in curves:
        if curve.group == curve.name and counts[curve.name] > 1:
            seen[curve.name] += 1
            number = float(seen[curve.name]) if curve.replicate is None else curve.replicate
            text = f"{number:g}" if isinstance(number, float) else number
            curve = replace(curve, name=f"{curve.name} replicate {text}", replicate=number)
        numbered.append(curve)
    return numbered


def plain_value(text):
    """A number where the text is one, else the text; None for a blank."""
    cell = cell_of(text)
    if cell.kind in ("blank", "missing"):
        return None
    return cell.value(".") if cell.kind == "number" and not cell.unit else tidy_name(cell.text)
