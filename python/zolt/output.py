"""What the command prints and writes."""

from pathlib import Path

import click
import pandas as pd
from tqdm import tqdm

MOST_PRINTED = 60


def write_table(table, path):
    """Write a DataFrame in the format that the suffix of the path names."""
    writers = {
        ".csv": lambda: table.to_csv(path, index=False),
        ".xlsx": lambda: table.to_excel(path, index=False),
        ".json": lambda: table.to_json(path, orient="records", indent=1, force_ascii=False),
    }
    writers[path.suffix.lower()]()


def print_fits(table, units):
    """The columns that one looks at first; a curve without a fit says why."""
    shown = table.head(MOST_PRINTED)
    names = {"curve": "curve", "states": "states"}
    if "file" in shown and shown["file"].nunique() > 1:
        names = {"file": "file", **names}
    for i in (1, 2, 3):
        for key, head in ((f"dG{i}_{units}_per_mol", "dG"), (f"Cm{i}_M", "Cm"),
                          (f"m{i}_{units}_per_mol_per_M", "m")):
            names[key] = f"{head}{i}"  # fmt: skip
            for end in ("lower", "upper"):
                names[key.replace(f"{head}{i}", f"{head}{i}_{end}")] = f"{head}{i} {end}"
    names.update(R_squared="R²", spikes="spikes", outliers="outliers", code="code", reason="meaning")
    columns = [c for c in names if c in shown and (c in ("file", "curve", "reason") or shown[c].notna().any())]
    head = shown[columns].rename(columns=names)
    digits = {c: "{:.2f}".format for c in head if c.startswith("dG")}
    digits.update({c: "{:.3f}".format for c in head if c.startswith(("Cm", "m1", "m2", "m3"))})
    digits["R²"] = "{:.4f}".format
    meaning = head.pop("meaning")
    click.echo(head.to_string(index=False, na_rep="", formatters=digits))
    click.echo(f"dG in {units}/mol, Cm in M, m = dG/Cm in {units}/mol/M.")
    for (code, status, text), names in _meanings(shown["code"], shown["status"], meaning, shown["curve"]):
        click.echo(f"  {code if pd.notna(code) else '-':>3}  {status}: {text} ({names})")
    if len(table) > len(shown):
        click.echo(f"... and {len(table) - len(shown)} more curves; --out writes them all.")


def _meanings(codes, statuses, reasons, curves):
    """What was said of which curves, each sentence once."""
    groups = {}
    for key, curve in zip(zip(codes, statuses, reasons), curves):
        groups.setdefault(key, []).append(curve)
    for key in sorted(groups, key=lambda k: (k[0] != k[0], k[0])):
        names = groups[key]
        yield key, ", ".join(names) if len(names) <= 4 else f"{len(names)} curves"


def curve_table(fits, n=200):
    """The fitted curves as a long table of n rows each."""
    parts = []
    for fit in fits:
        if fit.ok:
            x, y = fit.curve(n)
            part = pd.DataFrame({"curve": fit.name, "concentration_M": x, "signal": y})
            part["fraction_denatured"] = fit.fraction_denatured(n)[1]
            grid, slope = fit.first_derivative(n)
            part["derivative_concentration_M"], part["derivative_per_M"] = grid, slope
            parts.append(part)
    return pd.concat(parts) if parts else pd.DataFrame(columns=["curve", "concentration_M", "signal"])


def draw_all(fits, folder, picture, units):
    """A picture per fit, named after its file and curve."""
    from .plot import save_fit

    folder.mkdir(parents=True, exist_ok=True)
    used = set()
    for fit in tqdm(fits, unit="picture", disable=None if len(fits) >= 20 else True):
        stem = Path(str(fit.details.get("file", "curve"))).stem
        base = "".join(c if c.isalnum() or c in "-_." else "_" for c in f"{stem}_{fit.name}")
        name, k = base, 2
        while name in used:
            name, k = f"{base}_{k}", k + 1
        used.add(name)
        save_fit(fit, folder / f"{name}.{picture}", units=units)
