# SPDX-License-Identifier: MIT
"""What the tests need from a build of the repository; python/check sets these variables:

HUEWEAVE_COMMAND is the command, HUEWEAVE_LIBRARY libHueweave, HUEWEAVE_TRANSFORM libhueweave_transform, and
HUEWEAVE_FILES the folder with what the demo's make_chart writes.
"""
from __future__ import annotations

import ctypes
import os
import pathlib
from collections.abc import Callable
from typing import Any

import numpy
import pytest
from numpy.typing import NDArray

SAMPLE_TYPES = {"uint8": 0, "uint16": 1, "float32": 2}
Reference = Callable[[NDArray[Any]], NDArray[Any]]


class _Profile(ctypes.Structure):
    _fields_ = [
        ("data", ctypes.c_char_p),
        ("size", ctypes.c_size_t),
        ("path", ctypes.c_char_p),
        ("space", ctypes.c_char_p),
    ]


class _Options(ctypes.Structure):
    _fields_ = [
        ("size", ctypes.c_size_t),
        ("samples", ctypes.c_int32),
        ("intent", ctypes.c_int32),
        ("black_point", ctypes.c_int32),
        ("precision", ctypes.c_int32),
        ("icc_version", ctypes.c_int32),
        ("reserved", ctypes.c_int32),
        ("lightness", ctypes.c_double),
        ("chroma", ctypes.c_double),
        ("hue", ctypes.c_double),
        ("accept_error", ctypes.c_double),
        ("curves", ctypes.c_char_p),
    ]


@pytest.fixture(scope="session")
def files() -> pathlib.Path:
    return pathlib.Path(os.environ["HUEWEAVE_FILES"])


@pytest.fixture(scope="session")
def scanner(files: pathlib.Path) -> pathlib.Path:
    return files / "scanner.icc"


@pytest.fixture(scope="session")
def command() -> str:
    return os.environ["HUEWEAVE_COMMAND"]


@pytest.fixture(scope="session")
def reference(scanner: pathlib.Path) -> Reference:
    """The same transform by the shared library, for one array of pixels without gaps after the other."""
    library = ctypes.CDLL(os.environ["HUEWEAVE_TRANSFORM"])
    library.hw_convert.argtypes = [ctypes.c_void_p, ctypes.c_void_p, ctypes.c_void_p, ctypes.c_size_t]
    handles = {}
    for name, samples in SAMPLE_TYPES.items():
        options = _Options(size=ctypes.sizeof(_Options), samples=samples)
        source, target, handle = _Profile(path=os.fsencode(scanner)), _Profile(space=b"srgb"), ctypes.c_void_p()
        status = library.hw_transform_create(
            ctypes.byref(source), ctypes.byref(target), ctypes.byref(options), ctypes.byref(handle), None
        )
        assert status == 0
        handles[name] = handle

    def convert(array: NDArray[Any]) -> NDArray[Any]:
        colours = numpy.array(array[..., :3], order="C")
        at = colours.ctypes.data
        assert library.hw_convert(handles[array.dtype.name], at, at, colours.size // 3) == 0
        return numpy.concatenate([colours, array[..., 3:]], axis=-1)

    return convert


def make_samples(shape: tuple[int, ...], dtype: str, seed: int = 1) -> NDArray[Any]:
    """Random samples, for floats a little beyond 0 and 1."""
    random = numpy.random.default_rng(seed)
    if dtype == "float32":
        return random.uniform(-0.1, 1.1, shape).astype("float32")
    return random.integers(0, numpy.iinfo(dtype).max + 1, shape).astype(dtype)
