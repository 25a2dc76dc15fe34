"""python3 -m morvik.batch: the command line."""

from __future__ import annotations

import argparse
import os
import re
import sys
import uuid
from typing import Any, Callable, Iterator

from ..shapes import _MODES

try:
    from . import engine, files, pictures
    from .job import OPERATIONS, Job, output_of, partner_pattern, process, sources, survey
    from .report import Report
except ImportError as error:
    sys.exit(f"morvik.batch needs the Python packages distributed, fsspec and Pillow (Debian: "
             f"python3-distributed, python3-fsspec, python3-pil): {error}")


_MAX_SIDE = 32766


def _size(text: str) -> tuple[int, int]:
    if not re.fullmatch("[0-9]{1,9}x[0-9]{1,9}", text):
        raise argparse.ArgumentTypeError(f"'{text}' is not a size; write WIDTHxHEIGHT, such as 640x480")
    width, height = map(int, text.split("x"))
    if not (0 < width <= _MAX_SIDE and 0 < height <= _MAX_SIDE and width * height <= pictures.MAX_PIXELS):
        raise argparse.ArgumentTypeError(f"the size {text} is not accepted; a side has 1 to {_MAX_SIDE} pixels, a "
                                         "picture at most 100 million")
    return width, height


def _point(text: str) -> tuple[int, int]:
    if not re.fullmatch("-?[0-9]{1,5},-?[0-9]{1,5}", text):
        raise argparse.ArgumentTypeError(f"'{text}' is not a point; write X,Y, such as 128,100")
    x, y = text.split(",")
    return int(x), int(y)


def _color(text: str) -> str:
    if not re.fullmatch("#[0-9a-fA-F]{6}", text):
        raise argparse.ArgumentTypeError(f"'{text}' is not a colour; write '#' and six hexadecimal digits: #ff8800")
    return text


def _whole(
    lowest: int, highest: int, fits: Callable[[int], bool] = lambda _: True, also: str = ""
) -> Callable[[str], int]:
    def number(text: str) -> int:
        value = int(text) if re.fullmatch("[-+]?[0-9]{1,10}", text) else lowest - 1
        if not lowest <= value <= highest or not fits(value):
            raise argparse.ArgumentTypeError(f"{text} is not accepted; {lowest} to {highest}{also} is")
        return value

    return number


def _parser() -> argparse.ArgumentParser:
    parser = argparse.ArgumentParser(
        prog="python3 -m morvik.batch",
        description="Runs an operation of the library on many pictures, on this machine or on a Dask cluster.",
        epilog="Folders and patterns are paths or URLs that fsspec knows (s3://bucket/*.jpg). Exit status: 0 all "
        "done, 1 some failed, 2 wrong arguments, or no scheduler, or none of its workers for a minute.")
    commands = parser.add_subparsers(dest="operation", required=True, metavar="OPERATION")
    for name, operation in OPERATIONS.items():
        command = commands.add_parser(name, help=operation.help, description=operation.help,
                                      formatter_class=argparse.ArgumentDefaultsHelpFormatter)
        for role in operation.inputs:
            command.add_argument(f"--{role}", required=True, help="folder, or pattern such as 'in/*.png'; a partner "
                                 "has the same stem, which the '*' of its pattern stands for")
        command.add_argument("-o", "--output", "--out", dest="out", required=True, help="folder to write to")
        command.add_argument("--as", dest="ending", choices=operation.endings, default=operation.endings[0],
                             help="ending of the files written")
        if "landmarks" not in operation.inputs:
            _add_files(command, "masks" in operation.inputs)
        _add_options(command, name)
        command.add_argument("--scheduler", help="tcp://HOST:PORT of a Dask scheduler; else processes of this machine")
        command.add_argument("-j", "--jobs", type=_whole(0, 1024), default=0,
                             help="processes on this machine; 0: as many as processors")
        command.add_argument("--skip-existing", action="store_true", help="go on where a run ended: leave files "
                             "alone that are there, add to the manifest, keep failures that are not tried again")
        command.add_argument("--keep-going", action="store_true", help="what it does in any case: failures are listed")
        command.add_argument("--failures", help="text file to write: a failed file a line, tab, the reason")
        command.add_argument("--manifest", help="file to write: a record a line, as JSON; "
                             "the last one of a name counts")
    return parser


def _add_files(command: argparse.ArgumentParser, has_masks: bool) -> None:
    command.add_argument("--no-orient", action="store_true", help="take pictures as stored, whatever EXIF says")
    if has_masks:
        command.add_argument("--mask-channel", choices=["auto", "alpha", "luma"], default="auto",
                             help="what of a picture is the mask; auto: alpha where it varies")
        command.add_argument("--stretch", action="store_true", help="make the mask's brightest pixel 255")
    command.add_argument("--quality", type=_whole(1, 100), default=92, metavar="1-100",
                         help="of JPEG and WebP; a WebP of 100 loses nothing")
    command.add_argument("--png-level", type=_whole(1, 12), default=1, metavar="1-12",
                         help="smaller PNG files, which take longer; above 9 as 9")


def _add_options(command: argparse.ArgumentParser, name: str) -> None:
    """The options of the command-line tool's command of the same name."""
    def add(option: str, type: Any, default: Any, help: str, **more: Any) -> None:
        command.add_argument(option, type=type, default=default, help=help, **more)

    if name in ("sticker", "smooth-mask"):
        command.add_argument("--snap", action="store_true", help="move edges to steps in brightness of the photograph")
        add("--limit", _whole(1, _MAX_SIDE), None, "working size in pixels; else a quarter of the larger side, at least "
            + ("512" if name == "sticker" else "640"))
    if name == "sticker":
        add("--expand", _whole(0, 500), None, "width of the border in pixels, 0 for none; else a 50th of the larger side")
        command.add_argument("--hard-edge", action="store_true", help="take the mask as it is")
        add("--fit", _whole(1, _MAX_SIDE), None, "scale the sticker into a square of this side")
        add("--color", _color, "#ffffff", "colour of the border")
        command.add_argument("--crop", action="store_true", help="write no more than the sticker's box")
    if name == "outline":
        add("--mode", str, "fill-stroke", "how shapes grow", choices=list(_MODES))
        add("--expand", _whole(0, 500), 12, "pixels to grow by")
        add("--smooth", _whole(0, 5), 0, "smoothing, 0 to 5 per cent of an outline")
        add("--points", str, "all", "all, or simple: ends of straight runs only", choices=["all", "simple"])
        add("--center", _point, None, "X,Y for the modes polar-center, vector-center")
        command.add_argument("--polygon", action="store_true", help="simplify to polygons")
        add("--threshold", _whole(0, 253), 127, "pixels above it are shape")
    if name == "fill-holes":
        add("--level", _whole(0, 254), 127, "pixels above it are inside")
    if name == "morph":
        add("--amount", _whole(-200, 200, bool, " without 0"), None,
            "pixels gained from side to side, or lost below 0", required=True)
    if name == "blur":
        sigma = _whole(0, (1 << 32) - 1)
        add("--filter", str, "gaussian", "the filter", choices=["mean", "median", "gaussian", "bilateral"])
        add("--kernel", _whole(1, 199, lambda side: side % 2 == 1, ", an odd number,"), 9,
            "kernel side in pixels, an odd number")
        add("--sigma-x", sigma, 0, "gaussian: pixels, 0 follows the kernel")
        add("--sigma-y", sigma, 0, "gaussian: pixels, 0 takes --sigma-x")
        add("--sigma-color", sigma, 40, "bilateral: range of colours")
        add("--sigma-space", sigma, 40, "bilateral: pixels")
    if name == "rotate":
        add("--angle", int, None, "degrees, clockwise", choices=[0, 90, 180, 270], required=True)
    if name == "resize":
        add("--to", _size, None, "new size, WIDTHxHEIGHT", required=True)
        add("--method", str, "area", "the method", choices=["nearest", "linear", "cubic", "area"])
    if name == "convert":
        add("--format", str, None, "pixel format to go through; nv12 and nv21 keep the even part of gray",
            choices=["rgb24", "argb", "gray", "nv12", "nv21"])
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
    first, *others = OPERATIONS[arguments.operation].inputs
    folders = {first: _absolute(getattr(arguments, first))}
    folders.update((role, partner_pattern(_absolute(getattr(arguments, role)))) for role in others)
    formats: dict[str, Any] = {}
    if "quality" in arguments:
        channel = {} if "stretch" not in arguments else {
            "mask_channel": arguments.mask_channel, "stretch": arguments.stretch}
        formats["reading"] = pictures.Reading(not arguments.no_orient, **channel)
        formats["writing"] = pictures.Writing(arguments.quality, arguments.png_level)
    return Job(arguments.operation, folders, _absolute(arguments.out), arguments.ending, options,
               skip_existing=arguments.skip_existing, run=uuid.uuid4().hex, **formats)


def _absolute(path: str) -> str:
    return path if "://" in path else os.path.abspath(path)


def _pending(job: Job, report: Report) -> Iterator[str]:
    """The files to do. Those that are there are left out here where that costs no more than a look."""
    look = job.skip_existing and files.is_local(job.out)
    for name in sources(job):
        output = output_of(job, name)
        if look and files.exists(output):
            report.add({"name": name, "output": output, "status": "skipped"})
        else:
            yield name


def _run(arguments: argparse.Namespace, job: Job) -> int:
    try:
        total = survey(job)
        files.make_folder(job.out)
    except (files.Unusable, OSError):
        raise
    except Exception as error:  # a store's own, such as missing credentials
        raise files.Unusable(f"{type(error).__name__}: {error}") from None
    with engine.cluster(arguments.scheduler, arguments.jobs or os.cpu_count() or 1) as client:
        with Report(total, arguments.manifest, arguments.failures, arguments.skip_existing) as report:
            for record in engine.run(client, process, job, _pending(job, report)):
                report.add(record)
    files.remove_parts(job.out, job.run)
    return 1 if report.counts["failed"] else 0


def main() -> int:
    parser = _parser()
    arguments = parser.parse_args()
    if getattr(arguments, "center", None) and not arguments.mode.endswith("-center"):
        parser.error(f"the mode {arguments.mode} has no --center")
    try:
        return _run(arguments, _job(arguments))
    except (files.Unusable, engine.Unreachable, OSError) as error:
        print(f"morvik.batch: {error}", file=sys.stderr)
        return 2
    except KeyboardInterrupt:
        print("\ninterrupted; --skip-existing goes on where this run ends", file=sys.stderr)
        return 130


if __name__ == "__main__":
    sys.exit(main())
