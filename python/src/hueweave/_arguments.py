# SPDX-License-Identifier: MIT
"""What the functions of the package take, and how it is checked."""
from __future__ import annotations

import os
from typing import Literal, TypeAlias, Union

import numpy
from numpy.typing import NDArray

Path: TypeAlias = Union[str, "os.PathLike[str]"]
Profile: TypeAlias = Union[str, "os.PathLike[str]", bytes]
Intent: TypeAlias = Literal["perceptual", "relative", "saturation", "absolute"]
Precision: TypeAlias = Literal["exact", "library"]
Curves: TypeAlias = NDArray[numpy.uint8]

INTENTS = ("perceptual", "relative", "saturation", "absolute")
PRECISIONS = ("exact", "library")


def choose(name: str, given: object, choices: tuple[str, ...]) -> int:
    """The index of a choice."""
    if not isinstance(given, str):
        raise TypeError(f"{name}: is of the type {type(given).__name__}; give a str")
    if given not in choices:
        raise ValueError(f"{name}: is {given!r}; give {', '.join(map(repr, choices[:-1]))} or {choices[-1]!r}")
    return choices.index(given)


def number(name: str, given: object) -> float:
    """A number; the range is checked where it is used."""
    if isinstance(given, (int, float, numpy.integer, numpy.floating)):
        return float(given)
    raise TypeError(f"{name}: is of the type {type(given).__name__}; give a number")


def is_path(given: object) -> bool:
    """Whether a text is a path, as for the command: the name of a colour space has neither a dot nor a slash."""
    return isinstance(given, os.PathLike) or (isinstance(given, str) and ("." in given or os.sep in given))


def check_curves(given: object) -> Curves:
    """Tone curves: 256 rows of red, green and blue."""
    if not isinstance(given, numpy.ndarray) or given.dtype != numpy.uint8:
        kind = given.dtype if isinstance(given, numpy.ndarray) else type(given).__name__
        raise TypeError(f"curves: is of the type {kind}; give a numpy.ndarray of uint8")
    if given.shape != (256, 3):
        raise ValueError(f"curves: its shape is {given.shape}; give (256, 3)")
    return given
