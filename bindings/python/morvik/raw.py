"""The C interface as it stands: constants, records and functions of ``morvik/morvik.h``.

``morvik.raw.library`` is the loaded library, its functions typed. Every call releases the
interpreter's lock. The other modules of the package check arguments before they call it; here
nothing is checked, and a wrong pointer ends the process.
"""

from __future__ import annotations

import ctypes
import json
import os
import struct
from ctypes import POINTER, Structure, c_char, c_char_p, c_int, c_int32, c_uint8, c_uint16, c_uint32, c_void_p
from pathlib import Path

VERSION = "1.3.52"

RGB24 = 0x201  # B G R in memory
ARGB = 0x302  # B G R A
ABGR = 0x305  # R G B A
GRAY = 0x701
NV12 = 0x801
NV21 = 0x802

OK = 0
BAD_ARGUMENT = 2
NOT_FOUND = 3
NULL_RECORD = 4


class QX_OFFSCREEN(Structure):
    _fields_ = [
        ("format", c_uint32),
        ("width", c_int32),
        ("height", c_int32),
        ("plane", c_void_p * 4),
        ("pitch", c_int32 * 4),
    ]


class TPOINT(Structure):
    _fields_ = [("x", c_int32), ("y", c_int32)]


class MKRect(Structure):
    _fields_ = [("left", c_uint32), ("top", c_uint32), ("right", c_uint32), ("bottom", c_uint32)]


class MKOutlineMode(Structure):
    _fields_ = [
        ("mode", c_uint32),
        ("chain_approx", c_uint32),
        ("expand_size", c_uint16),
        ("smooth_level", c_uint32),
        ("approx_poly", c_uint32),
        ("center", POINTER(TPOINT)),
        ("threshold", c_uint8),
    ]


class MKGetOutline(Structure):
    _fields_ = [
        ("contour_count", c_uint32),
        ("point_counts", POINTER(c_uint32)),
        ("points", POINTER(c_void_p)),
    ]


RECORDS = (QX_OFFSCREEN, TPOINT, MKRect, MKOutlineMode, MKGetOutline)

# A QX_OFFSCREEN as bytes: made in a fifth of the time that filling the record takes.
_IMAGE = struct.Struct("@Iii4P4i")


def image(
    format: int, width: int, height: int, plane: int, pitch: int, plane1: int = 0, pitch1: int = 0
) -> bytes:
    """A ``QX_OFFSCREEN`` over memory at address ``plane`` (and ``plane1``), to pass to a call."""
    return _IMAGE.pack(format, width, height, plane, plane1, 0, 0, pitch, pitch1, 0, 0)


_image = c_void_p  # the bytes of image(), or byref(QX_OFFSCREEN)
_FUNCTIONS: dict[str, tuple[object, list[object]]] = {
    "qxMorvik_version": (c_char_p, []),
    "mvk_copy": (c_uint32, [_image, _image]),
    "mvk_convert": (c_uint32, [_image, _image]),
    "mvk_resize": (c_uint32, [_image, _image, c_uint32]),
    "mvk_rotate": (c_uint32, [_image, _image, c_int32]),
    "mvk_make_mask_smooth": (c_uint32, [_image, _image, _image, c_uint32, c_uint32]),
    "mvk_make_up_holes": (c_uint32, [_image, _image, c_uint32]),
    "mvk_mask_morph": (c_uint32, [_image, _image, c_int32]),
    "mvk_smooth": (c_uint32, [_image, _image] + [c_uint32] * 5),
    "mvk_fill_area_up": (c_uint32, [_image, c_uint32, c_void_p]),
    "mvk_get_mask_roi": (c_uint32, [_image, POINTER(MKRect), c_uint32]),
    "mvk_outline_create": (c_void_p, []),
    "mvk_outline_expansion": (
        c_uint32,
        [c_void_p, _image, POINTER(MKOutlineMode), POINTER(MKGetOutline)],
    ),
    "mvk_outline_destroy": (None, [c_void_p, POINTER(MKGetOutline)]),
    "mvk_write_landmarks": (c_uint32, [c_void_p, c_int, c_char_p, c_int, c_int, c_char]),
    "mvk_read_landmarks": (c_uint32, [c_void_p, c_int, c_char_p, c_int, c_int, c_char]),
    "mvk_guess_forehead_landmarks": (c_uint32, [c_void_p, c_void_p, c_uint32, c_int, c_int]),
}


def layout() -> dict[str, list[int]]:
    """Size of each record, then the offset of each of its fields, as ctypes lays them out."""
    sizes = {}
    for record in RECORDS:
        offsets = [getattr(record, name).offset for name, *_ in record._fields_]
        sizes[record.__name__] = [ctypes.sizeof(record), *offsets]
    return sizes


def _check_layout(built: Path) -> None:
    if _IMAGE.size != ctypes.sizeof(QX_OFFSCREEN):
        raise ImportError("morvik: this interpreter packs records in another way than C does")
    if built.exists() and json.loads(built.read_text()) != list(layout().values()):
        raise ImportError(f"morvik: the records of the library ({built}) are laid out in another "
                          "way than this interpreter lays them out; install a wheel for it")


def _candidates() -> list[str]:
    if "MORVIK_LIBRARY" in os.environ:  # named: nothing else is tried
        return [os.environ["MORVIK_LIBRARY"]]
    bundled = Path(__file__).with_name("libmorvik.so")
    return ([str(bundled)] if bundled.exists() else []) + ["libmorvik.so.1"]


def _load() -> ctypes.CDLL:
    failures = []
    for name in _candidates():
        try:
            library = ctypes.CDLL(name)
            for function, (result, arguments) in _FUNCTIONS.items():
                entry = getattr(library, function)
                entry.restype = result
                entry.argtypes = arguments
        except (OSError, AttributeError) as error:  # none, or another library
            failures.append(f"  {name!r}: {error}")
            continue
        version = library.qxMorvik_version().decode()
        if not version.startswith(f"Morvik Version: {VERSION}-"):
            raise ImportError(f"morvik {VERSION} does not work with {name}, which says {version!r}")
        return library
    raise ImportError(
        "morvik: the library was not found. Install a wheel that brings it (pip install "
        "./bindings/python), install Debian's package libmorvik1, or name libmorvik.so in "
        "$MORVIK_LIBRARY. Tried:\n" + "\n".join(failures)
    )


_check_layout(Path(__file__).with_name("layout.json"))
library = _load()


def use_one_thread() -> None:
    """Keeps OpenCV from spreading work over a pool, where the library links OpenCV's own.

    A library with OpenCV inside has no such function; it takes ``OPENCV_FOR_THREADS_NUM=1`` from
    the environment that the process starts with.
    """
    try:
        set_threads = library["_ZN2cv13setNumThreadsEi"]
    except AttributeError:
        return
    set_threads.argtypes = [c_int]
    set_threads.restype = None
    set_threads(1)
