// SPDX-License-Identifier: MIT
#include "Engine.h"

#include <algorithm>
#include <mutex>
#include <span>

#include "Arrays.h"

namespace py = pybind11;

namespace hueweave::python {
namespace {

using ICC40::ICC_UNIT::kUnset;
using ICC40::ICCFILE::ColorSpaceSignature;
using ICC40::ICCFILE::Intent;

/// CsNone as an input encoding means CsRGB_8.
ColorSpaceSignature OrRGB8(std::int32_t input) {
    return static_cast<ColorSpaceSignature>(input == kUnset ? std::int32_t{ICC40::ICCFILE::CsRGB_8} : input);
}

const unsigned char* BytesOf(const std::string& text) { return reinterpret_cast<const unsigned char*>(text.data()); }

/// The samples of an array as the engine reads or writes them.
unsigned char* SamplesFor(const Named& given, bool wide, bool written) {
    const std::string name = given.name;
    if (SamplesOf(given) != (wide ? HW_SAMPLES_UINT16 : HW_SAMPLES_UINT8)) {
        throw py::type_error(name + ": its samples are " + std::string(py::str(given.array.attr("dtype"))) + "; give " +
                             (wide ? "uint16" : "uint8") + " as the engine's input encoding");
    }
    const py::ssize_t axes = given.array.ndim();
    if (axes == 0 || given.array.shape(axes - 1) != 3 || (given.array.flags() & py::array::c_style) == 0) {
        throw py::value_error(name + ": its shape is " + ShapeOf(given.array) +
                              "; give (..., 3) without gaps, in the order of C");
    }
    if (written && !given.array.writeable()) {
        throw py::value_error(name + ": is read-only; give an array that can be written");
    }
    return static_cast<unsigned char*>(const_cast<void*>(given.array.data()));
}

}  // namespace

/// An exception during a build has set the engine to 65535.
template <typename Operation>
std::int32_t Engine::SpaceAfter(const Operation& operation) {
    const py::gil_scoped_release release;
    const std::unique_lock lock(lock_);
    try {
        operation();
    } catch (...) {
    }
    return engine_->Unit.OutputSpace;
}

std::int32_t Engine::SetProfile(const std::string& profile, bool isPath, std::int32_t intent, std::int32_t input,
                                std::int32_t output) {
    return SpaceAfter([&] {
        const auto bind = [&](auto given) {
            engine_->SetProfile(given, static_cast<Intent>(intent), OrRGB8(input),
                                static_cast<ColorSpaceSignature>(output), 0.0, 0.0, 0.0);
        };
        if (isPath) {
            bind(profile.c_str());
        } else {
            bind(std::span(BytesOf(profile), profile.size()));
        }
    });
}

std::int32_t Engine::SetIntent(std::int32_t intent, std::int32_t input, std::int32_t output) {
    return SpaceAfter([&] {
        engine_->SetIntent(static_cast<Intent>(intent), OrRGB8(input), static_cast<ColorSpaceSignature>(output), 0.0,
                           0.0, 0.0);
    });
}

std::int32_t Engine::Adjust(double lightness, double chroma, double hue, const std::string& red,
                            const std::string& green, const std::string& blue) {
    const std::size_t count = std::min({red.size(), green.size(), blue.size(), std::size_t{256}});
    return SpaceAfter([&] {
        engine_->Adjust_Lch(lightness, chroma, hue);
        engine_->Adjust_Output(BytesOf(red), BytesOf(green), BytesOf(blue), static_cast<int>(count));
    });
}

std::int32_t Engine::OutputSpace() const {
    const py::gil_scoped_release release;
    const std::shared_lock lock(lock_);
    return engine_->Unit.OutputSpace;
}

bool Engine::IsUsable() const {
    const py::gil_scoped_release release;
    const std::shared_lock lock(lock_);
    return engine_->Unit.OutputSpace != kUnset;
}

bool Engine::IsWide() const {
    const py::gil_scoped_release release;
    const std::shared_lock lock(lock_);
    return engine_->Unit.InputSpace == ICC40::ICCFILE::CsRGB_16;
}

std::int32_t Engine::Convert(const py::object& givenSource, const py::object& givenDest) const {
    const Named source = TakeArray("source", givenSource);
    if (!IsUsable()) return -1;
    const bool wide = IsWide();
    unsigned char* const from = SamplesFor(source, wide, !wide);
    unsigned char* to = nullptr;
    if (wide && !givenDest.is_none()) {
        const Named dest = TakeArray("dest", givenDest);
        to = SamplesFor(dest, wide, true);
        if (dest.array.size() != source.array.size()) {
            throw py::value_error("dest: its shape is " + ShapeOf(dest.array) + "; give " + ShapeOf(source.array) +
                                  " as that of source");
        }
    }
    constexpr std::size_t kMost = std::size_t{1} << 30;  // pixels are counted with 32 bits
    const auto pixels = static_cast<std::size_t>(source.array.size()) / 3;
    const std::size_t pixelBytes = wide ? 6 : 3;
    const py::gil_scoped_release release;
    const std::shared_lock lock(lock_);
    // Another thread may have set another encoding meanwhile, for which the arrays are too small.
    if ((engine_->Unit.InputSpace == ICC40::ICCFILE::CsRGB_16) != wide) return -1;
    for (std::size_t done = 0; done < pixels; done += kMost) {
        const auto count = static_cast<int>(std::min(kMost, pixels - done));
        engine_->Conversion(from + done * pixelBytes, to == nullptr ? nullptr : to + done * pixelBytes, count);
    }
    return 0;
}

}  // namespace hueweave::python
