// SPDX-License-Identifier: MIT
#include "color/CLCH.h"

#include <cmath>
#include <cstddef>

namespace ColorLch {
namespace {

/// Limits to 0..`top`; a NaN gives 0.
double Limit(double value, double top) {
    if (value > top) return top;
    return value >= 0.0 ? value : 0.0;
}

double Row(const Matrix& matrix, std::size_t row, double x, double y, double z) {
    return matrix[3 * row] * x + matrix[3 * row + 1] * y + matrix[3 * row + 2] * z;
}

/// Kept: the product for the conversion to XYZ is rounded to single precision; that of the inverse is not.
double RoundedRow(const Matrix& matrix, std::size_t row, double x, double y, double z) {
    // Volatile, because g++ 12 omits the rounding if it combines two such products in a vector register.
    volatile float rounded = static_cast<float>(Row(matrix, row, x, y, z));
    return static_cast<double>(rounded);
}

// The two directions have different thresholds and exponents, which are not exact inverses. Kept: 0.3333333 instead of
// one third, and 0.008856 for the ratio against 0.2069 for the root.
double Root(double ratio) { return ratio > 0.008856 ? std::pow(ratio, 0.3333333) : ratio * 7.787 + 0.137931; }
double Ratio(double root) { return root > 0.2069 ? std::pow(root, 3.0) : (root - 0.137931) / 7.787; }

}  // namespace

CLCH::CLCH(double xWhite, double yWhite, double zWhite) {
    SetColorSpace(ColorSpace_AdobeRGB);
    SetWhite(xWhite, yWhite, zWhite);
}

CLCH& CLCH::operator=(const CLCH& other) {
    PutData_Lch(other.L, other.C, other.h);
    return *this;
}

void CLCH::SetWhite(double x, double y, double z) {
    Xw = x / 65535.0;
    Yw = y / 65535.0;
    Zw = z / 65535.0;
}

void CLCH::SetColorSpace(ColorSpace space) {
    switch (space) {
        case ColorSpace_sRGB:
        case ColorSpace_Unset:
            toXYZ = sRGB_D50;
            toRGB = inv_sRGB_D50;
            break;
        case ColorSpace_AdobeRGB:
            toXYZ = AdobeRGB_D50;
            toRGB = inv_AdobeRGB_D50;
            break;
        case ColorSpace_AppleRGB:
            toXYZ = AppleRGB_D50;
            toRGB = inv_AppleRGB_D50;
            break;
        case ColorSpace_ColorMatchRGB:
            toXYZ = ColorMatchRGB_D50;
            toRGB = inv_ColorMatchRGB_D50;
            break;
        default:
            break;
    }
}

void CLCH::RGB2LAB() {
    X = RoundedRow(toXYZ, 0, R, G, B) / (Xw * 255.0);
    Y = RoundedRow(toXYZ, 1, R, G, B) / (Yw * 255.0);
    Z = RoundedRow(toXYZ, 2, R, G, B) / (Zw * 255.0);
    L = Y > 0.008856 ? std::pow(Y, 0.3333333) * 116.0 - 16.0 : Y * 903.3;
    const double fy = Root(Y);
    a = (Root(X) - fy) * 500.0;
    b = (fy - Root(Z)) * 200.0;
}

void CLCH::LAB2RGB() {
    double fy = 0;
    if (L > 7.9996) {
        fy = (L + 16.0) / 116.0;
        Y = std::pow(fy, 3.0);
    } else {
        Y = L / 903.3;
        fy = Y * 7.787 + 0.137931;
    }
    X = Ratio(a / 500.0 + fy) * Xw;
    Z = Ratio(b / -200.0 + fy) * Zw;
    Y *= Yw;
    R = Limit(Row(toRGB, 0, X, Y, Z) * 255.0, 255.0);
    G = Limit(Row(toRGB, 1, X, Y, Z) * 255.0, 255.0);
    B = Limit(Row(toRGB, 2, X, Y, Z) * 255.0, 255.0);
}

// Kept: five-digit factors between radians and degrees, so a hue converted back and forth changes slightly.
void CLCH::LAB2LCH() {
    C = std::sqrt(a * a + b * b);
    h = std::atan2(b, a) * 57.2958;
    if (h < 0) h += 360.0;
}

void CLCH::LCH2LAB() {
    const double radians = 0.0174533 * h;
    a = std::cos(radians) * C;
    b = std::sin(radians) * C;
}

void CLCH::PutData_RGB(double r, double g, double blue) {
    R = Limit(r, 255.0);
    G = Limit(g, 255.0);
    B = Limit(blue, 255.0);
    RGB2LAB();
    LAB2LCH();
}

void CLCH::PutData_Lab(double lightness, double aStar, double bStar) {
    L = lightness;
    a = aStar;
    b = bStar;
    LAB2LCH();
    LAB2RGB();
}

void CLCH::PutData_Lch(double lightness, double chroma, double hue) {
    L = lightness;
    C = chroma;
    h = hue;
    LCH2LAB();
    LAB2RGB();
}

void CLCH::Adjust(double dL, double dC, double dh) {
    AdjustLab(dL, dC, dh);
    LAB2RGB();
}

void CLCH::AdjustLab(double dL, double dC, double dh) {
    L = Limit(L + dL, 100.0);
    C = Limit(C + dC, 100.0);  // Kept: a saturated colour loses chroma under any adjustment, even by 0
    h += dh;
    // At most one full turn: exactly 360 stays, and 730 becomes 370.
    if (h > 360.0) h -= 360.0;
    if (h < 0.0) h += 360.0;
    LCH2LAB();
}

}  // namespace ColorLch
