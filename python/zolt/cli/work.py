"""The work of `zolt fit`: curves in turn, their rows kept as they come."""

import sys
from contextlib import contextmanager

import click
from tqdm import tqdm

from ..batch import FitAll, fit_each, row_of
from ..kept import KeptRows, keys_of
from ..output import MOST_PRINTED
from ..turns import ClusterLost, in_turn
from ..writing import CannotWrite


def fit_all(curves, settings, units, kept, *, whole, resume, workers, client, progress):
    """Pairs of fit and intervals if they are wanted `whole`, else None; all rows go into `kept`."""
    outcomes = [] if whole else None
    if settings.shares_m:  # no curve is done before all are
        outcomes = fit_each(curves, settings=settings)
        for i, (curve, outcome) in enumerate(zip(curves, outcomes)):
            kept.add(i, "", *row_of(curve, outcome, units))
        return outcomes
    keys = list(keys_of(curves, settings, units)) if kept.path else [""] * len(curves)
    if resume and not whole and kept.path:
        click.echo(f"zolt: {kept.take_over(keys)} of {len(curves)} curves were done before.", err=True)
    places = [i for i in range(len(curves)) if not kept.is_done(i)]
    work, coming = FitAll(settings, None if whole else units), iter(places)
    with tqdm(total=len(curves), initial=kept.done, unit="curve", disable=None if progress else True) as bar:
        for answers in in_turn(work, [curves[i] for i in places], workers, client):
            for answer, i in zip(answers, coming):
                if whole:
                    outcomes.append(answer)
                    answer = row_of(curves[i], answer, units)
                kept.add(i, keys[i], *answer)
            bar.update(len(answers))
    return outcomes


@contextmanager
def kept_rows(count, out, whole):
    """The `KeptRows` of a run; when it is stopped, a sentence says what is kept and how to go on."""
    beside = out is not None and out.suffix.lower() == ".csv"
    try:
        kept = KeptRows(count, out if beside else None, most=MOST_PRINTED)
    except CannotWrite as fault:
        raise click.UsageError(str(fault)) from None
    try:
        yield kept
    except (KeyboardInterrupt, ClusterLost) as stop:
        lost = isinstance(stop, ClusterLost)
        state = f"zolt: {stop if lost else 'interrupted'}; {kept.done} of {count} curves were done"
        if kept.path is None or kept.trouble:
            click.echo(f"{state}. Results are kept as they come with --out and a .csv file.", err=True)
        else:
            alone = ", without pictures, report and the like," if whole else ""
            further = f"The same command with --resume{alone} fits the rest."
            click.echo(f"{state} and are in {kept.path}. {further}", err=True)
        sys.exit(2 if lost else 130)
    finally:
        if kept.trouble:
            click.echo(f"zolt: {kept.trouble}", err=True)
        kept.close()
