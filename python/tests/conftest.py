import matplotlib
import numpy as np
import pytest
from click.testing import CliRunner

from zolt.cli import main

matplotlib.use("Agg")
RT = 298.15 * 1.9872


def simulate(transitions, n=32, reach=8.0, noise=0.0, native=(0.1, 0.004), denatured=(1.0, -0.003), seed=0):
    """x and y of transitions (dG in cal/mol, Cm in M, weight), written apart from the package."""
    x = np.linspace(0.0, reach, n)
    fraction = sum(w / (1.0 + np.exp(dG * (1.0 - x / Cm) / RT)) for dG, Cm, w in transitions)
    low, high = native[0] + native[1] * x, denatured[0] + denatured[1] * x
    return x, low + (high - low) * fraction + np.random.default_rng(seed).normal(0.0, noise, n)


FKBP12 = [(5546.0, 3.867, 1.0)]
THREE = [(5000.0, 2.2, 0.5), (13000.0, 5.6, 0.5)]
FOUR = [(4000.0, 1.6, 0.35), (11000.0, 4.2, 0.3), (20000.0, 6.7, 0.35)]


@pytest.fixture
def curve():
    return simulate(FKBP12, noise=0.008)


@pytest.fixture
def run():
    """The command within this process: exit status, both streams."""
    return lambda *arguments: CliRunner(mix_stderr=False).invoke(main, list(map(str, arguments)))
