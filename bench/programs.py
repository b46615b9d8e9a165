#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Runs whole programs on the same TIFF files in memory-backed storage, on one processor each.

programs.py BINARIES OUT.json: converts a 100-megapixel photo from a scanner's profile to sRGB with this library, the
command in both precisions, tificc, cctiff and vips, several times in random order, and stores all times. Before that it
converts a small photo with all of them and compares the results, so that a program that does something else does not
count as fast. --only names some of these programs.
"""

import argparse
import json
import os
import pathlib
import random
import re
import shutil
import subprocess
import sys
import tempfile

from timing import run

SRGB = "/usr/share/color/argyll/ref/sRGB.icm"
PACKAGES = {
    "tificc": "liblcms2-utils",
    "cctiff": "argyll",
    "vips": "libvips-tools",
    "tiffcp": "libtiff-tools",
    "compare-im6": "imagemagick",
}
# Mean difference of samples relative to full scale: half of it is due to the 8-bit nodes of our grid, see
# docs/accuracy.md.
SANE = 0.01


def commands(binaries, folder, bits, source, dest):
    """The command line of each program: perceptual, uncompressed, without an embedded profile."""
    profile = str(folder / "scanner.icc")
    vips = ["vips", "icc_transform", source, dest, SRGB, "--input-profile", profile, "--intent", "perceptual"]
    command = [str(binaries.parent / "apps/hueweave/hueweave"), "convert", "--quiet", "--jobs", "1", "--no-tag"]
    command += ["--profile", profile, source, "--output", dest, "--precision"]
    return {
        "hueweave": [str(binaries / "convert_file"), str(bits), profile, source, dest],
        "exact": [*command, "exact"],
        "library": [*command, "library"],
        "tificc": ["tificc", "-i" + profile, "-o*sRGB", "-t0", f"-w{bits}", "-n", source, dest],
        "cctiff": ["cctiff", "-N", "-i", "p", profile, "-i", "p", SRGB, source, dest],
        "vips": [*vips, "--depth", str(bits)],
        "cp": ["cp", source, dest],
    }


def make_sources(binaries, folder, width, height):
    """Creates sources with strips of 16 rows, as most programs write them."""
    subprocess.run([str(binaries / "make_picture"), str(folder), str(width), str(height)], check=True)
    for bits in (8, 16):
        whole = folder / f"photo-{bits}.tif"
        command = ["tiffcp", "-L", "-c", "none", "-r", "16", str(whole), str(folder / f"in-{bits}.tif")]
        subprocess.run(command, check=True, stderr=subprocess.DEVNULL)
        whole.unlink()


def check_outputs(binaries, folder):
    """Stops if the result of a program differs from ours; returns the mean differences."""
    make_sources(binaries, folder, 2001, 1501)
    differences = {}
    for bits in (8, 16):
        pictures = {}
        source = str(folder / f"in-{bits}.tif")
        for name in commands(binaries, folder, bits, source, ""):
            pictures[name] = str(folder / f"small-{name}-{bits}.tif")
            run(commands(binaries, folder, bits, source, pictures[name])[name])
        for name in ("exact", "library", "tificc", "cctiff", "vips"):
            command = ["compare-im6", "-metric", "MAE", pictures["hueweave"], pictures[name], "null:"]
            told = subprocess.run(command, stderr=subprocess.PIPE, text=True, check=False).stderr
            match = re.search(r"^[\d.e+-]+ \(([\d.e+-]+)\)", told, re.MULTILINE)
            if not match or float(match[1]) > SANE:
                sys.exit(f"{name} at {bits} bits gives another picture: {told}")
            differences[f"{name}-{bits}"] = float(match[1])
        for picture in pictures.values():
            os.unlink(picture)
    return differences


def measure(binaries, folder, repetitions, samples, only):
    rows = {}
    for _ in range(repetitions):
        jobs = [(name, bits) for bits in (8, 16) for name in commands(binaries, folder, bits, "", "")]
        jobs = [job for job in jobs if only is None or job[0] in only]
        random.shuffle(jobs)
        for name, bits in jobs:
            dest = folder / "out.tif"
            source = str(folder / f"in-{bits}.tif")
            cpu, wall, peak = run(commands(binaries, folder, bits, source, str(dest))[name])
            if dest.stat().st_size < samples * bits // 8:
                sys.exit(f"{name} wrote too little")
            dest.unlink()
            row = rows.setdefault((name, bits), {"program": name, "bits": bits, "cpu": [], "wall": [], "peak": []})
            for key, value in (("cpu", cpu), ("wall", wall), ("peak", peak)):
                row[key].append(value)
            print(f"  {name:9}{bits:3} bits {cpu:8.2f} s", flush=True)
    return list(rows.values())


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("binaries", type=pathlib.Path)
    parser.add_argument("out", type=pathlib.Path)
    parser.add_argument("--size", type=int, nargs=2, default=(11585, 8641), metavar=("WIDTH", "HEIGHT"))
    parser.add_argument("--repetitions", type=int, default=5)
    parser.add_argument("--storage", default="/dev/shm")
    parser.add_argument("--only", nargs="+", metavar="PROGRAM")
    options = parser.parse_args()

    missing = sorted({package for tool, package in PACKAGES.items() if shutil.which(tool) is None})
    if missing:
        sys.exit("missing; install with: apt-get install " + " ".join(missing))
    width, height = options.size
    with tempfile.TemporaryDirectory(prefix="hueweave-", dir=options.storage) as name:
        folder = pathlib.Path(name)
        differences = check_outputs(options.binaries, folder)
        make_sources(options.binaries, folder, width, height)
        rows = measure(options.binaries, folder, options.repetitions, 3 * width * height, options.only)
    result = {"pixels": width * height, "mean_differences": differences, "rows": rows}
    options.out.write_text(json.dumps(result, indent=1) + "\n")


if __name__ == "__main__":
    main()
