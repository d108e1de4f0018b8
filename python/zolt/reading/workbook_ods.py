"""Sheets of open documents, .ods: their content is one XML file."""

import io
import zipfile
from xml.etree import ElementTree

from .sheet_rows import text_of
from .taken_out import TakenOut

_SPACE = "{{urn:oasis:names:tc:opendocument:xmlns:{}:1.0}}"
_MOST_REPEATS = 20_000  # columns; sheets are filled up with blanks to their ends


def _named(name):
    space, _, local = name.partition(":")
    return _SPACE.format(space) + local


def sheets_of_ods(raw, cells):
    """Title of every sheet, whether it is visible, and a function for its rows and what is taken out."""
    with zipfile.ZipFile(io.BytesIO(raw)) as package:
        root = ElementTree.fromstring(package.read("content.xml"))
    struck, invisible = set(), set()
    for style in root.iter(_named("style:style")):
        name = style.get(_named("style:name"))
        lines = (part.get(_named("style:text-line-through-style"), "none")
                 for part in style.iter(_named("style:text-properties")))  # fmt: skip
        if any(line != "none" for line in lines):
            struck.add(name)
        tables = style.iter(_named("style:table-properties"))
        if any(part.get(_named("table:display")) == "false" for part in tables):
            invisible.add(name)
    for table in root.iter(_named("table:table")):
        title = table.get(_named("table:name"), "")
        visible = table.get(_named("table:style-name")) not in invisible
        yield title, visible, lambda table=table, title=title: _read(table, title, struck, cells)


def _read(table, title, struck, cells):
    spans, place = [], 1
    for column in table.iter(_named("table:table-column")):
        count = _repeats(column, "columns")
        if _is_hidden(column):
            spans.append((place, place + count - 1))
        place += count
    found, blanks = [], 0  # of rows: texts, places of what is struck through, whether it is hidden
    for row in table.iter(_named("table:table-row")):
        count, (texts, crossed) = _repeats(row, "rows"), _cells(row, struck)
        if not any(texts):
            blanks += count
            continue
        cells.add(blanks + count * (len(texts) + 1), title)
        found += [([], (), False)] * blanks + [(texts, crossed, _is_hidden(row))] * count
        blanks = 0
    taken_out = TakenOut((i for i, (_, _, hidden) in enumerate(found, start=1) if hidden), spans)
    rows = [taken_out.left(i, list(texts), crossed) for i, (texts, crossed, _) in enumerate(found, start=1)]
    return rows, taken_out


def _cells(row, struck):
    """Texts of a row, and the places of those that are struck through."""
    texts, crossed, blanks = [], [], 0
    for cell in row:
        if cell.tag not in (_named("table:table-cell"), _named("table:covered-table-cell")):
            continue
        count, text = _repeats(cell, "columns"), _text(cell)
        if not text:
            blanks += count
            continue
        blanks, count = min(blanks, _MOST_REPEATS), min(count, _MOST_REPEATS)
        texts += [""] * blanks + [text] * count
        if cell.get(_named("table:style-name")) in struck:
            crossed += range(len(texts) - count, len(texts))
        blanks = 0
    return texts, crossed


def _text(cell):
    kind, value = cell.get(_named("office:value-type")), cell.get(_named("office:value"))
    if kind in ("float", "currency", "percentage") and value is not None:
        return text_of(float(value), "%" if kind == "percentage" else "")
    if kind == "boolean":
        return str(cell.get(_named("office:boolean-value")) == "true")
    if kind in ("date", "time"):
        return cell.get(_named(f"office:{kind}-value"), "")
    text = " ".join("".join(part.itertext()) for part in cell.findall(_named("text:p"))).strip()
    return text or ("formula without a value" if cell.get(_named("table:formula")) else "")


def _repeats(element, what):
    return int(element.get(_named(f"table:number-{what}-repeated"), 1))


def _is_hidden(element):
    return element.get(_named("table:visibility"), "visible") != "visible"
