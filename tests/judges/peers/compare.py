#!/usr/bin/python3
# SPDX-License-Identifier: MIT
"""Runs hueweave and four other converters on the same files and writes tables of the results.

    compare.py HUEWEAVE JUDGE INPUTS [-o docs/comparison.md] [--megapixels 48] [--large] [--abilities] [--colours]

HUEWEAVE is the command, JUDGE the program judge_pictures, and INPUTS a folder filled by tests/command/make-inputs. With
-o, the tables replace those between the marker lines of that file. --large adds an image of more than 4 GiB.
--abilities makes the table of what others do alone, --colours those of the colours. Exits with 1 if a result of
hueweave is not the desired one. Requires the packages liblcms2-utils, argyll, libvips-tools, imagemagick,
libtiff-tools, libimage-exiftool-perl and libgs-common, and those of tests/judges/corpus; the interpreter is Debian's.
"""
import argparse
import hashlib
import json
import os
import pathlib
import re
import resource
import shutil
import signal
import struct
import subprocess
import sys
import tempfile
import time

from abilities import Abilities

HUEWEAVE, LIBRARY = "hueweave", "hueweave --precision library"
SAME = "0.0000 / 0.00"
TOOLS = [HUEWEAVE, "tificc", "cctiff", "vips", "ImageMagick"]
COLOUR_TOOLS = [HUEWEAVE, LIBRARY, *TOOLS[1:]]
REFERENCES = ["Little CMS in doubles", "only rounded to this depth", "trilinear grid"]
VERSIONS = {HUEWEAVE: ("{hueweave} --version", "", r"([\d.]+)"),
            "tificc": ("tificc", "Little CMS ", r"LittleCMS ([\d.]+)"),
            "cctiff": ("cctiff", "ArgyllCMS ", r"\bV(\d[\d.]*)"), "vips": ("vips --version", "", r"([\d.]+)"),
            "ImageMagick": ("convert-im6 -version", "", r"ImageMagick ([\d.-]+)")}
FIELDS = ("-IFD0:Artist=A -IFD0:Copyright=C -IFD0:ModifyDate='2024:05:06 07:08:09' -ExifIFD:ISO=200 "
          "-ExifIFD:UserComment=twice -GPS:GPSLatitude=52.5 -GPS:GPSLatitudeRef=N -IPTC:Keywords=harbour "
          "-XMP-dc:Title=Harbour -XMP-photoshop:City=Bergen -IFD0:Make=Maker")
FIELD_NAMES = ("Artist", "Copyright", "ModifyDate", "ISO", "UserComment", "GPSLatitude", "Keywords", "Title", "City",
               "Make")


class Run:
    """One finished program: `status` is negative for a signal; `peak` is its peak memory in MiB."""

    def __init__(self, command, fsize=None, kill_after=None, timeout=1800):
        def limit():
            if fsize is not None:
                signal.signal(signal.SIGXFSZ, signal.SIG_IGN)
                resource.setrlimit(resource.RLIMIT_FSIZE, (fsize, fsize))

        begin = time.monotonic()
        child = subprocess.Popen(command, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
                                 stdin=subprocess.DEVNULL, preexec_fn=limit)
        deadline = begin + (timeout if kill_after is None else kill_after)
        while True:
            pid, status, usage = os.wait4(child.pid, os.WNOHANG)
            if pid:
                break
            if time.monotonic() > deadline:
                os.kill(child.pid, signal.SIGKILL)
            time.sleep(0.002)
        child.returncode = self.status = os.waitstatus_to_exitcode(status)
        self.seconds, self.peak = time.monotonic() - begin, usage.ru_maxrss / 1024


def shell(line):
    return subprocess.run(line, shell=True, check=False, capture_output=True, text=True).stdout


def info(path, key):
    """The values that tiffinfo prints for a key, for all pages."""
    return re.findall(r"^\s*" + key + r": (.*)$", shell(f"tiffinfo '{path}' 2>/dev/null"), re.M)


def metadata(path):
    """The values of FIELD_NAMES."""
    values = json.loads(shell(f"exiftool -j -n '{path}'"))[0]
    return [values.get(name) for name in FIELD_NAMES]


def alpha(path):
    return shell(f"convert-im6 '{path}' -alpha extract -depth 16 gray:- 2>/dev/null | sha256sum")


def readable(path):
    """Whether libtiff decodes the whole image."""
    if not path.exists():
        return False
    with tempfile.NamedTemporaryFile(suffix=".tif", dir=path.parent) as copy:
        done = subprocess.run(["tiffcp", "-c", "none", "-8", path, copy.name], capture_output=True, check=False)
    return done.returncode == 0 and not re.search(rb"(?i)error|not enough|invalid", done.stderr)


class Table:
    """Rows of cells; each cell has a text and whether the result is the desired one."""

    def __init__(self, tools):
        self.tools, self.rows = tools, []

    def add(self, name, cells):
        self.rows.append((name, cells))
        print(f"{name:58} " + "  ".join(f"{text:>12}" for text, _ in cells), flush=True)

    def markdown(self, versions):
        heads = [f"{tool} ({versions[tool]})" if tool in versions else tool for tool in self.tools]
        rows = [[name] + [f"**{text}**" if good else text for text, good in cells] for name, cells in self.rows]
        return "\n".join(["| | " + " | ".join(heads) + " |", "|---" * (len(heads) + 1) + "|"]
                         + ["| " + " | ".join(row) + " |" for row in rows])


def least(differences):
    """The cells of a row of `MEAN / LARGEST`; the desired ones are those with the least mean, then the least largest."""
    texts = list(differences)
    best = min(texts)  # all have four decimals and means below 10
    return [(text, text == best) for text in texts]


class Trials:
    """All trials, each for all tools. Every result is in the file `out`, which no trial starts with."""

    def __init__(self, arguments, folder):
        self.inputs, self.hueweave, self.judge = arguments.inputs, arguments.hueweave, arguments.judge
        self.folder, self.out = folder, folder / "out.tif"
        self.behaviour, self.colours, self.abilities = Table(TOOLS), Table(COLOUR_TOOLS), Table(TOOLS)
        self.unrounded = Table(COLOUR_TOOLS + REFERENCES)
        self.fields, self.field_names = FIELDS, FIELD_NAMES
        self.profile, self.screen = self.inputs / "scanner.icc", self.inputs / "screen.icc"
        self.photo, self.alpha = self.copied("photo-16.tif"), self.copied("alpha-16.tif")

    def copied(self, name):
        return self.plain(shutil.copyfile(self.inputs / name, self.folder / name))

    @staticmethod
    def plain(path):
        """The file without the tags for primaries and white that ImageMagick adds: tificc would use them instead of the
        profile."""
        shell(f"tiffset -u 318 '{path}'; tiffset -u 319 '{path}'")
        return path

    def made(self, recipe, name, source=None):
        """A file that a command makes from the photograph."""
        path = self.folder / name
        shell(f"{recipe} '{source or self.photo}' '{path}'")
        return path

    def words(self, tool, source, target, profile):
        """The command line of a tool: device profile to sRGB, perceptual intent, otherwise default options."""
        screen, lcms = self.screen, "jpgicc" if source.suffix == ".jpg" else "tificc"
        if profile is None:
            return self.words_for_lab(tool, source, target)
        return {
            HUEWEAVE: [self.hueweave, "convert", "-q", "--profile", profile, source, "-o", target],
            "tificc": [lcms, "-e", "-t0", f"-i{profile}", f"-o{screen}", source, target],
            "cctiff": ["cctiff", "-ip", profile, screen, source, target],
            "vips": ["vips", "icc_transform", source, target, screen, "--input-profile", profile, "--intent",
                     "perceptual"],
            "ImageMagick": ["convert-im6", source, "-intent", "perceptual", "-profile", profile, "-profile", screen,
                            target],
        }[tool]

    def words_for_lab(self, tool, source, target):
        """CIELAB needs no profile."""
        screen = self.screen
        return {
            HUEWEAVE: [self.hueweave, "convert", "-q", source, "-o", target],
            "tificc": ["tificc", "-e", "-t0", "-i*Lab", f"-o{screen}", source, target],
            "cctiff": ["cctiff", "-ip", screen, source, target],
            "vips": ["vips", "icc_export", source, target, "--output-profile", screen, "--intent", "perceptual"],
            "ImageMagick": ["convert-im6", source, "-colorspace", "sRGB", "-profile", screen, target],
        }[tool]

    def converted(self, tool, source, profile="", target=None, **limits):
        return Run(self.words(tool, source, target or self.out, self.profile if profile == "" else profile), **limits)

    def each(self, name, trial):
        cells = []
        for tool in TOOLS:
            self.out.unlink(missing_ok=True)
            cells.append(trial(tool))
        self.behaviour.add(name, cells)

    def refused(self, run):
        if run.status <= 0:
            return "crashes" if run.status else "status 0", False
        return ("leaves a file", False) if self.out.exists() else ("refuses", True)

    def refuses(self, name, source, profile="", **limits):
        self.each(name, lambda tool: self.refused(self.converted(tool, source, profile, **limits)))

    def kept(self, name, source, found, words=("kept", "changed"), wanted=None):
        """`found` gives the same for the source and for the result, or `wanted` for the result."""
        wanted = wanted or found(source)

        def trial(tool):
            if self.converted(tool, source).status != 0 or not readable(self.out):
                return "fails", False
            return (words[0], True) if found(self.out) == wanted else (words[1], False)
        self.each(name, trial)

    def counted(self, name, source, found):
        """`found` gives a list for the source and for the result; the cell says how many items are the same."""
        wanted = found(source)

        def trial(tool):
            if self.converted(tool, source).status != 0 or not readable(self.out):
                return "fails", False
            count = sum(one == other is not None for one, other in zip(found(self.out), wanted))
            return f"{count} of {len(wanted)}", count == len(wanted)
        self.each(name, trial)

    def damaged(self):
        random, cut = self.folder / "random.icc", self.folder / "cut.icc"
        random.write_bytes(hashlib.shake_256(b"profile").digest(5000))
        cut.write_bytes(self.profile.read_bytes()[:2000])
        self.refuses("profile name mistyped", self.photo, self.folder / "scaner.icc")
        self.refuses("profile of random bytes", self.photo, random)
        self.refuses("profile truncated", self.photo, cut)
        half = self.folder / "half.tif"
        for kind in ("none", "lzw", "zip"):
            whole = self.made(f"tiffcp -s -r 16 -c {kind}", "cut.tif")
            # exiftool writes directories first, so that the truncated file can be opened.
            shell(f"exiftool -q -overwrite_original -Artist=A '{whole}'")
            half.write_bytes(whole.read_bytes()[: whole.stat().st_size // 2])
            self.refuses(f"image truncated to half ({kind})", half)
        damaged = self.made("tiffcp -s -r 16 -c zip", "damaged.tif")
        data = bytearray(damaged.read_bytes())
        data[len(data) // 4: len(data) // 2] = bytes(len(data) // 2 - len(data) // 4)
        damaged.write_bytes(data)
        self.refuses("image data damaged (zip)", damaged)

    def overwriting(self):
        def same(tool):
            both = self.folder / "both.tif"
            before = shutil.copyfile(self.photo, both).read_bytes()
            run = self.converted(tool, both, target=both)
            if both.read_bytes() == before:
                return ("kept", True) if run.status != 0 else ("kept, status 0", False)
            return ("overwritten" if readable(both) else "destroyed"), False

        def existing(tool):
            self.out.write_text("precious")
            self.converted(tool, self.photo)
            return ("kept", True) if self.out.read_bytes() == b"precious" else ("overwritten", False)
        self.each("same name for input and output", same)
        self.each("output that exists already", existing)
        self.refuses("disk full during the run", self.photo, fsize=200000)

    def keeping(self):
        rich = self.made("tiffcp -s -c none -r 16", "rich.tif")
        shell(f"exiftool -q -overwrite_original {FIELDS} '{rich}'")
        self.counted("metadata fields kept", rich, metadata)
        turned = self.made("tiffcp -s -c none -r 16", "turned.tif")
        for tag, value in ((274, 6), (282, 4000), (283, 4000), (296, 2)):
            shell(f"tiffset -s {tag} {value} '{turned}'")
        self.kept("orientation kept", turned, lambda path: info(path, "Orientation"))
        self.kept("resolution kept", turned, lambda path: info(path, "Resolution"))
        pages = self.made(f"tiffcp '{self.photo}' '{self.photo}'", "pages.tif")
        self.counted("three pages kept", pages, lambda path: info(path, "Image Width"))
        tiles = self.made("tiffcp -t -w 64 -l 48 -c none", "tiles.tif")
        self.kept("tiles kept", tiles, lambda path: info(path, "Tile Width"), ("kept", "strips"))
        planar = self.folder / "planar.tif"
        shell(f"convert-im6 '{self.photo}' -interlace plane -compress none '{planar}'")
        self.kept("planar layout kept", planar, lambda path: info(path, "Planar Configuration"))
        big_endian = self.made("tiffcp -B -s -c none -r 16", "big-endian.tif")
        self.kept("byte order kept", big_endian, lambda path: path.read_bytes()[:2])
        bigtiff = self.made("tiffcp -8 -s -c none -r 16", "bigtiff.tif")
        self.kept("BigTIFF kept", bigtiff, lambda path: 43 in path.read_bytes()[2:4], ("kept", "classic"))
        for kind in ("lzw", "zip", "packbits"):
            source = self.made(f"tiffcp -s -c {kind} -r 16", f"{kind}.tif")
            self.kept(f"compression kept ({kind})", source, lambda path: info(path, "Compression Scheme"))
        self.kept("alpha identical", self.alpha, alpha, ("identical", "changed"))
        self.kept("output embeds a profile", self.photo, lambda path: info(path, "ICC Profile") != [], ("yes", "no"),
                  wanted=True)

    def colour_differences(self):
        """The mean and the largest CIEDE2000 for 262,144 colours of the device's space, from Little CMS in doubles and
        from the colours that the profiles describe, without roundings."""
        for bits in (8, 16):
            cube = self.folder / f"cube-{bits}.tif"
            shell(f"convert-im6 hald:8 -alpha off -type TrueColor -depth {bits} -compress none '{cube}'")
            self.plain(cube)
            for title, name in (("Lab table", "scanner.icc"), ("XYZ table", "xyz.icc"), ("matrix", "matrix.icc")):
                profile = self.inputs / name
                pairs = [self.differences(tool, cube, profile, bits) for tool in COLOUR_TOOLS]
                row = f"{title}, {bits} bits"
                self.colours.add(row, least("is the reference" if pair[0] == SAME else pair[0] for pair in pairs))
                self.unrounded.add(row, least(pair[1] for pair in pairs)
                                   + [(text, False) for text in self.judged(profile, cube)])

    def differences(self, tool, source, profile, bits):
        """In the depth of the source and, except for the library, to the same sRGB profile."""
        self.out.unlink(missing_ok=True)
        words = self.words(HUEWEAVE if tool == LIBRARY else tool, source, self.out, profile)
        more = {HUEWEAVE: ["--to", self.screen], LIBRARY: ["--precision", "library"], "vips": ["--depth", str(bits)]}
        Run([words[0], *([f"-w{bits}"] if tool == "tificc" else []), *words[1:], *more.get(tool, [])])
        return self.judged(profile, source, self.out)

    def judged(self, profile, *pictures):
        """The judge's lines, as cells."""
        done = subprocess.run([self.judge, profile, self.screen, *pictures], capture_output=True, text=True,
                              check=False)
        if done.returncode != 0:
            print(done.stderr.strip(), flush=True)
            return ["fails"] * 3
        return ["{:.4f} / {:.2f}".format(*map(float, line.split())) for line in done.stdout.splitlines()]

    def speed(self, big, megapixels):
        runs = {tool: [] for tool in TOOLS}
        for _ in range(5):  # alternates between the tools, so that load on the machine affects all of them
            for tool in TOOLS:
                self.out.unlink(missing_ok=True)
                shell(f"cat '{big}' >/dev/null")
                runs[tool].append(self.converted(tool, big))
        for what, figures in (("time", {tool: min(run.seconds for run in runs[tool]) for tool in TOOLS}),
                              ("peak memory", {tool: max(run.peak for run in runs[tool]) for tool in TOOLS})):
            self.behaviour.add(f"{megapixels} megapixels, 16 bits: {what}, as a multiple of hueweave",
                               [(f"{figures[tool] / figures[HUEWEAVE]:.1f}", figures[tool] == min(figures.values()))
                                for tool in TOOLS])
            print(f"hueweave: {what} {figures[HUEWEAVE]:.2f}", flush=True)

    def kill(self, big):
        def trial(tool):
            whole, broken = self.converted(tool, big).seconds, 0
            shares = (0.3, 0.5, 0.7, 0.9)
            for share in shares:
                self.out.unlink(missing_ok=True)
                self.converted(tool, big, kill_after=share * whole)
                broken += self.out.exists() and not readable(self.out)
            return f"{broken} of {len(shares)} broken", broken == 0
        self.each("output after a kill (SIGKILL at four moments)", trial)

    def large(self):
        """An uncompressed 8-bit RGB image, all black: a sparse file."""
        source = self.folder / "large.tif"
        width, height, rows, data = 40000, 36000, 16, 1 << 17
        strips, each, arrays = height // rows, width * 3 * rows, 16 + 8 + 20 * 10 + 8
        entries = [(256, 4, 1, width), (257, 4, 1, height), (258, 3, 3, 8 | 8 << 16 | 8 << 32), (259, 3, 1, 1),
                   (262, 3, 1, 2), (273, 16, strips, arrays), (277, 3, 1, 3), (278, 4, 1, rows),
                   (279, 16, strips, arrays + 8 * strips), (284, 3, 1, 1)]
        with open(source, "wb") as file:
            file.write(b"II+\0\x08\0\0\0" + struct.pack("<QQ", 16, len(entries)))
            file.write(b"".join(struct.pack("<HHQQ", *entry) for entry in entries) + bytes(8))
            file.write(struct.pack(f"<{strips}Q", *(data + i * each for i in range(strips))))
            file.write(struct.pack(f"<{strips}Q", *[each] * strips))
            file.truncate(data + strips * each)

        def trial(tool):
            if self.converted(tool, source, timeout=1500).status == 0:
                return ("converts", True) if readable(self.out) else ("status 0, broken", False)
            return ("leaves a file" if self.out.exists() else "refuses"), False
        self.each("image over 4 GiB", trial)


def write(path, trials):
    versions = {}
    for tool, (command, maker, pattern) in VERSIONS.items():
        found = re.search(pattern, shell(command.format(hueweave=trials.hueweave) + " 2>&1"))
        versions[tool] = maker + (found.group(1) if found else "?")
    text = path.read_text()
    for name in ("behaviour", "colours", "unrounded", "abilities"):
        table = getattr(trials, name)
        if not table.rows:
            continue
        begin, end = f"<!-- compare.py writes the table of {name} from here -->\n", "\n<!-- to here -->"
        if begin not in text:
            sys.exit(f"{path} has no marker line for {name}")
        head, rest = text.split(begin)
        text = head + begin + table.markdown(versions) + end + rest.split(end, 1)[1]
    path.write_text(text)


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    for name in ("hueweave", "judge", "inputs"):
        parser.add_argument(name, type=lambda word: pathlib.Path(word).resolve())
    parser.add_argument("-o", "--output", type=pathlib.Path)
    parser.add_argument("--megapixels", type=int, default=48)
    parser.add_argument("--large", action="store_true")
    parser.add_argument("--abilities", action="store_true")
    parser.add_argument("--colours", action="store_true")
    arguments = parser.parse_args()
    with tempfile.TemporaryDirectory(prefix="hueweave-peers-") as name:
        folder = pathlib.Path(name)
        trials = Trials(arguments, folder)
        if not arguments.colours:
            Abilities(trials.abilities, Run, trials).measure()
        if not arguments.abilities:
            trials.colour_differences()
        if arguments.abilities or arguments.colours:
            if arguments.output:
                write(arguments.output, trials)
            return 0
        trials.damaged()
        trials.overwriting()
        trials.keeping()
        side = int((arguments.megapixels * 1e6 / 12) ** 0.5)
        scaled = folder / "scaled.tif"
        shell(f"convert-im6 '{trials.photo}' -resize {4 * side}x{3 * side}! -depth 16 -compress none '{scaled}'")
        big = trials.plain(trials.made("tiffcp -s -c none -r 64", "big.tif", scaled))
        scaled.unlink()
        trials.speed(big, arguments.megapixels)
        trials.kill(big)
        # Not imported before: the peak memory of a program counts what this one holds when it starts it.
        from kinds import Kinds
        Kinds(trials).add()
        if arguments.large:
            trials.large()
        if arguments.output:
            write(arguments.output, trials)
    return 0 if all(cells[0][1] for _, cells in trials.behaviour.rows) else 1


if __name__ == "__main__":
    sys.exit(main())
