"""What a person does by keys, pointer, drop and choice, and what the page does then."""

import curves
import numpy as np
import pytest
from browser import Keys, example

X = np.arange(17) / 2
FILE = "urea (M),WT\n" + "\n".join(f"{x},{y:.5f}" for x, y in zip(X, curves.signal(X, [(1500.0, 4.0, 1.0)], 3, 0.004))) + "\n"


def first(page, name):
    return page.session()["curves"][0][name]


@pytest.mark.parametrize("end, keys, wanted", [
    (0, "RIGHT", [0.5, 8]), (0, "DOWN RIGHT RIGHT LEFT", [1, 8]), (0, "RIGHT LEFT LEFT", None),
    (1, "UP LEFT LEFT", [0, 6.5]), (1, "RIGHT", None),
])  # fmt: skip
def test_arrows_move_an_end_of_the_range_to_the_next_concentration(page, end, keys, wanted):
    page.give(("one.csv", FILE))
    page.run("document.querySelector(`[data-range='${arguments[0]}']`).focus()", end)
    page.press(*(getattr(Keys, f"ARROW_{key}") for key in keys.split()))
    page.drawn()
    assert page.run("return document.activeElement.dataset.range") == str(end)
    assert first(page, "range") == wanted
    kept = [x for x in X if wanted is None or wanted[0] <= x <= wanted[1]]
    assert first(page, "fit")["readings"] == len(kept)


# Presses a handle, moves by so many concentrations in steps, and tells how far it was drawn along before it is let go.
DRAG = """const [end, by] = arguments, handle = document.querySelector(`[data-range='${end}']`);
const at = (i) => { const box = document.querySelector(`[data-reading='${i}'] circle`).getBoundingClientRect(); return box.left + box.width / 2; };
const step = at(1) - at(0), from = at(end ? 16 : 0), tell = (to, kind, x) => to.dispatchEvent(new PointerEvent(kind, { clientX: x, bubbles: true, cancelable: true }));
tell(handle.querySelector("rect"), "pointerdown", from);
for (let i = 1; i <= 4; ++i) tell(window, "pointermove", from + by * step * i / 4);
const drawn = Number(handle.getAttribute("transform").match(/-?[\\d.]+/)[0]) / step;
tell(window, "pointerup", from + by * step);
tell(window, "pointermove", from);  // let go: it follows no more
return [drawn, Number((handle.getAttribute("transform") ?? "0").match(/-?[\\d.]+/)[0]) / step];"""


@pytest.mark.parametrize("end, by, wanted", [
    (0, 3, [1.5, 8]), (1, -5, [0, 5.5]), (0, -4, None), (1, 6, None),
    (0, 20, [8, 8]), (1, -2.5, [0, 6.75]),
])  # fmt: skip
def test_an_end_follows_the_pointer(page, end, by, wanted):
    page.give(("one.csv", FILE))
    drawn = page.run(DRAG, end, by)
    scale = page.run("const s = document.querySelector('#picture svg'); return s.getAttribute('width') / s.getBoundingClientRect().width")
    assert drawn == pytest.approx([by * scale] * 2, abs=0.02)
    page.drawn()
    found = first(page, "range")
    assert found == (wanted and pytest.approx(wanted, abs=0.01))


def test_the_ends_do_not_pass_each_other(page):
    page.give(("one.csv", FILE))
    page.run(DRAG, 1, -8)
    page.drawn()
    before = first(page, "range")
    assert before == pytest.approx([0, 4], abs=0.01)
    page.run(DRAG, 0, 12)
    page.drawn()
    assert first(page, "range") == before


def test_what_the_pointer_is_over_is_told(page):
    page.give(("one.csv", FILE))
    over = "document.querySelector(arguments[0]).dispatchEvent(new PointerEvent('pointerover', {bubbles: true})); return document.getElementById('hover').textContent"
    y = first(page, "y")
    assert page.run(over, "[data-reading='3'] circle").startswith(f"urea (M) 1.5, Signal {float(f'{y[3]:.6g}')}, fit ")
    page.run("document.querySelector('[data-reading=\"3\"]').dispatchEvent(new MouseEvent('click', {bubbles: true}))")
    page.until(lambda: "1 of 17 readings left out" in page.text("results"))
    assert page.run(over, "[data-reading='3'] circle").endswith("(left out)")
    assert page.run(over, "#picture rect") == ""
    page.give(("plate.csv", curves.wide(2, 24).replace("c0,c1", "B2,C7")))
    page.click("#view-plate")
    page.until(lambda: page.count("#picture .well") == 2)
    assert page.run(over, ".well[data-row='2'] rect").startswith("C7: Cm ")


GIVE = """const [kind, text, name] = arguments, data = new DataTransfer();
if (name) data.items.add(new File([text], name)); else if (text) data.setData("text/plain", text);
const event = kind === "paste" ? new ClipboardEvent(kind, { clipboardData: data, bubbles: true }) : new DragEvent(kind, { dataTransfer: data, bubbles: true, cancelable: true });
const at = arguments[3] ? document.querySelector(arguments[3]) : document.body;
at.dispatchEvent(event);
return [event.defaultPrevented, document.body.classList.contains("over")];"""


def test_files_are_dropped_and_pasted(page):
    assert page.run(GIVE, "dragover") == [True, True]
    assert page.run(GIVE, "dragleave") == [False, False]
    page.run(GIVE, "dragover")
    assert page.run(GIVE, "drop", FILE, "dropped.csv") == [True, False]
    page.until(lambda: page.text("message").startswith("dropped.csv: read 17 readings of 1 curve") and page.idle())
    assert page.run(GIVE, "paste", FILE.replace("WT", "L12A"), "pasted.csv")
    page.until(lambda: page.text("message").startswith("pasted.csv: ") and page.idle())
    for nothing in (("drop", "", None), ("paste", " ", None), ("paste", FILE, None, "#residues")):  # what goes to a field is the field's
        page.run(GIVE, *nothing)
    page.drawn()
    assert page.text("message").startswith("pasted.csv: ") and page.text("faults") == ""
    # Of two that are opened one after the other, the later one counts.
    page.run(f"(function () {{ {GIVE} }})('paste', arguments[0]); (function () {{ {GIVE} }})('paste', arguments[1])", curves.wide(3, 20), FILE)
    page.until(lambda: page.text("message").startswith("pasted table: read 17") and page.idle())
    assert page.count("button.row") == 0 and [curve["name"] for curve in page.session()["curves"]] == ["WT"]


def test_a_session_beside_a_table_is_no_session(page):
    page.give(("a.csv", FILE))
    page.give(("b.csv", FILE), ("session.json", page.export("session", "session.json")), wait=False)
    page.until(lambda: page.text("faults").startswith("session.json"))


TOLD = """window.told = []; const count = document.getElementById("count"), bar = document.getElementById("bar");
new MutationObserver(() => told.push([count.textContent, bar.hasAttribute("value") ? bar.value : null, document.getElementById("progress").hidden]))
  .observe(document.getElementById("progress"), { childList: true, subtree: true, attributes: true });"""


def test_how_far_long_work_is(page):
    page.run(TOLD)
    page.give(("many.csv", curves.wide(120, 40)))
    told = page.run("return told")
    shares = [(int(words.split(" of 120 curves")[0]), share) for words, share, _ in told]
    assert len(shares) > 2 and all(share == pytest.approx(done / 120) for done, share in shares)
    assert not told[0][2] and told[-1][2]


def test_several_curves_are_told_apart_and_together(page):
    alone = "return document.querySelector('main').classList.contains('alone')"
    assert page.run(alone) and page.count("#curves *, #set *") == 0
    page.give(example("series.csv"))
    assert not page.run(alone) and page.count("#view-set") == 0
    page.click("#compare")
    page.until(lambda: "Less" in page.text("set"))
    assert page.run("return document.getElementById('view-set').getAttribute('aria-pressed')") == "true"
    circles = page.count("#picture circle")
    names = page.run("return [...document.querySelectorAll('#reference option')].map((e) => e.textContent)")
    key = page.run("return document.querySelectorAll('#reference option')[2].value")
    page.choose("reference", key)
    page.until(lambda: f"Less {names[2]}" in page.text("set"))
    assert page.count("#picture circle") == circles == 4
    page.click("#view-overlay")
    page.until(lambda: page.run("return document.querySelector('#picture svg').getAttribute('aria-label')") == "Fraction denatured of 5 curves")
    page.click("#view-set")
    page.until(lambda: page.count("#picture circle") == 4)
    page.choose("native", "flat")  # other fits: the comparison is of those before
    page.until(lambda: page.count("#view-set") == 0 and page.count("#picture .reading") and page.idle())
    assert "Less" not in page.text("set")


def test_many_curves_are_looked_at_as_they_are_listed(page):
    page.give(("twenty.csv", curves.wide(20, 24)))
    page.click("#view-overlay")
    seen = "return [...document.querySelectorAll('#picture text')].map((e) => e.textContent).filter((name) => /^c\\d+$/.test(name))"
    page.until(lambda: len(page.run(seen)) == 16)
    page.click("#descending")
    page.until(lambda: page.run(seen)[0] == "c19")
    assert len(page.run(seen)) == 16
    page.give(("two.csv", curves.wide(2, 24)))  # together they stay together
    page.until(lambda: page.run(seen) == ["c1", "c0"])
    page.give(("one.csv", FILE))
    page.until(lambda: page.count("#picture .reading") == 17)


def test_the_picture_fits_the_page_and_its_colours(page):
    width = "return Number(document.querySelector('#picture svg').getAttribute('width'))"
    with page.emulated(width=360, mobile=True):
        page.until(lambda: page.run(width) == 420)
    with page.emulated(width=3000):
        page.until(lambda: page.run(width) == 900)
    page.until(lambda: page.run("return Math.abs(document.querySelector('#picture svg').getAttribute('width') - document.getElementById('picture').clientWidth) < 1"))
    paper = "return document.querySelector('#picture svg > rect').getAttribute('fill')"
    assert page.run(paper) == "#ffffff"
    page.driver.execute_cdp_cmd("Emulation.setEmulatedMedia", {"features": [{"name": "prefers-color-scheme", "value": "dark"}]})
    try:
        page.until(lambda: page.run(paper) == "#16191d")
        assert b'fill="#ffffff"' in page.export("svg", f"{first(page, 'name')}.svg")  # what is taken along is for paper
    finally:
        page.driver.execute_cdp_cmd("Emulation.setEmulatedMedia", {"features": []})
    page.until(lambda: page.run(paper) == "#ffffff")


@pytest.mark.parametrize("processors, workers", [("1", 1), ("3", 3), ("64", 8), ("undefined", 2)])
def test_a_worker_a_processor(running, processors, workers):
    with running.before(f"Object.defineProperty(navigator, 'hardwareConcurrency', {{ get: () => {processors} }});"
                        "window.made = 0; const Real = Worker; window.Worker = class extends Real { constructor(...given) { super(...given); ++window.made; } };"):  # fmt: skip
        running.open()
        assert running.run("return window.made") == workers
