"""The page in Firefox, opened from disk: the same numbers, and workers that keep the page alive."""

import re

import curves
import pytest
from browser import PAGE, TOP
from firefox import Firefox

FITTED = "return /interval/.test(document.getElementById('results').innerText) && !document.getElementById('results').innerText.includes('…')"
DROP = """const data = new DataTransfer();
data.items.add(new File([arguments[0]], arguments[1]));
dispatchEvent(new DragEvent('drop', { dataTransfer: data, bubbles: true, cancelable: true }));"""


@pytest.fixture
def firefox():
    browser = Firefox()
    yield browser
    browser.close()


def test_in_firefox(firefox):
    firefox.open(PAGE.as_uri())
    firefox.until(FITTED)
    assert "3.866 ± 0.016" in firefox.run("return document.getElementById('results').innerText")
    firefox.run("document.getElementById('check').click()")
    firefox.until("return document.getElementById('hash').textContent.length === 16")
    pinned = re.search(r"kResults = 0x([0-9a-f]{16})", (TOP / "tests" / "result_hash_test.cpp").read_text())[1]
    assert firefox.run("return document.getElementById('hash').textContent") == pinned
    firefox.run(DROP, curves.wide(6, 30), "six.csv")
    firefox.until("return document.querySelectorAll('button.row').length === 6 && document.getElementById('progress').hidden")
    firefox.until(FITTED)
    assert firefox.run("return document.getElementById('message').textContent").startswith("six.csv: read 180 readings of 6 curves")
