"""Maps of a plate."""

import re

import numpy as np

from .look import limits, new_figure, palette, styled

_WELL = re.compile(r"\b([A-P])(\d{1,2})\b")


def plate_cells(fits):
    """Row, column and fit of every well of a plate; empty where a curve comes from no plate."""
    cells = []
    for fit in fits:
        wells = _WELL.findall(fit.details.get("well") or "")
        if not wells:
            return []
        cells += [(ord(row) - ord("A"), int(column) - 1, fit) for row, column in wells]
    return cells


@styled
def plate_figure(cells):
    """Maps of the midpoint and of R-squared over a plate; `cells` are (row, column, fit)."""
    rows = 8 if max(row for row, _, _ in cells) < 8 else 16
    columns = 12 if max(column for _, column, _ in cells) < 12 else 24
    figure = new_figure(12.0 / 8.2, (3.6 if rows == 8 else 4.6) / 12.0)
    for ax, title, value in zip(
        figure.subplots(1, 2),
        ("Cm of the first transition (M)", "R²"),
        (lambda fit: fit.Cm[0], lambda fit: fit.r_squared),
    ):
        map_of_values = np.full((rows, columns), np.nan)
        for row, column, fit in cells:
            map_of_values[row, column] = value(fit)
            if not fit.ok:
                ax.text(column, row, "×", ha="center", va="center", color=palette().fit)
        low, high = limits(map_of_values, 0.0)  # without a fit at all there are none
        image = ax.imshow(map_of_values, cmap="viridis", aspect="auto", vmin=low, vmax=high)
        figure.colorbar(image, ax=ax, pad=0.02)
        ax.set_title(title, loc="left")
        ax.set_xticks(range(columns), range(1, columns + 1), fontsize=7)
        ax.set_yticks(range(rows), "ABCDEFGHIJKLMNOP"[:rows], fontsize=7)
        ax.tick_params(length=0)
    return figure
