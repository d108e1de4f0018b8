"""Pictures hold what a reader looks for."""

import numpy as np
import pytest
from conftest import FKBP12, FOUR, THREE, simulate
from matplotlib.figure import Figure

import zolt


@pytest.mark.parametrize("states, transitions, n", [(2, FKBP12, 32), (3, THREE, 48), (4, FOUR, 72)])
def test_a_picture_shows_points_fit_baselines_midpoints_and_residuals(states, transitions, n):
    x, y = simulate(transitions, n, noise=0.003)
    y[5] += 0.5
    fit = zolt.fit(x, y, states=states, drop_outliers=True, name="protein")
    figure = fit.plot(units="kJ", denaturant="Urea")
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
