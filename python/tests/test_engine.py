# SPDX-License-Identifier: MIT
"""Engines give the numbers and pixels of the exported functions of libHueweave, which are loaded here by ctypes."""
from __future__ import annotations

import ctypes
import os
import pathlib
from concurrent.futures import ThreadPoolExecutor
from typing import Any

import hueweave
import numpy
import pytest
from conftest import make_samples
from hueweave import ColorSpace, Engine, EngineIntent

RGB_8, RGB_16 = ColorSpace.RGB_8, ColorSpace.RGB_16
CURVE = (numpy.linspace(0, 1, 256) ** 0.6 * 255).astype("uint8")


@pytest.fixture(scope="module")
def library() -> ctypes.CDLL:
    library = ctypes.CDLL(os.environ["HUEWEAVE_LIBRARY"])
    library.Orvix_Icc_Adjust.argtypes = [ctypes.c_double] * 3 + [ctypes.c_char_p] * 3 + [ctypes.c_int32]
    library.Orvix_Icc_Convert2.argtypes = [ctypes.c_void_p, ctypes.c_void_p, ctypes.c_int32]
    return library


class Exported:
    """The first engine of the library, with the methods of Engine."""

    def __init__(self, library: ctypes.CDLL) -> None:
        self._library = library

    def set_profile(self, profile: Any, *numbers: int) -> int:
        return int(self._library.Orvix_Icc_SetProfile(os.fsencode(profile), None, *numbers))

    def set_intent(self, *numbers: int) -> int:
        return int(self._library.Orvix_Icc_SetIntent(*numbers))

    def adjust(self, *numbers: float, red: Any = None, green: Any = None, blue: Any = None) -> int:
        curves = [None if curve is None else bytes(curve) for curve in (red, green, blue)]
        return int(self._library.Orvix_Icc_Adjust(*numbers, *curves, len(curves[0] or b"")))

    def convert(self, source: Any, dest: Any = None) -> int:
        at = None if dest is None else dest.ctypes.data
        return int(self._library.Orvix_Icc_Convert2(source.ctypes.data, at, source.size // 3))


def test_every_call_is_that_of_the_library(library: ctypes.CDLL, scanner: pathlib.Path, tmp_path: pathlib.Path) -> None:
    (tmp_path / "text.icc").write_text("no profile" * 30)
    matrix = tmp_path / "matrix.icc"
    matrix.write_bytes(hueweave.Transform("srgb", "display-p3").profile or b"")
    engine, exported = Engine(), Exported(library)
    calls: list[tuple[str, tuple[Any, ...], dict[str, Any]]] = [
        ("set_profile", (tmp_path / "missing.icc", 0, RGB_8, ColorSpace.SRGB_8), {}),
        ("set_profile", (scanner, 0, RGB_8, ColorSpace.SRGB_8), {}),
        ("adjust", (5.0, 10.0, -20.5), {}),
        ("set_intent", (1, RGB_16, ColorSpace.ADOBE_RGB_GAMMA180_16), {}),
        ("adjust", (5.5, 10.0, -20.0), {"red": CURVE, "green": CURVE, "blue": CURVE[::-1].copy()}),
        ("adjust", (0.0, 0.0, 0.0), {"red": CURVE[:100], "green": CURVE[:100], "blue": CURVE[:100]}),
        ("set_profile", (scanner, 3, RGB_16, ColorSpace.KODAK_MIX_16), {}),
        ("set_profile", (scanner, 77, RGB_8, ColorSpace.KODAK_PHOTO_8), {}),
        ("set_profile", (scanner, 2, ColorSpace.NONE, ColorSpace.APPLE_RGB_GAMMA180_8), {}),
        ("set_intent", (0, RGB_8, 4), {}),
        ("set_intent", (0, 7, ColorSpace.SRGB_8), {}),
        ("set_profile", (scanner, 0, 2, ColorSpace.SRGB_8), {}),
        ("set_profile", (tmp_path / "text.icc", 0, RGB_8, ColorSpace.SRGB_8), {}),
        ("set_profile", (matrix, 0, RGB_8, ColorSpace.SRGB_8), {}),
    ]
    usable = 0
    wide = False
    for name, words, curves in calls:
        result = getattr(engine, name)(*words, **curves)
        assert result == getattr(exported, name)(*words, **curves), (name, words)
        assert engine.output_space == result
        if "set" in name:
            wide = words[-2] == RGB_16
        pixels = make_samples((7, 41, 3), "uint16" if wide else "uint8")
        ours, theirs = pixels.copy(), pixels.copy()
        if wide:
            to, expected = numpy.zeros_like(pixels), numpy.zeros_like(pixels)
            assert engine.convert(ours, to) == exported.convert(theirs, expected)
            numpy.testing.assert_array_equal(to, expected)
            assert engine.convert(ours) == exported.convert(theirs)
        else:
            assert engine.convert(ours) == exported.convert(theirs)
        numpy.testing.assert_array_equal(ours, theirs)
        usable += result != ColorSpace.NONE
    assert usable == 11  # all but the missing file, CMYK as the output and Lab as the input


def test_any_number_of_engines(scanner: pathlib.Path) -> None:
    pixels = make_samples((50, 3), "uint8")
    shifts = [float(n) for n in range(12)]
    engines = [Engine() for _ in shifts]
    for engine, shift in zip(engines, shifts):
        assert engine.set_profile(scanner.read_bytes()) == ColorSpace.SRGB_8
        assert engine.adjust(lightness=shift) == ColorSpace.SRGB_8
    results = []
    for engine in engines:
        results.append(pixels.copy())
        assert engine.convert(results[-1]) == 0
    assert len({result.tobytes() for result in results}) == len(shifts)
    for result, shift in zip(results, shifts):
        alone, expected = Engine(), pixels.copy()
        alone.set_profile(scanner)
        alone.adjust(shift)
        alone.convert(expected)
        numpy.testing.assert_array_equal(result, expected)


def test_threads_use_and_change_an_engine(scanner: pathlib.Path) -> None:
    engine = Engine()
    pixels = make_samples((5000, 3), "uint8")
    expected = []
    for intent in (EngineIntent.PERCEPTUAL, EngineIntent.SATURATION):
        engine.set_profile(scanner, intent)
        expected.append(pixels.copy())
        engine.convert(expected[-1])

    def work(number: int) -> bytes:
        if number % 4 == 0:
            engine.set_intent((number // 4) % 2 * EngineIntent.SATURATION)
        result = pixels.copy()
        assert engine.convert(result) == 0
        return result.tobytes()

    with ThreadPoolExecutor(4) as pool:
        assert set(pool.map(work, range(200))) <= {array.tobytes() for array in expected}


READ_ONLY = numpy.zeros((4, 3), "uint8")
READ_ONLY.flags.writeable = False


@pytest.mark.parametrize(
    ("encoding", "arguments", "kind", "message"),
    [
        (RGB_8, ([[1, 2, 3]],), TypeError, "source: is of the type list"),
        (RGB_8, (numpy.zeros((4, 3), "uint16"),), TypeError, "source: its samples are uint16; give uint8"),
        (RGB_16, (numpy.zeros((4, 3), "uint8"),), TypeError, "source: its samples are uint8; give uint16"),
        (RGB_16, (numpy.zeros((4, 3), ">u2"),), TypeError, "source: its samples are >u2"),
        (RGB_8, (numpy.zeros((4, 4), "uint8"),), ValueError, "source: its shape is (4, 4); give (..., 3)"),
        (RGB_8, (numpy.zeros((4, 6), "uint8")[:, ::2],), ValueError, "source: its shape is (4, 3); give (..., 3) without"),
        (RGB_8, (READ_ONLY,), ValueError, "source: is read-only"),
        (RGB_16, (numpy.zeros((4, 3), "uint16"), READ_ONLY), TypeError, "dest: its samples are uint8; give uint16"),
        (RGB_16, (numpy.zeros((4, 3), "uint16"), READ_ONLY.astype("u2")[:3]), ValueError, "dest: its shape is (3, 3)"),
    ],
)
def test_refusals(
    scanner: pathlib.Path, encoding: int, arguments: tuple[Any, ...], kind: type[Exception], message: str
) -> None:
    engine = Engine()
    engine.set_profile(scanner, input=encoding, output=ColorSpace.SRGB_8 + encoding)
    with pytest.raises(kind) as raised:
        engine.convert(*arguments)
    assert str(raised.value).startswith(message)


def test_refused_arguments() -> None:
    engine = Engine()
    assert engine.output_space == ColorSpace.NONE
    assert engine.convert(numpy.zeros(3, "uint8")) == -1
    with pytest.raises(TypeError, match="profile: is of the type int; give a path"):
        engine.set_profile(3)  # type: ignore[arg-type]
    with pytest.raises(TypeError, match="red: is of the type list; give bytes"):
        engine.adjust(red=[1, 2])  # type: ignore[arg-type]
    with pytest.raises(ValueError, match="red, green, blue: have different numbers of points"):
        engine.adjust(red=b"ab", green=b"ab", blue=b"abc")
    with pytest.raises(TypeError, match="hue: is of the type str; give a number"):
        engine.adjust(hue="1")  # type: ignore[arg-type]
