# SPDX-License-Identifier: MIT
"""What the functions that run the command return: dataclasses with the fields of its JSON.

A field has the name that it has there, with underscores in place of spaces. A field that a line of JSON leaves out is
``None``. Colour differences are CIEDE2000. Lab is CIELAB for D50.
"""
from __future__ import annotations

import dataclasses
import os
import types
import typing
from dataclasses import dataclass
from typing import Any, TypeVar, Union

Result = TypeVar("Result")

_KEYS = {"class_": "class", "big_tiff": "BigTIFF"}  # fields whose names are not those of JSON


@dataclass(frozen=True, slots=True, kw_only=True)
class TableShape:
    """The shape of a table: of type mft1 or mft2 with entries, of type mAB or mBA with parts."""

    inputs: int
    outputs: int
    grid: int | tuple[int, ...] | None = None
    input_entries: int | None = None
    output_entries: int | None = None
    parts: tuple[str, ...] | None = None
    bytes_a_value: int | None = None


@dataclass(frozen=True, slots=True, kw_only=True)
class ProfileTag:
    """A tag of a profile."""

    name: str
    type: str
    bytes: int
    table: TableShape | None = None


@dataclass(frozen=True, slots=True, kw_only=True)
class IntentSupport:
    """Whether the library supports an intent of a profile: served is ``"yes"``, ``"baked"`` or ``"no"``."""

    name: str
    served: str
    why: str | None = None


@dataclass(frozen=True, slots=True, kw_only=True)
class ProfileDescription:
    """A profile: a file, or one in a file (then ``file`` is ``None``). ``white`` is XYZ of the tag "wtpt"."""

    file: str | None = None
    kind: str
    description: str
    version: str
    class_: str
    colours: str
    connection: str
    bytes: int
    white: tuple[float, float, float] | None = None
    tags: tuple[ProfileTag, ...] = ()
    intents: tuple[IntentSupport, ...] = ()


@dataclass(frozen=True, slots=True, kw_only=True)
class SameProfile:
    """The profile of an earlier page, counted from 1."""

    same_as_page: int
    unreadable: str | None = None
    kind: str | None = None
    description: str | None = None


@dataclass(frozen=True, slots=True, kw_only=True)
class UnreadableProfile:
    """A profile in a file that cannot be read, with the reason."""

    unreadable: str


EmbeddedProfile = Union[SameProfile, UnreadableProfile, ProfileDescription]


@dataclass(frozen=True, slots=True, kw_only=True)
class TiffPage:
    """A page of a TIFF file. It has strips (``rows_a_strip``) or tiles (width and height)."""

    width: int
    height: int
    colours: str
    samples: int
    bits: int
    planar: bool
    compression: str
    tiles: tuple[int, int] | None = None
    rows_a_strip: int | None = None
    orientation: int
    resolution: tuple[float, float] | None = None
    resolution_unit: str | None = None
    profile: EmbeddedProfile | None = None


@dataclass(frozen=True, slots=True, kw_only=True)
class TiffDescription:
    """A TIFF file; ``why`` says why it cannot be converted without a profile."""

    file: str
    kind: str
    byte_order: str
    big_tiff: bool
    pages: tuple[TiffPage, ...]
    convertible: bool
    why: str | None = None


@dataclass(frozen=True, slots=True, kw_only=True)
class PngDescription:
    """A PNG file."""

    file: str
    kind: str
    width: int
    height: int
    colours: str
    alpha: bool
    bits: int
    interlaced: bool
    chunks: tuple[str, ...]
    profile: EmbeddedProfile | None = None
    convertible: bool
    why: str | None = None


@dataclass(frozen=True, slots=True, kw_only=True)
class JpegDescription:
    """A JPEG file. ``sampling`` is across x down for each component."""

    file: str
    kind: str
    width: int
    height: int
    samples: int
    bits: int
    progressive: bool
    arithmetic: bool
    sampling: tuple[str, ...]
    profile: EmbeddedProfile | None = None
    convertible: bool
    why: str | None = None


Description = Union[TiffDescription, PngDescription, JpegDescription, ProfileDescription]


@dataclass(frozen=True, slots=True, kw_only=True)
class WorstColour:
    """A colour with a large difference: 16-bit device RGB, and the Lab that it should be."""

    device: tuple[int, int, int]
    lab: tuple[float, float, float]
    difference: float


@dataclass(frozen=True, slots=True, kw_only=True)
class PrecisionFigures:
    """Differences of a precision from Little CMS in floating point; 95 % of the colours are within ``p95``."""

    way: str
    mean: float
    median: float
    p95: float
    p99: float
    p999: float
    maximum: float
    worst: tuple[WorstColour, ...] = ()


@dataclass(frozen=True, slots=True, kw_only=True)
class Verification:
    """Both precisions compared with Little CMS in floating point. ``library`` is ``None`` for a target that the library
    does not have."""

    profile: str
    space: str
    intent: str
    bits: int
    is_bake: bool
    baked: bool
    colours: int
    clipped: int
    exact: PrecisionFigures
    library: PrecisionFigures | None


@dataclass(frozen=True, slots=True, kw_only=True)
class Bake:
    """A baked profile: grid points on each axis, how they are spaced, and differences of the library with it from Little
    CMS with the original."""

    profile: str
    output: str
    points: int
    spacing: str
    mean: float
    p95: float


@dataclass(frozen=True, slots=True, kw_only=True)
class ColourError:
    """Differences from Little CMS in floating point, of the first page; 99.9 % of the colours are within ``p999``."""

    mean: float
    p999: float
    largest: float


@dataclass(frozen=True, slots=True, kw_only=True)
class Conversion:
    """A converted file. ``clipped`` is the share of pixels with a sample at an end of the range; ``sha256`` is that of
    the converted samples. They are missing for a file that was copied."""

    status: str
    source: str
    output: str
    kind: str | None = None
    profile: str
    intent: str
    space: str
    precision: str
    way: str | None = None
    delta_e: ColourError | None = None
    baked: bool | None = None
    pixels: int | None = None
    seconds: float | None = None
    clipped: float | None = None
    sha256: str | None = None


@dataclass(frozen=True, slots=True, kw_only=True)
class ChartFigures:
    """Differences of patches from their reference."""

    patches: int
    mean: float
    median: float
    p90: float
    p95: float
    maximum: float


@dataclass(frozen=True, slots=True, kw_only=True)
class NeutralFigures:
    """Neutral patches: differences of L*, a* and b*."""

    patches: int
    lightness: float
    maximum_lightness: float
    a: float
    b: float
    maximum_tint: float


@dataclass(frozen=True, slots=True, kw_only=True)
class WorstPatch:
    """A patch with a large difference: device RGB of 0 to 1, and Lab."""

    patch: str
    device: tuple[float, float, float]
    reference: tuple[float, float, float]
    converted: tuple[float, float, float]
    difference: float
    outside: bool


@dataclass(frozen=True, slots=True, kw_only=True)
class GuidelineVerdict:
    """Whether a chart meets a guideline: its mean, and what ``percent`` of its patches are within."""

    name: str
    met: bool
    mean: float
    percent: int
    within: float


@dataclass(frozen=True, slots=True, kw_only=True)
class ChartCheck:
    """The converted colours of a chart compared with their reference. ``inside`` leaves out patches outside the output
    space."""

    reference: str
    scan: str | None = None
    profile: str
    space: str
    intent: str
    precision: str
    compared: str
    left_out: int
    all: ChartFigures
    inside: ChartFigures | None
    neutral: NeutralFigures | None
    worst: tuple[WorstPatch, ...]
    guideline: GuidelineVerdict | None = None


def from_json(kind: Any, data: Any) -> Any:
    """A value of a type of this module from JSON that was parsed."""
    origin, parts = typing.get_origin(kind), typing.get_args(kind)
    if origin in (Union, types.UnionType):
        return from_json(_chosen(parts, data), data)
    if origin is tuple:
        items = parts[:1] * len(data) if parts[-1] is Ellipsis else parts
        return tuple(from_json(one, item) for one, item in zip(items, data, strict=True))
    if not dataclasses.is_dataclass(kind):
        return data
    kinds = typing.get_type_hints(kind)
    names = {field.name: _KEYS.get(field.name, field.name) for field in dataclasses.fields(kind)}
    plain = _underscored(data)
    return kind(**{name: from_json(kinds[name], plain[key]) for name, key in names.items() if key in plain})


def _underscored(data: dict[str, Any]) -> dict[str, Any]:
    """With underscores in the keys. Names that are not UTF-8 are as os.fsdecode() gives them."""
    plain = {key.replace(" ", "_"): value for key, value in data.items()}
    for key in [key for key in plain if key.endswith("_hex")]:
        plain[key[: -len("_hex")]] = os.fsdecode(bytes.fromhex(plain.pop(key)))
    return plain


def _chosen(kinds: tuple[Any, ...], data: Any) -> Any:
    """The type of a union that fits: the first dataclass whose required fields are there."""
    if data is None:
        return type(None)
    for kind in kinds:
        if dataclasses.is_dataclass(kind) and isinstance(data, dict):
            keys = _underscored(data)
            if all(_KEYS.get(f.name, f.name) in keys for f in dataclasses.fields(kind) if _is_required(f)):
                return kind
        elif typing.get_origin(kind) is tuple and isinstance(data, list):
            return kind
        elif isinstance(kind, type) and isinstance(data, (int, float, str)) and kind is not type(None):
            if isinstance(data, kind) or (kind is float and isinstance(data, int)):
                return kind
    raise ValueError(f"unknown JSON of the command: {data!r}")


def _is_required(field: dataclasses.Field[Any]) -> bool:
    return field.default is dataclasses.MISSING and field.default_factory is dataclasses.MISSING
