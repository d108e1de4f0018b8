"""Reports for people: a page of a run, a fit in a notebook."""

from .page import fit_html, write_report

__all__ = ["fit_html", "write_report"]
