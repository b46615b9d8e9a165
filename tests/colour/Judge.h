// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "colour/Transform.h"
#include "support/ByteWriter.h"

// The truth by Little CMS in doubles, and how far a transform is from it.
namespace hueweave::test {

using colour::Transform;
using colour::TransformOptions;
using colour::Way;
using Words = std::vector<std::uint16_t>;

/// A grid, neutral colours, and dark ones: interleaved RGB of 16 bits.
Words SampleColours();

/// RGB of 0 to 1, not cut, for RGB of 0 to 1.
std::vector<double> Truth(const Bytes& source, const Bytes& target, const TransformOptions& options,
                          const std::vector<double>& rgb);

struct Distance {
    double mean, p999, largest;  ///< CIEDE2000, seen through the target's profile
    double equal8;               ///< the share of 8-bit samples that are the rounded truth
    int largest8;                ///< difference of 8-bit samples from it
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
