"""What the command prints and writes."""

from pathlib import Path

import click
import pandas as pd
from tqdm import tqdm

MOST_PRINTED = 60
MOST_ALIKE = 3  # sentences of one warning that are printed one by one


def write_table(table, path):
    """Write a DataFrame in the format that the suffix of the path names."""
    writers = {
        ".csv": lambda: table.to_csv(path, index=False),
        ".xlsx": lambda: table.to_excel(path, index=False),
        ".json": lambda: table.to_json(path, orient="records", indent=1, force_ascii=False),
    }
    writers[path.suffix.lower()]()


def print_fits(table, units, fits=()):
    """The columns that one looks at first; then, once each, what was said of the curves."""
    shown = table.head(MOST_PRINTED)
    head = pd.DataFrame()
    if "file" in shown and shown["file"].nunique() > 1:
        head["file"] = shown["file"]
    head["curve"] = shown["curve"]
    if "states" in shown:
        head["states"] = shown["states"].astype(object).where(shown["states"].notna(), "")
    for i in (1, 2, 3):
        for name, unit, digits in (
            ("dG", f"_{units}_per_mol", 2), ("Cm", "_M", 3), ("m", f"_{units}_per_mol_per_M", 3)
        ):  # fmt: skip
            columns = [f"{name}{i}{end}{unit}" for end in ("", "_se", "_lower", "_upper")]
            if columns[0] in shown and shown[columns[0]].notna().any():
                values = shown.reindex(columns=columns).to_numpy(float)
                head[f"{name}{i}"] = [_estimate(row, digits) for row in values]
    for column, name in (("R_squared", "R²"), ("spikes", "spikes"), ("outliers", "outliers"), ("code", "code")):
        if column in shown:
            head[name] = shown[column]
    if "warnings" in shown:
        head["warnings"] = _own_codes(shown["warnings"].fillna(""))
    click.echo(head.to_string(index=False, na_rep="", formatters={"R²": "{:.4f}".format}))
    click.echo(f"dG in {units}/mol, Cm in M, m = dG/Cm in {units}/mol/M.")
    for (status, text), names in _groups(shown, ["status", "reason"]):
        click.echo(f"  {status}: {text} ({names})")
    print_cautions(fits)
    if len(table) > len(shown):
        click.echo(f"... and {len(table) - len(shown)} more curves; --out writes them all.")


def _own_codes(cells):
    """The codes of every curve less those that all curves have, which the lines below tell once."""
    codes = [[code for code in cell.split(", ") if code] for cell in cells]
    common = set.intersection(*map(set, codes)) if len(codes) > 1 else set()
    return [", ".join(code for code in own if code not in common) for own in codes]


def _estimate(values, digits):
    """A number with its standard error, and its interval in brackets where there is one."""
    value, error, lower, upper = values
    if pd.isna(value):
        return ""
    text = f"{value:.{digits}f}" + ("" if pd.isna(error) else f" ± {error:.{digits}f}")
    return text if pd.isna(lower) else f"{text} [{lower:.{digits}f}, {upper:.{digits}f}]"


def print_cautions(fits):
    """The warnings of all fits, code by code: sentences with their curves, then once what to do."""
    codes = {}
    for fit in fits:
        for caution in fit.warnings:
            codes.setdefault(caution.code, {}).setdefault(caution.sentence, []).append((fit.name, caution.advice))
    for code, sentences in codes.items():
        shown = list(sentences.items())[:MOST_ALIKE]
        others = sum(len(names) for names in sentences.values()) - sum(len(names) for _, names in shown)
        said = [f"{text} ({_named([name for name, _ in names])})" for text, names in shown]
        more = [f"And {others} more curves like these."] if others else []
        click.echo(f"  {code}: {' '.join([*said, *more])} {shown[0][1][0][1]}")


def _named(names):
    return ", ".join(names) if len(names) <= 4 else f"{len(names)} curves"


def _groups(shown, columns):
    """What the columns say of which curves, each sentence once."""
    groups = {}
    for *key, curve in shown[[*columns, "curve"]].itertuples(index=False):
        groups.setdefault(tuple(key), []).append(str(curve))
    for key, names in groups.items():
        yield key, _named(names)


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
