"""What speaks for the number of states of a curve: `Evidence`."""

from dataclasses import dataclass, field
from functools import cached_property

import pandas as pd

from . import inference

_ABSENT = {"sse", "residual_sd", "durbin_watson", "aicc_difference", "F", "p", "p_without", "least_weight",
           "apart"}  # fmt: skip


@dataclass(frozen=True, eq=False, repr=False)
class Evidence:
    """The comparison of all models on one curve; `sentence` tells its outcome in words."""

    record: object = field(repr=False)

    @property
    def states(self):
        """The number of states that the readings show; 0 where they show no transition."""
        return self.record.states

    @cached_property
    def sentence(self):
        return inference.evidence_sentence(self.record)

    def table(self):
        """A DataFrame with a row per model that was fitted.

        `F` and `p` compare with the model named in `against`; `p_without` is p without the reading
        at `x_without` (M), the worst of three left out in turn; `apart` is the distance of the
        midpoints in standard errors. `code` is that of the engine's analysis.
        """
        return pd.DataFrame(self.rows())

    def rows(self):
        """The rows of the table as dictionaries."""
        return [self._row(row) for row in self.record.row if row.tried]

    def _row(self, row):
        def number(name):
            value = getattr(row, name)
            return float("nan") if name in _ABSENT and value < 0 else value

        return {
            "model": inference.MODELS[row.model],
            "states": row.states,
            "code": row.engine_code if row.engine_code >= 0 else None,
            "sse": number("sse"),
            "free": row.parameters,
            "residual_sd": number("residual_sd"),
            "durbin_watson": number("durbin_watson"),
            "AICc": row.aicc if row.aicc_difference >= 0 else float("nan"),
            "dAICc": number("aicc_difference"),
            "against": inference.MODELS[row.against] if row.against >= 0 else "",
            "F": number("F"),
            "p": number("p"),
            "p_without": number("p_without"),
            "x_without": row.x_without if row.p_without >= 0 else float("nan"),
            "least_weight": number("least_weight"),
            "apart": number("apart"),
            "outcome": inference.OUTCOMES[row.outcome] if row.states else "",
        }

    def __repr__(self):
        columns = ["model", "free", "residual_sd", "durbin_watson", "dAICc", "p", "p_without", "outcome"]
        rows = self.table()[columns].to_string(index=False, float_format="{:.3g}".format)
        return f"{self.sentence}\n{rows}"

    def _repr_html_(self):
        return f"<p>{self.sentence}</p>{self.table().to_html(index=False, float_format='{:.3g}'.format)}"
