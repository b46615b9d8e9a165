// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <vector>

#include "colour/Transform.h"
#include "colour/profile/Target.h"
#include "judges/colours/Truth.h"
#include "support/ProfileBuilder.h"

// The errors of a transform, compared with Little CMS in doubles.
namespace hueweave::test {

using colour::Transform;
using colour::TransformOptions;
using colour::Way;
using Words = std::vector<std::uint16_t>;

/// The profile of a space.
inline Bytes SpaceProfile(std::string_view name, int version = 4) {
    return *colour::MakeTargetProfile(*colour::FindSpace(name), {}, version);
}

/// A grid, neutral colours and dark ones: interleaved 16-bit RGB.
inline Words SampleColours() {
    Words colours;
    for (unsigned n = 0; n < 12 * 12 * 12; ++n) {
        for (const unsigned i : {n / 144, n / 12 % 12, n % 12}) {
            colours.push_back(static_cast<std::uint16_t>(i * 65535 / 11));
        }
    }
    for (unsigned n = 0; n < 512; ++n) colours.insert(colours.end(), 3, static_cast<std::uint16_t>(n * n / 4));
    Lcg random(7);
    for (unsigned n = 0; n < 3 * 600; ++n)
        colours.push_back(static_cast<std::uint16_t>(random.Sample() >> n / 3 % 3 * 2));
    return colours;
}

/// The high bytes of 16-bit samples.
inline Bytes HighBytes(const Words& words) {
    Bytes bytes;
    for (const std::uint16_t word : words) bytes.push_back(static_cast<unsigned char>(word >> 8));
    return bytes;
}

/// The converted samples, of 8 or 16 bits.
template <typename Sample>
std::vector<Sample> Converted(const Transform& transform, const std::vector<Sample>& pixels) {
    std::vector<Sample> converted(pixels.size());
    transform.Convert(pixels.data(), converted.data(), pixels.size() / 3);
    return converted;
}

inline judge::Truth TruthOf(const Bytes& source, const Bytes& target, const TransformOptions& options) {
    return {source, target, static_cast<int>(options.intent), options.blackPoint == colour::BlackPoint::Compensated};
}

struct Distance {
    judge::Differences words;
    judge::Rounding bytes;
};
inline Distance Measure(const Transform& transform, const Bytes& source, const Bytes& target,
                        const TransformOptions& options, const Words& colours = SampleColours()) {
    const judge::Truth truth = TruthOf(source, target, options);
    const Bytes bytes = HighBytes(colours);
    return {truth.Compare(judge::Pixels(colours), judge::Pixels(Converted(transform, colours))),
            truth.CompareRounded(judge::Pixels(bytes), judge::Pixels(Converted(transform, bytes)), 255)};
}

}  // namespace hueweave::test
