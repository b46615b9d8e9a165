// SPDX-License-Identifier: MIT
#include "Arrays.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>

#include "Pixels.h"

namespace py = pybind11;

namespace hueweave::python {
namespace {

constexpr py::ssize_t kMostChannels = 65535;
/// The work of numpy.shares_memory(); what it cannot decide with this much counts as an overlap.
constexpr int kMostWork = 10000;

std::string TypeName(const py::handle& object) { return Py_TYPE(object.ptr())->tp_name; }

std::string DtypeName(const py::array& array) { return py::str(array.attr("dtype")); }

bool IsOfAnotherByteOrder(const py::dtype& dtype) { return dtype.byteorder() == (PY_BIG_ENDIAN ? '<' : '>'); }

/// The memory of an array, from its lowest byte to the one after its highest.
struct Span {
    std::uintptr_t begin, end;
};

Span MemoryOf(const py::array& array) {
    const auto first = reinterpret_cast<std::uintptr_t>(array.data());
    Span span{first, first + static_cast<std::uintptr_t>(array.itemsize())};
    for (py::ssize_t i = 0; i < array.ndim(); ++i) {
        const py::ssize_t distance = (array.shape(i) - 1) * array.strides(i);
        (distance < 0 ? span.begin : span.end) += static_cast<std::uintptr_t>(distance);
    }
    return span;
}

/// For arrays of the same shape.
bool IsSame(const py::array& a, const py::array& b) {
    if (a.data() != b.data()) return false;
    for (py::ssize_t i = 0; i < a.ndim(); ++i) {
        if (a.shape(i) > 1 && a.strides(i) != b.strides(i)) return false;
    }
    return true;
}

bool Share(const py::array& a, const py::array& b) {
    const Span one = MemoryOf(a), other = MemoryOf(b);
    if (one.end <= other.begin || other.end <= one.begin) return false;
    const py::object shares = py::module_::import("numpy").attr("shares_memory");
    try {
        return shares(a, b, kMostWork).cast<bool>();
    } catch (py::error_already_set&) {
        return true;  // too hard a problem
    }
}

/// Whether elements may share memory: sorted by stride, an axis does not step over all that is inside it.
bool MayOverlapItself(const py::array& array) {
    std::array<std::pair<py::ssize_t, py::ssize_t>, kMostAxes> axes;  // stride and count
    std::size_t count = 0;
    for (py::ssize_t i = 0; i < array.ndim(); ++i) {
        if (array.shape(i) > 1) axes[count++] = {std::abs(array.strides(i)), array.shape(i)};
    }
    std::sort(axes.begin(), axes.begin() + static_cast<std::ptrdiff_t>(count));
    py::ssize_t extent = array.itemsize();
    for (std::size_t i = 0; i < count; ++i) {
        if (axes[i].first < extent) return true;
        extent += axes[i].first * (axes[i].second - 1);
    }
    return false;
}

}  // namespace

Named TakeArray(const char* name, const py::object& given) {
    if (!py::isinstance<py::array>(given)) {
        throw py::type_error(
            std::string(name) + ": is of the type " + TypeName(given) +
            "; give a numpy.ndarray of uint8, uint16 or float32, such as numpy.asarray(pixels, 'uint8')");
    }
    return {name, py::reinterpret_borrow<py::array>(given)};
}

hw_samples SamplesOf(const Named& given) {
    const py::dtype dtype = given.array.dtype();
    const char kind = dtype.kind();
    const py::ssize_t bytes = dtype.itemsize();
    if (!IsOfAnotherByteOrder(dtype)) {
        if (kind == 'u' && bytes == 1) return HW_SAMPLES_UINT8;
        if (kind == 'u' && bytes == 2) return HW_SAMPLES_UINT16;
        if (kind == 'f' && bytes == 4) return HW_SAMPLES_FLOAT;
    }
    throw py::type_error(std::string(given.name) + ": its samples are " + DtypeName(given.array) +
                         "; give uint8, uint16 or float32, in the byte order of this machine");
}

std::size_t BytesOf(hw_samples samples) {
    return samples == HW_SAMPLES_UINT8 ? 1 : samples == HW_SAMPLES_UINT16 ? 2 : 4;
}

void CheckShape(const Named& given) {
    const py::array& array = given.array;
    if (array.ndim() > 0) {
        const py::ssize_t channels = array.shape(array.ndim() - 1);
        if (channels >= 3 && channels <= kMostChannels) return;
    }
    throw py::value_error(std::string(given.name) + ": its shape is " + ShapeOf(array) +
                          "; give (..., 3), or up to 65535 channels, of which those after the third are copied");
}

void CheckResult(const Named& out, const Named& source) {
    const std::string name = out.name;
    if (SamplesOf(out) != SamplesOf(source)) {
        throw py::type_error(name + ": its samples are " + DtypeName(out.array) + "; give " + DtypeName(source.array) +
                             " as in " + source.name);
    }
    if (out.array.ndim() != source.array.ndim() ||
        !std::equal(out.array.shape(), out.array.shape() + out.array.ndim(), source.array.shape())) {
        throw py::value_error(name + ": its shape is " + ShapeOf(out.array) + "; give " + ShapeOf(source.array) +
                              " as that of " + source.name);
    }
    if (!out.array.writeable()) throw py::value_error(name + ": is read-only; give an array that can be written");
    if (out.array.size() == 0) return;
    if (MayOverlapItself(out.array)) {
        throw py::value_error(name + ": its elements share memory; give an array in which each has its own");
    }
    if (!IsSame(out.array, source.array) && Share(out.array, source.array)) {
        throw py::value_error(name + ": overlaps " + source.name + "; give the same array, or one of its own memory");
    }
}

std::string ShapeOf(const py::array& array) { return py::str(array.attr("shape")); }

}  // namespace hueweave::python
