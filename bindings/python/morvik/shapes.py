"""Outlines of masks, what they are exchanged as, and stickers."""

from __future__ import annotations

import ctypes
from typing import Any, Dict, List, Sequence, Union

import numpy as np
from numpy.typing import NDArray

from . import raw
from ._arrays import (
    Image, check, check_size, choice, describe, destination, make_room, points_of, size_of, source, whole,
)
from .images import Frame, convert
from .masks import bbox, blur, fill_polygon, fit_mask
from .raw import library

Outline = NDArray[np.int32]
Outlines = Sequence[Outline]

_MODES = {
    "stroke": 0, "fill-stroke": 1, "hull-fill-stroke": 2, "polar": 3, "hull-polar": 4,
    "polar-center": 5, "vector": 6, "hull-vector": 7, "vector-center": 8,
}
_POINTS = {"all": 1, "simple": 2}


def outlines(
    mask: Union[Image, Frame], mode: str = "stroke", expand: int = 12, smooth: int = 0, *,
    points: str = "all", polygon: bool = False, center: Sequence[int] | None = None,
    threshold: int = 127,
) -> list[Outline]:
    """Grows the shapes of a mask and traces where they end.

    mask       H x W, uint8, or an nv21 :class:`Frame`, whose brightness is the mask
    mode       "stroke", "fill-stroke", "hull-fill-stroke" (the same distance everywhere), "polar",
               "hull-polar", "polar-center" (scaled about their centroids or ``center``), "vector",
               "hull-vector", "vector-center" (moved right and down)
    expand     pixels to grow by, 0 to 500
    smooth     smoothing, 0 to 5 per cent of an outline's length
    points     "all" boundary pixels, or "simple": the ends of straight runs
    polygon    simplifies outlines to within 1 % of their length
    center     (x, y) for the modes "polar-center" and "vector-center"
    threshold  pixels above it are shape, 0 to 253

    Returns N x 2 arrays of int32, x and y in pixels; of holes, too, where the mode keeps them. A
    mask without shapes has none.

    >>> [len(outline) for outline in outlines(fill_polygon([(4, 4), (6, 6)], (12, 12)), expand=2)]
    [12]
    """
    record = raw.MKOutlineMode(
        choice(mode, "mode", _MODES), choice(points, "points", _POINTS),
        whole(expand, "expand", 0, 500), whole(smooth, "smooth", 0, 5), 1 if polygon else 0, None,
        whole(threshold, "threshold", 0, 253),
    )
    if center is not None:
        if mode not in ("polar-center", "vector-center"):
            raise ValueError(f"the mode {mode} has no center")
        point = points_of([center], "center")
        record.center = ctypes.pointer(raw.TPOINT(*point[0].tolist()))
    if isinstance(mask, Frame):
        if mask.format != "nv21":
            raise ValueError("frames are traced as nv21; give frame.y of another one")
        image, pixels = mask._describe(), mask.y.size
    else:
        array = source(mask, "mask", 1, packed=True)
        image, pixels = describe(array), array.size
    make_room(6 * pixels)
    return _trace(image, record)


def _trace(image: bytes, mode: raw.MKOutlineMode) -> list[Outline]:
    handle, found = library.mvk_outline_create(), raw.MKGetOutline()
    if not handle:
        raise MemoryError
    try:
        code = library.mvk_outline_expansion(handle, image, ctypes.byref(mode), ctypes.byref(found))
        if code == raw.NOT_FOUND:
            return []
        check(code, "mvk_outline_expansion")
        counts = found.point_counts[: found.contour_count]
        memory = bytearray(b"".join(map(ctypes.string_at, found.points[: found.contour_count],
                                        (8 * count for count in counts))))
    finally:
        library.mvk_outline_destroy(handle, ctypes.byref(found))
    every = np.frombuffer(memory, np.int32).reshape(-1, 2)
    return np.split(every, np.cumsum(counts)[:-1]) if counts else []


def _outlines_of(outlines: Any, name: str = "outlines") -> list[Outline]:
    return [points_of(outline, name) for outline in outlines]


def outlines_to_svg(outlines: Outlines, size: Sequence[int], *, color: str = "#e11d48") -> str:
    """The outlines as an SVG picture of ``size`` = (width, height), one path.

    >>> outlines_to_svg([np.array([[0, 0], [2, 0], [2, 2]])], (3, 3)).count("L")
    2
    """
    width, height = size_of(size)
    paths = []
    for outline in _outlines_of(outlines):
        text = "L".join(f"{x},{y} " for x, y in outline.tolist())
        paths.append(f"M{text}Z\n")
    color = "".join(c for c in color if c not in "<>&\"'")
    # Points are pixel centres, so the picture's corner lies half a pixel before the origin.
    return (f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="-0.5 -0.5 {width} {height}" '
            f'width="{width}" height="{height}">\n<path fill="#8884" fill-rule="evenodd" '
            f'stroke="{color}" stroke-linejoin="round" d="{"".join(paths)}"/>\n</svg>\n')


def outlines_to_coco(outlines: Outlines) -> list[list[float]]:
    """The outlines as a COCO segmentation: [x0, y0, x1, y1, ...] each, shorter ones left out.

    COCO has corners between pixels, so half a pixel is added to the centres. It has no holes:
    trace with a mode that fills them, or use :func:`mask_to_coco_rle`.

    >>> outlines_to_coco([np.array([[0, 0], [2, 0], [2, 2]])])
    [[0.5, 0.5, 2.5, 0.5, 2.5, 2.5]]
    """
    return [(outline + 0.5).ravel().tolist() for outline in _outlines_of(outlines) if len(outline) > 2]


def outlines_to_geojson(outlines: Outlines) -> Dict[str, Any]:
    """The outlines as a GeoJSON MultiPolygon, holes with the shape around them.

    ``shapely.geometry.shape`` reads it. An outline inside an odd number of others is a hole of the
    smallest of them; outlines of less than three points are left out.

    >>> square = np.array([[0, 0], [8, 0], [8, 8], [0, 8]])
    >>> [len(polygon) for polygon in outlines_to_geojson([square, square // 4 + 3])["coordinates"]]
    [2]
    """
    rings = sorted((ring for ring in _outlines_of(outlines) if len(ring) > 2), key=_area, reverse=True)
    low = np.array([ring.min(axis=0) for ring in rings]).reshape(-1, 2)
    high = np.array([ring.max(axis=0) for ring in rings]).reshape(-1, 2)
    around = []
    for i, ring in enumerate(rings):
        boxed = ((low[:i] <= ring[0]) & (ring[0] <= high[:i])).all(axis=1)
        around.append([j for j in np.flatnonzero(boxed).tolist() if _inside(ring[0], rings[j])])
    polygons: Dict[int, List[Any]] = {}
    for i, ring in enumerate(rings):
        closed = [tuple(point) for point in ring.tolist()] + [tuple(ring[0].tolist())]
        if len(around[i]) % 2 == 0:
            polygons[i] = [closed]
        else:
            polygons[around[i][-1]].append(closed)
    return {"type": "MultiPolygon", "coordinates": list(polygons.values())}


def _area(ring: Outline) -> float:
    x, y = ring.T.astype(np.float64)
    return abs(float(np.dot(x, np.roll(y, -1)) - np.dot(y, np.roll(x, -1)))) / 2


def _inside(point: NDArray[np.int32], ring: Outline) -> bool:
    """Whether a ray from the point, moved a little so that it meets no corner, crosses oddly."""
    x, y = float(point[0]) + 1e-3, float(point[1]) + 1e-3
    x0, y0 = ring.T.astype(np.float64)
    x1, y1 = np.roll(x0, -1), np.roll(y0, -1)
    crossed = (y0 > y) != (y1 > y)
    with np.errstate(divide="ignore", invalid="ignore"):
        right = x < (x1 - x0) * (y - y0) / (y1 - y0) + x0
    return bool(np.count_nonzero(crossed & right) % 2)


def mask_to_coco_rle(mask: Image, *, level: int = 127) -> Dict[str, Any]:
    """A mask as COCO's compressed run lengths: {"size": [height, width], "counts": text}.

    >>> mask_to_coco_rle(fill_polygon([(1, 0), (1, 2)], (3, 3)))
    {'size': [3, 3], 'counts': '333'}
    """
    mask = source(mask, "mask", 1, packed=False)
    bits = np.zeros(mask.size + 1, np.int8)
    bits[1:] = (mask > whole(level, "level", 0, 254)).ravel(order="F")
    counts = np.diff(np.flatnonzero(np.diff(bits)), prepend=0, append=mask.size).tolist()
    # A run is written as the difference to the run before the last, from the fourth on.
    deltas = counts[:3] + [now - before for now, before in zip(counts[3:], counts[1:])]
    return {"size": list(mask.shape), "counts": "".join(map(_rle_text, deltas))}


def _rle_text(value: int) -> str:
    """Five bits a character, lowest first; bit 5 says that more follow, the last one's sign."""
    text = ""
    while True:
        bits = value & 31
        value >>= 5
        more = value != (-1 if bits & 16 else 0)
        text += chr(48 + bits + (32 if more else 0))
        if not more:
            return text


def coco_rle_to_mask(rle: Dict[str, Any]) -> Image:
    """The mask (0 and 255) of COCO run lengths, compressed (text or bytes) or as a list.

    >>> coco_rle_to_mask({"size": [1, 4], "counts": [1, 2, 1]}).tolist()
    [[0, 255, 255, 0]]
    """
    height, width = (whole(side, "size", 1, 1 << 19) for side in rle["size"])
    check_size(width, height, "the mask")
    counts = rle["counts"]
    if isinstance(counts, (str, bytes)):
        counts = _rle_counts(counts.encode() if isinstance(counts, str) else counts)
    if any(not isinstance(count, int) or count < 0 for count in counts) or sum(counts) != height * width:
        raise ValueError(f"the counts do not make a mask of {width} x {height}")
    values = np.tile(np.array([0, 255], np.uint8), len(counts) // 2 + 1)[: len(counts)]
    return np.ascontiguousarray(np.repeat(values, counts).reshape(width, height).T)


def _rle_counts(text: bytes) -> list[int]:
    counts: List[int] = []
    value = shift = 0
    for character in text:
        bits = character - 48
        value |= (bits & 31) << shift
        shift += 5
        if not bits & 32:
            if bits & 16:
                value -= 1 << shift
            counts.append(value + (counts[-2] if len(counts) > 2 else 0))
            value = shift = 0
    return counts


def sticker(
    photo: Image, mask: Image, *, expand: int = 12, color: Sequence[int] = (255, 255, 255),
    crop: bool = False, snap: bool = False, limit: int = 640, out: Image | None = None,
) -> Image:
    """Cuts out what a mask covers, with a border around it, transparent beyond.

    photo        H x W x 3, BGR, or H x W x 4, BGRA, whose alpha limits the sticker's; uint8
    mask         uint8; one of the photograph's size is taken as it is, a finer one is scaled, a
                 coarse one enlarged by :func:`smooth_mask` with ``snap`` and ``limit``
    expand       width of the border in pixels, 0 to 500
    color        of the border: (blue, green, red)
    crop         returns no more than the sticker's box
    out          H x W x 4 array that is written instead of a fresh one; not with ``crop``

    Returns H x W x 4, BGRA, uint8. Raises ValueError when no pixel of the mask is above 127.

    >>> photo = np.zeros((20, 20, 3), np.uint8)
    >>> sticker(photo, fill_polygon([(9, 9), (11, 11)], (20, 20)), expand=4, crop=True).shape
    (15, 15, 4)
    """
    photo = source(photo, "photo", 3, 4, packed=False)
    mask = source(mask, "mask", 1, packed=True)
    bgr = [whole(value, "color", 0, 255) for value in color]
    if len(bgr) != 3:
        raise ValueError("color is (blue, green, red)")
    if crop and out is not None:
        raise ValueError("out does not go with crop: the box is not known before")
    result = destination(out, (*photo.shape[:2], 4), photo, mask, packed=False)
    opaque = photo if photo.shape[2] == 3 else convert(photo, "bgr")
    mask = fit_mask(opaque, mask, snap=snap, limit=limit)
    border = _grown(mask, expand)
    _compose(result, opaque, mask, border, bgr)
    if opaque is not photo:
        result[..., 3] = (result[..., 3].astype(np.uint16) * photo[..., 3] + 127) // 255
    if crop:
        box = bbox(border, level=1)
        assert box is not None
        result = result[box.top : box.bottom + 1, box.left : box.right + 1].copy()
    return result


def _grown(mask: Image, expand: int) -> Image:
    """The mask grown by the border, its outlines smoothed, with soft edges."""
    found = outlines(mask, "fill-stroke", expand, 1, points="simple")
    if not found:
        raise ValueError("no pixel of the mask is above 127")
    shape = np.zeros_like(mask)
    for outline in found:
        left, top = outline.min(axis=0).clip(0)
        right, bottom = outline.max(axis=0) + 1
        part = shape[top:bottom, left:right]
        np.maximum(part, fill_polygon(outline - (left, top), part.shape[::-1]), out=part)
    return blur(shape, 5, out=shape)


def _compose(result: Image, photo: Image, mask: Image, border: Image, color: list[int]) -> None:
    """Photograph where the mask is, colour around it; alpha is the mask and the border."""
    inside = mask == 255
    soft = np.flatnonzero(~inside & (mask != 0))
    rows, columns = np.divmod(soft, mask.shape[1])
    share = 1 - mask.ravel()[soft] / 255.0
    for channel, ink in enumerate(color):
        plane = np.full(mask.shape, ink, np.uint8)
        np.copyto(plane, photo[..., channel], where=inside)
        value = photo[rows, columns, channel].astype(np.float64)
        plane.ravel()[soft] = np.floor(value + share * (ink - value) + 0.5)
        result[..., channel] = plane
    np.maximum(mask, border, out=result[..., 3])
