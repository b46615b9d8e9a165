// SPDX-License-Identifier: MIT
// Checks of the arrays that a caller gives. All of them throw `pybind11::type_error` or `pybind11::value_error`, with
// what was given and what is taken.
#pragma once

#include <pybind11/numpy.h>

#include <string>

#include "hueweave/transform.h"

namespace hueweave::python {

/// "array" or "out", and the array.
struct Named {
    const char* name;
    pybind11::array array;
};

/// Refuses everything but an array of NumPy.
Named TakeArray(const char* name, const pybind11::object& given);
/// The type of the samples. Refuses other types, and other byte orders than that of the processor.
hw_samples SamplesOf(const Named& given);
std::size_t BytesOf(hw_samples samples);
/// Refuses arrays that are not of the shape (..., 3) or more.
void CheckShape(const Named& given);
/// Refuses an array for results that is read-only, not like the source, or overlaps it or itself.
void CheckResult(const Named& out, const Named& source);

/// As Python writes it.
std::string ShapeOf(const pybind11::array& array);

}  // namespace hueweave::python
