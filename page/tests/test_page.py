"""The page as people use it: the real file, opened from disk, in a headless browser."""

import http.server
import re
import threading
import time
import xml.etree.ElementTree as ElementTree

import curves
import native
import pytest
from browser import PAGE, TOP, Browser, Keys

EXAMPLES = TOP / "examples"


@pytest.fixture(scope="module")
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


def example(name):
    return name, (EXAMPLES / name).read_text()


def readings(session):
    return [(curve["x"], curve["y"], curve["temperature"]) for curve in session["curves"]]


def close(ours, theirs):
    """Within 1e-9 of one another, relatively; what is 0, -1 or infinite is that here and there."""
    assert ours == pytest.approx(theirs, rel=1e-9, abs=1e-12)


def test_opens_with_an_example_fitted(page):
    assert "drop a file" in page.text("message")
    session = page.session()
    fit, intervals = native.decide(*readings(session)[0])
    ours = session["curves"][0]["fit"]
    for name in ("dG", "Cm", "m", "dG_se", "Cm_se", "m_se", "baseline", "aicc", "durbin_watson"):
        close(ours[name], fit[name])
    low, high = intervals["Cm"][0]
    assert f"{low:.3f} to {high:.3f}" in page.text("results")
    assert page.count("#picture .reading") == 40


def test_results_are_those_of_the_native_libraries(page):
    page.give(("hundred.csv", curves.wide(100, 40)))
    session = page.session()
    assert len(session["curves"]) == 100
    for curve, one in zip(session["curves"], readings(session)):
        fit, _ = native.decide(*one)
        assert curve["fit"]["engine"] == fit["engine"], curve["name"]  # every bit
        assert any(fit["engine"]) and curve["fit"]["transitions"] == fit["transitions"]
        for name in ("dG", "Cm", "m", "weight", "dG_se", "Cm_se", "m_se"):
            close(curve["fit"][name], fit[name])


def test_hash_of_all_results_is_the_pinned_one(page):
    pinned = re.search(r"kResults = 0x([0-9a-f]{16})", (TOP / "tests" / "result_hash_test.cpp").read_text())[1]
    page.click("#check")
    page.until(lambda: len(page.text("hash")) == 16, 100)
    assert page.text("hash") == pinned


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


def test_pasted_table(page):
    table = (EXAMPLES / "ci2_gdmcl.csv").read_text()
    page.run("const data = new DataTransfer(); data.setData('text/plain', arguments[0]);"
             "document.dispatchEvent(new ClipboardEvent('paste', {clipboardData: data, bubbles: true}))", table)  # fmt: skip
    page.until(lambda: "pasted table" in page.text("message") and page.idle())
    session = page.session()
    assert [curve["name"] for curve in session["curves"]] == ["ci2"]
    assert session["curves"][0]["fit"]["Cm"][0] == pytest.approx(3.987, abs=0.05)


def test_roles_and_temperature_can_be_told(page):
    page.give(("two.csv", curves.wide(2, 30)))
    assert page.text("curves").count("c0") == 1
    page.click("#read > summary")
    page.until(lambda: page.count("#tables select") == 3)
    role = page.run("return document.querySelectorAll('#tables select')[1].id")
    page.choose(role, "ignore")
    page.until(lambda: "1 curve" in page.text("message") and page.idle())
    page.choose("temperature-0", "10")
    page.until(lambda: "10 °C" in page.text("results"))
    session = page.session()
    assert [curve["name"] for curve in session["curves"]] == ["c1"]
    fit, _ = native.decide(*readings(session)[0])
    assert session["curves"][0]["temperature"] == 10
    close(session["curves"][0]["fit"]["dG"], fit["dG"])


def test_keyboard_leaves_out_readings_and_moves_the_range(page):
    page.run("document.getElementById('quantity').focus()")
    page.press(Keys.TAB)
    assert page.run("return document.activeElement.dataset.reading") == "0"
    page.press(Keys.ARROW_RIGHT, Keys.ARROW_RIGHT, Keys.ENTER)
    page.until(lambda: "1 of 40 readings left out" in page.text("results"))
    assert page.run("return document.activeElement.dataset.reading") == "2"  # the focus stays
    page.press(Keys.TAB, Keys.ARROW_RIGHT)
    page.until(lambda: "2 of 40 readings left out" in page.text("results"))
    session = page.session()["curves"][0]
    left = [i for i in range(40) if i not in (0, 2)]
    fit, _ = native.decide([session["x"][i] for i in left], [session["y"][i] for i in left], 25.0)
    close(session["fit"]["dG"], fit["dG"])
    page.click("#all")
    page.until(lambda: "left out" not in page.text("results"))


def test_choices_change_the_fit_at_once(page):
    free = page.session()["curves"][0]["fit"]
    page.choose("native", "flat")
    page.until(lambda: "5 parameters" in page.text("results"))
    page.choose("m", "given")
    page.until(lambda: "4 parameters" in page.text("results"))
    page.choose("heldM", "1.2")
    page.until(lambda: "1.2" in page.text("results"))
    held = page.session()["curves"][0]["fit"]
    assert held["m"][0] == 1200.0 and held["m_se"][0] == -1 and held["dG"] != free["dG"]
    page.choose("m", "free")
    page.choose("states", "3")
    page.until(lambda: "transition 2" in page.text("results") or "ΔG 2" in page.text("results"))
    page.choose("unit", "kJ")
    assert "kJ/mol" in page.text("choices")


def test_a_session_opens_again_with_the_same_numbers(page):
    page.give(example("three_state.csv"), example("ci2_gdmcl.csv"))
    page.choose("denatured", "flat")
    page.until(page.idle)
    page.run("document.querySelector('[data-reading=\"3\"]').dispatchEvent(new MouseEvent('click', {bubbles: true}))")
    page.until(lambda: "readings left out" in page.text("results"))
    saved = page.export("session", "session.json")
    first = page.session()
    page.open()
    page.give(("saved.json", saved))
    page.until(lambda: "with the numbers it was saved with" in page.text("message"))
    again = page.session()
    assert again == first
    damaged = saved.replace(repr(first["curves"][0]["fit"]["dG"][0]).encode(), b"1234.5")
    page.give(("other.json", damaged))
    page.until(lambda: "1 of 2 curves give other numbers" in page.text("message"))


def test_exports(page):
    page.give(("formulas.csv", curves.wide(2, 30).replace("c0", "=1+2")))
    rows = page.export("results", "results.csv").decode().splitlines()
    assert rows[1].startswith("'=1+2,") and rows[0].startswith("name,file,well,label")
    fit = page.session()["curves"][0]["fit"]
    assert repr(fit["Cm"][0]) in rows[1]
    assert len(page.export("readings", "readings.csv").splitlines()) == 1 + 60
    assert len(page.export("fitted", "curves.csv").splitlines()) == 1 + 480
    svg = ElementTree.fromstring(page.export("svg", "_1_2.svg"))
    assert "=1+2" in [element.text for element in svg.iter("{http://www.w3.org/2000/svg}text")]
    png = page.export("png", "_1_2.png")
    assert png[:8] == b"\x89PNG\r\n\x1a\n" and int.from_bytes(png[16:20], "big") == 2280


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


def test_curves_are_compared_and_trended(page):
    page.give(example("series.csv"))
    page.click("#compare")
    page.until(lambda: "One m for all" in page.text("set"))
    session = page.session()
    whole, rows = native.compare(readings(session), 0)
    assert f"{whole['shared'][0] / 1000:.2f}" in page.text("set")
    assert f"{rows[-1]['shared_ddG'] / 1000:.2f}" in page.text("set")
    page.click("#trend")
    page.until(lambda: "ln(label)" in page.text("set"))
    intercept, slope = map(float, re.search(r"ΔG = ([\d.]+) \+ ([\d.]+) ln", page.text("set")).groups())
    assert intercept == pytest.approx(4.2, abs=0.35) and slope == pytest.approx(0.9, abs=0.2)


@pytest.mark.parametrize("width", [360, 700])
def test_nothing_is_cut_off_on_a_narrow_screen(page, width):
    page.driver.execute_cdp_cmd("Emulation.setDeviceMetricsOverride", {"width": width, "height": 800, "deviceScaleFactor": 1, "mobile": True})
    try:
        page.give(example("series.csv"))
        assert page.run("return document.documentElement.scrollWidth") <= width
        unnamed = "return [...document.querySelectorAll('button, select, input:not([hidden])')].filter((e) => !(e.textContent.trim() || e.labels?.length || e.ariaLabel)).length"
        assert page.run(unnamed) == 0
    finally:
        page.driver.execute_cdp_cmd("Emulation.clearDeviceMetricsOverride", {})


def test_size():
    assert PAGE.stat().st_size <= 400_000
