"""Tables at the limits of the reader, just within them and just beyond, and tables thrown together."""

import random
from itertools import product

ONE, TWO = ["urea_M", "WT"], ["urea_M", "WT", "b"]


def run_of(n, top=8.0, least=0.0):
    return [round(least + (top - least) * i / max(n - 1, 1), 4) for i in range(n)]


def bumpy(n, by=0.0):
    """Signals that could be no concentrations."""
    return [round((0.1 if 2 * i < n else 0.9) + 0.01 * (i * i % 3) + by, 3) for i in range(n)]


def table(names, *columns, apart=","):
    rows = [names, *zip(*columns)] if names else zip(*columns)
    return "\n".join(apart.join(map(str, row)) for row in rows) + "\n"


X, Y, Z = run_of(9), bumpy(9), bumpy(9, 1.5)


def files_at_limits():
    for part in (concentrations, rows_and_columns, labels, temperatures, headers, several_tables):
        yield from part()


def concentrations():
    tops = (0.19, 0.2, 0.21, 0.49, 0.5, 1.99, 2.0, 8.5, 8.6, 10.5, 10.6, 15.0, 15.1)
    for top, name in product(tops, ("urea (M)", "GdmCl (M)", "x", "dose", "")):
        yield table([name, "WT", "L12A"], run_of(9, top), Y, Z)
        yield table(["tube", "a", "b"], range(1, 10), run_of(9, top), Y)
    for least in (-0.06, -0.05, -0.04, 0.0):
        yield table(TWO, run_of(9, 8, least), Y, Z)
        yield table(["", "WT", "b"], run_of(9, 8, least), Y, Z)
    for unit, top in product(("% of 8 M", "% w/v", "g/L", "mM", "µM", "% of 10 M", "ppm"), (8, 100, 8000)):
        yield table([f"GdmCl ({unit})", "WT"], run_of(9, top), Y)
        yield table(["conc", "WT"], [f"{value} {unit}" if i else value for i, value in enumerate(run_of(9, top))], Y)
    for shift, sign in product((0, 1.59, 1.6, 1.61), (1, -1)):  # a second column that may be concentrations
        other = run_of(9, 8 - shift) if sign < 0 else run_of(9, 8, shift)
        yield table([*TWO, "c"], X, Y, other, Z)
        yield table(TWO, X, other, Z)
        yield table(None, X, Y, other, Z)
    for n, times, low in product((3, 4, 5, 8, 9), (2, 3, 4), (0, 1.59, 1.6, 1.61)):  # those that begin again
        again = run_of(n) + run_of(n, 8, low) * (times - 1)
        yield table(ONE, again, bumpy(len(again)))


def rows_and_columns():
    for n, names in product(range(1, 8), (ONE, ["", "WT"], None)):
        yield table(names, run_of(n), bumpy(n))
        yield f"words\n\n{table(names, run_of(n), bumpy(n))}\n{table(names, run_of(4, 7), bumpy(4, 2))}"
    for start, n, name in product((0, 1, 2), (9, 11, 12, 13), ("", "#", "tube", "sample", "c")):
        yield table([name, "urea_M", "WT"], range(start, start + n), run_of(n), bumpy(n))
        yield table([name, "WT", "b"], range(start, start + n), bumpy(n), bumpy(n, 2))
    for count, filler in product(range(10), ("", "bad", "#N/A", "#")):
        yield table(TWO, X, [filler if i < count else v for i, v in enumerate(Y)], Z)
        yield table(TWO, [filler if i >= 9 - count else v for i, v in enumerate(X)], Y, Z)
        names = [filler if 0 < i <= count else "ABC"[i // 3] for i in range(9)]
        yield table(["sample", "urea_M", "b"], names, X, Z)


    for n, name, unit in product((2, 3, 4), ("urea_M", "", "WT"), ("", " M")):  # concentrations along a row
        rows = [name, *(f"{value}{unit}" for value in run_of(n))], ["L12A", *bumpy(n)], ["V38A", *bumpy(n, 2)]
        yield table(None, *zip(*rows))


def labels():
    names = ("ligand", "sample", "lot", "T (C)", "replicate")
    for count, n, shared, name in product((2, 3, 4), (1, 2, 3, 4), (0, 0.5, 1), names):
        rows = [
            (f"L{k}" if name in ("sample", "lot") else 10 * k + 1, x + (k * 0.01 if i >= shared * n else 0), y)
            for k in range(count)
            for i, (x, y) in enumerate(zip(run_of(n), bumpy(n, k)))
        ]
        label, x, y = zip(*rows)
        yield table([name, "urea_M", "signal"], label, x, y)
        yield table(["urea_M", name, "WT"], x, label, y)
    for off in (0, 0.0139, 0.0141, 0.02):  # a column that may be the mean of others
        means = [round((a + b) / 2 + (off if i == 3 else 0), 6) for i, (a, b) in enumerate(zip(Y, Z))]
        yield table([*TWO, "mean", "sd", "n"], X, Y, Z, means, [0.1] * 9, [2] * 9)
        yield table(["urea_M", "a", "mean"], X, Y, means)


def temperatures():
    for degrees in (-0.1, 0, 99.9, 100, 100.1, 199, 200, 200.1, 273.15, 373.15, 373.2, 399, 400):
        for name in ("T (C)", "T (K)", "temperature", "T (F)"):
            yield table([*ONE, name], X, Y, [degrees] * 9)
        yield table(["urea_M", f"WT {degrees} K", f"b_{degrees}C"], X, Y, Z)
        yield f"# Temperature: {degrees}\n# measured at {degrees} degrees\n{table(ONE, X, Y)}"
    said = ("20 °C, then 25 °C", "20, then 25 C", "25 °C (block 25 C)", "20 °C (block at 25 °C)", "25 (25)",
            "298.15 K (25)", "stored 4, read 25")  # fmt: skip
    for text in said:
        yield f"# Temperature: {text}\n{table(ONE, X, Y)}"
        yield f"temperature,{text}\n\n{table(ONE, X, Y)}"
    for spread, several, name in product((0.9, 1.0, 1.1, 2.9, 3.0, 3.1), (1, 3), ("T (C)", "t")):
        yield table([*ONE, name], X, Y, [20 + spread * (i // several % 2) for i in range(9)])
    for degrees in (3.9, 4, 4.1, 399.9, 400, 400.1):  # of a letter that may be another thing
        yield table([*ONE, "t"], X, Y, [degrees] * 9)


def headers():
    rows = (ONE, ["urea_M", "a (b", "c)", "d"], [*TWO, "c"], ["a", "b"], ["", "WT", "", "L12A"], ["", "2", "3"], ["x", "y", "sd"])
    for names, apart in product(rows, (",", ";", "\t", " ")):
        body, units = table(None, X, Y, Z, apart=apart), apart.join(["(M)", "(AU)", "AU"])
        yield f"{apart.join(names)}\n{body}" + f"9{apart}0.9\n" * (apart == ",")
        yield f"{apart.join(['', 'WT', '', ''][: len(names)])}\n{apart.join(names)}\n{body}"
        yield f"{apart.join(names[:3])}\n\n{units}\n{body}"
    for group, low in product((",G,", "G,,", "G,H,", ",G,H"), product(("WT", "y", "a y", "CD 222", "sd", ""), repeat=2)):
        yield f"{group}\n" + table(["urea_M", *low], X, Y, Z)
    marked = (["", 1, 2], ["", 0, 100], ["", 99, 1], ["label", 5, 6], ["T (C)", 25, 37], ["replicate", 1, 2], ["", "", 2])
    for marks, names in product(marked, (["urea_M", "WT", "WT"], TWO, ["urea_M", "WT", ""])):
        yield table(names, *([mark, *values] for mark, values in zip(marks, (X, Y, Z))))
        yield table(marks, *([name, *values] for name, values in zip(names, (X, Y, Z))))
    for breaks, quote in product(range(5), ('"{}"', '"{}""{}"', '{}"{}')):
        name = quote.format("WT" + "\n" * breaks + "1", "b")
        yield table(["urea_M", name, "c"], X, Y, Z)
        yield table([*ONE, "remark"], X, Y, [name if i == 4 else "" for i in range(9)])


def several_tables():
    parted = ("\n", "\nWT again\n", "\nWT again,and more\n", "key: value\n", "# comment\n", "nothing,of\n")
    for x, between in product((run_of(4, 12, 9), run_of(4, 3), run_of(2, 12, 9), run_of(4, 8, 8)), parted):
        yield table(TWO, X, Y, Z) + between + table(None, x, bumpy(len(x)), bumpy(len(x), 3))


HEADS = ["urea_M", "GdmCl (mM)", "[urea] (M)", "x", "", "y", "WT", "WT", "L12A", "b x", "b y", "sd", "WT sd", "n",
         "label", "T (C)", "sample", "well", "2", "3", "mean", "replicate", "conc", "tube", "#", "unit", "t",
         "fraction", "CD 222 nm"]  # fmt: skip
LINES = ["words", "key: value", "Temperature: 20 °C", "# urea, 25 C", "WT,,L12A", ",G,,H", "(M),AU,AU", "", "a,b",
         "stock 10 M"]  # fmt: skip


def column(draw, n):
    """Numbers or words that a column may hold, of which some are no readings."""
    words = lambda *some: [draw.choice(some) for _ in range(n)]  # noqa: E731
    return draw.choice([
        lambda: run_of(n, draw.choice((0.5, 2, 4, 8, 15, 100, 8000))),
        lambda: run_of(n)[::-1],
        lambda: [v for v in run_of((n + 1) // 2) for _ in range(2)][:n],
        lambda: bumpy(n, draw.randrange(4)), lambda: bumpy(n, draw.randrange(4)), lambda: bumpy(n, -1),
        lambda: [draw.choice((1, 20, 25))] * n,
        lambda: list(range(draw.randrange(3), n + 3))[:n],
        lambda: words("WT", "L12A"), lambda: sorted(words("1", "2", "3")), lambda: words("M", "mM", ""),
        lambda: [f"{'ABCD'[i % 4]}{1 + i // 4}" for i in range(n)],
        lambda: [f"{v} M" for v in run_of(n)],
        lambda: [f"{v} ± 0.1" for v in bumpy(n)],
        lambda: words("0.5", "0.7", "", "n.d.", "0.6*"),
        lambda: [0.1 if v else v for v in words(0.1, 0.2)],
    ])()  # fmt: skip


def random_tables(count, seed):
    """Tables of columns, names and lines that were thrown together."""
    draw = random.Random(seed)
    for _ in range(count):
        n, apart = draw.choice((3, 4, 6, 8, 9, 12)), draw.choice(",,;\t")
        names = [draw.choice(HEADS) for _ in range(draw.randint(2, 6))]
        columns = [column(draw, n) if draw.random() < 0.5 else bumpy(n, k) for k, _ in enumerate(names)]
        if draw.random() < 0.7:
            names[0], columns[0] = draw.choice(HEADS[:5]), run_of(n)
        rows = [*([names] if draw.random() < 0.85 else []), *map(list, zip(*columns))]
        if draw.random() < 0.15:
            rows = [list(row) for row in zip(*rows)]
        yield disturbed(draw, rows, apart)


def disturbed(draw, rows, apart=",", lines=LINES):
    """The text of rows of which cells are gone or do not belong, with lines between."""
    for _ in range(draw.choice((0, 0, 0, 1, 2))):
        row = draw.choice(rows)
        row[draw.randrange(len(row))] = draw.choice(("", "bad", "-", "9", "WT", "A1", "25"))
    text = [apart.join(map(str, row)) for row in rows]
    for _ in range(draw.choice((0, 0, 1, 1, 2))):
        at = 0 if draw.random() < 0.7 else draw.randrange(len(text) + 1)
        text.insert(at, draw.choice(lines).replace(",", apart))
    return "\n".join(text) + "\n"


def random_plates(count, seed):
    """Plates, as matrices or with a row per well, and their layouts."""
    draw = random.Random(seed)
    for _ in range(count):
        height, width, step = draw.randint(1, 4), draw.randint(2, 12), draw.choice((0.4, 0.8, 1.0))
        wells = [(row, column) for row in range(height) for column in range(width)]
        matrix = [[draw.choice(("", "<>", "350 nm")), *range(1, width + 1)]]
        matrix += [["ABCD"[row], *bumpy(width, row)] for row in range(height)]
        rows = [["well", *draw.sample(["signal", "F350", "remark"], 2)]]
        digits = draw.choice((1, 2))
        rows += [[f"{'ABCD'[row]}{column + 1:0{digits}}", row + column, 0.1 * column] for row, column in wells]
        plates = [draw.choice((matrix, matrix, rows)) for _ in range(draw.choice((1, 1, 2)))]
        more = draw.sample(["label", "replicate", "T (C)", "note"], draw.randint(0, 2))
        layout = [["well", "sample", draw.choice(("concentration", "urea_M", "GdmCl (mM)")), *more]]
        for row, column in draw.sample(wells, len(wells) - (draw.random() < 0.3)):
            sample = draw.choice(("", "blank")) if draw.random() < 0.05 else f"P{row % 2}"
            layout.append([f"{'ABCD'[row]}{column + 1}", sample, step * column, *(20 + row for _ in more)])
        if draw.random() < 0.1:
            layout = [row[:gone] + row[gone + 1 :] for gone in [draw.randrange(3)] for row in layout]
        between = draw.choice(("\n", "", "second\n", "\nwords,and more\n"))
        plate = between.join(disturbed(draw, [list(row) for row in one], lines=LINES[:4]) for one in plates)
        yield plate, disturbed(draw, layout, lines=LINES[:4])
