"""What the engine says of a curve, beside the fit by least squares: `EngineAnswer`."""

from dataclasses import dataclass
from functools import cached_property

import numpy as np

from . import codes, engine, model
from .engine import Element

_HELD = 1e-9  # of the size of a given baseline, by which the engine's own may differ


@dataclass(frozen=True, eq=False, repr=False)
class EngineAnswer(model.Unfolding):
    """The result vector of the engine, and the path that it names."""

    result: np.ndarray
    analysis: str = "full"

    @property
    def code(self):
        """Fit code, element 13 of the vector."""
        return int(self.result[Element.CODE])

    @cached_property
    def path(self):
        """The fit code taken apart: stage, seed, held side, sentence (see `zolt.codes`)."""
        code = codes.explain(self.code, self.states, self.analysis)
        return codes.lost(code) if code.is_fit and not self.ok else code

    @property
    def sentence(self):
        return self.path.sentence

    def __repr__(self):
        return f"<EngineAnswer {self.states} states, code {self.code}. {self.sentence}>"


def answer_of_engine(readings, answer, states, options):
    """What the engine says to the readings with that many states, and with baselines if given.

    The engine takes two given baselines, and not those that are all 0; where it goes its own way, its
    answer is not called one with given baselines.
    """
    given = [side for side in (options.native, options.denatured) if not isinstance(side, str)]
    if len(given) == 2:
        baselines = np.ravel(given)
        vector = engine.analyse(readings.x, readings.y, readings.temperature, states, baselines)
        held = np.allclose(vector[:4], baselines, rtol=_HELD, atol=_HELD * np.ptp(readings.y))
        return EngineAnswer(vector, "baselines" if held else "full")
    vector = np.array(answer.record.engine)
    if answer.evidence is not None and states > 2:
        # The decision asked for a light analysis only.
        vector = engine.analyse(readings.x, readings.y, readings.temperature, states)
    # No answer at all comes from curves that the engine was not asked about.
    return EngineAnswer(vector if vector.any() else model.no_fit(codes.BAD_INPUT, states))
