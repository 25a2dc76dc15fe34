"""Keeps the workers of a Dask cluster busy: a task is a picture, or a few that take little time."""

from __future__ import annotations

import asyncio
import contextlib
import itertools
import os
import sys
import time
from typing import Any, Callable, Iterable, Iterator

import dask
from distributed import Client, KilledWorker, LocalCluster, as_completed

# Tasks in flight for each thread: enough that a worker never waits for the next one.
_WINDOW = 8
_RETRIES = 2
# A task costs the scheduler milliseconds: quick files share one, until it takes such a time.
_TASK_SECONDS = 0.1
_MOST_FILES = 16
_PAUSE = 0.01  # seconds: what finishes in it is fetched at once
_LOOK = 2.0  # seconds between looks at the workers, who come and go
_TELL, _PATIENCE = 5.0, 60.0  # seconds without a worker until it is said, and until the run ends


class Unreachable(Exception):
    """No scheduler or no workers; its text is a sentence for the user."""


@contextlib.contextmanager
def cluster(scheduler: str | None, workers: int) -> Iterator[Client]:
    """A client of the scheduler, or of processes of its own on this machine; raises Unreachable."""
    if scheduler is not None:
        try:
            client = Client(scheduler, timeout="20s", set_as_default=False)
        except (OSError, ValueError, asyncio.TimeoutError) as error:
            raise Unreachable(f"there is no scheduler at {scheduler}, write tcp://HOST:PORT: {error}") from None
        with client:
            yield client
        return
    os.environ.setdefault("OPENCV_FOR_THREADS_NUM", "1")  # the workers inherit it
    with LocalCluster(n_workers=workers, threads_per_worker=1, processes=True, dashboard_address="127.0.0.1:0",
                      protocol="tcp://", silence_logs=50) as local:
        with Client(local, set_as_default=False) as client:
            yield client


class _Crew:
    """The workers of a scheduler."""

    def __init__(self, client: Client) -> None:
        self._client = client
        self._threads = 0
        self._looked = -_LOOK
        self._seen = time.monotonic()
        self._told = False

    def threads(self) -> int:
        """Raises Unreachable when there are none for long."""
        now = time.monotonic()
        if now - self._looked < _LOOK:
            return self._threads
        self._looked = now
        try:
            self._threads = sum(self._client.nthreads().values())
        except Exception as error:
            raise Unreachable(f"the scheduler is gone: {error}") from None
        if self._threads:
            self._seen, self._told = now, False
        elif now - self._seen > _PATIENCE:
            raise Unreachable(f"the scheduler has had no workers for {_PATIENCE:.0f} s")
        elif now - self._seen > _TELL and not self._told:
            self._told = True
            print("the scheduler has no workers; start some: dask worker tcp://HOST:PORT --nthreads 1", file=sys.stderr)
        return self._threads


def run(
    client: Client, task: Callable[..., dict[str, Any]], job: Any, names: Iterable[str]
) -> Iterator[dict[str, Any]]:
    """The records of all files as they come. Only a window of them is known to the scheduler.

    Raises Unreachable when the scheduler is gone, or has no workers for a minute.
    """
    def submit(names: list[str], tries: int = 0) -> None:
        future = client.submit(_all_of, task, job, names, pure=False, retries=_RETRIES)
        future.names, future.tries = names, tries
        flying.add(future)

    # Dask would look up the source of the caller for each task, half the cost of a submission.
    dask.config.set({"distributed.diagnostics.computations.ignore-modules": [""]})
    waiting, crew = iter(names), _Crew(client)
    # Without results: as_completed forgets a task whose result its worker took with it.
    flying = as_completed([], loop=client.loop)
    more, size = True, 1
    while more or flying.count():
        for _ in range(_WINDOW * crew.threads() - flying.count() if more else 0):
            chosen = list(itertools.islice(waiting, size))
            more = len(chosen) == size
            if chosen:
                submit(chosen)
        time.sleep(_PAUSE)
        done = flying.next_batch(block=False)
        records = _records(client, done) if done else {}
        for future in done:
            found = records.get(future.names[0])
            if found is None and future.tries < _RETRIES:
                # Doing a file again writes the same bytes; alone, one that kills its worker takes no other with it.
                for name in future.names:
                    submit([name], future.tries + 1)
                continue
            yield from found or ({"name": name, "status": "failed", "error": _reason(future)} for name in future.names)
        size = _files_a_task(size, [record for found in records.values() for record in found])


def _all_of(task: Callable[..., dict[str, Any]], job: Any, names: list[str]) -> list[dict[str, Any]]:
    return [task(job, name) for name in names]


def _reason(future: Any) -> str:
    """Of a task without a result: its workers died, or it raised, such as where the package is not installed."""
    error = None
    if future.status == "error":
        with contextlib.suppress(Exception):
            error = future.exception(timeout="5s")
    if error is None or isinstance(error, KilledWorker):
        return f"the workers that had it were lost ({future.status})"
    return f"{type(error).__name__}: {error}"


def _files_a_task(size: int, records: list[dict[str, Any]]) -> int:
    """As many as the last records say, growing gently."""
    if not records:
        return size
    seconds = sum(record.get("seconds", 0) for record in records) / len(records)
    return max(1, min(_MOST_FILES, 2 * size, int(_TASK_SECONDS / max(seconds, 1e-3))))


def _records(client: Client, futures: list[Any]) -> dict[str, list[dict[str, Any]]]:
    """What finished tasks returned, by their first file; those whose worker is gone are done again while this waits."""
    try:
        return {found[0]["name"]: found for found in client.gather(futures, errors="skip")}
    except Exception:  # the connection went in the middle of it
        return {}
