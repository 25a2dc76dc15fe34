"""Keeps the workers of a Dask cluster busy with one picture each, a window of them at a time."""

from __future__ import annotations

import contextlib
import itertools
import os
from typing import Any, Callable, Iterable, Iterator

import dask
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

    def submit(name: str, tries: int = 0) -> Any:
        future = client.submit(task, job, name, pure=False, retries=_RETRIES)
        future.name, future.tries = name, tries
        return future

    # Dask would look up the source of the caller for each task, half the cost of a submission.
    dask.config.set({"distributed.diagnostics.computations.ignore-modules": [""]})
    first = list(map(submit, itertools.islice(waiting, _WINDOW * threads)))
    # Without results: as_completed forgets a task whose result its worker took with it.
    futures = as_completed(first, loop=client.loop)
    del first  # a task is freed when its record was yielded
    for batch in futures.batches():
        records = _records(client, batch)
        for future in batch:
            record = records.get(future.name)
            if record is None and future.tries < _RETRIES:
                # Doing a file again writes the same bytes.
                futures.add(submit(future.name, future.tries + 1))
                continue
            for name in itertools.islice(waiting, 1):
                futures.add(submit(name))
            yield record or {"name": future.name, "status": "failed",
                             "error": f"the workers that had it were lost ({future.status})"}


def _records(client: Client, futures: list[Any]) -> dict[str, dict[str, Any]]:
    """What finished tasks returned; those whose worker is gone are done again while this waits."""
    try:
        return {record["name"]: record for record in client.gather(futures, errors="skip")}
    except Exception:  # the connection went in the middle of it
        return {}
