"""The page that does the whole analysis in a browser: where it lies, and how it is written."""

import shutil
from pathlib import Path

_HERE = Path(__file__).resolve().parent


def page_file():
    """The page of the installed package, else that of the source tree or of the system, else None."""
    for path in (
        _HERE / "page" / "zolt.html",
        _HERE.parents[1] / "out" / "zolt.html",
        Path("/usr/share/zolt/zolt.html"),
    ):
        if path.is_file():
            return path
    return None


def write_page(path):
    """Copies the page to a path, or into a folder as zolt.html; returns where it lies.

    Raises FileNotFoundError, in words for a person, where this installation has no page.
    """
    source = page_file()
    if source is None:
        raise FileNotFoundError(
            "This installation has no page: build it with script/page in the source tree, and install again."
        )
    path = Path(path)
    if path.is_dir():
        path = path / "zolt.html"
    if path.resolve() != source:
        shutil.copyfile(source, path)
    return path
