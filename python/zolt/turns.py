"""Work on many curves in turn: on the threads of this machine, or on a dask cluster.

A few tasks more than there are hands are under way at any time, so that memory does not grow with the
number of curves; results come in the order of the curves.
"""

import os
import sys
from collections import deque
from concurrent.futures import CancelledError, ThreadPoolExecutor

_AHEAD = 3  # tasks under way for every thread
_MOST_PER_TASK = 16  # Large enough to hide what a task costs, small enough to share evenly.
_MOST_PER_FAR_TASK = 64  # A task of a cluster costs a scheduler about a millisecond.
_PATIENCE = 20  # seconds between two looks at a cluster that gives no answer
_MOST_LOOKS = 3  # at a cluster without any worker


class ClusterLost(Exception):
    """The cluster is gone; the text says so in a sentence."""


def in_turn(work, curves, workers=None, client=None):
    """Lists of answers of `work`, which takes a list of curves, in order.

    `work.lost(curve, fault)` is the answer for a curve at which the workers of a cluster died. Raises
    ClusterLost where no worker, or no scheduler, is left.
    """
    if client is None:
        yield from _on_threads(work, curves, workers or os.cpu_count() or 1)
        return
    try:
        yield from _on_cluster(work, curves, client)
    except (CancelledError, OSError):
        raise ClusterLost("the scheduler does not answer any more") from None


def _on_threads(work, curves, workers):
    with ThreadPoolExecutor(workers) as pool:
        try:
            tasks = _tasks(curves, workers, _MOST_PER_TASK)
            for _, future in _under_way(pool.submit, work, tasks, _AHEAD * workers):
                yield future.result()
        finally:
            pool.shutdown(cancel_futures=True)


def _on_cluster(work, curves, client):
    def submit(work, task):
        return client.submit(work, task, pure=False)

    threads = max(sum(client.nthreads().values()), 1)
    tasks = _tasks(curves, threads, _MOST_PER_FAR_TASK)
    for task, future in _under_way(submit, work, tasks, _AHEAD * threads):
        yield _far_result(client, submit, work, task, future)


def _tasks(curves, threads, most):
    size = min(most, 1 + len(curves) // (4 * threads))
    return (curves[i : i + size] for i in range(0, len(curves), size))


def _under_way(submit, work, tasks, most):
    """Pairs of a task and its future, the oldest first, while at most so many are under way."""
    waiting = deque()
    for task in tasks:
        waiting.append((task, submit(work, task)))
        if len(waiting) >= most:
            yield waiting.popleft()
    while waiting:
        yield waiting.popleft()


def _far_result(client, submit, work, task, future):
    """The answers of a task; one at which workers die again and again is cut into single curves."""
    from distributed.scheduler import KilledWorker

    try:
        return _awaited(client, future)
    except KilledWorker:
        if len(task) == 1:
            fault = RuntimeError("The workers of the cluster died at this curve, one after the other.")
            return [work.lost(task[0], fault)]
    # One after the other: those that wait at a worker that dies are suspected with the one at work.
    return [_far_result(client, submit, work, [curve], submit(work, [curve]))[0] for curve in task]


def _awaited(client, future):
    """The result of a future; ClusterLost where for some time no worker is there to make it."""
    from distributed import TimeoutError

    empty = 0
    while True:
        try:
            return future.result(timeout=_PATIENCE)
        except TimeoutError:
            empty = 0 if client.nthreads() else empty + 1
        if empty == 1:
            print("zolt: the cluster has no worker left; waiting for one.", file=sys.stderr)
        if empty >= _MOST_LOOKS:
            raise ClusterLost("the cluster has no worker left")
