#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""simulate.py [--files N ...] [--nodes N ...] [--figure NAME=VALUE ...]: the time and cost of converting very many files
on many machines, and what limits them. The figures are those of docs/many-machines.md; give your own with --figure:
measure one part, and ask the vendor of the storage for its rates."""
import argparse
import dataclasses


@dataclasses.dataclass
class Figures:
    """What a file, a run and the storage take. Sizes in MB (10^6 bytes), times in seconds, money in any currency."""
    size: float = 50.0  # of a file; the output is as large
    fixed: float = 0.006  # of a run for each file, whatever its size; mostly waiting for the disk
    throughput: float = 500.0  # MB/s of source that a core converts
    start: float = 0.1  # of a run: the profile, its tables and their check
    listing: float = 1e-6  # of a core for each name, in each run
    job: float = 0.8  # of a core for each job of the engine
    network: float = 1250.0  # MB/s of a node, in each direction
    bandwidth: float = 5000.0  # MB/s of the storage, reading and writing together
    calls: float = 50000.0  # calls a second that the storage's server of names takes
    calls_per_file: float = 10.0  # open, create, two renames or links, four flushes, two sizes
    names_per_call: float = 100.0  # that listing a folder returns
    cores: float = 16.0  # of a node
    price: float = 0.50  # of a node for an hour


def predict(figures, files, nodes, parts=None, listed_once=False):
    """Returns the seconds, and how long each resource alone would take; the longest is the limit. With `listed_once`,
    the names are listed once and divided in advance, and each part gets its own list."""
    cores = nodes * figures.cores
    parts = parts or max(1, min(1000, 8 * cores))
    used = min(cores, parts)
    rounds = -(-parts // used)  # parts that the busiest core runs, one after the other
    names = files if listed_once else parts * files
    per_part = figures.job + figures.start + names / parts * figures.listing
    resources = {
        "cores": rounds * (per_part + files / parts * (figures.fixed + figures.size / figures.throughput)),
        "network of the nodes": files * figures.size / (figures.network * nodes),
        "bandwidth of the storage": 2 * files * figures.size / figures.bandwidth,
        "server of names": (files * figures.calls_per_file + names / figures.names_per_call) / figures.calls,
    }
    if rounds * per_part > resources["cores"] / 2:
        resources["jobs and lists"] = resources.pop("cores")
    return max(resources.values()), resources


def span(seconds):
    for unit, length in (("years", 31557600), ("days", 86400), ("h", 3600), ("min", 60)):
        if seconds >= 2 * length:
            return f"{seconds / length:.1f} {unit}"
    return f"{seconds:.0f} s"


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--files", type=float, nargs="+", default=[1e4, 1e5, 1e6, 1e7, 1e8])
    parser.add_argument("--nodes", type=int, nargs="+", default=[1, 10, 100, 1000])
    parser.add_argument("--parts", type=int, help="default: eight for each core, at most 1000")
    parser.add_argument("--listed-once", action="store_true", help="the names are listed once and divided in advance")
    parser.add_argument("--figure", action="append", default=[], metavar="NAME=VALUE",
                        help=", ".join(f"{field.name}={field.default:g}" for field in dataclasses.fields(Figures)))
    options = parser.parse_args()
    figures = Figures(**{name: float(value) for name, value in (each.split("=") for each in options.figure)})
    print("| Files | Nodes | Time | Node hours | Cost | Limited by |\n|---:|---:|---:|---:|---:|---|")
    for files in options.files:
        for nodes in options.nodes:
            seconds, resources = predict(figures, files, nodes, options.parts, options.listed_once)
            hours = nodes * seconds / 3600
            limit = max(resources, key=resources.get)
            print(f"| {files:,.0f} | {nodes:,} | {span(seconds)} | {hours:,.1f} | {hours * figures.price:,.0f} | {limit} |")


if __name__ == "__main__":
    main()
