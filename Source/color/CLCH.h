// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

#include "color/RgbPrimaries.h"

namespace ColorLch {

/// The RGB spaces whose matrices a CLCH can use.
enum ColorSpace : std::int32_t {
    ColorSpace_sRGB = 0,
    ColorSpace_AdobeRGB = 1,
    ColorSpace_AppleRGB = 2,
    ColorSpace_ColorMatchRGB = 3,
    ColorSpace_Unset = 65535  ///< treated as sRGB
};

/// One colour in three forms at once: CIE LCh, CIE Lab, and linear RGB on a scale of 0 to 255. Setting one form updates
/// the others with the current white point and matrices; changing these does not recompute any value. No operation
/// fails.
class CLCH {
public:
    /// Black with the given white point (65535 means 1.0). Kept: starts with the AdobeRGB matrices.
    CLCH(double xWhite, double yWhite, double zWhite);
    CLCH(const CLCH&) = default;
    ~CLCH() = default;
    /// Kept: copies only L, C and h, and computes the rest with the white point and matrices of this object.
    CLCH& operator=(const CLCH& other);

    void SetWhite(double x, double y, double z);  ///< each is divided by 65535.0
    void SetColorSpace(ColorSpace space);         ///< an unknown value changes nothing

    void RGB2LAB();  ///< R, G, B to X, Y, Z (ratios to the white) and L, a, b
    void LAB2RGB();  ///< L, a, b to X, Y, Z (absolute) and R, G, B, limited to 0..255
    void LAB2LCH();  ///< a, b to C, h
    void LCH2LAB();  ///< C, h to a, b

    void PutData_RGB(double r, double g, double b);                  ///< limited to 0..255
    void PutData_Lab(double lightness, double aStar, double bStar);  ///< not limited
    void PutData_Lch(double lightness, double chroma, double hue);   ///< not limited, hue in degrees

    /// Adds offsets in L*, C* and degrees. Lightness and chroma are then limited to 0..100, even if all offsets are 0;
    /// at most one full turn is subtracted from the hue or added to it.
    void Adjust(double dL, double dC, double dh);
    void AdjustLab(double dL, double dC, double dh);  ///< the same, but R, G, B and X, Y, Z do not change

    double L = 0, C = 0, h = 0;  ///< lightness 0..100, chroma, hue in degrees 0..360
    double a = 0, b = 0;
    double R = 0, G = 0, B = 0;  ///< linear, 0..255
    double X = 0, Y = 0, Z = 0;  ///< working values of the last conversion
    double Xw = 0, Yw = 0, Zw = 0;
    Matrix toXYZ{}, toRGB{};
};

}  // namespace ColorLch
