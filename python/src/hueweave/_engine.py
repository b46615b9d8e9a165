# SPDX-License-Identifier: MIT
"""Engine: the engines of libHueweave, any number of them."""
from __future__ import annotations

import enum
import os
from typing import TypeAlias, Union

import numpy
from numpy.typing import NDArray

from . import _arguments, _native
from ._arguments import Profile


class EngineIntent(enum.IntEnum):
    """A rendering intent. It selects the table of the profile: "A2B0", "A2B1", "A2B2" and again "A2B1"."""

    PERCEPTUAL = 0
    RELATIVE_COLORIMETRIC = 1
    SATURATION = 2
    ABSOLUTE_COLORIMETRIC = 3


class ColorSpace(enum.IntEnum):
    """Pixel encodings of an engine. Even values mean 8 bits per sample, odd values 16.

    RGB_8 and RGB_16, the RGB of the device, are input encodings. The others are output spaces, except NONE, which an
    engine without a usable profile has.
    """

    RGB_8 = 0
    RGB_16 = 1
    SRGB_8 = 8
    SRGB_16 = 9
    SRGB_GAMMA100_8 = 10
    SRGB_GAMMA100_16 = 11
    SRGB_ALIAS_8 = 12
    SRGB_ALIAS_16 = 13
    ADOBE_RGB_GAMMA100_8 = 20
    ADOBE_RGB_GAMMA100_16 = 21
    ADOBE_RGB_GAMMA180_8 = 22
    ADOBE_RGB_GAMMA180_16 = 23
    APPLE_RGB_GAMMA100_8 = 24
    APPLE_RGB_GAMMA100_16 = 25
    APPLE_RGB_GAMMA180_8 = 26
    APPLE_RGB_GAMMA180_16 = 27
    COLOR_MATCH_RGB_GAMMA100_8 = 28
    COLOR_MATCH_RGB_GAMMA100_16 = 29
    COLOR_MATCH_RGB_GAMMA180_8 = 30
    COLOR_MATCH_RGB_GAMMA180_16 = 31
    KODAK_PHOTO_8 = 34
    KODAK_PHOTO_16 = 35
    KODAK_MIX_8 = 36
    KODAK_MIX_16 = 37
    KODAK_TEXT_8 = 38
    KODAK_TEXT_16 = 39
    NONE = 65535


_Curve: TypeAlias = Union[bytes, NDArray[numpy.uint8], None]


def _curve(name: str, given: object) -> bytes:
    if given is None:
        return b""
    if isinstance(given, numpy.ndarray) and given.dtype == numpy.uint8 and given.ndim == 1:
        return given.tobytes()
    if isinstance(given, (bytes, bytearray)):
        return bytes(given)
    raise TypeError(f"{name}: is of the type {type(given).__name__}; give bytes, or a numpy.ndarray of uint8")


class Engine:
    """An engine of libHueweave, with a state of its own and the behaviour of the exported functions without a suffix.

    Call :meth:`set_profile` once, then :meth:`set_intent` and :meth:`adjust` any number of times, then :meth:`convert`.
    As with the exported functions, results are numbers, and no exception says why a profile cannot be used: that is
    the result 65535. Use :class:`Transform` for everything that need not behave in exactly this way.

    Any number of threads may use any number of engines. While one thread changes an engine, others wait for it. An
    engine takes 2 MB.
    """

    def __init__(self) -> None:
        self._engine = _native.Engine()

    @property
    def output_space(self) -> int:
        """The output space, or 65535 if the engine cannot convert."""
        return self._engine.output_space()

    def set_profile(
        self,
        profile: Profile,
        intent: int = EngineIntent.PERCEPTUAL,
        input: int = ColorSpace.RGB_8,
        output: int = ColorSpace.SRGB_8,
    ) -> int:
        """Binds an ICC profile and builds the tables.

        :param profile: the path of a profile, or its bytes. A path is not read again if nothing has changed.
        :param intent: an :class:`EngineIntent`; any other number is perceptual.
        :param input: ColorSpace.RGB_8 or RGB_16; also the type of the samples that are written.
        :param output: the output space, with as many bits.
        :returns: the output space, or 65535 if the profile cannot be used. A profile that has neither the table of the
            intent nor "A2B1" gives the output space as well; conversions then change nothing.
        """
        if isinstance(profile, bytes):
            return self._engine.set_profile(profile, False, intent, input, output)
        if not isinstance(profile, (str, os.PathLike)):
            raise TypeError(f"profile: is of the type {type(profile).__name__}; give a path or the bytes of a profile")
        path = os.fsencode(profile)
        if b"\0" in path:
            raise ValueError("profile: contains a zero byte; give a path")
        return self._engine.set_profile(path, True, intent, input, output)

    def set_intent(self, intent: int, input: int = ColorSpace.RGB_8, output: int = ColorSpace.SRGB_8) -> int:
        """Builds the tables of the same profile again, for another intent, input encoding or output space.

        Offsets of :meth:`adjust` are kept, without their fractions; tone curves are not.

        :returns: the output space, or 65535. An engine without a profile stores and returns the given one.
        """
        return self._engine.set_intent(intent, input, output)

    def adjust(
        self,
        lightness: float = 0.0,
        chroma: float = 0.0,
        hue: float = 0.0,
        red: _Curve = None,
        green: _Curve = None,
        blue: _Curve = None,
    ) -> int:
        """Shifts the colours and replaces the output tone curves.

        :param lightness: offset of L*. The offsets replace those of an earlier call. If the integer parts of all three
            are as before, nothing is built.
        :param chroma: offset of C*.
        :param hue: offset of the hue in degrees.
        :param red: tone curve of 256 points of one byte. Fewer points are completed by the profile's own output curve;
            more are ignored. Without one of the three, the tone curves stay as they are.
        :param green: the same.
        :param blue: the same.
        :returns: the output space, or 65535.
        """
        curves = _curve("red", red), _curve("green", green), _curve("blue", blue)
        lengths = {len(curve) for curve in curves}
        if len(lengths) > 1 and red is not None and green is not None and blue is not None:
            raise ValueError("red, green, blue: have different numbers of points; give as many in each")
        return self._engine.adjust(
            _arguments.number("lightness", lightness),
            _arguments.number("chroma", chroma),
            _arguments.number("hue", hue),
            *curves,
        )

    def convert(self, source: NDArray[numpy.generic], dest: NDArray[numpy.generic] | None = None) -> int:
        """Converts pixels without gaps: arrays of the shape (..., 3) in the order of C.

        With the input encoding RGB_8, ``source`` is of uint8 and is converted in place; ``dest`` is neither read nor
        written. With RGB_16, both are of uint16, and ``dest`` may be ``source``; without ``dest``, nothing is
        converted.

        :returns: 0, or -1 if the engine has no output space.
        :raises TypeError: an argument is not an array, or its samples are not those of the input encoding.
        :raises ValueError: a shape is wrong, an array has gaps, or it cannot be written.
        """
        return self._engine.convert(source, dest)
