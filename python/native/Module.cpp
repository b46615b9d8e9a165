// SPDX-License-Identifier: MIT
// The module hueweave._native. It is private: the package describes and documents what it offers.
#include <pybind11/pybind11.h>

#include "Engine.h"
#include "Transform.h"
#include "colour/api/Failure.h"

namespace py = pybind11;
using hueweave::colour::Failure;
using hueweave::python::Engine;
using hueweave::python::Transform;

namespace {

std::unique_ptr<Transform> MakeTransform(const py::tuple& source, const py::tuple& target, int intent, int precision,
                                         bool compensateBlack, int iccVersion, double acceptError,
                                         const py::tuple& shift, const std::string& curves) {
    hw_options options = HW_OPTIONS_INIT;
    options.intent = intent;
    options.precision = precision;
    options.black_point = compensateBlack ? HW_BLACK_POINT_COMPENSATED : HW_BLACK_POINT_AUTO;
    options.icc_version = iccVersion;
    options.accept_error = acceptError;
    options.lightness = shift[0].cast<double>();
    options.chroma = shift[1].cast<double>();
    options.hue = shift[2].cast<double>();
    return std::make_unique<Transform>(source, target, options, curves);
}

py::dict Spaces() {
    py::dict spaces;
    for (std::size_t i = 0; i < hw_space_count(); ++i) spaces[hw_space_name(i)] = hw_space_title(i);
    return spaces;
}

constexpr const char* kCall = R"(__call__(array, out=None, threads=1)

Converts pixels.

The interpreter's lock is released during the conversion, except for fewer than 256 pixels.

:param array: samples of the shape (..., 3): red, green and blue of each pixel. With more channels, up to 65535, those
    after the third are copied. uint8 is 0 to 255, uint16 is 0 to 65535. float32 is 0 to 1; values outside are clamped,
    and NaN is 0. Any strides and any alignment are taken, without a copy of the whole array.
:param out: where the result is stored: an array of the same shape and type, which is ``array`` itself or does not
    overlap it. ``None`` makes a new array, in the order of C.
:param threads: the largest number of threads, 1 to 1024. The result is the same for any number.
:returns: ``out``, or the new array.
:raises TypeError: an argument is not an array, or its samples are of another type or byte order.
:raises ValueError: a shape is wrong, or ``out`` is read-only or overlaps ``array``.
)";

}  // namespace

PYBIND11_MODULE(_native, module) {
    py::options options;
    options.disable_function_signatures();

    // Failure(name, message), with a name of hw_status_name().
    static PyObject* const failure = py::exception<Failure>(module, "Failure").release().ptr();
    py::register_exception_translator([](std::exception_ptr thrown) {
        try {
            std::rethrow_exception(thrown);
        } catch (const Failure& f) {
            PyErr_SetObject(failure, py::make_tuple(hw_status_name(f.status), f.message).ptr());
        }
    });

    module.attr("version") = hw_version();
    module.def("spaces", &Spaces);

    py::class_<Transform>(module, "Transform")
        .def(py::init(&MakeTransform), py::arg("source"), py::arg("target"), py::arg("intent"), py::arg("precision"),
             py::arg("bpc"), py::arg("icc_version"), py::arg("accept_error"), py::arg("shift"), py::arg("curves"))
        .def("__call__", &Transform::Call, py::arg("array"), py::arg("out") = py::none(), py::arg("threads") = 1, kCall)
        .def("_describe", &Transform::Describe)
        .def("_profile", &Transform::Profile)
        .def("_source", &Transform::Source)
        .def("_target", &Transform::Target);

    py::class_<Engine>(module, "Engine")
        .def(py::init<>())
        .def("set_profile", &Engine::SetProfile)
        .def("set_intent", &Engine::SetIntent)
        .def("adjust", &Engine::Adjust)
        .def("output_space", &Engine::OutputSpace)
        .def("convert", &Engine::Convert);
}
