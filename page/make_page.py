#!/usr/bin/env python3
"""Puts the page together: make_page.py MODULE OUT. The content policy names the hashes of the page's
own scripts and of its style, so that nothing else runs, whatever a file holds."""

import base64
import hashlib
import re
import subprocess
import sys
import zlib
from pathlib import Path

PAGE = Path(__file__).resolve().parent
TOP = PAGE.parent
MOST_BYTES = 400_000


def policy_hash(text):
    return f"'sha256-{base64.b64encode(hashlib.sha256(text.encode()).digest()).decode()}'"


def bundled(entry, *options):
    command = ["esbuild", entry, "--minify", "--charset=utf8", "--legal-comments=none", *options]
    return subprocess.run(command, cwd=PAGE, capture_output=True, text=True, check=True).stdout.strip()


def packed(data):
    return base64.b64encode(zlib.compress(data, 9)).decode()


def main():
    module, out = Path(sys.argv[1]).read_bytes(), Path(sys.argv[2])
    version = (TOP / "VERSION").read_text().strip()
    module_hash = hashlib.sha256(module).hexdigest()[:16]
    script = bundled("app/main.ts", "--bundle", "--format=iife", "--target=es2020", "--loader:.csv=text",
                     f'--define:ZOLT_VERSION="{version}"', f'--define:ZOLT_MODULE_HASH="{module_hash}"')
    loader = bundled("loader.js", "--target=es5")
    style = bundled("page.css")
    licences = [TOP / "LICENSE", *(PAGE / "licences" / name for name in ("parts.txt", "pako.txt"))]
    parts = {
        "script-hashes": f"{policy_hash(script)} {policy_hash(loader)}", "style-hash": policy_hash(style),
        "style": style, "loader": loader, "script": packed(script.encode()), "version": version, "module-hash": module_hash,
        "module": packed(module),
        "licences": "\n\n".join(path.read_text().strip() for path in licences).replace("&", "&amp;").replace("<", "&lt;"),
    }  # fmt: skip
    page = re.sub(r"\{\{([a-z-]+)\}\}", lambda found: parts[found[1]], (PAGE / "page.html").read_text())
    out.parent.mkdir(exist_ok=True)
    out.write_text(page, encoding="utf-8", newline="\n")
    size = out.stat().st_size
    for name in ("module", "script", "style", "licences"):
        print(f"{name:9} {len(parts[name].encode()):7} bytes")
    print(f"{out}: {size} bytes, SHA-256 {hashlib.sha256(out.read_bytes()).hexdigest()}")
    if size > MOST_BYTES:
        raise SystemExit(f"{out}: more than {MOST_BYTES} bytes")


if __name__ == "__main__":
    main()
