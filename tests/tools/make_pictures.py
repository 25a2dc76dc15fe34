#!/usr/bin/env python3
"""Makes the files of tests/tools/pictures with Pillow (python3-pil), a judge of its own for what
orientation, profiles and transparency mean. Needed only when a picture is added."""
import os
import struct
import zlib

from PIL import Image, ImageCms, ImageOps

folder = os.path.join(os.path.dirname(os.path.abspath(__file__)), "pictures")
os.makedirs(folder, exist_ok=True)


def path(name):
    return os.path.join(folder, name)


profile = ImageCms.ImageCmsProfile(ImageCms.createProfile("sRGB")).tobytes()
upright = Image.new("RGB", (48, 32))
upright.putdata([(5 * x, 7 * y, 200 if x > y else 40) for y in range(32) for x in range(48)])
upright.save(path("upright.png"))
stored = [None, None, Image.FLIP_LEFT_RIGHT, Image.ROTATE_180, Image.FLIP_TOP_BOTTOM,
          Image.TRANSPOSE, Image.ROTATE_90, Image.TRANSVERSE, Image.ROTATE_270]
for orientation in range(1, 9):
    turn = stored[orientation]
    picture = upright if turn is None else upright.transpose(turn)
    exif = Image.Exif()
    exif[0x112] = orientation
    for ending, options in {"jpg": {"quality": 100, "subsampling": 0}, "png": {},
                            "webp": {"lossless": True}}.items():
        name = path("turned_%d.%s" % (orientation, ending))
        picture.save(name, exif=exif, icc_profile=profile, **options)
        with Image.open(name) as again:
            assert ImageOps.exif_transpose(again).size == upright.size

alpha = Image.new("L", upright.size)
alpha.putdata([255 if 8 <= x < 40 and 8 <= y < 24 else 0 for y in range(32) for x in range(48)])
cut = upright.copy()
cut.putalpha(alpha)
for name in ("cut.png", "cut.webp"):
    cut.save(path(name), lossless=True, exact=True)
alpha.save(path("mask.png"))
Image.merge("LA", (Image.new("L", upright.size, 90), alpha)).save(path("gray_cut.png"))
upright.convert("CMYK").save(path("cmyk.jpg"))
upright.quantize(16).save(path("palette.png"))
upright.save(path("animation.webp"), save_all=True, append_images=[ImageOps.mirror(upright)], lossless=True)
with open(path("mask.png"), "rb") as file:
    mask = file.read()
chunk = b"gAMA" + struct.pack(">I", 100000)
at = mask.index(b"IDAT") - 4
with open(path("mask_gamma.png"), "wb") as file:
    file.write(mask[:at] + struct.pack(">I", 4) + chunk + struct.pack(">I", zlib.crc32(chunk)) + mask[at:])
with open(path("turned_1.jpg"), "rb") as file:
    photo = file.read()
with open(path("surplus.jpg"), "wb") as file:
    file.write(photo[:-2] + b"12345678" * 5 + photo[-2:])
