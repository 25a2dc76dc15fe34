"""Face landmarks: files, layouts, the forehead."""

from __future__ import annotations

import os
import re
from typing import Any, Sequence, Union

import numpy as np
from numpy.typing import NDArray

from . import raw
from ._arrays import check, finite, points_of, size_of, whole
from .raw import library

Points = NDArray[np.float32]
Path = Union[str, "os.PathLike[str]"]

_STD, _INTERNAL, _MESH = 106, 96, 468
_HINT = f"; of a refined mesh of 478 take the first {_MESH}, mesh[:{_MESH}]"


def forehead(landmarks: Any, size: Sequence[int]) -> NDArray[np.int32]:
    """Predicts 11 points of the forehead's outline, which no detector delivers.

    landmarks  106 x 2 (the layout that detectors deliver) or 96 x 2 (the internal layout), x and y
               in pixels; fractions are rounded
    size       (width, height) of the image

    Returns 11 x 2, int32, pixels: up from the side of contour point 0, the apex (index 5), and down
    on the other side. Landmarks that form no face give meaningless points. Raises ValueError for
    another number of landmarks.

    >>> face = read_landmarks("samples/hopper_landmarks106.txt")
    >>> forehead(face, (512, 600))[5].tolist()
    [258, 96]
    """
    face = points_of(landmarks, "landmarks")
    if len(face) not in (_STD, _INTERNAL):
        raise ValueError(f"landmarks has {len(face)} points, {_STD} or {_INTERNAL} are expected")
    width, height = size_of(size)
    found = np.empty((11, 2), np.int32)
    check(library.mvk_guess_forehead_landmarks(found.ctypes.data, face.ctypes.data, len(face), width,
                                               height), "mvk_guess_forehead_landmarks")
    return found


# Internal points that are points of the 106: (internal, of the 106).
_COPIED = np.array([(i, j) for i, j in enumerate((
    0, 1, 3, -1, -1, -1, -1, -1, -1, 16, -1, -1, -1, -1, -1, -1, 29, 31, 32, 33,
    -1, 34, 35, 36, 37, 66, 65, 64, -1, 38, -1, 39, 40, 41, 42, 71, 70, 69, -1, 52,
    -1, 53, 72, 54, -1, 55, -1, 56, 73, 57, -1, 58, -1, 59, 75, 60, -1, 61, -1, 62,
    76, 63, -1, 78, -1, -1, 80, 82, 48, 50, 83, 81, -1, -1, 79, 46, 84, 85, 86, 87,
    88, 89, 90, 91, 92, 93, 94, 95, 96, 97, 98, 99, 100, 101, 102, 103,
)) if j >= 0]).T
# Internal points halfway between two of the 106.
_MIDPOINTS = np.array([
    (3, 4, 6), (4, 6, 8), (5, 8, 9), (6, 9, 12), (7, 12, 14), (8, 14, 15),
    (10, 17, 18), (11, 18, 20), (12, 20, 23), (13, 23, 24), (14, 24, 26), (15, 26, 28),
    (20, 33, 34), (28, 33, 64), (30, 38, 39), (38, 38, 69),
    (40, 52, 53), (44, 54, 55), (46, 55, 56), (50, 52, 57),
    (52, 58, 59), (56, 60, 61), (58, 61, 62), (62, 58, 63),
]).T
# Internal points beside the nose ridge: a nose root point moved along the ridge.
_SHIFTED = np.array([(64, 78, 44, 43), (65, 78, 45, 43), (72, 79, 45, 43), (73, 79, 44, 43)]).T


def to_internal_layout(landmarks: Any) -> Points:
    """The internal layout of a face: 96 points, made of the 106 that detectors deliver.

    landmarks  106 x 2, x and y in pixels

    Returns 96 x 2, float32, pixels. Raises ValueError for another number of points.

    >>> to_internal_layout(np.zeros((106, 2))).shape
    (96, 2)
    """
    face = finite(landmarks, "landmarks", _STD, (2,)).astype(np.float32)
    points = np.empty((_INTERNAL, 2), np.float32)
    points[_COPIED[0]] = face[_COPIED[1]]
    middle, a, b = _MIDPOINTS
    points[middle] = (face[a] + face[b]) * np.float32(0.5)
    shifted, root, to, origin = _SHIFTED
    points[shifted] = face[root] + face[to] - face[origin]
    return points


# The face contour in the mesh, from the ear to the chin and from the chin to the other ear; 17
# points at equal distances are taken on each half.
_LEFT = [127, 234, 93, 132, 58, 172, 136, 150, 149, 176, 148, 152]
_RIGHT = [152, 377, 400, 378, 379, 365, 397, 288, 361, 323, 454, 356]
# Points 33 to 103 in the mesh; centres of the eyes are means of four.
_FEATURES = [
    70, 63, 105, 66, 107, 336, 296, 334, 293, 300,  # brows, upper edges
    168, 197, 195, 4, 98, 97, 2, 326, 327,  # nose ridge, nose base
    33, 161, 157, 133, 154, 163, 362, 384, 388, 263, 390, 381,  # eyes
    53, 52, 65, 55, 285, 295, 282, 283,  # brows, lower edges
    159, 145, -1, 386, 374, -2,  # middles of the lids, eye centres
    193, 417, 198, 420, 64, 294,  # nose sides
    61, 40, 37, 0, 267, 270, 291, 321, 314, 17, 84, 91,  # outer lip
    78, 81, 13, 311, 308, 402, 14, 178,  # inner lip
]
_EYES = [[33, 133, 159, 145], [263, 362, 386, 374]]


def _evenly(line: NDArray[np.float64], count: int) -> NDArray[np.float64]:
    """``count`` points at equal distances along a polyline, its ends included."""
    lengths = np.hypot(*np.diff(line, axis=0).T)
    along = np.concatenate(([0.0], np.cumsum(lengths)))
    at = np.linspace(0, along[-1], count)
    return np.stack([np.interp(at, along, line[:, axis]) for axis in (0, 1)], axis=1)


def landmarks_from_mesh(mesh: Any, size: Sequence[int]) -> Points:
    """106 landmarks of a face mesh of 468 points.

    mesh  468 x 2 or 468 x 3 (z is left out), x and y from 0 to 1 across and down the image
    size  (width, height) of the image in pixels

    Returns 106 x 2, float32, pixels. Point 16 is the chin; of 104 and 105, the pupils, which the
    mesh lacks, the eye centres are returned.

    >>> landmarks_from_mesh(np.full((468, 3), 0.5), (100, 50))[16].tolist()
    [49.5, 24.5]
    """
    points = finite(mesh, "mesh", _MESH, (2, 3), _HINT)[:, :2] * size_of(size) - 0.5
    face = np.empty((_STD, 2))
    face[:17] = _evenly(points[_LEFT], 17)
    face[16:33] = _evenly(points[_RIGHT], 17)
    eyes = points[_EYES].mean(axis=1)
    face[33:104] = np.concatenate((points, eyes[::-1]))[_FEATURES]
    face[104:] = eyes
    return face.astype(np.float32)


def _file_arguments(path: Path, separator: str) -> tuple[bytes, bytes]:
    name = os.fsencode(path)
    if b"\0" in name:
        raise ValueError("a path has no zero byte")
    if not isinstance(separator, str) or not re.fullmatch(r"[\t !-~]", separator) or (
            separator.isalnum() or separator in "+-."):
        raise ValueError(f"separator is {separator!r:.20}; a mark such as ',' or ' ' is expected")
    return name, separator.encode()


def _refuse_devices(path: Path) -> None:
    """And pipes: the library is silent about some, and lines are counted before or after."""
    if os.path.exists(path) and not os.path.isfile(path) and not os.path.isdir(path):
        raise OSError(f"{os.fspath(path)} is no regular file")


def read_landmarks(path: Path, *, separator: str = ",", dims: int = 2) -> Points:
    """The points of a landmark file: a line each, x and y (and z for ``dims`` 3).

    separator  the mark between the numbers of a line

    Returns N x dims, float32. Fields that are missing or no number are 0. Raises OSError when the
    file cannot be read.

    >>> read_landmarks("samples/hopper_landmarks106.txt").shape
    (106, 2)
    """
    whole(dims, "dims", 2, 3)
    name, mark = _file_arguments(path, separator)
    _refuse_devices(path)
    count = _lines(path)
    points = np.zeros((count, dims), np.float32)
    check(library.mvk_read_landmarks(points.ctypes.data, count, name, 1, dims, mark),
          "mvk_read_landmarks")
    return points


def _lines(path: Path) -> int:
    count, last = 0, b"\n"
    with open(path, "rb") as file:
        for block in iter(lambda: file.read(1 << 20), b""):
            count += block.count(b"\n")
            last = block[-1:]
    return whole(count + (last != b"\n"), "the number of lines", 0, (1 << 31) - 1)


def write_landmarks(path: Path, points: Any, *, separator: str = ",") -> None:
    """Writes N x 2 or N x 3 points to a landmark file, a line each.

    Whole numbers are written as they are, others with six significant digits. Raises OSError when
    the file cannot be written.

    >>> write_landmarks(path, [(1, 2), (3, 4)])
    """
    name, mark = _file_arguments(path, separator)
    array = np.asarray(points)
    if array.size == 0:
        array = np.empty((0, 2), np.int32)
    if array.ndim != 2 or array.shape[1] not in (2, 3):
        raise ValueError(f"points has shape {array.shape}, N x 2 or N x 3 is expected")
    if array.dtype.kind not in "iuf":
        raise TypeError(f"points has dtype {array.dtype}, numbers are expected")
    is_float = array.dtype.kind == "f"
    if not is_float and array.size and (array.min() < -(1 << 31) or array.max() >= 1 << 31):
        raise ValueError("points has coordinates beyond 32 bits")
    array = np.ascontiguousarray(array, np.float32 if is_float else np.int32)
    _refuse_devices(path)
    with open(path, "wb"):  # the library is silent about paths that cannot be opened
        pass
    check(library.mvk_write_landmarks(array.ctypes.data, len(array), name, int(is_float),
                                      array.shape[1], mark), "mvk_write_landmarks")
    if _lines(path) != len(array):
        raise OSError(f"{os.fspath(path)} was not written as a whole")
