"""The version, kept in the file VERSION at the top of the source tree."""

from importlib.metadata import PackageNotFoundError, version
from pathlib import Path

_FILE = Path(__file__).resolve().parents[2] / "VERSION"


def _read():
    if _FILE.is_file():
        return _FILE.read_text().strip()
    try:
        return version("zolt")
    except PackageNotFoundError:
        return "unknown"


__version__ = _read()
