"""Keeps the workers of a Dask cluster busy with one picture each, a window of them at a time."""

from __future__ import annotations

import contextlib
import itertools
import os
from typing import Any, Callable, Iterable, Iterator

from distributed import Client, LocalCluster, as_completed

# Tasks in flight for each thread: enough that a worker never waits for the next one.
_WINDOW = 8
_RETRIES = 2


@contextlib.contextmanager
def cluster(scheduler: str | None, workers: int) -> Iterator[Client]:
    """A client of the scheduler, or of processes of its own on this machine."""
    if scheduler is not None:
        with Client(scheduler, timeout="20s", set_as_default=False) as client:
            yield client
        return
    os.environ.setdefault("OPENCV_FOR_THREADS_NUM", "1")  # the workers inherit it
    with LocalCluster(n_workers=workers, threads_per_worker=1, processes=True, dashboard_address="127.0.0.1:0",
                      protocol="tcp://", silence_logs=50) as local:
        with Client(local, set_as_default=False) as client:
            yield client


def run(
    client: Client, task: Callable[..., dict[str, Any]], job: Any, names: Iterable[str]
) -> Iterator[dict[str, Any]]:
    """The records of all files as they come. Only a window of them is known to the scheduler."""
    threads = max(1, sum(client.nthreads().values()))
    waiting = iter(names)

    def submit(name: str) -> Any:
        future = client.submit(task, job, name, pure=False, retries=_RETRIES)
        future.name = name
        return future

    first = list(map(submit, itertools.islice(waiting, _WINDOW * threads)))
    futures = as_completed(first, loop=client.loop, with_results=True, raise_errors=False)
    del first  # a record is freed when it was yielded
    for future, result in futures:
        for name in itertools.islice(waiting, 1):
            futures.add(submit(name))
        if future.status == "finished":
            yield result
        else:
            yield {"name": future.name, "status": "failed", "error": f"the worker failed: {future.exception()}"}
