#!/usr/bin/env python3
"""Measures the page in out/zolt.html in headless Chromium with two workers, and prints what stands in page.md."""

import os
import statistics
import sys
from pathlib import Path

TOP = Path(__file__).resolve().parent.parent
sys.path.insert(0, str(TOP / "page" / "tests"))

import curves  # noqa: E402
from browser import PAGE, Browser  # noqa: E402

TWO_WORKERS = "Object.defineProperty(navigator, 'hardwareConcurrency', { get: () => 2 });"
ROUNDS = 7
# From the drop of a file to the last fit, and the longest time that the page did not answer.
DROPPED = """const [text, done] = arguments, data = new DataTransfer(), begun = performance.now();
let last = begun, longest = 0;
const clock = setInterval(() => { const now = performance.now(); longest = Math.max(longest, now - last); last = now; }, 5);
data.items.add(new File([text], 'plate.csv'));
dispatchEvent(new DragEvent('drop', { dataTransfer: data, bubbles: true, cancelable: true }));
const seen = () => {
  const ready = document.getElementById('message').textContent.startsWith('plate.csv') && document.getElementById('progress').hidden
    && document.querySelectorAll('button.row').length === 384;
  if (!ready) return requestAnimationFrame(seen);
  clearInterval(clock);
  done([performance.now() - begun, longest]);
};
seen();"""


def main():
    page = Browser()
    opened, plate = [], []
    text = curves.plate_of_curves()
    with page.before(TWO_WORKERS):
        for _ in range(ROUNDS):
            page.open()
            opened.append(page.run("return performance.getEntriesByName('fit shown')[0].startTime"))
            plate.append(page.driver.execute_async_script(DROPPED, text))
    page.close()
    took, paused = zip(*plate)
    print(f"load {os.getloadavg()[0]:.1f} on {os.cpu_count()} processors, {ROUNDS} rounds: median (least to most)")
    print(f"size: {PAGE.stat().st_size} bytes")
    for name, values in (
        ("opened to first fit", opened),
        ("384 curves of 24 readings, from drop to last fit", took),
        ("longest time without an answer meanwhile", paused),
    ):
        print(f"{name}: {statistics.median(values):.0f} ms ({min(values):.0f} to {max(values):.0f})")


if __name__ == "__main__":
    main()
