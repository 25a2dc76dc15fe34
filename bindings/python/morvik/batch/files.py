"""Files and folders wherever fsspec can read and write."""

from __future__ import annotations

import contextlib
import datetime
import fnmatch
import os
import time
import uuid
from typing import Any, Iterator

import fsspec
from fsspec.implementations.local import LocalFileSystem
from fsspec.spec import AbstractFileSystem

PART = ".morvik-part-"
_DAY = 24 * 3600


class Unusable(Exception):
    """An argument that no file can be done with; its text is a sentence for the user."""


def filesystem(url: str) -> tuple[Any, str]:
    """The file system of a path or URL and the path in it."""
    try:
        return fsspec.core.url_to_fs(url)  # type: ignore[no-any-return]
    except ImportError as error:
        protocol = url.partition("://")[0]
        raise Unusable(f"{protocol}:// needs a Python package that is not installed: {error}") from None
    except ValueError as error:
        raise Unusable(f"{url}: {error}") from None


def is_local(url: str) -> bool:
    return isinstance(filesystem(url)[0], LocalFileSystem)


def exists(url: str) -> bool:
    fs, path = filesystem(url)
    return bool(fs.exists(path))


def same_folder(url: str, other: str) -> bool:
    (fs, path), (other_fs, other_path) = filesystem(url), filesystem(other)
    if isinstance(fs, LocalFileSystem) and isinstance(other_fs, LocalFileSystem):
        return os.path.realpath(path) == os.path.realpath(other_path)
    return bool(fs == other_fs) and path.rstrip("/") == other_path.rstrip("/")


def names(url: str, endings: tuple[str, ...]) -> Iterator[str]:
    """Names of the files in a folder that have such endings, or of those that fit a pattern such as ``in/*.jpg``.

    In any order; hidden files are left out. A local folder is read as it goes; of another store the
    names of the folder are listed at once.
    """
    fs, path = filesystem(url)
    folder, _, pattern = path.rpartition("/")
    if "*" not in pattern and "?" not in pattern:
        folder, pattern = path, ""
    if not fs.isdir(folder or "/"):
        raise Unusable(f"{folder} is no folder")
    listed = (entry.name for entry in os.scandir(folder or "/") if entry.is_file()) if is_local(url) else (
        entry["name"].rpartition("/")[2] for entry in fs.ls(folder, detail=True) if entry["type"] == "file")
    for name in listed:
        fits = fnmatch.fnmatchcase(name, pattern) if pattern else name.lower().endswith(endings)
        if fits and (not name.startswith(".") or pattern.startswith(".")):
            yield name


def make_folder(url: str) -> None:
    fs, path = filesystem(url)
    fs.makedirs(path, exist_ok=True)


def read(url: str) -> bytes:
    fs, path = filesystem(url)
    data: bytes = fs.cat_file(path)
    return data


def write(url: str, data: bytes, run: str = "") -> None:
    """Writes beside the file and moves it there: all of it is seen or nothing, after a crash as well."""
    fs, path = filesystem(url)
    part = f"{path.rpartition('/')[0]}/{PART}{run}-{uuid.uuid4().hex}"
    try:
        fs.pipe_file(part, data)
        _move(fs, part, path)
    except BaseException:
        with contextlib.suppress(Exception):
            fs.rm_file(part)
        raise


def _move(fs: Any, origin: str, path: str) -> None:
    """A bare fs.mv expands patterns, and copies where a file system has no mv of its own, local files too."""
    if isinstance(fs, LocalFileSystem):
        os.replace(origin, path)
    elif hasattr(fs, "mv_file"):
        fs.mv_file(origin, path)
    elif type(fs).mv is not AbstractFileSystem.mv:
        fs.mv(origin, path)
    else:  # stores of objects: a copy is seen when it is whole
        fs.cp_file(origin, path)
        fs.rm_file(origin)


def remove_parts(url: str, run: str) -> None:
    """Removes what killed workers of this run left in a folder, and what is there of others for more than a day.

    What cannot be removed stays, such as another user's; the run's files are all there.
    """
    fs, folder = filesystem(url)
    paths: list[str] = []
    with contextlib.suppress(Exception):
        if isinstance(fs, LocalFileSystem):
            paths = [entry.path for entry in os.scandir(folder) if entry.name.startswith(PART)]
        else:
            paths = [path for path in fs.ls(folder, detail=False) if path.rpartition("/")[2].startswith(PART)]
    for path in paths:
        with contextlib.suppress(Exception):
            if f"{PART}{run}-" in path or _age(fs, path) > _DAY:
                fs.rm_file(path)


def _age(fs: Any, path: str) -> float:
    modified = fs.modified(path)
    if modified.tzinfo is None:  # UTC
        modified = modified.replace(tzinfo=datetime.timezone.utc)
    return time.time() - float(modified.timestamp())
