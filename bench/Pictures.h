// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace bench {

/// Width and height in pixels.
struct Size {
    int width, height;
    std::size_t Pixels() const { return static_cast<std::size_t>(width) * static_cast<std::size_t>(height); }
};

/// Twelve megapixels in rows of odd length, so that rows do not end at block boundaries.
inline constexpr Size kTwelveMegapixels{4001, 3001};
/// One hundred megapixels.
inline constexpr Size kHundredMegapixels{11585, 8641};

/// Interleaved 16-bit RGB samples.
using Samples16 = std::vector<std::uint16_t>;
/// The same with 8 bits.
using Samples8 = std::vector<std::uint8_t>;

/// Smooth non-periodic random noise: random values on a square lattice, interpolated smoothly.
class Hills {
public:
    /// `cell` is the side of a square in pixels, `height` the amplitude: values are between -height and +height.
    Hills(std::uint64_t seed, int cell, float height);
    /// Adds row `y` to `row`, one value per pixel.
    void AddRow(int y, std::span<float> row) const;

private:
    float Node(std::int64_t x, std::int64_t y) const;

    std::uint64_t seed_;
    int cell_;
    float height_;
    std::vector<float> step_;  ///< interpolation weight of the next node for each pixel of a square
};

/// An image similar to a photograph, generated row by row: four materials with sharp, curved edges between them, rough
/// and smooth textures, slowly varying light, slight shifts of colour, and sensor noise with a standard deviation of
/// 0.7 % of full scale. Each pixel depends only on its position, and nothing repeats.
class Photo {
public:
    explicit Photo(Size size);
    /// Writes row `y`: 3 x width samples.
    void Row(int y, std::span<std::uint16_t> samples);

private:
    void Sum(const std::vector<Hills>& hills, int y, std::vector<float>& row) const;

    Size size_;
    std::vector<Hills> shapes_[2], texture_, light_, tint_[2];
    std::vector<float> noise_;  ///< normally distributed random numbers, indexed by 16 random bits
    std::vector<float> shape_[2], rough_, bright_, shift_[2];
};

Samples16 MakePhoto(Size size);
Samples16 MakeRandom(std::size_t pixels);    ///< every sample uniform
Samples16 MakeConstant(std::size_t pixels);  ///< one mid-tone colour
/// The upper bytes.
Samples8 ToBytes(const Samples16& samples);

}  // namespace bench
