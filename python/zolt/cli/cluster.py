"""A dask cluster for the time of the work."""

import logging
from contextlib import contextmanager
from pydoc import locate

import click

from .._version import __version__

_PATIENCE = "10s"


@contextmanager
def cluster(address):
    """A client of the scheduler at `address`, whose workers hold this package; None without one."""
    if address is None:
        yield None
        return
    try:
        from distributed import Client
    except ImportError:
        raise click.UsageError("--scheduler needs dask: pip install 'zolt[cluster]'.") from None
    try:
        client = Client(address, timeout=_PATIENCE)
    except (OSError, ValueError) as fault:
        raise click.UsageError(f"--scheduler {address}: no answer ({fault}).") from None
    logging.disable(logging.ERROR)  # of dask: what is lost is said in a sentence of our own
    try:
        with client:
            _check_workers(client, address)
            yield client
    finally:
        logging.disable(logging.NOTSET)


def _check_workers(client, address):
    """Refuse workers that would fail one by one: none at all, without zolt, or with another version."""
    try:
        versions = client.run(locate, "zolt.__version__")
    except Exception as fault:  # such as a library that is missing over there
        raise click.UsageError(
            f"--scheduler {address}: zolt does not load on its workers ({fault})."
        ) from None
    if not versions:
        raise click.UsageError(f"--scheduler {address}: it has no workers; start one with dask worker.")
    lacking = sum(version != __version__ for version in versions.values())
    if lacking:
        found = ", ".join(
            sorted({f"zolt {v}" if v else "no zolt" for v in versions.values()} - {f"zolt {__version__}"})
        )
        raise click.UsageError(
            f"--scheduler {address}: {lacking} of {len(versions)} workers have {found}; "
            f"install zolt {__version__} there."
        )
