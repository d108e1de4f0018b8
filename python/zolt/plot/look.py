"""How figures look: style sheets, width and font, colours by their use, and text that stays text."""

import io
from collections import namedtuple
from contextlib import contextmanager
from functools import wraps
from pathlib import Path

import matplotlib
import numpy as np
from matplotlib import font_manager
from matplotlib.backends.backend_agg import FigureCanvasAgg
from matplotlib.figure import Figure
from matplotlib.style import core as styles

SHEET = Path(__file__).with_name("zolt.mplstyle")
# Journals want fonts that can be edited: TrueType in PDF and PostScript, letters as letters in SVG.
_SAVING = {"pdf.fonttype": 42, "ps.fonttype": 42, "svg.fonttype": "none"}
_MM = 25.4
_SCREEN_DOTS_PER_INCH = 90
_NARROW = 130.0 / _MM  # inches; below it, letters are smaller and the legend stands under the axes
_SMALL_FONT = 8.0
BASELINE = "0.42"
GRID = 400  # points of a drawn curve
LONGEST_TITLE = 60
MOST_NAMED = 12  # curves that a legend names one by one

Palette = namedtuple("Palette", "reading fit mark shares paper")


class PaperFigure(Figure):
    """A figure that keeps the look it was made under; its files hold letters that can be edited."""

    def __init__(self, *arguments, **options):
        super().__init__(*arguments, **options)
        # Ticks and generic font families are settled when the figure is drawn, not before.
        settings = matplotlib.rcParams.copy()
        self._settings = {name: settings[name] for name in settings.keys() - styles.STYLE_BLACKLIST} | _SAVING

    def draw(self, renderer):
        with matplotlib.rc_context(self._settings):
            super().draw(renderer)

    def savefig(self, *arguments, **options):
        with matplotlib.rc_context(_SAVING):
            super().savefig(*arguments, **options)

    def _repr_png_(self):
        """The figure as a notebook shows it."""
        whole = io.BytesIO()
        self.savefig(whole, format="png", dpi=_SCREEN_DOTS_PER_INCH)
        return whole.getvalue()


@contextmanager
def look(style=(), width=None, font=None, font_size=None):
    """The settings under which figures are drawn; ValueError where there is no such style or font.

    `style` is a name or path of a Matplotlib style sheet, or several, laid over zolt's own;
    `width` is in mm, `font_size` in points. These settings are Matplotlib's global ones, so only
    one thread may draw at a time.
    """
    sheets = [str(sheet) for sheet in ([style] if isinstance(style, (str, Path)) else style)]
    for sheet in sheets:
        if sheet not in styles.library and sheet != "default" and not Path(sheet).is_file():
            some = ", ".join(sorted(name for name in styles.library if not name.startswith("_"))[:6])
            raise ValueError(
                f"there is no style '{sheet}': give the path of a style sheet, or a name as {some}"
            )
    with styles.context([SHEET, *sheets]):
        if width is not None:
            if not 30.0 <= width <= 500.0:
                raise ValueError(f"a figure is 30 to 500 mm wide, not {width:g}")
            across, up = matplotlib.rcParams["figure.figsize"]
            matplotlib.rcParams["figure.figsize"] = width / _MM, up * width / _MM / across
        if font_size is not None:
            matplotlib.rcParams["font.size"] = font_size
        elif is_narrow():
            matplotlib.rcParams["font.size"] = min(_SMALL_FONT, matplotlib.rcParams["font.size"])
        if font is not None:
            _check_font(font)
            matplotlib.rcParams["font.family"] = [font]
        yield


def _check_font(font):
    try:
        font_manager.findfont(font_manager.FontProperties(family=[font]), fallback_to_default=False)
    except ValueError:
        raise ValueError(f"no font '{font}' is installed here; 'DejaVu Sans' always is") from None


def styled(draw):
    """Gives a function that draws the keywords of `look`."""

    @wraps(draw)
    def drawn(*arguments, style=(), width=None, font=None, font_size=None, **options):
        with look(style, width, font, font_size):
            return draw(*arguments, **options)

    return drawn


def is_narrow():
    return matplotlib.rcParams["figure.figsize"][0] < _NARROW


def new_figure(across=1.0, aspect=None):
    """An empty figure, `across` times as wide as is usual; height is width times `aspect`.

    It is the figure of the look in force; see `look`.
    """
    width, height = matplotlib.rcParams["figure.figsize"]
    size = across * width, height if aspect is None else across * width * aspect
    figure = PaperFigure(figsize=size, layout="constrained")
    FigureCanvasAgg(figure)  # gives the figure its renderer
    return figure


def palette():
    """Colours by their use, from the style in force."""
    cycle = matplotlib.rcParams["axes.prop_cycle"].by_key().get("color", ["black"])
    take = [cycle[i % len(cycle)] for i in range(6)]
    return Palette(take[0], take[1], take[2], take[3:], matplotlib.rcParams["axes.facecolor"])


def dress(ax):
    """Axes as the style has them, on a figure of ours or on one that was given."""
    if not matplotlib.rcParams["axes.spines.top"]:
        ax.spines[["top", "right"]].set_visible(False)


def limits(values, margin=0.08):
    """Ends of an axis around the finite values."""
    values = np.asarray(values, float)
    values = values[np.isfinite(values)]
    if not values.size:
        return 0.0, 1.0
    low, high = values.min(), values.max()
    room = margin * ((high - low) or abs(high) or 1.0)
    return low - room, high + room


def shortened(name, longest=LONGEST_TITLE):
    """A name that fits above a panel or in a legend."""
    text = " ".join(str(name).split()).replace("$", r"\$")  # a dollar would begin a formula
    if text.startswith("_"):
        text = f"\u200a{text}"  # a legend passes over names that begin with an underscore
    if len(text) <= longest:
        return text
    tail = longest // 3  # names of a set often differ at their ends alone
    return f"{text[: longest - 1 - tail]}…{text[-tail:]}"


def denaturant_label(fits, denaturant=None):
    """The words on the axis of concentrations: what was given, else what the source said."""
    if not denaturant:
        known = {fit.denaturant or fit.details.get("denaturant") for fit in fits} - {None, ""}
        denaturant = known.pop() if len(known) == 1 else "denaturant"
    denaturant = shortened(denaturant)
    return f"{denaturant[:1].upper()}{denaturant[1:]} (M)"
