#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Writes the ratios of the exact transform, from one run of the benchmarks, as tables.

transform_report.py --benches bench.json [--programs programs.json] [--into docs/benchmarks.md]

bench.json has the benchmarks of transform_bench.cpp; programs.json is what programs.py writes. As in report.py, every
figure is the minimum processor time over all repetitions.
"""

import argparse
import json
import pathlib
import sys

from report import AT_LEAST, AT_MOST, Benches, cell, machine

BEGIN = "<!-- bench/transform_report.py writes from here -->"
END = "<!-- to here, transforms -->"
JOBS = {
    "lab": "Lab table to a space",
    "xyz": "XYZ table to a space",
    "matrix": "matrix to a space",
    "table_target": "space to a printer's table",
}
# For both depths.
FASTER = {"lab": 3, "xyz": 3, "matrix": 4, "table_target": 4}
SET_UP, LIBRARY, VIPS = 2, 2.5, 1.5


def table(rows):
    lines = ["| ratio (goal) | 8 bit | 16 bit |", "|---|---|---|"]
    for name, goal, values in rows:
        lines.append(f"| {name} | " + " | ".join(cell(value, goal, n) for n, value in enumerate(values)) + " |")
    return "\n".join(lines)


def ratios(benches, above, below, jobs=JOBS):
    """For each job, one name of a benchmark divided by another at both depths."""
    return {job: [benches.of(f"BM_{above}/{job}/bits:{bits}") / benches.of(f"BM_{below}/{job}/bits:{bits}")
                  for bits in (8, 16)] for job in jobs}


def transform_rows(benches):
    speed = ratios(benches, "LittleCms_Convert", "Transform_Convert")
    set_up = ratios(benches, "Transform_Make", "LittleCms_Make")
    rows = [(f"{title}: cmsDoTransform / ours", (AT_LEAST, FASTER[job], FASTER[job]), speed[job])
            for job, title in JOBS.items()]
    return rows + [(f"{title}: set-up with its check / opening and cmsCreateTransform", (AT_MOST, SET_UP, SET_UP),
                    set_up[job]) for job, title in JOBS.items()]


def library_rows(benches):
    names = {"LittleCms_Convert": "cmsDoTransform", "CIccEngineS_Convert": "the engine"}
    return [(f"{JOBS['lab']}, library's precision: {peer} / ours", None,
             ratios(benches, name, "LibraryConverter_Convert", ["lab"])["lab"]) for name, peer in names.items()]


def program_rows(programs):
    best = {(row["program"], row["bits"]): min(row["cpu"]) for row in programs["rows"]}

    def ratio(above, below):
        return [best[above, bits] / best[below, bits] for bits in (8, 16)]

    return [
        ("exact / library", (AT_MOST, LIBRARY, LIBRARY), ratio("exact", "library")),
        ("vips / exact", (AT_LEAST, VIPS, VIPS), ratio("vips", "exact")),
    ]


def absolute(benches):
    lines = ["| ns per pixel | 8 bit | 16 bit |", "|---|---|---|"]
    for job, title in JOBS.items():
        values = [f"{benches.of(f'BM_Transform_Convert/{job}/bits:{bits}'):.2f}" for bits in (8, 16)]
        lines.append(f"| {title} | " + " | ".join(values) + " |")
    return "\n".join(lines)


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--benches", type=pathlib.Path, required=True)
    parser.add_argument("--programs", type=pathlib.Path)
    parser.add_argument("--into", type=pathlib.Path)
    options = parser.parse_args()

    benches = Benches(options.benches)
    text = f"{machine(benches)}\n\n{table(transform_rows(benches) + library_rows(benches))}"
    if options.programs:
        programs = json.loads(options.programs.read_text())
        title = f"Processor time of `hueweave convert` for a file of {programs['pixels'] / 1e6:.0f} megapixels"
        text += f"\n\n{title}:\n\n{table(program_rows(programs))}"
    text += f"\n\nFor orientation, from the same run:\n\n{absolute(benches)}"
    print(text)
    if options.into:
        document = options.into.read_text()
        if BEGIN not in document or END not in document:
            sys.exit(f"{options.into} has no marker lines")
        head, rest = document.split(BEGIN, 1)
        options.into.write_text(head + BEGIN + "\n" + text + "\n" + END + rest.split(END, 1)[1])


if __name__ == "__main__":
    main()
