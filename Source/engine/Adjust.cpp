// SPDX-License-Identifier: MIT
// The caller's adjustments: offsets for lightness, chroma and hue, and curves for the output stage.
#include <array>

#include "base/Numeric.h"
#include "engine/Rebuild.h"
#include "units/LutCurves.h"

namespace ICC40::ICC_ENG_S4 {

using ICCFILE::CLut16Type;

int CIccEngineS::Adjust_Lch(double lightness, double chroma, double hue) {
    lightness = FiniteOrZero(lightness);
    chroma = FiniteOrZero(chroma);
    hue = FiniteOrZero(hue);
    // Kept: only integer parts are compared, so 1.2 after 1.9 rebuilds nothing.
    const std::array whole{Trunc(lightness), Trunc(chroma), Trunc(hue)};
    if (whole == std::array{Unit.Lightness, Unit.Chroma, Unit.Hue}) return Unit.OutputSpace;
    const int space = Rebuild([&](const CLut16Type& lut) { Set3DLut(&lut, lightness, chroma, hue); });
    // Stored only now, so that the same call builds again after a failed build.
    Unit.CheckLch(whole[0], whole[1], whole[2]);
    return space;
}

int CIccEngineS::Adjust_Output(const unsigned char* red, const unsigned char* green, const unsigned char* blue,
                               int count) {
    if (count == 0 || red == nullptr || green == nullptr || blue == nullptr) return Unit.OutputSpace;
    return Rebuild([&](const CLut16Type& lut) {
        ICC_UNIT::LutOutputCurves curves(lut);
        curves.Overlay({red, green, blue}, count);
        // Kept: the width depends on the input encoding, not on the output space.
        const int shift = Unit.InputSpace == ICCFILE::CsRGB_8 ? 8 : 0;
        std::uint32_t* const out[] = {Lut1DOutR, Lut1DOutG, Lut1DOutB};
        for (int c = 0; c < 3; ++c) {
            for (int v = 0; v < 65536; ++v) out[c][v] = static_cast<std::uint32_t>(curves.At(c, v) >> shift);
        }
        if (shift != 0) Unit.BuildResult = Unit.OutputSpace;
    });
}

}  // namespace ICC40::ICC_ENG_S4
