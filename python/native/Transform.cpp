// SPDX-License-Identifier: MIT
#include "Transform.h"

#include <new>
#include <vector>

#include "Arrays.h"
#include "Pixels.h"
#include "colour/api/Failure.h"
#include "colour/api/Handle.h"

namespace py = pybind11;

namespace hueweave::python {
namespace {

/// For fewer pixels, releasing and taking the interpreter's lock takes as long as they do.
constexpr std::size_t kLockedPixels = 256;

colour::GivenProfile Take(const py::tuple& given, const char* name) {
    const auto kind = given[0].cast<std::string>();
    const auto text = given[1].cast<std::string>();
    hw_profile profile{};
    if (kind == "data") {
        profile.data = text.data();
        profile.size = text.size();
    } else if (text.find('\0') != std::string::npos) {
        throw py::value_error(std::string(name) + ": contains a zero byte; give a path or the name of a colour space");
    } else if (kind == "path") {
        profile.path = text.c_str();
    } else {
        profile.space = text.c_str();
    }
    return colour::TakeProfile(&profile, name);
}

colour::Settings Read(hw_options options, const std::string& curves) {
    if (!curves.empty()) options.curves = reinterpret_cast<const unsigned char*>(curves.data());
    return colour::ReadOptions(&options);
}

std::size_t TakeThreads(const py::object& given) {
    if (!PyLong_Check(given.ptr())) {
        throw py::type_error(std::string("threads: is of the type ") + Py_TYPE(given.ptr())->tp_name + "; give an int");
    }
    const auto threads = PyLong_AsSsize_t(given.ptr());
    if (PyErr_Occurred() != nullptr) PyErr_Clear();  // larger than any number of threads, or negative
    if (threads < 1 || threads > 1024) {
        throw py::value_error("threads: is " + std::string(py::str(given)) + "; give 1 to 1024");
    }
    return static_cast<std::size_t>(threads);
}

/// A new array of the shape and type of another one, in the order of C.
py::array NewLike(const py::array& array) {
    return py::array(array.dtype(), std::vector<py::ssize_t>(array.shape(), array.shape() + array.ndim()));
}

PixelMap MapOf(const py::array& from, py::array& to, std::size_t sampleBytes) {
    const py::ssize_t last = from.ndim() - 1;
    PixelMap map(from.data(), to.mutable_data(), sampleBytes, static_cast<std::size_t>(from.shape(last)),
                 from.strides(last), to.strides(last));
    for (py::ssize_t i = 0; i < last; ++i) {
        map.Add({static_cast<std::size_t>(from.shape(i)), from.strides(i), to.strides(i)});
    }
    return map;
}

}  // namespace

Transform::Transform(const py::tuple& source, const py::tuple& target, const hw_options& options,
                     const std::string& curves)
    : settings_(Read(options, curves)), source_(Take(source, "source")), target_(Take(target, "to")) {
    Handle(HW_SAMPLES_UINT8);
}

const hw_transform* Transform::Make(hw_samples samples) const {
    const std::lock_guard lock(making_);
    std::unique_ptr<hw_transform, Free>& made = made_[samples];
    if (made == nullptr) {
        colour::Settings settings = settings_;
        settings.samples = samples;
        made.reset(new hw_transform(source_, target_, settings));
        ready_[samples].store(made.get(), std::memory_order_release);
    }
    return made.get();
}

const hw_transform* Transform::Handle(hw_samples samples) const {
    const hw_transform* const ready = ready_[samples].load(std::memory_order_acquire);
    if (ready != nullptr) return ready;
    if (samples == HW_SAMPLES_FLOAT && !settings_.IsExact()) {
        throw py::type_error(
            "array: its samples are float32, which precision='library' does not support; give uint8 or uint16, or use "
            "precision='exact'");
    }
    const py::gil_scoped_release release;
    return Make(samples);
}

py::object Transform::Call(const py::object& given, const py::object& out, const py::object& givenThreads) const {
    const Named source = TakeArray("array", given);
    const hw_samples samples = SamplesOf(source);
    CheckShape(source);
    const std::size_t threads = TakeThreads(givenThreads);
    py::array result;
    if (out.is_none()) {
        result = NewLike(source.array);
    } else {
        const Named dest = TakeArray("out", out);
        CheckResult(dest, source);
        result = dest.array;
    }
    const hw_transform* const handle = Handle(samples);
    const PixelMap map = MapOf(source.array, result, BytesOf(samples));
    int status = HW_OK;
    if (map.pixels() < kLockedPixels) {
        status = map.Convert(handle, 1);
    } else {
        const py::gil_scoped_release release;
        status = map.Convert(handle, threads);
    }
    if (status == HW_ERROR_MEMORY) throw std::bad_alloc();
    if (status != HW_OK) throw colour::Failure{static_cast<hw_status>(status), hw_status_message(status)};
    return result;
}

py::tuple Transform::Describe() const {
    hw_info info{};
    info.size = sizeof info;
    hw_transform_info(Handle(HW_SAMPLES_UINT8), &info);
    return py::make_tuple(info.way, info.reason, info.error_colours, info.error_mean, info.error_p999,
                          info.error_largest);
}

py::object Transform::Profile() const {
    std::size_t size = 0;
    const void* const profile = hw_transform_profile(Handle(HW_SAMPLES_UINT8), &size);
    if (profile == nullptr) return py::none();
    return py::bytes(static_cast<const char*>(profile), size);
}

py::tuple Transform::Given(const colour::GivenProfile& profile) {
    if (profile.space != nullptr) return py::make_tuple("space", py::bytes(profile.name));
    return py::make_tuple("data", py::bytes(reinterpret_cast<const char*>(profile.data.data()), profile.data.size()));
}

}  // namespace hueweave::python
