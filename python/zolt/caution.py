"""What a careful supervisor would say of a result: `Caution`, and the table of all of them.

Every caution has a short code that stays, a sentence, and advice. Their texts and the limits from which
they are raised stand in `cautions.json`, which the page reads too; docs/warnings.md is made from it.
"""

import json
from dataclasses import dataclass
from pathlib import Path
from types import SimpleNamespace

_FILE = json.loads(Path(__file__).with_name("cautions.json").read_text(encoding="utf-8"))
TABLE = _FILE["cautions"]
LIMITS = SimpleNamespace(**_FILE["limits"])
_OTHER = "other_note"
_NO_MATTER = _FILE["no_matter"]  # codes of notes that raise no doubt


@dataclass(frozen=True)
class Caution:
    """One thing to know before a result is trusted: `code`, `sentence`, and what to do, `advice`."""

    code: str
    sentence: str
    advice: str

    def __str__(self):
        return f"{self.sentence} {self.advice}"


def caution(code, **values):
    """The caution of that code, with the values that its sentence speaks of."""
    entry = TABLE[code]
    sentence = entry["sentence"]
    for name, value in values.items():
        sentence = sentence.replace("{" + name + "}", str(value))
    return Caution(code, sentence, entry["advice"])


def cautions_of_notes(notes):
    """The cautions of a reader's notes on a curve, one per code."""
    texts = {}
    for note in notes:
        if note.code in _NO_MATTER:
            continue
        code = note.code if note.code in TABLE else _OTHER
        texts.setdefault(code, []).append(note.text)
    return [Caution(code, _sentences(said), TABLE[code]["advice"]) for code, said in texts.items()]


def _sentences(texts):
    """The first of the texts as a sentence, and how many there are beside it."""
    first = f"{texts[0][:1].upper()}{texts[0][1:].rstrip('.')}."
    return first if len(texts) == 1 else f"{first} {len(texts) - 1} more like this."


def p_words(p, limit):
    """A chance beside the limit that it is measured by."""
    return f"p = {p:.2g}, {'below' if p < limit else 'not below'} {limit:g}"


def codes_of(cautions):
    """The codes in one cell of a table."""
    return ", ".join(caution.code for caution in cautions)


def text_of(cautions):
    """Sentences and advice in one cell of a table."""
    return " ".join(map(str, cautions))
