// SPDX-License-Identifier: MIT
// Any bytes as one or both profiles of a transform: they are refused as a profile, or the transform is as exact as it
// promises and converts every run of pixels like its single pixels.
#include "colour/Transform.h"
#include "Mutation.h"
#include "colour/base/ProfileError.h"
#include "colour/profile/Target.h"

namespace hueweave::fuzz {
namespace {

using namespace colour;
using fuzz::Bytes;

constexpr std::size_t kSteering = 10;
constexpr std::size_t kPixels = 300;

TransformOptions DrawOptions(FuzzInput& input) {
    TransformOptions options;
    options.intent = static_cast<RenderingIntent>(input.Below(4));
    options.blackPoint = input.Bool() ? BlackPoint::Compensated : BlackPoint::Auto;
    const unsigned offsets = input.U8();  // a quarter of all inputs have offsets
    if (offsets % 4 == 0) {
        options.lightness = static_cast<double>(offsets / 4 % 4) * 9 - 9;
        options.chroma = static_cast<double>(offsets / 16 % 4) * 30 - 30;
        options.hue = static_cast<double>(offsets / 64) * 50;
    }
    return options;
}

/// The rest of the input is the source, the target, or both; the other one is a built-in space.
std::pair<Bytes, Bytes> DrawProfiles(FuzzInput& input) {
    const std::size_t form = input.Below(3), number = input.Below(Spaces().size()), split = input.U16();
    const int version = input.Bool() ? 4 : 2;
    const Bytes first = form == 2 ? input.Split(split).Rest() : *MakeTargetProfile(Spaces()[number], {}, version);
    const Bytes second = input.Rest();
    return form == 0 ? std::pair{second, first} : std::pair{first, second};
}

void CheckError(const Transform& transform) {
    const TransformError& error = transform.error();
    const Way way = transform.way();
    Require((way == Way::Copy) == (error.colours == 0), "every way but a copy is measured");
    Require(way == Way::PixelByPixel || (error.p999 <= 0.1 && error.largest <= 0.33), "a fast way is exact");
    // The mean of equal differences has rounding errors.
    Require(!(error.mean > error.largest * 1.000001) && !(error.p999 > error.largest), "an order");
    Require((way == Way::PixelByPixel) != transform.reason().empty(), "a slow way has a reason");
}

template <typename Sample>
void CheckPixels(const Transform& transform, unsigned samples, std::size_t split) {
    Scatter scatter(samples);
    std::vector<Sample> source(kPixels * samples), dest(source.size());
    for (Sample& sample : source) sample = static_cast<Sample>(scatter.Sample());
    // The ends of the range, and neutral colours.
    for (std::size_t i = 0; i < 16 * samples; ++i) source[i] = static_cast<Sample>(i / samples * 0x1111);
    transform.Convert(source.data(), dest.data(), kPixels, samples);

    std::vector<Sample> runs = source;
    transform.Convert(runs.data(), runs.data(), split, samples);
    transform.Convert(&runs[split * samples], &runs[split * samples], kPixels - split, samples);
    Require(runs == dest, "two runs in place equal one that is not");

    const std::size_t size = source.size() * sizeof(Sample);
    Bytes bytes(size + 1);
    std::memcpy(bytes.data() + 1, source.data(), size);
    transform.Convert(bytes.data() + 1, 8 * sizeof(Sample), kPixels, samples);
    Require(std::memcmp(bytes.data() + 1, dest.data(), size) == 0, "any address");

    for (std::size_t i = 0; i < source.size(); ++i) {
        Require(dest[i] == source[i] || (transform.way() != Way::Copy && i % samples < 3), "what is kept");
    }
}

}  // namespace

void RunTarget(FuzzInput& input) {
    FuzzInput steering = input.Split(5);
    const TransformOptions options = DrawOptions(steering);
    const auto profiles = DrawProfiles(input);
    const auto transform = Accepted<ProfileError>([&] { return Transform(profiles.first, profiles.second, options); });
    if (!transform) return;
    CheckError(*transform);
    const unsigned samples = 3 + static_cast<unsigned>(steering.Below(4));
    const std::size_t split = steering.Below(256);
    CheckPixels<std::uint8_t>(*transform, samples, split);
    CheckPixels<std::uint16_t>(*transform, samples, split);
}

HUEWEAVE_FUZZ_MUTATOR(kSteering, IccLayout);

}  // namespace hueweave::fuzz
