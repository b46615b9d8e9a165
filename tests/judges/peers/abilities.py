# SPDX-License-Identifier: MIT
"""What one converter does and others do not: work that hueweave leaves to general colour engines. A part of
compare.py."""
import re
import subprocess

GHOSTSCRIPT = "/usr/share/color/icc/ghostscript"
CMYK, GREY = f"{GHOSTSCRIPT}/default_cmyk.icc", f"{GHOSTSCRIPT}/default_gray.icc"

OUT = object()


def info(path, key):
    told = subprocess.run(["tiffinfo", path], capture_output=True, text=True, check=False).stdout
    return re.findall(r"^\s*" + key + r": (.*)$", told, re.M)


class Abilities:
    """The rows of `table`. `commands` gives the command line of each tool; a tool without one has no option for it."""

    def __init__(self, table, run, trials):
        self.table, self.run, self.hueweave, self.folder = table, run, trials.hueweave, trials.folder
        self.photo, self.scanner, self.screen = trials.photo, trials.profile, trials.screen

    def row(self, name, commands, done, suffix="tif"):
        """`done` judges the output, which is readable."""
        out, cells = self.folder / f"able.{suffix}", []
        for tool in self.table.tools:
            out.unlink(missing_ok=True)
            if tool not in commands:
                cells.append(("no option", False))
                continue
            words = commands[tool] if OUT in commands[tool] else [*commands[tool], OUT]
            status = self.run([out if word is OUT else word for word in words]).status
            worked = status == 0 and out.exists() and done(out)
            cells.append(("yes", True) if worked else ("crashes" if status < 0 else "no", False))
        self.table.add(name, cells)

    def words(self, source, target):
        """The usual command lines; the output is OUT, or is the last word."""
        return {"hueweave": [self.hueweave, "convert", "--profile", self.scanner, source, "--to", target, "-o"],
                "tificc": ["tificc", "-t0", f"-i{self.scanner}", f"-o{target}", source],
                "cctiff": ["cctiff", "-ip", self.scanner, target, source],
                "vips": ["vips", "icc_transform", source, OUT, target, "--input-profile", self.scanner, "--intent",
                         "perceptual"],
                "ImageMagick": ["convert-im6", source, "-intent", "perceptual", "-profile", self.scanner, "-profile",
                                target]}

    def made(self, name, *command):
        path = self.folder / name
        subprocess.run([*command, path], check=True, capture_output=True)
        return path

    def measure(self):
        self.row("an RGB image to CMYK", self.words(self.photo, CMYK),
                 lambda out: "separated" in info(out, "Photometric Interpretation"))
        self.row("an RGB image to grey", self.words(self.photo, GREY),
                 lambda out: info(out, "Photometric Interpretation")[:1] == ["min-is-black"])
        link = self.folder / "link.icc"
        subprocess.run(["linkicc", f"-o{link}", "-t0", self.scanner, self.screen], check=True, capture_output=True)
        words = self.words(self.photo, self.screen)
        plain = self.made("plain.tif", *words["tificc"])
        self.row("a device link in place of two profiles",
                 {"hueweave": [self.hueweave, "convert", "--profile", link, self.photo, "-o"],
                  "tificc": ["tificc", f"-l{link}", self.photo], "cctiff": ["cctiff", link, self.photo],
                  "ImageMagick": ["convert-im6", self.photo, "-profile", link]},
                 lambda out: self.difference(plain, out) < 0.003)
        self.row("a simulation of a CMYK printer on the screen (proof)",
                 {"tificc": [*words["tificc"][:-1], f"-p{CMYK}", self.photo],
                  "cctiff": ["cctiff", "-ip", self.scanner, "-ir", CMYK, "-ir", CMYK, self.screen, self.photo],
                  "ImageMagick": ["convert-im6", self.photo, "-profile", self.scanner, "-profile", CMYK, "-profile",
                                  self.screen]}, lambda out: 0.003 < self.difference(plain, out) < 0.2)
        floats = self.folder / "floats.tif"
        subprocess.run(["vips", "linear", self.photo, floats, str(1 / 65535), "0"], check=True, capture_output=True)
        words = self.words(floats, self.screen)
        words["tificc"].insert(1, "-w32")
        self.row("a TIFF file of floating-point samples, kept as such", words,
                 lambda out: info(out, "Bits/Sample")[:1] == ["32"] and self.difference(plain, out) < 0.003)
        webp = self.made("photo.webp", "convert-im6", self.photo, "-define", "webp:lossless=true")
        self.row("a WebP file", self.words(webp, self.screen), lambda out: self.difference(plain, out) < 0.02, "webp")

    @staticmethod
    def difference(one, other):
        """The mean difference of all samples, as a share of their range, as ImageMagick finds it."""
        told = subprocess.run(["compare-im6", "-metric", "MAE", one, other, "null:"], capture_output=True, text=True,
                              check=False).stderr
        found = re.search(r"\(([\d.e-]+)\)", told)
        return float(found.group(1)) if found else 1.0
