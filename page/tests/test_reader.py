"""The page's reader of files gives what the host's gives: the same curves, or the same sentence."""

import base64
import json
import os
import random
import re
import subprocess
import sys
import zipfile
from pathlib import Path

import numpy as np
import openpyxl
import pytest
from openpyxl.styles import Font
from limits import files_at_limits, random_plates, random_tables

ROOT = Path(__file__).parents[2]
sys.path.insert(0, str(ROOT / "python" / "tests"))
import test_read as host  # noqa: E402
from zolt import ReadError  # noqa: E402
from zolt.read import read_file, read_together  # noqa: E402

PAGE = ROOT / "page"
SEED = int(os.environ.get("ZOLT_SEED", 11))
OPTIONS = {"skip_rows": "skipRows"}  # names of choices that differ from the host's


@pytest.fixture(scope="module")
def read(tmp_path_factory):
    """Function that reads many requests at once with the page's reader, as it is bundled for the page."""
    folder = tmp_path_factory.mktemp("reader")
    bundle = folder / "reader.mjs"
    command = ["esbuild", PAGE / "reader" / "index.ts", "--bundle", "--format=esm", "--log-level=warning"]
    subprocess.run([*command, f"--outfile={bundle}"], check=True)

    def read_all(requests):
        path = folder / "requests.json"
        path.write_text(json.dumps(requests))
        command = ["node", PAGE / "tests" / "read_files.mjs", bundle, path]
        return json.loads(subprocess.run(command, check=True, capture_output=True, timeout=120).stdout)

    return read_all


def packed(name, raw):
    return {"name": name, "base64": base64.b64encode(raw).decode()}


def request(*paths, **options):
    """What the page's reader is asked: files, and the host's options under the page's names."""
    choices = {OPTIONS.get(key, key): value for key, value in options.items()}
    if "layout" in choices:
        choices["layout"] = packed(choices["layout"].name, choices["layout"].read_bytes())
    return {"files": [packed(path.name, path.read_bytes()) for path in paths], "choices": choices}


def of_page(found):
    """A reading of the page in the form of the expectations, with the sentences of its notes."""
    if "curves" not in found:
        return found
    keys = ("label", "replicate", "group", "denaturant", "sd", "n")
    curves = []
    for curve in found["curves"]:
        row = {key: curve[key] for key in ("name", "x", "y")}
        row |= {key: curve[key] for key in keys if curve[key] is not None}
        if curve["details"]["temperatureFrom"] == "file":
            row["temperature"] = curve["temperature"]
        curves.append(row)
    notes = [[note["code"], note["sentence"], note["curve"]] for note in found["notes"]]
    return {"curves": curves, "notes": notes, "summary": found["summary"], "remarks": found["remarks"]}


def without_paths(text, folder):
    return text.replace(f"{folder}/", "").replace(f"{host.TABLES}/", "")


def of_host(found, folder):
    """The same of a reading or an error of the host; a gap among the deviations is None, as in JSON."""
    if isinstance(found, ReadError):
        return {"error": without_paths(str(found), folder)}
    curves = []
    for curve in found.curves:
        row = {**host.as_expected(curve), "x": curve.x.tolist()}
        for key in {"sd", "n"} & row.keys():
            row[key] = [None if np.isnan(value) else value for value in row[key]]
        curves.append(row)
    notes = [[note.code, without_paths(note.text, folder), note.curve] for note in found.notes]
    return {"curves": curves, "notes": notes, "summary": found.summary(), "remarks": found.remarks()}


def by_host(path, **options):
    try:
        return of_host(read_file(path, **options), path.parent)
    except ReadError as fault:
        return of_host(fault, path.parent)


def blurred(value):
    """The same with a question mark for each letter beyond ASCII, a micro and a degree being left."""
    if isinstance(value, dict):
        return {key: blurred(one) for key, one in value.items()}
    if isinstance(value, (list, tuple)):
        return [blurred(one) for one in value]
    return re.sub(r"[^\x00-\x7fµ°]", "?", value) if isinstance(value, str) else value


def assert_alike(read, cases, seen=lambda found: found):
    """Both readers on pairs of path and options, as `seen`; every file that they differ on is one line."""
    pages = map(of_page, read([request(path, **options) for path, options in cases]))
    differ = []
    for (path, options), page in zip(cases, pages):
        wanted = by_host(path, **options)
        for one in (page, wanted):  # a fault of a package is told in the words of its reader
            if "error" in one:
                one["error"] = re.sub(r"(this workbook is damaged) \(.*\)", r"\1", one["error"])
        page, wanted = seen(page), seen(wanted)
        if page != wanted:
            keys = [key for key in {*page, *wanted} if page.get(key) != wanted.get(key)]
            differ.append(f"{path.name}: " + "; ".join(f"{k}: {page.get(k)} not {wanted.get(k)}" for k in keys))
    assert not differ, f"{len(differ)} of {len(cases)} files:\n" + "\n".join(line[:1500] for line in differ)


def test_every_table_gives_the_curves_beside_it_or_its_sentence(read):
    cases = []
    for path in host.EXPECTED:
        wanted = json.loads(path.read_text(encoding="utf-8"))
        options = wanted.pop("options", {})
        if "layout" in options:
            options["layout"] = host.TABLES / options["layout"]
        cases.append((host.TABLES / path.name.removesuffix(".expected.json"), options, wanted))
    failures = []
    for (path, _, wanted), found in zip(cases, read([request(path, **o) for path, o, _ in cases])):
        page = of_page(found)
        if "curves" in page:
            for curve in page["curves"]:
                curve["x"] = [round(value, 9) for value in curve["x"]]
            page["notes"] = sorted({code for code, _, _ in page["notes"]})
            del page["remarks"]
        if page != wanted:
            failures.append(f"{path.name}: {page} instead of {wanted}")
    assert len(cases) > 150 and not failures, "\n".join(failures)
    assert_alike(read, [(path, options) for path, options, _ in cases])  # sentences of notes, too


def test_random_dialects(read, tmp_path):
    cases = []
    for seed in range(150):
        path = tmp_path / f"file_{seed}.txt"
        path.write_bytes(host.written(*host.truth(seed), seed))
        cases.append((path, {}))
    assert_alike(read, cases)


MADE = {  # texts of a table and of its layout
    "at limits": lambda: ((text, None) for text in files_at_limits()),
    "random": lambda: ((text, None) for text in random_tables(4000, SEED)),
    "plates": lambda: random_plates(1000, SEED),
}


@pytest.mark.parametrize("made", MADE.values(), ids=MADE)
def test_made_tables(read, tmp_path, made):
    cases = []
    for i, texts in enumerate(made()):
        path, layout = (tmp_path / f"{name}_{i}.csv" for name in ("table", "layout"))
        for file, text in zip((path, layout), texts):
            file.write_text(text or "", encoding="utf-8")
        cases.append((path, {"layout": layout} if texts[1] else {}))
    assert_alike(read, cases)


def test_spoiled_files(read, tmp_path):
    draw = random.Random(SEED)
    sources = [path for path in host.TABLES.iterdir() if path.suffix in (".csv", ".txt", ".dat", ".md")]
    cases = []
    for i, source in enumerate(sorted(sources) * 4):
        path = tmp_path / f"spoiled_{i}.csv"
        path.write_bytes(host.spoiled(host.spoiled(source.read_bytes(), draw), draw))
        layout = {"layout": host.TABLES / "plate.layout.csv"} if draw.random() < 0.2 else {}
        cases.append((path, layout))
    # The two guess apart which alphabet a damaged byte is of; a name hangs on it, no number does.
    assert_alike(read, cases, seen=blurred)


NAMES = {
    "cp1251 koi8-r cp866 mac_cyrillic iso8859_5": ["дикий тип", "мутант", "белок"],
    "iso8859_7": ["άγριος τύπος", "μετάλλαγμα", "ουρία"],
    "cp1255": ["חלבון פראי", "מוטציה של החלבון"],
    "euc_jp": ["野生型タンパク", "シグナル"],
    "gb18030": ["野生型", "突变体", "样品"],
    "big5": ["野生型", "突變體"],
    "euc_kr": ["야생형", "돌연변이"],
    "utf-32 utf-16 utf-16-be utf-8-sig": ["Größe", "野生型", "𝛥G"],
    "cp1252": ["Größe", "mutación", "façade"],
}


def test_names_in_other_encodings(read, tmp_path):
    cases = []
    for codecs, names in NAMES.items():
        rows = [["urea_M", *names], *([k, *(0.1 * k + j for j in range(len(names)))] for k in range(8))]
        text = "\n".join(",".join(map(str, row)) for row in rows)
        for codec in codecs.split():
            path = tmp_path / f"{codec}.csv"
            path.write_bytes(text.encode(codec))
            cases.append((path, {}))
    assert_alike(read, cases)
    found = read([request(path) for path, _ in cases])
    names = [names for codecs, names in NAMES.items() for _ in codecs.split()]
    assert [[curve["name"] for curve in one["curves"]] for one in found] == names


def workbook(path, numbers="0.00", sheets=1):
    """A workbook with formats, times, errors, empty rows and columns, and a sheet that is hidden."""
    book = openpyxl.Workbook()
    for k in range(sheets):
        sheet = book.active if k == 0 else book.create_sheet(f"sheet {k} <&>")
        sheet["B2"], sheet["B3"] = "# Temp: 288 K", "measured"
        sheet["D3"] = np.datetime64("2024-02-29T13:45").astype(object)
        sheet.append([])
        sheet.append([None, "urea_M", "  WT ", "L12 G", None, "remark"])
        for i in range(9):
            sheet.append([None, i / 10 if "%" in numbers else i, 1 / (i + 3), "#N/A" if i == 4 else -1e-7 * i])
            sheet.cell(sheet.max_row, 2).number_format = numbers
        sheet.cell(sheet.max_row, 3).value = True
        for cell in ("B3", "B8", "C9"):
            sheet[cell].font = Font(strike=True)
    book.create_sheet("aside").sheet_state = "hidden"
    book.save(path)


def test_workbooks(read, tmp_path):
    formats = ["0.00", "0.0%", "yyyy-mm-dd", "h:mm", "[h]:mm:ss", '0.0 "M"', "[Red]0.0;-0.0"]
    cases = []
    for i, numbers in enumerate(formats):
        path = tmp_path / f"book_{i}.xlsx"
        workbook(path, numbers, sheets=1 + i % 2)
        cases += [(path, {}), (path, {"sheet": 1, "skip_rows": 2, "unit": "% of 8 M"})]
    # Programs may leave out the names of cells that follow one another.
    with zipfile.ZipFile(tmp_path / "book_0.xlsx") as package:
        entries = {name: package.read(name) for name in package.namelist()}
    for name in filter(re.compile("xl/worksheets/.*xml").fullmatch, entries):
        entries[name] = re.sub(rb'(<c )r="[C-Z]\d+"', rb"\1", entries[name])
    (tmp_path / "unnamed.xlsx").write_bytes(host.packed(**entries))
    assert_alike(read, [*cases, (tmp_path / "unnamed.xlsx", {})])


def test_packages_that_are_no_sound_workbook(read, tmp_path):
    workbook(tmp_path / "sound.xlsx")
    sound = (tmp_path / "sound.xlsx").read_bytes()
    at = sound.index(b"xl/worksheets/sheet1.xml") + 80  # within the packed rows
    changed = {f"changed_{bit}": sound[:at] + bytes([sound[at] ^ 1 << bit]) + sound[at + 1 :] for bit in range(8)}
    bomb = host.packed(xl__workbook_xml="", xl__worksheets__sheet1_xml=b"0" * 300_000_000)
    with zipfile.ZipFile(tmp_path / "sound.xlsx") as package:
        size = package.getinfo("xl/worksheets/sheet1.xml").file_size.to_bytes(4, "little")
    lies = {f"lie_{n}": sound.replace(size, n.to_bytes(4, "little")) for n in (100, 90_000_000)}
    said = {"bomb": "unpacks to 300 MB; at most 100 MB", "no_book": "a compressed file that is no workbook"}
    files = {"bomb": bomb, **lies, "no_book": host.packed(readme="a text"), **changed}
    files |= {f"cut_{k}": sound[: len(sound) * k // 8] for k in range(1, 8)} | {"far": host.far_cell()}
    for name, raw in files.items():
        (tmp_path / f"{name}.xlsx").write_bytes(raw)
    found = dict(zip(files, read([request(tmp_path / f"{name}.xlsx") for name in files])))
    errors = {name: one.get("error", f"no error but {one}") for name, one in found.items()}
    unsound = {name: text for name, text in errors.items() if said.get(name, "this workbook is damaged (") not in text}
    assert unsound.keys() == {"far"} and errors["far"] == by_host(tmp_path / "far.xlsx")["error"]


def test_a_person_changes_roles_and_temperature(read, tmp_path):
    path = tmp_path / "file.csv"
    path.write_text("tube,urea_M,WT,spread\n" + "\n".join(f"{7 * i % 5},{i},{i * i},{9 - i}" for i in range(8)))
    table = {"table": "/1"}
    roles = [{**table, "column": 4, "role": "sd"}, {**table, "column": 1, "role": "ignore"}]
    swapped = [{**table, "column": 4, "role": "concentration"}]
    asked = [{}, {"roles": roles, "temperature": 30}, {"roles": swapped, "columns": ["WT"]}]
    first, second, third = read([request(path, **choices) for choices in asked])
    shown = [[column["role"] for column in one["tables"][0]["columns"]] for one in (first, second, third)]
    assert first["tables"][0]["id"] == "/1" and shown == [
        ["signal", "concentration", "signal", "signal"],
        ["ignore", "concentration", "signal", "sd"],
        ["ignore", "ignore", "signal", "concentration"],
    ]
    (curve,) = second["curves"]
    assert curve["sd"] == [9 - i for i in range(8)] and curve["y"] == [i * i for i in range(8)]
    assert (curve["temperature"], curve["temperatureAssumed"], curve["unit"]) == (30, False, "M")
    assert (first["curves"][0]["temperature"], first["curves"][0]["temperatureAssumed"]) == (25, True)
    assert third["curves"][0]["x"] == list(range(2, 10)) and third["curves"][0]["unit"] is None


def test_several_files_are_told_apart(read, tmp_path):
    for name in ("one.csv", "two.csv"):
        (tmp_path / name).write_text(host.PLAIN)
    (tmp_path / "bad.csv").write_text("urea_M\n1\n2\n")
    (tmp_path / "warm.csv").write_text("# Temp: 37 °C\n" + host.PLAIN.replace("1.5", "9.5"))
    (tmp_path / "cold.csv").write_text("# stored at 4 °C\n" + host.PLAIN.replace("1.5", "8.5"))
    paths = [tmp_path / f"{name}.csv" for name in ("one", "bad", "two", "warm", "cold")]
    (found,) = read([request(*paths, temperature=20)])
    wanted = [of_host(one, tmp_path) for _, one in read_together(paths, temperature=20)]
    for page, one in zip(map(of_page, found), wanted):
        assert page.get("error") == one.get("error") and page.get("curves") == one.get("curves")
        assert sorted(map(str, page.get("notes", []))) == sorted(map(str, one.get("notes", [])))


def test_choices_that_do_not_fit_the_file(read, tmp_path):
    path = tmp_path / "file.csv"
    path.write_text(host.PLAIN)
    options = [options for options, _ in host.WRONG_OPTIONS.values() if "layout" not in options]
    more = [{"x": 2}, {"columns": ["a", 3]}, {"unit": "mM"}, {"denaturant": "constructor"}, {"skip_rows": 99}]
    assert_alike(read, [(path, chosen) for chosen in [*options, *more]])
