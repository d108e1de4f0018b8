"""Pieces of a page: its style, pictures within it, tables of escaped cells."""

import base64
import io
from html import escape

STYLE = """
body { font: 15px/1.45 system-ui, sans-serif; color: #1d2733; max-width: 1400px; margin: 2em auto;
       padding: 0 1.2em; }
h1 { font-size: 1.6em; margin-bottom: .1em; } h2 { font-size: 1.2em; margin-top: 2em; }
p.quiet, figcaption { color: #5c6773; } p.methods { max-width: 60em; }
section.warnings { border-left: 4px solid #b8860b; padding: .1em 1em; background: #fdf9ee; }
section.warnings h2 { margin-top: .6em; }
dl.warnings { display: block; } dl.warnings dd { margin: 0 0 .6em 0; }
div.wide { overflow-x: auto; }
table { border-collapse: collapse; font-size: .87em; font-variant-numeric: tabular-nums; }
th { text-align: left; border-bottom: 2px solid #1b3a5c; padding: .3em .7em; white-space: nowrap; }
td { border-bottom: 1px solid #dfe3e8; padding: .25em .7em; vertical-align: top; overflow-wrap: anywhere; }
td:first-child, td:nth-child(2) { min-width: 9em; max-width: 24em; }
td.number { text-align: right; white-space: nowrap; } tr.failed td { color: #a03020; }
div.gallery { display: grid; grid-template-columns: repeat(auto-fill, minmax(520px, 1fr)); gap: 1em; }
figure { margin: 0; border: 1px solid #dfe3e8; border-radius: 6px; padding: .6em; overflow-wrap: anywhere; }
details { margin-top: 1.4em; } summary { cursor: pointer; font-weight: 600; margin-bottom: .4em; }
figure img { width: 100%; } figcaption { font-size: .85em; }
dl { display: grid; grid-template-columns: max-content 1fr; gap: .15em 1.2em; font-size: .9em; }
dt { color: #5c6773; } dd { margin: 0; overflow-wrap: anywhere; }
@media print { figure { break-inside: avoid; } }
"""


def picture(figure, words="", dpi=110, width="100%"):
    """A figure as an image within the page; `words` stand in for it where it cannot be seen."""
    buffer = io.BytesIO()
    figure.savefig(buffer, format="png", dpi=dpi)
    data = base64.b64encode(buffer.getvalue()).decode()
    look = f'alt="{escape(words)}" style="max-width:{width}" loading="lazy"'
    return f'<img src="data:image/png;base64,{data}" {look}>'


def table(heads, rows, numbers=(), failed=()):
    """A table of cells that are HTML already; columns without any content are left out."""
    columns = [k for k in range(len(heads)) if k == 0 or any(row[k] != "" for row in rows)]
    head = "".join(f"<th>{heads[k]}</th>" for k in columns)
    body = "".join(
        f"<tr{' class=failed' if i in failed else ''}>"
        + "".join(f"<td{' class=number' if k in numbers else ''}>{row[k]}</td>" for k in columns)
        + "</tr>"
        for i, row in enumerate(rows)
    )
    return f'<div class="wide"><table><tr>{head}</tr>{body}</table></div>'


def folded(title, content):
    return f"<details><summary>{escape(title)}</summary>{content}</details>"


def listed(texts):
    return f"<ul>{''.join(f'<li>{escape(text)}</li>' for text in texts)}</ul>"


def pairs(entries):
    return f"<dl>{''.join(f'<dt>{escape(str(k))}</dt><dd>{escape(str(v))}</dd>' for k, v in entries)}</dl>"
