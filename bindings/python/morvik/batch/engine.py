"""Keeps the workers of a Dask cluster busy with one picture each, a window of them at a time."""

from __future__ import annotations

import asyncio
import contextlib
import itertools
import os
import sys
import time
from typing import Any, Callable, Iterable, Iterator

import dask
from distributed import Client, LocalCluster, as_completed

# Tasks in flight for each thread: enough that a worker never waits for the next one.
_WINDOW = 8
_RETRIES = 2
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
    def submit(name: str, tries: int = 0) -> Any:
        future = client.submit(task, job, name, pure=False, retries=_RETRIES)
        future.name, future.tries = name, tries
        return future

    # Dask would look up the source of the caller for each task, half the cost of a submission.
    dask.config.set({"distributed.diagnostics.computations.ignore-modules": [""]})
    waiting, crew = iter(names), _Crew(client)
    # Without results: as_completed forgets a task whose result its worker took with it.
    flying = as_completed([], loop=client.loop)
    more = True
    while more or flying.count():
        room = max(0, _WINDOW * crew.threads() - flying.count())
        chosen = list(itertools.islice(waiting, room)) if more else []
        more = more and len(chosen) == room
        for name in chosen:
            flying.add(submit(name))
        time.sleep(_PAUSE)
        done = flying.next_batch(block=False)
        records = _records(client, done) if done else {}
        for future in done:
            record = records.get(future.name)
            if record is None and future.tries < _RETRIES:
                # Doing a file again writes the same bytes.
                flying.add(submit(future.name, future.tries + 1))
                continue
            yield record or {"name": future.name, "status": "failed",
                             "error": f"the workers that had it were lost ({future.status})"}


def _records(client: Client, futures: list[Any]) -> dict[str, dict[str, Any]]:
    """What finished tasks returned; those whose worker is gone are done again while this waits."""
    try:
        return {record["name"]: record for record in client.gather(futures, errors="skip")}
    except Exception:  # the connection went in the middle of it
        return {}
