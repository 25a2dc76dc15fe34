"""One picture: from bytes in a store to bytes in a store. Knows nothing of Dask."""

from __future__ import annotations

import json
import os
import time
from dataclasses import dataclass, field
from typing import Any, Callable, Iterable, Iterator

import numpy as np

from .. import faces, images, masks, raw, shapes
from .._arrays import Size
from . import files, pictures

_TRIES = 3
_POINT_ENDINGS = (".txt", ".csv")


@dataclass(frozen=True)
class Operation:
    """What a command reads, what it makes of it, and what the files are called."""

    inputs: tuple[str, ...]  # of "photos", "masks", "landmarks"; the first one names the files
    run: Callable[..., Any]
    help: str
    endings: tuple[str, ...] = ("png", "jpg", "webp")
    keeps_colors: bool = False  # the result has the colours of the first input


@dataclass(frozen=True)
class Job:
    """A run: everything but the name of the file."""

    operation: str
    folders: dict[str, str]
    out: str
    ending: str
    options: dict[str, Any] = field(default_factory=dict)
    reading: pictures.Reading = pictures.Reading()
    writing: pictures.Writing = pictures.Writing()
    skip_existing: bool = False
    run: str = ""  # tells the parts of this run from those of others


def _sticker(photo: Any, mask: Any, color: str, **options: Any) -> Any:
    border = [int(color[at : at + 2], 16) for at in (5, 3, 1)]
    pixels = photo if pictures.alpha_of(photo) is not None else pictures.as_bgr(photo)
    return shapes.sticker(pixels, mask, color=border, **options)


def _smooth_mask(photo: Any, mask: Any, snap: bool, limit: int | None) -> Any:
    bgr = pictures.as_bgr(photo)
    size = Size(bgr.shape[1], bgr.shape[0])
    limit = max(640, max(size) // 4) if limit is None else limit
    return masks.smooth_mask(bgr, masks._reduced(mask, size), snap=snap, limit=limit)


def _resize(photo: Any, to: tuple[int, int], method: str) -> Any:
    if pictures.alpha_varies(photo):
        return shapes.scale_seen(photo, to, method)
    return images.resize(photo, to, method=method)


def _outline(mask: Any, ending: str, **options: Any) -> str:
    height, width = mask.shape
    found = shapes.outlines(mask, **options)
    if not found:
        raise ValueError(f"no pixel is above {options['threshold']}")
    if ending == "svg":
        return shapes.outlines_to_svg(found, (width, height))
    lines = ",\n  ".join(json.dumps(line.tolist(), separators=(",", ":")) for line in found)
    return f'{{"width": {width}, "height": {height}, "outlines": [\n  {lines}\n]}}\n'


def _blur(
    photo: Any, filter: str, kernel: int, sigma_x: int, sigma_y: int, sigma_color: int, sigma_space: int
) -> Any:
    sigma = {"gaussian": (sigma_x, sigma_y), "bilateral": (sigma_color, sigma_space)}.get(filter)
    alpha = pictures.alpha_of(photo)
    blurred = masks.blur(photo if photo.ndim == 2 else pictures.as_bgr(photo), kernel, filter=filter, sigma=sigma)
    if alpha is None:
        return blurred
    result = images.convert(blurred, "bgra")
    result[..., 3] = alpha
    return result


def _convert(photo: Any, format: str | None) -> Any:
    channels = photo.shape[2] if photo.ndim == 3 else 1
    if format is None or channels == {"gray": 1, "rgb24": 3, "argb": 4}.get(format):
        return photo
    through = images.convert(photo, {"rgb24": "bgr", "argb": "bgra"}.get(format, format))  # type: ignore[call-overload]
    return images.convert(through, "bgr") if isinstance(through, images.Frame) else through


def _forehead(landmarks: Any, image_size: tuple[int, int], normalised: bool, ending: str) -> str:
    if normalised:
        landmarks = landmarks * np.array(image_size, np.float32) - np.float32(0.5)
    points = [f"{x},{y}" for x, y in faces.forehead(landmarks, image_size)]
    if ending == "json":
        return "[" + ", ".join(f"[{point}]" for point in points) + "]\n"
    return "".join(f"{point}\n" for point in points)


OPERATIONS = {
    "sticker": Operation(("photos", "masks"), _sticker, "cut out what a mask covers, with a border", ("png", "webp"),
                         keeps_colors=True),
    "smooth-mask": Operation(("photos", "masks"), _smooth_mask, "enlarge coarse masks with smooth edges"),
    "outline": Operation(("masks",), _outline, "grow the shapes of masks and trace them", ("json", "svg")),
    "fill-holes": Operation(("masks",), lambda mask, level: masks.fill_holes(mask, level=level),
                            "make masks black and white and fill their holes"),
    "morph": Operation(("masks",), lambda mask, amount: masks.morph(mask, amount),
                       "grow or shrink masks"),
    "blur": Operation(("photos",), _blur, "blur masks and photographs", keeps_colors=True),
    "rotate": Operation(("photos",), lambda photo, angle: images.rotate(photo, angle),
                        "turn pictures clockwise by right angles", keeps_colors=True),
    "resize": Operation(("photos",), _resize, "scale pictures to a size", keeps_colors=True),
    "convert": Operation(("photos",), _convert, "convert pictures between files and pixel formats",
                         keeps_colors=True),
    "forehead": Operation(("landmarks",), _forehead, "predict points of foreheads from landmarks", ("txt", "json")),
}


def partner_pattern(given: str) -> str:
    """A folder, or a pattern whose one ``*`` stands for the stem of the partner."""
    folder, _, last = given.rpartition("/")
    if last == "*":
        return folder or "/"
    if last.count("*") > 1 or "?" in last:
        raise files.Unusable(f"{given}: a partner's pattern has one '*', which stands for the stem of the first file")
    return given


def _partners(pattern: str, stem: str) -> list[str]:
    """Where the partner of a stem may be: ``masks/*.png`` names it, in a folder it has any ending."""
    folder, _, last = pattern.rpartition("/")
    if "*" in last:
        return [f"{folder}/{last.replace('*', stem)}"]
    endings = (*pictures.ENDINGS, *map(str.upper, pictures.ENDINGS))
    return [f"{pattern.rstrip('/')}/{stem}{ending}" for ending in endings]


def _folder(pattern: str) -> str:
    folder, slash, last = pattern.rpartition("/")
    return (folder or slash or ".") if "*" in last or "?" in last else pattern.rstrip("/") or "/"


def _stem(name: str) -> str:
    return os.path.splitext(name)[0]


def _output_name(job: Job, name: str) -> str:
    return f"{_stem(name)}.{job.ending}"


def output_of(job: Job, name: str) -> str:
    return f"{job.out.rstrip('/')}/{_output_name(job, name)}"


def sources(job: Job, role: str = "") -> Iterator[str]:
    """Names of the files of a role, by default of the one that names the results."""
    role = role or OPERATIONS[job.operation].inputs[0]
    return files.names(job.folders[role], _POINT_ENDINGS if role == "landmarks" else pictures.ENDINGS)


def _hashes(names: Iterable[str]) -> Any:
    """Eight bytes a name, sorted: that much memory there is for millions of them."""
    return np.sort(np.fromiter(map(hash, names), np.int64))


def _refuse_twins(names: Callable[[], Iterator[str]], key: Callable[[str], str], sentence: str) -> int:
    """The number of names; Unusable when the keys of two are the same."""
    hashes = _hashes(map(key, names()))
    doubled = set(hashes[1:][hashes[1:] == hashes[:-1]].tolist())
    seen: dict[str, str] = {}
    for name in names() if doubled else ():
        if hash(key(name)) in doubled and seen.setdefault(key(name), name) != name:
            raise files.Unusable(sentence.format(*sorted((seen[key(name)], name)), key(name)))
    return len(hashes)


def survey(job: Job) -> int:
    """The number of files to do. Refuses runs that would write a file twice, or over an input."""
    first, *others = OPERATIONS[job.operation].inputs
    count = _refuse_twins(lambda: sources(job), lambda name: _output_name(job, name), "{} and {} would both become {}")
    if count == 0:
        raise files.Unusable(f"{job.folders[first]} holds no files to work on")
    for role in others:
        if "*" not in job.folders[role].rpartition("/")[2]:
            _refuse_twins(lambda: sources(job, role), _stem, "{} and {} differ in their endings only")
    for role in (first, *others):
        if files.same_folder(_folder(job.folders[role]), job.out):
            _refuse_inputs(job, role)
    return count


def _refuse_inputs(job: Job, role: str) -> None:
    """Results go to the folder of this role: none may have the name of a file that is read."""
    inputs = _hashes(sources(job, role))
    for name in sources(job):
        output = _output_name(job, name)
        at = np.searchsorted(inputs, hash(output))
        if at < len(inputs) and inputs[at] == hash(output):
            raise files.Unusable(f"{output_of(job, name)} is an input; inputs are never overwritten")


def _input(job: Job, role: str, name: str) -> tuple[Any, pictures.Colors]:
    first = role == OPERATIONS[job.operation].inputs[0]
    pattern = job.folders[role]
    paths = [f"{_folder(pattern).rstrip('/')}/{name}"] if first else _partners(pattern, _stem(name))
    path, data = _first_of(paths)
    try:
        if role == "landmarks":
            return _points(data), pictures.Colors()
        pixels, colors = pictures.decode(data, job.reading)
        return pictures.as_mask(pixels, job.reading) if role == "masks" else pixels, colors
    except (ValueError, SyntaxError, OSError) as error:
        raise ValueError(f"{path}: {error}") from None


def _first_of(paths: list[str]) -> tuple[str, bytes]:
    for path in paths:
        try:
            return path, _again(lambda: files.read(path))
        except FileNotFoundError:
            continue
        except OSError as error:
            raise ValueError(f"{path}: {error}") from None
    raise ValueError(f"there is no {paths[0]}" + (", nor one with another ending" if len(paths) > 1 else ""))


def _points(data: bytes) -> Any:
    points = []
    for number, line in enumerate(data.decode().rstrip().splitlines(), 1):
        try:
            x, y = line.split(",")
            points.append((float(x), float(y)))
        except ValueError:
            raise ValueError(f"line {number} is not a point; X,Y in pixels is expected, such as 232.5,118") from None
    return np.array(points, np.float32).reshape(-1, 2)


def _again(action: Callable[[], Any]) -> Any:
    """Stores fail now and then: a second and a third try, a moment later."""
    for attempt in range(1, _TRIES + 1):
        try:
            return action()
        except (FileNotFoundError, PermissionError, IsADirectoryError, NotADirectoryError):
            raise
        except OSError:
            if attempt == _TRIES:
                raise
            time.sleep(0.2 * attempt)


def process(job: Job, name: str) -> dict[str, Any]:
    """Does one file and returns its record; raises nothing that a file can cause."""
    start = time.perf_counter()
    record: dict[str, Any] = {"name": name, "output": output_of(job, name)}
    try:
        use_one_thread()
        if job.skip_existing and files.exists(record["output"]):
            return {**record, "status": "skipped"}
        operation = OPERATIONS[job.operation]
        inputs, colors = zip(*(_input(job, role, name) for role in operation.inputs))
        result = operation.run(*inputs, **job.options)
        data = result.encode() if isinstance(result, str) else pictures.encode(
            result, job.ending, job.writing, colors[0] if operation.keeps_colors else pictures.Colors())
        _again(lambda: files.write(record["output"], data, job.run))
        record["status"] = "done"
    except MemoryError:
        record.update(status="failed", error="not enough memory")
    except Exception as error:
        record.update(status="failed", error=str(error) or type(error).__name__)
    record["seconds"] = round(time.perf_counter() - start, 4)
    return record


_one_thread = False


def use_one_thread() -> None:
    """A worker has one thread; OpenCV's pool would fight for the cores with the other workers."""
    global _one_thread
    if not _one_thread:
        os.environ.setdefault("OPENCV_FOR_THREADS_NUM", "1")
        raw.use_one_thread()
        _one_thread = True
