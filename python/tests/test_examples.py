# SPDX-License-Identifier: MIT
"""The examples do what they say."""
from __future__ import annotations

import pathlib
import resource
import subprocess
import sys

import hueweave
import numpy
import tifffile
from conftest import make_samples
from PIL import Image

EXAMPLES = pathlib.Path(__file__).parents[1] / "examples"


def run(name: str, *words: object, memory: int | None = None) -> str:
    """What an example prints, with a limit on the memory that it may allocate."""
    def limit() -> None:
        if memory is not None:
            resource.setrlimit(resource.RLIMIT_DATA, (memory, memory))

    command = [sys.executable, str(EXAMPLES / f"{name}.py"), *map(str, words)]
    done = subprocess.run(command, capture_output=True, text=True, check=False, preexec_fn=limit, timeout=300)
    assert done.returncode == 0, done.stderr
    return done.stdout


def test_tifffile(scanner: pathlib.Path, tmp_path: pathlib.Path) -> None:
    pages = [make_samples((30, 40, 3), "uint8"), make_samples((20, 10, 4), "uint16")]
    with tifffile.TiffWriter(tmp_path / "in.tif") as file:
        for page in pages:
            file.write(page, photometric="rgb")
    assert run("tifffile_pages", scanner, tmp_path / "in.tif", tmp_path / "out.tif").endswith("out.tif: 2 pages\n")
    transform = hueweave.Transform(scanner)
    with tifffile.TiffFile(tmp_path / "out.tif") as file:
        for written, page in zip(file.pages, pages, strict=True):
            numpy.testing.assert_array_equal(written.asarray(), transform(page))
            assert written.tags[34675].value == transform.profile


def test_pillow(scanner: pathlib.Path, tmp_path: pathlib.Path) -> None:
    pixels = make_samples((30, 40, 4), "uint8")
    transform = hueweave.Transform(scanner)
    Image.fromarray(pixels).save(tmp_path / "plain.png")
    Image.fromarray(pixels).save(tmp_path / "embeds.png", icc_profile=scanner.read_bytes())
    for words in ([tmp_path / "plain.png", tmp_path / "out.png", scanner], [tmp_path / "embeds.png", tmp_path / "out.png"]):
        assert run("pillow_image", *words).endswith("out.png: direct\n")
        with Image.open(tmp_path / "out.png") as image:
            numpy.testing.assert_array_equal(numpy.asarray(image), transform(pixels))
            assert image.info["icc_profile"] == transform.profile


def test_dask_converts_more_than_fits_into_memory(scanner: pathlib.Path, tmp_path: pathlib.Path) -> None:
    shape, memory = (12000, 10000, 3), 300 << 20
    source = tifffile.memmap(tmp_path / "in.tif", shape=shape, dtype="uint8", photometric="rgb")
    assert source.nbytes > memory
    source[::1000] = make_samples(source[::1000].shape, "uint8")  # the rest is a hole in the file
    source.flush()
    printed = run("dask_large_picture", scanner, tmp_path / "in.tif", tmp_path / "out.tif", memory=memory)
    assert printed.endswith("out.tif: 12000 x 10000 x 3 samples\n")
    result = tifffile.memmap(tmp_path / "out.tif", mode="r")
    transform = hueweave.Transform(scanner)
    numpy.testing.assert_array_equal(result[::500], transform(source[::500]))
    (tmp_path / "out.tif").unlink()  # pytest keeps the folders of three runs


def test_a_killed_worker_changes_nothing(scanner: pathlib.Path) -> None:
    assert run("distributed_cluster", scanner) == "24 of 24 blocks are right; workers replaced: 0\n"
    assert run("distributed_cluster", scanner, "--kill") == "24 of 24 blocks are right; workers replaced: 1\n"
