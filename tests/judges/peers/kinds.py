# SPDX-License-Identifier: MIT
"""Trials with other kinds of pictures than RGB in TIFF. tests/judges/corpus judges the results."""
import json
import pathlib
import shutil
import subprocess
import sys

sys.dont_write_bytecode = True
sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent / "corpus"))

import judge  # noqa: E402
import pictures  # noqa: E402
import truth  # noqa: E402

CMYK = pathlib.Path("/usr/share/color/icc/ghostscript/default_cmyk.icc")
RIGHT = "correct"
# What the judge finds, in the words of the table.
WORDS = (("embeds no profile", "no profile"), ("pages, not", "loses pages"), ("to be kept changed", "changes a page"),
         ("bits, not", "changes the depth"), ("became", "another kind"), ("alpha changed", "alpha changes"),
         ("transparen", "transparency changes"), ("is coded as", "coded differently"), ("differ", "colours off"),
         ("loss of coding", "more loss"), ("mean colour", "colours off"))
CLEAN = "-strip -define png:exclude-chunks=gAMA,cHRM,sRGB,date,time"
# Name, profile, ending, and how ImageMagick makes it of a photograph of 16 bits.
KINDS = (("PNG, 8 bits", "rgb", "png", f"{CLEAN} -depth 8 PNG24:"),
         ("PNG, 16 bits", "rgb", "png", f"{CLEAN} -depth 16 PNG48:"),
         ("PNG with a palette", "rgb", "png", f"{CLEAN} -colors 200 PNG8:"),
         ("JPEG, 4:2:0", "rgb", "jpg", "-strip -depth 8 -quality 90 -sampling-factor 4:2:0 "),
         ("JPEG, progressive, 4:4:4", "rgb", "jpg",
          "-strip -depth 8 -quality 90 -interlace JPEG -sampling-factor 4:4:4 "),
         ("TIFF with a palette", "rgb", "tif", "-strip -colors 200 -type Palette -compress none "),
         ("TIFF, RGB of 12 bits", "rgb", "tif", "-strip -depth 12 -compress none "),
         ("TIFF, grey of 8 bits", "grey", "tif", "-strip -colorspace Gray -depth 8 -compress none "),
         ("TIFF, grey of 16 bits", "grey", "tif", "-strip -colorspace Gray -depth 16 -compress none "),
         ("TIFF, CMYK of 8 bits", "cmyk", "tif", "-strip -colorspace CMYK -depth 8 -compress none "),
         ("TIFF, CIELAB of 8 bits", None, "tif", "-strip -colorspace Lab -depth 8 -compress none "))
PNG_FIELDS = "-PNG:Title=Harbour -PNG:Author=A -PNG:Copyright=C -XMP-photoshop:City=Bergen -ExifIFD:ISO=200"
PNG_NAMES = ("Title", "Author", "Copyright", "City", "ISO")


def shell(line):
    subprocess.run(line, shell=True, check=False, capture_output=True)


class Kinds:
    """Adds rows to the table of behaviour."""

    def __init__(self, trials):
        self.trials, self.folder = trials, trials.folder
        grey = self.folder / "grey.icc"
        grey.write_bytes(truth.grey())
        self.profiles = {"rgb": trials.profile, "grey": grey, "cmyk": CMYK, None: None}

    def add(self):
        for number, (name, kind, ending, recipe) in enumerate(KINDS):
            source = self.folder / f"kind-{number}.{ending}"
            shell(f"convert-im6 '{self.trials.photo}' {recipe}'{source}'")
            if ending == "tif":
                self.trials.plain(source)
            self.row(name, source, self.profiles[kind])
        self.alpha_row()
        self.pages_row()
        self.folder_row()
        self.metadata_rows()

    def row(self, name, source, profile):
        self.trials.each(name, lambda tool: self.verdict(tool, source, profile))

    def converted(self, tool, source, profile):
        """The output, or None."""
        target = self.folder / f"kind-out{source.suffix}"
        target.unlink(missing_ok=True)
        run = self.trials.converted(tool, source, profile, target)
        return target if run.status == 0 and target.exists() else None

    def verdict(self, tool, source, profile):
        picture = pictures.read(source)
        planned = judge.plan(picture, profile and profile.read_bytes())
        return self.judged(source, picture, planned, self.converted(tool, source, profile))

    @staticmethod
    def judged(source, picture, planned, target):
        """A cell for an output."""
        if target is None or not target.exists():
            return "fails", False
        try:
            found = judge.faults(picture, pictures.read(target), planned, source, target)
        except (pictures.Unsound, pictures.NotJudged):
            return "broken", False
        if not found:
            return RIGHT, True
        return next((word for part, word in WORDS if part in found[0]), "wrong"), False

    def alpha_row(self):
        source = self.folder / "kind-alpha.png"
        shell(f"convert-im6 '{self.trials.alpha}' {CLEAN} -depth 16 PNG64:'{source}'")
        self.row("PNG with alpha, 16 bits", source, self.trials.profile)

    def pages_row(self):
        """A page of RGB and one of grey, such as the infrared channel of a scanner."""
        grey, source = self.folder / "kind-infrared.tif", self.folder / "kind-pages.tif"
        shell(f"convert-im6 '{self.trials.photo}' -strip -colorspace Gray -depth 16 -compress none '{grey}'")
        self.trials.plain(grey)
        shell(f"tiffcp '{self.trials.photo}' '{grey}' '{source}'")
        self.row("TIFF with a page of RGB and one of grey", source, self.trials.profile)

    def folder_row(self):
        """Files of all RGB kinds and a bilevel one, converted by one command; each must be right, and none made of the
        last."""
        folder, out = self.folder / "mixed", self.folder / "mixed-out"
        folder.mkdir()
        for number, (_, kind, ending, _) in enumerate(KINDS):
            if kind == "rgb":
                shutil.copy(self.folder / f"kind-{number}.{ending}", folder)
        sources = sorted(folder.iterdir())
        shell(f"convert-im6 '{self.trials.photo}' -strip -type Bilevel '{folder}/bilevel.tif'")

        def trial(tool):
            shutil.rmtree(out, ignore_errors=True)
            out.mkdir()
            if tool == "ImageMagick":
                profiles = ["-profile", self.trials.profile, "-profile", self.trials.screen]
                words = ["mogrify-im6", "-path", out, "-intent", "perceptual", *profiles, *folder.iterdir()]
            else:
                words = self.trials.words(tool, folder, out, self.trials.profile)
            subprocess.run(words, check=False, capture_output=True)
            right = not (out / "bilevel.tif").exists()
            for source in sources:
                picture = pictures.read(source)
                planned = judge.plan(picture, self.trials.profile.read_bytes())
                right += self.judged(source, picture, planned, out / source.name)[1]
            return f"{right if any(out.iterdir()) else 0} of {len(sources) + 1}", right == len(sources) + 1
        self.trials.each("a folder of these kinds in one run: files handled correctly", trial)

    def metadata_rows(self):
        for number, fields, names, title in ((0, PNG_FIELDS, PNG_NAMES, "PNG"),
                                             (3, self.trials.fields, self.trials.field_names, "JPEG")):
            source = self.folder / f"kind-{number}{'.png' if number == 0 else '.jpg'}"
            shell(f"exiftool -q -overwrite_original {fields} '{source}'")
            wanted = values(source, names)

            def trial(tool, source=source, names=names, wanted=wanted):
                target = self.converted(tool, source, self.trials.profile)
                if target is None:
                    return "fails", False
                count = sum(one == other is not None for one, other in zip(values(target, names), wanted))
                return f"{count} of {len(names)}", count == len(names)
            self.trials.each(f"{title}: metadata fields kept", trial)


def values(path, names):
    """exiftool's values of fields, without those that it deduces from the profile."""
    done = subprocess.run(["exiftool", "-j", "-n", "--ICC_Profile:all", path], capture_output=True, check=False)
    found = json.loads(done.stdout)[0]
    return [found.get(name) for name in names]
