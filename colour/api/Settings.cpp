// SPDX-License-Identifier: MIT
#include "colour/api/Settings.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <string>

#include "colour/api/Failure.h"

namespace hueweave::colour {
namespace {

constexpr std::size_t kFirstSize = sizeof(hw_options);  ///< of version 1.0

[[noreturn]] void Refuse(const char* field, const std::string& reason, const char* remedy) {
    Fail(HW_ERROR_OPTIONS, std::string("hw_options.") + field, reason, remedy);
}

/// The caller's options as this version knows them.
hw_options Take(const hw_options& given) {
    if (given.size < kFirstSize) Refuse("size", "is too small", "set it to sizeof(hw_options)");
    const auto* const bytes = reinterpret_cast<const unsigned char*>(&given);
    hw_options options{};
    std::memcpy(&options, bytes, std::min(given.size, sizeof options));
    for (std::size_t i = sizeof options; i < given.size; ++i) {
        if (bytes[i] != 0) Refuse("size", "has fields that this version does not know", "set them to 0");
    }
    return options;
}

void CheckChoice(const char* field, std::int32_t value, std::int32_t last) {
    if (value >= 0 && value <= last) return;
    Refuse(field, std::to_string(value) + " is out of range", "use a value of its enumeration");
}

void CheckRange(const char* field, double value, int most, int least) {
    if (value >= least && value <= most) return;  // NaN is not
    Fail(HW_ERROR_OPTIONS, std::string("hw_options.") + field, "is out of range",
         "use " + std::to_string(least) + " to " + std::to_string(most));
}

void Check(const hw_options& options) {
    CheckChoice("samples", options.samples, HW_SAMPLES_FLOAT);
    CheckChoice("intent", options.intent, HW_INTENT_ABSOLUTE);
    CheckChoice("black_point", options.black_point, HW_BLACK_POINT_COMPENSATED);
    CheckChoice("precision", options.precision, HW_PRECISION_LIBRARY);
    if (options.icc_version != 0 && options.icc_version != 2 && options.icc_version != 4) {
        Refuse("icc_version", std::to_string(options.icc_version) + " is not a version", "use 2, 4 or 0");
    }
    if (options.reserved != 0) Refuse("reserved", "is not 0", "set it to 0");
    CheckRange("lightness", options.lightness, 100, -100);
    CheckRange("chroma", options.chroma, 100, -100);
    CheckRange("hue", options.hue, 360, -360);
    CheckRange("accept_error", options.accept_error, 100, 0);
    if (options.precision == HW_PRECISION_EXACT) {
        if (options.accept_error != 0) Refuse("accept_error", "is for the library's precision", "set it to 0");
        return;
    }
    if (options.black_point != HW_BLACK_POINT_AUTO) {
        Refuse("black_point", "cannot be combined with the library's precision", "leave one of them out");
    }
    if (options.icc_version == 2) {
        Refuse("icc_version", "cannot be combined with the library's precision", "leave one of them out");
    }
    if (options.samples == HW_SAMPLES_FLOAT) {
        Fail(HW_ERROR_PRECISION, "hw_options.samples",
             "the library's precision has samples of 8 and 16 bits, not in floating point", "use the exact precision");
    }
}

}  // namespace

Settings ReadOptions(const hw_options* given) {
    Settings settings;
    if (given == nullptr) return settings;
    const hw_options options = Take(*given);
    Check(options);
    settings.samples = static_cast<hw_samples>(options.samples);
    settings.precision = static_cast<hw_precision>(options.precision);
    if (options.icc_version != 0) settings.iccVersion = options.icc_version;
    if (options.accept_error != 0) settings.acceptError = options.accept_error;
    settings.transform.intent = static_cast<RenderingIntent>(options.intent);
    if (options.black_point == HW_BLACK_POINT_COMPENSATED) settings.transform.blackPoint = BlackPoint::Compensated;
    settings.transform.lightness = options.lightness;
    settings.transform.chroma = options.chroma;
    settings.transform.hue = options.hue;
    if (options.curves != nullptr) {
        settings.curves.emplace();
        std::memcpy(settings.curves->data(), options.curves, sizeof(ToneCurves));
    }
    return settings;
}

}  // namespace hueweave::colour
