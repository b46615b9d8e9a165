# SPDX-License-Identifier: MIT
"""The pictures that the engines convert, and what all runs over them must leave."""
import hashlib
import json
import os
import pathlib
import random
import shutil
import struct
import subprocess
import time

BOXES = 20  # folders of the inputs


def tiff(width, height, seed):
    """An uncompressed RGB picture of 8 bits: noise, so that no two are alike."""
    pixels = random.Random(seed).randbytes(width * height * 3)
    entries = [(256, 3, 1, width), (257, 3, 1, height), (258, 3, 3, 0), (259, 3, 1, 1), (262, 3, 1, 2),
               (273, 4, 1, 0), (277, 3, 1, 3), (278, 3, 1, height), (279, 4, 1, len(pixels))]
    bits = 8 + 2 + 12 * len(entries) + 4
    values = {258: bits, 273: bits + 6}
    directory = struct.pack("<H", len(entries))
    for tag, kind, count, value in entries:
        directory += struct.pack("<HHII", tag, kind, count, values.get(tag, value))
    return b"II*\0" + struct.pack("<I", 8) + directory + struct.pack("<I3H", 0, 8, 8, 8) + pixels


def wide_profile():
    """A profile of ArgyllCMS other than that of the output."""
    colprof = shutil.which("colprof")
    if colprof is None:
        raise SystemExit("colprof is missing; install it with: apt-get install argyll")
    return pathlib.Path(colprof).parent.parent / "share/color/argyll/ref/ClayRGB1998.icm"


class Scene:
    """A folder with inputs, and the outputs of one run on one machine, with which all others are compared."""

    def __init__(self, hueweave, folder, files, width=160, height=120):
        self.hueweave, self.folder, self.files = str(hueweave), pathlib.Path(folder), files
        self.scans = self.folder / "scans"
        self.profile = self.folder / "scanner.icc"
        self.profile.write_bytes(wide_profile().read_bytes())
        for number in range(files):
            path = self.scans / f"box-{number % BOXES:02}" / f"scan-{number:05}.tif"
            path.parent.mkdir(parents=True, exist_ok=True)
            path.write_bytes(tiff(width, height, number))
        self.options = ["--profile", str(self.profile)]
        begun = time.monotonic()
        self.run("convert", self.scans, "-o", self.folder / "alone", "-j", "1", "--quiet", *self.options)
        self.alone_seconds = time.monotonic() - begun
        self.expected = self.digests("alone")
        assert len(self.expected) == files, "the run on one machine did not convert all files"

    def run(self, *words, check=True):
        return subprocess.run([self.hueweave, *map(str, words)], capture_output=True, text=True, check=check)

    def digests(self, out):
        """SHA-256 of each file below an output folder, except the records; a temporary file is one of them."""
        top = self.folder / out
        return {str(path.relative_to(top)): hashlib.sha256(path.read_bytes()).hexdigest()
                for path in top.rglob("*") if path.is_file() and path.suffix != ".jsonl"}

    def status(self, out, *inputs):
        return json.loads(self.run("status", self.folder / out, *inputs, "--json").stdout)

    def wait_for(self, out, done, seconds=600):
        """Waits until so many files are done, by reading the records while others write them."""
        end = time.monotonic() + seconds
        while time.monotonic() < end:
            if (self.folder / out).is_dir():
                status = self.status(out)
                if status["done"] >= done:
                    return status
            time.sleep(0.05)
        raise SystemExit(f"{out}: {done} files are not done after {seconds} s")

    def compare(self, out):
        """The faults of an output folder: files that are missing, wrong or superfluous. None may be left."""
        found = self.digests(out)
        faults = [f"missing: {name}" for name in self.expected.keys() - found.keys()]
        faults += [f"not expected: {name}" for name in found.keys() - self.expected.keys()]
        faults += [f"differs: {name}" for name in found.keys() & self.expected.keys()
                   if found[name] != self.expected[name]]
        status = self.status(out, self.scans)
        if (status["done"], status["failed"], status["left"]) != (self.files, 0, 0):
            faults.append(f"status says {status}")
        return faults

    def lines(self, out):
        """How many lines of outputs the records hold, and how many lines are none of JSON."""
        done = torn = 0
        for record in (self.folder / out).glob(".hueweave*.jsonl"):
            for line in filter(None, record.read_bytes().split(b"\n")):
                try:
                    done += "fingerprint" in json.loads(line)
                except ValueError:
                    torn += 1
        return done, torn


def descendants(mark):
    """The processes whose environment contains each of these bytes."""
    found = []
    for process in pathlib.Path("/proc").iterdir():
        try:
            if process.name.isdigit() and all(part in (process / "environ").read_bytes() for part in mark):
                found.append(int(process.name))
        except OSError:
            continue
    return [process for process in found if process != os.getpid()]


def kill_all(mark, signal):
    """Kills the processes with these marks, until none is left."""
    for _ in range(100):
        processes = descendants(mark)
        if not processes:
            return
        for process in processes:
            try:
                os.kill(process, signal)
            except ProcessLookupError:
                pass
        time.sleep(0.05)
    raise SystemExit(f"processes that do not end: {processes}")
