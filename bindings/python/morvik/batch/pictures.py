"""The bytes of picture files as arrays, and back."""

from __future__ import annotations

import io
import struct
from dataclasses import dataclass
from typing import Any

import numpy as np
from PIL import Image as Pillow
from PIL import ImageOps, UnidentifiedImageError
from PIL.PngImagePlugin import PngInfo

from .._arrays import Image
from ..images import convert

# Of those at the end, each gives a failure that says what it is, unless Pillow has a plugin for it.
ENDINGS = (".png", ".jpg", ".jpeg", ".webp", ".bmp", ".tif", ".tiff", ".heic", ".heif", ".avif")
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


@dataclass(frozen=True)
class Colors:
    """What a file says about its colours. It travels with the pixels and is never applied to them."""

    icc: bytes = b""
    gamma: float = 0.0  # of a PNG without a profile; 0 without one

    def profile_of(self, gray: bool) -> bytes | None:
        """The profile when it describes such pixels: a photograph's is useless to a mask."""
        fits = len(self.icc) >= 128 and self.icc[16:20] == (b"GRAY" if gray else b"RGB ")
        return self.icc if fits else None


def decode(data: bytes, reading: Reading = Reading()) -> tuple[Image, Colors]:
    """Pixels as gray, BGR or BGRA, and what the file says about them."""
    try:
        opened = Pillow.open(io.BytesIO(data))
    except UnidentifiedImageError:
        raise ValueError("this is no picture that Pillow reads") from None
    with opened as picture:
        if picture.width * picture.height > MAX_PIXELS:
            raise ValueError(f"{picture.width} x {picture.height} pixels; at most 100 million are read")
        colors = _colors_of(picture.info)
        if reading.orient:
            picture = ImageOps.exif_transpose(picture)
        mode = picture.mode
        if mode in ("CMYK", "YCCK"):
            raise ValueError("the file holds CMYK colours; gray and RGB files are read")
        if mode == "F":
            raise ValueError("the file holds floating-point pixels; whole numbers are read")
        if mode.startswith("I"):
            wide = np.clip(np.asarray(picture.convert("I")), 0, 65535)
            return ((wide * 255 + 32895) >> 16).astype(np.uint8), colors  # rounded, as libpng does
        transparent = mode in ("LA", "PA", "La", "RGBa") or "transparency" in picture.info
        if mode not in ("L", "RGB", "RGBA") or transparent:
            picture = picture.convert("RGBA" if transparent else "L" if mode == "1" else "RGB")
        return other_order(np.asarray(picture)), colors


def _colors_of(info: dict[str, Any]) -> Colors:
    icc = info.get("icc_profile") or b""
    return Colors(icc, 0.0 if icc or "srgb" in info else float(info.get("gamma") or 0))


def other_order(pixels: Image) -> Image:
    """Red and blue swapped; gray stays as it is."""
    if pixels.ndim == 2:
        return pixels
    return np.ascontiguousarray(pixels[..., [2, 1, 0, 3][: pixels.shape[2]]])


def encode(pixels: Image, ending: str, writing: Writing = Writing(), colors: Colors = Colors()) -> bytes:
    gray = pixels.ndim == 2
    if ending == "jpg":
        pixels = without_alpha(pixels)
    file = io.BytesIO()
    picture = Pillow.fromarray(other_order(pixels))
    if ending == "jpg":
        picture.save(file, "JPEG", quality=writing.quality, subsampling=0, icc_profile=colors.profile_of(gray))
    elif ending == "webp":
        lossless = gray or writing.quality == 100
        picture.save(file, "WEBP", quality=75 if lossless else writing.quality, lossless=lossless,
                     icc_profile=colors.profile_of(False))
    else:
        profile, chunks = colors.profile_of(gray), PngInfo()
        if not profile and colors.gamma:
            chunks.add(b"gAMA", struct.pack(">I", round(colors.gamma * 100_000)))
        picture.save(file, "PNG", compress_level=min(writing.png_level, 9), icc_profile=profile, pnginfo=chunks)
    return file.getvalue()


def without_alpha(pixels: Image) -> Image:
    """Gray or BGR; white lies behind what is transparent."""
    alpha = alpha_of(pixels)
    if alpha is None:
        return pixels if pixels.ndim == 2 else as_bgr(pixels)
    share = alpha[..., np.newaxis].astype(np.uint32)
    return (255 - ((255 - pixels[..., :3]) * share + 127) // 255).astype(np.uint8)


def alpha_varies(pixels: Image) -> bool:
    return pixels.ndim == 3 and pixels.shape[2] == 4 and bool((pixels[..., 3] != pixels[0, 0, 3]).any())


def alpha_of(pixels: Image) -> Image | None:
    """The alpha channel of a picture that is transparent anywhere: of one with 0 everywhere, a camera left it unset."""
    if not alpha_varies(pixels) and (pixels.ndim != 3 or pixels.shape[2] != 4 or pixels[0, 0, 3] in (0, 255)):
        return None
    return np.ascontiguousarray(pixels[..., 3])


def as_bgr(pixels: Image) -> Image:
    return pixels if pixels.ndim == 3 and pixels.shape[2] == 3 else convert(pixels, "bgr")


def as_mask(pixels: Image, reading: Reading = Reading()) -> Image:
    """Gray: the alpha channel (by default where it varies), else the brightness."""
    if reading.mask_channel == "alpha" and (pixels.ndim != 3 or pixels.shape[2] != 4):
        raise ValueError("the mask has no alpha channel")
    if reading.mask_channel == "alpha" or (reading.mask_channel == "auto" and alpha_varies(pixels)):
        mask = np.ascontiguousarray(pixels[..., 3])
    else:
        mask = pixels if pixels.ndim == 2 else convert(pixels, "gray")
    highest = int(mask.max())
    if reading.stretch and highest:
        mask = ((mask.astype(np.uint32) * 255 + highest // 2) // highest).astype(np.uint8)
    return mask
