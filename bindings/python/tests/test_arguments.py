"""What is refused, and that nothing given to a function can do more than raise."""

import inspect
import os
import tempfile

import hypothesis.extra.numpy as hnp
import numpy as np
import pytest
from hypothesis import HealthCheck, given, settings
from hypothesis import strategies as st

import morvik

GRAY = np.full((20, 30), 9, np.uint8)
BGR = np.full((20, 30, 3), 9, np.uint8)
SMALL = np.full((5, 6), 255, np.uint8)
FRAME = morvik.Frame.empty((30, 20))
FACE = np.zeros((106, 2))
WIDE, PAIRS = np.full((20, 60), 9, np.uint8), np.zeros((10, 15, 2), np.uint8)

WRONG = [
    (lambda: morvik.morph([[1, 2]], 3), TypeError, "mask is a numpy array, not list"),
    (lambda: morvik.morph(GRAY.astype(np.int16), 3), TypeError, "mask has dtype int16, uint8"),
    (lambda: morvik.morph(GRAY.astype(np.float32), 3), TypeError, r"255 \* \(mask > 0.5\).astype"),
    (lambda: morvik.fill_holes(GRAY > 3), TypeError, "astype"),
    (lambda: morvik.morph(BGR, 3), ValueError, r"mask has shape \(20, 30, 3\), height x width is"),
    (lambda: morvik.blur(GRAY[:, :, None], 3), ValueError, "height x width or height x width x 3"),
    (lambda: morvik.bbox(GRAY[:0]), ValueError, "a side has 1 to"),
    (lambda: morvik.bbox(np.broadcast_to(GRAY[:1, :1], (1, 1 << 20))), ValueError, "a side has 1 to"),
    (lambda: morvik.bbox(np.broadcast_to(GRAY[:1, :1], (1 << 17, 1 << 17))), ValueError, "less than 2 GiB"),
    (lambda: morvik.smooth_mask(GRAY, SMALL), ValueError, "height x width x 3"),
    (lambda: morvik.smooth_mask(BGR, GRAY), ValueError, "smaller than the photograph"),
    (lambda: morvik.smooth_mask(np.zeros((600, 600, 3), np.uint8), np.zeros((521, 9), np.uint8)), ValueError, "520"),
    (lambda: morvik.smooth_mask(BGR, SMALL, limit=2), ValueError, "needs 3"),
    (lambda: morvik.smooth_mask(BGR, SMALL, limit=0), ValueError, "limit is 0; 1 to"),
    (lambda: morvik.smooth_mask(np.zeros((3, 500_000, 3), np.uint8), np.zeros((2, 2), np.uint8), limit=499_999),
     ValueError, "the work would take"),
    (lambda: morvik.fill_holes(GRAY, level=255), ValueError, "level is 255; 0 to 254"),
    (lambda: morvik.morph(GRAY, 0), ValueError, "changes nothing"),
    (lambda: morvik.morph(GRAY, 2.0), TypeError, "amount is a whole number"),
    (lambda: morvik.morph(GRAY, True), TypeError, "amount is a whole number"),
    (lambda: morvik.morph(GRAY, 201), ValueError, "-200 to 200"),
    (lambda: morvik.blur(GRAY, 4), ValueError, "odd"),
    (lambda: morvik.blur(GRAY, 201), ValueError, "1 to 199"),
    (lambda: morvik.blur(GRAY, filter="box"), ValueError, "one of mean, median"),
    (lambda: morvik.blur(GRAY, filter="mean", sigma=(1, 1)), ValueError, "a mean has no sigma"),
    (lambda: morvik.blur(GRAY, sigma=3), TypeError, "pair"),
    (lambda: morvik.fill_polygon([(1, 2, 3)], (9, 9)), ValueError, "N x 2"),
    (lambda: morvik.fill_polygon([(1, np.nan)], (9, 9)), ValueError, "no numbers"),
    (lambda: morvik.fill_polygon([(1, 2**40)], (9, 9)), ValueError, "beyond 32 bits"),
    (lambda: morvik.fill_polygon([("a", "b")], (9, 9)), TypeError, "numbers"),
    (lambda: morvik.fill_polygon([], (9,)), TypeError, r"\(width, height\)"),
    (lambda: morvik.bbox(GRAY, level=0), ValueError, "1 to 254"),
    (lambda: morvik.outlines(GRAY, "round"), ValueError, "one of stroke"),
    (lambda: morvik.outlines(GRAY, expand=501), ValueError, "0 to 500"),
    (lambda: morvik.outlines(GRAY, center=(1, 2)), ValueError, "no center"),
    (lambda: morvik.outlines(GRAY, "polar-center", center=()), ValueError, "center has no point"),
    (lambda: morvik.outlines(morvik.Frame.empty((4, 4), "nv12")), ValueError, "nv21"),
    (lambda: morvik.convert(BGR, "bgr"), ValueError, "no conversion from bgr to bgr"),
    (lambda: morvik.convert(BGR, "rgba"), ValueError, "no conversion from bgr to rgba"),
    (lambda: morvik.convert(BGR, "gray", format="rgba"), ValueError, "cannot be rgba"),
    (lambda: morvik.convert(FRAME, "gray", format="nv12"), ValueError, "is nv21, not nv12"),
    (lambda: morvik.resize(GRAY, (0, 5)), ValueError, "width of size is 0"),
    (lambda: morvik.resize(BGR, (1 << 15, 1 << 15)), ValueError, "2 GiB"),
    (lambda: morvik.resize(GRAY, (5, 5), method="best"), ValueError, "one of nearest"),
    (lambda: morvik.resize(FRAME, (5, 4)), ValueError, "odd"),
    (lambda: morvik.resize(morvik.Frame.empty((1, 4)), (2, 2)), ValueError, "no whole pair"),
    *[(lambda size=size: morvik.convert(np.zeros(size, np.uint8), "nv12"), ValueError, "no whole pair")
      for size in ((1, 9), (9, 1))],
    *[(lambda angle=angle: morvik.rotate(GRAY, angle), ValueError, f"angle is {angle}; 0, 90, 180 or 270")
      for angle in (45, -90, 360)],
    # Frames that hold a copy of the caller's plane, or planes that share memory.
    (lambda: morvik.convert(BGR, "nv21", out=morvik.Frame(WIDE[:, ::2], PAIRS)), ValueError, "strides"),
    (lambda: morvik.convert(BGR, "nv21", out=morvik.Frame(GRAY, WIDE.reshape(20, 30, 2)[:10, ::2])), ValueError, "strides"),
    (lambda: morvik.convert(BGR, "nv21", out=morvik.Frame(WIDE[:, :30], WIDE[:10, 20:50].reshape(10, 15, 2))),
     ValueError, "planes of out overlap"),
    (lambda: morvik.convert(BGR, "nv21", out=morvik.Frame(BGR[..., 0], PAIRS)), ValueError, "strides"),
    (lambda: morvik.convert(BGR[:3, :5], "nv21", out=morvik.Frame(
        GRAY[:3, :5].copy(), np.ndarray((2, 3, 2), np.uint8, bytearray(11), 0, (5, 2, 1)))), ValueError, "strides"),
    (lambda: morvik.Frame(GRAY, np.zeros((10, 30), np.uint8)), ValueError, r"shape \(10, 15, 2\)"),
    (lambda: morvik.Frame(GRAY, np.zeros((10, 15, 2), np.uint8), "bgr"), ValueError, "nv12, nv21"),
    (lambda: morvik.Frame.from_bytes(bytes(899), (30, 20)), ValueError, "has 900"),
    (lambda: morvik.Frame.from_bytes(bytes(9999), (31, 20), stride=31), ValueError, "stride is 31; 32"),
    (lambda: morvik.forehead(FACE[:95], (9, 9)), ValueError, "106 or 96"),
    (lambda: morvik.to_internal_layout(FACE + np.inf), ValueError, "no finite"),
    (lambda: morvik.landmarks_from_mesh(FACE, (9, 9)), ValueError, "468 x 2 or 3"),
    (lambda: morvik.landmarks_from_mesh(np.zeros((478, 3)), (9, 9)), ValueError, r"mesh\[:468\]"),
    (lambda: morvik.read_landmarks("/nowhere/at/all"), FileNotFoundError, "nowhere"),
    (lambda: morvik.read_landmarks("/dev/null"), OSError, "no regular file"),
    (lambda: morvik.write_landmarks("/dev/full", FACE), OSError, "no regular file"),
    (lambda: morvik.write_landmarks("/dev/null", FACE), OSError, "no regular file"),
    (lambda: morvik.read_landmarks("/"), IsADirectoryError, "directory"),
    (lambda: morvik.write_landmarks("/nowhere/at/all", FACE), FileNotFoundError, "nowhere"),
    (lambda: morvik.write_landmarks("/dev/full\0", FACE), ValueError, "zero byte"),
    (lambda: morvik.write_landmarks("x", FACE, separator="1"), ValueError, "separator"),
    (lambda: morvik.sticker(BGR, GRAY), ValueError, "no pixel of the mask is above 127"),
    (lambda: morvik.sticker(BGR, GRAY, color=(1, 2)), ValueError, "blue, green, red"),
    (lambda: morvik.sticker(BGR, GRAY, color="#fff"), ValueError, "blue, green, red.*#fff"),
    (lambda: morvik.outlines_to_svg(None, (3, 3)), TypeError, "a list of N x 2 arrays"),
    (lambda: morvik.outlines_to_svg([], (3, 3), color=5), TypeError, "a text such as"),
    *[(lambda rle=rle: morvik.coco_rle_to_mask(rle), ValueError, "run lengths are")
      for rle in (None, {"size": [2, 2]}, {"size": 5, "counts": [5]}, {"size": [2, 2, 1], "counts": [4]})],
    *[(lambda counts=counts: morvik.coco_rle_to_mask({"size": [2, 2], "counts": counts}), TypeError, "count")
      for counts in (None, 4, [4.0], ["4"], [True, 3])],
    (lambda: morvik.coco_rle_to_mask({"size": [2, 2], "counts": "5"}), ValueError, "do not make"),
    (lambda: morvik.coco_rle_to_mask({"size": [2, 2], "counts": "121P"}), ValueError, "inside a number"),
]


@pytest.mark.parametrize("call, error, words", WRONG, ids=range(len(WRONG)))
def test_wrong_arguments_raise_a_sentence(call, error, words):
    with pytest.raises(error, match=words):
        call()


OUT = {
    "smooth_mask": lambda image, out: morvik.smooth_mask(BGR, SMALL, out=out),
    "fill_holes": lambda image, out: morvik.fill_holes(image, out=out),
    "morph": lambda image, out: morvik.morph(image, 2, out=out),
    "blur": lambda image, out: morvik.blur(image, 3, out=out),
    "fill_polygon": lambda image, out: morvik.fill_polygon([(1, 1), (9, 9)], (30, 20), out=out),
    "resize": lambda image, out: morvik.resize(image, (30, 20), method="cubic", out=out),
    "rotate": lambda image, out: morvik.rotate(image, 180, out=out),
    "convert": lambda image, out: morvik.convert(BGR, "gray", out=out),
}


@pytest.mark.parametrize("name", OUT)
def test_out_is_written_in_place_or_refused(name):
    image = np.arange(600, dtype=np.uint8).reshape(20, 30)
    expected = OUT[name](image, None)
    out = np.zeros_like(image)
    assert OUT[name](image, out) is out and np.array_equal(out, expected)
    memory = np.full((41, 63), 7, np.uint8)
    fixed = np.full((20, 30), 7, np.uint8)
    fixed.flags.writeable = False
    for wrong in (memory[:20, :29], memory[:20, :60:2], memory[20:0:-1, :30], memory[:30, :20].T, fixed,
                  np.zeros((20, 30), np.int8), BGR, [1], morvik.Frame.empty((30, 20))):
        with pytest.raises((TypeError, ValueError)):
            OUT[name](image, wrong)
    assert (memory == 7).all()
    padded = memory[:20, :30]
    if name in ("resize", "convert"):
        assert OUT[name](image, padded) is padded and np.array_equal(padded, expected)
        assert (memory[20:] == 7).all() and (memory[:, 30:] == 7).all()
    else:
        with pytest.raises(ValueError, match="C-contiguous"):
            OUT[name](image, padded)
    if name in ("resize", "rotate", "fill_holes", "morph", "blur"):
        buffer = np.zeros(900, np.uint8)
        with pytest.raises(ValueError, match="overlaps"):
            OUT[name](buffer[:600].reshape(20, 30), buffer[30:630].reshape(20, 30))


@pytest.mark.parametrize("format", ["nv12", "nv21"])
@pytest.mark.parametrize("image", [GRAY, GRAY[:5, :7], BGR[:5, :7]], ids=["gray", "odd gray", "odd colours"])
def test_a_frame_is_written_and_nothing_beside_it(image, format):
    """Its rows are padded but for the last one, which ends its buffer."""
    height, width = image.shape[:2]
    rows, row = height + (height + 1) // 2, (width + 1) // 2 * 2
    expected, memory = morvik.convert(image, format), np.full((rows + 1, 40), 7, np.uint8)
    out = morvik.Frame.from_bytes(memory.reshape(-1)[: 40 * (rows - 1) + row], (width, height), format, stride=40)
    assert morvik.convert(image, format, out=out) is out and out.tobytes() == expected.tobytes()
    for of_frame in (memory[:height, :width], memory[height:rows, :row]):
        of_frame[:] = 7
    assert (memory == 7).all()


# Anything: arrays of odd types, shapes and strides, numbers from everywhere, things.
NUMBERS = st.one_of(st.integers(-3, 600), st.integers(), st.floats(), st.booleans(), st.none(), st.text(max_size=3),
                    st.sampled_from([2**31, 2**32, 2**64, -(2**31)]))


@st.composite
def any_array(draw):
    dtype = draw(st.sampled_from([np.uint8] * 8 + [np.int8, bool, float, np.int64, object, "U3"]))
    shape = draw(st.one_of(
        st.tuples(st.integers(0, 40), st.integers(0, 40)),
        st.tuples(st.integers(1, 40), st.integers(1, 40), st.sampled_from([1, 2, 3, 4])),
        hnp.array_shapes(min_dims=0, max_dims=4, min_side=0, max_side=9)))
    array = np.resize(np.array(draw(st.lists(st.integers(0, 255), min_size=1, max_size=9))), shape).astype(dtype)
    if array.ndim >= 2:
        step = draw(st.sampled_from([1, 1, 1, 2, -1]))
        array = array[:: draw(st.sampled_from([1, 1, 2, -1])), ::step]
        if draw(st.integers(0, 5)) == 0:
            array = np.broadcast_to(array[:1], array.shape)
        if draw(st.integers(0, 5)) == 0:
            array = array.T
    return array


@st.composite
def any_frame(draw):
    height, width = draw(st.integers(1, 12)), draw(st.integers(1, 12))
    pairs = np.zeros(((height + 1) // 2, (width + 1) // 2, 2), np.uint8)
    return morvik.Frame(np.zeros((height, width), np.uint8), pairs, draw(st.sampled_from(["nv12", "nv21"])))


RUN_LENGTHS = st.fixed_dictionaries({}, optional={  # of COCO
    "size": st.one_of(NUMBERS, st.tuples(st.integers(1, 9), st.integers(1, 9)), any_array()),
    "counts": st.one_of(NUMBERS, st.lists(NUMBERS, max_size=4), st.binary(max_size=9), any_array())})
THINGS = st.one_of(any_array(), any_array(), any_frame(), NUMBERS, RUN_LENGTHS, st.binary(max_size=99),
                   st.lists(st.tuples(NUMBERS, NUMBERS), max_size=4), st.tuples(NUMBERS, NUMBERS),
                   st.tuples(st.integers(1, 50), st.integers(1, 50)), st.sampled_from([os.devnull, "rgba", "gray", "nv12"]))
# Every function of the package, and what it takes beyond its first arguments.
FUNCTIONS = {
    item.__qualname__: (item, [p.name for p in inspect.signature(item).parameters.values() if p.default is not p.empty])
    for item in [getattr(morvik, name) for name in morvik.__all__] + [morvik.Frame.empty, morvik.Frame.from_bytes]
    if callable(item) and item not in (morvik.Box, morvik.Size)
}
NAMES = st.sampled_from(["median", "bilateral", "nearest", "cubic", "rgba", "simple", "polar-center", "vector", " ", ";"])


@settings(deadline=None, database=None, max_examples=int(os.environ.get("MORVIK_EXAMPLES", "600")),
          suppress_health_check=list(HealthCheck))
@given(st.data())
def test_nothing_crashes(data):
    function, names = FUNCTIONS[data.draw(st.sampled_from(sorted(FUNCTIONS)))]
    arguments = data.draw(st.lists(THINGS, min_size=1, max_size=3))
    options = data.draw(st.dictionaries(st.sampled_from(names or ["none"]), st.one_of(THINGS, NAMES), max_size=2))
    if function is morvik.write_landmarks:
        arguments[0] = os.path.join(tempfile.gettempdir(), "morvik-hostile.txt")
    try:
        function(*arguments, **options)
    except (TypeError, ValueError, OverflowError, MemoryError):
        pass
    except OSError:
        assert function is morvik.read_landmarks


def test_every_function_is_driven():
    assert len(FUNCTIONS) == len(morvik.__all__) - 3 + 2  # without Box, Size and raw
    assert "fit" in FUNCTIONS["sticker"][1] and FUNCTIONS["version"][1] == []
