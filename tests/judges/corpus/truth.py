# SPDX-License-Identifier: MIT
"""Colours by Little CMS in doubles, without its optimisations and its cache."""
import ctypes
import ctypes.util
import functools

import numpy

LCMS = ctypes.CDLL(ctypes.util.find_library("lcms2"))
for name in ("cmsOpenProfileFromMem", "cmsCreateTransform", "cmsCreate_sRGBProfile", "cmsCreateLab4Profile",
             "cmsCreateGrayProfile", "cmsBuildGamma", "cmsBuildParametricToneCurve", "cmsD50_xyY"):
    getattr(LCMS, name).restype = ctypes.c_void_p
LCMS.cmsCreateTransform.argtypes = [ctypes.c_void_p, ctypes.c_uint32, ctypes.c_void_p, ctypes.c_uint32, ctypes.c_uint32,
                                    ctypes.c_uint32]
LCMS.cmsDoTransform.argtypes = [ctypes.c_void_p, ctypes.c_void_p, ctypes.c_void_p, ctypes.c_uint32]
LCMS.cmsSaveProfileToMem.argtypes = [ctypes.c_void_p, ctypes.c_void_p, ctypes.c_void_p]
LCMS.cmsCreateLab4Profile.argtypes = [ctypes.c_void_p]
LCMS.cmsBuildGamma.argtypes = [ctypes.c_void_p, ctypes.c_double]
LCMS.cmsBuildParametricToneCurve.argtypes = [ctypes.c_void_p, ctypes.c_int32, ctypes.c_void_p]
LCMS.cmsCreateGrayProfile.argtypes = [ctypes.c_void_p, ctypes.c_void_p]

NO_OPTIMISATION, NO_CACHE = 0x100, 0x40
PERCEPTUAL, RELATIVE = 0, 1
SPACES = {b"GRAY": (3, 1), b"RGB ": (4, 3), b"CMYK": (6, 4), b"Lab ": (10, 3)}  # number of the space, channels
SCALES = {b"CMYK": 100.0}  # Little CMS counts ink in percent


def type_of(space):
    number, channels = SPACES[space]
    return 1 << 22 | number << 16 | channels << 3  # floating point of eight bytes


def saved(profile):
    size = ctypes.c_uint32()
    LCMS.cmsSaveProfileToMem(profile, None, ctypes.byref(size))
    data = ctypes.create_string_buffer(size.value)
    LCMS.cmsSaveProfileToMem(profile, data, ctypes.byref(size))
    return data.raw


@functools.lru_cache
def srgb():
    """Little CMS's own profile of sRGB, as bytes."""
    return saved(LCMS.cmsCreate_sRGBProfile())


@functools.lru_cache
def grey():
    """A profile of grey with a gamma of 1.8."""
    return saved(LCMS.cmsCreateGrayProfile(LCMS.cmsD50_xyY(), LCMS.cmsBuildGamma(None, 1.8)))


@functools.lru_cache
def grey_srgb():
    """A profile of grey with the tone curve of sRGB."""
    parameters = (ctypes.c_double * 5)(2.4, 1 / 1.055, 0.055 / 1.055, 1 / 12.92, 0.04045)
    return saved(LCMS.cmsCreateGrayProfile(LCMS.cmsD50_xyY(), LCMS.cmsBuildParametricToneCurve(None, 4, parameters)))


def space_of(profile):
    return profile[16:20]


def opened(profile):
    """A profile, or CIELAB if there is none."""
    if profile is None:
        return LCMS.cmsCreateLab4Profile(None)
    return LCMS.cmsOpenProfileFromMem(profile, len(profile))


class Truth:
    """From one profile to another; None is CIELAB."""

    def __init__(self, source, target, intent=PERCEPTUAL):
        self.spaces = [b"Lab " if profile is None else space_of(profile) for profile in (source, target)]
        handles = [opened(profile) for profile in (source, target)]
        self.link = None
        if all(handles) and all(space in SPACES for space in self.spaces):
            self.link = LCMS.cmsCreateTransform(handles[0], type_of(self.spaces[0]), handles[1],
                                                type_of(self.spaces[1]), intent, NO_OPTIMISATION | NO_CACHE)

    def of(self, colours):
        """Rows of colours, 0 to 1 (CIELAB as it is), in the space of the target; not clipped."""
        source = numpy.ascontiguousarray(colours * SCALES.get(self.spaces[0], 1.0), dtype=numpy.float64)
        target = numpy.empty((len(source), SPACES[self.spaces[1]][1]))
        LCMS.cmsDoTransform(self.link, source.ctypes.data, target.ctypes.data, len(source))
        return target


@functools.lru_cache(maxsize=64)
def between(source, target):
    return Truth(source, target)


@functools.lru_cache(maxsize=64)
def to_lab(profile):
    return Truth(profile, None, RELATIVE)


def distances(profile, one, other):
    """Euclidean distances in CIELAB between colours of a profile."""
    lab = to_lab(profile)
    return numpy.linalg.norm(lab.of(one) - lab.of(other), axis=1)
