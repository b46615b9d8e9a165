#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""cover.py KILLS...: from the lists that `run.py --every` wrote, says which tests are enough to notice every mutant.

Prints a line a test: how many mutants it notices, how many of them no other test notices, and whether it belongs to a
smallest set that was found greedily. A test without mutants of its own is not useless, since a draw is a sample: it is
one to look at beside its neighbours.
"""
import collections
import sys


def read(paths):
    """The mutants that each test notices. What ran with parameters counts as one test."""
    noticed = collections.defaultdict(set)
    for path in paths:
        for line in open(path):
            verdict, mutant = line.rstrip("\n").split("\t", 1)
            if verdict.startswith("killed by "):
                for test in verdict.removeprefix("killed by ").split("|"):
                    suite, _, name = test.partition(" ")
                    parts = name.split("/")
                    plain = next((part for part in parts if "." in part), name)
                    noticed[f"{suite} {plain}"].add(mutant)
    return noticed


def cover(noticed):
    """Tests that together notice all, each time the one that adds most."""
    left, chosen = set().union(*noticed.values()), []
    while left:
        best = max(sorted(noticed), key=lambda test: len(noticed[test] & left))
        chosen.append(best)
        left -= noticed[best]
    return chosen


def main():
    if len(sys.argv) < 2:
        raise SystemExit(__doc__)
    noticed = read(sys.argv[1:])
    if not noticed:
        raise SystemExit("no test noticed anything")
    counts = collections.Counter(mutant for mutants in noticed.values() for mutant in mutants)
    chosen = set(cover(noticed))
    for test in sorted(noticed, key=lambda test: (-len(noticed[test]), test)):
        own = sum(counts[mutant] == 1 for mutant in noticed[test])
        print(f"{len(noticed[test]):5} {own:5} {'enough' if test in chosen else '':7} {test}")
    print(f"{len(chosen)} of {len(noticed)} tests notice all {len(counts)} mutants")


if __name__ == "__main__":
    main()
