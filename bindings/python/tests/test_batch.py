"""Runs over folders: the files of the command-line tool's folder mode, with workers that die."""

import json
import os
import shutil
import signal
import subprocess
import sys

import numpy as np
import pytest
from conftest import ROOT, SAMPLES, read

from morvik.batch import engine, job

PICTURES = ROOT / "tests/tools/pictures"


def batch(*words):
    command = [sys.executable, "-m", "morvik.batch", *map(str, words)]
    return subprocess.run(command, capture_output=True, text=True, timeout=300)


@pytest.fixture
def folders(tmp_path):
    """Photographs as they come: turned by EXIF, with alpha, damaged, without a partner."""
    photos, masks = tmp_path / "photos", tmp_path / "masks"
    photos.mkdir()
    masks.mkdir()
    for path in [*PICTURES.glob("turned_*.jpg"), *PICTURES.glob("turned_*.webp"), PICTURES / "cut.png"]:
        shutil.copy(path, photos / f"{path.stem}_{path.suffix[1:]}{path.suffix}")
        shutil.copy(SAMPLES / "hopper_mask_256x256.png", masks / f"{path.stem}_{path.suffix[1:]}.png")
    shutil.copy(SAMPLES / "collins.jpg", photos)
    shutil.copy(SAMPLES / "collins_mask_256x256.png", masks / "collins.png")
    return tmp_path


@pytest.mark.parametrize("command", ["sticker --photos photos --masks masks --expand 3 --crop",
                                     "morph --masks masks --amount -5 --as webp --quality 100",
                                     "convert --photos photos", "rotate --photos photos --angle 270"])
def test_files_are_those_of_the_tool(tool, folders, command, monkeypatch):
    monkeypatch.chdir(folders)
    words = command.split()
    of_tool = [word for word in words if word not in ("--photos", "--masks") or words[0] == "sticker"]
    subprocess.run([tool.program, *of_tool, "-o", "tool"], check=True, capture_output=True)
    done = batch(*words, "-o", "batch", "-j", 2)
    assert (done.returncode, done.stderr) == (0, ""), done.stderr
    names = sorted(os.listdir("tool"))
    assert len(names) > 10 and names == sorted(os.listdir("batch"))
    for name in names:
        np.testing.assert_array_equal(read(f"batch/{name}"), read(f"tool/{name}"), err_msg=name)


def test_failures_are_listed_and_a_second_run_does_nothing(folders, monkeypatch):
    monkeypatch.chdir(folders)
    (folders / "photos/broken.jpg").write_bytes((SAMPLES / "collins.jpg").read_bytes()[:500])
    shutil.copy(SAMPLES / "hopper.jpg", folders / "photos/alone.jpg")
    run = ["smooth-mask", "--photos", "photos", "--masks", "masks", "-o", "out", "-j", 2, "--failures", "failed.txt"]
    photos = len(os.listdir("photos"))
    done = batch(*run, "--limit", 128, "--manifest", "all.jsonl")
    assert done.returncode == 1 and f"{photos - 2} done, 0 skipped, 2 failed" in done.stdout
    failed = sorted((folders / "failed.txt").read_text().splitlines())
    assert failed[0].startswith("alone.jpg: there is no ") and failed[1].startswith("broken.jpg: ")
    records = [json.loads(line) for line in (folders / "all.jsonl").read_text().splitlines()]
    assert sorted(record["name"] for record in records) == sorted(os.listdir("photos"))
    written = {name: os.stat(f"out/{name}").st_mtime_ns for name in os.listdir("out")}
    assert len(written) == photos - 2
    done = batch(*run, "--skip-existing")
    assert f"0 done, {photos - 2} skipped, 2 failed" in done.stdout
    assert written == {name: os.stat(f"out/{name}").st_mtime_ns for name in os.listdir("out")}


@pytest.mark.parametrize("words, sentence", [
    (["morph", "--masks", "s3://bucket/*.png", "--amount", "1"], "s3:// needs a Python package"),
    (["morph", "--masks", "nowhere", "--amount", "1"], "nowhere is no folder"),
    (["rotate", "--photos", str(ROOT / "cmake"), "--angle", "90"], "holds no files to work on"),
])
def test_what_cannot_be_done_is_a_sentence(tmp_path, words, sentence):
    done = batch(*words, "-o", tmp_path / "out")
    assert done.returncode == 2 and sentence in done.stderr and "Traceback" not in done.stderr


def test_a_missing_package_is_a_sentence(tmp_path, monkeypatch):
    (tmp_path / "fsspec.py").write_text("raise ImportError('not here')")
    monkeypatch.setenv("PYTHONPATH", f"{tmp_path}{os.pathsep}{os.environ.get('PYTHONPATH', '')}")
    done = batch("--help")
    assert done.returncode == 1 and "python3-fsspec" in done.stderr and "Traceback" not in done.stderr


def test_a_killed_worker_loses_nothing(tmp_path):
    """And the files are those of a plain loop."""
    masks = tmp_path / "masks"
    masks.mkdir()
    names = [f"{i}.png" for i in range(150)]
    for name in names:
        os.link(shutil.copy(SAMPLES / "photographer_mask_256x256.png", tmp_path), masks / name)
    folders = {"masks": str(masks)}
    options = {"amount": 9}
    alone = job.Job("morph", folders, str(tmp_path / "alone"), "png", options)
    cluster = job.Job("morph", folders, str(tmp_path / "cluster"), "png", options)
    for folder in (alone.out, cluster.out):
        os.mkdir(folder)
    records = []
    with engine.cluster(None, 2) as client:
        for record in engine.run(client, job.process, cluster, names):
            records.append(record)
            if len(records) in (20, 60):
                victim = next(iter(client.run(os.getpid).values()))
                os.kill(victim, signal.SIGKILL)
    assert sorted(record["name"] for record in records) == sorted(names)
    assert {record["status"] for record in records} == {"done"}
    assert job.process(alone, names[0])["status"] == "done"
    expected = (tmp_path / "alone" / names[0]).read_bytes()
    assert all((tmp_path / "cluster" / name).read_bytes() == expected for name in names)
