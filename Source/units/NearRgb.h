// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>
#include <cstddef>

#include "base/Numeric.h"
#include "color/CLCH.h"

namespace ICC40::ICC_UNIT {

/// Linear RGB of a Lab colour, truncated to 8 bits, for colours where a fast method gives the same result as
/// `CLCH::LAB2RGB`.
///
/// The fast method multiplies where the exact one divides and calls pow(). With roots below 2.3, as in 16-bit Lab, the
/// error of X, Y and Z is then less than 1e-13 of the white, and the error of a channel less than 1e-10 of the sum of
/// the three. Truncation hides this error unless a channel is close to a step, or a root is close to the threshold
/// between the two formulas; the method then reports that it cannot decide. Close to a step means within 1e-8 times (1
/// + white * (1 + the sum of the squared roots)), close to the threshold within 1e-9.
class NearRgb {
public:
    /// Copies the white and matrix of `color`.
    explicit NearRgb(const ColorLch::CLCH& color) {
        const double white[3] = {color.Xw, color.Yw, color.Zw};
        for (std::size_t i = 0; i < 9; ++i) matrix_[i] = color.toRGB[i] * white[i % 3] * 255.0;
        white_ = color.Xw + color.Yw + color.Zw;
    }

    /// Returns whether the result is certain; then `rgb` has the channels, 0 to 255.
    bool Convert(double lightness, double aStar, double bStar, int (&rgb)[3]) const {
        const bool dark = lightness <= 7.9996;
        const double ratio = lightness * (1.0 / 903.3);
        const double fy = dark ? ratio * 7.787 + 0.137931 : (lightness + 16.0) * (1.0 / 116.0);
        const double fx = fy + aStar * 0.002;
        const double fz = fy - bStar * 0.005;
        if (IsNear(fx, kThreshold, kClose) || IsNear(fz, kThreshold, kClose)) return false;
        const double x = Ratio(fx), y = dark ? ratio : fy * fy * fy, z = Ratio(fz);
        const double margin = 1e-8 * (1.0 + white_ * (1.0 + fx * fx + fy * fy + fz * fz));
        for (std::size_t c = 0; c < 3; ++c) {
            const double value = matrix_[3 * c] * x + matrix_[3 * c + 1] * y + matrix_[3 * c + 2] * z;
            rgb[c] = std::clamp(Trunc(value - margin), 0, 255);
            if (rgb[c] != std::clamp(Trunc(value + margin), 0, 255)) return false;
        }
        return true;
    }

private:
    static constexpr double kThreshold = 0.2069;
    static constexpr double kClose = 1e-9;
    static bool IsNear(double value, double other, double distance) {
        return value >= other - distance && value <= other + distance;
    }
    static double Ratio(double root) {
        return root > kThreshold ? root * root * root : (root - 0.137931) * (1.0 / 7.787);
    }

    double matrix_[9];  ///< rows of the channels
    double white_;
};

}  // namespace ICC40::ICC_UNIT
