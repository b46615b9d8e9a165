# SPDX-License-Identifier: MIT
"""A transform gives the samples of the command, and says what it does."""
from __future__ import annotations

import pathlib
import pickle
import subprocess
from typing import Any

import hueweave
import numpy
import pytest
import tifffile
from conftest import make_samples

CURVES = (numpy.linspace(0, 255, 256)[:, None] * [1.0, 0.9, 0.8]).astype("uint8")


def by_command(command: str, folder: pathlib.Path, array: Any, *words: str) -> Any:
    source, output = folder / "in.tif", folder / "out.tif"
    tifffile.imwrite(source, array, photometric="rgb")
    done = subprocess.run([command, "convert", source, "-o", output, "-q", *words], capture_output=True, text=True)
    assert (done.returncode, done.stderr) == (0, "")
    return tifffile.imread(output)


@pytest.mark.parametrize("dtype", ["uint8", "uint16"])
@pytest.mark.parametrize(
    ("arguments", "words"),
    [
        ({}, []),
        ({"precision": "library"}, ["--precision", "library"]),
        ({"to": "AdobeRGB1998", "intent": "relative", "bpc": True}, ["--to", "adobe-rgb", "--intent", "relative", "--bpc"]),
        ({"to": "adobe-rgb", "precision": "library"}, ["--to", "adobe-rgb", "--precision", "library"]),
        ({"lightness": 5, "chroma": -7.5, "hue": 10}, ["--lightness", "5", "--chroma", "-7.5", "--hue", "10"]),
        ({"intent": "absolute", "precision": "library", "lightness": -3},
         ["--intent", "absolute", "--precision", "library", "--lightness", "-3"]),
        ({"curves": CURVES}, ["--curve", "curves.csv"]),
        ({"curves": CURVES, "precision": "library", "accept_error": 100},
         ["--curve", "curves.csv", "--precision", "library", "--accept-error", "100"]),
    ],
)
def test_the_samples_are_those_of_the_command(
    command: str,
    scanner: pathlib.Path,
    tmp_path: pathlib.Path,
    monkeypatch: pytest.MonkeyPatch,
    arguments: dict[str, Any],
    words: list[str],
    dtype: str,
) -> None:
    monkeypatch.chdir(tmp_path)
    numpy.savetxt("curves.csv", CURVES, "%d", ",")
    array = make_samples((61, 83, 3), dtype)
    array[0, 0], array[0, 1] = 0, numpy.iinfo(dtype).max
    expected = by_command(command, tmp_path, array, "--profile", str(scanner), *words)
    assert not numpy.array_equal(expected, array)
    numpy.testing.assert_array_equal(hueweave.Transform(scanner, **arguments)(array), expected)


def test_profiles_in_every_way(command: str, scanner: pathlib.Path, tmp_path: pathlib.Path) -> None:
    array = make_samples((20, 30, 3), "uint16")
    expected = by_command(command, tmp_path, array, "--profile", str(scanner), "--to", "display-p3")
    target = tmp_path / "p3"
    target.write_bytes(hueweave.Transform("srgb", "display-p3").profile or b"")
    sources: list[Any] = [str(scanner), scanner, scanner.read_bytes(), memoryview(scanner.read_bytes())]
    targets: list[Any] = ["Display-P3", target, target.read_bytes()]
    for source in sources:
        for to in targets:
            numpy.testing.assert_array_equal(hueweave.Transform(source, to)(array), expected)


def test_info_and_profile(scanner: pathlib.Path, tmp_path: pathlib.Path) -> None:
    info = hueweave.Transform(scanner).info
    assert (info.way, info.reason, info.colours) == ("direct", "", 2548)
    assert 0 < info.mean < info.p999 <= info.largest < 0.05
    assert hueweave.Transform("srgb", "srgb").info == hueweave.TransformInfo("copy", "", 0, 0.0, 0.0, 0.0)
    assert hueweave.Transform("srgb", "rec2020").info.way == "matrix"
    assert hueweave.Transform(scanner, precision="library").info.way == "library"
    for version in (2, 4):
        profile = hueweave.Transform(scanner, icc_version=version).profile
        assert profile is not None and profile[8] == version and profile[36:40] == b"acsp"
    falling = CURVES[::-1].copy()
    assert hueweave.Transform(scanner, precision="library", curves=falling, accept_error=100).profile is None


def test_pickled(scanner: pathlib.Path, tmp_path: pathlib.Path) -> None:
    array = make_samples((20, 30, 3), "uint16")
    copied = tmp_path / "scanner.icc"
    copied.write_bytes(scanner.read_bytes())
    for transform in (
        hueweave.Transform(copied, "adobe-rgb", "relative", bpc=True, hue=3, curves=CURVES),
        hueweave.Transform(copied, precision="library", accept_error=50),
    ):
        expected, text = transform(array), pickle.dumps(transform)
        copied.unlink()  # the text contains the profile
        again = pickle.loads(text)
        numpy.testing.assert_array_equal(again(array), expected)
        assert (again.info, again.profile, repr(again)) == (transform.info, transform.profile, repr(transform))
        copied.write_bytes(scanner.read_bytes())


def test_spaces() -> None:
    spaces = hueweave.spaces()
    assert {"srgb", "display-p3", "adobe-rgb", "rec2020", "prophoto"} <= set(spaces)
    for name in spaces:
        hueweave.Transform("srgb", name)
