"""Results are those of the command-line tool on the same samples, however an array lies in memory."""

import json
import tracemalloc

import numpy as np
import pytest
from conftest import SAMPLES, read

import morvik

PHOTO = read(SAMPLES / "collins_tilted.jpg")
COARSE = read(SAMPLES / "collins_tilted_mask_256x256.png")
MASK = read(SAMPLES / "photographer_mask_256x256.png")
NV21 = (SAMPLES / "hopper_frame_640x480.nv21").read_bytes()
FRAME = morvik.Frame.from_bytes(NV21, (640, 480))
FACE = morvik.read_landmarks(SAMPLES / "collins_landmarks106.txt")
RAW = "hopper_frame_640x480.nv21 --raw nv21 --size 640x480"
CORNERS = [(10, 10), (90, -20), (50, 80), (20, 300)]

# Command, ending of its output, the same in Python.
SAME = [
    ("smooth-mask {photo} --snap --limit 400", lambda: morvik.smooth_mask(PHOTO, COARSE, snap=True, limit=400)),
    ("smooth-mask {photo} --limit 4000", lambda: morvik.smooth_mask(PHOTO, COARSE, limit=4000)),
    ("fill-holes {mask} --level 90", lambda: morvik.fill_holes(MASK, level=90)),
    ("morph {mask} --amount -7", lambda: morvik.morph(MASK, -7)),
    ("blur {mask} --filter median --kernel 9", lambda: morvik.blur(MASK, filter="median")),
    ("blur {one} --filter gaussian --kernel 7 --sigma-x 3", lambda: morvik.blur(PHOTO, 7, sigma=(3, 0))),
    ("blur {one} --filter bilateral --kernel 5", lambda: morvik.blur(PHOTO, 5, filter="bilateral")),
    ("resize {one} --to 333x77", lambda: morvik.resize(PHOTO, (333, 77))),
    ("resize {mask} --to 333x277 --method cubic", lambda: morvik.resize(MASK, (333, 277), method="cubic")),
    ("rotate {one} --angle 270", lambda: morvik.rotate(PHOTO, 270)),
    ("rotate {frame} --angle 90 --as nv21", lambda: morvik.rotate(FRAME, 90)),
    ("resize {frame} --to 62x40 --as nv21", lambda: morvik.resize(FRAME, (62, 40))),
    ("convert {frame}", lambda: morvik.convert(FRAME, "bgr")),
    ("convert {one} --format nv12 --as nv12", lambda: morvik.convert(PHOTO, "nv12")),
    ("fill-polygon --points '10,10 90,-20 50,80 20,300' --size 70x50",
     lambda: morvik.fill_polygon(CORNERS, (70, 50))),
    ("sticker {photo} --expand 9 --color #102030 --crop",
     lambda: morvik.sticker(PHOTO, COARSE, expand=9, color=(48, 32, 16), crop=True)),
    ("sticker {photo} --snap --limit 300 --expand 0 --hard-edge",
     lambda: morvik.sticker(PHOTO, COARSE, expand=0, snap=True, limit=300, hard_edge=True)),
    ("sticker {photo} --fit 128", lambda: morvik.sticker(PHOTO, COARSE, fit=128)),
    ("sticker {photo} --limit 4000", lambda: morvik.sticker(PHOTO, COARSE, limit=4000)),
]
NAMES = {
    "photo": "collins_tilted.jpg collins_tilted_mask_256x256.png",
    "one": "collins_tilted.jpg",
    "mask": "photographer_mask_256x256.png",
    "frame": RAW,
}


@pytest.mark.parametrize("command, call", SAME, ids=[command for command, _ in SAME])
def test_pictures(tool, tmp_path, command, call):
    words, _, ending = command.partition(" --as ")
    out = tmp_path / f"out.{ending or 'png'}"
    tool(words.format(**NAMES) + " -o {out}", out)
    result = call()
    if isinstance(result, morvik.Frame):
        assert out.read_bytes() == result.tobytes()
    else:
        np.testing.assert_array_equal(result, read(out))


@pytest.mark.parametrize("mode", morvik.shapes._MODES)
def test_outlines(tool, tmp_path, mode):
    found = morvik.outlines(MASK, mode, 20, 2, points="simple")
    text = tool(f"outline {NAMES['mask']} --mode {mode} --expand 20 --smooth 2 --points simple --json "
                "--svg {out}", tmp_path / "out.svg")
    assert [outline.tolist() for outline in found] == json.loads(text)["outlines"]
    assert morvik.outlines_to_svg(found, (256, 256)) == (tmp_path / "out.svg").read_text()
    frame = morvik.Frame(MASK, np.zeros((128, 128, 2), np.uint8))
    assert [o.tolist() for o in morvik.outlines(frame, mode, 20, 2, points="simple")] == json.loads(text)["outlines"]


def test_boxes_and_faces(tool, tmp_path):
    assert " ".join(map(str, morvik.bbox(MASK, level=200))) == tool(f"bbox {NAMES['mask']} --level 200", "").strip()
    assert morvik.bbox(np.zeros((5, 5), np.uint8)) is None
    text = tool("forehead collins_landmarks106.txt --image-size 512x512", "")
    assert [list(map(int, line.split(","))) for line in text.split()] == morvik.forehead(FACE, (512, 512)).tolist()
    tool("landmarks collins_landmarks106.txt -o {out}", tmp_path / "96.txt")
    morvik.write_landmarks(tmp_path / "ours.txt", morvik.to_internal_layout(FACE))
    assert (tmp_path / "96.txt").read_text() == (tmp_path / "ours.txt").read_text()
    morvik.write_landmarks(tmp_path / "three.txt", np.arange(12).reshape(4, 3), separator=" ")
    assert morvik.read_landmarks(tmp_path / "three.txt", separator=" ", dims=3)[3].tolist() == [9, 10, 11]


def test_mesh_points_are_where_the_table_says():
    mesh = np.stack([np.arange(468) % 23 / 23, np.arange(468) / 468, np.zeros(468)], axis=1)
    pixels = mesh[:, :2] * (460, 936) - 0.5
    face = morvik.landmarks_from_mesh(mesh, (460, 936))
    for point, of_mesh in {33: 70, 42: 300, 46: 4, 51: 327, 52: 33, 63: 381, 71: 283, 76: 374, 83: 294,
                           95: 91, 103: 178, 0: 127, 16: 152, 32: 356}.items():
        np.testing.assert_allclose(face[point], pixels[of_mesh], atol=1e-3)
    np.testing.assert_allclose(face[[74, 104]], [pixels[[33, 133, 159, 145]].mean(axis=0)] * 2, atol=1e-3)
    straight = np.zeros((468, 2))
    straight[[127, 234, 93, 132, 58, 172, 136, 150, 149, 176, 148, 152], 1] = np.linspace(0, 1, 12) ** 2
    np.testing.assert_allclose(np.diff(morvik.landmarks_from_mesh(straight, (32, 32))[:17, 1]), 2, atol=1e-4)


# Each input of each function as seven kinds of view with the same pixels.
CALLS = {
    "smooth_mask": lambda a, m: morvik.smooth_mask(a, m[:40, :30], limit=90),
    "fill_holes": lambda a, m: morvik.fill_holes(m),
    "morph": lambda a, m: morvik.morph(m, 5),
    "blur": lambda a, m: morvik.blur(a, 5),
    "bbox": lambda a, m: morvik.bbox(m),
    "outlines": lambda a, m: np.concatenate(morvik.outlines(m)),
    "convert": lambda a, m: morvik.convert(a, "gray"),
    "resize": lambda a, m: morvik.resize(a, (50, 60)),
    "rotate": lambda a, m: morvik.rotate(a, 90),
    "rotate gray": lambda a, m: morvik.rotate(m, 180),
    "sticker": lambda a, m: morvik.sticker(a, m, limit=90),
    "rle": lambda a, m: np.frombuffer(morvik.mask_to_coco_rle(m)["counts"].encode(), np.uint8),
    "frame": lambda a, m: morvik.convert(morvik.Frame(m[:32, :64], a[:16, :32, :2]), "bgr"),
}


def views(array):
    wide = np.full((array.shape[0] * 2, array.shape[1] * 2 + 3, *array.shape[2:]), 77, np.uint8)
    wide[: array.shape[0], : array.shape[1]] = array
    yield wide[: array.shape[0], : array.shape[1]]  # padded rows
    wide[::2, 1 : 2 * array.shape[1] : 2] = array
    yield wide[::2, 1 : 2 * array.shape[1] : 2]  # every second column and row
    yield np.asfortranarray(array)
    yield array[::-1].copy()[::-1]
    yield array[:, ::-1].copy()[:, ::-1]
    yield array[..., ::-1].copy()[..., ::-1]
    fixed = array.copy()
    fixed.flags.writeable = False
    yield fixed


@pytest.mark.parametrize("name", CALLS)
def test_views_are_never_misread(name):
    photo, mask = np.ascontiguousarray(PHOTO[200:310, 150:250]), np.ascontiguousarray(MASK[60:170, 60:160])
    expected = CALLS[name](photo, mask)
    for seen_photo, seen_mask in zip(views(photo), views(mask)):
        np.testing.assert_array_equal(CALLS[name](seen_photo, seen_mask), expected)


def test_common_case_copies_nothing():
    """numpy tells tracemalloc of every array: with `out`, a call makes none."""
    photo, mask = np.zeros((600, 800, 3), np.uint8), np.zeros((600, 800), np.uint8)
    out, turned, padded = mask.copy(), np.empty((800, 600, 3), np.uint8), photo[:, 100:500]
    frame, small = morvik.Frame.from_bytes(bytes(600 * 900), (800, 400), stride=900), np.empty((30, 40, 3), np.uint8)
    calls = [
        lambda: morvik.morph(mask, 3, out=out),
        lambda: morvik.fill_holes(mask, out=mask),
        lambda: morvik.smooth_mask(photo, mask[:100, :100].copy(), out=out),
        lambda: morvik.rotate(photo, 90, out=turned),
        lambda: morvik.resize(padded, (40, 30), out=small),
        lambda: morvik.convert(frame, "bgr", out=photo[:400]),
        lambda: morvik.bbox(mask[:, 3:]),
    ]
    for call in calls:
        tracemalloc.start()
        call()
        peak = tracemalloc.get_traced_memory()[1]
        tracemalloc.stop()
        assert peak < 30_000


# Masks by columns, as run lengths, and as text worked out by hand: five bits a character from the
# lowest, 32 for "more follows", 48 on top; from the fourth run on the difference to the run before the
# last. 1000 is 31 x 32 + 8, whose 31 would be negative without another character.
RUNS = [([0, 1000, 24], "0Xo0h0"), ([5, 7, 8, 2], "578K"), ([12], "<"), ([0, 12], "0<"), ([20, 3, 1], "d031")]


@pytest.mark.parametrize("runs, text", RUNS)
def test_run_lengths(runs, text):
    mask = np.repeat(np.array([0, 255] * 2, np.uint8)[: len(runs)], runs).reshape(2, -1, order="F")
    rle = morvik.mask_to_coco_rle(mask)
    assert rle["counts"] == text
    for counts in (text, text.encode(), runs, np.array(runs, np.uint32)):
        np.testing.assert_array_equal(morvik.coco_rle_to_mask({"size": mask.shape, "counts": counts}), mask)


def test_polygons_of_other_formats():
    corners = np.array(CORNERS, np.int32)
    np.testing.assert_array_equal(morvik.fill_polygon(corners[:, None], (70, 50)), morvik.fill_polygon(corners, (70, 50)))
    ring = morvik.fill_polygon([(5, 5), (60, 5), (60, 60), (5, 60)], (80, 80))
    ring[20:40, 20:40] = 0
    ring[26:32, 26:32] = 255
    found = morvik.outlines(ring, "stroke", 0)
    polygons = morvik.outlines_to_geojson(found)["coordinates"]
    assert [len(polygon) for polygon in polygons] == [2, 1]
    assert all(line[0] == line[-1] for polygon in polygons for line in polygon)
    crossing = [np.array([(x, y), (z, y), (z, w), (x, w)]) for x, y, z, w in
                [(0, 0, 10, 10), (8, 8, 18, 17), (12, 12, 14, 14)]]
    assert [len(polygon) for polygon in morvik.outlines_to_geojson(crossing)["coordinates"]] == [2, 1]
    corners = [np.array(polygon).reshape(-1, 2) - 0.5 for polygon in morvik.outlines_to_coco(found)]
    assert [c.tolist() for c in corners] == [outline.tolist() for outline in found]
    rle = morvik.mask_to_coco_rle(MASK)
    np.testing.assert_array_equal(morvik.coco_rle_to_mask(rle), np.where(MASK > 127, 255, 0))
