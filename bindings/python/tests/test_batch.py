"""Runs over folders: the files of the command-line tool's folder mode, with workers that die."""

import io
import json
import os
import shutil
import signal
import subprocess
import sys

import fsspec
import numpy as np
import pytest
from conftest import ROOT, SAMPLES, read
from PIL import Image, ImageCms
from PIL.PngImagePlugin import PngInfo

from morvik.batch import __main__, engine, files, job, pictures

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
    os.rename(photos / "gamma.png", photos / "gamma[1].png")
    os.rename(masks / "gamma.png", masks / "gamma[1].png")
    Image.open(masks / "wide.png").save(masks / "wide.jpg")
    os.remove(masks / "wide.png")
    for folder in (photos, masks):
        (folder / "._veil.png").write_bytes(b"what another system leaves beside a file")
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
    done = batch(*words, "-o", "batch[8]", "-j", 2)
    assert (done.returncode, done.stderr) == (0, ""), done.stderr
    names = sorted(os.listdir("tool"))
    assert len(names) > 10 and names == sorted(os.listdir("batch[8]"))
    for name in names:
        if name.endswith(".json"):
            assert (folders / "batch[8]" / name).read_text() == (folders / "tool" / name).read_text()
            continue
        np.testing.assert_array_equal(read(f"batch[8]/{name}"), read(f"tool/{name}"), err_msg=name)
        assert said_of_colors(f"batch[8]/{name}") == said_of_colors(f"tool/{name}"), name


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
    done = batch("forehead", "--landmarks", "faces", *run, "-o", "batch", "-j", 1)
    assert "line 1 is not a point" in done.stderr and done.returncode == 1
    for name in ("hopper", "collins"):
        assert (tmp_path / f"batch/{name}.{ending}").read_text() == (tmp_path / f"tool/{name}.{ending}").read_text()


def test_names_that_are_no_utf8(folders, monkeypatch):
    monkeypatch.chdir(folders)
    os.mkdir("latin")
    name = os.fsencode("latin/gr") + b"\xfc\xdf"
    shutil.copy(SAMPLES / "hopper_mask_256x256.png", name + b".png")
    shutil.copy(folders / "photos/._veil.png", name + b"e.png")
    run = "morph --masks latin -o out --amount 3 -j 1 --failures failed.txt --manifest all.jsonl".split()
    for words in ([], ["--skip-existing"], ["--skip-existing"]):
        done = batch(*run, *words)
        assert done.returncode == 1 and "Traceback" not in done.stderr, done.stderr
        failed = (folders / "failed.txt").read_bytes()
        assert failed.startswith(b"gr\xfc\xdfe.png\t") and failed.count(b"\n") == 1
    assert os.path.exists(b"out/gr\xfc\xdf.png")
    assert len((folders / "all.jsonl").read_text().splitlines()) == 4  # the failure is tried three times


def test_a_second_run_goes_on(folders, monkeypatch):
    """Failures are listed; what is there stays; records and failures of the first run are kept until there are others."""
    monkeypatch.chdir(folders)
    shutil.copy(SAMPLES / "hopper.jpg", "photos/alone.jpg")
    (folders / "photos/broken.jpg").write_bytes((SAMPLES / "collins.jpg").read_bytes()[:500])
    shutil.copy("masks/collins.png", "masks/broken.png")
    os.mkdir("out")
    for part in ("theirs", "old"):
        (folders / f"out/.morvik-part-{part}").touch()
    os.mkdir("out/.morvik-part-stuck")  # removing it fails, as another user's does
    for part in ("old", "stuck"):
        os.utime(f"out/.morvik-part-{part}", (1, 1))
    run = ["smooth-mask", "--photos", "photos", "--masks", "masks", "-o", "out", "-j", 2, "--limit", 128,
           "--failures", "failed.txt", "--manifest", "all.jsonl"]
    photos = {name for name in os.listdir("photos") if not name.startswith(".")}
    done = batch(*run)
    assert done.returncode == 1 and f"{len(photos) - 2} done, 0 skipped, 2 failed" in done.stdout
    alone, broken = sorted((folders / "failed.txt").read_text().splitlines())
    assert alone.startswith("alone.jpg\tthere is no ") and broken.startswith("broken.jpg\t")
    assert sorted(name for name in os.listdir("out") if name.startswith(".")) == [
        ".morvik-part-stuck", ".morvik-part-theirs"]
    first = (folders / "all.jsonl").read_text()
    assert sorted(json.loads(line)["name"] for line in first.splitlines()) == sorted(photos)

    unknown = next(line for line in first.splitlines(True) if '"collins.jpg"' in line)
    kept = first.replace(unknown, "") + '{"na'  # the run was killed here
    (folders / "all.jsonl").write_text(kept)
    (folders / "failed.txt").write_text(f"elsewhere.jpg\tlost\n{alone}\n{broken}\n")
    shutil.copy(SAMPLES / "collins.jpg", "photos/broken.jpg")
    written = {name: os.stat(f"out/{name}").st_mtime_ns for name in os.listdir("out")}
    done = batch(*run, "--skip-existing")
    assert f"1 done, {len(photos) - 2} skipped, 1 failed" in done.stdout
    assert written.items() <= {name: os.stat(f"out/{name}").st_mtime_ns for name in os.listdir("out")}.items()
    assert sorted((folders / "failed.txt").read_text().splitlines()) == [alone, "elsewhere.jpg\tlost"]
    manifest = (folders / "all.jsonl").read_text()
    added = [json.loads(line) for line in manifest[len(kept):].splitlines() if line]
    assert manifest.startswith(kept) and {record["name"]: record["status"] for record in added} == {
        "alone.jpg": "failed", "broken.jpg": "done", "collins.jpg": "skipped"}


@pytest.mark.parametrize("out", ["out", "memory://out"])
def test_a_file_is_written_beside_and_moved(tmp_path, monkeypatch, out):
    """What is at its place is never written to, which a second name of it shows."""
    monkeypatch.chdir(tmp_path)
    for folder in ("masks", "out"):
        os.mkdir(folder)
    shutil.copy(SAMPLES / "hopper_mask_256x256.png", "masks/a.png")
    (tmp_path / "out/a.png").write_bytes(b"before")
    os.link("out/a.png", "second")
    record = job.process(job.Job("morph", {"masks": "masks"}, out, "png", {"amount": 3}, run="1"), "a.png")
    assert record["status"] == "done" and (tmp_path / "second").read_bytes() == b"before"
    fs, path = fsspec.core.url_to_fs(out)
    assert [name.rpartition("/")[2] for name in fs.ls(path, detail=False)] == ["a.png"]
    assert fs.cat_file(f"{path}/a.png").startswith(b"\x89PNG")


@pytest.mark.parametrize("words, sentence", [
    ("morph --masks s3://bucket/*.png --amount 1", "s3:// needs a Python package"),
    ("morph --masks nowhere --amount 1", "nowhere is no folder"),
    ("rotate --photos empty --angle 90", "holds no files to work on"),
    ("rotate --photos {0} --angle 90 -o {0}", "inputs are never overwritten"),
    ("morph --masks link/*.png --amount 9 -o {0}", "inputs are never overwritten"),
    ("smooth-mask --photos twins/*.jpg --masks {0}/*.png -o link", "c.png is an input"),
    ("convert --photos twins", "c.jpeg and c.jpg would both become c.png"),
    ("smooth-mask --photos {0} --masks twins", "c.jpeg and c.jpg differ in their endings only"),
    ("smooth-mask --photos {0} --masks twins/?.png", "has one '*'"),
    ("convert --photos {0} --scheduler nonsense", "there is no scheduler at nonsense"),
    ("convert --photos {0} --scheduler host:port", "there is no scheduler at host:port"),
    ("convert --photos {0} --quality 0", "0 is not accepted; 1 to 100"),
    ("sticker --photos {0} --masks {0} --color red", "'red' is not a colour"),
    ("resize --photos {0} --to 5", "'5' is not a size"),
    ("resize --photos {0} --to 0x0", "the size 0x0 is not accepted"),
    ("blur --photos {0} --kernel 4", "4 is not accepted; 1 to 199, an odd number"),
    ("morph --masks {0} --amount 0", "0 is not accepted; -200 to 200 without 0"),
    ("outline --masks {0} --mode vector-center --center 1", "'1' is not a point"),
    ("outline --masks {0} --center 1,2", "the mode fill-stroke has no --center"),
])
def test_what_cannot_be_done_is_a_sentence(tmp_path, monkeypatch, capsys, words, sentence):
    monkeypatch.chdir(tmp_path)
    for name in ("pictures/c.png", "twins/c.jpg", "twins/c.jpeg", "empty/c.text"):
        (tmp_path / name).parent.mkdir(exist_ok=True)
        (tmp_path / name).write_bytes(b"as it is")
    os.symlink("pictures", "link")
    given = words.format("pictures").split()
    monkeypatch.setattr(sys, "argv", ["batch", *given, *([] if "-o" in given else ["-o", "out"])])
    with pytest.raises(SystemExit) as end:
        sys.exit(__main__.main())
    assert end.value.code == 2 and sentence in capsys.readouterr().err
    assert (tmp_path / "pictures/c.png").read_bytes() == b"as it is"


def test_floating_point_pictures_are_refused():
    file = io.BytesIO()
    Image.fromarray(np.full((4, 4), 0.5, np.float32)).save(file, "TIFF")
    with pytest.raises(ValueError, match="floating-point"):
        pictures.decode(file.getvalue())


@pytest.mark.parametrize("pattern, folder", [
    ("/*.jpg", "/"), ("/", "/"), ("*.jpg", "."), ("/a/?.png", "/a"), ("/a/", "/a"), ("s3://a/*", "s3://a")])
def test_folders_of_patterns(pattern, folder):
    assert job._folder(pattern) == folder


def test_a_scheduler_without_workers(monkeypatch, capsys):
    """Says so and gives up; workers that come late are waited for."""
    for name, seconds in (("_LOOK", 0.1), ("_TELL", 0.5), ("_PATIENCE", 1.0)):
        monkeypatch.setattr(engine, name, seconds)
    with engine.LocalCluster(n_workers=0, dashboard_address=None) as local, engine.Client(local) as client:
        with pytest.raises(engine.Unreachable, match="no workers for 1 s"):
            list(engine.run(client, dict, (), ["a"]))
        assert capsys.readouterr().err.count("the scheduler has no workers; start some") == 1
        monkeypatch.setattr(engine, "_PATIENCE", 100)
        local.scale(1)
        records = list(engine.run(client, lambda _, name: {"name": name, "status": "done"}, None, "abcdefghijkl"))
        [broken] = engine.run(client, lambda _, name: {}[name], None, ["a"])
        assert (broken["status"], broken["error"]) == ("failed", "KeyError: 'a'")
    assert sorted(record["name"] for record in records) == list("abcdefghijkl")


def test_a_missing_package_is_a_sentence(tmp_path, monkeypatch):
    (tmp_path / "fsspec.py").write_text("raise ImportError('not here')")
    monkeypatch.setenv("PYTHONPATH", f"{tmp_path}{os.pathsep}{os.environ.get('PYTHONPATH', '')}")
    done = batch("--help")
    assert done.returncode == 1 and "python3-fsspec" in done.stderr and "Traceback" not in done.stderr


def test_a_killed_worker_loses_nothing(tmp_path, monkeypatch):
    """And the files are those of a plain loop. Quick ones share tasks."""
    masks = tmp_path / "masks"
    masks.mkdir()
    names = [f"{i}.png" for i in range(400)]
    for name in names:
        os.link(shutil.copy(SAMPLES / "photographer_mask_256x256.png", tmp_path), masks / name)
    folders = {"masks": str(masks)}
    options = {"amount": 9}
    alone = job.Job("morph", folders, str(tmp_path / "alone"), "png", options)
    cluster = job.Job("morph", folders, str(tmp_path / "cluster"), "png", options, run="own")
    for folder in (alone.out, cluster.out):
        os.mkdir(folder)
    (tmp_path / "cluster/.morvik-part-own-1").touch()
    records = []
    with engine.cluster(None, 2) as client:
        submit, tasks = client.submit, []
        monkeypatch.setattr(client, "submit", lambda *given, **more: tasks.append(submit(*given, **more)) or tasks[-1])
        for record in engine.run(client, job.process, cluster, names):
            records.append(record)
            if len(records) in (50, 150):
                victim = next(iter(client.run(os.getpid).values()))
                os.kill(victim, signal.SIGKILL)
    assert sorted(record["name"] for record in records) == sorted(names) and len(tasks) < len(names) // 2
    assert {record["status"] for record in records} == {"done"}
    assert job.process(alone, names[0])["status"] == "done"
    expected = (tmp_path / "alone" / names[0]).read_bytes()
    assert all((tmp_path / "cluster" / name).read_bytes() == expected for name in names)
    files.remove_parts(cluster.out, "own")
    assert sorted(os.listdir(cluster.out)) == sorted(names)
