"""python3 -m morvik.batch: the command line."""

from __future__ import annotations

import argparse
import collections
import contextlib
import json
import os
import re
import sys
import time
from typing import Any, Iterator, TextIO

from ..shapes import _MODES

try:
    from . import engine, pictures
    from .job import OPERATIONS, Job, exists, output_of, process
except ImportError as error:
    sys.exit(f"morvik.batch needs the Python packages distributed, fsspec and Pillow (Debian: "
             f"python3-distributed, python3-fsspec, python3-pil): {error}")


def _size(text: str) -> tuple[int, int]:
    width, _, height = text.partition("x")
    return int(width), int(height)


def _point(text: str) -> tuple[int, int]:
    x, y = text.split(",")
    return int(x), int(y)


def _color(text: str) -> str:
    if not re.fullmatch("#[0-9a-fA-F]{6}", text):
        raise ValueError(text)
    return text


def _parser() -> argparse.ArgumentParser:
    parser = argparse.ArgumentParser(
        prog="python3 -m morvik.batch",
        description="Runs an operation of the library on many pictures, on this machine or on a Dask cluster.",
        epilog="Folders and patterns are paths or URLs that fsspec knows (s3://bucket/*.jpg). Exit status: 0 all "
        "done, 1 some failed, 2 wrong arguments.")
    commands = parser.add_subparsers(dest="operation", required=True, metavar="OPERATION")
    for name, operation in OPERATIONS.items():
        command = commands.add_parser(name, help=operation.help, description=operation.help,
                                      formatter_class=argparse.ArgumentDefaultsHelpFormatter)
        for role in operation.inputs:
            command.add_argument(f"--{role}", required=True, help="folder, or pattern such as 'in/*.png'; partners have "
                                 "the same stem, by default in PNG files")
        command.add_argument("-o", "--output", "--out", dest="out", required=True, help="folder to write to")
        command.add_argument("--as", dest="ending", choices=operation.endings, default=operation.endings[0],
                             help="ending of the files written")
        if "landmarks" not in operation.inputs:
            _add_files(command, "masks" in operation.inputs)
        _add_options(command, name)
        command.add_argument("--scheduler", help="tcp://HOST:PORT of a Dask scheduler; else processes of this machine")
        command.add_argument("-j", "--jobs", type=int, default=os.cpu_count(), help="processes on this machine")
        command.add_argument("--skip-existing", action="store_true", help="leave files alone that are there")
        command.add_argument("--keep-going", action="store_true", help="what it does in any case: failures are listed")
        command.add_argument("--failures", help="text file to write: a failed file a line, with the reason")
        command.add_argument("--manifest", help="file to write: a record a line, as JSON")
    return parser


def _add_files(command: argparse.ArgumentParser, has_masks: bool) -> None:
    command.add_argument("--no-orient", action="store_true", help="take pictures as stored, whatever EXIF says")
    if has_masks:
        command.add_argument("--mask-channel", choices=["auto", "alpha", "luma"], default="auto",
                             help="what of a picture is the mask; auto: alpha where it varies")
        command.add_argument("--stretch", action="store_true", help="make the mask's brightest pixel 255")
    command.add_argument("--quality", type=int, choices=range(1, 101), default=92, metavar="1-100",
                         help="of JPEG and WebP; a WebP of 100 loses nothing")
    command.add_argument("--png-level", type=int, choices=range(1, 13), default=1, metavar="1-12",
                         help="smaller PNG files, which take longer; above 9 as 9")


def _add_options(command: argparse.ArgumentParser, name: str) -> None:
    """The options of the command-line tool's command of the same name."""
    def add(option: str, type: Any, default: Any, help: str, **more: Any) -> None:
        command.add_argument(option, type=type, default=default, help=help, **more)

    if name in ("sticker", "smooth-mask"):
        command.add_argument("--snap", action="store_true", help="move edges to steps in brightness of the photograph")
        add("--limit", int, None, "working size in pixels; else a quarter of the larger side, at least "
            + ("512" if name == "sticker" else "640"))
    if name == "sticker":
        add("--expand", int, None, "width of the border in pixels, 0 for none; else a 50th of the larger side")
        command.add_argument("--hard-edge", action="store_true", help="take the mask as it is")
        add("--fit", int, None, "scale the sticker into a square of this side")
        add("--color", _color, "#ffffff", "colour of the border")
        command.add_argument("--crop", action="store_true", help="write no more than the sticker's box")
    if name == "outline":
        add("--mode", str, "fill-stroke", "how shapes grow", choices=list(_MODES))
        add("--expand", int, 12, "pixels to grow by")
        add("--smooth", int, 0, "smoothing, 0 to 5 per cent of an outline")
        add("--points", str, "all", "all, or simple: ends of straight runs only", choices=["all", "simple"])
        add("--center", _point, None, "X,Y for the modes polar-center, vector-center")
        command.add_argument("--polygon", action="store_true", help="simplify to polygons")
        add("--threshold", int, 127, "pixels above it are shape")
    if name == "fill-holes":
        add("--level", int, 127, "pixels above it are inside")
    if name == "morph":
        add("--amount", int, None, "pixels gained from side to side, or lost below 0", required=True)
    if name == "blur":
        add("--filter", str, "gaussian", "the filter", choices=["mean", "median", "gaussian", "bilateral"])
        add("--kernel", int, 9, "kernel side in pixels, an odd number")
        add("--sigma-x", int, 0, "gaussian: pixels, 0 follows the kernel")
        add("--sigma-y", int, 0, "gaussian: pixels, 0 takes --sigma-x")
        add("--sigma-color", int, 40, "bilateral: range of colours")
        add("--sigma-space", int, 40, "bilateral: pixels")
    if name == "rotate":
        add("--angle", int, None, "degrees, clockwise", choices=[0, 90, 180, 270], required=True)
    if name == "resize":
        add("--to", _size, None, "new size, WIDTHxHEIGHT", required=True)
        add("--method", str, "area", "the method", choices=["nearest", "linear", "cubic", "area"])
    if name == "convert":
        add("--format", str, None, "pixel format to go through", choices=["rgb24", "argb", "gray", "nv12", "nv21"])
    if name == "forehead":
        add("--image-size", _size, None, "size of the pictures, WIDTHxHEIGHT", required=True)
        command.add_argument("--normalised", action="store_true",
                             help="landmarks are shares of the pictures' width and height, 0 to 1")


_OURS = {"operation", "photos", "masks", "landmarks", "out", "ending", "scheduler", "jobs", "skip_existing",
         "keep_going", "failures", "manifest", "no_orient", "mask_channel", "stretch", "quality", "png_level"}


def _job(arguments: argparse.Namespace) -> Job:
    options = {name: value for name, value in vars(arguments).items() if name not in _OURS}
    if arguments.operation in ("outline", "forehead"):
        options["ending"] = arguments.ending
    roles = OPERATIONS[arguments.operation].inputs
    files: dict[str, Any] = {}
    if "quality" in arguments:
        channel = {} if "stretch" not in arguments else {
            "mask_channel": arguments.mask_channel, "stretch": arguments.stretch}
        files["reading"] = pictures.Reading(not arguments.no_orient, **channel)
        files["writing"] = pictures.Writing(arguments.quality, arguments.png_level)
    return Job(arguments.operation, {role: _absolute(getattr(arguments, role)) for role in roles},
               _absolute(arguments.out), arguments.ending, options, skip_existing=arguments.skip_existing, **files)


def _absolute(path: str) -> str:
    return path if "://" in path else os.path.abspath(path)


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


def _pending(job: Job, source: str, counts: collections.Counter[str]) -> Iterator[str]:
    """The files to do. Those that are there are left out here where that costs no more than a look."""
    fs, _ = pictures.filesystem(job.out)
    look = job.skip_existing and pictures.is_local(fs)
    for name in pictures.names(source):
        if look and exists(output_of(job, name)):
            counts["skipped"] += 1
        else:
            yield name


def _text(path: str | None) -> Any:
    return open(path, "w", encoding="utf-8") if path else contextlib.nullcontext()


def _run(arguments: argparse.Namespace, job: Job) -> int:
    source = job.folders[OPERATIONS[job.operation].inputs[0]]
    total = sum(1 for _ in pictures.names(source))
    if total == 0:
        raise pictures.Unusable(f"{source} holds no files to work on")
    fs, out = pictures.filesystem(job.out)
    fs.makedirs(out, exist_ok=True)
    counts: collections.Counter[str] = collections.Counter()
    progress = Progress(total)
    failures: TextIO | None
    manifest: TextIO | None
    with _text(arguments.failures) as failures, _text(arguments.manifest) as manifest:
        with engine.cluster(arguments.scheduler, max(1, arguments.jobs)) as client:
            for record in engine.run(client, process, job, _pending(job, source, counts)):
                counts[record["status"]] += 1
                if record["status"] == "failed":
                    line = f"{record['name']}: {record['error']}"
                    print(line, file=sys.stderr)
                    if failures:
                        print(line, file=failures, flush=True)
                if manifest:
                    print(json.dumps(record), file=manifest, flush=True)
                progress.show(sum(counts.values()))
    pictures.remove_parts(job.out)
    seconds = time.monotonic() - progress.start
    print(f"{counts['done']} done, {counts['skipped']} skipped, {counts['failed']} failed in {seconds:.1f} s")
    return 1 if counts["failed"] else 0


def main() -> int:
    arguments = _parser().parse_args()
    try:
        return _run(arguments, _job(arguments))
    except (pictures.Unusable, OSError) as error:
        print(f"morvik.batch: {error}", file=sys.stderr)
        return 2
    except KeyboardInterrupt:
        print("\ninterrupted; --skip-existing goes on where this run ends", file=sys.stderr)
        return 130


if __name__ == "__main__":
    sys.exit(main())
