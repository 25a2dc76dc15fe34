"""What a run tells of its files: on the terminal, in the manifest, in the list of failures."""

from __future__ import annotations

import collections
import json
import os
import sys
import time
from typing import Any, Iterator, TextIO

import numpy as np


# Names of files that are no UTF-8 are written as they are, with errors="surrogateescape".
def _lines(path: str | None) -> Iterator[str]:
    if path and os.path.isfile(path):
        with open(path, encoding="utf-8", errors="surrogateescape") as file:
            yield from (line.rstrip("\n") for line in file)


def _opened(path: str | None, goes_on: bool) -> TextIO | None:
    if path is None:
        return None
    file = open(path, "a" if goes_on else "w", encoding="utf-8", errors="surrogateescape")
    if goes_on and os.path.isfile(path) and os.path.getsize(path):
        with open(path, "rb") as before:
            before.seek(-1, os.SEEK_END)
            if before.read() != b"\n":  # a run was killed in the middle of a line
                file.write("\n")
    return file


class Manifest:
    """A record a line. One that goes on keeps what is there: the last record of a name counts."""

    def __init__(self, path: str | None, goes_on: bool) -> None:
        # Eight bytes a name, for there may be millions.
        self._known = np.sort(np.fromiter(_hashes_in(path) if goes_on else (), np.int64))
        self._file = _opened(path, goes_on)

    def add(self, record: dict[str, Any]) -> None:
        if self._file and not (record["status"] == "skipped" and self._knows(record["name"])):
            print(json.dumps(record), file=self._file, flush=True)

    def _knows(self, name: str) -> bool:
        at = np.searchsorted(self._known, hash(name))
        return bool(at < len(self._known) and self._known[at] == hash(name))

    def close(self) -> None:
        if self._file:
            self._file.close()


def _hashes_in(path: str | None) -> Iterator[int]:
    for line in _lines(path):
        try:
            yield hash(json.loads(line)["name"])
        except (ValueError, KeyError, TypeError):  # no whole record
            continue


class Failures:
    """A failed file a line: name, tab, reason. One that goes on keeps the files that were not tried again."""

    def __init__(self, path: str | None, goes_on: bool) -> None:
        self._path = path
        self._earlier = {line.partition("\t")[0]: line for line in _lines(path) if line} if goes_on else {}
        self._file = _opened(path, goes_on)
        self._own = self._file.tell() if self._file and self._earlier else 0
        self._has_old = False

    def add(self, record: dict[str, Any]) -> None:
        self._has_old |= self._earlier.pop(record["name"], None) is not None
        if record["status"] == "failed":
            reason = " ".join(record["error"].split())
            print(f"{record['name']}: {reason}", file=sys.stderr)
            if self._file:
                print(f"{record['name']}\t{reason}", file=self._file, flush=True)

    def close(self) -> None:
        if not self._file or not self._path:
            return
        self._file.close()
        if self._has_old:
            with open(self._path, encoding="utf-8", errors="surrogateescape") as file:
                file.seek(self._own)
                text = "".join(f"{line}\n" for line in self._earlier.values()) + file.read()
            with open(f"{self._path}.part", "w", encoding="utf-8", errors="surrogateescape") as file:
                file.write(text)
            os.replace(f"{self._path}.part", self._path)


class Progress:
    """A line on a terminal: how many, how fast, how long still."""

    def __init__(self, total: int) -> None:
        self.total, self.start, self.shown = total, time.monotonic(), 0.0

    def show(self, done: int) -> None:
        now = time.monotonic()
        if not sys.stderr.isatty() or (now - self.shown < 0.5 and done < self.total):
            return
        self.shown = now
        rate = done / max(now - self.start, 1e-3)
        left = int((self.total - done) / max(rate, 1e-3))
        print(f"\r{done} of {self.total}, {rate:.1f} a second, {left // 3600}:{left // 60 % 60:02}:{left % 60:02} left ",
              end="\n" if done == self.total else "", file=sys.stderr, flush=True)


class Report:
    """All of that; a context that says at its end how many there were."""

    def __init__(self, total: int, manifest: str | None, failures: str | None, goes_on: bool) -> None:
        self.counts: collections.Counter[str] = collections.Counter()
        self._progress = Progress(total)
        self._manifest, self._failures = Manifest(manifest, goes_on), Failures(failures, goes_on)

    def add(self, record: dict[str, Any]) -> None:
        self.counts[record["status"]] += 1
        self._failures.add(record)
        self._manifest.add(record)
        self._progress.show(sum(self.counts.values()))

    def __enter__(self) -> Report:
        return self

    def __exit__(self, *_: object) -> None:
        self._manifest.close()
        self._failures.close()
        seconds, counts = time.monotonic() - self._progress.start, self.counts
        print(f"{counts['done']} done, {counts['skipped']} skipped, {counts['failed']} failed in {seconds:.1f} s")
