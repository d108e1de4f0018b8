"""From bytes to a grid: the encoding, the mark between cells, comments."""

import csv
import re
from collections import Counter

import chardet

from .grid import Grid, ReadError
from .numbers import cell_of
from .spellings import SPELLINGS

MOST_BYTES = 100_000_000
_DELIMITERS = ("\t", ";", "|", ",", None)  # None for blanks; the order decides a draw
_SAMPLE = 200
_BOMS = (
    (b"\xef\xbb\xbf", "utf-8-sig"),
    (b"\xff\xfe\0\0", "utf-32"),
    (b"\0\0\xfe\xff", "utf-32"),
    (b"\xff\xfe", "utf-16"),
    (b"\xfe\xff", "utf-16"),
)
_ERROR_CELLS = {t for t in SPELLINGS["missing"]["an error of a spreadsheet"] if t.startswith("#")}
_FOREIGN = {
    b"%PDF": "a PDF document; export the table as .csv or .xlsx",
    b"\x89PNG": "a picture; the readings themselves are needed",
    b"\xff\xd8\xff": "a picture; the readings themselves are needed",
    b"GIF8": "a picture; the readings themselves are needed",
    b"\x1f\x8b": "a compressed file; unpack it first",
    b"{\\rtf": "a text-processor document; save the table as .csv or .xlsx",
}


def decode(source, raw):
    """The text of the bytes of a file."""
    for start, what in _FOREIGN.items():
        if raw.startswith(start):
            raise ReadError(f"{source}: expected a text table, found {what}.")
    text = _decoded(source, raw)
    odd = sum(c < "\t" or "\r" < c < " " for c in text[:100_000])
    if odd > len(text[:100_000]) // 50 or "\0" in text:
        raise _binary(source)
    if re.match(r"\s*[{\[]\s*[\"{\[]", text[:200]):
        raise ReadError(f"{source}: expected a text table, found JSON; save it as .csv or .xlsx.")
    if re.match(r"\s*<(!doctype|html|\?xml|table)", text[:200], re.I):
        raise ReadError(
            f"{source}: expected a text table, found a web page or XML; save it as .csv or .xlsx."
        )
    return text


def _binary(source):
    return ReadError(f"{source}: expected a text table, found binary data.")


def _decoded(source, raw):
    for mark, encoding in _BOMS:
        if raw.startswith(mark):
            return raw.decode(encoding, errors="replace")
    if b"\0" in raw:
        return _wide_text(source, raw)
    text = raw.decode("utf-8", errors="replace")
    broken = text.count("\ufffd")
    # A damaged text, or none of UTF-8, where few letters would happen to be sound.
    if broken <= sum(c > "\x7f" for c in text) - broken:
        return text
    # Single bytes of the upper half among ASCII are a degree, a micro or an accent: Western.
    runs = re.findall(rb"[\x80-\xff]+", raw)
    if sum(map(len, runs)) > 1.5 * len(runs):
        guess = chardet.detect(raw[:200_000])
        if guess["encoding"] and guess["confidence"] >= 0.8:
            encoding = {"GB2312": "gb18030"}.get(guess["encoding"], guess["encoding"])
            return raw.decode(encoding, errors="replace")
    return raw.decode("cp1252", errors="replace")


def _wide_text(source, raw):
    """UTF-16 without a mark: every second byte of plain text is 0."""
    raw = raw[: len(raw) // 2 * 2]
    even, odd = raw[0::2].count(0), raw[1::2].count(0)
    for zeros, others, encoding in ((odd, even, "utf-16-le"), (even, odd, "utf-16-be")):
        if zeros > 0.3 * len(raw) / 2 and others < 0.05 * len(raw) / 2:
            return raw.decode(encoding, errors="replace")
    raise _binary(source)


def grid_of_text(source, text, skip_rows=0):
    """The `Grid` of a text. Blank rows stay, for they part blocks."""
    lines = re.split(r"\r\n|\r|\n", text)
    lines[:skip_rows] = [""] * min(skip_rows, len(lines))
    sample = [line for line in lines if line.strip() and not _is_comment(line)]
    if sample and all(re.fullmatch(r'"[^"]*[,;\t][^"]*"', line.strip()) for line in sample):
        lines = [line.strip().strip('"') for line in lines]  # every line as a whole in quotes
        sample = [line.strip().strip('"') for line in sample]
    delimiter = _delimiter(sample[-_SAMPLE:] if len(sample) > 2 * _SAMPLE else sample)
    rows, names, comments, widths = [], [], [], []
    for first, record in _records(lines, delimiter):
        if _is_comment(record):
            comments.append((len(rows), record.strip().lstrip("#").strip()))
            continue
        cells = split(record, delimiter)
        widths.append(len(cells))
        while cells and not cells[-1]:
            cells.pop()
        rows.append(cells)
        names.append(f"row {first + 1}")
    return Grid(source, rows, names, comments, delimiter=delimiter, widths=widths)


def split(line, delimiter):
    """The cells of a line."""
    if delimiter is None:
        found = re.findall(r'"([^"]*)"|(\S+)', line)
        return [(quoted or bare).strip() for quoted, bare in found]
    try:
        cells = next(csv.reader([line], delimiter=delimiter, skipinitialspace=True), [])
    except csv.Error:  # a field beyond the limit of the module
        cells = line.split(delimiter)
    return [cell.strip() for cell in cells]


def _is_comment(line):
    line = line.lstrip("\ufeff \t")
    if not line.startswith("#") or line[1:2] in (",", ";", "\t"):
        return False
    return not any(line.lower().startswith(mark) for mark in _ERROR_CELLS) and not re.match(
        r"#{3,}[,;\t]", line
    )


def _records(lines, delimiter):
    """Lines with their numbers; a quoted cell may hold a few line breaks."""
    i = 0
    while i < len(lines):
        first, record = i, lines[i]
        if delimiter and record.count('"') % 2:
            for more in range(1, 4):
                joined = " ".join(lines[i : i + more + 1])
                if i + more < len(lines) and joined.count('"') % 2 == 0:
                    record, i = joined, i + more
                    break
        yield first, record
        i += 1


def _delimiter(sample):
    """The mark that leaves the most cells that are numbers, in rows of equal width."""
    best, found = 0, ","
    for delimiter in _DELIMITERS:
        if delimiter and not any(delimiter in line for line in sample):
            continue
        widths = Counter()
        for line in sample:
            kinds = [cell_of(cell).kind for cell in split(line, delimiter)]
            if delimiter is None:
                kinds = ["text" if " " in k else k for k in kinds]
            if kinds.count("number") + kinds.count("missing") >= 2 and "number" in kinds:
                widths[len(kinds)] += kinds.count("number")
        score = max(widths.values(), default=0)
        if score > best:
            best, found = score, delimiter
    if best == 0:  # no row of numbers: the header alone may tell
        found = next((d for d in _DELIMITERS if d and any(d in line for line in sample)), None)
    return found
