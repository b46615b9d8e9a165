# SPDX-License-Identifier: MIT
"""The functions that run the command ``hueweave``, each in a process of its own, with its sandbox."""
from __future__ import annotations

import contextlib
import json
import os
import shutil
import subprocess
import tempfile
from collections.abc import Iterator
from typing import Any, Literal

from . import _arguments
from ._arguments import Curves, Intent, Path, Precision
from ._errors import HueweaveError, InputError, OutputError, ProfileError
from ._results import Bake, ChartCheck, Conversion, Description, Verification, from_json

Guideline = Literal["fadgi-1", "fadgi-2", "fadgi-3", "fadgi-4", "metamorfoze-full", "metamorfoze-light"]

_ERRORS: dict[int, type[Exception]] = {2: ValueError, 3: ProfileError, 4: InputError, 5: OutputError}


def _command() -> str:
    given = os.environ.get("HUEWEAVE_COMMAND")
    if given:
        return given
    found = shutil.which("hueweave")
    if found is None:
        raise HueweaveError("hueweave: is not on the PATH; install the command, or set HUEWEAVE_COMMAND to its path")
    return found


def _path(name: str, given: object) -> str:
    """A path for the command line."""
    if not isinstance(given, (str, os.PathLike)):
        raise TypeError(f"{name}: is of the type {type(given).__name__}; give a path")
    path = os.fsdecode(given)
    if not path or "\0" in path:
        raise ValueError(f"{name}: is {path!r}; give a path")
    return os.path.join(os.curdir, path) if path.startswith("-") else path


def _target(given: object) -> str:
    """A path, or the name of a colour space."""
    return _path("to", given) if _arguments.is_path(given) or not isinstance(given, str) else given


def _error(status: int, text: str) -> Exception:
    """The exception for an exit status, with the last line of the messages."""
    lines = [line for line in text.splitlines() if line and "hueweave: note: " not in line]
    message = lines[-1].removeprefix("hueweave: ") if lines else f"the command failed with the status {status}"
    if status < 0:
        message = f"the command was ended by signal {-status}"
    return _ERRORS.get(status, HueweaveError)(message)


def _run(*words: str) -> Any:
    """The line of JSON that the command prints. Status 1 means that a limit is exceeded, which is a result."""
    command = _command()
    try:
        done = subprocess.run([command, *words, "--json"], stdin=subprocess.DEVNULL, capture_output=True, check=False)
    except OSError as error:
        raise HueweaveError(f"{command}: cannot be run ({error.strerror}); install the command") from None
    messages = os.fsdecode(done.stderr)
    if done.returncode not in (0, 1):
        raise _error(done.returncode, messages)
    try:
        return json.loads(done.stdout.splitlines()[-1])
    except (IndexError, ValueError):
        raise _error(done.returncode, messages) from None


def _options(**given: object) -> list[str]:
    """Options of the command line for those arguments that are given: not None, False or empty."""
    words: list[str] = []
    for name, value in given.items():
        option = "--" + name.replace("_", "-")
        if value is True:
            words.append(option)
        elif value is not None and value is not False:
            words.append(f"{option}={value}")
    return words


def _rendering(to: object, intent: object, precision: object, bpc: object) -> list[str]:
    _arguments.choose("intent", intent, _arguments.INTENTS)
    _arguments.choose("precision", precision, _arguments.PRECISIONS)
    return _options(to=_target(to), intent=intent, precision=precision, bpc=bool(bpc))


@contextlib.contextmanager
def _curve_file(curves: object) -> Iterator[str | None]:
    """The curves as the command reads them."""
    if curves is None:
        yield None
        return
    rows = _arguments.check_curves(curves)
    with tempfile.NamedTemporaryFile("w", prefix="hueweave-", suffix=".csv") as file:
        file.writelines(f"{red},{green},{blue}\n" for red, green, blue in rows.tolist())
        file.flush()
        yield file.name


def inspect(path: Path) -> Description:
    """Describes a profile, or a TIFF, PNG or JPEG file.

    :raises InputError: the file cannot be read.
    :raises ProfileError: the file is neither an image nor a profile that can be read.
    """
    description: Description = from_json(Description, _run("inspect", _path("path", path)))
    return description


def verify(
    profile: Path,
    *,
    image: Path | None = None,
    to: Path = "srgb",
    intent: Intent = "perceptual",
    bits: int = 16,
    points: int = 33,
) -> Verification:
    """Converts a grid of colours with both precisions and compares them with Little CMS in floating point.

    :param profile: the path of a profile of an RGB device.
    :param image: a TIFF file whose colours are compared in place of a grid.
    :param to: the target: the name of a colour space, or the path of a profile.
    :param intent: the rendering intent.
    :param bits: 8 or 16 bits per sample.
    :param points: of the grid on each axis, 2 to 65.
    """
    _arguments.choose("intent", intent, _arguments.INTENTS)
    words = _options(to=_target(to), intent=intent)
    words += _options(image=None if image is None else _path("image", image), bits=bits, points=points)
    result: Verification = from_json(Verification, _run("verify", _path("profile", profile), *words))
    return result


def bake(profile: Path, output: Path, *, force: bool = False) -> Bake:
    """Makes a profile that the library supports for every intent.

    :param profile: the path of a profile of an RGB device.
    :param output: the path of the new profile.
    :param force: replace an existing file.
    :raises OutputError: ``output`` exists, or cannot be written.
    """
    words = _options(output=_path("output", output), force=force)
    result: Bake = from_json(Bake, _run("bake", _path("profile", profile), *words))
    return result


def convert_file(
    source: Path,
    output: Path,
    *,
    profile: Path | None = None,
    to: Path = "srgb",
    intent: Intent = "perceptual",
    precision: Precision = "exact",
    bpc: bool = False,
    lightness: float = 0,
    chroma: float = 0,
    hue: float = 0,
    curves: Curves | None = None,
    icc_version: int = 4,
    accept_error: float | None = None,
    tag: bool = True,
    force: bool = False,
    threads: int | None = None,
) -> Conversion:
    """Converts a TIFF, PNG or JPEG file; everything but the colours stays as it is.

    :param source: the path of the file.
    :param output: the path of the new file.
    :param profile: the profile of the file, if it does not embed one.
    :param to: the target: the name of a colour space, or the path of a profile.
    :param tag: embed the profile of the target.
    :param force: replace an existing file.
    :param threads: ``None`` is one per processor.
    :raises InputError: the file cannot be read, or cannot be converted correctly.
    :raises OutputError: ``output`` exists, or cannot be written.

    The other arguments are those of :class:`Transform`.
    """
    words = _rendering(to, intent, precision, bpc)
    words += _options(
        output=_path("output", output),
        profile=None if profile is None else _path("profile", profile),
        lightness=_arguments.number("lightness", lightness) or None,
        chroma=_arguments.number("chroma", chroma) or None,
        hue=_arguments.number("hue", hue) or None,
        icc_version=None if icc_version == 4 else icc_version,
        accept_error=accept_error,
        no_tag=not tag,
        force=force,
        jobs=threads,
    )
    with _curve_file(curves) as file:
        result: Conversion = from_json(
            Conversion, _run("convert", _path("source", source), *words, *_options(curve=file))
        )
    return result


def check(
    reference: Path,
    scan: Path | None = None,
    *,
    profile: Path,
    to: Path = "srgb",
    intent: Intent = "perceptual",
    precision: Precision = "exact",
    bpc: bool = False,
    absolute: bool = False,
    worst: int = 5,
    guideline: Guideline | None = None,
) -> ChartCheck:
    """Compares the converted colours of a chart with their reference.

    :param reference: measured colours of the chart: a .ti3 or .cie file.
    :param scan: its device colours, if ``reference`` has none: a .ti3 or .val file.
    :param profile: the profile of the scanner or camera.
    :param to: the target: the name of a colour space, or the path of a profile.
    :param absolute: compare the colours as measured, not relative to the white of the medium.
    :param worst: the number of patches to list.
    :param guideline: whose tolerance is judged.
    :raises InputError: a file of the chart cannot be used.

    The other arguments are those of :class:`Transform`.
    """
    files = [_path("reference", reference)] + ([] if scan is None else [_path("scan", scan)])
    words = _rendering(to, intent, precision, bpc)
    words += _options(profile=_path("profile", profile), absolute=absolute, worst=worst, guideline=guideline)
    result: ChartCheck = from_json(ChartCheck, _run("check", *files, *words))
    return result
