// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace hueweave::colour {

/// Curves of a target are tabulated over x + 2^-24, x from 0 to 1: 256 entries for each power of two, the last one for
/// 1. So the steps are fine where a curve is steep, near black, and the index is the upper bits of the number.
inline constexpr unsigned kOctaves = 24, kStepBits = 8, kOctaveSteps = 1U << kStepBits;
inline constexpr std::size_t kEncodingEntries = std::size_t{kOctaves} * kOctaveSteps + 1;

/// A stage between the look-ups of the first and the last curves, as the loops use it. Pointers are borrowed.
struct Step {
    enum class Kind { Affine, Curves, Tetrahedra, Trilinear, Cube, Root, Adjust, Round } kind;
    float rows[3][4];         ///< Affine: coefficients, then the constant
    const float* tables[3];   ///< Curves: values; null for a channel without a curve
    float last[3];            ///< Curves, Tetrahedra, Trilinear: index of the last entry or point of an axis
    const float* nodes;       ///< grids: four values per node
    std::int32_t stride[3];   ///< grids: distance of neighbours on each axis, in nodes
    float lightness, chroma;  ///< Adjust: offsets in CIELAB units
    float cosine, sine;       ///< Adjust: of the hue angle
    float chromaShare;        ///< Adjust: share of the offset per unit of chroma
};

/// The samples for black and white, used if they differ from those that the steps give.
struct Ends {
    bool used = false;
    std::int32_t black[3]{}, white[3]{};
};

/// The same for samples in floating point, 0 to 1, where they are always used.
struct FloatEnds {
    float black[3]{0, 0, 0}, white[3]{1, 1, 1};
};

/// A transform of pixels, as the loops use it.
struct Program {
    const float* bytes[3];  ///< 256 values for 8-bit samples
    const float* words[3];  ///< 65536 values for 16-bit samples; between them for samples in floating point
    std::span<const Step> steps;
    const float* encoding[3];  ///< `kEncodingEntries` values from 0 to 1, and one more after them; null for no curve
    Ends byteEnds, wordEnds;   ///< for 8-bit and 16-bit samples
    FloatEnds floatEnds;
};

/// Converts interleaved pixels of `samples` samples each, of which the first three are RGB; others are not touched.
/// Samples in floating point are 0 to 1: others are clamped first, and NaN is 0. Results are clamped to 0 to 1, too,
/// and rounded to the nearest sample where samples are integers. Samples are in the processor's byte order, at any
/// address. `dest` is `source` or does not overlap it.
using Loop = void (*)(const Program& program, const unsigned char* source, unsigned char* dest, std::size_t pixels,
                      unsigned samples);

/// The loops of one instruction set. All give the same samples.
struct Loops {
    const char* name;
    Loop bytes;   ///< 8-bit samples
    Loop words;   ///< 16-bit samples
    Loop floats;  ///< samples in single precision
};

extern const Loops kBaselineLoops;

/// The loops that this processor supports, slowest first.
std::span<const Loops* const> AllLoops();

}  // namespace hueweave::colour
