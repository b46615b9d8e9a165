#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
# Copyright (c) The Hueweave authors
"""Runs hueweave and other converters on the same files and writes a table of the results.

    compare.py HUEWEAVE JUDGE INPUTS [-o docs/comparison.md] [--megapixels 48] [--large]

HUEWEAVE is the command, JUDGE the program judge_pictures, INPUTS a folder made by tests/command/make-inputs. Every
result is measured: nothing is taken from a manual. --large adds a file over 4 GiB. Needs: liblcms2-utils argyll libvips-tools imagemagick libtiff-tools
libimage-exiftool-perl.
"""
import argparse, hashlib, json, os, re, resource, shutil, signal, subprocess, sys, tempfile, time

SCREEN = "screen.icc"
TOOLS = ["hueweave", "tificc", "cctiff", "vips", "ImageMagick"]
LIBRARY = "hueweave --precision library"
COLOUR_TOOLS = [TOOLS[0], LIBRARY, *TOOLS[1:]]


def words(tool, source, target, profile, args):
    """The command line of one tool: device profile to sRGB, perceptual, otherwise default options."""
    screen = os.path.join(args.inputs, SCREEN)
    return {
        "hueweave": [args.hueweave, "convert", "-q", "--profile", profile, source, "-o", target],
        "tificc": ["tificc", "-e", "-t0", "-i" + profile, "-o" + screen, source, target],
        "cctiff": ["cctiff", "-ip", profile, screen, source, target],
        "vips": ["vips", "icc_transform", source, target, screen, "--input-profile", profile, "--intent", "perceptual"],
        "ImageMagick": ["convert-im6", source, "-intent", "perceptual", "-profile", profile, "-profile", screen, target],
    }[tool]


def exact_words(tool, source, target, profile, bits, args):
    """The same with the depth of the source and, but for the library, to one file with the profile of the output."""
    screen, plain = os.path.join(args.inputs, SCREEN), words(TOOLS[0], source, target, profile, args)
    if tool == "hueweave":
        return [*plain, "--to", screen]
    if tool == LIBRARY:
        return [*plain, "--precision", "library"]
    program, *rest = words(tool, source, target, profile, args)
    if tool == "tificc":
        return [program, f"-w{bits}", *rest]
    return [program, *rest, "--depth", str(bits)] if tool == "vips" else [program, *rest]


class Result:
    def __init__(self, status, seconds, peak):
        self.status, self.seconds, self.peak = status, seconds, peak


def run(command, fsize=None, kill_after=None, timeout=1800):
    """Exit status (negative: a signal), seconds and peak memory in MiB."""
    def limit():
        if fsize is not None:
            signal.signal(signal.SIGXFSZ, signal.SIG_IGN)
            resource.setrlimit(resource.RLIMIT_FSIZE, (fsize, fsize))
    begin = time.monotonic()
    child = subprocess.Popen(command, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
                             stdin=subprocess.DEVNULL, preexec_fn=limit)
    if kill_after is not None:
        time.sleep(kill_after)
        os.kill(child.pid, signal.SIGKILL)
    deadline = begin + timeout
    while True:
        pid, status, usage = os.wait4(child.pid, os.WNOHANG)
        if pid:
            break
        if time.monotonic() > deadline:
            os.kill(child.pid, signal.SIGKILL)
        time.sleep(0.002)
    child.returncode = os.waitstatus_to_exitcode(status)
    return Result(child.returncode, time.monotonic() - begin, usage.ru_maxrss / 1024)


def shell(line):
    return subprocess.run(line, shell=True, check=False, capture_output=True, text=True).stdout


def info(path, key):
    """Values of a key that tiffinfo prints, for all pages."""
    return re.findall(r"^\s*" + key + r": (.*)$", shell(f"tiffinfo '{path}' 2>/dev/null"), re.M)


def readable(path):
    """Whether libtiff decodes the whole image."""
    if not os.path.exists(path):
        return False
    with tempfile.NamedTemporaryFile(suffix=".tif", dir=os.path.dirname(path)) as copy:
        done = subprocess.run(["tiffcp", "-c", "none", "-8", path, copy.name], capture_output=True)
    return done.returncode == 0 and not re.search(rb"(?i)error|not enough|invalid", done.stderr)


def digest(path):
    with open(path, "rb") as file:
        return hashlib.sha256(file.read()).hexdigest()


class Table:
    """Rows of cells; a cell is a text and whether it is the desired result."""
    def __init__(self, tools):
        self.tools, self.rows = tools, []

    def add(self, name, cells):
        self.rows.append((name, cells))
        print(f"{name:58} " + "  ".join(f"{text:>12}" for text, _ in cells), flush=True)

    def markdown(self, heads):
        lines = ["| | " + " | ".join(heads[tool] for tool in self.tools) + " |", "|---" * (len(self.tools) + 1) + "|"]
        for name, cells in self.rows:
            lines.append(f"| {name} | " + " | ".join(f"**{text}**" if good else text for text, good in cells) + " |")
        return "\n".join(lines)


class Trials:
    def __init__(self, args, folder):
        self.args, self.folder, self.table, self.colour_table = args, folder, Table(TOOLS), Table(COLOUR_TOOLS)
        self.profile = os.path.join(args.inputs, "scanner.icc")
        # Without the tags for primaries and white that ImageMagick adds: tificc would use them instead of the profile.
        self.photo16, self.alpha16 = self.plain("photo-16.tif"), self.plain("alpha-16.tif")

    def plain(self, name):
        copy = self.path(name)
        shutil.copyfile(os.path.join(self.args.inputs, name), copy)
        shell(f"tiffset -u 318 '{copy}'; tiffset -u 319 '{copy}'")
        return copy

    def path(self, name):
        return os.path.join(self.folder, name)

    def each(self, name, trial):
        cells = []
        for tool in TOOLS:
            if os.path.exists(self.path("out.tif")):
                os.remove(self.path("out.tif"))
            cells.append(trial(tool))
        self.table.add(name, cells)

    def refuses(self, name, source, profile):
        """A refusal is a status other than 0 without an output file."""
        def trial(tool):
            out = self.path("out.tif")
            result = run(words(tool, source, out, profile, self.args))
            if result.status < 0:
                return "crashes", False
            if result.status == 0:
                return "status 0", False
            return ("leaves a file", False) if os.path.exists(out) else ("refuses", True)
        self.each(name, trial)

    def failures(self):
        random = self.path("random.icc")
        with open(random, "wb") as file:
            file.write(hashlib.shake_256(b"profile").digest(5000))
        self.refuses("profile name mistyped", self.photo16, self.path("scaner.icc"))
        self.refuses("profile of random bytes", self.photo16, random)
        cut = self.path("cut.icc")
        with open(self.profile, "rb") as whole, open(cut, "wb") as file:
            file.write(whole.read()[:2000])
        self.refuses("profile truncated", self.photo16, cut)
        for kind in ("none", "lzw", "zip"):
            source = self.path("cut.tif")
            shell(f"tiffcp -s -r 16 -c {kind} '{self.photo16}' '{source}'")
            # exiftool writes directories first, so that the truncated file can be opened.
            shell(f"exiftool -q -overwrite_original -Artist=A '{source}'")
            data = open(source, "rb").read()
            half = self.path("half.tif")
            open(half, "wb").write(data[: len(data) // 2])
            self.refuses(f"image truncated to half ({kind})", half, self.profile)
        damaged = self.path("damaged.tif")
        shell(f"tiffcp -s -r 16 -c zip '{self.photo16}' '{damaged}'")
        data = bytearray(open(damaged, "rb").read())
        data[len(data) // 4: len(data) // 2] = bytes(len(data) // 2 - len(data) // 4)
        open(damaged, "wb").write(data)
        self.refuses("image data damaged (zip)", damaged, self.profile)

        def same(tool):
            both = self.path("both.tif")
            shutil.copyfile(self.photo16, both)
            before = digest(both)
            result = run(words(tool, both, both, self.profile, self.args))
            if digest(both) == before:
                return ("kept", True) if result.status != 0 else ("kept, status 0", False)
            return ("overwritten", False) if readable(both) else ("destroyed", False)
        self.each("same name for input and output", same)

        def existing(tool):
            out = self.path("out.tif")
            open(out, "w").write("precious")
            run(words(tool, self.photo16, out, self.profile, self.args))
            kept = open(out, "rb").read() == b"precious"
            return ("kept", True) if kept else ("overwritten", False)
        self.each("output that exists already", existing)

        def full(tool):
            out = self.path("out.tif")
            result = run(words(tool, self.photo16, out, self.profile, self.args), fsize=200000)
            if result.status == 0:
                return "status 0", False
            return ("leaves a file", False) if os.path.exists(out) else ("refuses", True)
        self.each("disk full during the run", full)

    def kill(self, big):
        def trial(tool):
            out, broken, tried = self.path("out.tif"), 0, 0
            whole = run(words(tool, big, out, self.profile, self.args)).seconds
            for share in (0.3, 0.5, 0.7, 0.9):
                if os.path.exists(out):
                    os.remove(out)
                run(words(tool, big, out, self.profile, self.args), kill_after=share * whole)
                tried += 1
                broken += os.path.exists(out) and not readable(out)
            return f"{broken} of {tried} broken", broken == 0
        self.each("output after a kill (SIGKILL at four moments)", trial)

    def kept(self, name, source, check, profile=None):
        def trial(tool):
            out = self.path("out.tif")
            result = run(words(tool, source, out, profile or self.profile, self.args))
            if result.status != 0 or not readable(out):
                return "fails", False
            return check(out)
        self.each(name, trial)

    def keeping(self):
        fields = ("-IFD0:Artist=A -IFD0:Copyright=C -IFD0:ModifyDate='2024:05:06 07:08:09' -ExifIFD:ISO=200 "
                  "-ExifIFD:UserComment=twice -GPS:GPSLatitude=52.5 -GPS:GPSLatitudeRef=N -IPTC:Keywords=harbour "
                  "-XMP-dc:Title=Harbour -XMP-photoshop:City=Bergen -IFD0:Make=Maker")
        names = ["Artist", "Copyright", "ModifyDate", "ISO", "UserComment", "GPSLatitude", "Keywords", "Title", "City", "Make"]
        rich = self.path("rich.tif")
        shell(f"tiffcp -s -c none -r 16 '{self.photo16}' '{rich}'; exiftool -q -overwrite_original {fields} '{rich}'")
        wanted = json.loads(shell(f"exiftool -j -n '{rich}'"))[0]

        def metadata(out):
            told = json.loads(shell(f"exiftool -j -n '{out}'"))[0]
            count = sum(told.get(n) is not None and told.get(n) == wanted.get(n) for n in names)
            return f"{count} of {len(names)}", count == len(names)
        self.kept("metadata fields kept", rich, metadata)

        def same(key, source):
            def check(out):
                return ("kept", True) if info(out, key) == info(source, key) else ("changed", False)
            return check

        def made(recipe, name, photo=None):
            path = self.path(name)
            shell(f"{recipe} '{photo or self.photo16}' '{path}'")
            return path
        turned = made("tiffcp -s -c none -r 16", "turned.tif")
        shell(f"tiffset -s 274 6 '{turned}'; tiffset -s 282 4000 '{turned}'; tiffset -s 283 4000 '{turned}'; tiffset -s 296 2 '{turned}'")
        self.kept("orientation kept", turned, same("Orientation", turned))
        self.kept("resolution kept", turned, same("Resolution", turned))
        pages = self.path("pages.tif")
        shell(f"tiffcp '{self.photo16}' '{self.photo16}' '{self.photo16}' '{pages}'")
        self.kept("three pages kept", pages, lambda out: (f"{len(info(out, 'Image Width'))} of 3", len(info(out, "Image Width")) == 3))
        tiles = made("tiffcp -t -w 64 -l 48 -c none", "tiles.tif")
        self.kept("tiles kept", tiles, lambda out: ("kept", True) if "Tile Width: 64" in shell(f"tiffinfo '{out}'") else ("strips", False))
        planar = self.path("planar.tif")
        shell(f"convert-im6 '{self.photo16}' -interlace plane -compress none '{planar}'")
        self.kept("planar layout kept", planar, same("Planar Configuration", planar))

        def byte_order(out):
            head = open(out, "rb").read(4)
            return ("kept", True) if head[:2] == b"MM" else ("changed", False)
        self.kept("byte order kept", made("tiffcp -B -s -c none -r 16", "big-endian.tif"), byte_order)

        def bigtiff(out):
            head = open(out, "rb").read(4)
            return ("kept", True) if 43 in (head[2], head[3]) else ("classic", False)
        self.kept("BigTIFF kept", made("tiffcp -8 -s -c none -r 16", "bigtiff.tif"), bigtiff)
        for kind in ("lzw", "zip", "packbits"):
            source = made(f"tiffcp -s -c {kind} -r 16", f"{kind}.tif")
            self.kept(f"compression kept ({kind})", source, same("Compression Scheme", source))
        alpha = self.alpha16

        def alpha_of(path):
            return shell(f"convert-im6 '{path}' -alpha extract -depth 16 gray:- 2>/dev/null | sha256sum")
        self.kept("alpha identical", alpha, lambda out: ("identical", True) if alpha_of(out) == alpha_of(alpha) else ("changed", False))
        self.kept("output embeds a profile", self.photo16, lambda out: ("yes", True) if "ICC Profile: <present>" in shell(f"tiffinfo '{out}'") else ("no", False))

    def colours(self):
        """Mean and largest CIEDE2000 from Little CMS in doubles, for 262,144 colours all over the device's space."""
        for bits in (8, 16):
            source = self.path(f"cube-{bits}.tif")
            shell(f"convert-im6 hald:8 -alpha off -type TrueColor -depth {bits} -compress none '{source}'; "
                  f"tiffset -u 318 '{source}'; tiffset -u 319 '{source}'")
            for title, name in (("Lab table", "scanner.icc"), ("XYZ table", "xyz.icc"), ("matrix", "matrix.icc")):
                profile = os.path.join(self.args.inputs, name)
                results = [self.difference(tool, source, profile, bits) for tool in COLOUR_TOOLS]
                texts = ["fails" if result is None else f"{result[0]:.4f} / {result[1]:.2f}" for result in results]
                best = min(texts)  # all have four decimals and means below 10
                self.colour_table.add(f"{title}, {bits} bits", [(text, text == best) for text in texts])

    def difference(self, tool, source, profile, bits):
        out = self.path("out.tif")
        if os.path.exists(out):
            os.remove(out)
        run(exact_words(tool, source, out, profile, bits, self.args))
        judge = [self.args.judge, profile, os.path.join(self.args.inputs, SCREEN), source, out]
        done = subprocess.run(judge, capture_output=True, text=True)
        if done.returncode != 0:
            print(f"{tool}: {done.stderr.strip()}", flush=True)
            return None
        return tuple(map(float, done.stdout.split()))

    def speed(self, big):
        times, peaks = {}, {}
        for tool in TOOLS:
            times[tool] = []
        for _ in range(5):  # alternating between the tools, so that load on the machine affects all of them
            for tool in TOOLS:
                out = self.path("out.tif")
                if os.path.exists(out):
                    os.remove(out)
                shell(f"cat '{big}' >/dev/null")
                result = run(words(tool, big, out, self.profile, self.args))
                times[tool].append(result.seconds)
                peaks[tool] = max(peaks.get(tool, 0), result.peak)
        shortest = {tool: min(times[tool]) for tool in TOOLS}
        own, least = shortest["hueweave"], peaks["hueweave"]
        name = f"{self.args.megapixels} megapixels, 16 bits"
        self.table.add(f"{name}: time, as a multiple of hueweave",
                       [(f"{shortest[t] / own:.1f}", shortest[t] == min(shortest.values())) for t in TOOLS])
        self.table.add(f"{name}: peak memory, as a multiple of hueweave",
                       [(f"{peaks[t] / least:.1f}", peaks[t] == min(peaks.values())) for t in TOOLS])
        self.figures = (own, least)

    def large(self):
        source = self.path("large.tif")
        # Uncompressed 8-bit RGB, all black: a sparse file.
        width, height = 40000, 36000
        size = width * height * 3
        entries = [(256, 4, 1, width), (257, 4, 1, height), (258, 3, 3, 8 | 8 << 16 | 8 << 32), (259, 3, 1, 1),
                   (262, 3, 1, 2), (277, 3, 1, 3), (278, 4, 1, 16), (284, 3, 1, 1)]
        strips = height // 16
        offsets, counts, data = 16 + 8 + 20 * 10 + 8, 16 + 8 + 20 * 10 + 8 + 8 * strips, 1 << 17
        entries += [(273, 16, strips, offsets), (279, 16, strips, counts)]
        with open(source, "wb") as file:
            file.write(b"II+\0\x08\0\0\0" + (16).to_bytes(8, "little") + (10).to_bytes(8, "little"))
            for tag, kind, count, value in sorted(entries):
                file.write(tag.to_bytes(2, "little") + kind.to_bytes(2, "little") + count.to_bytes(8, "little") + value.to_bytes(8, "little"))
            file.write(bytes(8))
            each = width * 3 * 16
            for i in range(strips):
                file.write((data + i * each).to_bytes(8, "little"))
            for i in range(strips):
                file.write(each.to_bytes(8, "little"))
            file.truncate(data + size)

        def trial(tool):
            out = self.path("out.tif")
            result = run(words(tool, source, out, self.profile, self.args), timeout=1500)
            good = readable(out)
            if result.status == 0:
                return ("converts", True) if good else ("status 0, broken", False)
            return ("leaves a file", False) if os.path.exists(out) else ("refuses", False)
        self.each("image over 4 GiB", trial)


HEAD = """# Comparison with other converters

This page shows what `hueweave convert` and four other converters do with the same files. It is written by
`tests/judges/peers/compare.py`, which runs all of them and evaluates the results by exit status, libtiff, exiftool and
ImageMagick; nothing is taken from a manual. To write it again, on Debian 12 in a fresh clone:

```sh
make peers
```

This installs the packages, or prints the command that does, builds the command, makes the files and runs the script.
`make peers PEERS=--large` adds the last row, an image of more than 4 GiB, and needs 10 GB of disk space in TMPDIR.

A refusal is an exit status other than 0 without an output file. Results in bold are the desired ones. Every program
runs with its default options except for the profiles and the intent. Times are the shortest of five, measured in turn,
with the source in memory; the time of hueweave includes flushing the file to disk.

The table does not include what only the other converters support, such as formats other than TIFF, grey and CMYK
pixels. The colours are compared in the table at the end.
"""
COLOURS = """
## Colours

Mean and largest CIEDE2000 between the pixels of each program and Little CMS in doubles, without optimisation and cache
(`tests/judges/colours/`), for 262,144 colours spread evenly over the space of the device: perceptual intent, to the
same sRGB profile, in the depth of the source. The best results of a row are in bold. ImageMagick lets Little CMS convert
each pixel in doubles, which is the truth itself and takes the time in the table above; tificc and vips let it replace
the profiles by a grid of its own. At 8 bits, the best results consist of rounding alone. The precision `library` has an
sRGB of its own, see [accuracy](accuracy.md).
"""


def version(command, pattern):
    found = re.search(pattern, shell(command + " 2>&1"))
    return found.group(1) if found else "?"


def write(path, trials):
    versions = {"hueweave": version(trials.args.hueweave + " --version", r"([\d.]+)"),
                "tificc": "Little CMS " + version("tificc", r"LittleCMS ([\d.]+)"),
                "cctiff": "ArgyllCMS " + version("cctiff", r"\bV(\d[\d.]*)"),
                "vips": version("vips --version", r"([\d.]+)"),
                "ImageMagick": version("convert-im6 -version", r"ImageMagick ([\d.-]+)")}
    heads = {tool: f"{tool} ({versions[tool]})" if tool in versions else tool for tool in COLOUR_TOOLS}
    parts = [HEAD, trials.table.markdown(heads), COLOURS, trials.colour_table.markdown(heads)]
    with open(path, "w") as file:
        file.write("\n".join(parts) + "\n")


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("hueweave")
    parser.add_argument("judge")
    parser.add_argument("inputs")
    parser.add_argument("-o", "--output")
    parser.add_argument("--megapixels", type=int, default=48)
    parser.add_argument("--large", action="store_true")
    args = parser.parse_args()
    args.hueweave, args.judge, args.inputs = map(os.path.abspath, (args.hueweave, args.judge, args.inputs))
    with tempfile.TemporaryDirectory(prefix="hueweave-peers-") as folder:
        trials = Trials(args, folder)
        trials.colours()
        trials.failures()
        trials.keeping()
        big = os.path.join(folder, "big.tif")
        side = int((args.megapixels * 1e6 / 12) ** 0.5)
        shell(f"convert-im6 '{trials.photo16}' -resize {4 * side}x{3 * side}! -depth 16 -compress none '{big}.0'; tiffcp -s -c none -r 64 '{big}.0' '{big}'; rm '{big}.0'; tiffset -u 318 '{big}'; tiffset -u 319 '{big}'")
        trials.speed(big)
        trials.kill(big)
        if args.large:
            trials.large()
        print(f"ours: {trials.figures[0]:.2f} s, {trials.figures[1]:.0f} MiB", flush=True)
        if args.output:
            write(args.output, trials)
    ours_good = all(cells[0][1] for _, cells in trials.table.rows)
    return 0 if ours_good else 1


if __name__ == "__main__":
    sys.exit(main())
