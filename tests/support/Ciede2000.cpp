// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#include "support/Ciede2000.h"

#include <cmath>
#include <numbers>

namespace hueweave::test {
namespace {

constexpr double kDegree = std::numbers::pi / 180.0;

double Power7(double x) { return std::pow(x, 7); }

double HueDegrees(double b, double a) {
    if (a == 0 && b == 0) return 0;
    const double h = std::atan2(b, a) / kDegree;
    return h < 0 ? h + 360 : h;
}

}  // namespace

Lab LabOfSRGB(const std::array<double, 3>& rgb) {
    std::array<double, 3> v{};
    for (std::size_t i = 0; i < 3; ++i) {
        v[i] = rgb[i] <= 0.04045 ? rgb[i] / 12.92 : std::pow((rgb[i] + 0.055) / 1.055, 2.4);
    }
    const double x = (0.4124564 * v[0] + 0.3575761 * v[1] + 0.1804375 * v[2]) / 0.95047;
    const double y = 0.2126729 * v[0] + 0.7151522 * v[1] + 0.0721750 * v[2];
    const double z = (0.0193339 * v[0] + 0.1191920 * v[1] + 0.9503041 * v[2]) / 1.08883;
    const auto f = [](double t) { return t > 216.0 / 24389 ? std::cbrt(t) : (24389.0 / 27 * t + 16) / 116; };
    return {116 * f(y) - 16, 500 * (f(x) - f(y)), 200 * (f(y) - f(z))};
}

double Ciede2000(const Lab& one, const Lab& other) {
    const double c1 = std::hypot(one[1], one[2]), c2 = std::hypot(other[1], other[2]);
    const double mean7 = Power7((c1 + c2) / 2);
    const double g = 0.5 * (1 - std::sqrt(mean7 / (mean7 + Power7(25))));
    const double a1 = (1 + g) * one[1], a2 = (1 + g) * other[1];
    const double p1 = std::hypot(a1, one[2]), p2 = std::hypot(a2, other[2]);
    const double h1 = HueDegrees(one[2], a1), h2 = HueDegrees(other[2], a2);

    const bool grey = p1 * p2 == 0;
    double dh = grey ? 0 : h2 - h1;
    if (dh > 180) dh -= 360;
    if (dh < -180) dh += 360;
    const double dL = other[0] - one[0], dC = p2 - p1;
    const double dH = 2 * std::sqrt(p1 * p2) * std::sin(dh / 2 * kDegree);

    const double L = (one[0] + other[0]) / 2, C = (p1 + p2) / 2;
    double h = h1 + h2;
    if (!grey) {
        if (std::abs(h1 - h2) > 180) h += h < 360 ? 360 : -360;
        h /= 2;
    }
    const double t = 1 - 0.17 * std::cos((h - 30) * kDegree) + 0.24 * std::cos(2 * h * kDegree) +
                     0.32 * std::cos((3 * h + 6) * kDegree) - 0.20 * std::cos((4 * h - 63) * kDegree);
    const double middle = (L - 50) * (L - 50);
    const double sL = 1 + 0.015 * middle / std::sqrt(20 + middle), sC = 1 + 0.045 * C, sH = 1 + 0.015 * C * t;
    const double turn = 30 * std::exp(-std::pow((h - 275) / 25, 2));
    const double rT = -2 * std::sqrt(Power7(C) / (Power7(C) + Power7(25))) * std::sin(2 * turn * kDegree);
    return std::sqrt(std::pow(dL / sL, 2) + std::pow(dC / sC, 2) + std::pow(dH / sH, 2) + rT * dC / sC * dH / sH);
}

}  // namespace hueweave::test
