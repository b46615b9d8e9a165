# SPDX-License-Identifier: MIT
"""Colour matching of device RGB images through ICC profiles.

Transform converts NumPy arrays from the colours of one RGB profile to those of another one, as exactly as Little CMS in
floating point. Engine is the older engine of the library, with its pixels and its results. inspect(), verify(),
bake(), convert_file() and check() run the command hueweave, which must be installed.

The package prints nothing.
"""
from ._command import bake, check, convert_file, inspect, verify
from ._engine import ColorSpace, Engine, EngineIntent
from ._errors import HueweaveError, InputError, OutputError, ProfileError
from ._native import spaces as _spaces
from ._native import version as __version__
from ._results import (
    Bake,
    ChartCheck,
    ChartFigures,
    ColourError,
    Conversion,
    GuidelineVerdict,
    IntentSupport,
    JpegDescription,
    NeutralFigures,
    PngDescription,
    PrecisionFigures,
    ProfileDescription,
    ProfileTag,
    SameProfile,
    TableShape,
    TiffDescription,
    TiffPage,
    UnreadableProfile,
    Verification,
    WorstColour,
    WorstPatch,
)
from ._transform import Transform, TransformInfo

__all__ = [
    "Bake",
    "ChartCheck",
    "ChartFigures",
    "ColorSpace",
    "ColourError",
    "Conversion",
    "Engine",
    "EngineIntent",
    "GuidelineVerdict",
    "HueweaveError",
    "InputError",
    "IntentSupport",
    "JpegDescription",
    "NeutralFigures",
    "OutputError",
    "PngDescription",
    "PrecisionFigures",
    "ProfileDescription",
    "ProfileError",
    "ProfileTag",
    "SameProfile",
    "TableShape",
    "TiffDescription",
    "TiffPage",
    "Transform",
    "TransformInfo",
    "UnreadableProfile",
    "Verification",
    "WorstColour",
    "WorstPatch",
    "__version__",
    "bake",
    "check",
    "convert_file",
    "inspect",
    "spaces",
    "verify",
]


def spaces() -> dict[str, str]:
    """The colour spaces that have a name, such as ``"srgb"``, with their titles, such as ``"sRGB"``.

    The names may be written in upper or lower case; common aliases such as ``"AdobeRGB1998"`` are known as well.
    """
    return _spaces()
