"""Outlines of masks, what they are exchanged as, and stickers."""

from __future__ import annotations

import ctypes
from typing import Any, Dict, List, Sequence, Union

import numpy as np
from numpy.typing import NDArray

from . import raw
from ._arrays import (
    MAX_BYTES, MAX_SIDE, Image, address, check, check_size, choice, describe, destination,
    make_room_for_contours, points_of, size_of, source, whole,
)
from .images import Frame, convert, resize
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
    mask without shapes has none. Raises ValueError for a ``center`` that the mode does not use.

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
        point = points_of(np.reshape(center, (1, -1)), "center")
        if len(point) != 1:
            raise ValueError("center has no point; (x, y) is expected")
        record.center = ctypes.pointer(raw.TPOINT(*point[0].tolist()))
    if isinstance(mask, Frame):
        if mask.format != "nv21":
            raise ValueError("frames are traced as nv21; give frame.y of another one")
        array, image = mask.y, mask._describe()
    else:
        array = source(mask, "mask", 1, packed=True)
        image = describe(array)
    make_room_for_contours(array, threshold, expand if "stroke" in mode else None)
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
        every = np.empty((sum(counts), 2), np.int32)
        to = address(every)
        for count, points in zip(counts, found.points[: found.contour_count]):
            ctypes.memmove(to, points, 8 * count)  # takes more than 2 GiB, unlike string_at()
            to += 8 * count
    finally:
        library.mvk_outline_destroy(handle, ctypes.byref(found))
    return np.split(every, np.cumsum(counts)[:-1]) if counts else []


def _outlines_of(outlines: Any) -> list[Outline]:
    if not isinstance(outlines, (list, tuple)):
        raise TypeError(f"outlines is a list of N x 2 arrays, not {type(outlines).__name__}")
    return [points_of(outline, "an outline") for outline in outlines]


def outlines_to_svg(outlines: Outlines, size: Sequence[int], *, color: str = "#e11d48") -> str:
    """The outlines as the text of an SVG picture with one path.

    outlines  N x 2 arrays, x and y in pixels
    size      (width, height) of the picture
    color     of the line, as SVG and CSS write it

    >>> outlines_to_svg([np.array([[0, 0], [2, 0], [2, 2]])], (3, 3)).count("L")
    2
    """
    width, height = size_of(size)
    paths = []
    for outline in _outlines_of(outlines):
        text = "L".join(f"{x},{y} " for x, y in outline)
        paths.append(f"M{text}Z\n")
    if not isinstance(color, str):
        raise TypeError(f"color is a text such as '#e11d48', not {color!r:.60}")
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
    smallest of them that is none itself; outlines of less than three points are left out.

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
        around.append([int(j) for j in np.flatnonzero(boxed) if _inside(ring[0], rings[j])])
    polygons: Dict[int, List[Any]] = {}
    for i, ring in enumerate(rings):
        points: Any = ring.tolist()
        closed = [tuple(point) for point in [*points, points[0]]]
        shapes = [j for j in around[i] if j in polygons]  # none where outlines cross
        if len(around[i]) % 2 and shapes:
            polygons[shapes[-1]].append(closed)
        else:
            polygons[i] = [closed]
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

    mask   H x W, uint8
    level  pixels above it are inside, 0 to 254

    >>> mask_to_coco_rle(fill_polygon([(1, 0), (1, 2)], (3, 3)))
    {'size': [3, 3], 'counts': '333'}
    """
    mask = source(mask, "mask", 1, packed=False)
    bits = np.zeros(mask.size + 1, np.int8)
    bits[1:] = (mask > whole(level, "level", 0, 254)).ravel(order="F")
    counts = [int(n) for n in np.diff(np.flatnonzero(np.diff(bits)), prepend=0, append=mask.size)]
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
    """The mask, H x W of 0 and 255, of COCO run lengths: compressed (text or bytes) or a list.

    Raises ValueError when the counts do not make a mask of the size.

    >>> coco_rle_to_mask({"size": [1, 4], "counts": [1, 2, 1]}).tolist()
    [[0, 255, 255, 0]]
    """
    if not isinstance(rle, dict) or not {"size", "counts"} <= rle.keys() or np.shape(rle["size"]) != (2,):
        raise ValueError('run lengths are {"size": [height, width], "counts": ...}')
    height, width = (whole(side, "size", 1, MAX_SIDE) for side in rle["size"])
    check_size(width, height, "the mask")
    given = rle["counts"]
    if isinstance(given, (str, bytes)):
        counts = _rle_counts(given.encode() if isinstance(given, str) else given)
    elif isinstance(given, (list, tuple, np.ndarray)):
        counts = [whole(count, "a count", 0, MAX_BYTES) for count in given]
    else:
        raise TypeError(f"counts is a text, bytes or a list, not {type(given).__name__}")
    if min(counts, default=0) < 0 or sum(counts) != height * width:
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
    if shift:
        raise ValueError("the counts end inside a number")
    return counts


def sticker(
    photo: Image, mask: Image, *, expand: int | None = None, color: Sequence[int] = (255, 255, 255),
    crop: bool = False, fit: int | None = None, hard_edge: bool = False, snap: bool = False,
    limit: int | None = None, out: Image | None = None,
) -> Image:
    """Cuts out what a mask covers, with a border around it, transparent beyond.

    photo        H x W x 3, BGR, or H x W x 4, BGRA, whose alpha limits the sticker's; uint8
    mask         uint8; one of the photograph's size is taken as it is, a finer one is scaled, a
                 coarse one enlarged by :func:`smooth_mask` with ``snap`` and ``limit``
    expand       width of the border in pixels, 0 to 500; by default a 50th of the larger side
    color        of the border: (blue, green, red)
    crop         returns no more than the sticker's box
    fit          scales the box into a square of this side; messengers want 512
    hard_edge    takes the mask as it is, instead of a soft edge that shows no background
    limit        working size of :func:`smooth_mask`; by default a quarter of the larger side, at
                 least 512
    out          H x W x 4 array that is written instead of a fresh one; not with ``crop`` or ``fit``

    Returns BGRA, uint8; beyond mask and border it is black. Raises ValueError when no pixel of the
    mask is above 127 and there is a border to draw, and when ``crop`` or ``fit`` find nothing to see.

    >>> photo = np.zeros((20, 20, 3), np.uint8)
    >>> sticker(photo, fill_polygon([(9, 9), (11, 11)], (20, 20)), expand=4, crop=True).shape
    (15, 15, 4)
    """
    photo = source(photo, "photo", 3, 4, packed=False)
    mask = source(mask, "mask", 1, packed=True)
    if np.shape(color) != (3,):
        raise ValueError(f"color is (blue, green, red), not {color!r:.60}")
    bgr = [whole(value, "color", 0, 255) for value in color]
    if (crop or fit is not None) and out is not None:
        raise ValueError("out goes with neither crop nor fit: the box is not known before")
    larger = max(photo.shape[:2])
    width = min(max(larger // 50, 1), 500) if expand is None else whole(expand, "expand", 0, 500)
    if limit is None:
        limit = max(1, min(max(512, larger // 4), larger - 1))
    result = destination(out, (*photo.shape[:2], 4), photo, mask, packed=False)
    opaque = photo if photo.shape[2] == 3 else convert(photo, "bgr")
    fitted = fit_mask(opaque, mask, snap=snap, limit=limit)
    as_it_is = hard_edge or (np.array_equal(fitted, mask) and bool(((mask != 0) & (mask != 255)).any()))
    covered = fitted if as_it_is else _softened(fitted)
    border = covered if width == 0 else _grown(fitted, width)
    _compose(result, opaque, covered, border, bgr)
    if opaque is not photo:
        result[..., 3] = (result[..., 3].astype(np.uint16) * photo[..., 3] + 127) // 255
    if crop or fit is not None:
        box = bbox(np.ascontiguousarray(result[..., 3]), level=1)
        if box is None:
            raise ValueError("nothing of the sticker can be seen")
        result = result[box.top : box.bottom + 1, box.left : box.right + 1].copy()
    return result if fit is None else _in_square(result, whole(fit, "fit", 1, 32766))


def _edge_kernel(image: Image) -> int:
    """Side of the filter that makes edges soft: 3 in small pictures, 11 in one of 20 million."""
    return 3 + 2 * (max(image.shape[:2]) // 1100)


def _softened(mask: Image) -> Image:
    """A soft edge inside the mask's."""
    soft = blur(mask, _edge_kernel(mask)).astype(np.int16)
    return np.maximum(0, 2 * soft - 255).astype(np.uint8)


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
    return blur(shape, _edge_kernel(mask) + 2, out=shape)


def _inner_colors(photo: Image, covered: Image, rows: Any, columns: Any) -> Image:
    """Of some pixels, the mean colour of the fully covered ones around; their own without any."""
    radius = _edge_kernel(photo)
    height, width = covered.shape
    ys = (rows - radius).clip(0), (rows + radius + 1).clip(0, height)
    xs = (columns - radius).clip(0), (columns + radius + 1).clip(0, width)
    full = covered == 255

    def sums(values: Any) -> NDArray[np.uint32]:
        # Sums over whole images wrap around; those over windows fit again.
        table = np.zeros((height + 1, width + 1), np.uint32)
        np.cumsum(np.cumsum(values, axis=0, dtype=np.uint32), axis=1, dtype=np.uint32, out=table[1:, 1:])
        window: NDArray[np.uint32] = (table[ys[1], xs[1]] - table[ys[0], xs[1]] - table[ys[1], xs[0]]
                                      + table[ys[0], xs[0]])
        return window

    count = sums(full)
    own = photo[rows, columns]
    means = [(sums(np.where(full, photo[..., channel], 0)) + count // 2) // np.maximum(count, 1)
             for channel in range(3)]
    return np.where(count[:, None] > 0, np.stack(means, axis=1), own).astype(np.uint8)


def _compose(result: Image, photo: Image, covered: Image, border: Image, color: list[int]) -> None:
    """Photograph where the mask is, colour around it, nothing beyond."""
    alpha = np.maximum(covered, border)
    inside, seen = covered == 255, alpha != 0
    rows, columns = np.nonzero(~inside & (covered != 0))
    inner = _inner_colors(photo, covered, rows, columns).astype(np.uint32)
    share = covered[rows, columns].astype(np.uint32) * 255 // alpha[rows, columns]
    for channel, ink in enumerate(color):
        plane = np.where(seen, np.uint8(ink), np.uint8(0))
        np.copyto(plane, photo[..., channel], where=inside)
        plane[rows, columns] = (inner[:, channel] * share + ink * (255 - share) + 127) // 255
        result[..., channel] = plane
    result[..., 3] = alpha


def scale_seen(image: Image, size: Sequence[int], method: str) -> Image:
    """Scales BGRA with colours that count as much as they are seen: transparent ones do not bleed."""
    weights = image[..., 3:].astype(np.uint32)
    weighted = image.copy()
    weighted[..., :3] = (image[..., :3] * weights + 127) // 255
    result = resize(weighted, size, method=method)
    alpha = result[..., 3:].astype(np.uint32)
    colors = np.minimum(255, (result[..., :3].astype(np.uint32) * 255 + alpha // 2) // np.maximum(alpha, 1))
    result[..., :3] = np.where(alpha > 0, colors, result[..., :3])
    return result


def _in_square(image: Image, side: int) -> Image:
    """As large as a square of this side allows, in its middle."""
    scale = side / max(image.shape[:2])
    height, width = (min(max(int(value * scale + 0.5), 1), side) for value in image.shape[:2])
    varies = bool((image[..., 3] != image[0, 0, 3]).any())
    method = "area" if scale < 1 else "cubic"
    part = scale_seen(image, (width, height), method) if varies else resize(image, (width, height), method=method)
    square = np.zeros((side, side, 4), np.uint8)
    left, top = (side - width) // 2, (side - height) // 2
    square[top : top + height, left : left + width] = part
    return square
