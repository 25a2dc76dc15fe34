"""Picture files as arrays, wherever fsspec can read and write."""

from __future__ import annotations

import fnmatch
import io
import os
import uuid
from dataclasses import dataclass
from typing import Any, Iterator

import fsspec
import numpy as np
from fsspec.implementations.local import LocalFileSystem
from PIL import Image as Pillow
from PIL import ImageOps

from .._arrays import Image
from ..images import convert

ENDINGS = (".png", ".jpg", ".jpeg", ".webp", ".bmp", ".tif", ".tiff")
MAX_PIXELS = 100_000_000
Pillow.MAX_IMAGE_PIXELS = None  # the limit above is checked before pixels are decoded


@dataclass(frozen=True)
class Reading:
    orient: bool = True  # as EXIF says
    mask_channel: str = "auto"  # "alpha", "luma"
    stretch: bool = False


@dataclass(frozen=True)
class Writing:
    quality: int = 92  # of JPEG and WebP; a WebP of 100 loses nothing
    png_level: int = 1


class Unusable(Exception):
    """An argument that no file can be done with; its text is a sentence for the user."""


def filesystem(url: str) -> tuple[Any, str]:
    """The file system of a path or URL and the path in it."""
    try:
        return fsspec.core.url_to_fs(url)  # type: ignore[no-any-return]
    except ImportError as error:
        protocol = url.partition("://")[0]
        raise Unusable(f"{protocol}:// needs a Python package that is not installed: {error}") from None
    except ValueError as error:
        raise Unusable(f"{url}: {error}") from None


def is_local(fs: Any) -> bool:
    return isinstance(fs, LocalFileSystem)


def names(url: str) -> Iterator[str]:
    """File names in a folder, or those that fit a pattern such as ``in/*.jpg``; in any order.

    A local folder is read as it goes; of another store the names of the folder are listed at once.
    """
    fs, path = filesystem(url)
    folder, _, pattern = path.rpartition("/")
    if "*" not in pattern and "?" not in pattern:
        folder, pattern = path, ""
    if not fs.isdir(folder or "/"):
        raise Unusable(f"{folder} is no folder")
    listed = (entry.name for entry in os.scandir(folder or "/") if entry.is_file()) if is_local(fs) else (
        entry["name"].rpartition("/")[2] for entry in fs.ls(folder, detail=True) if entry["type"] == "file")
    for name in listed:
        if fnmatch.fnmatchcase(name, pattern) if pattern else name.lower().endswith(ENDINGS):
            yield name


def decode(data: bytes, reading: Reading = Reading()) -> Image:
    """Pixels as gray, BGR or BGRA."""
    with Pillow.open(io.BytesIO(data)) as picture:
        if picture.width * picture.height > MAX_PIXELS:
            raise ValueError(f"{picture.width} x {picture.height} pixels; at most 100 million are read")
        if reading.orient:
            picture = ImageOps.exif_transpose(picture)
        mode = picture.mode
        if mode in ("CMYK", "YCCK"):
            raise ValueError("the file holds CMYK colours; gray and RGB files are read")
        if mode.startswith("I") or mode == "F":
            pixels = np.asarray(picture.convert("I"))
            return (np.clip(pixels, 0, 65535) >> 8).astype(np.uint8)
        transparent = mode in ("LA", "PA", "La", "RGBa") or "transparency" in picture.info
        if mode not in ("L", "RGB", "RGBA") or transparent:
            picture = picture.convert("RGBA" if transparent else "L" if mode == "1" else "RGB")
        pixels = np.asarray(picture)
    if pixels.ndim == 3:
        pixels = np.ascontiguousarray(pixels[..., [2, 1, 0, 3][: pixels.shape[2]]])
    return pixels


def encode(pixels: Image, ending: str, writing: Writing = Writing()) -> bytes:
    if ending == "jpg" and pixels.ndim == 3 and pixels.shape[2] == 4:
        raise ValueError("a JPEG has no transparency; png and webp keep it")
    if pixels.ndim == 3:
        pixels = pixels[..., [2, 1, 0, 3][: pixels.shape[2]]]
    file = io.BytesIO()
    picture = Pillow.fromarray(np.ascontiguousarray(pixels))
    if ending == "jpg":
        picture.save(file, "JPEG", quality=writing.quality, subsampling=0)
    elif ending == "webp":
        picture.save(file, "WEBP", quality=writing.quality, lossless=writing.quality == 100, exact=True)
    else:
        picture.save(file, "PNG", compress_level=writing.png_level)
    return file.getvalue()


def alpha_of(pixels: Image) -> Image | None:
    """The alpha channel when it says something: is not the same everywhere."""
    if pixels.ndim != 3 or pixels.shape[2] != 4 or (pixels[..., 3] == pixels[0, 0, 3]).all():
        return None
    return np.ascontiguousarray(pixels[..., 3])


def as_bgr(pixels: Image) -> Image:
    return pixels if pixels.ndim == 3 and pixels.shape[2] == 3 else convert(pixels, "bgr")


def as_mask(pixels: Image, reading: Reading = Reading()) -> Image:
    """Gray: the alpha channel (by default where it varies), else the brightness."""
    if reading.mask_channel == "alpha" and (pixels.ndim != 3 or pixels.shape[2] != 4):
        raise ValueError("the mask has no alpha channel")
    alpha = None if reading.mask_channel == "luma" else alpha_of(pixels)
    if reading.mask_channel == "alpha":
        alpha = np.ascontiguousarray(pixels[..., 3])
    mask = alpha if alpha is not None else pixels if pixels.ndim == 2 else convert(pixels, "gray")
    highest = int(mask.max())
    if reading.stretch and highest:
        mask = ((mask.astype(np.uint32) * 255 + highest // 2) // highest).astype(np.uint8)
    return mask


def read(url: str) -> bytes:
    fs, path = filesystem(url)
    data: bytes = fs.cat_file(path)
    return data


PART = ".morvik-part-"


def write(url: str, data: bytes) -> None:
    """Writes beside the file and moves it there: a reader sees all of it or nothing."""
    fs, path = filesystem(url)
    folder, _, name = path.rpartition("/")
    part = f"{folder}/{PART}{uuid.uuid4().hex}-{name}"
    try:
        fs.pipe_file(part, data)
        fs.mv(part, path)
    except BaseException:
        if fs.exists(part):
            fs.rm_file(part)
        raise


def remove_parts(url: str) -> int:
    """Removes what workers that were killed left; returns how many there were."""
    fs, path = filesystem(url)
    left = [name for name in fs.ls(path, detail=False) if name.rpartition("/")[2].startswith(PART)]
    for name in left:
        fs.rm_file(name)
    return len(left)
