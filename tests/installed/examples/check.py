# SPDX-License-Identifier: MIT
"""check.py PROGRAMS FILES WORK: runs the examples and looks at what they say.

What one example prints is held against what another reaches on another way: C against Python, a file against a buffer,
three engines at once against one engine three times. Pictures are read by ImageMagick.
"""
import concurrent.futures
import ctypes
import os
import pathlib
import shutil
import subprocess
import sys
import threading
import unittest

import numpy

PROGRAMS, FILES, WORK = (pathlib.Path(folder) for folder in sys.argv[1:4])
PROFILE = str(FILES / "scanner.icc")
EXAMPLES = pathlib.Path(__file__).resolve().parents[3] / "examples"
sys.path.insert(0, str(EXAMPLES))
sys.dont_write_bytecode = True
import convert_array  # noqa: E402
ARRAY = ["/usr/bin/python3", str(EXAMPLES / "convert_array.py")]


def run(*command):
    return subprocess.run([str(word) for word in command], capture_output=True, text=True, check=False)


def lines(*command):
    """The lines of a run that must succeed, without those of loading and unloading."""
    done = run(*command)
    if done.returncode != 0:
        raise AssertionError(f"{command}: {done.returncode}, {done.stderr}")
    return [line for line in done.stdout.splitlines() if "DllMain" not in line]


def first_engine(pixels, intent, encoding, space, shift=None):
    """Pixels through the first engine of this process, bound anew."""
    library = ctypes.CDLL(os.environ["HUEWEAVE_LIBRARY"])
    library.Orvix_Icc_Adjust.argtypes = 3 * [ctypes.c_double] + 3 * [ctypes.c_void_p] + [ctypes.c_int32]
    matched = numpy.array(pixels)
    at = matched.ctypes.data_as(ctypes.c_void_p)
    assert library.Orvix_Icc_SetProfile(os.fsencode(PROFILE), None, intent, encoding, space) == space
    library.Orvix_Icc_Adjust(*(shift or (0.0, 0.0, 0.0)), None, None, None, 0)
    assert library.Orvix_Icc_Convert2(at, at, matched.size // 3) == 0
    return matched.ravel().tolist()


def picture(path):
    """Size and samples of a TIFF file."""
    size = subprocess.run(["identify", "-format", "%w %h", path], capture_output=True, check=True).stdout
    data = subprocess.run(["convert", path, "-depth", "8", "rgb:-"], capture_output=True, check=True).stdout
    return size, numpy.frombuffer(data, dtype="uint8")


class Buffers(unittest.TestCase):
    def test_c_and_python_print_the_same(self):
        expected = lines(PROGRAMS / "convert_buffer", PROFILE)
        self.assertEqual(len(expected), 4)
        self.assertEqual(run(*ARRAY, PROFILE).stdout.splitlines(), expected)

    def test_something_was_converted(self):
        for line in lines(PROGRAMS / "convert_buffer", PROFILE):
            before, after8, after16 = ([int(n) for n in part.split()] for part in line.split(" -> "))
            self.assertNotEqual(before, after8)
            for narrow, wide in zip(after8, after16):
                self.assertLess(abs(wide / 257 - narrow), 2)

    def test_python_alone_writes_to_standard_output(self):
        done = run(*ARRAY, PROFILE)
        self.assertEqual(done.stderr, "")
        self.assertEqual([line for line in done.stdout.splitlines() if " -> " not in line], [])


class Threads(unittest.TestCase):
    """Matchers of several threads share one engine: each thread gets what it gets alone."""

    def test_two_threads_with_a_matcher_each(self):
        other = shutil.copy(PROFILE, WORK / "another name.icc")  # so that the engine is bound again
        jobs = [(convert_array.Matcher(path), numpy.arange(3 * 20000, dtype="uint16").astype(kind).reshape(-1, 3))
                for path, kind in ((PROFILE, "uint8"), (other, "uint16"))]
        alone = [matcher.convert(pixels) for matcher, pixels in jobs]
        start = threading.Barrier(2)

        def work(job):
            start.wait()
            return [job[0].convert(job[1]) for _ in range(150)]

        with concurrent.futures.ThreadPoolExecutor(2) as pool:
            for results, expected in zip(pool.map(work, jobs), alone):
                for result in results:
                    self.assertTrue(numpy.array_equal(result, expected))

    def test_refuses_other_types_and_shapes(self):
        matcher = convert_array.Matcher(PROFILE)
        for pixels in ([[1, 2, 3]], numpy.zeros(3), numpy.zeros((2, 3), ">u2"), None):
            self.assertRaises(TypeError, matcher.convert, pixels)
        for shape in ((), (4,), (3, 4)):
            self.assertRaises(ValueError, matcher.convert, numpy.zeros(shape, "uint8"))


class Files(unittest.TestCase):
    def test_a_file_gets_what_a_buffer_gets(self):
        source, dest = FILES / "chart-8.tif", WORK / "adobe.tif"
        self.assertEqual(lines(PROGRAMS / "convert_file", PROFILE, source, dest)[-1],
                         f"{dest}: {dest.stat().st_size} bytes")
        size, before = picture(source)
        after_size, after = picture(dest)
        self.assertEqual(after_size, size)
        self.assertEqual(after.tolist(), first_engine(before, 1, 0, 22))

    def test_refuses_what_is_no_picture(self):
        text = WORK / "text.tif"
        text.write_text("no picture")
        for source in (text, WORK / "missing.tif"):
            done = run(PROGRAMS / "convert_file", PROFILE, source, WORK / "never.tif")
            self.assertEqual(done.returncode, 1)
            self.assertIn(str(source), done.stderr)


class Engines(unittest.TestCase):
    def test_three_at_once_are_one_three_times(self):
        scan = numpy.array([128, 128, 128, 200, 40, 40, 12, 90, 160], dtype="uint8")
        printed = {line.split()[0]: [int(n) for n in line.split()[1:]]
                   for line in lines(PROGRAMS / "three_engines", PROFILE)}
        self.assertEqual(printed, {
            "plain": first_engine(scan, 0, 0, 8),
            "lighter": first_engine(scan, 0, 0, 8, (5.0, 10.0, 0.0)),
            "adobe16": first_engine(scan.astype("uint16") * 257, 0, 1, 23),
        })
        self.assertGreater(sum(printed["lighter"][:3]), sum(printed["plain"][:3]))


TRANSFORMS = ([PROGRAMS / "transform_pixels"], [PROGRAMS / "transform_spans"], [PROGRAMS / "transform_ffi"],
              ["/usr/bin/python3", str(EXAMPLES / "transform_ctypes.py")])


class Transforms(unittest.TestCase):
    def test_every_language_prints_the_same_and_nothing_else(self):
        expected = lines(*TRANSFORMS[0], PROFILE)
        self.assertEqual(len(expected), 4)
        for line in expected:
            before, after8, after = ([float(n) for n in part.split()] for part in line.split(" -> "))
            self.assertNotEqual(before, after8)
            for narrow, exact in zip(after8, after):
                self.assertLess(abs(255 * exact - narrow), 0.51)
        for command in TRANSFORMS:
            done = run(*command, PROFILE)
            self.assertEqual((done.stdout.splitlines(), done.stderr, done.returncode), (expected, "", 0), command)

    def test_a_failure_is_one_sentence(self):
        missing = str(WORK / "missing.icc")
        sentence = f"{missing}: cannot be read (No such file or directory); check the file and its permissions\n"
        for command in TRANSFORMS:
            done = run(*command, missing)
            self.assertEqual((done.stdout, done.stderr, done.returncode), ("", sentence, 1), command)


class Refusals(unittest.TestCase):
    def test_a_profile_that_is_not_there_is_named(self):
        missing, chart = str(WORK / "missing.icc"), FILES / "chart-8.tif"
        for command in ([PROGRAMS / "convert_buffer", missing], [PROGRAMS / "three_engines", missing],
                        [PROGRAMS / "convert_file", missing, chart, WORK / "never.tif"], [*ARRAY, missing]):
            done = run(*command)
            self.assertEqual(done.returncode, 1, command)
            self.assertIn(missing, done.stderr)

    def test_usage(self):
        for name in ("convert_buffer", "convert_file", "three_engines"):
            done = run(PROGRAMS / name)
            self.assertEqual(done.returncode, 2)
            self.assertIn(f"usage: {name}", done.stderr)


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
