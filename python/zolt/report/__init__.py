"""Reports for people: a page of a run, its methods section, a fit in a notebook."""

from .methods import REFERENCES, methods
from .page import fit_html, write_report

__all__ = ["REFERENCES", "fit_html", "methods", "write_report"]
