# SPDX-License-Identifier: MIT
"""The installed package: version, symbols, silence, memory."""
from __future__ import annotations

import ctypes
import gc
import importlib.metadata
import os
import pathlib
import re
import subprocess
import sys

import hueweave
import numpy
import pytest
from hueweave import _native


def test_version() -> None:
    header = pathlib.Path(__file__).parents[2] / "include/hueweave/version.h"
    found = re.search(r'HUEWEAVE_VERSION "(.+)"', header.read_text())
    assert found is not None
    assert hueweave.__version__ == found.group(1) == importlib.metadata.version("hueweave")


def test_the_package_is_typed() -> None:
    assert (pathlib.Path(hueweave.__file__).parent / "py.typed").exists()


def test_the_module_exports_only_its_initialiser() -> None:
    listed = subprocess.run(
        ["nm", "-D", "--defined-only", _native.__file__], capture_output=True, text=True, check=True
    ).stdout
    own = [line.split()[-1] for line in listed.splitlines() if re.search(r"hw_|[Hh]ueweave|Orvix|PyInit", line)]
    assert own == ["PyInit__native"]


EVERYTHING = """
import gc, sys
import numpy, hueweave
profile = sys.argv[1]
for precision in ("exact", "library"):
    transform = hueweave.Transform(profile, precision=precision)
    transform(numpy.zeros((300, 300, 3), "uint8"), threads=2)
    repr(transform), transform.info, transform.profile
engine = hueweave.Engine()
engine.set_profile(profile)
engine.adjust(3)
engine.convert(numpy.zeros((3, 3), "uint8"))
hueweave.inspect(profile)
hueweave.verify(profile, points=3)
for wrong in ("missing.icc", b"no profile"):
    try:
        hueweave.Transform(wrong)
    except hueweave.ProfileError:
        pass
try:
    hueweave.inspect("missing")
except hueweave.InputError:
    pass
"""


def test_silent(scanner: pathlib.Path) -> None:
    done = subprocess.run([sys.executable, "-X", "dev", "-c", EVERYTHING, scanner], capture_output=True, check=False)
    assert (done.returncode, done.stdout, done.stderr) == (0, b"", b"")


class _Memory(ctypes.Structure):
    _fields_ = [(name, ctypes.c_size_t) for name in
                ("arena", "ordblks", "smblks", "hblks", "hblkhd", "usmblks", "fsmblks", "uordblks", "fordblks", "keepcost")]


def bytes_in_use() -> int:
    library = ctypes.CDLL(None)
    library.mallinfo2.restype = _Memory
    gc.collect()
    memory = library.mallinfo2()
    return int(memory.uordblks + memory.hblkhd)


@pytest.mark.parametrize("kind", ["copy", "matrix", "direct", "library", "failed", "called", "engine"])
def test_memory_does_not_grow(scanner: pathlib.Path, kind: str) -> None:
    """HUEWEAVE_GROWTH=10000 makes as many objects of each kind, which takes ten minutes."""
    data = scanner.read_bytes()
    pixels = numpy.zeros((3, 3, 3), "uint8")
    shared = hueweave.Transform(data)

    def make() -> None:
        if kind == "failed":
            with pytest.raises(hueweave.ProfileError):
                hueweave.Transform(data[:1000])
        elif kind == "called":
            for array in (pixels, pixels.astype("uint16")[::-1], pixels.astype("float32").transpose(1, 0, 2)):
                shared(array)
                shared(array, array, threads=2)
            with pytest.raises(ValueError):
                shared(pixels, pixels[::-1])
        elif kind == "engine":
            hueweave.Engine().set_profile(data)
        else:
            source, to = {"copy": ("srgb", "srgb"), "matrix": ("srgb", "display-p3")}.get(kind, (data, "srgb"))
            transform = hueweave.Transform(source, to, precision="library" if kind == "library" else "exact")
            transform(pixels)
            transform(pixels.astype("uint16"))

    for _ in range(5):
        make()
    before = bytes_in_use()
    count = int(os.environ.get("HUEWEAVE_GROWTH", "20"))
    for _ in range(count):
        make()
    growth = bytes_in_use() - before
    print(f"{kind}: {growth} bytes after {count} more")
    assert growth < 4096 + count
