#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""dask_large_picture.py PROFILE SOURCE OUTPUT: converts an uncompressed RGB TIFF file of any size to sRGB.

Both files are mapped, and Dask converts blocks of rows, as many at a time as there are processors. So the picture may
be larger than the memory.
"""
from __future__ import annotations

import sys

import dask.array
import hueweave
import tifffile

BLOCK_BYTES = 16 << 20


def convert(profile: str, source: str, output: str) -> tuple[int, ...]:
    """Returns the shape of the picture."""
    transform = hueweave.Transform(profile)
    samples = tifffile.memmap(source, mode="r")
    result = tifffile.memmap(output, shape=samples.shape, dtype=samples.dtype, photometric="rgb")
    rows = max(1, BLOCK_BYTES // samples[0].nbytes)
    blocks = dask.array.from_array(samples, chunks=(rows, *samples.shape[1:]), name=False)
    # The interpreter's lock is released while a block is converted, so that threads are enough. Each block is written
    # where it belongs as soon as it is done.
    converted = blocks.map_blocks(transform, dtype=blocks.dtype, meta=blocks._meta)
    dask.array.store(converted, result, lock=False, scheduler="threads")
    result.flush()
    shape: tuple[int, ...] = samples.shape
    return shape


def main() -> None:
    if len(sys.argv) != 4:
        sys.exit(__doc__)
    try:
        print(f"{sys.argv[3]}: {' x '.join(map(str, convert(*sys.argv[1:])))} samples")
    except (OSError, ValueError, TypeError, tifffile.TiffFileError, hueweave.HueweaveError) as error:
        sys.exit(str(error))


if __name__ == "__main__":
    main()
