"""What the browser tests compare with, from the native library's Python package.

native.py inputs FOLDER     writes photographs, a mask, landmarks, a camera's clip
native.py results           reads calls as JSON lines, answers each with a line
"""

import hashlib
import json
import os
import struct
import subprocess
import sys
import zlib
from pathlib import Path

import numpy as np
from PIL import Image

import morvik

ROOT = Path(__file__).resolve().parents[2]
SAMPLES = ROOT / "samples"


def blue_first(path):
    return np.ascontiguousarray(np.asarray(Image.open(path).convert("RGB"))[..., ::-1])


def png_of_size(width, height):
    """A file that claims a size and holds no pixels."""
    def chunk(kind, data):
        return struct.pack(">I", len(data)) + kind + data + struct.pack(">I", zlib.crc32(kind + data))
    head = struct.pack(">IIBBBBB", width, height, 8, 2, 0, 0, 0)
    return b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", head) + chunk(b"IDAT", zlib.compress(b"")) + chunk(b"IEND", b"")


def huge_files():
    """Other files that claim 10000 x 10000 pixels and hold next to none."""
    jpeg = bytearray((SAMPLES / "hopper.jpg").read_bytes())
    frame = next(at for at in range(2, len(jpeg)) if jpeg[at] == 0xFF and jpeg[at + 1] in (0xC0, 0xC2))
    jpeg[frame + 5 : frame + 9] = struct.pack(">HH", 10000, 10000)
    preview = b"\xff\xe2" + struct.pack(">H", 65535) + bytes(65533)
    ispe = struct.pack(">I4sIII", 20, b"ispe", 0, 512, 512) + struct.pack(">I4sIII", 20, b"ispe", 0, 10000, 10000)
    return {
        "late.jpg": jpeg[:2] + 5 * preview + jpeg[2:],
        "huge.bmp": b"BM" + struct.pack("<IIIIiiHHIIIIII", 1000, 0, 54, 40, 10000, -10000, 1, 24, 0, 0, 0, 0, 0, 0),
        "huge.gif": b"GIF89a" + struct.pack("<HHBBB", 10000, 10000, 0, 0, 0) + bytes(40),
        "huge.avif": struct.pack(">I4s4sI4s", 20, b"ftyp", b"avif", 0, b"mif1") + ispe,
    }


def write_clip(path):
    """Half a second of the sample's frame, moving to the right."""
    frame = np.fromfile(SAMPLES / "hopper_frame_640x480.nv21", np.uint8)
    luma, chroma = frame[: 640 * 480].reshape(480, 640), frame[640 * 480 :].reshape(240, 320, 2)
    with open(path, "wb") as file:
        file.write(b"YUV4MPEG2 W640 H480 F30:1 Ip A1:1 C420jpeg\n")
        for shift in range(0, 30, 2):
            u, v = (np.roll(chroma[..., i], shift // 2, 1) for i in (1, 0))
            file.write(b"FRAME\n" + np.roll(luma, shift, 1).tobytes() + u.tobytes() + v.tobytes())


def inputs(folder):
    portrait = Image.open(SAMPLES / "hopper.jpg").convert("RGB")
    portrait.save(folder / "portrait.png")
    portrait.resize((3024, 4032), Image.BICUBIC).save(folder / "large.jpg", quality=90)
    for name in ("portrait_mask.png", "own_mask.png"):
        Image.open(SAMPLES / "hopper_mask_256x256.png").save(folder / name)
    (folder / "points.txt").write_bytes((SAMPLES / "hopper_landmarks106.txt").read_bytes())
    (folder / "few.txt").write_text("1,2\n3,4\n")
    (folder / "broken.jpg").write_bytes((SAMPLES / "hopper.jpg").read_bytes()[:900])
    (folder / "huge.png").write_bytes(png_of_size(10000, 10000))
    for name, content in huge_files().items():
        (folder / name).write_bytes(content)
    # A mask of the photograph's size, a photograph that lies on its side, one with alpha.
    full = morvik.smooth_mask(blue_first(folder / "portrait.png"), np.asarray(Image.open(folder / "portrait_mask.png")))
    Image.fromarray(full).save(folder / "full_mask.png")
    orientation = Image.Exif()
    orientation[0x112] = 6
    portrait.save(folder / "turned.jpg", exif=orientation)
    seen = np.dstack([np.asarray(portrait), np.full(portrait.size[::-1], 255, np.uint8)])
    seen[:, :250] = 0
    Image.fromarray(seen).save(folder / "seen.png")
    write_clip(folder / "clip.y4m")


def sticker(photo, mask, expand, color, snap, limit):
    color = [int(color[at : at + 2], 16) for at in (5, 3, 1)]
    result = morvik.sticker(blue_first(photo), np.asarray(Image.open(mask).convert("L")), expand=expand,
                            color=color, snap=snap, limit=limit)
    return hashlib.sha256(result[..., [2, 1, 0, 3]].tobytes()).hexdigest()


def outlines(photo, mask, mode, expand, smooth, snap, limit, centerX, centerY):
    full = morvik.smooth_mask(blue_first(photo), np.asarray(Image.open(mask).convert("L")), snap=snap, limit=limit)
    height, width = full.shape
    center = [int(centerX / 100 * (width - 1) + 0.5), int(centerY / 100 * (height - 1) + 0.5)]
    if not mode.endswith("-center"):
        center = None
    return [line.ravel().tolist() for line in morvik.outlines(full, mode, expand, smooth, center=center)]


def forehead(landmarks, width, height):
    points = np.array([line.split(",") for line in landmarks], np.float32)
    return morvik.forehead(points, (width, height)).ravel().tolist()


def result_of(python):
    """Runs lines that the page shows, beside the files they name: the pixels' digest, or outlines."""
    os.chdir(os.environ["FOLDER"])
    found = {}
    exec(python, found)
    if "outlines" in found:
        return [line.ravel().tolist() for line in found["outlines"]]
    pixels = found["sticker"][..., [2, 1, 0, 3]] if "sticker" in found else found["smooth"]
    return hashlib.sha256(pixels.tobytes()).hexdigest()


def compiler_says(cpp):
    """What the compiler has to say about lines that the page shows."""
    text = ("#include <algorithm>\n#include <morvik/morvik.hpp>\n"
            f"void lines(morvik::ConstView photo, morvik::ConstView mask) {{\n(void)photo, (void)mask;\n{cpp}\n}}\n")
    command = ["g++", "-std=c++17", "-fsyntax-only", "-Wall", "-Wextra", "-Wno-unused-variable", f"-I{ROOT}/include", "-xc++", "-"]
    return subprocess.run(command, input=text, capture_output=True, text=True).stderr


if sys.argv[1] == "inputs":
    inputs(Path(sys.argv[2]))
else:
    for line in sys.stdin:
        name, arguments = json.loads(line)
        print(json.dumps(globals()[name](**arguments)), flush=True)
