#!/usr/bin/env python3
"""Takes the pictures of the page in docs/images from out/zolt.html, with simulated curves only."""

import io
import sys
from pathlib import Path

from PIL import Image

TOP = Path(__file__).resolve().parent.parent
sys.path.insert(0, str(TOP / "page" / "tests"))

import curves  # noqa: E402
from browser import Browser, example  # noqa: E402

DARK = [{"name": "prefers-color-scheme", "value": "dark"}]


def main(out):
    page = Browser()

    def shoot(name, to="document.body"):
        page.until(page.idle)
        page.run(f"{to}.scrollIntoView(); document.activeElement.blur()")
        picture = Image.open(io.BytesIO(page.driver.get_screenshot_as_png())).convert("RGB")
        picture.quantize(96).save(out / f"page_{name}.png", optimize=True)

    page.driver.set_window_size(1400, 1020)
    page.open()
    page.give(example("series.csv"))
    page.run("document.querySelectorAll('button.row')[3].click()")
    page.until(lambda: "…" not in page.text("results"))
    page.click("#results summary")
    shoot("curve")
    page.click("#compare")
    page.until(lambda: "One m for all" in page.text("set"))
    shoot("compared", "document.querySelector('main')")
    page.click("#read > summary")
    page.until(lambda: page.count("#tables select"))
    shoot("read", "document.getElementById('read')")
    page.click("#read > summary")
    page.driver.execute_cdp_cmd("Emulation.setEmulatedMedia", {"features": DARK})
    page.click("#view-overlay")
    page.until(lambda: page.count("#picture svg circle") > 100)
    shoot("dark")
    page.driver.execute_cdp_cmd("Emulation.setEmulatedMedia", {"features": []})
    page.give(("plate.csv", curves.plate_of_curves()))
    page.click("#view-plate")
    page.until(lambda: page.count("#picture .well") == 384)
    shoot("plate")
    with page.emulated(width=400, height=1100, mobile=True):
        page.open()
        shoot("telephone")
    page.close()


if __name__ == "__main__":
    main(Path(sys.argv[1]) if len(sys.argv) > 1 else TOP / "docs" / "images")
