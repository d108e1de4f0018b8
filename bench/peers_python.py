"""The fits of `zolt_peer_times problems`, read from standard input, by SciPy and lmfit as a user would
call them: arrays in the model and its derivatives, the same starts and tolerances. Prints the rows
cell,readings,solver,microseconds  with the least mean time of the rounds.
"""

import json
import sys
import time
from itertools import groupby

import lmfit
import numpy as np
from scipy.optimize import least_squares

ROUNDS = 3
TOLERANCE = 1e-8


class Problem:
    def __init__(self, line):
        row = json.loads(line)
        self.cell = row["cell"], row["readings"]
        self.transitions = row["transitions"]
        self.x, self.y, self.start = (np.array(row[name]) for name in ("x", "y", "start"))
        self.free = np.array(row["free"], int)

    def fractions(self, p):
        """Fraction unfolded of each transition, and the weight of each, as rows."""
        k = self.transitions
        dG, Cm = p[0 : 2 * k : 2, None], p[1 : 2 * k : 2, None]
        weights = np.append(p[2 * k : 3 * k - 1], 1.0 - p[2 * k : 3 * k - 1].sum())
        return 1.0 / (1.0 + np.exp(dG * (1.0 - self.x / Cm) / p[-1])), weights

    def full(self, values):
        p = self.start.copy()
        p[self.free] = values
        return p

    def residuals(self, values):
        p = self.full(values)
        fractions, weights = self.fractions(p)
        unfolded = weights @ fractions
        aN, bN, aU, bU = p[-5:-1]
        return (aN + bN * self.x) * (1.0 - unfolded) + (aU + bU * self.x) * unfolded - self.y

    def derivatives(self, values):
        p = self.full(values)
        k, x = self.transitions, self.x
        fractions, weights = self.fractions(p)
        unfolded = weights @ fractions
        aN, bN, aU, bU = p[-5:-1]
        height = aU + bU * x - aN - bN * x
        rows = np.empty((p.size - 1, x.size))
        dG, Cm = p[0 : 2 * k : 2, None], p[1 : 2 * k : 2, None]
        slope = -weights[:, None] * height * fractions * (1.0 - fractions) / p[-1]
        rows[0 : 2 * k : 2] = slope * (1.0 - x / Cm)
        rows[1 : 2 * k : 2] = slope * dG * x / (Cm * Cm)
        rows[2 * k : 3 * k - 1] = height * (fractions[:-1] - fractions[-1])
        rows[-4:] = 1.0 - unfolded, (1.0 - unfolded) * x, unfolded, unfolded * x
        return rows[self.free].T


def by_scipy(problem):
    start = problem.start[problem.free]
    found = least_squares(problem.residuals, start, problem.derivatives, method="lm",
                          xtol=TOLERANCE, ftol=TOLERANCE, gtol=TOLERANCE)  # fmt: skip
    return 2.0 * found.cost


def by_lmfit(problem):
    parameters = lmfit.Parameters()
    for k, value in enumerate(problem.start[problem.free]):
        parameters.add(f"p{k}", value=value)

    def values(given):
        return np.array([one.value for one in given.values()])

    found = lmfit.minimize(
        lambda given: problem.residuals(values(given)), parameters,
        Dfun=lambda given: problem.derivatives(values(given)), xtol=TOLERANCE, ftol=TOLERANCE,
    )  # fmt: skip
    return found.chisqr


def main():
    solvers = {"SciPy": by_scipy, "lmfit": by_lmfit}
    for cell, problems in groupby(map(Problem, sys.stdin), key=lambda problem: problem.cell):
        problems = list(problems)
        sums = {name: np.array([solve(p) for p in problems]) for name, solve in solvers.items()}
        least = np.min(list(sums.values()), axis=0)
        for name, solve in solvers.items():
            best = np.inf
            for _ in range(ROUNDS):
                begin = time.process_time()
                for problem in problems:
                    solve(problem)
                best = min(best, time.process_time() - begin)
            reached = np.mean(sums[name] <= 1.001 * least) >= 0.5
            print(*cell, name, f"{1e6 * best / len(problems):.0f}" if reached else "", sep=",")


main()
