# SPDX-License-Identifier: MIT
"""What a transform does not take: the exception, and its whole sentence where it is ours."""
from __future__ import annotations

import pathlib
from typing import Any

import hueweave
import numpy
import pytest
from numpy.lib.stride_tricks import as_strided


@pytest.fixture(scope="module")
def transform() -> hueweave.Transform:
    return hueweave.Transform("srgb", "display-p3")


PIXELS = numpy.zeros((4, 5, 3), "uint8")
ONLY = "; give uint8, uint16 or float32, in the byte order of this machine"
SWAPPED = PIXELS.astype("uint16").astype(numpy.dtype("uint16").newbyteorder())
LIST = "array: is of the type list; give a numpy.ndarray of uint8, uint16 or float32, such as numpy.asarray(pixels, 'uint8')"
CHANNELS = "; give (..., 3), or up to 65535 channels, of which those after the third are copied"


@pytest.mark.parametrize(
    ("array", "kind", "message"),
    [
        ([[1, 2, 3]], TypeError, LIST),
        (None, TypeError, LIST.replace("list", "NoneType")),
        (b"abc", TypeError, LIST.replace("list", "bytes")),
        (PIXELS.astype("float64"), TypeError, "array: its samples are float64" + ONLY),
        (PIXELS.astype("int8"), TypeError, "array: its samples are int8" + ONLY),
        (PIXELS.astype("float16"), TypeError, "array: its samples are float16" + ONLY),
        (PIXELS.astype("complex64"), TypeError, "array: its samples are complex64" + ONLY),
        (PIXELS.astype(bool), TypeError, "array: its samples are bool" + ONLY),
        (PIXELS.astype(object), TypeError, "array: its samples are object" + ONLY),
        (SWAPPED, TypeError, f"array: its samples are {SWAPPED.dtype}" + ONLY),
        (numpy.uint8(3) + PIXELS[0, 0, 0], TypeError, LIST.replace("list", "numpy.uint8")),
        (numpy.array(3, "uint8"), ValueError, "array: its shape is ()" + CHANNELS),
        (PIXELS[..., :2], ValueError, "array: its shape is (4, 5, 2)" + CHANNELS),
        (PIXELS[..., :0], ValueError, "array: its shape is (4, 5, 0)" + CHANNELS),
        (numpy.zeros(65536, "uint8"), ValueError, "array: its shape is (65536,)" + CHANNELS),
    ],
)
def test_array(transform: hueweave.Transform, array: Any, kind: type[Exception], message: str) -> None:
    with pytest.raises(kind) as raised:
        transform(array)
    assert str(raised.value) == message


def read_only() -> Any:
    array = PIXELS.copy()
    array.flags.writeable = False
    return array


ROWS = numpy.zeros((9, 5, 3), "uint8")


@pytest.mark.parametrize(
    ("array", "out", "kind", "message"),
    [
        (PIXELS, [1], TypeError, LIST.replace("array", "out", 1)),
        (PIXELS, PIXELS.astype("uint16"), TypeError, "out: its samples are uint16; give uint8 as in array"),
        (PIXELS, PIXELS[1:], ValueError, "out: its shape is (3, 5, 3); give (4, 5, 3) as that of array"),
        (PIXELS, PIXELS[0], ValueError, "out: its shape is (5, 3); give (4, 5, 3) as that of array"),
        (PIXELS, read_only(), ValueError, "out: is read-only; give an array that can be written"),
        (ROWS[:4], ROWS[2:6], ValueError, "out: overlaps array; give the same array, or one of its own memory"),
        (ROWS[:4], ROWS[3::-1], ValueError, "out: overlaps array; give the same array, or one of its own memory"),
        (ROWS[:4], ROWS[:4, ::-1], ValueError, "out: overlaps array; give the same array, or one of its own memory"),
        (
            PIXELS,
            as_strided(ROWS, (4, 5, 3), (15, 0, 1)),
            ValueError,
            "out: its elements share memory; give an array in which each has its own",
        ),
        (
            PIXELS,
            as_strided(ROWS, (4, 5, 3), (15, 2, 1)),
            ValueError,
            "out: its elements share memory; give an array in which each has its own",
        ),
    ],
)
def test_out(transform: hueweave.Transform, array: Any, out: Any, kind: type[Exception], message: str) -> None:
    with pytest.raises(kind) as raised:
        transform(array, out)
    assert str(raised.value) == message


@pytest.mark.parametrize(
    ("threads", "kind", "message"),
    [
        (0, ValueError, "threads: is 0; give 1 to 1024"),
        (-1, ValueError, "threads: is -1; give 1 to 1024"),
        (10**30, ValueError, f"threads: is {10**30}; give 1 to 1024"),
        (1.0, TypeError, "threads: is of the type float; give an int"),
        (None, TypeError, "threads: is of the type NoneType; give an int"),
    ],
)
def test_threads(transform: hueweave.Transform, threads: Any, kind: type[Exception], message: str) -> None:
    with pytest.raises(kind) as raised:
        transform(PIXELS, threads=threads)
    assert str(raised.value) == message


CURVES = numpy.zeros((256, 3), "uint8")
FALLING = CURVES + numpy.arange(255, -1, -1, "uint8")[:, None]


@pytest.mark.parametrize(
    ("arguments", "kind", "message"),
    [
        ({"source": 3}, TypeError, "source: is of the type int; give a path"),
        ({"source": "missing.icc"}, hueweave.ProfileError, "missing.icc: cannot be read (No such file or directory)"),
        ({"source": pathlib.Path("srgb")}, hueweave.ProfileError, "srgb: cannot be read"),
        ({"source": b"no profile"}, hueweave.ProfileError, "source: "),
        ({"to": b""}, hueweave.ProfileError, "to: "),
        ({"source": "a.icc\0b"}, ValueError, "source: contains a zero byte"),
        ({"to": "sgrb"}, ValueError, "sgrb: is not a colour space (did you mean srgb?); hueweave.spaces() has them, "
                                     "and a path has a dot or a slash"),
        ({"intent": "vivid"}, ValueError, "intent: is 'vivid'; give 'perceptual', 'relative', 'saturation' or 'absolute'"),
        ({"intent": 1}, TypeError, "intent: is of the type int; give a str"),
        ({"precision": "high"}, ValueError, "precision: is 'high'; give 'exact' or 'library'"),
        ({"lightness": 101}, ValueError, "lightness: is out of range; use -100 to 100"),
        ({"chroma": float("nan")}, ValueError, "chroma: is out of range; use -100 to 100"),
        ({"hue": "3"}, TypeError, "hue: is of the type str; give a number"),
        ({"icc_version": 3}, ValueError, "icc_version: is 3; give 2 or 4"),
        ({"accept_error": 0}, ValueError, "accept_error: is 0; give more than 0, up to 100"),
        ({"accept_error": 1}, ValueError, "accept_error: is for the library's precision"),
        ({"precision": "library", "bpc": True}, ValueError, "black_point: cannot be combined with the library's"),
        ({"precision": "library", "to": "rec2020"}, hueweave.ProfileError, "rec2020: is a target that the library's"),
        ({"curves": [1, 2]}, TypeError, "curves: is of the type list; give a numpy.ndarray of uint8"),
        ({"curves": CURVES.T}, ValueError, "curves: its shape is (3, 256); give (256, 3)"),
        ({"curves": CURVES.astype("uint16")}, TypeError, "curves: is of the type uint16; give a numpy.ndarray of uint8"),
        ({"curves": FALLING}, ValueError, "curves: no profile can describe curves that fall"),
    ],
)
def test_transform(arguments: dict[str, Any], kind: type[Exception], message: str) -> None:
    words: dict[str, Any] = {"source": "srgb"} | arguments
    with pytest.raises(kind) as raised:
        hueweave.Transform(**words)
    assert str(raised.value).startswith(message)


def test_floats_of_the_library(scanner: pathlib.Path) -> None:
    with pytest.raises(TypeError, match="float32, which precision='library' does not support; give uint8 or uint16"):
        hueweave.Transform(scanner, precision="library")(numpy.zeros(3, "float32"))


def test_the_exceptions_have_one_base() -> None:
    for kind in (hueweave.ProfileError, hueweave.InputError, hueweave.OutputError):
        assert kind.__bases__ == (hueweave.HueweaveError,)
