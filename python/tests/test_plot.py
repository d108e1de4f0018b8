"""Pictures hold what a reader looks for, in the look that was asked for, and letters stay letters."""

import re

import matplotlib
import numpy as np
import pytest
from conftest import FKBP12, FOUR, THREE, simulate
from matplotlib.figure import Figure

import zolt
from zolt import plot


@pytest.mark.parametrize("states, transitions, n", [(2, FKBP12, 32), (3, THREE, 48), (4, FOUR, 72)])
def test_a_picture_shows_points_fit_baselines_midpoints_and_residuals(states, transitions, n):
    x, y = simulate(transitions, n, noise=0.003)
    y[5] += 0.5
    fit = zolt.fit(x, y, states=states, drop_outliers=True, name="protein")
    figure = fit.plot(units="kJ", denaturant="urea")
    upper, lower = figure.axes
    dashed = [line for line in upper.lines if line.get_linestyle() == "--"]
    assert len(dashed) == 2 and lower.get_xlabel() == "Urea (M)" and upper.get_title("left") == "protein"
    midpoints = [line.get_xdata()[0] for line in upper.lines if line.get_marker() == "D"]
    assert midpoints == pytest.approx(fit.Cm)
    solid, hollow = (part for part in upper.collections if len(part.get_offsets()) and part.get_zorder() == 4)
    assert len(solid.get_offsets()) + len(hollow.get_offsets()) == n
    assert hollow.get_offsets().tolist() == np.column_stack([x, y])[fit.marked].tolist() and fit.marked[5]
    shares = [text.get_text() for text in upper.get_legend().get_texts() if "transition" in text.get_text()]
    assert len(shares) == (0 if states == 2 else states - 1)
    assert any("kJ/mol" in text.get_text() for text in upper.get_legend().get_texts())


def test_a_fit_draws_into_given_axes_and_failures_can_be_drawn():
    ax = Figure().subplots()
    assert zolt.fit(*simulate(FKBP12)).plot(ax) is ax.figure and len(ax.figure.axes) == 1
    for n in (0, 3):
        figure = zolt.fit(*simulate(FKBP12, n)).plot()
        assert figure.axes[0].get_legend().get_title().get_text() == "too few points"


def test_replicates_are_drawn_with_mean_and_sd():
    x, y = simulate(FKBP12, 24, noise=0.01)
    fit = zolt.fit(np.tile(x, 3), np.concatenate([y, y + 0.02, y - 0.02]))
    upper, lower = fit.plot().axes
    for ax, middle in ((upper, y), (lower, y - zolt.model.signal(x, fit.result))):
        marks, _, (bars,) = next(
            c for c in ax.containers if c.get_label() == "mean and SD of replicates"
        ).lines
        assert marks.get_ydata() == pytest.approx(middle, abs=1e-9)
        lengths = [end[1] - start[1] for start, end in bars.get_segments()]
        assert lengths == pytest.approx([2 * 0.02] * 24)


def test_letters_stay_letters_in_the_font_that_was_asked_for(curve, tmp_path):
    fit = zolt.fit(*curve, name="V38A <&> $x$ _")
    for suffix in ("svg", "pdf"):
        plot.save_fit(fit, tmp_path / f"f.{suffix}", width=85, font="DejaVu Serif")
    svg = (tmp_path / "f.svg").read_text()
    assert "V38A &lt;&amp;&gt; $x$ _" in svg and "DejaVu Serif" in svg and "DejaVu Sans" not in svg
    assert plot.plot_overlay([fit], width=30).get_figwidth() == pytest.approx(30 / 25.4)
    assert float(re.search(r'width="([\d.]+)pt"', svg)[1]) == pytest.approx(85 / 25.4 * 72)
    pdf = (tmp_path / "f.pdf").read_bytes()
    assert b"/CIDFontType2" in pdf and b"/Type3" not in pdf
    assert b"/Type3" not in _saved(fit.plot(), tmp_path / "own.pdf")


def _saved(figure, path):
    figure.savefig(path)
    return path.read_bytes()


def test_styles_are_matplotlibs_and_leave_no_trace(curve, tmp_path):
    before = dict(matplotlib.rcParams)
    (tmp_path / "own.mplstyle").write_text(
        "axes.prop_cycle: cycler('color', ['00ff00', '0000ff'])\naxes.grid: True"
    )
    figure = zolt.fit(*curve).plot(style=["grayscale", tmp_path / "own.mplstyle"], font_size=6)
    upper = figure.axes[0]
    colours = {matplotlib.colors.to_hex(line.get_color()) for line in upper.lines if line.get_zorder() == 3}
    assert colours == {"#0000ff"} and figure.get_facecolor()[0] == 0.75
    assert upper.yaxis.label.get_fontsize() == 6 and dict(matplotlib.rcParams) == before
    for wrong, said in (
        (dict(style="nosuch"), "no style 'nosuch'"),
        (dict(font="Nosuch Font"), "no font 'Nosuch Font'"),
        (dict(width=29.9), "30 to 500 mm"),
    ):
        with pytest.raises(ValueError, match=said):
            zolt.fit(*curve).plot(**wrong)


def test_free_energy_is_a_line_through_the_midpoint_with_the_readings_on_it(curve):
    fit = zolt.fit(*curve)
    ax = plot.plot_free_energy(fit, denaturant="GdmCl").axes[0]
    line = next(line for line in ax.lines if line.get_label().startswith("dG"))
    slope, water = np.polyfit(*line.get_data(), 1)
    assert [slope, water] == pytest.approx([-fit.m[0] / 1000, fit.dG[0] / 1000])
    points = np.asarray(next(part for part in ax.collections if len(part.get_offsets()) > 4).get_offsets())
    assert points[:, 1] == pytest.approx(slope * points[:, 0] + water, abs=0.5) and len(points) >= 5
    assert f"± {fit.se['dG'][0] / 1000:.2f}" in line.get_label() and ax.get_xlabel() == "GdmCl (M)"
    failed = plot.plot_free_energy(zolt.fit(*simulate(FKBP12, 3)))
    assert failed.axes[0].texts[0].get_text() == "too few points"


def test_overlays_bring_curves_of_any_scale_together():
    fits = [
        zolt.fit(x, k * y, name=f"_{k}" * 30) for k in (1, -40) for x, y in [simulate(FKBP12, noise=0.004)]
    ]
    fits.append(zolt.fit([1.0, 2.0], [1.0, 2.0], name="short"))
    ax = plot.plot_overlay(fits).axes[0]
    first, second = (line.get_ydata() for line in ax.lines)
    assert first == pytest.approx(second, abs=2e-3) and len(ax.get_legend().get_texts()) == 2
    assert len(plot.plot_overlay(fits, quantity="signal").axes[0].get_legend().get_texts()) == 3
    assert plot.plot_overlay(fits[2:]).axes[0].texts[0].get_text() == "No curve was fitted."
    many = [fits[0]] * 13
    assert plot.plot_overlay(many, quantity="energy").axes[0].get_legend() is None
    with pytest.raises(ValueError, match="fraction, signal, energy"):
        plot.plot_overlay(fits, quantity="slope")


def test_the_profile_meets_the_ends_of_every_interval(curve):
    fit = zolt.fit(*curve)
    profile, spans = plot.profile(fit), fit.intervals(0.95)
    for name in ("dG", "Cm", "m"):
        lower, upper, rise = profile[name][0].T
        assert (np.diff(rise) > 0).all() and (np.diff(upper) > 0).all() and (np.diff(lower) < 0).all()
        # All three quantities rise alike, as far as unequal scatter does not widen one of them.
        at = np.interp(spans.Cm[0, 1], profile["Cm"][0][:, 1], profile["Cm"][0][:, 2])
        assert np.interp(getattr(spans, name)[0, 1], upper, rise) == pytest.approx(at, rel=0.3)
    lower, upper, rise = profile["Cm"][0].T  # nearly straight, so that the standard error tells all of it
    assert ((upper - lower) / 2.0 / fit.se["Cm"][0]) ** 2 == pytest.approx(rise, rel=0.05)
    axes = plot.plot_profile(fit).axes
    assert axes[1].lines[0].get_ydata()[-1] == rise[-1] and axes[1].lines[0].get_xdata()[-1] == upper[-1]
    dotted = [line.get_xdata()[0] for line in axes[0].lines if line.get_linestyle() == ":"]
    assert dotted == pytest.approx(spans.dG[0] / 1000) and len(axes) == 3
    steep = zolt.fit(*simulate([(26000.0, 1.3, 1.0)], 12, reach=3.0, noise=0.01), states=2)
    assert np.isinf(plot.profile(steep)["m"][0][:, 1]).any() and len(plot.plot_profile(steep).axes) == 3
    assert [text.get_text() for text in plot.plot_profile(steep).axes[2].texts] == ["open"]
    valleys = zolt.fit(*simulate([(12000.0, 3.0, 1.0)], 14, noise=0.05, seed=5), states=2)
    lower, upper, _ = plot.profile(valleys)["Cm"][0].T
    assert (np.diff(upper) >= 0).all() and (np.diff(lower) <= 0).all()  # it does not fold back on itself
    with pytest.raises(ValueError, match="without a fit"):
        plot.profile(zolt.fit(*simulate(FKBP12, 3)))


def test_a_plate_without_any_fit_has_a_map():
    fit = zolt.fit([1.0, 2.0], [1.0, 2.0], details={"well": "A1 A2"})
    cells = plot.plate_cells([fit])
    assert [(row, column) for row, column, _ in cells] == [(0, 0), (0, 1)] and plot.plate_cells(
        [zolt.fit([], [])]
    ) == []
    assert len([text for text in plot.plate_figure(cells).axes[0].texts if text.get_text() == "×"]) == 2
