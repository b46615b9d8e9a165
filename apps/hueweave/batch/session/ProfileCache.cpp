// SPDX-License-Identifier: MIT
#include "batch/session/ProfileCache.h"

#include <fmt/format.h>

#include <cmath>
#include <utility>

#include "colour/DeviceTransform.h"
#include "colour/ExactConverter.h"
#include "colour/library/CompareLibrary.h"
#include "colour/library/EngineProfile.h"
#include "colour/library/LibraryConverter.h"
#include "system/Signals.h"

namespace hueweave::tool {
namespace {

constexpr double kMostError = 2.0;     ///< CIEDE2000, clearly visible; the limit for 95 % of the colours
constexpr unsigned kCheckPoints = 10;  ///< on each axis of a grid of colours

/// The curve of `Tone::Kodak` clips tones on purpose, which is not an error of the profile.
colour::Rendering ForCheck(colour::Rendering rendering) {
    if (rendering.space->tone == colour::Tone::Kodak) rendering.space = colour::FindSpace("srgb");
    return rendering;
}

colour::TransformOptions OptionsOf(const ConvertOptions& options) {
    const colour::Rendering& r = options.rendering;
    colour::TransformOptions transform;
    transform.intent = static_cast<colour::RenderingIntent>(r.intent);
    if (options.compensateBlack) transform.blackPoint = colour::BlackPoint::Compensated;
    transform.lightness = r.lightness;
    transform.chroma = r.chroma;
    transform.hue = r.hue;
    return transform;
}

}  // namespace

std::string ReadyConverter::way() const { return exactWay ? std::string(colour::WayName(*exactWay)) : "library"; }

std::shared_ptr<const ReadyConverter> ProfileCache::Get(const DeviceProfile& profile, unsigned bits) {
    const std::lock_guard lock(mutex_);
    for (const auto& ready : ready_) {
        if (ready->hash == profile.hash && ready->bits == bits) return ready;
    }
    ready_.push_back(Named(profile.name, [&] {
        if (options_.precision == Precision::Library) {
            return std::make_shared<const ReadyConverter>(MakeLibrary(profile, bits));
        }
        const bool isRgb = profile.model == colour::ColourModel::Rgb;
        return std::make_shared<const ReadyConverter>(isRgb ? MakeExact(profile, bits) : MakeDevice(profile, bits));
    }));
    if (ready_.size() > kMost) ready_.pop_front();
    return ready_.back();
}

bool ProfileCache::IsTarget(const DeviceProfile& profile) const {
    if (options_.precision == Precision::Library) return false;
    const Bytes& data = profile.data;
    if (profile.model == colour::ColourModel::Grey) return !options_.greyToRgb && data == target_.greyEmbedded;
    if (profile.model != colour::ColourModel::Rgb) return false;
    if (data == target_.profile || data == target_.embedded || data == target_.library) return true;
    const auto intent = static_cast<colour::RenderingIntent>(options_.rendering.intent);
    return Named(profile.name, [&] { return colour::DescribeSameColours(data, target_.profile, intent); });
}

ReadyConverter ProfileCache::MakeExact(const DeviceProfile& profile, unsigned bits) const {
    std::shared_ptr<const colour::Transform> transform;
    for (const auto& ready : ready_) {
        if (ready->hash == profile.hash) transform = ready->transform;  // created for the other bit depth
    }
    if (transform == nullptr) {
        const bool isOurs = profile.data == target_.library || profile.data == target_.embedded;
        const Bytes& source = isOurs ? target_.profile : profile.data;
        transform =
            std::make_shared<const colour::Transform>(source, target_.profile, OptionsOf(options_), ThrowIfInterrupted);
    }
    colour::PixelConverter converter(std::make_unique<const colour::ExactConverter>(transform, bits));
    return {profile.hash,    bits, transform, transform->way(), {}, transform->error(), std::move(converter),
            target_.embedded};
}

ReadyConverter ProfileCache::MakeDevice(const DeviceProfile& profile, unsigned bits) const {
    const bool staysGrey = profile.model == colour::ColourModel::Grey && !options_.greyToRgb;
    if (staysGrey && target_.grey.empty()) {
        throw Refusal(Exit::Profile, target_.name, "has no single tone curve, which grey images need",
                      "convert them to RGB with --grey-to-rgb");
    }
    const bool isOurs = staysGrey && profile.data == target_.greyEmbedded;
    auto device = std::make_unique<const colour::DeviceTransform>(profile.model, isOurs ? target_.grey : profile.data,
                                                                  staysGrey ? target_.grey : target_.profile,
                                                                  OptionsOf(options_), bits, ThrowIfInterrupted);
    const colour::Way way = device->way();
    colour::PixelConverter converter(std::move(device));
    const Bytes& embedded = staysGrey ? target_.greyEmbedded : target_.embedded;
    return {profile.hash, bits, nullptr, way, {}, {}, std::move(converter), embedded};
}

ReadyConverter ProfileCache::MakeLibrary(const DeviceProfile& profile, unsigned bits) const {
    const colour::Rendering& rendering = options_.rendering;
    colour::EngineProfile engine = colour::PrepareProfile(profile.data, rendering.intent, ThrowIfInterrupted);
    const colour::Comparison comparison = colour::CompareLibrary(engine.data, profile.data, ForCheck(rendering), bits,
                                                                 colour::GridColours(kCheckPoints), ThrowIfInterrupted);
    RefuseWrongColours(profile, comparison);
    auto converter = std::make_unique<const colour::LibraryConverter>(engine.data, rendering, bits);
    Bytes output = converter->OutputProfile();
    const colour::TransformError error{comparison.colours, comparison.mean, comparison.p999, comparison.maximum};
    return {profile.hash,
            bits,
            nullptr,
            std::nullopt,
            std::move(engine.bakedBecause),
            error,
            colour::PixelConverter(std::move(converter)),
            std::move(output)};
}

void ProfileCache::RefuseWrongColours(const DeviceProfile& profile, const colour::Comparison& comparison) const {
    const double most = options_.acceptError.value_or(kMostError);
    if (comparison.p95 <= most) return;
    throw Refusal(Exit::Profile, profile.name,
                  fmt::format("{}is converted wrongly by the library: CIEDE2000 is above {:.1f} for 5 % of the colours",
                              profile.embedded ? "embeds a profile that " : "", comparison.p95),
                  fmt::format("leave --precision library out, or accept the error with --accept-error {:.0f}",
                              std::ceil(comparison.p95)));
}

}  // namespace hueweave::tool
