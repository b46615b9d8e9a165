#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
# Copyright (c) The Hueweave authors
"""transform_ctypes.py PROFILE: the same as transform_pixels.c in Python, without any package.

HUEWEAVE_TRANSFORM is the path of the shared object if the loader cannot find it.
"""
import ctypes
import os
import sys
from ctypes import POINTER, byref, c_char, c_char_p, c_double, c_float, c_int32, c_size_t, c_uint8, c_void_p

SAMPLES_UINT8, SAMPLES_FLOAT = 0, 2


class Profile(ctypes.Structure):
    _fields_ = [("data", c_char_p), ("size", c_size_t), ("path", c_char_p), ("space", c_char_p)]


class Options(ctypes.Structure):
    _fields_ = [("size", c_size_t), ("samples", c_int32), ("intent", c_int32), ("black_point", c_int32),
                ("precision", c_int32), ("icc_version", c_int32), ("reserved", c_int32), ("lightness", c_double),
                ("chroma", c_double), ("hue", c_double), ("accept_error", c_double), ("curves", c_char_p)]


class Error(ctypes.Structure):
    _fields_ = [("status", c_int32), ("name", c_char * 28), ("message", c_char * 992)]


LIBRARY = ctypes.CDLL(os.environ.get("HUEWEAVE_TRANSFORM", "libhueweave_transform.so.1"))
LIBRARY.hw_transform_create.argtypes = [POINTER(Profile), POINTER(Profile), POINTER(Options), POINTER(c_void_p),
                                        POINTER(Error)]
LIBRARY.hw_transform_free.argtypes = [c_void_p]
LIBRARY.hw_transform_free.restype = None
LIBRARY.hw_convert.argtypes = [c_void_p, c_void_p, c_void_p, c_size_t]
LIBRARY.hw_status_message.restype = c_char_p


class Transform:
    """A transform to a colour space; free it with `with`."""

    def __init__(self, path, space, samples):
        options = Options(size=ctypes.sizeof(Options), samples=samples)
        self._handle, error = c_void_p(), Error()
        if LIBRARY.hw_transform_create(byref(Profile(path=os.fsencode(path))), byref(Profile(space=space.encode())),
                                       byref(options), byref(self._handle), byref(error)) != 0:
            raise ValueError(error.message.decode(errors="replace"))

    def __enter__(self):
        return self

    def __exit__(self, *_):
        LIBRARY.hw_transform_free(self._handle)
        self._handle = None

    def convert(self, samples):
        """Converts a ctypes array of samples in place."""
        status = LIBRARY.hw_convert(self._handle, samples, samples, len(samples) // 3)
        if status != 0:
            raise ValueError(LIBRARY.hw_status_message(status).decode())


def main():
    if len(sys.argv) != 2:
        sys.exit("usage: transform_ctypes.py PROFILE")
    scan = [255, 255, 255, 128, 128, 128, 200, 40, 40, 12, 90, 160]
    narrow, exact = (c_uint8 * 12)(*scan), (c_float * 12)(*[sample / 255 for sample in scan])
    try:
        for samples, pixels in ((SAMPLES_UINT8, narrow), (SAMPLES_FLOAT, exact)):
            with Transform(sys.argv[1], "srgb", samples) as transform:
                transform.convert(pixels)
    except ValueError as error:
        sys.exit(str(error))
    for i in range(0, 12, 3):
        print(*scan[i:i + 3], "->", *narrow[i:i + 3], "->", *[f"{sample:.6f}" for sample in exact[i:i + 3]])


if __name__ == "__main__":
    main()
