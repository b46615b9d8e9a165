// SPDX-License-Identifier: MIT
#include "Device.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace demo {
namespace {

using Rows = std::array<Triple, 3>;

// Each filter passes some light of the neighbouring colours; the lamp is strong in green.
constexpr Rows kFilters = {{{0.62, 0.24, 0.04}, {0.17, 0.70, 0.11}, {0.03, 0.21, 0.60}}};
// Linear sRGB to XYZ, adapted to D50 (IEC 61966-2-1 primaries, Bradford adaptation).
constexpr Rows kToXYZ = {
    {{0.4360747, 0.3850649, 0.1430804}, {0.2225045, 0.7168786, 0.0606169}, {0.0139322, 0.0971045, 0.7141733}}};
constexpr Triple kWhite = {0.96422, 1.0, 0.82521};
/// Exponent of the tone curve, and the signal of the scanner in the dark.
constexpr Triple kExponent = {1.80, 1.72, 1.95};
constexpr double kFlare = 0.004;

Triple Apply(const Rows& rows, const Triple& v) {
    Triple out{};
    for (std::size_t i = 0; i < 3; ++i) out[i] = rows[i][0] * v[0] + rows[i][1] * v[1] + rows[i][2] * v[2];
    return out;
}

/// The inverse of a matrix by cofactors.
Rows Inverse(const Rows& m) {
    Rows out{};
    const auto minor = [&](std::size_t r, std::size_t c) {
        const std::size_t r1 = (r + 1) % 3, r2 = (r + 2) % 3, c1 = (c + 1) % 3, c2 = (c + 2) % 3;
        return m[r1][c1] * m[r2][c2] - m[r1][c2] * m[r2][c1];
    };
    const double determinant = m[0][0] * minor(0, 0) + m[0][1] * minor(0, 1) + m[0][2] * minor(0, 2);
    for (std::size_t r = 0; r < 3; ++r) {
        for (std::size_t c = 0; c < 3; ++c) out[c][r] = minor(r, c) / determinant;
    }
    return out;
}

}  // namespace

Triple FilteredOfScene(const Triple& linear) { return Apply(kFilters, linear); }

Triple SceneOfFiltered(const Triple& filtered) {
    static const Rows inverse = Inverse(kFilters);
    return Apply(inverse, filtered);
}

double Stored(int channel, double linear) {
    const double light = std::clamp(linear + kFlare, 0.0, 1.0);
    return std::pow(light, 1.0 / kExponent[static_cast<std::size_t>(channel)]);
}

double Linearised(int channel, double device) {
    return std::max(std::pow(device, kExponent[static_cast<std::size_t>(channel)]) - kFlare, 0.0);
}

Triple DeviceOfScene(const Triple& linear) {
    const Triple f = FilteredOfScene(linear);
    return {Stored(0, f[0]), Stored(1, f[1]), Stored(2, f[2])};
}

Triple SceneOfDevice(const Triple& device) {
    return SceneOfFiltered({Linearised(0, device[0]), Linearised(1, device[1]), Linearised(2, device[2])});
}

Triple LabOfScene(const Triple& linear) {
    Triple f = Apply(kToXYZ, linear);
    for (std::size_t i = 0; i < 3; ++i) {
        const double t = f[i] / kWhite[i];
        f[i] = t > 216.0 / 24389.0 ? std::cbrt(t) : (24389.0 / 27.0 * t + 16.0) / 116.0;
    }
    return {116.0 * f[1] - 16.0, 500.0 * (f[0] - f[1]), 200.0 * (f[1] - f[2])};
}

double LinearOfSRGB(double encoded) {
    return encoded <= 0.04045 ? encoded / 12.92 : std::pow((encoded + 0.055) / 1.055, 2.4);
}

double SRGBOfLinear(double linear) {
    const double v = std::clamp(linear, 0.0, 1.0);
    return v <= 0.0031308 ? v * 12.92 : 1.055 * std::pow(v, 1.0 / 2.4) - 0.055;
}

}  // namespace demo
