#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""distributed_cluster.py PROFILE [--kill]: converts a picture with the workers of a local cluster.

With --kill, one of the two workers is killed after the first block. Its blocks are converted again, and the result is
the same: a block depends on its pixels and the transform alone, and the transform is sent to a worker with its
profiles, so that no worker needs their files.
"""
from __future__ import annotations

import os
import signal
import sys
from typing import Any

import hueweave
import numpy
from distributed import Client, LocalCluster, as_completed
from numpy.typing import NDArray

BLOCKS = 24


def convert_block(transform: hueweave.Transform, number: int) -> tuple[int, int, NDArray[numpy.uint8]]:
    """The number of a block, the process that converted it, and its pixels."""
    return number, os.getpid(), transform(block(number))


def block(number: int) -> NDArray[numpy.uint8]:
    """What a camera or a file would give."""
    random = numpy.random.default_rng(number)
    return random.integers(0, 256, (500, 600, 3), numpy.uint8)


def convert(client: Client, transform: hueweave.Transform, kill: bool) -> dict[int, Any]:
    """The converted blocks by number."""
    sent = client.scatter(transform, broadcast=True)
    futures = [client.submit(convert_block, sent, number, pure=False) for number in range(BLOCKS)]
    results = {}
    for _, (number, process, pixels) in as_completed(futures, with_results=True):
        if kill:
            os.kill(process, signal.SIGKILL)
            kill = False
        results[number] = pixels
    return results


def main() -> None:
    if len(sys.argv) not in (2, 3):
        sys.exit(__doc__)
    kill = "--kill" in sys.argv
    transform = hueweave.Transform(sys.argv[1])
    with LocalCluster(n_workers=2, threads_per_worker=1, dashboard_address=None) as cluster, Client(cluster) as client:
        before = set(client.run(os.getpid).values())
        results = convert(client, transform, kill)
        client.wait_for_workers(2)
        after = set(client.run(os.getpid).values())
    same = sum(numpy.array_equal(pixels, transform(block(number))) for number, pixels in results.items())
    print(f"{same} of {BLOCKS} blocks are right; workers replaced: {len(after - before)}")


if __name__ == "__main__":
    main()
