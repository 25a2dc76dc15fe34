"""Masks: gray images whose bright pixels are inside."""

from __future__ import annotations

import ctypes
from typing import Any, NamedTuple, Sequence

import numpy as np

from . import raw
from ._arrays import (
    MAX_BYTES, Image, Size, check, choice, describe, destination, make_room, make_room_for_contours,
    points_of, size_of, source, whole,
)
from .images import resize
from .raw import library

_FILTERS = {"mean": 0, "median": 1, "gaussian": 2, "bilateral": 3}
_MAX_MASK_SIDE = 520
_LARGEST_HOLE = 1 << 23  # pixels, up to which holes are filled without contours
_ANY = (1 << 32) - 1


class Box(NamedTuple):
    """A box of pixels; all four edges belong to it."""

    left: int
    top: int
    right: int
    bottom: int


def _check_smooth(photo: Image, mask: Image, limit: int) -> None:
    (height, width), (rows, columns) = photo.shape[:2], mask.shape
    given = f"the mask is {columns} x {rows}"
    if columns > _MAX_MASK_SIDE or rows > _MAX_MASK_SIDE:
        raise ValueError(f"{given}; at most {_MAX_MASK_SIDE} x {_MAX_MASK_SIDE} is accepted, scale "
                         "it down with morvik.resize")
    if columns >= width or rows >= height:
        raise ValueError(f"{given}; it has to be smaller than the photograph ({width} x {height}) in "
                         "both directions")
    larger = max(columns, rows)
    if limit >= max(width, height):
        make_room(2 * width * height, width * height, width)
        return
    if 2 * limit < larger:
        raise ValueError(f"limit is {limit}; a mask of {columns} x {rows} needs {(larger + 1) // 2}")
    factor = limit // larger + 1
    work = factor * factor * columns * rows
    if work > MAX_BYTES // 3:
        raise ValueError(f"limit is {limit}; the work would take {work} pixels")
    make_room(6 * work + 64 * columns * rows, work + width * height, width)


def smooth_mask(
    photo: Image, mask: Image, *, snap: bool = False, limit: int = 640, out: Image | None = None
) -> Image:
    """Enlarges a network's coarse mask to the size of its photograph, with smooth edges.

    photo  H x W x 3, BGR, uint8
    mask   h x w, uint8, at most 520 x 520, smaller than the photograph in both directions; it
           covers the whole photograph
    snap   moves edges along their rows to the strongest step in brightness near by
    limit  working size in pixels: larger is finer and slower. Below the photograph's larger side
           only mask pixels above 250 count as inside; from there on the mask is enlarged as it is,
           without snapping
    out    H x W array that is written instead of a fresh one

    Returns H x W, uint8. Raises ValueError when the sizes or the limit do not fit.

    >>> photo, mask = np.zeros((40, 60, 3), np.uint8), np.full((10, 15), 255, np.uint8)
    >>> smooth_mask(photo, mask, limit=30).shape
    (40, 60)
    """
    photo = source(photo, "photo", 3, packed=True)
    mask = source(mask, "mask", 1, packed=True)
    limit = whole(limit, "limit", 1, _ANY)
    _check_smooth(photo, mask, limit)
    result = destination(out, photo.shape[:2], photo, mask, packed=True)
    check(library.mvk_make_mask_smooth(describe(result), describe(mask), describe(photo),
                                       1 if snap else 0, limit), "mvk_make_mask_smooth")
    return result


def _same_proportions(a: Size, b: Size) -> bool:
    """To within a rounded pixel or 1 %."""
    width, height = a.height * b.width / b.height, a.width * b.height / b.width
    return (abs(a.width - width) <= max(1.0, width / 100)
            or abs(a.height - height) <= max(1.0, height / 100))


def fit_mask(photo: Image, mask: Image, *, snap: bool = False, limit: int = 640) -> Image:
    """A mask of any size at the size of its photograph, as :func:`morvik.sticker` fits it.

    One of the photograph's size is taken as it is (without ``snap``), a finer one is scaled, a coarse
    one goes through :func:`morvik.smooth_mask`. Raises ValueError when the proportions differ by more
    than 1 %, but for squares and small masks, which networks deliver.
    """
    photo = source(photo, "photo", 3, packed=False)
    mask = source(mask, "mask", 1, packed=True)
    size, given = Size(photo.shape[1], photo.shape[0]), Size(mask.shape[1], mask.shape[0])
    if not snap and given == size:
        return mask
    below = given.width < size.width and given.height < size.height
    small = below and max(given) <= _MAX_MASK_SIDE
    if not (_same_proportions(given, size) or given.width == given.height or small):
        raise ValueError(f"the mask is {given.width} x {given.height}, the photograph {size.width} x "
                         f"{size.height}: their proportions differ by more than 1 %")
    if not snap and not small:
        return resize(mask, size)
    return smooth_mask(photo, _reduced(mask, size), snap=snap, limit=limit)


def _reduced(mask: Image, photo: Size) -> Image:
    """The mask itself, or scaled down so that smooth_mask takes it."""
    height, width = mask.shape
    most = Size(min(_MAX_MASK_SIDE, photo.width - 1), min(_MAX_MASK_SIDE, photo.height - 1))
    if min(most) < 1:
        raise ValueError(f"the photograph of {photo.width} x {photo.height} is too small")
    if width <= most.width and height <= most.height:
        return mask
    scale = min(most.width / width, most.height / height)
    return resize(mask, (max(1, int(width * scale)), max(1, int(height * scale))))


def fill_holes(mask: Image, *, level: int = 127, out: Image | None = None) -> Image:
    """Makes a mask black and white and fills its holes.

    mask   H x W, uint8
    level  pixels above it are inside, 0 to 254
    out    H x W array that is written instead of a fresh one; may be the mask itself

    Returns H x W, uint8, 0 and 255.

    >>> ring = fill_polygon([(1, 1), (5, 1), (5, 5), (1, 5)], (7, 7))
    >>> ring[3, 3] = 0
    >>> int(fill_holes(ring)[3, 3])
    255
    """
    mask = source(mask, "mask", 1, packed=True)
    level = whole(level, "level", 0, 254)
    result = destination(out, mask.shape, mask, packed=True, in_place=True)
    if mask.size > _LARGEST_HOLE:
        make_room_for_contours(mask, level, 0)
    else:
        make_room(mask.size)
    check(library.mvk_make_up_holes(describe(result), describe(mask), level), "mvk_make_up_holes")
    return result


def morph(mask: Image, amount: int, *, out: Image | None = None) -> Image:
    """Grows (``amount`` above 0) or shrinks a mask with an ellipse of ``abs(amount) + 1`` pixels.

    A shape gains or loses about half the amount on each side. ``amount`` is -200 to 200 without 0;
    ``out`` may be the mask itself.

    >>> dot = np.zeros((5, 5), np.uint8)
    >>> dot[2, 2] = 255
    >>> int((morph(dot, 2) > 0).sum())
    5
    """
    mask = source(mask, "mask", 1, packed=True)
    if whole(amount, "amount", -200, 200) == 0:
        raise ValueError("an amount of 0 changes nothing; -200 to 200 without 0 is accepted")
    result = destination(out, mask.shape, mask, packed=True, in_place=True)
    make_room(mask.size, mask.size, mask.shape[1])
    check(library.mvk_mask_morph(describe(result), describe(mask), int(amount)), "mvk_mask_morph")
    return result


def blur(
    image: Image, kernel: int = 9, *, filter: str = "gaussian", sigma: Sequence[int] | None = None,
    out: Image | None = None,
) -> Image:
    """Blurs a gray or BGR image.

    kernel  side in pixels, odd, 1 to 199; for "bilateral" the diameter
    filter  "mean", "median", "gaussian" or "bilateral"
    sigma   two whole numbers from 0: for "gaussian" across and down in pixels, (0, 0) derives them
            from the kernel; for "bilateral" in colour space and in pixels, (40, 40) by default
    out     array that is written instead of a fresh one; may be the image itself

    >>> int(blur(np.full((3, 3), 7, np.uint8), 3, filter="median")[0, 0])
    7
    """
    image = source(image, "image", 1, 3, packed=True)
    code = choice(filter, "filter", _FILTERS)
    if whole(kernel, "kernel", 1, 199) % 2 == 0:
        raise ValueError(f"kernel is {kernel}; an odd number is needed")
    if sigma is None:
        sigma = (40, 40) if filter == "bilateral" else (0, 0)
    elif filter in ("mean", "median"):
        raise ValueError(f"a {filter} has no sigma")
    if not isinstance(sigma, Sequence) or len(sigma) != 2:
        raise TypeError("sigma is a pair of whole numbers")
    first, second = (whole(value, "sigma", 0, _ANY) for value in sigma)
    result = destination(out, image.shape, image, packed=True, in_place=True)
    make_room(0, image.size, image.size // len(image))
    check(library.mvk_smooth(describe(image), describe(result), int(kernel), code, 0, first, second),
          "mvk_smooth")
    return result


def fill_polygon(points: Any, size: Sequence[int], *, out: Image | None = None) -> Image:
    """A mask of ``size`` = (width, height): 255 inside a polygon and on its border, 0 elsewhere.

    points  N x 2 or N x 1 x 2, x and y in pixels, (0, 0) the centre of the top-left pixel; fractions
            are rounded. The polygon closes itself and may reach outside; one or two points are a dot
            or a line, none give an empty mask
    out     H x W array that is written instead of a fresh one

    Returns H x W, uint8. Raises ValueError for points that are no finite numbers.

    >>> fill_polygon([(0, 0), (1, 0), (1, 1), (0, 1)], (3, 3)).tolist()
    [[255, 255, 0], [255, 255, 0], [0, 0, 0]]
    """
    corners = points_of(points, "points")
    width, height = size_of(size)
    result = destination(out, (height, width), packed=True)
    if np.may_share_memory(result, corners):
        raise ValueError("out overlaps an input")
    make_room(result.size + 32 * len(corners))
    check(library.mvk_fill_area_up(describe(result), len(corners), corners.ctypes.data),
          "mvk_fill_area_up")
    return result


def bbox(mask: Image, *, level: int = 128) -> Box | None:
    """The box around the pixels that are ``level`` or more.

    mask   H x W, uint8
    level  1 to 254

    Returns left, top, right and bottom in pixels, all four of the box; None without such a pixel.

    >>> bbox(fill_polygon([(2, 1), (4, 3)], (9, 9)))
    Box(left=2, top=1, right=4, bottom=3)
    """
    mask = source(mask, "mask", 1, packed=False)
    level = whole(level, "level", 1, 254)
    found = raw.MKRect()
    code = library.mvk_get_mask_roi(describe(mask), ctypes.byref(found), level)
    if code == raw.NOT_FOUND:
        return None
    check(code, "mvk_get_mask_roi")
    return Box(found.left, found.top, found.right, found.bottom)
