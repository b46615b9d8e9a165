# SPDX-License-Identifier: MIT
"""Runs a program on one processor and measures its time."""

import os
import re
import subprocess
import sys
import time


def one_processor():
    """Restricts all threads of a program to one processor, so that more threads give no advantage."""
    os.sched_setaffinity(0, {max(os.sched_getaffinity(0))})


def run(command):
    """Returns processor time and elapsed time in seconds, and peak memory in bytes if the program prints it."""
    before = time.monotonic()
    process = subprocess.Popen(
        command,
        stdout=subprocess.PIPE,
        stderr=subprocess.DEVNULL,
        env={**os.environ, "VIPS_CONCURRENCY": "1"},
        preexec_fn=one_processor,
    )
    output = process.stdout.read()
    _, status, usage = os.wait4(process.pid, 0)
    process.stdout.close()
    process.returncode = os.waitstatus_to_exitcode(status)
    wall = time.monotonic() - before
    if process.returncode != 0:
        sys.exit(f"failed with {process.returncode}: {' '.join(command)}")
    told = re.search(rb"^peak (\d+) KiB$", output, re.MULTILINE)
    peak = int(told[1]) * 1024 if told else usage.ru_maxrss * 1024
    return usage.ru_utime + usage.ru_stime, wall, peak
