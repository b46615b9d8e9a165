// SPDX-License-Identifier: MIT
#include "Chart.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>

namespace demo {
namespace {

// Three bands from the top: the landscape, six ramps, and the patches.
constexpr int kLandscape = 330;
constexpr int kRamps = 430;
constexpr int kGap = 6;
constexpr double kPaper = 0.78;

Triple Mix(const Triple& a, const Triple& b, double t) {
    const double s = std::clamp(t, 0.0, 1.0);
    return {a[0] + (b[0] - a[0]) * s, a[1] + (b[1] - a[1]) * s, a[2] + (b[2] - a[2]) * s};
}

Triple Linear(int r, int g, int b) {
    return {LinearOfSRGB(r / 255.0), LinearOfSRGB(g / 255.0), LinearOfSRGB(b / 255.0)};
}

/// A reproducible value of 0 to 1 for a lattice point.
double Noise(int x, int y) {
    auto h = static_cast<std::uint32_t>(x) * 374761393U + static_cast<std::uint32_t>(y) * 668265263U;
    h = (h ^ (h >> 13)) * 1274126177U;
    return static_cast<double>((h ^ (h >> 16)) & 0xffffU) / 65535.0;
}

/// The same, interpolated between lattice points.
double SmoothNoise(double x, double y) {
    const int i = static_cast<int>(std::floor(x)), j = static_cast<int>(std::floor(y));
    const double u = x - i, v = y - j;
    const double su = u * u * (3 - 2 * u), sv = v * v * (3 - 2 * v);
    const double top = Noise(i, j) + (Noise(i + 1, j) - Noise(i, j)) * su;
    const double bottom = Noise(i, j + 1) + (Noise(i + 1, j + 1) - Noise(i, j + 1)) * su;
    return top + (bottom - top) * sv;
}

double Clouds(double x, double y) {
    return 0.5 * SmoothNoise(x, y) + 0.3 * SmoothNoise(2.1 * x, 2.1 * y) + 0.2 * SmoothNoise(4.7 * x, 4.7 * y);
}

/// The height of a range of hills at x, in pixels from the top.
double Ridge(double x, double base, double height, double scale, int seed) {
    return base - height * Clouds(x / scale + 17.0 * seed, seed);
}

Triple Sky(double x, double y) {
    const Triple zenith = Linear(52, 104, 178), horizon = Linear(252, 206, 150);
    Triple sky = Mix(zenith, horizon, std::pow(y / 210.0, 1.4));
    const double cloud = Clouds(x / 150.0, y / 42.0);
    sky = Mix(sky, Linear(255, 240, 226), (cloud - 0.52) * 3.0);
    const double sun = std::hypot(x - 690.0, y - 150.0);
    return Mix(sky, Linear(255, 244, 205), std::exp(-sun / 34.0) + (sun < 17.0 ? 1.0 : 0.0));
}

Triple Landscape(int px, int py) {
    const double x = px, y = py;
    if (y < Ridge(x, 245, 85, 170, 1)) return Sky(x, y);
    if (y < Ridge(x, 268, 60, 110, 2)) return Mix(Linear(128, 138, 172), Linear(196, 176, 164), (y - 170) / 110);
    const double shade = 0.55 + 0.75 * Clouds(x / 21.0, y / 9.0);
    Triple land = Mix(Linear(70, 92, 74), Linear(56, 84, 36), (y - 215) / 60);
    if (y > Ridge(x, 325, 70, 240, 3)) land = Mix(Linear(186, 164, 72), Linear(106, 74, 38), (y - 262) / 75);
    return {land[0] * shade, land[1] * shade, land[2] * shade};
}

/// Ramps from black to white, red, green, blue, skin and sky in perceptually even steps.
Triple Ramp(int x, int y) {
    constexpr int kCount = 6;
    static const Triple ends[kCount] = {Linear(255, 255, 255), Linear(235, 40, 40),   Linear(40, 200, 70),
                                        Linear(50, 70, 230),   Linear(246, 206, 182), Linear(130, 200, 240)};
    const int row = std::clamp((y - kLandscape - kGap) * kCount / (kRamps - kLandscape - kGap), 0, kCount - 1);
    const double t = LinearOfSRGB(x / (kWidth - 1.0));
    const Triple& end = ends[static_cast<std::size_t>(row)];
    return {end[0] * t, end[1] * t, end[2] * t};
}

}  // namespace

Point CentreOf(int patch) {
    constexpr int kPatchWidth = kWidth / kColumns, kPatchHeight = (kHeight - kRamps) / kRows;
    return {patch % kColumns * kPatchWidth + kPatchWidth / 2,
            kRamps + patch / kColumns * kPatchHeight + kPatchHeight / 2};
}

Triple SceneAt(int x, int y) {
    if (y < kLandscape) return Landscape(x, y);
    if (y < kRamps && y >= kLandscape + kGap) return Ramp(x, y);
    for (int patch = 0; patch < static_cast<int>(kPatches.size()); ++patch) {
        const Point centre = CentreOf(patch);
        constexpr int kHalfWidth = kWidth / kColumns / 2 - kGap, kHalfHeight = (kHeight - kRamps) / kRows / 2 - kGap;
        if (std::abs(x - centre.x) > kHalfWidth || std::abs(y - centre.y) > kHalfHeight) continue;
        const auto& c = kPatches[static_cast<std::size_t>(patch)].sRGB;
        return Linear(c[0], c[1], c[2]);
    }
    return {kPaper, kPaper, kPaper};
}

}  // namespace demo
