// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
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
    ColorSpace_Unset = 65535  ///< taken as sRGB
};

/// One colour in three forms at once: CIE LCh, CIE Lab, and linear RGB on a scale of 0 to 255. Setting one form
/// updates the others with the white point and the matrices in force; changing those recomputes nothing by itself.
/// No operation fails.
class CLCH {
public:
    /// A black colour under the given white (65535 stands for 1.0). Kept: starts out with the AdobeRGB matrices.
    CLCH(double xWhite, double yWhite, double zWhite);
    CLCH(const CLCH&) = default;
    ~CLCH() = default;
    /// Kept: takes the colour's L, C, h only, and derives the rest with this object's own white and matrices.
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

    /// Adds offsets in L*, C* and degrees. Lightness and chroma are limited to 0..100 afterwards, also when all
    /// offsets are 0; of the hue one turn is taken off, or added, at most.
    void Adjust(double dL, double dC, double dh);
    void AdjustLab(double dL, double dC, double dh);  ///< the same, but R, G, B and X, Y, Z stay as they were

    double L = 0, C = 0, h = 0;  ///< lightness 0..100, chroma, hue in degrees 0..360
    double a = 0, b = 0;
    double R = 0, G = 0, B = 0;  ///< linear, 0..255
    double X = 0, Y = 0, Z = 0;  ///< working values of the last conversion
    double Xw = 0, Yw = 0, Zw = 0;
    Matrix toXYZ{}, toRGB{};
};

}  // namespace ColorLch
