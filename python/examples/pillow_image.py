#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""pillow_image.py SOURCE OUTPUT [PROFILE]: converts a picture that Pillow can read to sRGB, by the embedded profile or
by PROFILE, and embeds the profile of sRGB."""
from __future__ import annotations

import sys

import hueweave
import numpy
from PIL import Image


def convert(source: str, output: str, profile: str | None = None) -> str:
    """Returns how it was converted."""
    with Image.open(source) as image:
        embedded = image.info.get("icc_profile")
        if profile is None and embedded is None:
            raise ValueError(f"{source}: embeds no profile; give one")
        transform = hueweave.Transform(profile if profile is not None else embedded)
        samples = numpy.asarray(image if image.mode in ("RGB", "RGBA") else image.convert("RGB"))
        Image.fromarray(transform(samples)).save(output, icc_profile=transform.profile)
    return transform.info.way


def main() -> None:
    if len(sys.argv) not in (3, 4):
        sys.exit(__doc__)
    try:
        print(f"{sys.argv[2]}: {convert(*sys.argv[1:])}")
    except (OSError, ValueError, hueweave.HueweaveError) as error:
        sys.exit(str(error))


if __name__ == "__main__":
    main()
