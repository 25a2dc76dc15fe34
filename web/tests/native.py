"""What the browser tests compare with, from the native library's Python package.

native.py inputs FOLDER     writes photographs, a mask, landmarks, a camera's clip
native.py results           reads calls as JSON lines, answers each with a line
"""

import hashlib
import json
import struct
import sys
import zlib
from pathlib import Path

import numpy as np
from PIL import Image

import morvik

SAMPLES = Path(__file__).resolve().parents[2] / "samples"


def blue_first(path):
    return np.ascontiguousarray(np.asarray(Image.open(path).convert("RGB"))[..., ::-1])


def png_of_size(width, height):
    """A file that claims a size and holds no pixels."""
    def chunk(kind, data):
        return struct.pack(">I", len(data)) + kind + data + struct.pack(">I", zlib.crc32(kind + data))
    head = struct.pack(">IIBBBBB", width, height, 8, 2, 0, 0, 0)
    return b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", head) + chunk(b"IDAT", zlib.compress(b"")) + chunk(b"IEND", b"")


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
    Image.open(SAMPLES / "hopper_mask_256x256.png").save(folder / "portrait_mask.png")
    (folder / "points.txt").write_bytes((SAMPLES / "hopper_landmarks106.txt").read_bytes())
    (folder / "few.txt").write_text("1,2\n3,4\n")
    (folder / "broken.jpg").write_bytes((SAMPLES / "hopper.jpg").read_bytes()[:900])
    (folder / "huge.png").write_bytes(png_of_size(10000, 10000))
    write_clip(folder / "clip.y4m")


def sticker(photo, mask, expand, color, snap, limit):
    color = [int(color[at : at + 2], 16) for at in (5, 3, 1)]
    result = morvik.sticker(blue_first(photo), np.asarray(Image.open(mask).convert("L")), expand=expand,
                            color=color, snap=snap, limit=limit)
    return hashlib.sha256(result[..., [2, 1, 0, 3]].tobytes()).hexdigest()


def outlines(photo, mask, mode, expand, smooth, snap, limit):
    full = morvik.smooth_mask(blue_first(photo), np.asarray(Image.open(mask).convert("L")), snap=snap, limit=limit)
    center = [round((side - 1) / 2) for side in full.shape[::-1]] if mode.endswith("-center") else None
    return [line.ravel().tolist() for line in morvik.outlines(full, mode, expand, smooth, center=center)]


def forehead(landmarks, width, height):
    points = np.array([line.split(",") for line in landmarks], np.float32)
    return morvik.forehead(points, (width, height)).ravel().tolist()


if sys.argv[1] == "inputs":
    inputs(Path(sys.argv[2]))
else:
    for line in sys.stdin:
        name, arguments = json.loads(line)
        print(json.dumps(globals()[name](**arguments)), flush=True)
