// SPDX-License-Identifier: MIT
#include "Pictures.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace bench {
namespace {

constexpr float kNoise = 0.007F;  ///< standard deviation, of full scale

/// A material: its colour (0 to 1) and its roughness.
struct Material {
    float colour[3];
    float roughness;
};
constexpr Material kMaterials[4] = {
    {{0.45F, 0.62F, 0.85F}, 0.02F},  // sky
    {{0.30F, 0.42F, 0.18F}, 0.45F},  // foliage
    {{0.62F, 0.48F, 0.40F}, 0.12F},  // skin, wood
    {{0.28F, 0.27F, 0.30F}, 0.22F},  // stone in the shade
};

/// 64 random bits of a number (splitmix64).
std::uint64_t Scatter(std::uint64_t n) {
    n += 0x9e3779b97f4a7c15U;
    n = (n ^ n >> 30) * 0xbf58476d1ce4e5b9U;
    n = (n ^ n >> 27) * 0x94d049bb133111ebU;
    return n ^ n >> 31;
}

/// Between -1 and 1.
float Centred(std::uint64_t bits) { return static_cast<float>(bits >> 40) * 0x1p-23F - 1.0F; }

/// Noise on increasingly fine squares, each half as wide and with `fall` times the amplitude of the previous one.
std::vector<Hills> Octaves(std::uint64_t seed, int cell, int finest, float height, float fall) {
    std::vector<Hills> hills;
    for (; cell >= finest; cell /= 2, height *= fall) hills.emplace_back(Scatter(seed++), cell, height);
    return hills;
}

/// 65536 normally distributed random numbers from the Box-Muller transform.
std::vector<float> NormalDraws() {
    std::vector<float> draws;
    for (std::uint64_t i = 0; i < 32768; ++i) {
        const double u = (static_cast<double>(i) + 0.5) / 32768.0;
        const double angle = static_cast<double>(Scatter(i) >> 11) * 0x1p-53 * 2.0 * std::numbers::pi;
        const double radius = std::sqrt(-2.0 * std::log(u));
        draws.push_back(static_cast<float>(radius * std::cos(angle)));
        draws.push_back(static_cast<float>(radius * std::sin(angle)));
    }
    return draws;
}

}  // namespace

Hills::Hills(std::uint64_t seed, int cell, float height) : seed_(seed), cell_(cell), height_(height) {
    for (int i = 0; i < cell; ++i) {
        const float t = static_cast<float>(i) / static_cast<float>(cell);
        step_.push_back(t * t * (3.0F - 2.0F * t));
    }
}

float Hills::Node(std::int64_t x, std::int64_t y) const {
    return Centred(Scatter(seed_ ^ static_cast<std::uint64_t>(y << 32 | x)));
}

void Hills::AddRow(int y, std::span<float> row) const {
    const int above = y / cell_;
    const float down = step_[static_cast<std::size_t>(y % cell_)];
    const auto between = [&](std::int64_t x) {
        const float from = Node(x, above);
        return height_ * (from + (Node(x, above + 1) - from) * down);
    };
    float left = between(0);
    std::int64_t next = 1;
    for (std::size_t x = 0; x < row.size(); x += static_cast<std::size_t>(cell_), ++next) {
        const float right = between(next);
        const std::size_t pixels = std::min(row.size() - x, static_cast<std::size_t>(cell_));
        for (std::size_t i = 0; i < pixels; ++i) row[x + i] += left + (right - left) * step_[i];
        left = right;
    }
}

Photo::Photo(Size size)
    : size_(size),
      shapes_{Octaves(1, 1200, 60, 1.0F, 0.55F), Octaves(20, 700, 20, 1.0F, 0.6F)},
      texture_(Octaves(40, 256, 2, 0.5F, 0.8F)),
      light_(Octaves(60, 2000, 500, 0.35F, 0.6F)),
      tint_{Octaves(80, 640, 40, 0.05F, 0.7F), Octaves(100, 640, 40, 0.05F, 0.7F)},
      noise_(NormalDraws()) {
    for (auto* row : {&shape_[0], &shape_[1], &rough_, &bright_, &shift_[0], &shift_[1]}) {
        row->resize(static_cast<std::size_t>(size.width));
    }
}

void Photo::Sum(const std::vector<Hills>& hills, int y, std::vector<float>& row) const {
    std::fill(row.begin(), row.end(), 0.0F);
    for (const Hills& each : hills) each.AddRow(y, row);
}

void Photo::Row(int y, std::span<std::uint16_t> samples) {
    for (std::size_t i : {0U, 1U}) {
        Sum(shapes_[i], y, shape_[i]);
        Sum(tint_[i], y, shift_[i]);
    }
    Sum(texture_, y, rough_);
    Sum(light_, y, bright_);
    const auto row = static_cast<std::uint64_t>(y) * static_cast<std::uint64_t>(size_.width);
    for (std::size_t x = 0; x < rough_.size(); ++x) {
        const std::size_t kind = (shape_[0][x] > 0.0F ? 1U : 0U) + (shape_[1][x] > 0.0F ? 2U : 0U);
        const Material& material = kMaterials[kind];
        const float tone = 1.0F + bright_[x] + material.roughness * rough_[x];
        const float tint[3] = {shift_[0][x], -0.5F * (shift_[0][x] + shift_[1][x]), shift_[1][x]};
        std::uint64_t bits = Scatter(row + x + 0x5eed0000000000U);
        for (std::size_t c = 0; c < 3; ++c, bits >>= 16) {
            const float scene = std::clamp(material.colour[c] * tone + tint[c], 0.0F, 1.0F);
            const float seen = std::clamp(scene + kNoise * noise_[bits & 0xffffU], 0.0F, 1.0F);
            samples[3 * x + c] = static_cast<std::uint16_t>(seen * 65535.0F + 0.5F);
        }
    }
}

Samples16 MakePhoto(Size size) {
    Samples16 samples(3 * size.Pixels());
    Photo photo(size);
    const std::size_t row = 3 * static_cast<std::size_t>(size.width);
    for (int y = 0; y < size.height; ++y) {
        photo.Row(y, std::span(samples).subspan(static_cast<std::size_t>(y) * row, row));
    }
    return samples;
}

Samples16 MakeRandom(std::size_t pixels) {
    Samples16 samples(3 * pixels);
    for (std::size_t i = 0; i < samples.size(); ++i) samples[i] = static_cast<std::uint16_t>(Scatter(i) >> 20);
    return samples;
}

Samples16 MakeConstant(std::size_t pixels) {
    Samples16 samples(3 * pixels);
    constexpr std::uint16_t kColour[3] = {0xb312, 0x7ac4, 0x5e0d};
    for (std::size_t i = 0; i < samples.size(); ++i) samples[i] = kColour[i % 3];
    return samples;
}

Samples8 ToBytes(const Samples16& samples) {
    Samples8 bytes(samples.size());
    std::transform(samples.begin(), samples.end(), bytes.begin(),
                   [](std::uint16_t sample) { return static_cast<std::uint8_t>(sample >> 8); });
    return bytes;
}

}  // namespace bench
