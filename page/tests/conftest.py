"""One browser for all tests; every test opens the page anew."""

import pytest
from browser import Browser


@pytest.fixture(scope="session")
def running():
    browser = Browser()
    yield browser
    browser.close()


@pytest.fixture
def page(running):
    running.open()
    yield running
    severe = [entry["message"] for entry in running.driver.get_log("browser") if entry["level"] == "SEVERE"]
    # What the policy refuses is told there, too, and only the test that provokes it may see it.
    assert [message for message in severe if "Content Security Policy" not in message] == []
