#!/usr/bin/env python3
"""Checks that the rules which a comment refers to as `design.md: NAME` and the ledger of
docs/design.md name each other."""

import re
import sys
from pathlib import Path

ROOT = Path(__file__).resolve().parents[1]
ledger = set(re.findall(r"^\| ([a-z][^|]*?) \|", (ROOT / "docs/design.md").read_text("utf-8"), re.M))
named = set()
for path in (ROOT / "src").rglob("*.[ch]*"):
    text = re.sub(r"\n\s*//\s*", " ", path.read_text("utf-8"))
    named.update(re.findall(r"design\.md: ([^)]*)\)", text))
for entry in sorted(named - ledger):
    print(f"not in the ledger: {entry}")
for entry in sorted(ledger - named):
    print(f"no comment names: {entry}")
sys.exit(named != ledger)
