"""Plain images: camera frames, conversion, scaling, turns."""

from __future__ import annotations

from typing import Any, Literal, Sequence, TypeVar, Union, overload

import numpy as np

from . import raw
from ._arrays import (
    MAX_BYTES, Image, Size, address, check, check_size, choice, describe, destination, make_room,
    overlap, size_of, source, whole,
)
from .raw import library

_FRAME_FORMATS = {"nv12": raw.NV12, "nv21": raw.NV21}
_FORMATS = {"bgr": raw.RGB24, "bgra": raw.ARGB, "rgba": raw.ABGR, "gray": raw.GRAY, **_FRAME_FORMATS}
_CHANNELS = {raw.RGB24: 3, raw.ARGB: 4, raw.ABGR: 4, raw.GRAY: 1}
_ANY = 1 << 63
_METHODS = {"nearest": 0, "linear": 1, "cubic": 2, "area": 3}


def _kept(plane: Image, given: Image) -> Image:
    """A view of a plane; read-only if it is a copy, in which nobody would look for what is written."""
    view = plane.view()
    if plane is not given:
        view.flags.writeable = False
    return view


class Frame:
    """A camera frame of two planes: brightness, and pairs of chroma at half the resolution.

    y       height x width, uint8
    uv      rounded-up half height x half width x 2, uint8; pairs are U, V for ``"nv12"`` and V, U
            for ``"nv21"``
    format  "nv12" or "nv21"

    The planes may have padded rows; other strides are copied once, and the copy is read-only.
    Raises ValueError when they do not fit each other.

    >>> frame = Frame(np.zeros((4, 6), np.uint8), np.full((2, 3, 2), 128, np.uint8), "nv21")
    >>> frame
    <Frame nv21 6x4>
    """

    __slots__ = ("_y", "_uv", "_format")

    def __init__(self, y: Image, uv: Image, format: str = "nv21") -> None:
        choice(format, "format", _FRAME_FORMATS)
        self._y: Image = _kept(source(y, "y", 1, packed=False), y)
        height, width = self._y.shape
        pairs = (height + 1) // 2, (width + 1) // 2, 2
        if not isinstance(uv, np.ndarray) or uv.dtype != np.uint8 or uv.shape != pairs:
            raise ValueError(f"uv is a uint8 array of shape {pairs} for a frame of {width} x {height}")
        step = uv.strides[0]
        tight = uv[:1].flags.c_contiguous and 2 * pairs[1] <= step and step * pairs[0] <= MAX_BYTES
        self._uv: Image = _kept(uv if tight else np.ascontiguousarray(uv), uv)
        self._format = format

    @classmethod
    def empty(cls, size: Sequence[int], format: str = "nv21") -> Frame:
        """A black frame of ``size`` = (width, height).

        >>> Frame.empty((3, 2)).uv.shape
        (1, 2, 2)
        """
        width, height = size_of(size)
        pairs = (height + 1) // 2, (width + 1) // 2, 2
        return cls(np.zeros((height, width), np.uint8), np.full(pairs, 128, np.uint8), format)

    @classmethod
    def from_bytes(
        cls, data: Any, size: Sequence[int], format: str = "nv21", *, stride: int | None = None
    ) -> Frame:
        """A view of a camera's buffer: ``data`` holds plane 0, then plane 1, without a copy.

        size    (width, height) in pixels
        stride  bytes from row to row in both planes; the width, rounded up to even, by default
                in plane 1 and the width itself in plane 0

        The last row's padding may be missing. Raises ValueError when the buffer is too short.

        >>> Frame.from_bytes(bytes(640 * 480 * 3 // 2), (640, 480)).size
        Size(width=640, height=480)
        """
        width, height = size_of(size)
        chroma_row = (width + 1) // 2 * 2
        if stride is not None:
            whole(stride, "stride", chroma_row, MAX_BYTES)
        step, chroma_step = stride or width, stride or chroma_row
        buffer = memoryview(data).cast("B")
        start, rows = step * height, (height + 1) // 2
        needed = start + chroma_step * (rows - 1) + chroma_row
        if len(buffer) < needed:
            raise ValueError(f"the buffer has {len(buffer)} bytes; a frame of {width} x {height} with "
                             f"rows of {step} has {needed}")
        y: Image = np.ndarray((height, width), np.uint8, buffer, 0, (step, 1))
        uv: Image = np.ndarray((rows, chroma_row // 2, 2), np.uint8, buffer, start, (chroma_step, 2, 1))
        return cls(y, uv, format)

    # Views, so that what is done to their shape leaves the frame whole.
    @property
    def y(self) -> Image:
        return self._y.view()

    @property
    def uv(self) -> Image:
        return self._uv.view()

    @property
    def format(self) -> str:
        return self._format

    @property
    def size(self) -> Size:
        return Size(self._y.shape[1], self._y.shape[0])

    def __repr__(self) -> str:
        return f"<Frame {self.format} {self.size.width}x{self.size.height}>"

    def tobytes(self) -> bytes:
        """Both planes without padding, as :meth:`from_bytes` reads them."""
        return self.y.tobytes() + self.uv.tobytes()

    def _even(self) -> Frame:
        """Without an odd last column and row, which belong to no whole pair."""
        width, height = self.size
        if width % 2 == 0 and height % 2 == 0:
            return self
        _check_pairs(width, height)
        return Frame(self.y[: height & ~1, : width & ~1], self.uv[: height // 2, : width // 2],
                     self.format)

    def _describe(self) -> bytes:
        (height, width), rows = self._y.shape, self._uv.shape[0]
        step = self._y.strides[0] if height > 1 else width
        pairs = self._uv.strides[0] if rows > 1 else 2 * self._uv.shape[1]
        return raw.image(_FRAME_FORMATS[self._format], width, height, address(self._y), step,
                         address(self._uv), pairs)


def _check_pairs(width: int, height: int) -> None:
    if width < 2 or height < 2:
        raise ValueError(f"a frame of {width} x {height} has no whole pair of chroma")


Picture = Union[Image, Frame]
AnyPicture = TypeVar("AnyPicture", Image, Frame)


def _shape(size: Size, channels: int) -> tuple[int, ...]:
    return (size.height, size.width) if channels == 1 else (size.height, size.width, channels)


def _frame_out(out: Any, size: Size, format: str, *sources: Image) -> Frame:
    if out is None:
        return Frame.empty(size, format)
    if not isinstance(out, Frame) or out.format != format or out.size != size:
        raise ValueError(f"out has to be a Frame of format {format}, {size.width} x {size.height}")
    if overlap(out.y, out.uv):
        raise ValueError("the planes of out overlap")
    for plane in (out.y, out.uv):
        if not plane.flags.writeable:
            raise ValueError("out is read-only, or made of planes whose strides cannot be written in place")
        if any(overlap(plane, image) for image in sources):
            raise ValueError("out overlaps an input")
    return out


def _planes(image: Picture) -> tuple[Image, ...]:
    return (image.y, image.uv) if isinstance(image, Frame) else (image,)


def _input_format(image: Any, format: str | None) -> tuple[Any, int]:
    if isinstance(image, Frame):
        if format not in (None, image.format):
            raise ValueError(f"the frame is {image.format}, not {format}")
        return image, _FRAME_FORMATS[image.format]
    image = source(image, "image", 1, 3, 4, packed=False)
    channels = image.shape[2] if image.ndim == 3 else 1
    code = {1: raw.GRAY, 3: raw.RGB24, 4: raw.ARGB}[channels]
    if format is not None:
        code = choice(format, "format", _FORMATS)
        if _CHANNELS.get(code) != channels:
            raise ValueError(f"an array of shape {image.shape} cannot be {format}")
    return image, code


def _has_conversion(to: int, origin: int) -> bool:
    frames = (raw.NV12, raw.NV21)
    if to == origin:
        return False
    return to in frames or origin in frames or raw.ABGR not in (to, origin)


@overload
def convert(
    image: Picture, to: Literal["bgr", "bgra", "rgba", "gray"], *, format: str | None = ...,
    out: Image | None = ...,
) -> Image: ...
@overload
def convert(
    image: Picture, to: Literal["nv12", "nv21"], *, format: str | None = ..., out: Frame | None = ...
) -> Frame: ...
def convert(image: Picture, to: str, *, format: str | None = None, out: Any = None) -> Any:
    """The image in another pixel format, of the same size.

    image   H x W gray, H x W x 3 BGR, H x W x 4 BGRA, uint8, or a :class:`Frame`
    to      "bgr", "bgra", "rgba", "gray", "nv12" or "nv21"
    format  "rgba" says that an array of four channels is R, G, B, A
    out     array or Frame that is written instead of a fresh one

    Gray is the mean of the three colours, rounded down, and of a frame its brightness. YUV is
    BT.601 in limited range. From gray to frames of odd sizes the even part is written; the last
    column and row are black. Raises ValueError for pairs without a conversion: equal formats, and
    "rgba" to or from anything but frames; and from gray to frames of one row or column.

    >>> convert(np.full((2, 2, 3), 90, np.uint8), "gray")
    array([[90, 90],
           [90, 90]], dtype=uint8)
    """
    target = choice(to, "to", _FORMATS)
    image, origin = _input_format(image, format)
    if not _has_conversion(target, origin):
        names = {code: name for name, code in _FORMATS.items()}
        raise ValueError(f"there is no conversion from {names[origin]} to {to}")
    planes = _planes(image)
    height, width = planes[0].shape[:2]
    result: Any
    written: Any  # the result, or what is copied to it
    if to in _FRAME_FORMATS:
        result = written = _frame_out(out, Size(width, height), to, *planes)
        if origin == raw.GRAY:
            _check_pairs(width, height)
            if out is not None:
                # The library fills the padding, too, which is not out's, and of odd sizes not all pixels.
                written = Frame.empty(result.size, to)
        record = written._describe()
    else:
        check_size(width, height, "the result", _CHANNELS[target])
        shape = _shape(Size(width, height), _CHANNELS[target])
        result = written = destination(out, shape, *planes, packed=False)
        record = describe(result, target)
    given = image._describe() if isinstance(image, Frame) else describe(image, origin)
    check(library.mvk_convert(record, given), "mvk_convert")
    if written is not result:
        result.y[...], result.uv[...] = written.y, written.uv
    return result


def _row(image: Image) -> int:
    return image.size // len(image)


def resize(
    image: AnyPicture, size: Sequence[int], *, method: str = "area", out: AnyPicture | None = None
) -> AnyPicture:
    """The image scaled.

    image   H x W, H x W x 3 or H x W x 4, uint8, or a :class:`Frame`, of which an odd last row and
            column is left out
    size    (width, height) in pixels, both even for a Frame
    method  "nearest", "linear", "cubic" or "area", which alone averages when it makes smaller
    out     array or Frame of that size that is written instead of a fresh one

    Returns what was given: an array or a Frame. Raises ValueError for odd sizes of a Frame.

    >>> resize(np.zeros((4, 4, 3), np.uint8), (8, 2)).shape
    (2, 8, 3)
    """
    code = choice(method, "method", _METHODS)
    if isinstance(image, Frame):
        even = image._even()
        to = size_of(size)
        if to.width % 2 or to.height % 2:
            raise ValueError(f"a frame has an even size; {to.width} x {to.height} is odd")
        frame = _frame_out(out, to, image.format, *_planes(even))
        make_room(0, frame.y.size, _row(frame.y) + _row(even.y))
        check(library.mvk_resize(frame._describe(), even._describe(), code), "mvk_resize")
        return frame
    array = source(image, "image", 1, 3, 4, packed=False)
    channels = array.shape[2] if array.ndim == 3 else 1
    shape = _shape(size_of(size, channels=channels), channels)
    result = destination(out, shape, array, packed=False)
    make_room(0, result.size, _row(result) + _row(array))
    check(library.mvk_resize(describe(result), describe(array), code), "mvk_resize")
    return result


def rotate(image: AnyPicture, angle: int, *, out: AnyPicture | None = None) -> AnyPicture:
    """The image turned clockwise.

    image  H x W, H x W x 3 or H x W x 4, uint8, or a :class:`Frame`, of which an odd last row and
           column is left out
    angle  degrees: 0 (a copy), 90, 180 or 270
    out    array or Frame of the turned size that is written instead of a fresh one

    Returns what was given: an array or a Frame. Raises ValueError for other angles.

    >>> rotate(np.array([[1, 2, 3]], np.uint8), 90).tolist()
    [[1], [2], [3]]
    """
    if whole(angle, "angle", -_ANY, _ANY) not in (0, 90, 180, 270):
        raise ValueError(f"angle is {angle}; 0, 90, 180 or 270 is accepted")
    if isinstance(image, Frame):
        even = image._even()
        packed = Frame(np.ascontiguousarray(even.y), np.ascontiguousarray(even.uv), even.format)
        width, height = packed.size
        to = Size(height, width) if angle % 180 else packed.size
        frame = _frame_out(out, to, image.format, *_planes(packed))
        if not (frame.y.flags.c_contiguous and frame.uv.flags.c_contiguous):
            raise ValueError("out has padded rows; a frame without padding is needed")
        check(library.mvk_rotate(frame._describe(), packed._describe(), angle), "mvk_rotate")
        return frame
    array = source(image, "image", 1, 3, 4, packed=np.ndim(image) == 2)
    height, width = array.shape[:2]
    shape = (width, height) if angle % 180 else (height, width)
    result = destination(out, shape + array.shape[2:], array, packed=array.ndim == 2)
    check(library.mvk_rotate(describe(result), describe(array), angle), "mvk_rotate")
    return result
