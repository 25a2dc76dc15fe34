"""Between numpy and the library: which arrays it may see, and how they are described to it."""

from __future__ import annotations

import math
import mmap
import os
import resource
from typing import Any, NamedTuple

import numpy as np
from numpy.typing import NDArray

from . import raw

Image = NDArray[np.uint8]

# Within these the library always works: its filters count bytes of rows and images in 32 bits.
MAX_SIDE = 1 << 19
MAX_BYTES = (1 << 31) - 1
# From here on a call's scratch memory is asked for before: a call that finds none in the middle of
# its work could only end the process.
_LARGE = 1 << 16
# Images of so many pixels are worked on by a pool of threads, which the first call starts.
_SHARED = 1 << 17
_THREADS = os.cpu_count() or 1
_STACK = max(8 << 20, resource.getrlimit(resource.RLIMIT_STACK)[0]) + (1 << 20)

# The most that was measured: of one thread beside some rows, and of contours for each step that they
# go around.
_SHARE = 4 << 20
_STEP_BYTES = 128

_UINT8 = np.dtype(np.uint8)
FORMATS = {1: raw.GRAY, 3: raw.RGB24, 4: raw.ARGB}  # by channels
_HINTS = {  # by kinds of dtype
    "b": "; a mask of bools becomes one by 255 * mask.astype('uint8')",
    "f": "; a mask of probabilities becomes one by 255 * (mask > 0.5).astype('uint8'), an image of 0 to "
         "1 by (255 * image).round().astype('uint8')",
}
_SHAPES = {1: "height x width", 3: "height x width x 3", 4: "height x width x 4"}


class Size(NamedTuple):
    """Width and height in pixels."""

    width: int
    height: int


def whole(value: Any, name: str, low: int, high: int) -> int:
    """``value`` as an int of a range; bools, fractions and strings are refused."""
    if not isinstance(value, (int, np.integer)) or isinstance(value, bool):
        raise TypeError(f"{name} is a whole number, not {value!r:.60}")
    if not low <= value <= high:
        raise ValueError(f"{name} is {value}; {low} to {high} is accepted")
    return int(value)


def choice(value: Any, name: str, names: dict[str, int]) -> int:
    if not isinstance(value, str) or value not in names:
        raise ValueError(f"{name} is {value!r:.60}; one of {', '.join(names)} is expected")
    return names[value]


def check_size(width: int, height: int, name: str, channels: int = 1) -> None:
    if not (1 <= width <= MAX_SIDE and 1 <= height <= MAX_SIDE):
        raise ValueError(f"{name} is {width} x {height} pixels; a side has 1 to {MAX_SIDE}")
    if width * height * channels > MAX_BYTES:
        raise ValueError(f"{name} is {width} x {height} pixels; an image has less than 2 GiB")


def size_of(size: Any, name: str = "size", channels: int = 1) -> Size:
    """``size`` as given by a caller: (width, height)."""
    try:
        width, height = size
    except (TypeError, ValueError):
        raise TypeError(f"{name} is (width, height), not {size!r:.60}") from None
    width = whole(width, f"the width of {name}", 1, MAX_SIDE)
    height = whole(height, f"the height of {name}", 1, MAX_SIDE)
    check_size(width, height, name, channels)
    return Size(width, height)


def _check(array: Any, name: str, channels: tuple[int, ...]) -> int:
    """Type, shape and size of an image; returns its number of channels."""
    if not isinstance(array, np.ndarray):
        raise TypeError(f"{name} is a numpy array, not {type(array).__name__}")
    if array.dtype != _UINT8:
        raise TypeError(f"{name} has dtype {array.dtype}, uint8 is expected"
                        + _HINTS.get(array.dtype.kind, ""))
    shape = array.shape
    count = 1 if len(shape) == 2 else shape[2] if len(shape) == 3 else 0
    if count not in channels or (len(shape) == 3 and count == 1):
        expected = " or ".join(_SHAPES[channel] for channel in channels)
        raise ValueError(f"{name} has shape {shape}, {expected} is expected")
    check_size(shape[1], shape[0], name, count)
    return count


def _pitch(array: Image) -> int:
    """Bytes from row to row when the library can step through the array as it lies, else 0."""
    row = array.shape[1] * (array.shape[2] if array.ndim == 3 else 1)
    if array.flags.c_contiguous:
        return row
    tight = array[:1].flags.c_contiguous
    step = array.strides[0]
    return step if tight and row <= step and step * array.shape[0] <= MAX_BYTES else 0


def source(array: Any, name: str, *channels: int, packed: bool) -> Image:
    """An image that is read: as it lies where the library can use it, else a packed copy.

    ``packed`` says that the function ignores the pitch.
    """
    _check(array, name, channels)
    if array.flags.c_contiguous or (not packed and _pitch(array)):
        return array  # type: ignore[no-any-return]
    return np.ascontiguousarray(array)


def destination(
    out: Any, shape: tuple[int, ...], *sources: Image, packed: bool, in_place: bool = False
) -> Image:
    """``out`` when the library can write it as it lies, or a fresh image; never a copy.

    ``in_place`` allows the very memory of a source; every other overlap is refused.
    """
    if out is None:
        return np.empty(shape, np.uint8)
    _check(out, "out", (shape[2] if len(shape) == 3 else 1,))
    if out.shape != shape:
        raise ValueError(f"out has shape {out.shape}, {shape} is needed")
    if not out.flags.writeable:
        raise ValueError("out is read-only")
    if not out.flags.c_contiguous and (packed or not _pitch(out)):
        raise ValueError("out has strides that cannot be written in place; "
                         + ("C-contiguous memory" if packed else "rows of adjacent pixels")
                         + " is needed")
    for image in sources:
        if in_place and _address(out) == _address(image) and out.strides == image.strides:
            continue
        if overlap(out, image):
            raise ValueError("out overlaps an input")
    return out  # type: ignore[no-any-return]


def overlap(a: Image, b: Image) -> bool:
    if not np.may_share_memory(a, b):
        return False
    try:
        return np.shares_memory(a, b, max_work=10_000)
    except RuntimeError:  # too hard to tell
        return True


def _address(array: NDArray[Any]) -> int:
    return array.__array_interface__["data"][0]  # type: ignore[no-any-return]


address = _address


def describe(array: Image, format: int | None = None) -> bytes:
    """The record of an array that :func:`source` or :func:`destination` let through."""
    shape = array.shape
    if format is None:
        format = FORMATS[shape[2] if len(shape) == 3 else 1]
    return raw.image(format, shape[1], shape[0], _address(array), _pitch(array))


def make_room(size: int, pixels: int = 0, columns: int = 0) -> None:
    """Raises MemoryError when a call's scratch memory is not to be had.

    That is ``size`` bytes and, of calls that share the work on so many pixels, what the pool's threads
    start with and some rows of so many bytes in each.
    """
    share = _SHARE + 8 * columns
    if pixels >= _SHARED:
        size += (_THREADS - 1) * _STACK + min(_THREADS, pixels >> 16) * share
    else:
        size += min(share, 64 * pixels)
    if size > _LARGE:
        try:
            mmap.mmap(-1, size, mmap.MAP_PRIVATE | mmap.MAP_ANONYMOUS).close()
        except OSError:
            raise MemoryError(f"a call needs {size >> 20} MB for its work") from None


def make_room_for_contours(mask: Image, level: int, spread: int | None) -> None:
    """The same for calls that trace contours, which go around the steps between pixels above and not
    above ``level``.

    The shapes may be drawn larger before they are traced, by ``spread`` pixels, or without a known
    bound (None). Steps are counted only where the memory for a checkerboard is not to be had.
    """
    most = 2 * _STEP_BYTES * mask.size
    try:
        make_room(most)
    except MemoryError:
        if spread is None:
            raise
        inside = np.pad(mask > level, 1)
        down, across = inside[1:] ^ inside[:-1], inside[:, 1:] ^ inside[:, :-1]
        steps = int(np.count_nonzero(down)) + int(np.count_nonzero(across))
        # A shape has four corners or more, and a disc around it 8 steps more for a pixel of radius.
        steps += 2 * spread * int(np.count_nonzero(down[:, 1:] ^ down[:, :-1]))
        del inside, down, across
        make_room(min(most, 2 * mask.size + _STEP_BYTES * steps))


def check(code: int, function: str) -> None:
    """The refusals of the library that no check before the call foresaw."""
    if code == raw.BAD_ARGUMENT:
        raise ValueError(f"{function} refused its arguments")


def points_of(points: Any, name: str) -> NDArray[np.int32]:
    """Points as the library takes them: N x 2 whole pixels, halves rounded away from zero.

    N x 1 x 2, as OpenCV has contours, are taken, too.
    """
    array = np.asarray(points)
    if array.ndim == 3 and array.shape[1:] == (1, 2):
        array = array[:, 0]
    if array.size == 0:
        return np.empty((0, 2), np.int32)
    if array.ndim != 2 or array.shape[1] != 2:
        raise ValueError(f"{name} has shape {array.shape}, N x 2 is expected")
    if array.dtype.kind == "f":
        array = array.astype(np.float64)
        array = np.copysign(np.floor(np.abs(array) + 0.5), array)
    elif array.dtype.kind not in "iu":
        raise TypeError(f"{name} has dtype {array.dtype}, numbers are expected")
    limit = np.iinfo(np.int32)
    if not ((array >= limit.min) & (array <= limit.max)).all():
        raise ValueError(f"{name} has coordinates that are no numbers or beyond 32 bits")
    return np.ascontiguousarray(array, np.int32)


def finite(
    points: Any, name: str, rows: int, columns: tuple[int, ...], hint: str = ""
) -> NDArray[np.float64]:
    """``rows`` points as finite floating-point numbers."""
    array = np.asarray(points)
    if array.ndim != 2 or array.shape[0] != rows or array.shape[1] not in columns:
        expected = " or ".join(str(count) for count in columns)
        raise ValueError(f"{name} has shape {array.shape}, {rows} x {expected} is expected{hint}")
    if array.dtype.kind not in "iuf":
        raise TypeError(f"{name} has dtype {array.dtype}, numbers are expected")
    if not np.isfinite(array).all():
        raise ValueError(f"{name} has coordinates that are no finite numbers")
    return array.astype(np.float64)
