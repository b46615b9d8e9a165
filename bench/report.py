#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Writes the ratios from one run of the benchmarks as a table and as JSON.

report.py --benches bench.json --programs programs.json [--json OUT.json] [--into docs/benchmarks.md]

Every figure is the minimum processor time over all repetitions of one run, in which the benchmarks ran in random order;
only ratios of such figures are reported. With --into, the table replaces the text between the two marker lines of that
file.
"""

import argparse
import json
import pathlib
import platform
import sys

BEGIN = "<!-- bench/report.py writes from here -->"
END = "<!-- to here -->"

# Minimum or maximum ratios at 8 and at 16 bits.
AT_LEAST, AT_MOST = ">=", "<="
GOALS = {
    "plain / sse2": (AT_LEAST, 2.3, 2.3),
    "plain / avx2": (AT_LEAST, 3.4, 3.3),
    "Little CMS without its cache / avx2": (AT_LEAST, 9, 6.5),
    "avx2 / memcpy": (AT_MOST, 12, 7.5),
    "avx2, random pixels / constant colour": (AT_MOST, 1.6, 2),
    "cmsCreateTransform / SetIntent": (AT_LEAST, 20, 15),
    "whole file: tificc / ours": (AT_LEAST, 3.5, 2.2),
    "whole file: cctiff / ours": (AT_LEAST, 1.2, 2.1),
    "whole file: vips / ours": (AT_LEAST, 3.5, 2.4),
}


class Benches:
    """Minima over repetitions, in nanoseconds per item."""

    def __init__(self, path):
        data = json.loads(path.read_text())
        self.context = data["context"]
        self.minima = {}
        for row in data["benchmarks"]:
            if row.get("run_type") == "iteration" and "items_per_second" in row:
                nanoseconds = 1e9 / row["items_per_second"]
                self.minima[row["name"]] = min(nanoseconds, self.minima.get(row["name"], nanoseconds))
        self.repetitions = max(row.get("repetitions", 1) for row in data["benchmarks"])

    def of(self, name):
        return self.minima[name]

    def kernel(self, name, bits, what):
        return self.of(f"BM_Kernel_Convert/{name}/bits:{bits}/{what}")

    def cms(self, cache, bits, what):
        return self.of(f"BM_LittleCms_Transform/{cache}/bits:{bits}/{what}")

    def memcpy(self, bits):
        return self.of(f"BM_Libc_Memcpy/bits:{bits}/photo")

    def setup(self, name, bits, points=33, entries=1024):
        return self.of(f"BM_{name}/bits:{bits}/points:{points}/entries:{entries}")

    def kernels(self):
        """The plain loop first, then from the slowest to the fastest."""
        prefix, suffix = "BM_Kernel_Convert/", "/bits:8/photo"
        full = [name for name in self.minima if name.startswith(prefix) and name.endswith(suffix)]
        names = [name[len(prefix) : -len(suffix)] for name in full]
        return sorted(names, key=lambda kernel: (kernel != "plain", -self.kernel(kernel, 8, "photo")))


def pixel_rows(benches):
    rows = {}

    def add(name, ratio):
        rows[name] = [ratio(bits) for bits in (8, 16)]

    faster = benches.kernels()[1:]
    for kernel in faster:
        add(f"plain / {kernel}", lambda b: benches.kernel("plain", b, "photo") / benches.kernel(kernel, b, "photo"))
    for kernel in faster[1:]:
        def ours(bits, what="photo", kernel=kernel):
            return benches.kernel(kernel, bits, what)

        add(f"Little CMS without its cache / {kernel}", lambda b: benches.cms("nocache", b, "photo") / ours(b))
        add(f"Little CMS with its cache / {kernel}", lambda b: benches.cms("default", b, "photo") / ours(b))
        add(f"{kernel} / memcpy", lambda b: ours(b) / benches.memcpy(b))
        add(f"{kernel}, random pixels / constant colour", lambda b: ours(b, "random") / ours(b, "constant"))
        add(f"{kernel}, random pixels / photo", lambda b: ours(b, "random") / ours(b))
    for run in (1, 7, 255, 4096):
        what = f"run:{run}"

        def engine(bits, what=what):
            return benches.of(f"BM_CIccEngineS_Conversion/bits:{bits}/{what}")

        calls = "calls of 1 pixel" if run == 1 else f"calls of {run} pixels"
        add(f"{calls}: Little CMS without its cache / ours", lambda b: benches.cms("nocache", b, what) / engine(b))
        add(f"{calls}: plain loop / ours", lambda b: benches.kernel("plain", b, what) / engine(b))
    return rows


def setup_rows(benches):
    rows = {}
    create, both = "LittleCms_CreateTransform", "LittleCms_OpenAndCreate"
    for ours, theirs in (
        ("SetIntent", create),
        ("SetProfile", both),
        ("AdjustLch", create),
        ("AdjustOutput", create),
    ):
        peer = "cmsCreateTransform" if theirs == create else "opening and cmsCreateTransform"
        for points, entries in ((33, 1024), (17, 256)):
            name = f"{peer} / {ours}" + ("" if points == 33 else f", {points} points, {entries} entries")
            rows[name] = [
                benches.setup(theirs, bits, points, entries)
                / benches.setup(f"CIccEngineS_{ours}", bits, points, entries)
                for bits in (8, 16)
            ]
    return rows


def tiff_rows(benches):
    def at(name, bits):
        return benches.of(f"BM_{name}/bits:{bits}")

    return {
        "reading a TIFF file / reading its bytes": [at("CTiff_ReadFile", b) / at("Libc_ReadFile", b) for b in (8, 16)],
        "writing a TIFF file / writing its bytes": [at("CTiff_SaveFile", b) / at("Libc_WriteFile", b) for b in (8, 16)],
        "converting a TIFF file / reading and writing its bytes": [
            at("CIccEngineS_ConvertFile", b) / (at("Libc_ReadFile", b) + at("Libc_WriteFile", b)) for b in (8, 16)
        ],
    }


def program_rows(programs):
    best = {(row["program"], row["bits"]): row for row in programs["rows"]}
    rows = {}
    for name in ("tificc", "cctiff", "vips"):
        rows[f"whole file: {name} / ours"] = [
            min(best[name, bits]["cpu"]) / min(best["hueweave", bits]["cpu"]) for bits in (8, 16)
        ]
    rows["whole file: ours / cp"] = [min(best["hueweave", b]["cpu"]) / min(best["cp", b]["cpu"]) for b in (8, 16)]
    for name in ("hueweave", "tificc", "cctiff", "vips"):
        title = "ours" if name == "hueweave" else name
        rows[f"peak memory of {title} / samples of the image"] = [
            max(best[name, bits]["peak"]) / (3 * programs["pixels"] * bits // 8) for bits in (8, 16)
        ]
    return rows


def met(goal, values):
    sense, *limits = goal
    return [value >= limit if sense == AT_LEAST else value <= limit for value, limit in zip(values, limits)]


def cell(value, goal, index):
    """The ratio, its goal, and a mark if it is missed."""
    text = f"{value:.2f}" if value < 100 else f"{value:.0f}"
    if goal is None:
        return text
    reached = met(goal, [value] * 2)[index]
    return f"{text} ({goal[0]} {goal[1 + index]}{'' if reached else ', **missed**'})"


def table(rows):
    lines = ["| ratio (goal) | 8 bit | 16 bit |", "|---|---|---|"]
    for name, values in rows.items():
        goal = GOALS.get(name)
        lines.append(f"| {name} | " + " | ".join(cell(value, goal, i) for i, value in enumerate(values)) + " |")
    return "\n".join(lines)


def processor():
    for line in pathlib.Path("/proc/cpuinfo").read_text().splitlines():
        if line.startswith("model name"):
            return line.split(":", 1)[1].strip()
    return platform.machine()


def machine(benches):
    context = benches.context
    caches = ", ".join(
        f"L{c['level']} {c['size'] // 1024} KiB" for c in context["caches"] if c["type"] in ("Data", "Unified")
    )
    cms = int(context["little_cms"])
    return (
        f"{processor()}, {context['num_cpus']} processors at {context['mhz_per_cpu']} MHz ({caches}), "
        f"{platform.system()} {platform.release().split('-')[0]}, g++ {context['compiler']}, "
        f"Little CMS {cms // 1000}.{cms % 1000 // 10:02d}, {context['date'][:10]}; "
        f"load {context['load_avg'][0]:.1f} at the start, minima of {benches.repetitions} repetitions."
    )


def absolute(benches):
    """Nanoseconds per pixel on the photo, for orientation only."""
    lines = ["| ns per pixel, photo | 8 bit | 16 bit |", "|---|---|---|"]
    names = [(kernel, f"BM_Kernel_Convert/{kernel}") for kernel in benches.kernels()]
    names += [("Little CMS without its cache", "BM_LittleCms_Transform/nocache"), ("memcpy", "BM_Libc_Memcpy")]
    for title, name in names:
        values = [f"{benches.of(f'{name}/bits:{bits}/photo'):.2f}" for bits in (8, 16)]
        lines.append(f"| {title} | " + " | ".join(values) + " |")
    return "\n".join(lines)


def write_into(path, text):
    document = path.read_text()
    if BEGIN not in document or END not in document:
        sys.exit(f"{path} has no marker lines")
    head, rest = document.split(BEGIN, 1)
    path.write_text(head + BEGIN + "\n" + text + "\n" + END + rest.split(END, 1)[1])


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--benches", type=pathlib.Path, required=True)
    parser.add_argument("--programs", type=pathlib.Path)
    parser.add_argument("--json", type=pathlib.Path)
    parser.add_argument("--into", type=pathlib.Path)
    options = parser.parse_args()

    benches = Benches(options.benches)
    groups = {
        "Pixels": pixel_rows(benches),
        "Building tables (33 points, 1024-entry curves)": setup_rows(benches),
        "TIFF files (12 megapixels)": tiff_rows(benches),
    }
    if options.programs:
        programs = json.loads(options.programs.read_text())
        groups[f"Whole programs ({programs['pixels'] / 1e6:.0f} megapixels)"] = program_rows(programs)

    text = machine(benches) + "\n"
    for title, rows in groups.items():
        text += f"\n### {title}\n\n{table(rows)}\n"
    text += f"\nFor orientation, from the same run:\n\n{absolute(benches)}"
    print(text)
    if options.into:
        write_into(options.into, text)
    if options.json:
        ratios = [
            {
                "group": title,
                "name": name,
                "8": values[0],
                "16": values[1],
                **({"goal": GOALS[name], "met": met(GOALS[name], values)} if name in GOALS else {}),
            }
            for title, rows in groups.items()
            for name, values in rows.items()
        ]
        result = {"machine": machine(benches), "ratios": ratios, "ns_an_item": benches.minima}
        options.json.write_text(json.dumps(result, indent=1) + "\n")


if __name__ == "__main__":
    main()
