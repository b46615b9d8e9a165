# SPDX-License-Identifier: MIT
"""Builds the module hueweave._native with the library inside: CMake makes one static archive of the library, which
setuptools links. HUEWEAVE_ARCHIVE is the path of an archive that was built before."""
from __future__ import annotations

import os
import pathlib
import re
import shlex
import subprocess

import pybind11
from setuptools import Extension, setup
from setuptools.command.build_ext import build_ext

HERE = pathlib.Path(__file__).resolve().parent
LIBRARY = HERE / "library" if (HERE / "library").is_dir() else HERE.parent  # in an sdist, or in a clone
NATIVE = pathlib.Path("native")


def version() -> str:
    header = (LIBRARY / "include/hueweave/version.h").read_text(encoding="utf-8")
    found = re.search(r'define HUEWEAVE_VERSION "(.+)"', header)
    assert found is not None, "include/hueweave/version.h has no version"
    return found.group(1)


def pkg_config(what: str) -> list[str]:
    return shlex.split(subprocess.check_output(["pkg-config", what, "lcms2"], text=True))


class BuildWithLibrary(build_ext):  # type: ignore[misc]
    """Builds the archive before the module."""

    def run(self) -> None:
        archive = os.environ.get("HUEWEAVE_ARCHIVE") or self.build_archive()
        for extension in self.extensions:
            extension.extra_objects.append(archive)
            extension.extra_compile_args += pkg_config("--cflags")
            extension.extra_link_args += pkg_config("--libs")
            # Otherwise a module that is there is not linked again.
            extension.depends.append(archive)
        super().run()

    def build_archive(self) -> str:
        folder = pathlib.Path(self.build_temp).resolve() / "library"
        options = [f"-DHUEWEAVE_BUILD_{part}=OFF" for part in ("TESTS", "TOOL", "DEMO", "BENCH")]
        subprocess.run(["cmake", "-S", LIBRARY, "-B", folder, "-DCMAKE_BUILD_TYPE=Release",
                        "-DCMAKE_CXX_FLAGS_RELEASE=-O2", *options], check=True)
        subprocess.run(["cmake", "--build", folder, "--target", "hueweave_transform_static",
                        "--parallel", str(len(os.sched_getaffinity(0)))], check=True)
        return str(folder / "colour/api/libhueweave_transform.a")


setup(
    version=version(),
    cmdclass={"build_ext": BuildWithLibrary},
    ext_modules=[
        Extension(
            "hueweave._native",
            sorted(str(path) for path in NATIVE.glob("*.cpp")),
            include_dirs=[str(LIBRARY / folder) for folder in ("include", "Source", "")],
            language="c++",
            extra_compile_args=["-std=c++20", "-O2", "-g0", "-ffp-contract=off", "-fvisibility=hidden",
                                "-isystem", pybind11.get_include()],
            extra_link_args=["-Wl,--exclude-libs,ALL"],
        )
    ],
)
