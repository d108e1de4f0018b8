"""What must not happen: data sent, a page that stands still or falls over, words that cannot be read."""

import http.server
import re
import subprocess
import sys
import threading
import time

import curves
import native
import pytest
from browser import PAGE, TOP, Keys, example
from native import close


def test_nothing_is_sent_and_names_stay_text(page):
    heard = []

    class Listener(http.server.BaseHTTPRequestHandler):
        def do_GET(self):
            heard.append(self.path)

        def log_message(self, *_):
            pass

    server = http.server.ThreadingHTTPServer(("127.0.0.1", 0), Listener)
    threading.Thread(target=server.serve_forever, daemon=True).start()
    at = f"http://127.0.0.1:{server.server_port}"
    name = f'"<img src=""{at}/name"" onerror=""document.title=1""><script src=""{at}/s""></script>"'
    page.give(("markup.csv", curves.wide(2, 30).replace("c0", name)))
    assert "<img src=" in page.text("curves")
    assert page.count("main img, main script, #picture image") == 0
    tried = page.driver.execute_async_script(
        """const [at, done] = arguments;
        const image = new Promise((end) => { const i = new Image(); i.onerror = () => end('refused'); i.onload = () => end('sent'); i.src = at + '/i'; });
        Promise.allSettled([fetch(at + '/f'), image, new Promise((_, no) => { try { const s = new WebSocket(at.replace('http', 'ws')); s.onerror = no; } catch (e) { no(e); } })])
          .then((all) => done(all.map((one) => one.status === 'rejected' ? 'refused' : one.value)));""", at)  # fmt: skip
    assert tried == ["refused"] * 3
    page.export("results", "results.csv")
    server.shutdown()
    assert heard == []


def test_a_wrong_file_gives_a_sentence_and_changes_nothing(page):
    before = page.text("results")
    page.give(("words.csv", "some words\nand more of them\n"), wait=False)
    assert page.text("faults").startswith("words.csv")
    page.give(("broken.json", '{"format": "zolt session", "formatVersion": 1, "curves": [{"x": [1], "y": []}]}'), wait=False)
    assert "curve 1 of the session is damaged" in page.text("faults")
    assert page.text("results") == before


# A telephone, and a screen of 1400 at 200 %.
@pytest.mark.parametrize("screen", [{"width": 360, "mobile": True}, {"width": 700, "deviceScaleFactor": 2}])
def test_nothing_is_cut_off_on_a_narrow_screen(page, screen):
    with page.emulated(**screen):
        page.give(example("series.csv"))
        page.click("#read > summary")
        page.until(lambda: page.count("#tables select"))
        assert page.run("return document.documentElement.scrollWidth") <= screen["width"]
        unnamed = """return [...document.querySelectorAll('button, select, input:not([hidden])')]
          .filter((e) => !(e.textContent.trim() || e.labels?.length || e.ariaLabel)).map((e) => e.outerHTML)"""
        assert page.run(unnamed) == []


@pytest.mark.parametrize("scheme", ["light", "dark"])
def test_words_stand_out_from_the_paper(page, scheme):
    page.driver.execute_cdp_cmd("Emulation.setEmulatedMedia", {"features": [{"name": "prefers-color-scheme", "value": scheme}]})
    names = ["paper", "shade", "ink", "faint", "act", "warn"]
    script = "const s = getComputedStyle(document.documentElement); return arguments[0].map((name) => s.getPropertyValue('--' + name).trim())"
    colours = dict(zip(names, map(luminance, page.run(script, names))))
    page.driver.execute_cdp_cmd("Emulation.setEmulatedMedia", {"features": []})
    for ground in ("paper", "shade"):
        for ink in names[2:]:
            light, dark = sorted((colours[ink], colours[ground]), reverse=True)
            assert (light + 0.05) / (dark + 0.05) >= 4.5, f"{ink} on {ground}"  # what WCAG asks of small text


def luminance(colour):
    digits = colour[1:] if len(colour) == 7 else "".join(2 * digit for digit in colour[1:])
    parts = [int(digits[i : i + 2], 16) / 255 for i in (0, 2, 4)]
    linear = [part / 12.92 if part <= 0.04045 else ((part + 0.055) / 1.055) ** 2.4 for part in parts]
    return sum(weight * part for weight, part in zip((0.2126, 0.7152, 0.0722), linear))


def test_size_and_bytes_of_the_build(tmp_path):
    assert PAGE.stat().st_size <= 400_000
    module, again = TOP / "build" / "page" / "zolt.wasm", tmp_path / "zolt.html"
    subprocess.run([sys.executable, TOP / "page" / "make_page.py", module, again], check=True, capture_output=True)
    assert again.read_bytes() == PAGE.read_bytes()


NO_WORKERS = "window.Worker = class { constructor() { throw new Error('none here'); } };"
# The third analysis reads beyond the memory, as a fault in the module would.
TRAP = """const make = WebAssembly.instantiate; let calls = 0;
WebAssembly.instantiate = async (...given) => {
  const { exports } = await make(...given), real = exports.ZOLTI_decide;
  return { exports: { ...exports, ZOLTI_decide: (curve, ...rest) => real(++calls === 4 ? -16 : curve, ...rest) } };
};"""


def test_without_workers_and_with_a_trap_in_the_module(running):
    with running.before(NO_WORKERS + TRAP):
        running.open()
        running.give(("five.csv", curves.wide(5, 30)))
        session = running.session()["curves"]
    faults = [curve["fault"] for curve in session]
    assert [fault is None for fault in faults].count(False) == 1
    assert "the others are not touched" in next(filter(None, faults))
    for curve, fault in zip(session, faults):
        if fault is None:
            close(curve["fit"]["dG"], native.decide(curve["x"], curve["y"], curve["temperature"])[0]["dG"])


def test_workers_that_fail_to_start(running):
    with running.before("window.Worker = class { postMessage() { setTimeout(() => this.onerror(new Event('error'))); } terminate() {} };"):
        running.open()
        running.give(("two.csv", curves.wide(2, 30)))
        assert all(curve["fit"] for curve in running.session()["curves"])


@pytest.mark.parametrize("missing", ["DecompressionStream", "WebAssembly"])
def test_a_browser_that_is_too_old_is_told_so(running, missing):
    with running.before(f"delete window.{missing};"):
        running.driver.get(PAGE.as_uri())
        running.until(lambda: "too old" in running.text("message"), 5)


def test_a_plate_can_be_stopped_and_coloured(page):
    plate = curves.plate_of_curves()
    page.run("""new MutationObserver(() => { if (!document.getElementById('progress').hidden) document.getElementById('stop').click(); })
      .observe(document.getElementById('count'), {childList: true})""")  # fmt: skip
    page.give(("plate.csv", plate), wait=False)
    page.until(lambda: page.text("message").startswith("Stopped:"))
    fitted, of = map(int, re.findall(r"\d+", page.text("message")))
    assert fitted < of == 384
    page.open()
    begun = time.monotonic()
    page.give(("plate.csv", plate))
    page.until(lambda: page.run("return document.getElementById('progress').hidden"))
    print(f"384 curves fitted in {time.monotonic() - begun:.1f} s, reading included")
    page.click("#view-plate")
    page.until(lambda: page.count("#picture .well") == 384)
    page.choose("plateValue", "states")
    page.run("document.querySelector('.well').focus()")
    page.press(Keys.ARROW_RIGHT, Keys.ENTER)
    page.until(lambda: "A2" in page.run("return document.querySelector('button.row[aria-current]').textContent"))
    states = [curve["fit"]["transitions"] + 1 for curve in page.session()["curves"]]
    assert "A1: states " + str(states[0]) == page.run("return document.querySelector('.well').getAttribute('aria-label')")
