"""Image processing for faces and segmentation masks, numpy in and numpy out.

Images are arrays of uint8: height x width (gray and masks), height x width x 3 (blue, green, red),
height x width x 4 (blue, green, red, alpha); camera frames of two planes are :class:`Frame`. Points
are x, y in pixels, (0, 0) the centre of the top-left pixel, and a size is (width, height).

Arrays are passed to the library as they lie; rows with padding and other views are copied only
where a function cannot step through them. ``out`` is written in place or refused. Wrong arguments
raise TypeError or ValueError with a sentence, and nothing is written then.

Masks      smooth_mask, fill_holes, morph, blur, fill_polygon, bbox
Outlines   outlines, outlines_to_svg, outlines_to_coco, outlines_to_geojson, sticker,
           mask_to_coco_rle, coco_rle_to_mask
Faces      forehead, to_internal_layout, landmarks_from_mesh, read_landmarks, write_landmarks
Images     Frame, convert, resize, rotate
Many files python3 -m morvik.batch

>>> mask = fill_polygon([(10, 10), (50, 12), (30, 40)], (64, 48))
>>> bbox(morph(mask, 4))
Box(left=8, top=8, right=52, bottom=42)
"""

from . import raw
from ._arrays import Size
from .faces import forehead, landmarks_from_mesh, read_landmarks, to_internal_layout, write_landmarks
from .images import Frame, convert, resize, rotate
from .masks import Box, bbox, blur, fill_holes, fill_polygon, morph, smooth_mask
from .shapes import (
    coco_rle_to_mask, mask_to_coco_rle, outlines, outlines_to_coco, outlines_to_geojson,
    outlines_to_svg, sticker,
)

__version__ = raw.VERSION
__all__ = [
    "Box", "Frame", "Size", "bbox", "blur", "coco_rle_to_mask", "convert", "fill_holes",
    "fill_polygon", "forehead", "landmarks_from_mesh", "mask_to_coco_rle", "morph", "outlines",
    "outlines_to_coco", "outlines_to_geojson", "outlines_to_svg", "raw", "read_landmarks", "resize",
    "rotate", "smooth_mask", "sticker", "to_internal_layout", "version", "write_landmarks",
]


def version() -> str:
    """One line that names the library and its version.

    >>> version()
    'Morvik Version: 1.3.52-gfe8a37c-ios-iphone-mk_ios'
    """
    text: bytes = raw.library.qxMorvik_version()
    return text.decode()
