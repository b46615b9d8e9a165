// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>
#include <array>
#include <cmath>

// A naive implementation of the colour arithmetic, with its own copy of the constants.
namespace hueweave::test {

struct NaiveMatrices {
    std::array<double, 9> toXYZ, toRGB;
};

/// Indexed by the number of the RGB space: sRGB, AdobeRGB, AppleRGB, ColorMatchRGB.
inline constexpr NaiveMatrices kNaiveMatrices[4] = {
    {{0.4361, 0.3851, 0.1431, 0.2225, 0.7169, 0.0606, 0.0139, 0.0971, 0.7141},
     {3.1341, -1.6174, -0.4907, -0.9788, 1.9163, 0.0334, 0.072, -0.229, 1.4054}},
    {{0.6098, 0.2053, 0.1492, 0.3111, 0.6257, 0.0632, 0.0195, 0.0609, 0.7448},
     {1.9625, -0.6107, -0.3414, -0.9788, 1.9163, 0.0334, 0.0287, -0.1407, 1.3489}},
    {{0.4756, 0.3397, 0.149, 0.2552, 0.6726, 0.0723, 0.0185, 0.1133, 0.6933},
     {2.8513, -1.361, -0.4709, -1.0928, 2.035, 0.0227, 0.1027, -0.2965, 1.4512}},
    {{0.5095, 0.3209, 0.1339, 0.275, 0.6581, 0.067, 0.0243, 0.1088, 0.6921},
     {2.6416, -1.2231, -0.3929, -1.1121, 2.0592, 0.016, 0.0822, -0.2808, 1.4562}},
};

using Triple = std::array<double, 3>;

/// The white point for converting grids; 65535 stands for 1.0.
inline constexpr Triple kUsualWhite = {63195.0, 65535.0, 54073.0};

/// Chroma and hue in degrees.
inline std::array<double, 2> NaiveChromaHue(double a, double b) {
    double h = std::atan2(b, a) * 57.2958;
    if (h < 0) h += 360.0;
    return {std::sqrt(a * a + b * b), h};
}

/// a* and b*.
inline std::array<double, 2> NaiveAB(double chroma, double hue) {
    const double r = 0.0174533 * hue;
    return {std::cos(r) * chroma, std::sin(r) * chroma};
}

/// Absolute X, Y, Z of a Lab colour under a white.
inline Triple NaiveXYZ(const Triple& lab, const Triple& white) {
    double fy, y;
    if (lab[0] > 7.9996) {
        fy = (lab[0] + 16.0) / 116.0;
        y = std::pow(fy, 3.0);
    } else {
        y = lab[0] / 903.3;
        fy = y * 7.787 + 0.137931;
    }
    const double fx = lab[1] / 500.0 + fy;
    const double x = fx > 0.2069 ? std::pow(fx, 3.0) : (fx - 0.137931) / 7.787;
    const double fz = lab[2] / -200.0 + fy;
    const double z = fz > 0.2069 ? std::pow(fz, 3.0) : (fz - 0.137931) / 7.787;
    return {x * (white[0] / 65535.0), y * (white[1] / 65535.0), z * (white[2] / 65535.0)};
}

inline Triple NaiveProduct(const std::array<double, 9>& m, const Triple& v) {
    Triple product{};
    for (std::size_t row = 0; row < 3; ++row) {
        product[row] = m[row * 3] * v[0] + m[row * 3 + 1] * v[1] + m[row * 3 + 2] * v[2];
    }
    return product;
}

/// Linear R, G, B of 0 to 255.
inline Triple NaiveLabToRGB(const Triple& lab, const Triple& white, int space) {
    Triple rgb = NaiveProduct(kNaiveMatrices[space].toRGB, NaiveXYZ(lab, white));
    for (double& channel : rgb) channel = std::clamp(channel * 255.0, 0.0, 255.0);
    return rgb;
}

/// X, Y, Z as ratios to the white, from linear R, G, B.
inline Triple NaiveRatios(const Triple& rgb, const Triple& white, int space) {
    Triple ratios = NaiveProduct(kNaiveMatrices[space].toXYZ, rgb);
    for (std::size_t i = 0; i < 3; ++i) {
        ratios[i] = static_cast<double>(static_cast<float>(ratios[i])) / (white[i] / 65535.0 * 255.0);
    }
    return ratios;
}

inline Triple NaiveLab(const Triple& ratios) {
    const auto f = [](double t) { return t > 0.008856 ? std::pow(t, 0.3333333) : t * 7.787 + 0.137931; };
    const double light = ratios[1] > 0.008856 ? std::pow(ratios[1], 0.3333333) * 116.0 - 16.0 : ratios[1] * 903.3;
    return {light, (f(ratios[0]) - f(ratios[1])) * 500.0, (f(ratios[1]) - f(ratios[2])) * 200.0};
}

/// L*, C* and h after the three offsets.
inline Triple NaiveAdjust(Triple lch, double dL, double dC, double dh) {
    lch[0] = std::clamp(lch[0] + dL, 0.0, 100.0);
    lch[1] = std::clamp(lch[1] + dC, 0.0, 100.0);
    lch[2] += dh;
    if (lch[2] > 360.0) lch[2] -= 360.0;
    if (lch[2] < 0.0) lch[2] += 360.0;
    return lch;
}

}  // namespace hueweave::test
