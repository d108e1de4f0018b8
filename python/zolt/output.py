"""What the command prints."""

import click
import pandas as pd

from .replicates import replicate_means

MOST_PRINTED = 60
LONGEST_NAME = 48  # letters
MOST_ALIKE = 3  # sentences of one warning that are printed one by one


def print_fits(table, units, said=(), total=None):
    """The columns that one looks at first; then, once each, what was said of the curves.

    `said` are pairs of the name of a curve and its warnings, `total` counts the curves where the table
    holds only the first of them.
    """
    shown = table.head(MOST_PRINTED)
    head = pd.DataFrame()
    if "file" in shown and shown["file"].nunique() > 1:
        head["file"] = shown["file"]
    head["curve"] = shown["curve"].map(_brief)
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
    for column in ("R_squared", "spikes", "outliers", "code"):
        if column in shown:
            head[column.replace("R_squared", "R²")] = shown[column]
    if "warnings" in shown:
        own = _own_codes(shown["warnings"].fillna(""))
        if any(own):
            head["warnings"] = own
    click.echo(head.to_string(index=False, na_rep="", formatters={"R²": "{:.4f}".format}))
    click.echo(f"dG in {units}/mol, Cm in M, m = dG/Cm in {units}/mol/M.")
    for (status, text), names in _groups(shown, ["status", "reason"]):
        click.echo(f"  {status}: {text} ({names})")
    print_cautions(said)
    if (more := (total or len(table)) - len(shown)) > 0:
        click.echo(f"... and {more} more curves; --out writes them all.")


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


def print_cautions(said):
    """The warnings of all curves, code by code: sentences with their curves, then once what to do."""
    codes = {}
    for name, cautions in said:
        for caution in cautions:
            codes.setdefault(caution.code, {}).setdefault(caution.sentence, []).append((name, caution.advice))
    for code, sentences in codes.items():
        shown = list(sentences.items())[:MOST_ALIKE]
        others = sum(len(names) for names in sentences.values()) - sum(len(names) for _, names in shown)
        said = [f"{text} ({_named([name for name, _ in names])})" for text, names in shown]
        more = [f"And {others} more curves like these."] if others else []
        click.echo(f"  {code}: {' '.join([*said, *more])} {shown[0][1][0][1]}")


def print_replicates(fits, units):
    """Mean and SD of replicates that were fitted each alone."""
    table = replicate_means(fits, units)
    if len(table):
        click.echo("Replicates, each fitted alone:")
        click.echo(table.to_string(index=False, float_format="{:.3f}".format, na_rep=""))


def _named(names):
    return ", ".join(map(_brief, names)) if len(names) <= 4 else f"{len(names)} curves"


def _brief(name):
    """A name in a width that leaves room for the numbers."""
    text = str(name)
    return text if len(text) <= LONGEST_NAME else f"{text[: LONGEST_NAME - 1]}…"


def _groups(shown, columns):
    """What the columns say of which curves, each sentence once."""
    groups = {}
    for *key, curve in shown[[*columns, "curve"]].itertuples(index=False):
        groups.setdefault(tuple(key), []).append(str(curve))
    for key, names in groups.items():
        yield key, _named(names)
