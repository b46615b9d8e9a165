# SPDX-License-Identifier: MIT
"""The build backend: that of setuptools, except that an sdist also gets the sources of the library.

In a clone these are in the folder above this one, where setuptools takes no files from.
"""
from __future__ import annotations

import os
import pathlib
import shutil
import tempfile
from typing import Any

from setuptools import build_meta
from setuptools.build_meta import build_wheel, get_requires_for_build_sdist  # noqa: F401
from setuptools.build_meta import get_requires_for_build_wheel, prepare_metadata_for_build_wheel  # noqa: F401

HERE = pathlib.Path(__file__).resolve().parent
LIBRARY = ("CMakeLists.txt", "LICENSE", "Source", "cmake", "colour", "include")


def build_sdist(folder: str, settings: dict[str, Any] | None = None) -> str:
    """Builds the sdist in a copy of this folder, in which library/ has the sources of the library."""
    if (HERE / "library").is_dir():  # this is an sdist
        return str(build_meta.build_sdist(folder, settings))
    target, before = os.path.abspath(folder), os.getcwd()
    with tempfile.TemporaryDirectory() as temporary:
        copy = pathlib.Path(temporary) / "python"
        shutil.copytree(HERE, copy, ignore=shutil.ignore_patterns("__pycache__", "build", "dist", "*.egg-info", ".*"))
        for name in LIBRARY:
            source = HERE.parent / name
            if source.is_dir():
                shutil.copytree(source, copy / "library" / name, ignore=shutil.ignore_patterns("__pycache__"))
            else:
                (copy / "library").mkdir(exist_ok=True)
                shutil.copy(source, copy / "library" / name)
        os.chdir(copy)
        try:
            return str(build_meta.build_sdist(target, settings))
        finally:
            os.chdir(before)
