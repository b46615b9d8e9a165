// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "colour/Transform.h"
#include "support/ByteWriter.h"

// Reference conversions by Little CMS in doubles, and the errors of a transform against them.
namespace hueweave::test {

using colour::Transform;
using colour::TransformOptions;
using colour::Way;
using Words = std::vector<std::uint16_t>;

/// A grid, neutral colours and dark ones: interleaved 16-bit RGB.
Words SampleColours();

/// The target's RGB, unclipped, for the source's RGB, both 0 to 1.
std::vector<double> Truth(const Bytes& source, const Bytes& target, const TransformOptions& options,
                          const std::vector<double>& rgb);

struct Distance {
    double mean, p999, largest;  ///< CIEDE2000, computed through the target's profile
    double equal8;               ///< fraction of 8-bit samples equal to the rounded reference
    int largest8;                ///< largest difference of an 8-bit sample from the reference
};
Distance Measure(const Transform& transform, const Bytes& source, const Bytes& target, const TransformOptions& options,
                 const Words& colours = SampleColours());

/// The converted samples, of 8 or 16 bits.
template <typename Sample>
std::vector<Sample> Converted(const Transform& transform, const std::vector<Sample>& pixels, unsigned samples = 3) {
    std::vector<Sample> converted(pixels.size());
    transform.Convert(pixels.data(), converted.data(), pixels.size() / samples, samples);
    return converted;
}

}  // namespace hueweave::test
