# SPDX-License-Identifier: MIT
"""Compares a converted picture with its source: sizes, extra samples, pages and colours."""
import subprocess
import tempfile

import numpy
import PIL.Image

import pictures
import truth

SPACES = {"rgb": b"RGB ", "palette": b"RGB ", "ycbcr": b"RGB ", "grey": b"GRAY", "cmyk": b"CMYK"}
# A sample may differ from Little CMS by this many steps besides its rounding; 16-bit colours by this much CIELAB.
MOST_STEPS, MOST_MEAN, MOST_LAB = 0.05, 0.01, 0.3
# Colours that are divided by alpha, or made of YCbCr, are rounded once more on their way: in steps.
ROUNDED_AGAIN = 1.0
# JPEG: the loss of our coding compared with that of the reference with the same tables.
MORE_LOSS, MORE_LEVELS = 1.05, 0.5


def wanted_profile(page, above, given):
    """The profile by which a page should be converted: its own, that of the page above it, or the given one."""
    for profile in (page.profile, above, given):
        if profile is None:
            continue
        if profile == b"sRGB":
            profile = truth.grey_srgb() if page.model == "grey" else truth.srgb()
        if truth.space_of(profile) == SPACES.get(page.model):
            return profile
    return None


def takes(picture_format, page, profile):
    """Whether the command says that it converts such a page."""
    if page.subtype:
        return False
    if page.model in ("lab", "icc lab"):
        return page.bits in (8, 16)
    if profile is None or truth.between(profile, truth.srgb()).link is None:
        return False
    depths = {"rgb": (8, 10, 12, 14, 16), "palette": (1, 2, 4, 8), "ycbcr": (8,), "grey": (8, 16), "cmyk": (8, 16)}
    if picture_format == "PNG" and page.model == "grey":
        return True  # of 1, 2 and 4 bits as well
    return page.bits in depths.get(page.model, ())


def plan(picture, given):
    """For each page, the profile by which it should be converted ("Lab" for CIELAB), or None if it should stay."""
    profiles, above = [], None
    for page in picture.pages:
        profile = wanted_profile(page, above, given)
        above = page.profile or above
        lab = page.model in ("lab", "icc lab")
        profiles.append(("Lab" if lab else profile) if takes(picture.format, page, profile) else None)
    return profiles


def faults(source, output, planned, path, output_path):
    """Sentences about what is wrong with an output; none for a correct one."""
    if len(source.pages) != len(output.pages):
        return [f"{len(output.pages)} pages, not {len(source.pages)}"]
    found = []
    for number, (page, after, profile) in enumerate(zip(source.pages, output.pages, planned)):
        name = f"page {number + 1}: " if len(source.pages) > 1 else ""
        if page.samples.shape[:2] != after.samples.shape[:2]:
            found.append(f"{name}size {after.samples.shape[:2]}, not {page.samples.shape[:2]}")
        elif profile is None:
            if page.model != after.model or not numpy.array_equal(page.samples, after.samples):
                found.append(f"{name}a page to be kept changed")
        elif source.format == "JPEG":
            found += jpeg_faults(page, after, profile, path, output_path)
        else:
            found += [name + fault for fault in page_faults(source.format, page, after, profile)]
    return found


# Pages without loss


def page_faults(kind, page, after, profile):
    if after.profile is None:
        return ["embeds no profile"]
    target = after.profile
    if target == b"sRGB":
        target = truth.grey_srgb() if after.model == "grey" else truth.srgb()
    keeps_palette = kind == "PNG" and page.model == "palette"
    stays_grey = page.model == "grey" and truth.space_of(target) == b"GRAY"
    model = "palette" if keeps_palette else "grey" if stays_grey else "rgb"
    if after.model != model:
        return [f"became {after.model}, not {model}"]
    found = target_faults(target)
    if keeps_palette:
        if not numpy.array_equal(page.samples, after.samples) or page.bits != after.bits:
            found.append("indices of the palette changed")
        if page.transparent != after.transparent:
            found.append("transparency of the palette changed")
        used = numpy.unique(page.samples)
        return found + colour_faults(page.palette[used], after.palette[used], profile, target, 8)
    depth = 16 if page.bits in (10, 12, 14) else after.bits if page.model == "palette" else max(8, page.bits)
    copied = page.bits == after.bits and numpy.array_equal(page.samples, after.samples)
    if after.bits != depth and not copied:
        return [f"{after.bits} bits, not {depth}"]
    extra = page.extra
    if page.bits != after.bits:
        extra = numpy.floor(extra * (((1 << after.bits) - 1) / ((1 << page.bits) - 1)) + 0.5)
    if not numpy.array_equal(extra, after.extra):
        found.append("alpha changed")
    if kind == "PNG" and page.transparent is not None:
        if after.transparent is None:
            return ["the transparent colour is lost"]
        see_through = [(one.pixels == numpy.array(one.transparent)).all(axis=-1) for one in (page, after)]
        if not numpy.array_equal(*see_through):
            found.append("transparent pixels changed")
    return found + pixel_faults(page, after, profile, target)


def pixel_faults(page, after, profile, target):
    """By distinct pixels: many pictures have few."""
    whole = numpy.concatenate([page.pixels, after.pixels], axis=-1)
    alpha = page.associated and page.extra.shape[-1] > 0
    if alpha:
        whole = numpy.concatenate([whole, page.extra[..., :1]], axis=-1)
    whole = numpy.unique(whole.reshape(-1, whole.shape[-1]), axis=0).astype(numpy.float64)
    top = (1 << after.bits) - 1
    before, reached = whole[:, : page.colours], whole[:, page.colours: page.colours + after.colours]
    if after.inverted:
        reached = top - reached
    if page.model == "palette":
        return colour_faults(page.palette[before[:, 0].astype(int)], reached / top, profile, target, after.bits)
    if alpha:
        return alpha_faults(before, reached, whole[:, -1:], profile, target, top)
    if after.transparent is not None:
        reached = unmoved(reached, numpy.array(after.transparent),
                          reference(colours(page, before), profile, target) * top)
    again = ROUNDED_AGAIN if page.model == "ycbcr" else 0.0
    return colour_faults(colours(page, before), reached / top, profile, target, after.bits, again)


def unmoved(reached, transparent, wanted):
    """Other colours that became the transparent one are moved by one step of blue, or grey: moves them back."""
    step = numpy.abs(reached - transparent)
    moved = (step[:, :-1] == 0).all(axis=1) & (step[:, -1] == 1)
    moved &= (numpy.round(wanted) == transparent).all(axis=1)
    return numpy.where(moved[:, None], transparent, reached)


def colours(page, samples):
    """Stored samples as Little CMS takes colours, 0 to 1 or CIELAB."""
    if page.model in ("lab", "icc lab"):
        wide, encoded = page.bits == 16, page.model == "icc lab"
        half = 32768.0 if wide else 128.0
        lightness = samples[:, :1] * 100 / (65280.0 if encoded and wide else 2 * half - 1)
        others = samples[:, 1:] - half if encoded else numpy.where(samples[:, 1:] >= half, samples[:, 1:] - 2 * half,
                                                                   samples[:, 1:])
        return numpy.concatenate([lightness, others / (256.0 if wide else 1.0)], axis=1)
    scaled = samples / ((1 << page.bits) - 1)
    return 1 - scaled if page.inverted else scaled


def reference(source, profile, target):
    return numpy.clip(truth.between(None if profile == "Lab" else profile, target).of(source), 0, 1)


def colour_faults(source, reached, profile, target, bits, again=0.0):
    """Colours of 0 to 1 compared with Little CMS; `again` are the steps by which they may differ besides."""
    wanted = reference(source, profile, target)
    if numpy.array_equal(source, reached) and is_same(profile, target):
        return []
    if bits == 16:
        off = truth.distances(target, wanted, reached)
        if off.mean() <= MOST_MEAN and off.max() <= MOST_LAB:
            return []
        return [f"colours differ by {off.mean():.4f} on average, {off.max():.3f} at most (CIELAB)"]
    top = (1 << bits) - 1
    off = numpy.abs(reached - wanted) * top
    if off.max() <= 0.5 + MOST_STEPS + again:
        return []
    at = numpy.unravel_index(off.argmax(), off.shape)[0]
    return [f"{(off > 0.5 + MOST_STEPS).mean():.2%} of the samples differ by up to {off.max():.2f} steps: "
            f"{source[at]} -> {reached[at] * top}, not {wanted[at] * top}"]


def is_same(profile, target):
    """Whether a profile describes the colours of the target: neutral and saturated colours stay within a step."""
    if profile == "Lab" or truth.space_of(profile) != truth.space_of(target):
        return False
    channels = truth.SPACES[truth.space_of(target)][1]
    grid = numpy.stack(numpy.meshgrid(*[numpy.linspace(0, 1, 9)] * channels), axis=-1).reshape(-1, channels)
    return bool(truth.distances(target, grid, reference(grid, profile, target)).max() < 1.0)


def alpha_faults(before, reached, alpha, profile, target, top):
    """Colours that are multiplied by alpha: divided, rounded, converted, rounded, multiplied, rounded."""
    share = numpy.where(alpha == 0, 1, alpha) / top
    whole = numpy.minimum(top, numpy.floor(before / share + 0.5)) / top
    wanted = reference(whole, profile, target) * top * share
    visible = (alpha > 0)[:, 0]
    off = numpy.abs(reached - wanted)[visible]
    if off.size and off.max() > ROUNDED_AGAIN + MOST_STEPS * (top / 255):
        return [f"colours multiplied by alpha differ by up to {off.max():.2f} steps"]
    if not numpy.array_equal(reached[~visible], before[~visible]):
        return ["invisible pixels changed"]
    return []


def target_faults(target):
    """The embedded profile must be sRGB, or grey with its curve, to Little CMS as well."""
    channels = truth.SPACES[truth.space_of(target)][1]
    ramp = numpy.linspace(0, 1, 256)
    grid = ramp[:, None] if channels == 1 else numpy.random.default_rng(7).random((4096, 3))
    reached = numpy.clip(truth.between(target, truth.srgb()).of(grid), 0, 1)
    off = truth.distances(truth.srgb(), reached, numpy.broadcast_to(grid, (len(grid), 3)))
    return [] if off.max() < 0.1 else [f"the embedded profile is not that of sRGB: {off.max():.3f}"]


# JPEG


def jpeg_faults(page, after, profile, path, output_path):
    """The loss of the second coding is compared with that of the reference, coded by cjpeg with the same tables and
    factors: those of the source, unless it had other components."""
    codings = [pictures.jpeg_coding(one) for one in (path, output_path)]
    if page.model == after.model and codings[0] != codings[1]:
        return [f"is coded as {codings[1]}, not as {codings[0]}"]
    if after.profile is None:
        return ["embeds no profile"]
    found = target_faults(after.profile)
    whole, inverse = numpy.unique(page.pixels.reshape(-1, page.colours), axis=0, return_inverse=True)
    scaled = whole / 255
    wanted = reference(scaled, profile, after.profile)[inverse].reshape(*page.samples.shape[:2], -1) * 255
    if numpy.array_equal(page.samples, after.samples) and is_same(profile, after.profile):
        return found
    if after.colours != wanted.shape[-1]:
        return [f"has {after.colours} colours"]
    coded = recoded(numpy.round(wanted).astype(numpy.uint8), codings[1])
    ours, theirs = ((samples - wanted) for samples in (after.samples, coded))
    rms = [float(numpy.sqrt((off ** 2).mean())) for off in (ours, theirs)]
    if rms[0] > rms[1] * MORE_LOSS + MORE_LEVELS:
        found.append(f"loss of coding {rms[0]:.2f}, not {rms[1]:.2f}")
    shifts = [numpy.abs(off.mean(axis=(0, 1))).max() for off in (ours, theirs)]
    if shifts[0] > shifts[1] + MORE_LEVELS:
        found.append(f"the mean colour is off by {shifts[0]:.2f}, not {shifts[1]:.2f}")
    return found


def recoded(samples, coding):
    words, tables = coding
    with tempfile.NamedTemporaryFile("w") as file, tempfile.NamedTemporaryFile(suffix=".ppm") as plain, \
            tempfile.NamedTemporaryFile(suffix=".jpg") as coded:
        file.write(tables)
        file.flush()
        PIL.Image.fromarray(samples[..., 0] if samples.shape[-1] == 1 else samples).save(plain.name)
        subprocess.run(["cjpeg", "-qtables", file.name, *words, "-outfile", coded.name, plain.name], check=True,
                       capture_output=True)
        with PIL.Image.open(coded.name) as image:
            return numpy.asarray(image).reshape(samples.shape).astype(numpy.float64)
