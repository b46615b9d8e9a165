// SPDX-License-Identifier: MIT
#include "colour/api/Handle.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>

#include "colour/api/Failure.h"
#include "colour/base/ProfileError.h"
#include "colour/library/CompareLibrary.h"
#include "colour/library/EngineProfile.h"
#include "colour/library/LibraryConverter.h"

using namespace hueweave::colour;

namespace {

constexpr unsigned kCheckPoints = 10;  ///< on each axis of a grid of colours, for the library's precision
constexpr std::size_t kRun = 2048;     ///< pixels that are copied and converted at a time
constexpr const char* kExact = "use the exact precision";

void CheckLibraryTarget(const GivenProfile& target, const Settings& settings) {
    if (target.space == nullptr || !target.space->IsEngines()) {
        Fail(HW_ERROR_PRECISION, target.name, "is a target that the library's precision does not support", kExact);
    }
    if (settings.curves && target.space->ByTable()) {
        Fail(HW_ERROR_PRECISION, "hw_options.curves",
             "cannot be combined with the target adobe-rgb, which already uses a curve",
             "use the target adobe-rgb-g18");
    }
}

void CheckExactTarget(const GivenProfile& target, const Settings& settings) {
    if (target.space != nullptr) return;
    if (settings.curves) {
        Fail(HW_ERROR_OPTIONS, "hw_options.curves", "cannot be combined with a profile as the target",
             "name a colour space");
    }
    if (settings.iccVersion != 4) {
        Fail(HW_ERROR_OPTIONS, "hw_options.icc_version", "cannot be combined with a profile as the target",
             "leave it out");
    }
}

Rendering RenderingOf(const Space& space, const Settings& settings) {
    const TransformOptions& t = settings.transform;
    return {static_cast<ICC40::ICCFILE::Intent>(t.intent), &space, t.lightness, t.chroma, t.hue, settings.curves};
}

/// The colours that the library produces, compared with those that the profile describes. Refuses a profile for which
/// they are wrong.
Comparison CheckColoursOfLibrary(const GivenProfile& source, const Bytes& original, const Bytes& engine,
                                 Rendering rendering, const Settings& settings) {
    // The curve of `Tone::Kodak` clips tones on purpose, which is not an error of the profile.
    if (rendering.space->tone == Tone::Kodak) rendering.space = FindSpace("srgb");
    Comparison comparison =
        CompareLibrary(engine, original, rendering, settings.bits(), GridColours(kCheckPoints), [] {});
    if (comparison.p95 > settings.acceptError) {
        char reason[120], remedy[120];
        std::snprintf(reason, sizeof reason,
                      "is converted wrongly by the library: CIEDE2000 is above %.1f for 5 %% of the colours",
                      comparison.p95);
        std::snprintf(remedy, sizeof remedy, "use the exact precision, or set hw_options.accept_error to %.0f",
                      std::ceil(comparison.p95));
        Fail(HW_ERROR_PRECISION, source.name, reason, remedy);
    }
    return comparison;
}

}  // namespace

hw_transform::hw_transform(const GivenProfile& source, const GivenProfile& target, const Settings& settings)
    : bits_(settings.bits()) {
    try {
        if (settings.IsExact()) {
            MakeExact(source, target, settings);
        } else {
            MakeLibrary(source, target, settings);
        }
    } catch (const ProfileError& error) {
        Fail(HW_ERROR_PROFILE, source.name, error.what(), "give the profile of an RGB device");
    }
}

void hw_transform::MakeExact(const GivenProfile& source, const GivenProfile& target, const Settings& settings) {
    CheckExactTarget(target, settings);
    Bytes from = SourceData(source);
    TargetProfiles to = TargetData(target, settings);
    // Other forms of the target are the target.
    if (from == to.library || from == to.embedded) from = to.converting;
    exact_ = std::make_unique<const Transform>(from, to.converting, settings.transform);
    error_ = exact_->error();
    reason_ = exact_->reason();
    profile_ = std::move(to.embedded);
}

void hw_transform::MakeLibrary(const GivenProfile& source, const GivenProfile& target, const Settings& settings) {
    CheckLibraryTarget(target, settings);
    const Bytes from = SourceData(source);
    const Rendering rendering = RenderingOf(*target.space, settings);
    EngineProfile engine = PrepareProfile(from, rendering.intent, [] {});
    const Comparison comparison = CheckColoursOfLibrary(source, from, engine.data, rendering, settings);
    auto converter = std::make_unique<const LibraryConverter>(engine.data, rendering, bits_);
    profile_ = converter->OutputProfile();
    library_ = std::make_unique<const PixelConverter>(std::move(converter));
    error_ = {comparison.colours, comparison.mean, comparison.p999, comparison.maximum};
    reason_ = std::move(engine.bakedBecause);
}

void hw_transform::Convert(const unsigned char* source, unsigned char* dest, std::size_t pixels,
                           unsigned channels) const {
    if (exact_ != nullptr) return exact_->Convert(source, dest, bits_, pixels, channels);
    const std::size_t pixelBytes = SampleBytes() * channels;
    for (std::size_t done = 0; done < pixels; done += kRun) {
        const std::size_t count = std::min(kRun, pixels - done);
        unsigned char* const to = dest + done * pixelBytes;
        if (source != dest) std::memcpy(to, source + done * pixelBytes, count * pixelBytes);
        library_->Convert(to, count, channels, false);
    }
}

void hw_transform::Describe(hw_info& info) const {
    info.samples = bits_ == 8 ? HW_SAMPLES_UINT8 : bits_ == 16 ? HW_SAMPLES_UINT16 : HW_SAMPLES_FLOAT;
    info.precision = exact_ != nullptr ? HW_PRECISION_EXACT : HW_PRECISION_LIBRARY;
    info.way = exact_ != nullptr ? WayName(exact_->way()).data() : "library";
    info.reason = reason_.c_str();
    info.error_colours = error_.colours;
    info.error_mean = error_.mean;
    info.error_p999 = error_.p999;
    info.error_largest = error_.largest;
}
