"""The package in a process: records, loading, threads, forks, other libraries, memory."""

import doctest
import importlib
import multiprocessing
import os
import re
import resource
import subprocess
import sys
import threading
from concurrent.futures import ThreadPoolExecutor

import numpy as np
import pytest
from conftest import ROOT

import morvik

HEADER = (ROOT / "include/morvik/morvik.h").read_text()
MASK = np.kron(np.eye(9, dtype=np.uint8), np.full((90, 90), 255, np.uint8))


@pytest.mark.parametrize("module", ["", ".images", ".masks", ".shapes", ".faces"])
def test_examples(module, monkeypatch, tmp_path):
    monkeypatch.chdir(ROOT)
    names = {"np": np, "path": tmp_path / "face.txt", **{name: getattr(morvik, name) for name in morvik.__all__}}
    result = doctest.testmod(importlib.import_module("morvik" + module), extraglobs=names)
    assert result.attempted > 0 and result.failed == 0
    public = [getattr(morvik, name) for name in morvik.__all__ if name not in ("raw", "Size", "Box")]
    assert all(">>>" in item.__doc__ for item in public)


def test_records_and_functions_are_those_of_the_header(tmp_path):
    """What a C compiler says about the header, beside what ctypes says."""
    lines = []
    for record in morvik.raw.RECORDS:
        name, fields = record.__name__, [field for field, _ in record._fields_]
        values = [f"sizeof({name})"] + [f"offsetof({name}, {field})" for field in fields]
        lines += [f'printf("%zu ", {value});' for value in values]
    constants = ("RGB24", "ARGB", "ABGR", "GRAY", "NV12", "NV21")
    lines += [f'printf("%u ", QX_FMT_{name});' for name in constants]
    lines += [f'printf("%u ", MK_OMODE_{name.upper().replace("-", "_")});' for name in morvik.shapes._MODES]
    lines += [f'printf("%u ", (unsigned)MKBlur_{name.title()});' for name in morvik.masks._FILTERS]
    lines += [f'printf("%u ", MVK_RESIZE_{name.upper()});' for name in morvik.images._METHODS]
    program = "#include <morvik/morvik.h>\n#include <stddef.h>\n#include <stdio.h>\nint main(void) {%s}" % "".join(lines)
    compiled = tmp_path / "layout"
    subprocess.run(["cc", "-xc", "-I", ROOT / "include", "-o", compiled, "-"], input=program.encode(), check=True)
    ours = sum(morvik.raw.layout().values(), []) + [getattr(morvik.raw, name) for name in constants]
    for names in (morvik.shapes._MODES, morvik.masks._FILTERS, morvik.images._METHODS):
        ours += names.values()
    assert list(map(int, subprocess.check_output([compiled]).split())) == ours
    declared = re.findall(r"\b(mvk_\w+|qxMorvik_version)\(", re.sub(r"/\*.*?\*/", "", HEADER, flags=re.S))
    assert set(declared) == set(morvik.raw._FUNCTIONS)


def python(code, **environment):
    """Runs a program in a process of its own; what it prints, or its error's last lines."""
    environment = {**os.environ, **environment}
    done = subprocess.run([sys.executable, "-c", code], env=environment, capture_output=True, text=True, timeout=120)
    return done.stdout.strip() if done.returncode == 0 else done.stderr


def test_a_missing_library_is_a_sentence():
    said = python("import morvik", MORVIK_LIBRARY="/nowhere/libmorvik.so")
    assert "libmorvik1" in said and "/nowhere/libmorvik.so: cannot open" in said
    for other in ("", "libc.so.6"):
        said = python("import morvik", MORVIK_LIBRARY=other)
        assert "ImportError: morvik: the library was not found" in said and f"  {other!r}: " in said
    assert "morvik 0 does not work" in python(
        "import morvik.raw as raw; raw.VERSION = '0'; raw._load()")
    assert "laid out in another way" in python(
        "import morvik.raw as raw, pathlib, tempfile\n"
        "file = pathlib.Path(tempfile.mkstemp()[1]); file.write_text('{}'); raw._check_layout(file)")


def work(_=None):
    blurred = morvik.blur(MASK, 25, filter="median")
    found = morvik.outlines(morvik.resize(blurred, (1000, 900), method="linear"), "polar", 20, 2)
    return sum(int(outline.sum()) for outline in found)


def test_threads_and_forks_agree():
    expected = work()
    with ThreadPoolExecutor(4) as pool:
        assert list(pool.map(work, range(8))) == [expected] * 8
    with multiprocessing.get_context("fork").Pool(2) as pool:  # the parent has used its threads
        assert pool.map_async(work, range(4)).get(120) == [expected] * 4


def test_calls_release_the_interpreter():
    rounds, over = [0], threading.Event()
    image = np.random.default_rng(1).integers(0, 255, (1200, 1200, 3), np.uint8)

    def run():
        morvik.blur(image, 31, filter="bilateral")
        over.set()

    worker = threading.Thread(target=run)
    worker.start()
    while not over.wait(0.001):
        rounds[0] += 1
    worker.join()
    assert rounds[0] > 20


@pytest.mark.parametrize("first, second", [("cv2", "morvik"), ("morvik", "cv2")])
def test_beside_opencv(first, second):
    pytest.importorskip("cv2")
    assert python(
        f"import {first}, {second}, numpy as np\n"
        "image = np.random.default_rng(2).integers(0, 255, (700, 900, 3), np.uint8)\n"
        "for _ in range(3):\n"
        "    assert (cv2.GaussianBlur(image, (9, 9), 0) == morvik.blur(image, 9)).all()\n"
        "    assert (cv2.resize(image, (300, 200), interpolation=cv2.INTER_AREA) == morvik.resize(image, (300, 200))).all()\n"
        "print('agree')") == "agree"


# In so many MB, beside 16 for each thread of the pool, a call has to work; in less it may say that memory
# is short. Whatever is left, it must not end the process.
ROOM = {
    "morvik.outlines(board, 'stroke', 0)": 200,
    "morvik.outlines(board, 'polar', 9, 1)": 200,
    "morvik.outlines(noise, 'fill-stroke', 0)": 900,
    "morvik.outlines(noise, 'stroke', 1, 5)": 900,
    "morvik.outlines(shape, 'fill-stroke', 12, 1)": 24,
    "morvik.fill_holes(shape)": 8,
    "morvik.fill_holes(dots)": 1300,
    "morvik.morph(noise, 8)": 12,
    "morvik.morph(shape, -200)": 12,
    "morvik.blur(photo, 25, filter='median')": 12,
    "morvik.blur(photo, 9)": 12,
    "morvik.blur(photo, 9, filter='bilateral')": 12,
    "morvik.resize(photo, (1700, 1700), method='cubic')": 12,
    "morvik.resize(photo, (500, 500))": 4,
    "morvik.smooth_mask(photo, noise[:500, :500].copy(), snap=True)": 32,
    "morvik.smooth_mask(photo, shape[::4, ::4].copy(), limit=1400)": 32,
    "morvik.sticker(photo, shape)": 150,
}


@pytest.mark.parametrize("call", ROOM)
def test_short_memory_ends_no_process(call):
    rooms = python(f"""
import os, resource, morvik, numpy as np
noise = np.random.default_rng(1).integers(0, 2, (1500, 1500), np.uint8) * 255
photo, shape, board = np.repeat(noise[:, :, None], 3, 2), np.zeros_like(noise), np.zeros((700, 725), np.uint8)
shape[200:1200, 300:900] = board[::2, ::2] = board[1::2, 1::2] = 255
if "dots" in {call!r}:  # in a hole so large that its contours are traced
    dots = np.zeros((3000, 3000), np.uint8)
    dots[::2, ::2] = dots[0] = dots[-1] = dots[:, 0] = dots[:, -1] = 255
used = int(next(line for line in open("/proc/self/status") if line.startswith("VmSize")).split()[1]) << 10
for room in [1, 2, 4, 8, 12, 16, 24, 32, 64, 100, 200, 400, {ROOM[call]} + 16 * os.cpu_count()]:
    process = os.fork()
    if not process:
        resource.setrlimit(resource.RLIMIT_AS, (used + (room << 20),) * 2)
        try:
            {call}
        except MemoryError:
            os._exit(3)
        os._exit(0)
    print(os.waitstatus_to_exitcode(os.waitpid(process, 0)[1]))
""").split()
    assert set(rooms) <= {"0", "3"} and rooms[-1] == "0", rooms


def test_nothing_leaks():
    photo = np.zeros((64, 64, 3), np.uint8)
    tiny = MASK[::10, ::10].copy()

    def calls(count):
        for _ in range(count):
            morvik.outlines(tiny, "polar", 3, 1)
            morvik.sticker(photo, tiny[:30, :30].copy(), expand=3)
            morvik.convert(morvik.convert(photo, "nv21"), "bgr")
            with pytest.raises(ValueError):
                morvik.morph(tiny, 0)
        return resource.getrusage(resource.RUSAGE_SELF).ru_maxrss

    before = calls(200)
    assert calls(2000) - before < 2000  # KiB: less than a byte in a thousand of what went through
