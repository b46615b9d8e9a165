#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Measures time and memory as functions of the pixels per call and per file and of the grid points of a profile.

growth.py BINARIES OUT.json: runs bench_growth, then converts files of 1 to 10^8 pixels in memory-backed storage.
"""

import argparse
import json
import pathlib
import subprocess
import tempfile

from timing import run


def files(binaries, largest, storage):
    rows = []
    pixels = 1
    while pixels <= largest:
        height = 10 ** ((len(str(pixels)) - 1) // 2)
        with tempfile.TemporaryDirectory(prefix="hueweave-", dir=storage) as name:
            folder = pathlib.Path(name)
            size = [str(pixels // height), str(height)]
            subprocess.run([str(binaries / "make_picture"), name, *size], check=True)
            for bits in (8, 16):
                source, dest, profile = folder / f"photo-{bits}.tif", folder / "out.tif", folder / "scanner.icc"
                command = [str(binaries / "convert_file"), str(bits), str(profile), str(source), str(dest)]
                runs = [run(command) for _ in range(3 if pixels > 10**7 else 5)]
                rows.append(
                    {
                        "what": "file",
                        "bits": bits,
                        "n": pixels,
                        "seconds": min(cpu for cpu, _, _ in runs),
                        "bytes": max(peak for _, _, peak in runs),
                    }
                )
                dest.unlink()
        pixels *= 10
    return rows


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("binaries", type=pathlib.Path)
    parser.add_argument("out", type=pathlib.Path)
    parser.add_argument("--largest", type=int, default=10**9, help="pixels of a call")
    parser.add_argument("--largest-file", type=int, default=10**8, help="pixels of a file")
    parser.add_argument("--storage", default="/dev/shm")
    options = parser.parse_args()

    command = [str(options.binaries / "bench_growth"), str(options.largest)]
    rows = json.loads(subprocess.run(command, check=True, stdout=subprocess.PIPE).stdout)
    rows += files(options.binaries, options.largest_file, options.storage)
    options.out.write_text("[\n" + ",\n".join(json.dumps(row) for row in rows) + "\n]\n")


if __name__ == "__main__":
    main()
