# SPDX-License-Identifier: MIT
"""Transform: arrays from one profile to another one."""
from __future__ import annotations

import os
from dataclasses import dataclass
from typing import Any

from . import _arguments, _native
from ._arguments import Curves, Intent, Precision, Profile
from ._errors import HueweaveError, ProfileError

_ERRORS: dict[str, type[Exception]] = {
    "argument": ValueError,
    "options": ValueError,
    "space": ValueError,
    "curves": ValueError,
    "layout": ValueError,
    "overlap": ValueError,
    "file": ProfileError,
    "profile": ProfileError,
    "precision": ProfileError,
    "memory": MemoryError,
    "internal": HueweaveError,
}


def _error(failure: _native.Failure) -> Exception:
    """The exception for a failure of the library, in the words of Python."""
    name, message = failure.args
    message = message.replace("hw_options.", "").replace("hw_space_name() gives the names", "hueweave.spaces() has them")
    if name == "space":
        message += ", and a path has a dot or a slash"
    return _ERRORS.get(name, HueweaveError)(message)


def _given(name: str, profile: object) -> tuple[str, bytes]:
    if isinstance(profile, (bytes, bytearray, memoryview)):
        return "data", bytes(profile)
    if not isinstance(profile, (str, os.PathLike)):
        kind = type(profile).__name__
        raise TypeError(f"{name}: is of the type {kind}; give a path, the bytes of a profile or the name of a colour space")
    return "path" if _arguments.is_path(profile) else "space", os.fsencode(profile)


def _icc_version(given: object) -> int:
    if given not in (2, 4):
        raise ValueError(f"icc_version: is {given!r}; give 2 or 4")
    return 2 if given == 2 else 4


def _accept_error(given: object) -> float:
    """0 is the default of the library."""
    if given is None:
        return 0.0
    error = _arguments.number("accept_error", given)
    if error == 0:
        raise ValueError("accept_error: is 0; give more than 0, up to 100")
    return error


@dataclass(frozen=True, slots=True)
class TransformInfo:
    """How a transform converts, and how exactly."""

    way: str
    """``"copy"``, ``"matrix"`` or ``"direct"``, which are fast; ``"pixel by pixel"``, by Little CMS, which is slow; or
    ``"library"``."""
    reason: str
    """Why the way is ``"pixel by pixel"``, or why a profile was baked for the library; else empty."""
    colours: int
    """Number of colours by which the error was measured when the transform was made; 0 for a copy."""
    mean: float
    """Mean CIEDE2000 between the transform and Little CMS in floating point."""
    p999: float
    """The CIEDE2000 that 99.9 % of the colours do not exceed."""
    largest: float
    """The largest CIEDE2000."""


class Transform(_native.Transform):
    """Converts pixels from the colours of one RGB profile to those of another one.

    Making a transform takes some milliseconds, and some seconds if a profile must be baked for
    ``precision="library"``. It never changes afterwards: any number of threads may use it. It can be pickled, and
    then contains its profiles.

    :param source: the profile of the pixels: a path, the bytes of an ICC profile, or the name of a colour space (see
        :func:`hueweave.spaces`). A ``str`` with a dot or a slash is a path.
    :param to: the profile to convert to, in the same ways.
    :param intent: the rendering intent: ``"perceptual"``, ``"relative"``, ``"saturation"`` or ``"absolute"``.
    :param precision: ``"exact"``, as Little CMS in floating point, or ``"library"``, the pixels of the engines of
        libHueweave bit for bit, which are for 8 and 16 bits and for some spaces only.
    :param bpc: compensate the black point for the relative intent, and for targets of ICC version 2.
    :param lightness: offset of L*, -100 to 100.
    :param chroma: offset of C*, -100 to 100.
    :param hue: offset of the hue in degrees, -360 to 360.
    :param curves: tone curves in place of those of the target, which must be a colour space: uint8 of the shape
        (256, 3), the output for linear light from 0 to 1 in red, green and blue.
    :param icc_version: of the profile to embed for a colour space, 2 or 4.
    :param accept_error: for ``precision="library"``, the CIEDE2000 that 5 % of the colours may exceed, up to 100.
    :raises ProfileError: a profile cannot be read or used.
    :raises ValueError: an argument is out of range or unknown, or cannot be combined with another one.
    :raises TypeError: an argument is of a wrong type.
    """

    def __init__(
        self,
        source: Profile,
        to: Profile = "srgb",
        intent: Intent = "perceptual",
        precision: Precision = "exact",
        bpc: bool = False,
        lightness: float = 0,
        chroma: float = 0,
        hue: float = 0,
        curves: Curves | None = None,
        *,
        icc_version: int = 4,
        accept_error: float | None = None,
    ) -> None:
        options = (
            _arguments.choose("intent", intent, _arguments.INTENTS),
            _arguments.choose("precision", precision, _arguments.PRECISIONS),
            bool(bpc),
            _icc_version(icc_version),
            _accept_error(accept_error),
            (
                _arguments.number("lightness", lightness),
                _arguments.number("chroma", chroma),
                _arguments.number("hue", hue),
            ),
            b"" if curves is None else _arguments.check_curves(curves).T.tobytes(),
        )
        self._make(_given("source", source), _given("to", to), options)

    def _make(self, source: tuple[str, bytes], target: tuple[str, bytes], options: tuple[Any, ...]) -> None:
        try:
            super().__init__(source, target, *options)
        except _native.Failure as failure:
            raise _error(failure) from None
        self._options = options

    @property
    def info(self) -> TransformInfo:
        """How the transform converts, and how exactly."""
        return TransformInfo(*self._describe())

    @property
    def profile(self) -> bytes | None:
        """The ICC profile to embed in a file with the converted pixels; ``None`` if no profile can describe them."""
        return self._profile()

    def __reduce__(self) -> tuple[Any, ...]:
        return _unpickled, (type(self), self._source(), self._target(), self._options)

    def __repr__(self) -> str:
        def name(given: tuple[str, bytes]) -> str:
            return given[1].decode() if given[0] == "space" else f"<profile of {len(given[1])} bytes>"

        return f"<hueweave.Transform {name(self._source())} to {name(self._target())}, {self.info.way}>"


def _unpickled(kind: type[Transform], source: Any, target: Any, options: tuple[Any, ...]) -> Transform:
    transform = kind.__new__(kind)
    transform._make(source, target, options)
    return transform
