"""`zolt page`: writes what the package has, and says what to do where it has none."""

import pytest
from click.testing import CliRunner

from zolt import page
from zolt.cli import main


@pytest.mark.parametrize("folder, place", [(True, "python/zolt/page"), (False, "out")])
def test_page_is_written(tmp_path, monkeypatch, folder, place):
    source = tmp_path / place / "zolt.html"
    source.parent.mkdir(parents=True)
    source.write_bytes(b"<!doctype html>\r\n\xc3\xa9")
    monkeypatch.setattr(page, "_HERE", tmp_path / "python" / "zolt")
    (tmp_path / "own").mkdir()
    written = tmp_path / "own" / "zolt.html"
    told = CliRunner().invoke(main, ["page", str(written.parent if folder else written), "--no-open"])
    assert told.exit_code == 0 and str(written) in told.output
    assert written.read_bytes() == source.read_bytes()


def test_without_a_page(tmp_path, monkeypatch):
    monkeypatch.setattr(page, "page_file", lambda: None)
    told = CliRunner().invoke(main, ["page", str(tmp_path / "zolt.html"), "--no-open"])
    assert told.exit_code == 1 and "script/page" in told.output
    assert list(tmp_path.iterdir()) == []
