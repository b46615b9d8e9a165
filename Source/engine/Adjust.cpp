// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
// The caller's adjustments: offsets in lightness, chroma and hue, and tone curves for the output stage.
#include <algorithm>
#include <functional>

#include "Numeric.h"
#include "engine/CIccEngineS.h"
#include "units/OutputTable33.h"

namespace ICC40::ICC_ENG_S4 {

using ICCFILE::CLut16Type;

int CIccEngineS::Adjust_Lch(double lightness, double chroma, double hue) {
    lightness = FiniteOrZero(lightness);
    chroma = FiniteOrZero(chroma);
    hue = FiniteOrZero(hue);
    const int before[3] = {Unit.Lightness, Unit.Chroma, Unit.Hue};
    // Kept: only whole parts are compared, so 1.2 after 1.9 rebuilds nothing.
    if (Unit.CheckLch(Trunc(lightness), Trunc(chroma), Trunc(hue)) == 0) return Unit.OutputSpace;
    try {
        const auto build = [&](const CLut16Type& lut) { Set3DLut(&lut, lightness, chroma, hue); };
        return Rebuild(std::cref(build));
    } catch (...) {
        Unit.CheckLch(before[0], before[1], before[2]);  // so that the same call again builds
        throw;
    }
}

int CIccEngineS::Adjust_Output(const unsigned char* red, const unsigned char* green, const unsigned char* blue,
                               int count) {
    if (count == 0 || red == nullptr || green == nullptr || blue == nullptr) return Unit.OutputSpace;
    const auto build = [&](const CLut16Type& lut) {
        const auto table = std::make_unique<ICC_UNIT::OutputTable33>();
        table->Initial(&lut);
        // The curves have 256 points: what stands behind them would never be read.
        table->Initial(red, green, blue, std::min(count, 256));
        // Kept: the width follows the input encoding and not the output space.
        if (Unit.InputSpace == ICCFILE::CsRGB_8) Unit.BuildResult = table->OutputGamma100(Unit.OutputSpace);
        TakeOutputTables(*table);
    };
    return Rebuild(std::cref(build));
}

}  // namespace ICC40::ICC_ENG_S4
