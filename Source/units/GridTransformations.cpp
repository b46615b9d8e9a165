// SPDX-License-Identifier: MIT
// Transforms the grid of a profile into the grid of an engine: LCh offsets, and the conversion from Lab to RGB.
#include "base/Numeric.h"
#include "color/CLCH.h"
#include "units/ColorTable33.h"
#include "units/LutCurves.h"
#include "units/NearRgb.h"
#include "units/OutputSpaces.h"
#include "units/OutputTable33.h"

namespace ICC40::ICC_UNIT {
namespace {

/// A colour with the white of the profile connection space, near D50.
ColorLch::CLCH PcsColor() { return {63195.0, 65535.0, 54073.0}; }

// The Lab encoding of 16-bit tables: 65280 is L* = 100, 32768 is a* = b* = 0, and one unit of a* or b* is 256.
double LightnessOf(int value) { return value * 100.0 / 65280.0; }
double OpponentOf(int value) { return (value - 32768) * 0.00390625; }
int EncodeLightness(double lightness) { return Low16(Trunc(lightness * 65280.0 / 100.0)); }
int EncodeOpponent(double value) { return Low16(Trunc(256.0 * value + 32768.0)); }

/// The primaries of an output space; those of sRGB for every other value.
ColorLch::ColorSpace FindPrimaries(ICCFILE::ColorSpaceSignature space) {
    const OutputSpace* row = FindOutputSpace(space);
    return row != nullptr ? row->primaries : ColorLch::ColorSpace_sRGB;
}

/// The result of the conversion: a linear space of the primaries, or `space` itself for sRGB primaries.
int ResultOf(ColorLch::ColorSpace primaries, ICCFILE::ColorSpaceSignature space) {
    switch (primaries) {
        case ColorLch::ColorSpace_AdobeRGB:
            return ICCFILE::CsAdobeRGB_Gamma100_16;
        case ColorLch::ColorSpace_AppleRGB:
            return ICCFILE::CsAppleRGB_Gamma100_16;
        case ColorLch::ColorSpace_ColorMatchRGB:
            return ICCFILE::CsColorMatchRGB_Gamma180_16;  // Kept: not the linear one
        default:
            return space;
    }
}

struct ExpandedCurves {
    const OutputTable33& table;
    int At(int channel, int value) const { return table.Lut16[channel][value]; }
};

/// Calls `change` with every node of the grid.
template <typename Change>
void ForEachNode(ColorTable33& grid, Change change) {
    for (int i = 0; i < grid.LUT_Size; ++i) {
        for (int j = 0; j < grid.LUT_Size; ++j) {
            for (int k = 0; k < grid.LUT_Size; ++k) change(grid.Color[i][j][k]);
        }
    }
}

/// `curves.At(channel, value)` is the profile's output curve.
template <typename Curves>
int TurnToRgb(ColorTable33& grid, const Curves& curves, ICCFILE::ColorSpaceSignature space,
              const ICCFILE::CXYZType* white) {
    ColorLch::CLCH color = PcsColor();
    const ColorLch::ColorSpace primaries = FindPrimaries(space);
    color.SetColorSpace(primaries);
    // Kept: fixed-point values with a scale of 65536, read as unsigned, are used where 65535 means 1.0.
    if (white != nullptr) color.SetWhite(white->rawXYZ[0], white->rawXYZ[1], white->rawXYZ[2]);
    const NearRgb quick(color);
    ForEachNode(grid, [&](int* node) {
        color.L = LightnessOf(Low16(curves.At(0, Low16(node[0]))));
        color.a = OpponentOf(Low16(curves.At(1, Low16(node[1]))));
        color.b = OpponentOf(Low16(curves.At(2, Low16(node[2]))));
        int rgb[3];
        if (!quick.Convert(color.L, color.a, color.b, rgb)) {
            color.LAB2RGB();
            rgb[0] = Trunc(color.R);
            rgb[1] = Trunc(color.G);
            rgb[2] = Trunc(color.B);
        }
        // Kept: 8-bit linear RGB, 0 to 65280 in steps of 256; the later stages rely on this scale.
        for (int c = 0; c < 3; ++c) node[c] = rgb[c] << 8;
    });
    return ResultOf(primaries, space);
}

}  // namespace

int ColorTable33::Adjust_Lch(double lightness, double chroma, double hue) {
    ColorLch::CLCH color = PcsColor();
    ForEachNode(*this, [&](int* node) {
        // Kept: the node is read as Lab before the profile's output curves are applied.
        color.L = LightnessOf(Low16(node[0]));
        color.a = OpponentOf(Low16(node[1]));
        color.b = OpponentOf(Low16(node[2]));
        color.LAB2LCH();
        color.AdjustLab(lightness, chroma, hue);  // keeps L* between 0 and 100
        node[0] = EncodeLightness(color.L);
        node[1] = EncodeOpponent(color.a);
        node[2] = EncodeOpponent(color.b);
    });
    return 0;
}

int ColorTable33::Lab2RGB100_16(const ICCFILE::CLut16Type* lut, ICCFILE::ColorSpaceSignature space,
                                const ICCFILE::CXYZType* white) {
    return TurnToRgb(*this, LutOutputCurves(*lut), space, white);
}

int ColorTable33::Lab2RGB100_16_1D(const OutputTable33* table, ICCFILE::ColorSpaceSignature space,
                                   const ICCFILE::CXYZType* white) {
    return TurnToRgb(*this, ExpandedCurves{*table}, space, white);
}

}  // namespace ICC40::ICC_UNIT
