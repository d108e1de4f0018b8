"""The page as people use it: the real file, opened from disk, in a headless browser."""

import curves
import native
import numpy as np
import pytest
from browser import TOP, Keys, example, readings
from native import close
from selenium.webdriver import ActionChains


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


def test_pasted_table(page):
    table = example("ci2_gdmcl.csv")[1]
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


def test_columns_of_a_file_in_doubt_are_told(page):
    before = page.text("results")
    page.give(("in_doubt.csv", (TOP / "tests" / "tables" / "row_index_only.csv").read_text()), wait=False)
    assert "counts rows" in page.text("faults") and page.text("results") == before
    page.click("#columns")
    page.until(lambda: page.count("#tables select") == 3)
    page.choose(page.run("return document.querySelector('#tables select').id"), "concentration")
    page.until(lambda: "2 curves" in page.text("message") and page.idle())
    assert page.text("faults") == "" and [curve["name"] for curve in page.session()["curves"]] == ["WT", "V38A"]


def test_a_layout_is_dropped_after_its_plate(page):
    plate, layout = (TOP / "tests" / "tables" / f"plate_wavelengths{end}" for end in (".txt", ".layout.csv"))
    page.give((plate.name, plate.read_text()), wait=False)
    assert "drop the layout as well" in page.text("faults")
    page.give((layout.name, layout.read_text()))
    assert page.text("faults") == "" and page.text("message").startswith(plate.name)
    assert page.count("button.row") > 1


def replicates():
    x = np.round(np.linspace(0, 8, 20), 3)
    rows = [curves.signal(x, [(1500.0, 3.5, 1.0)], i) for i in range(3)]
    return x, rows, "GdmCl (M),WT rep 1,WT rep 2,WT rep 3\n" + "\n".join(",".join(map(str, row)) for row in zip(x, *rows))


def test_replicates_are_fitted_together_or_each_alone(page):
    x, rows, text = replicates()
    page.give(("replicates.csv", text))
    assert "3 replicates together" in page.text("results") and page.count("#curves table") == 0
    (pooled,) = page.session()["curves"]
    order = np.argsort(np.tile(x, 3), kind="stable")
    fit, _ = native.decide(np.tile(x, 3)[order], np.concatenate(rows)[order], 25.0)
    close(pooled["fit"]["dG"], fit["dG"])
    assert pooled["fit"]["pure_degrees"] == 40 and pooled["part"] == ["1", "2", "3"] * 20
    page.run("document.querySelector('[data-reading=\"4\"]').dispatchEvent(new MouseEvent('click', {bubbles: true}))")
    page.until(lambda: "1 of 60 readings left out" in page.text("results"))
    page.choose("replicates", "each")
    page.until(lambda: page.count("button.row") == 3 and page.idle() and "mean ± SD" in page.text("results"))
    each = page.session()["curves"]
    assert [sum(curve["out"]) for curve in each] == [0, 1, 0]
    dG = np.array([curve["fit"]["dG"][0] for curve in each]) / 1000
    assert f"± {dG.std(ddof=1):.2g}" in page.text("results")
    page.choose("replicates", "pooled")
    page.until(lambda: "1 of 60 readings left out" in page.text("results"))


def test_curves_are_sorted_and_filtered_by_warning(page):
    x = np.linspace(0, 8, 24)
    rows = [curves.signal(x, [(1500.0, Cm, 1.0)], i, noise) for i, (Cm, noise) in enumerate([(5.0, 0.004), (3.0, 0.12), (4.0, 0.004)])]
    page.give(("three.csv", "urea (M),late,noisy,early\n" + "\n".join(",".join(map(str, row)) for row in zip(x, *rows))))
    listed = "return [...document.querySelectorAll('button.row')].map((e) => e.textContent)"
    page.choose("sort", "Cm")
    page.until(lambda: page.run(listed) == ["noisy", "early", "late"])
    page.click("#descending")
    page.until(lambda: page.run(listed) == ["late", "early", "noisy"])
    assert "hardly_determined" in page.session()["curves"][1]["warnings"]
    page.choose("warned", "hardly_determined")
    page.until(lambda: page.run(listed) == ["noisy"])


def test_an_end_of_the_range_is_dragged(page):
    page.run("document.getElementById('picture').scrollIntoView()")
    handle, reading = (page.find(f"#picture {what}") for what in ("[data-range='1'] rect:last-child", "[data-reading='30'] circle"))
    ActionChains(page.driver, duration=20).move_to_element(handle).click_and_hold().move_by_offset(-5, 0) \
        .move_by_offset(round(reading.rect["x"] - handle.rect["x"]) + 9, 0).release().perform()
    page.until(lambda: "readings left out" in page.text("results"))
    low, high = page.session()["curves"][0]["range"]
    x = page.session()["curves"][0]["x"]
    assert low == x[0] and x[29] <= high <= x[31]


def test_intervals_by_bootstrap(page):
    profile = page.session()["curves"][0]["intervals"]["Cm"][0]
    page.choose("method", "bootstrap")
    page.until(lambda: page.idle() and "…" not in page.text("results"))
    found = page.session()["curves"][0]["intervals"]
    assert found["rounds_used"] > 900 and found["Cm"][0] != profile
    assert found["Cm"][0] == pytest.approx(profile, abs=0.02)


def test_arrows_walk_over_the_plate_past_empty_wells(page):
    page.give(("plate.csv", curves.wide(4, 24).replace("c0,c1,c2,c3", "A1,A3,C1,C4")))
    page.click("#view-plate")
    page.until(lambda: page.count("#picture .well") == 4)
    page.run("document.querySelector('.well').focus()")
    at = "return document.activeElement.getAttribute('aria-label').split(':')[0]"
    for key, name in [(Keys.ARROW_RIGHT, "A3"), (Keys.ARROW_RIGHT, "A3"), (Keys.ARROW_LEFT, "A1"), (Keys.ARROW_DOWN, "C1"), (Keys.ARROW_RIGHT, "C4")]:
        page.press(key)
        assert page.run(at) == name
    page.press(Keys.ENTER)
    page.until(lambda: page.run("return document.querySelector('button.row[aria-current]').textContent") == "C4")
    assert page.run(at) == "C4"  # the focus stays


def test_tab_reaches_everything_and_goes_on(page):
    page.give(example("series.csv"))
    page.run("document.getElementById('open').focus()")
    seen = []
    for _ in range(60):
        seen.append(page.run("const e = document.activeElement; return e.id || e.dataset.key || e.dataset.reading && 'reading' || e.dataset.range && 'range' || e.tagName"))
        page.press(Keys.TAB)
        if "check" in seen:
            break
    wanted = "open states native denatured m replicates level method unit residues sort descending warned view-curve quantity"
    wanted += " reading range export-svg export-session reference compare trend check"
    assert [name for name in wanted.split() if name not in seen] == []
    assert seen.count("reading") == 1  # the arrows go on from there


def test_a_comparison_can_be_stopped(page):
    page.give(("plate.csv", curves.plate_of_curves()))
    page.run("""const count = document.getElementById('count');
      new MutationObserver(() => {
        if (/comparing/.test(count.textContent)) {
          window.ended = document.getElementById('bar').hasAttribute('value') ? 'a share' : 'no share';
          document.getElementById('stop').click();
        }
      }).observe(count, { childList: true });""")
    page.click("#compare")
    page.until(lambda: page.run("return window.ended"))
    assert page.run("return window.ended") == "no share"  # how far a comparison is nobody knows
    page.drawn()
    page.until(lambda: page.run("return document.getElementById('progress').hidden"))
    assert "One m for all" not in page.text("set") and page.text("faults") == ""
    page.choose("unit", "kJ")
    page.until(lambda: "kJ/mol" in page.text("results"))  # the page goes on


def test_decimal_mark_and_sheet_are_told(page):
    page.give(("doubt.csv", "urea (M);WT\n" + "".join(f"{i};1,0{10 + (i * i) % 37}\n" for i in range(10))), wait=False)
    assert "may be a decimal fraction or thousands" in page.text("faults")
    page.click("#columns")
    page.until(lambda: page.count("#decimal-0"))
    page.choose("decimal-0", ",")
    page.until(lambda: page.text("faults") == "" and page.text("message").startswith("doubt.csv"))
    assert page.session()["curves"][0]["y"][0] == 1.01
    book = (TOP / "tests" / "tables" / "workbook_two_tables.xlsx").read_bytes()
    page.give(("book.xlsx", book))
    page.until(lambda: page.count("button.row") == 2 and page.count("#sheet-0"))
    page.choose("sheet-0", "nowhere")
    page.until(lambda: "there is no sheet 'nowhere'" in page.text("faults"))
    page.choose("sheet-0", "second")
    page.until(lambda: page.text("faults") == "" and page.count("button.row") == 0)  # one curve needs no list


@pytest.mark.parametrize("quantity, title, readings", [("signal", "Signal", 40), ("fraction", "Fraction denatured", 40), ("energy", "ΔG (kcal/mol)", 0)])
def test_quantities_of_a_curve(page, quantity, title, readings):
    page.choose("quantity", quantity)
    page.until(lambda: title in page.run("return [...document.querySelectorAll('#picture text')].map((e) => e.textContent)"))
    assert page.count("#picture .reading") == readings


def test_given_baselines_begin_with_the_fitted_ones_and_are_held(page):
    fitted = page.session()["curves"][0]["fit"]["baseline"]
    page.choose("native", "given")
    page.until(lambda: "4 parameters" in page.text("results"))
    began = page.session()["curves"][0]["fit"]["baseline"]
    assert began[:2] == pytest.approx(fitted[:2], rel=1e-3)
    page.choose("baseline0", "0.05")
    now = page.session()["curves"][0]["fit"]["baseline"]  # waits for the fit
    assert now[:2] == pytest.approx([0.05, began[1]], rel=1e-12)

