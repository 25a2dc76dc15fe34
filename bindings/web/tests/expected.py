"""Writes what the native library gives, for results.test.js: pictures as files and a list of calls.

Usage: expected.py FOLDER   (with the Python package on the path)
"""

import hashlib
import itertools
import json
import sys
from pathlib import Path

import numpy as np
from PIL import Image

import morvik

SAMPLES = Path(__file__).resolve().parents[3] / "samples"
OUT = Path(sys.argv[1])
# Order of a pixel's bytes here (blue first) to that of a format there; it is its own inverse.
ORDER = {"rgb": [2, 1, 0], "rgba": [2, 1, 0, 3]}
NATIVE = {"rgb": "bgr", "rgba": "bgra"}


def reordered(pixels, format):
    return np.ascontiguousarray(pixels[..., ORDER[format]]) if format in ORDER else pixels


def with_alpha(bgr, alpha):
    return np.dstack([bgr, np.broadcast_to(np.uint8(alpha), bgr.shape[:2])])


PHOTO = reordered(np.asarray(Image.open(SAMPLES / "collins_tilted.jpg")), "rgb")
SMALL = np.ascontiguousarray(PHOTO[200:331, 150:247])  # odd sides
COARSE = np.asarray(Image.open(SAMPLES / "collins_tilted_mask_256x256.png"))
MASK = np.asarray(Image.open(SAMPLES / "photographer_mask_256x256.png"))
SEEN = with_alpha(PHOTO, np.arange(PHOTO.shape[1]) % 256)
FACE = morvik.read_landmarks(SAMPLES / "collins_landmarks106.txt")
FULL = morvik.smooth_mask(PHOTO, COARSE)
LARGE = morvik.resize(COARSE, (PHOTO.shape[1] * 2, PHOTO.shape[0] * 2))
SOFT = morvik.blur(FULL, 21)
CORNERS = [10, 10, 90, -20, 50.5, 80, 20, 300]
MESH = np.random.default_rng(7).random((468, 3))
NATIVE_SMALL = {"gray": SMALL[..., 1].copy(), "bgr": SMALL, "bgra": with_alpha(SMALL, np.arange(97)),
                "nv12": morvik.convert(SMALL, "nv12"), "nv21": morvik.convert(SMALL, "nv21")}

pictures, calls = {}, []


def data(result):
    return result.tobytes() if isinstance(result, morvik.Frame) else np.ascontiguousarray(result).tobytes()


def size_of(result):
    return result.size if isinstance(result, morvik.Frame) else result.shape[1::-1]


def picture(name, format, native):
    (OUT / f"{name}.bin").write_bytes(data(reordered(native, format)))
    width, height = size_of(native)
    pictures[name] = {"width": width, "height": height, "format": format}


def call(function, arguments, format, native):
    result = reordered(native, format)
    calls.append({"function": function, "arguments": arguments, "format": format, "size": list(size_of(result)),
                  "sha256": hashlib.sha256(data(result)).hexdigest()})


def numbers(function, arguments, result):
    calls.append({"function": function, "arguments": arguments, "numbers": result})


picture("photo", "rgba", with_alpha(PHOTO, 255))
picture("blue first", "bgr", PHOTO)
picture("seen", "rgba", SEEN)
for name, mask in {"coarse": COARSE, "mask": MASK, "full": FULL, "large": LARGE, "soft": SOFT}.items():
    picture(name, "gray", mask)

for photo, options in itertools.product(("photo", "blue first"), ({"snap": True, "limit": 400}, {"limit": 4000}, {})):
    call("smoothMask", [photo, "coarse", options], "gray", morvik.smooth_mask(PHOTO, COARSE, **options))
call("fillHoles", ["mask", {"level": 90}], "gray", morvik.fill_holes(MASK, level=90))
for amount in (-7, 12):
    call("morph", ["mask", amount], "gray", morvik.morph(MASK, amount))
for filter, kernel in itertools.product(("mean", "median", "gaussian", "bilateral"), (3, 7, 31)):
    call("blur", ["mask", kernel, {"filter": filter}], "gray", morvik.blur(MASK, kernel, filter=filter))
    if filter != "bilateral" or kernel < 8:
        blurred = morvik.blur(PHOTO, kernel, filter=filter)
        call("blur", ["blue first", kernel, {"filter": filter}], "bgr", blurred)
        call("blur", ["seen", kernel, {"filter": filter}], "rgba", with_alpha(blurred, SEEN[..., 3]))
call("blur", ["mask", 9, {"sigma": [3, 1]}], "gray", morvik.blur(MASK, 9, sigma=(3, 1)))
call("fillPolygon", [CORNERS, {"width": 70, "height": 50}], "gray",
     morvik.fill_polygon(np.reshape(CORNERS, (-1, 2)), (70, 50)))
numbers("bbox", ["mask", {"level": 200}], morvik.bbox(MASK, level=200)._asdict())
for mode in morvik.shapes._MODES:
    center = {"center": {"x": 40, "y": 50}} if mode.endswith("-center") else {}
    found = morvik.outlines(MASK, mode, 20, 2, points="simple", threshold=90,
                            **{name: tuple(point.values()) for name, point in center.items()})
    numbers("outlines", ["mask", {"mode": mode, "expand": 20, "smooth": 2, "points": "simple", "threshold": 90,
                                  **center}], [outline.ravel().tolist() for outline in found])
numbers("outlines", ["mask", {"polygon": True}],
        [outline.ravel().tolist() for outline in morvik.outlines(MASK, polygon=True)])
for mask, given in {"coarse": COARSE, "full": FULL, "large": LARGE, "soft": SOFT}.items():
    for photo, native in (("photo", PHOTO), ("blue first", PHOTO), ("seen", SEEN)):
        call("sticker", [photo, mask], "rgba", morvik.sticker(native, given))
    call("sticker", ["photo", mask, {"color": "#102030", "expand": 9, "crop": True, "snap": mask != "large"}], "rgba",
         morvik.sticker(PHOTO, given, color=(48, 32, 16), expand=9, crop=True, snap=mask != "large"))
for side in (128, 999):
    call("sticker", ["photo", "coarse", {"fit": side, "hardEdge": True, "expand": 0}], "rgba",
         morvik.sticker(PHOTO, COARSE, fit=side, hard_edge=True, expand=0))
numbers("forehead", [FACE.ravel().tolist(), {"width": 512, "height": 512}],
        morvik.forehead(FACE, (512, 512)).ravel().tolist())
numbers("landmarksFromMesh", [MESH.ravel().tolist(), {"width": 640, "height": 480}],
        morvik.landmarks_from_mesh(MESH, (640, 480)).ravel().tolist())

# Numbers of every size, and halves of the sixth digit, which are rounded to even.
VALUES = np.concatenate([np.float32(10.0) ** np.arange(-38, 38), np.arange(0, 400) / 8 + 123456, MESH.ravel() * 1000,
                         np.arange(0, 300) + 1000000, [0.0, -1.5, 2.00005, 1e-5, 99999.95]]).astype(np.float32)
VALUES = np.concatenate([VALUES, -VALUES])
TEXT = "1,2\n 3.5x,4e2\n,7\nx\n\n-1e60,inf,9\n+.5,1e-60\r\n8,nothing"
morvik.write_landmarks(OUT / "values.txt", VALUES.reshape(-1, 2))
numbers("formatLandmarks", [{"floats": VALUES.tolist()}], (OUT / "values.txt").read_text())
(OUT / "text.txt").write_bytes(TEXT.encode())
for dims in (2, 3):
    points = morvik.read_landmarks(OUT / "text.txt", dims=dims).ravel()
    numbers("parseLandmarks", [TEXT, {"dims": dims}], [value if np.isfinite(value) else str(value) for value in points.tolist()])
numbers("outlinesToSvg", [[[0, 0, 5, 1, 2, 7], [9, 9]], {"width": 20, "height": 10}, {"color": '#"123'}],
        morvik.outlines_to_svg([np.reshape([0, 0, 5, 1, 2, 7], (3, 2)), np.array([[9, 9]])], (20, 10), color='#"123'))

for origin in ("gray", "rgb", "rgba", "bgr", "bgra", "nv12", "nv21"):
    native = NATIVE_SMALL[NATIVE.get(origin, origin)]
    picture(f"small {origin}", origin, native)
    for to in ("gray", "rgb", "rgba", "bgr", "bgra", "nv12", "nv21"):
        target = NATIVE.get(to, to)
        same = target == NATIVE.get(origin, origin)
        call("convert", [f"small {origin}", to], to, native if same else morvik.convert(native, target))
    for method in ("nearest", "linear", "cubic", "area"):
        call("resize", [f"small {origin}", {"width": 144, "height": 38}, {"method": method}], origin,
             morvik.resize(native, (144, 38), method=method))
    for angle in (0, 90, 180, 270):
        call("rotate", [f"small {origin}", angle], origin, morvik.rotate(native, angle))

OUT.joinpath("expected.json").write_text(json.dumps({"pictures": pictures, "calls": calls}))
