# SPDX-License-Identifier: MIT
"""What other readers find in a picture: tifffile and libtiff's tools for TIFF, pypng and pngcheck for PNG, Pillow and
djpeg for JPEG."""
import dataclasses
import io
import logging
import pathlib
import re
import struct
import subprocess
import tempfile
import warnings
import zlib

import numpy
import PIL.Image
import PIL.JpegImagePlugin
import png
import tifffile

PIL.Image.MAX_IMAGE_PIXELS = None
logging.getLogger("tifffile").setLevel(logging.CRITICAL)
warnings.filterwarnings("ignore")

MOST_PIXELS = 30_000_000
MODELS = {0: "grey", 1: "grey", 2: "rgb", 3: "palette", 4: "mask", 5: "cmyk", 6: "ycbcr", 8: "lab", 9: "icc lab"}
YCBCR = OLD_JPEG = 6  # a photometric interpretation, and a compression
HARMLESS = "Unknown field with tag"  # of libtiff's warnings
LOSSY = (6, 7, 34887, 50001, 50002)  # JPEG of both styles, LERC, WebP, JPEG XL


class Unsound(Exception):
    """Another reader reports damage."""


class NotJudged(Exception):
    """No other reader decodes the picture, or it is too large for this judge."""


@dataclasses.dataclass
class Page:
    model: str
    bits: int
    samples: numpy.ndarray  # height x width x samples per pixel, as they are stored
    colours: int  # samples of a colour; the others are extra ones
    profile: bytes | None = None
    inverted: bool = False  # grey: 0 is white
    associated: bool = False  # colours are multiplied by the first extra sample
    palette: numpy.ndarray | None = None  # entries x 3, 0 to 1
    transparent: tuple | None = None  # PNG: entries' alpha, or the transparent colour
    lossy: bool = False
    subtype: str = ""  # of a kind that is listed by itself
    irregular: bool = False  # contradicts itself, though other readers decode it

    @property
    def pixels(self):
        return self.samples[..., : self.colours]

    @property
    def extra(self):
        return self.samples[..., self.colours:]


@dataclasses.dataclass
class Picture:
    format: str
    pages: list

    @property
    def kind(self):
        page = self.pages[0]
        model = {"rgb": "RGB", "cmyk": "CMYK", "ycbcr": "YCbCr", "lab": "Lab", "icc lab": "Lab"}.get(page.model,
                                                                                              page.model)
        depth = "" if self.format == "JPEG" or page.model == "palette" else f", {page.subtype or f'{page.bits} bits'}"
        return f"{self.format} {model}{depth}" + (", several pages" if len(self.pages) > 1 else "")


def run(words):
    done = subprocess.run([str(word) for word in words], capture_output=True, check=False, timeout=120)
    return done.returncode, done.stderr.decode(errors="replace"), done.stdout.decode(errors="replace")


def read(path):
    """The picture in a file. Raises Unsound or NotJudged."""
    head = path.read_bytes()[:8]
    readers = {b"II": read_tiff, b"MM": read_tiff, b"\x89P": read_png, b"\xff\xd8": read_jpeg}
    if head[:2] not in readers:
        raise Unsound("is none of the formats")
    try:
        return readers[head[:2]](path)
    except (Unsound, NotJudged):
        raise
    except Exception as error:  # whatever a reader raises for a file that it cannot decode
        raise Unsound(f"{type(error).__name__}: {error}") from error


# TIFF


def read_tiff(path):
    status, errors, _ = run(["tiffinfo", "-D", path])
    # What tiffinfo cannot print (subsampled tiles) is decoded below.
    found = errors
    errors = [line for line in errors.splitlines() if "arning" not in line and "Cannot display data" not in line]
    if status != 0 or errors:
        raise Unsound(errors[0] if errors else "tiffinfo fails")
    warned = [line for line in found.splitlines() if "arning" in line and not re.search(HARMLESS, line)]
    pages = []
    with tifffile.TiffFile(path) as file:
        for number in range(len(file.pages)):
            page = file.pages[number]
            pages += [tiff_page(path, one) for one in [page, *(page.pages or [])]]
    pages[0].irregular = pages[0].irregular or bool(warned)
    return Picture("TIFF", pages)


def tag(page, code, default=None):
    found = page.tags.get(code)
    return default if found is None else found.value


def tiff_page(path, page):
    if page.imagewidth * page.imagelength > MOST_PIXELS:
        raise NotJudged("is larger than this judge reads")
    bits, depths = depth_of(page), page.tags.get(258)
    model = MODELS.get(int(page.photometric), f"photometric {int(page.photometric)}")
    formats = {1: "", 2: "signed", 3: "floating point"}
    subtype = formats.get(int(page.sampleformat or 1), "special samples")
    if model == "grey" and bits == 1:
        model = "bilevel"
    colours = {"rgb": 3, "ycbcr": 3, "lab": 3, "icc lab": 3, "cmyk": 4}.get(model, 1)
    kinds = tuple(int(kind) for kind in page.extrasamples or ())
    profile = tag(page, 34675)
    palette = None
    if model == "palette":
        table = numpy.asarray(page.colormap, dtype=numpy.float64).T
        # Entries are samples of 8 bits if they are below 256 or are multiples of 256 or 257.
        whole = table.astype(numpy.int64)
        if whole.max() < 256:
            palette = table / 255
        elif (whole % 257 == 0).all():
            palette = table / 65535
        elif (whole % 256 == 0).all():
            palette = table / 65280
        else:
            palette = table / 65535
    if int(page.compression) == OLD_JPEG and page.is_tiled:
        subtype = "tiles of old-style JPEG"
    return Page(model, bits, tiff_samples(path, page), colours, profile and bytes(profile),
                model == "grey" and int(page.photometric) == 0, kinds[:1] == (1,), palette,
                lossy=int(page.compression) in LOSSY, subtype=subtype,
                irregular=depths is not None and depths.count > max(1, page.samplesperpixel))


def tiff_samples(path, page):
    """Stored samples of a page, by tifffile; what it cannot decode, libtiff writes uncompressed first."""
    if page.photometric != YCBCR:
        try:
            return interleaved(page)
        except Exception:  # without a package of codecs it decodes few compressions
            pass
    data = bytearray(path.read_bytes())
    order = "<" if data[:2] == b"II" else ">"
    at, number = (8, "Q") if 43 in data[2:4] else (4, "I")
    struct.pack_into(order + number, data, at, page.offset)  # this page is the first one
    with tempfile.NamedTemporaryFile(suffix=".tif") as alone, tempfile.NamedTemporaryFile(suffix=".tif") as plain:
        pathlib.Path(alone.name).write_bytes(data)
        ways = [] if page.photometric == YCBCR else [["tiffcp", "-c", "none"]]
        if depth_of(page) == 8:
            ways.append(["tiff2rgba", "-c", "none"])
        for way in ways:
            status, _, _ = run([*way, f"{alone.name},0" if way[0] == "tiffcp" else alone.name, plain.name])
            if status != 0:
                continue
            with tifffile.TiffFile(plain.name) as file:
                copy = file.pages[0]
                try:
                    if depth_of(copy) not in (8, 16, 32, 64):
                        return packed_samples(pathlib.Path(plain.name).read_bytes(), copy)
                    return interleaved(copy)[..., : page.samplesperpixel]
                except Exception:
                    continue
    raise NotJudged("is decoded by neither tifffile, tiffcp nor tiff2rgba")


def depth_of(page):
    bits = page.bitspersample
    return bits[0] if isinstance(bits, tuple) else bits


def interleaved(page):
    array = numpy.asarray(page.asarray(squeeze=False))
    if array.ndim == 5 and array.shape[0] > 1:
        array = numpy.moveaxis(array, 0, -2)[..., 0]
    return array.reshape(page.imagelength, page.imagewidth, page.samplesperpixel)


def packed_samples(data, page):
    """Uncompressed samples of any number of bits; each row begins at a byte."""
    bits = depth_of(page)
    row = page.imagewidth * page.samplesperpixel * bits
    strips = b"".join(data[at: at + size] for at, size in zip(page.dataoffsets, page.databytecounts))
    order = "little" if tag(page, 266) == 2 else "big"  # of the bits in a byte
    whole = numpy.frombuffer(strips, numpy.uint8).reshape(page.imagelength, -1)
    whole = numpy.unpackbits(whole, axis=1, bitorder=order)[:, :row]
    weights = 1 << numpy.arange(bits - 1, -1, -1, dtype=numpy.int64)
    values = whole.reshape(page.imagelength, page.imagewidth, page.samplesperpixel, bits) @ weights
    return values.astype(numpy.uint16)


# PNG


def chunks(data):
    at = 8
    while at + 12 <= len(data):
        size, = struct.unpack(">I", data[at: at + 4])
        yield data[at + 4: at + 8], data[at + 8: at + 8 + size]
        at += 12 + size


def read_png(path):
    status, _, text = run(["pngcheck", "-q", path])
    if status != 0:
        raise Unsound(text.strip()[-100:])
    data = path.read_bytes()
    found = dict(reversed(list(chunks(data))))
    profile = None
    if b"iCCP" in found:
        profile = zlib.decompress(found[b"iCCP"].split(b"\0", 1)[1][1:])
    width, height = struct.unpack(">II", found[b"IHDR"][:8])
    if width * height > MOST_PIXELS:
        raise NotJudged("is larger than this judge reads")
    width, height, rows, info = png.Reader(bytes=data).read()
    bits, planes, alpha = info["bitdepth"], info["planes"], info["alpha"]
    samples = numpy.array([numpy.asarray(row) for row in rows]).reshape(height, width, planes)
    samples = samples.astype(numpy.uint16 if bits == 16 else numpy.uint8)
    if "palette" in info or found[b"IHDR"][9] == 3:
        entries = numpy.array([entry[:3] for entry in info["palette"]]) / 255
        if samples.max() >= len(entries):
            raise Unsound("has an index beyond its palette")
        page = Page("palette", bits, samples, 1, profile, palette=entries, transparent=(found.get(b"tRNS"),))
    else:
        transparent = info.get("transparent")
        if transparent is not None:  # only the bits of a sample count
            transparent = tuple(value & (1 << bits) - 1 for value in transparent)
        grey = info["greyscale"]
        page = Page("grey" if grey else "rgb", bits, samples, 1 if grey else 3, profile, transparent=transparent)
    page.subtype = "animated" if b"acTL" in found else ""
    if profile is None and b"sRGB" in found:
        page.profile = b"sRGB"
    assert alpha == (page.extra.shape[-1] > 0)
    return Picture("PNG", [page])


# JPEG


def read_jpeg(path):
    with PIL.Image.open(path, formats=["JPEG"]) as image:
        if image.size[0] * image.size[1] > MOST_PIXELS:  # before anything decodes it
            raise NotJudged("is larger than this judge reads")
    status, errors, _ = run(["djpeg", "-outfile", "/dev/null", path])
    if status != 0 or errors.strip():
        raise Unsound(errors.strip()[:100] or "djpeg fails")
    data = path.read_bytes()
    with PIL.Image.open(io.BytesIO(data), formats=["JPEG"]) as image:
        image.load()
        samples = numpy.asarray(image)
        model = {"L": "grey", "RGB": "rgb", "CMYK": "cmyk"}[image.mode]
        samples = samples.reshape(image.size[1], image.size[0], -1)
        return Picture("JPEG", [Page(model, 8, samples, samples.shape[-1], image.info.get("icc_profile"), lossy=True)])


def jpeg_coding(path):
    """Words for cjpeg that encode as a file was encoded, and its quantisation tables as a text for it."""
    with PIL.Image.open(path, formats=["JPEG"]) as image:
        components = image.layer[:3]
        of_components = [tuple(image.quantization[table]) for *_, table in components]
        tables = list(dict.fromkeys(of_components))
        words = ["-quality", "50", "-qslots", ",".join(str(tables.index(table)) for table in of_components)]
        if image.mode == "L":
            words.append("-grayscale")
        else:
            words += ["-sample", ",".join(f"{across}x{down}" for _, across, down, _ in components)]
        if image.mode == "RGB" and is_stored_as_rgb(image):
            words.append("-rgb")
        text = "\n".join(" ".join(map(str, table)) for table in tables)
        return words, text + "\n"


def is_stored_as_rgb(image):
    if "adobe_transform" in image.info:
        return image.info["adobe_transform"] == 0
    return "jfif" not in image.info and bytes(identifier for identifier, *_ in image.layer) == b"RGB"
