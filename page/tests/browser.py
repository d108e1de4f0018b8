"""A headless browser that opens the page from disk, and what a person does with it."""

import json
import shutil
import tempfile
import time
from contextlib import contextmanager
from pathlib import Path

from selenium import webdriver
from selenium.webdriver import ActionChains
from selenium.webdriver.chrome.service import Service
from selenium.webdriver.common.by import By
from selenium.webdriver.common.keys import Keys
from selenium.webdriver.support.ui import WebDriverWait

TOP = Path(__file__).resolve().parents[2]
PAGE = TOP / "out" / "zolt.html"
# The program itself: its wrapper leaves browsers running.
BROWSER, DRIVER = "/usr/lib/chromium/chromium", "/usr/bin/chromedriver"
FLAGS = """--headless --no-sandbox --disable-gpu --disable-quic --no-first-run --disable-sync
--disable-background-networking --disable-component-update --window-size=1400,1000""".split()


class Browser:
    def __init__(self):
        if not PAGE.is_file():
            raise FileNotFoundError(f"{PAGE} is missing; script/page builds it")
        self.folder = Path(tempfile.mkdtemp())
        options = webdriver.ChromeOptions()
        options.binary_location = BROWSER
        for flag in [*FLAGS, f"--user-data-dir={self.folder / 'profile'}"]:
            options.add_argument(flag)
        self.taken = self.folder / "taken"
        self.taken.mkdir()
        options.add_experimental_option("prefs", {
            "download.default_directory": str(self.taken),
            "profile.default_content_setting_values.automatic_downloads": 1,
        })  # fmt: skip
        options.set_capability("goog:loggingPrefs", {"browser": "ALL"})
        self.driver = webdriver.Chrome(service=Service(DRIVER), options=options)
        self.driver.set_script_timeout(60)

    def close(self):
        self.driver.quit()
        shutil.rmtree(self.folder, ignore_errors=True)

    def open(self):
        self.driver.get(PAGE.as_uri())
        self.until(lambda: "interval" in self.text("results") and "…" not in self.text("results"))

    def until(self, true, seconds=40):
        WebDriverWait(self.driver, seconds, poll_frequency=0.05).until(lambda _: true())

    def run(self, script, *arguments):
        return self.driver.execute_script(script, *arguments)

    def find(self, selector):
        return self.driver.find_element(By.CSS_SELECTOR, selector)

    def count(self, selector):
        return len(self.driver.find_elements(By.CSS_SELECTOR, selector))

    def text(self, name):
        return self.run("return document.getElementById(arguments[0]).innerText", name)

    def click(self, selector):
        self.run("document.querySelector(arguments[0]).click()", selector)

    def choose(self, name, value):
        self.run("const e = document.getElementById(arguments[0]); e.value = arguments[1];"
                 "e.dispatchEvent(new Event('change', {bubbles: true}))", name, value)  # fmt: skip
        self.drawn()  # from here on the page shows whether it is at work

    def press(self, *keys):
        """Presses keys one by one, wherever the focus is by then."""
        for key in keys:
            ActionChains(self.driver, duration=0).send_keys(key).perform()

    def give(self, *files, wait=True):
        """Chooses files, given as name and text, and waits until they are fitted."""
        paths = []
        for name, content in files:
            path = self.folder / name
            path.write_bytes(content if isinstance(content, bytes) else content.encode())
            paths.append(str(path))
        begun = self.fits() if wait else None
        self.run("document.getElementById('message').textContent = 'unread'; document.getElementById('faults').textContent = ''")
        self.find("#files").send_keys("\n".join(paths))
        if wait:
            self.until(lambda: self.fits() > begun)
            self.drawn()
        else:
            self.until(lambda: self.text("message") != "unread" and (self.text("faults") or self.text("message").startswith(files[0][0])
                                                                     or not self.idle()))  # fmt: skip

    def fits(self):
        """How often everything that was open has been fitted."""
        return self.run("return performance.getEntriesByName('fitted').length")

    def drawn(self):
        """Waits until what is known is drawn."""
        self.driver.execute_async_script("const done = arguments[0]; requestAnimationFrame(() => requestAnimationFrame(() => done()))")

    def idle(self):
        return self.run("return document.getElementById('progress').hidden") and "Fitting …" not in self.text("results")

    def export(self, what, name):
        """The bytes of what the page gives to be saved."""
        path = self.taken / name
        path.unlink(missing_ok=True)
        self.click(f"#export-{what}")
        deadline = time.monotonic() + 30
        while not path.exists() and time.monotonic() < deadline:
            time.sleep(0.05)
        return path.read_bytes()

    @contextmanager
    def before(self, script):
        """Runs a script in every page that is opened, before the page's own."""
        added = self.driver.execute_cdp_cmd("Page.addScriptToEvaluateOnNewDocument", {"source": script})
        try:
            yield
        finally:
            self.driver.execute_cdp_cmd("Page.removeScriptToEvaluateOnNewDocument", added)

    @contextmanager
    def emulated(self, **metrics):
        """A screen of another size."""
        usual = {"deviceScaleFactor": 1, "mobile": False, "height": 900}
        self.driver.execute_cdp_cmd("Emulation.setDeviceMetricsOverride", {**usual, **metrics})
        try:
            yield
        finally:
            self.driver.execute_cdp_cmd("Emulation.clearDeviceMetricsOverride", {})

    def session(self):
        return json.loads(self.export("session", "session.json"))


def example(name):
    return name, (TOP / "examples" / name).read_text()


def readings(session):
    return [(curve["x"], curve["y"], curve["temperature"]) for curve in session["curves"]]


__all__ = ["Browser", "Keys", "PAGE", "TOP", "example", "readings"]
