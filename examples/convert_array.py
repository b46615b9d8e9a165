#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
# Copyright (c) The Hueweave authors
"""convert_array.py PROFILE: converts a NumPy array to sRGB.

The library prints one line when it is loaded and one when it is unloaded. This program suppresses both, so that the
standard output contains only its own result. HUEWEAVE_LIBRARY is the path of the shared object if the loader cannot
find it.

All matchers use the first engine of the library, one after the other. The package in python/ has any number of engines,
and transforms that threads share without a lock.
"""
import atexit
import contextlib
import ctypes
import os
import sys
import threading
import _ctypes

import numpy

PERCEPTUAL, RGB_8, RGB_16, SRGB_8, SRGB_16, UNUSABLE = 0, 0, 1, 8, 9, 65535


@contextlib.contextmanager
def silent_stdout():
    """Suppresses output of C code. Flushes the buffers of C and Python before each change."""
    c_library = ctypes.CDLL(None)
    sys.stdout.flush()
    c_library.fflush(None)
    kept = os.dup(1)
    nowhere = os.open(os.devnull, os.O_WRONLY)
    try:
        os.dup2(nowhere, 1)
        yield
    finally:
        c_library.fflush(None)
        os.dup2(kept, 1)
        os.close(kept)
        os.close(nowhere)


class Matcher:
    """Converts to sRGB with the first engine of the library. Threads may use any number of matchers."""

    _lock = threading.Lock()  # there is only one first engine

    def __init__(self, profile, library=None):
        self._profile = os.fsencode(profile)
        with self._lock:
            with silent_stdout():
                self._library = ctypes.CDLL(library or os.environ.get("HUEWEAVE_LIBRARY", "libHueweave.so.1"))
            atexit.register(self._unload)
            self._bind(RGB_8, SRGB_8)

    def _unload(self):
        with silent_stdout():
            _ctypes.dlclose(self._library._handle)

    def _bind(self, encoding, space):
        """Has no effect if the profile and the sample width are those of the previous call."""
        function = self._library.Orvix_Icc_SetProfile
        function.argtypes = [ctypes.c_char_p, ctypes.c_char_p] + 3 * [ctypes.c_int32]
        if function(self._profile, None, PERCEPTUAL, encoding, space) != space:
            raise ValueError(f"{os.fsdecode(self._profile)}: no profile that can be used")

    def convert(self, pixels):
        """Returns a new array of the same shape. The last axis is R, G, B; uint8 or uint16."""
        encodings = {numpy.dtype("uint8"): (RGB_8, SRGB_8), numpy.dtype("uint16"): (RGB_16, SRGB_16)}
        if not isinstance(pixels, numpy.ndarray) or pixels.dtype not in encodings:
            raise TypeError(f"a numpy.ndarray of uint8 or uint16 is wanted, not {getattr(pixels, 'dtype', type(pixels))}")
        if pixels.ndim == 0 or pixels.shape[-1] != 3:
            raise ValueError(f"R, G, B are wanted as the last axis; the shape is {pixels.shape}")
        matched = numpy.array(pixels, order="C")  # a copy, because 8-bit pixels are converted in place
        buffer = matched.ctypes.data_as(ctypes.c_void_p)
        function = self._library.Orvix_Icc_Convert2
        function.argtypes = [ctypes.c_void_p, ctypes.c_void_p, ctypes.c_int32]
        with self._lock:
            self._bind(*encodings[pixels.dtype])
            if function(buffer, buffer, matched.size // 3) != 0:
                raise RuntimeError("the engine has no output space")
        return matched


def main():
    if len(sys.argv) != 2:
        sys.exit("usage: convert_array.py PROFILE")
    scan = numpy.array([[[255, 255, 255], [128, 128, 128]], [[200, 40, 40], [12, 90, 160]]], dtype="uint8")
    try:
        matcher = Matcher(sys.argv[1])
        bytes_out = matcher.convert(scan)
        words_out = matcher.convert(scan.astype("uint16") * 257)
    except (OSError, ValueError) as error:
        sys.exit(str(error))
    for before, after8, after16 in zip(scan.reshape(-1, 3), bytes_out.reshape(-1, 3), words_out.reshape(-1, 3)):
        print(*before, "->", *after8, "->", *after16)


if __name__ == "__main__":
    main()
