#!/usr/bin/env python3
"""Takes the pictures of the page in docs/images from out/zolt.html, with simulated curves only."""

import sys
from pathlib import Path

TOP = Path(__file__).resolve().parent.parent
sys.path.insert(0, str(TOP / "page" / "tests"))

import curves  # noqa: E402
from browser import Browser  # noqa: E402


def example(name):
    return name, (TOP / "examples" / name).read_text()


def main(out):
    page = Browser()

    def shoot(name):
        page.until(page.idle)
        page.run("scrollTo(0, 0); document.activeElement.blur()")
        page.driver.save_screenshot(str(out / f"page_{name}.png"))

    page.driver.set_window_size(1400, 1020)
    page.open()
    shoot("curve")
    page.give(example("three_state.csv"), example("fkbp12_urea.csv"))
    page.until(lambda: "…" not in page.text("results"))
    page.click("#results summary")
    shoot("states")
    page.give(("plate.csv", curves.plate_of_curves()))
    page.click("#view-plate")
    page.until(lambda: page.count("#picture .well") == 384)
    shoot("plate")
    page.give(example("series.csv"))
    page.click("#compare")
    page.until(lambda: "One m for all" in page.text("set"))
    shoot("compared")
    dark = [{"name": "prefers-color-scheme", "value": "dark"}]
    page.driver.execute_cdp_cmd("Emulation.setEmulatedMedia", {"features": dark})
    page.click("#view-overlay")
    page.until(lambda: page.count("#picture svg path") > 20 and page.idle())
    shoot("dark")
    page.driver.execute_cdp_cmd("Emulation.setEmulatedMedia", {"features": []})
    page.driver.execute_cdp_cmd("Emulation.setDeviceMetricsOverride",
                                {"width": 400, "height": 1100, "deviceScaleFactor": 1, "mobile": True})  # fmt: skip
    page.open()
    shoot("telephone")
    page.close()


if __name__ == "__main__":
    main(Path(sys.argv[1]) if len(sys.argv) > 1 else TOP / "docs" / "images")
