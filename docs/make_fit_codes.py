#!/usr/bin/env python3
"""Write docs/fit_codes.md from the table of codes in the Python package.

Usage: python3 docs/make_fit_codes.py > docs/fit_codes.md
"""

from zolt.codes import all_codes

HEAD = """# What the fit codes mean

Made by `docs/make_fit_codes.py` from the names in the C header and their words in
`python/zolt/codes.py`. In Python, `fit.code` is the number and
`fit.reason` the sentence; `zolt.explain(code, states)` looks one up.

The code says **how** a fit was found, not how good it is: that is told by R² and the intervals (see
[quality.md](quality.md)). The engine fits a curve from many starts and keeps the baselines on which the
best fits agree with the ends of the curve. It then fits again with these baselines held, and takes the
first candidate that is good enough. So

- **2, 3 and 4** are the best news: both baselines, or one of them, were found beyond doubt;
- **the codes of a known baseline** mean that one side of the curve is well seen;
- **the codes of unaided fits** mean that no baseline could be confirmed. The fit may be excellent, but
  look at the picture: is there a plateau at each end?
- **1, 32, 33, 34 and 36** are no fit.

A *start* is what the parameters were before the fit. "Held" parameters are not fitted: they keep what
was known of them. What is known in the starts:

| words | where the start comes from |
|---|---|
| three points at each end | a straight line through the first, or last, three readings |
| flat baselines from the end points | the first and the last reading, slope 0 |
| stretches of constant slope | the longest run of readings at each end over which the slope stays |
| midpoint from the derivative peak | Cm at the centre of a bell curve fitted to the slopes of the curve |
| midpoint held at the mean of the good first fits | Cm from those fits with R² of at least 0.99 |
| ranked candidates, best candidate | an earlier fit of the same curve |
| in two halves, three parts | each part fitted alone as two states, then put together |
| weights held | the share of each transition kept from such a fit |

The number alone does not tell the model: 5 is another path with two states than with three. Short
curves are handed to a smaller model than the one asked for; `fit.states` says which was used.
"""

TITLES = {2: "Two states", 3: "Three states", 4: "Four states"}
AFTER_TWO = """
35 and 36 come from midpoint fits only, with any number of states. With baselines given by the user, 2
means that they describe the curve. In a series, a curve that was fitted has the number of states as its
code: 2, 3 or 4.
"""


def tables():
    for states, title in TITLES.items():
        yield f"\n## {title}\n\n| code | outcome | meaning |\n|---|---|---|"
        for code in all_codes(states):
            yield f"| {code.number} | {code.status} | {code.sentence} |"
        if states == 2:
            yield AFTER_TWO.rstrip("\n")


def page():
    return HEAD + "\n".join(tables()) + "\n"


if __name__ == "__main__":
    print(page(), end="")
