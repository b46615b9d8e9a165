# SPDX-License-Identifier: MIT
"""Arrays of any shape and strides give what the shared library gives for the same pixels without gaps."""
from __future__ import annotations

import pathlib
import sys
import threading
import time
from concurrent.futures import ThreadPoolExecutor
from typing import Any

import hueweave
import numpy
import pytest
from conftest import SAMPLE_TYPES, Reference, make_samples
from hypothesis import given, settings
from hypothesis import strategies as st
from numpy.typing import NDArray


@pytest.fixture(scope="module")
def transform(scanner: pathlib.Path) -> hueweave.Transform:
    return hueweave.Transform(scanner)


@st.composite
def layouts(draw: st.DrawFn) -> tuple[tuple[int, ...], tuple[int, ...], tuple[slice, ...]]:
    """The shape of an array, the order of its axes in memory, and the part of a larger array that it is."""
    shape = (*draw(st.lists(st.integers(0, 70), max_size=3)), draw(st.integers(3, 6)))
    return shape, *draw(views(shape))


@st.composite
def views(draw: st.DrawFn, shape: tuple[int, ...]) -> tuple[tuple[int, ...], tuple[slice, ...]]:
    order = tuple(draw(st.permutations(range(len(shape)))))
    parts = []
    for length in shape:
        step, skip = draw(st.sampled_from([1, 1, 2, 3, -1, -2])), draw(st.integers(0, 2))
        last = skip + (length - 1) * abs(step)
        part = slice(skip, last + 1 if length else skip, abs(step))
        parts.append(part if step > 0 else slice(last, skip - 1 if skip else None, step) if length else part)
    return order, tuple(parts)


def placed(
    shape: tuple[int, ...], dtype: str, order: tuple[int, ...], parts: tuple[slice, ...]
) -> tuple[NDArray[Any], NDArray[Any]]:
    """A view of this shape, and the larger array that it is a part of."""
    whole = tuple(max(part.start, part.stop or 0) + 3 if part.start is not None else length + 3
                  for part, length in zip(parts, shape))
    memory = make_samples(tuple(whole[axis] for axis in order), dtype)
    view = memory.transpose(numpy.argsort(order))[parts]
    assert view.shape == shape
    return view, memory


@settings(max_examples=250, deadline=None, derandomize=True)
@given(data=st.data(), layout=layouts(), dtype=st.sampled_from(list(SAMPLE_TYPES)), threads=st.integers(1, 4))
def test_any_layout(
    transform: hueweave.Transform,
    reference: Reference,
    data: st.DataObject,
    layout: tuple[tuple[int, ...], tuple[int, ...], tuple[slice, ...]],
    dtype: str,
    threads: int,
) -> None:
    array, _ = placed(layout[0], dtype, layout[1], layout[2])
    expected = reference(array)
    made = transform(array, threads=threads)
    assert made.dtype == array.dtype and made.flags.c_contiguous
    numpy.testing.assert_array_equal(made, expected)

    # Into another array, of which only the elements of the view change.
    out, memory = placed(layout[0], dtype, *data.draw(views(layout[0])))
    before = memory.copy()
    mark = numpy.zeros(memory.shape, bool)
    numpy.lib.stride_tricks.as_strided(
        mark.reshape(-1)[(out.__array_interface__["data"][0] - memory.__array_interface__["data"][0]) // out.itemsize:],
        out.shape, tuple(stride // out.itemsize for stride in out.strides),
    )[...] = out.size > 0
    assert transform(array, out, threads) is out
    numpy.testing.assert_array_equal(out, expected)
    numpy.testing.assert_array_equal(memory[~mark], before[~mark])

    assert transform(array, array, threads) is array
    numpy.testing.assert_array_equal(array, expected)


@pytest.mark.parametrize("dtype", SAMPLE_TYPES)
@pytest.mark.parametrize("threads", [2, 3, 64])
def test_threads_share_a_large_array(
    transform: hueweave.Transform, reference: Reference, dtype: str, threads: int
) -> None:
    whole = make_samples((301, 801, 4), dtype)
    for array in (whole, whole[::-1, ::2], whole[..., 2::-1], whole.transpose(1, 0, 2), whole[:, :30].copy()[:, 1:]):
        expected = reference(array)
        numpy.testing.assert_array_equal(transform(array, threads=threads), expected)
        copy = array.copy(order="K")
        numpy.testing.assert_array_equal(transform(copy, copy, threads=threads), expected)


@pytest.mark.parametrize("part", [slice(None, None, 2), slice(None, None, -1), slice(5, 605)])
@pytest.mark.parametrize("axis", [0, 1])
def test_one_of_both_has_gaps(transform: hueweave.Transform, reference: Reference, part: slice, axis: int) -> None:
    memory = make_samples((610, 610, 3), "uint8")
    view = memory[part] if axis == 0 else memory[:, part]
    compact = make_samples(view.shape, "uint8", 2)
    expected = reference(view)
    numpy.testing.assert_array_equal(transform(view, numpy.zeros_like(compact), 3), expected)
    transform(compact, view, 3)
    numpy.testing.assert_array_equal(view, reference(compact))


def test_the_same_array_with_other_strides(transform: hueweave.Transform, reference: Reference) -> None:
    """Strides of axes with one element mean nothing."""
    pixels = make_samples((1, 50, 3), "uint8")
    expected, other = reference(pixels), pixels[::-1]
    assert other.strides != pixels.strides
    transform(pixels, other)
    numpy.testing.assert_array_equal(pixels, expected)


def test_unaligned_and_mapped(transform: hueweave.Transform, reference: Reference, tmp_path: pathlib.Path) -> None:
    pixels = make_samples((50, 3), "uint16")
    shifted = numpy.frombuffer(b"x" + pixels.tobytes(), "uint16", offset=1).reshape(50, 3)
    assert not shifted.flags.aligned
    numpy.testing.assert_array_equal(transform(shifted), reference(pixels))
    mapped = numpy.memmap(tmp_path / "pixels", pixels.dtype, "w+", shape=pixels.shape)
    transform(pixels, mapped)
    mapped.flush()
    assert (tmp_path / "pixels").read_bytes() == reference(pixels).tobytes()


def test_rows_between_the_rows_of_the_source(transform: hueweave.Transform, reference: Reference) -> None:
    both = make_samples((20, 2, 30, 3), "uint8")
    expected = reference(both[:, 0])
    transform(both[:, 0], both[:, 1])
    numpy.testing.assert_array_equal(both[:, 1], expected)


def test_threads_share_a_transform(transform: hueweave.Transform, reference: Reference) -> None:
    arrays = [make_samples((40, 100 + n, 3), dtype, n) for n in range(30) for dtype in SAMPLE_TYPES]
    fresh = hueweave.Transform(transform.profile or b"", "adobe-rgb")
    alone = [fresh(array) for array in arrays]
    again = hueweave.Transform(transform.profile or b"", "adobe-rgb")  # its handles are made by several threads at once
    with ThreadPoolExecutor(8) as pool:
        for result, expected in zip(pool.map(transform, arrays), map(reference, arrays)):
            numpy.testing.assert_array_equal(result, expected)
        for result, expected in zip(pool.map(again, arrays), alone):
            numpy.testing.assert_array_equal(result, expected)


def test_the_lock_is_released(transform: hueweave.Transform) -> None:
    """With this interval, another thread runs only when the lock is given away."""
    array = make_samples((3000, 3000, 3), "uint8")
    count, stop, interval = 0, False, sys.getswitchinterval()

    def work() -> None:
        nonlocal count
        while not stop:
            count += 1
            time.sleep(0)

    sys.setswitchinterval(60)
    thread = threading.Thread(target=work)
    try:
        thread.start()
        before = count
        transform(array, array)
        after = count
    finally:
        stop = True
        sys.setswitchinterval(interval)
        thread.join()
    assert after > before
