"""Names of curves, and which of them are replicates of each other."""

import re
from collections import Counter
from dataclasses import replace

from .curve import LONGEST_NAME
from .grid import tidy_name
from .numbers import cell_of, is_number_as_name
from .spellings import header_of, words_of

_REPLICATE = re.compile(
    r"(.*?)[\s_\-.,(\[]*\b(?:replicate|replica|replikat|repeat|rep|run|trial|n\s*=)"
    r"[\s_.\-#]*(\w{1,3})\b[)\]]?(.*)",
    re.I,
)
# As programs number what is called alike: 'WT', 'WT.1', 'WT.2'. That of 'pH 7.4' beside 'pH 7' is none.
_NUMBERED = re.compile(r"(.*[^\d\s.])(?:\.|\s*\()(\d{1,2})\)?")


def signal_names(table, signals):
    """Names of the signals from header and group; equal ones of one protein are told apart later."""
    names, counts, many = [], Counter(c.name for c in signals), len(table.of("x")) > 1
    repeated = any(count > 1 for count in counts.values())
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
        elif group and (repeated or is_number_as_name(column.name)):
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
    """The names of the signals of a table, counted once for all of its columns."""

    def __init__(self, table):
        self.counts, self._table, self._numbers = Counter(c.name for c in table.of("y")), table, {}
        for name in self.counts:
            if match := _NUMBERED.fullmatch(name):
                self._numbers.setdefault(match[1], []).append(int(match[2]))

    def are_numbered(self, stem):
        """True where 'WT' stands beside 'WT.1', 'WT.2', ... without a gap."""
        numbers = sorted(self._numbers.get(stem, ()))
        counted = (list(range(first, first + len(numbers))) for first in (1, 2))
        return bool(numbers) and stem in self.counts and numbers in counted

    def are_replicates(self, name):
        """True where the name stands more than once and nothing tells its columns apart."""
        several = self.counts[name] > 1 and header_of(name).role is None
        return several and not _told_apart_above(name, self._table)


def _replicate_of(name, names):
    """Group and replicate that the name of a column states: 'WT rep 2', 'WT (2)', 'WT.2' or 'WT' twice."""
    if match := _REPLICATE.fullmatch(name.replace("_", " ")):
        rest = " ".join(filter(None, [match[1].strip(" ,-"), match[3].strip(" ,-")]))
        return rest or "replicates", plain_value(match[2])
    match = _NUMBERED.fullmatch(name)
    stem = match[1] if match else name
    if names.are_numbered(stem):
        return stem, float(match[2]) if match else None
    return (name, None) if names.are_replicates(name) else (None, None)


def _told_apart_above(name, table):
    """True where a row above the names says more of the columns: then equal names are no replicates."""
    marks = list(table.marks.values())
    for row in range(table.rows[0] - 1, -1, -1):
        cells = table.grid.rows[row]
        if not any(cells) or cell_of(cells[0]).kind == "number":
            return False  # the end of this table, or another one
        if name in map(tidy_name, cells) or cells in marks or _is_of_units(cells, table):
            continue
        if any(cells[1:]):
            return True
    return False


def _is_of_units(cells, table):
    return any(
        c.unit_text and c.place < len(cells) and cells[c.place].strip("()[] ") == c.unit_text
        for c in table.columns
    )


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
