"""Makes the pictures of docs/python.md by running its recipes on samples/, from the folder above."""

import json
import re
from pathlib import Path

import numpy as np
from PIL import Image, ImageDraw

import morvik

TO = Path("docs/pictures")
HEIGHT = 260


def checkerboard(size):
    rows, columns = np.indices(size[::-1]) // 12
    return Image.fromarray(np.where((rows + columns) % 2, 150, 180).astype(np.uint8)).convert("RGB")


def picture(array):
    """An array as Pillow's picture, transparency over squares."""
    if array.ndim == 2:
        return Image.fromarray(array).convert("RGB")
    shown = Image.fromarray(np.ascontiguousarray(array[..., [2, 1, 0, 3][: array.shape[2]]]))
    if shown.mode == "RGBA":
        ground = checkerboard(shown.size)
        ground.paste(shown, mask=shown)
        return ground
    return shown


def strip(name, *shown):
    scaled = [part.resize((round(part.width * HEIGHT / part.height), HEIGHT)) for part in shown]
    whole = Image.new("RGB", (sum(part.width for part in scaled) + 8 * (len(scaled) - 1), HEIGHT), "white")
    left = 0
    for part in scaled:
        whole.paste(part, (left, 0))
        left += part.width + 8
    whole.save(TO / f"python_{name}.jpg", quality=88)


def over(photo, lines, colors, close=True):
    shown = picture(photo)
    draw = ImageDraw.Draw(shown)
    for line, color in zip(lines, colors):
        points = [tuple(point) for point in np.asarray(line).tolist()]
        draw.line(points + points[: 1 if close else 0], fill=color, width=3)
    return shown


recipes = re.findall(r"<!-- recipe (\w+) -->\n```python\n(.*?)```", Path("docs/python.md").read_text(), re.S)
seen = {}
for name, code in recipes:
    exec(code, seen)
coarse = seen["mask"].astype(np.uint8)
strip("mask", picture(seen["photo"]), picture(coarse).resize(picture(seen["photo"]).size, Image.NEAREST),
      picture(seen["smooth"]))
strip("sticker", picture(seen["sticker"]), picture(seen["small"]))
size = seen["smooth"].shape[::-1]
blank = np.full((*size[::-1], 3), 255, np.uint8)
strip("outlines", over(seen["photo"], seen["outlines"], ["#ffd60a"] * 9),
      over(blank, [np.reshape(part, (-1, 2)) for part in seen["coco"]["segmentation"]], ["#e11d48"] * 9))
strip("forehead", over(seen["portrait"], [seen["face"][:33], seen["band"]], ["#38bdf8", "#ffd60a"], close=False)
      .crop((140, 0, 320, 200)), picture(seen["face_mask"]).crop((140, 0, 320, 200)))
strip("camera", picture(morvik.convert(seen["frame"], "bgr")), picture(seen["turned"]), picture(seen["network"]))
print(json.dumps({name: len(code) for name, code in recipes}))
