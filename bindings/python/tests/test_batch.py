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
from PIL import Image, ImageCms
from PIL.PngImagePlugin import PngInfo

from morvik.batch import engine, job

PICTURES = ROOT / "tests/tools/pictures"


def batch(*words):
    command = [sys.executable, "-m", "morvik.batch", *map(str, words)]
    return subprocess.run(command, capture_output=True, text=True, timeout=300)


def save_with_colors(photos):
    """Files that say something about their colours: profiles of colours and of gray, a gamma, 16 bits, one alpha for all."""
    icc = ImageCms.ImageCmsProfile(ImageCms.createProfile("sRGB")).tobytes()
    gray = icc[:16] + b"GRAY" + icc[20:]
    gamma = PngInfo()
    gamma.add(b"gAMA", (45455).to_bytes(4, "big"))
    photo = Image.open(SAMPLES / "collins.jpg").resize((128, 96))
    seen = photo.copy()
    seen.putalpha(Image.fromarray(np.tile(np.arange(128, dtype=np.uint8), (96, 1))))
    veil = photo.copy()
    veil.putalpha(128)
    veil.save(photos / "veil.png")
    photo.save(photos / "profile_jpg.jpg", icc_profile=icc)
    photo.save(photos / "profile_webp.webp", icc_profile=icc)
    seen.save(photos / "profile_png.png", icc_profile=icc)
    photo.convert("L").save(photos / "profile_gray.png", icc_profile=gray)
    photo.save(photos / "misfit.png", icc_profile=gray)
    photo.save(photos / "gamma.png", pnginfo=gamma)
    Image.fromarray((np.arange(128 * 96, dtype=np.uint16) * 5).reshape(96, 128)).save(photos / "wide.png")


@pytest.fixture
def folders(tmp_path):
    """Photographs as they come: turned by EXIF, with alpha, with profiles, damaged, without a partner."""
    photos, masks = tmp_path / "photos", tmp_path / "masks"
    photos.mkdir()
    masks.mkdir()
    for path in [*PICTURES.glob("turned_*.jpg"), *PICTURES.glob("turned_*.webp"), PICTURES / "cut.png"]:
        shutil.copy(path, photos / f"{path.stem}_{path.suffix[1:]}{path.suffix}")
    save_with_colors(photos)
    for path in photos.iterdir():
        shutil.copy(SAMPLES / "hopper_mask_256x256.png", masks / f"{path.stem}.png")
    shutil.copy(SAMPLES / "collins.jpg", photos)
    shutil.copy(SAMPLES / "collins_mask_256x256.png", masks / "collins.png")
    return tmp_path


def said_of_colors(path):
    info = Image.open(path).info
    return {name: info[name] for name in ("icc_profile", "gamma", "exif") if name in info}


@pytest.mark.parametrize("command", [
    "sticker --photos photos --masks masks --expand 3 --crop",
    "smooth-mask --photos photos --masks masks --limit 128",
    "morph --masks masks --amount -5 --as webp",
    "convert --photos photos",
    "convert --photos photos --format nv21 --as jpg --quality 80",
    "rotate --photos photos --angle 270 --as webp",
    "resize --photos photos --to 50x40",
    "blur --photos photos --filter bilateral --kernel 5 --sigma-color 20",
    "outline --masks masks --mode polar-center --center 10,20 --points simple",
])
def test_files_are_those_of_the_tool(tool, folders, command, monkeypatch):
    monkeypatch.chdir(folders)
    words = command.split()
    pairs = words[0] in ("sticker", "smooth-mask")
    of_tool = [word for word in words if pairs or word not in ("--photos", "--masks")]
    subprocess.run([tool.program, *of_tool, "-o", "tool"], check=True, capture_output=True)
    done = batch(*words, "-o", "batch", "-j", 2)
    assert (done.returncode, done.stderr) == (0, ""), done.stderr
    names = sorted(os.listdir("tool"))
    assert len(names) > 10 and names == sorted(os.listdir("batch"))
    for name in names:
        if name.endswith(".json"):
            assert (folders / "batch" / name).read_text() == (folders / "tool" / name).read_text()
            continue
        np.testing.assert_array_equal(read(f"batch/{name}"), read(f"tool/{name}"), err_msg=name)
        assert said_of_colors(f"batch/{name}") == said_of_colors(f"tool/{name}"), name


@pytest.mark.parametrize("ending, shares", [("txt", ""), ("json", "--normalised")])
def test_foreheads_are_those_of_the_tool(tool, tmp_path, ending, shares, monkeypatch):
    monkeypatch.chdir(tmp_path)
    os.mkdir("faces")
    size = [512, 600] if shares else [1, 1]
    for name in ("hopper", "collins"):
        points = np.loadtxt(SAMPLES / f"{name}_landmarks106.txt", delimiter=",")
        np.savetxt(f"faces/{name}.txt", points / size, "%.6g", ",")
    run = [*f"--image-size 512x600 --as {ending}".split(), *shares.split()]
    subprocess.run([tool.program, "forehead", "faces", *run, "-o", "tool"], check=True, capture_output=True)
    (tmp_path / "faces/text.txt").write_text("12,x\n")
    done = batch("forehead", "--landmarks", "faces/*.txt", *run, "-o", "batch", "-j", 1)
    assert "line 1 is not a point" in done.stderr and done.returncode == 1
    for name in ("hopper", "collins"):
        assert (tmp_path / f"batch/{name}.{ending}").read_text() == (tmp_path / f"tool/{name}.{ending}").read_text()


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
