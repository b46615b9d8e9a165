#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""tifffile_pages.py PROFILE SOURCE OUTPUT: converts every RGB page of a TIFF file to sRGB, and embeds the profile.

tifffile decodes and encodes; layout and metadata of the source are lost. hueweave.convert_file() keeps them.
"""
from __future__ import annotations

import sys

import hueweave
import tifffile

ICC_PROFILE, UNDEFINED = 34675, 7  # tag and type


def convert(profile: str, source: str, output: str) -> int:
    """Returns the number of pages."""
    transform = hueweave.Transform(profile)
    assert transform.profile is not None
    tag = (ICC_PROFILE, UNDEFINED, len(transform.profile), transform.profile, True)
    with tifffile.TiffFile(source) as pages, tifffile.TiffWriter(output) as writer:
        for page in pages.pages:
            samples = page.asarray()
            transform(samples, out=samples, threads=2)  # extra samples such as alpha are kept
            writer.write(samples, photometric="rgb", extratags=[tag])
        return len(pages.pages)


def main() -> None:
    if len(sys.argv) != 4:
        sys.exit(__doc__)
    try:
        print(f"{sys.argv[3]}: {convert(*sys.argv[1:])} pages")
    except (OSError, ValueError, TypeError, tifffile.TiffFileError, hueweave.HueweaveError) as error:
        sys.exit(str(error))


if __name__ == "__main__":
    main()
