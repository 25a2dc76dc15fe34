"""Sample pictures, and the command-line tool as a second user of the same library."""

import os
import shlex
import subprocess
from pathlib import Path

import numpy as np
import pytest
from PIL import Image

ROOT = Path(__file__).resolve().parents[3]
SAMPLES = ROOT / "samples"


def read(path):
    """A picture file as BGR, BGRA or gray."""
    pixels = np.asarray(Image.open(path))
    order = {2: None, 3: [2, 1, 0], 4: [2, 1, 0, 3]}[pixels.shape[2] if pixels.ndim == 3 else 2]
    return pixels if order is None else np.ascontiguousarray(pixels[..., order])


@pytest.fixture(scope="session")
def tool():
    """Runs a command of the tool on the samples; `{out}` in it is a file, whose path it returns."""
    program = os.environ.get("MORVIK_TOOL", str(ROOT / "build/release/tools/morvik"))

    def run(command, out):
        words = shlex.split(command.format(out=out))
        done = subprocess.run([program, *words], cwd=SAMPLES, capture_output=True, text=True, check=True)
        return done.stdout

    run.program = program
    return run
