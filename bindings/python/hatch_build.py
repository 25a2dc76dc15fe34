"""Puts the self-contained library into the wheel and names the platform it was built for."""

from __future__ import annotations

import os
import platform
import re
import subprocess
from pathlib import Path
from typing import Any

from hatchling.builders.hooks.plugin.interface import BuildHookInterface

# The C++ run time is inside the library, too: a Python may have none or an older one.
FILES = ("static-runtime/libmorvik.so", "layout.json", "NOTICES")


def glibc_of(library: Path) -> str:
    """The newest version of the C library whose symbols the library needs, as in a wheel's tag."""
    versions = re.findall(rb"GLIBC_(\d+)\.(\d+)", library.read_bytes())
    return "{}_{}".format(*max((int(major), int(minor)) for major, minor in versions))


class SelfContainedLibrary(BuildHookInterface):  # type: ignore[misc]
    def initialize(self, version: str, build_data: dict[str, Any]) -> None:
        if self.target_name != "wheel" or version == "editable":
            return
        machine = os.environ.get("MORVIK_ARCH", platform.machine())
        folder = self._build(machine)
        for name in FILES:
            build_data["force_include"][str(folder / name)] = f"morvik/{Path(name).name}"
        build_data["pure_python"] = False
        build_data["tag"] = f"py3-none-manylinux_{glibc_of(folder / FILES[0])}_{machine}"

    def _build(self, machine: str) -> Path:
        here = Path(self.root)
        for top in (here / "library", here.parent.parent):
            script = top / "scripts" / "build-self-contained.sh"
            if script.exists():
                subprocess.run([str(script), machine], check=True)
                return top / "build" / "self-contained" / machine
        raise FileNotFoundError("the library's sources are neither in library/ nor two folders up")
