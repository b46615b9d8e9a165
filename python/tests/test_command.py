# SPDX-License-Identifier: MIT
"""The functions that run the command return the fields of its JSON."""
from __future__ import annotations

import dataclasses
import io
import json
import os
import pathlib
import subprocess
from collections.abc import Callable
from typing import Any

import hueweave
import numpy
import pytest
import tifffile
from conftest import make_samples
from PIL import Image

CHART = """CTI3

DESCRIPTOR "Five patches"
COLOR_REP "LAB_RGB"
NUMBER_OF_FIELDS 7
BEGIN_DATA_FORMAT
SAMPLE_ID RGB_R RGB_G RGB_B LAB_L LAB_A LAB_B
END_DATA_FORMAT
NUMBER_OF_SETS 5
BEGIN_DATA
A1 100 100 100 96 0 0
A2 50 50 50 55 0 0
A3 10 10 10 12 0 0
A4 80 20 20 45 60 30
A5 5 35 60 42 -10 -35
END_DATA
"""


@dataclasses.dataclass
class Folder:
    """Files in a folder, and the command."""

    path: pathlib.Path
    command: str

    def told(self, *words: object) -> Any:
        """The JSON of the command, in the form of the dataclasses."""
        done = subprocess.run([self.command, *map(str, words), "--json"], cwd=self.path, capture_output=True, text=True)
        assert done.returncode in (0, 1), done.stderr
        return in_python(json.loads(done.stdout))


def in_python(value: Any) -> Any:
    """JSON with the names and types of Python. Fields that are null are left out."""
    names = {"class": "class_", "BigTIFF": "big_tiff"}
    if isinstance(value, dict):
        return {names.get(key, key.replace(" ", "_")): in_python(item) for key, item in value.items() if item is not None}
    return tuple(map(in_python, value)) if isinstance(value, list) else value


def fields(result: Any) -> Any:
    """A dataclass as dictionaries, without fields that are None."""
    if dataclasses.is_dataclass(result):
        pairs = ((field.name, getattr(result, field.name)) for field in dataclasses.fields(result))
        return {name: fields(value) for name, value in pairs if value is not None}
    return tuple(map(fields, result)) if isinstance(result, tuple) else result


def icc(profile: bytes | None) -> list[tuple[int, int, int, bytes, bool]]:
    """The tag for a profile."""
    return [(34675, 7, len(profile), profile, True)] if profile else []


@pytest.fixture(scope="module")
def folder(tmp_path_factory: pytest.TempPathFactory, command: str, scanner: pathlib.Path) -> Folder:
    path = tmp_path_factory.mktemp("files")
    device = scanner.read_bytes()
    (path / "scanner.icc").write_bytes(device)
    (path / "matrix.icc").write_bytes(hueweave.Transform("srgb", "display-p3").profile or b"")
    (path / "chart.ti3").write_text(CHART)
    (path / "text.txt").write_text("no picture")
    pixels = make_samples((40, 50, 3), "uint8")
    with tifffile.TiffWriter(path / "pages.tif", bigtiff=True) as file:
        for profile in (device, device, b"no profile" * 20, None):
            file.write(pixels, photometric="rgb", extratags=icc(profile), resolution=(300, 300), resolutionunit="INCH")
    tifffile.imwrite(path / "tiles.tif", make_samples((64, 64, 4), "uint16"), photometric="rgb", tile=(32, 32),
                     extrasamples=["unassalpha"], extratags=icc(device), compression="zlib")
    tifffile.imwrite(path / "grey.tif", pixels[..., 0])
    picture = Image.fromarray(pixels)
    picture.save(path / "picture.png", icc_profile=device)
    picture.save(path / "picture.jpg", icc_profile=device, progressive=True)
    Image.fromarray(pixels[..., 0]).save(path / "grey.png")
    return Folder(path, command)


@pytest.fixture(autouse=True)
def inside(folder: Folder, monkeypatch: pytest.MonkeyPatch) -> None:
    monkeypatch.chdir(folder.path)


@pytest.mark.parametrize(
    ("name", "kind"),
    [
        ("scanner.icc", hueweave.ProfileDescription),
        ("matrix.icc", hueweave.ProfileDescription),
        ("pages.tif", hueweave.TiffDescription),
        ("tiles.tif", hueweave.TiffDescription),
        ("grey.tif", hueweave.TiffDescription),
        ("picture.png", hueweave.PngDescription),
        ("grey.png", hueweave.PngDescription),
        ("picture.jpg", hueweave.JpegDescription),
    ],
)
def test_inspect(folder: Folder, name: str, kind: type) -> None:
    result = hueweave.inspect(name)
    assert type(result) is kind
    assert fields(result) == folder.told("inspect", name)


def test_inspect_profiles_of_pages() -> None:
    result = hueweave.inspect(pathlib.Path("pages.tif"))
    assert isinstance(result, hueweave.TiffDescription)
    kinds = [type(page.profile) for page in result.pages]
    assert kinds == [hueweave.ProfileDescription, hueweave.SameProfile, hueweave.UnreadableProfile, type(None)]


@pytest.mark.parametrize(
    ("arguments", "words"),
    [
        ({"points": 5}, ["--points", "5"]),
        ({"points": 4, "to": "rec2020", "intent": "absolute", "bits": 8},
         ["--points", "4", "--to", "rec2020", "--intent", "absolute", "--bits", "8"]),
        ({"image": "pages.tif", "to": "./matrix.icc"}, ["--image", "pages.tif", "--to", "./matrix.icc"]),
    ],
)
def test_verify(folder: Folder, arguments: dict[str, Any], words: list[str]) -> None:
    result = hueweave.verify("scanner.icc", **arguments)
    assert (result.library is None) == ("to" in arguments)
    assert fields(result) == folder.told("verify", "scanner.icc", *words)


def test_bake(folder: Folder) -> None:
    result = hueweave.bake("matrix.icc", "baked.icc")
    assert fields(result) == folder.told("bake", "matrix.icc", "-o", "baked.icc", "--force")
    assert hueweave.verify("baked.icc", points=3).is_bake


CURVES = numpy.repeat(numpy.arange(256, dtype="uint8")[:, None], 3, 1)


@pytest.mark.parametrize(
    ("source", "arguments", "words"),
    [
        ("tiles.tif", {}, []),
        ("picture.png", {"profile": "scanner.icc", "to": "adobe-rgb", "precision": "library", "tag": False},
         ["--profile", "scanner.icc", "--to", "adobe-rgb", "--precision", "library", "--no-tag"]),
        ("tiles.tif", {"intent": "relative", "bpc": True, "lightness": 2, "hue": -5.5, "icc_version": 2, "threads": 1},
         ["--intent", "relative", "--bpc", "--lightness", "2", "--hue", "-5.5", "--icc-version", "2", "-j", "1"]),
        ("tiles.tif", {"curves": CURVES, "precision": "library", "accept_error": 100, "chroma": 3},
         ["--curve", "curves.csv", "--precision", "library", "--accept-error", "100", "--chroma", "3"]),
        ("copied.tif", {"to": "srgb"}, []),
    ],
)
def test_convert_file(folder: Folder, source: str, arguments: dict[str, Any], words: list[str]) -> None:
    numpy.savetxt("curves.csv", CURVES, "%d", ",")
    srgb = hueweave.Transform("srgb", "srgb").profile
    tifffile.imwrite("copied.tif", make_samples((9, 9, 3), "uint8"), photometric="rgb", extratags=icc(srgb))
    output = "output" + pathlib.Path(source).suffix
    result = hueweave.convert_file(source, output, force=True, **arguments)
    written = pathlib.Path(output).read_bytes()
    expected = folder.told("convert", source, "-o", output, "--force", *words)
    assert fields(result) | {"seconds": expected["seconds"]} == expected
    assert result.seconds is not None and result.seconds > 0
    assert pathlib.Path(output).read_bytes() == written


@pytest.mark.parametrize(
    ("arguments", "words"),
    [
        ({}, []),
        ({"to": "adobe-rgb", "precision": "library", "absolute": True, "worst": 0},
         ["--to", "adobe-rgb", "--precision", "library", "--absolute", "--worst", "0"]),
        ({"guideline": "fadgi-4", "intent": "relative", "bpc": True},
         ["--guideline", "fadgi-4", "--intent", "relative", "--bpc"]),
        ({"scan": "chart.ti3", "worst": 2}, ["chart.ti3", "--worst", "2"]),
    ],
)
def test_check(folder: Folder, arguments: dict[str, Any], words: list[str]) -> None:
    result = hueweave.check("chart.ti3", profile="scanner.icc", **arguments)
    assert result.all.patches == 5
    if result.guideline is not None:
        assert not result.guideline.met  # exit status 1 is a result
    assert fields(result) == folder.told("check", "chart.ti3", "--profile", "scanner.icc", *words)


def test_names_of_any_bytes(folder: Folder) -> None:
    name = os.fsdecode(b"-\xff \xc3\xa4.tif")
    (folder.path / name).write_bytes((folder.path / "tiles.tif").read_bytes())
    assert hueweave.inspect(name).file == "./" + name
    result = hueweave.convert_file(name, "-" + name)
    assert (result.source, result.output) == ("./" + name, "./-" + name)
    assert (folder.path / ("-" + name)).exists()


@pytest.mark.parametrize(
    ("call", "kind", "message"),
    [
        (lambda: hueweave.inspect("missing"), hueweave.InputError, "missing: cannot be "),
        (lambda: hueweave.inspect("text.txt"), hueweave.ProfileError, "text.txt: is not a readable ICC profile"),
        (lambda: hueweave.convert_file("text.txt", "a.tif"), hueweave.InputError, "text.txt: "),
        (lambda: hueweave.convert_file("grey.tif", "a.tif"), hueweave.InputError, "grey.tif: "),
        (lambda: hueweave.convert_file("tiles.tif", "pages.tif"), hueweave.OutputError, "pages.tif: exists already"),
        (lambda: hueweave.convert_file("tiles.tif", "a.png"), ValueError, ""),
        (lambda: hueweave.convert_file("tiles.tif", "a.tif", to="sgrb"), ValueError, ""),
        (lambda: hueweave.convert_file("tiles.tif", "a.tif", profile="missing"), hueweave.ProfileError, "missing: "),
        (lambda: hueweave.bake("scanner.icc", "no/folder/a.icc"), hueweave.OutputError, "no/folder/a.icc: "),
        (lambda: hueweave.bake("text.txt", "a.icc"), hueweave.ProfileError, "text.txt: "),
        (lambda: hueweave.verify("scanner.icc", points=1), ValueError, "--points"),
        (lambda: hueweave.check("text.txt", profile="scanner.icc"), hueweave.InputError, "text.txt: "),
        (lambda: hueweave.inspect(""), ValueError, "path: is ''; give a path"),
        (lambda: hueweave.inspect(b"a"), TypeError, "path: is of the type bytes; give a path"),  # type: ignore[arg-type]
        (lambda: hueweave.bake("scanner.icc", 3), TypeError, "output: is of the type int; give a path"),  # type: ignore[arg-type]
    ],
)
def test_failures(call: Callable[[], object], kind: type[Exception], message: str) -> None:
    with pytest.raises(kind) as raised:
        call()
    assert type(raised.value) is kind
    assert str(raised.value).startswith(message) and "\n" not in str(raised.value)
    assert not pathlib.Path("a.tif").exists()


def test_the_command_is_found(folder: Folder, command: str, monkeypatch: pytest.MonkeyPatch) -> None:
    os.makedirs("bin", exist_ok=True)
    pathlib.Path("bin/hueweave").unlink(missing_ok=True)
    pathlib.Path("bin/hueweave").symlink_to(command)
    monkeypatch.delenv("HUEWEAVE_COMMAND")
    monkeypatch.setenv("PATH", str(folder.path / "bin"))
    assert hueweave.inspect("scanner.icc").file == "scanner.icc"
    monkeypatch.setenv("PATH", "/nonexistent")
    with pytest.raises(hueweave.HueweaveError, match="hueweave: is not on the PATH; install the command"):
        hueweave.inspect("scanner.icc")
    monkeypatch.setenv("HUEWEAVE_COMMAND", "/nonexistent/hueweave")
    with pytest.raises(hueweave.HueweaveError, match="/nonexistent/hueweave: cannot be run"):
        hueweave.inspect("scanner.icc")


def test_a_command_that_is_killed(monkeypatch: pytest.MonkeyPatch) -> None:
    pathlib.Path("killed").write_text("#!/bin/sh\nkill -9 $$\n")
    pathlib.Path("killed").chmod(0o755)
    monkeypatch.setenv("HUEWEAVE_COMMAND", "./killed")
    with pytest.raises(hueweave.HueweaveError, match="the command was ended by signal 9"):
        hueweave.inspect("scanner.icc")


def test_results_cannot_change() -> None:
    result = hueweave.inspect("scanner.icc")
    with pytest.raises(dataclasses.FrozenInstanceError):
        result.file = "other"  # type: ignore[misc]
    assert not hasattr(result, "__dict__")
    assert io.StringIO(repr(result)).readline().startswith("ProfileDescription(file='scanner.icc', kind='profile'")
