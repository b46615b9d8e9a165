// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
// The three stages of an engine, copied out of the units that build them.
#include <algorithm>

#include "Numeric.h"
#include "engine/CIccEngineS.h"
#include "units/ColorTable33.h"
#include "units/InputTable33.h"
#include "units/OutputTable33.h"
#include "units/Tetrahedra.h"

namespace ICC40::ICC_ENG_S4 {

using ICC_UNIT::ColorTable33;
using ICC_UNIT::InputTable33;
using ICC_UNIT::kTetrahedra;
using ICC_UNIT::OutputTable33;
using ICCFILE::CLut16Type;
using ICCFILE::CXYZType;

namespace {

/// Cell index in the high half, 12 bits of fraction in the low half. The mask does not follow the shift, which is
/// always 12.
std::unique_ptr<std::uint32_t[]> Pack(const int* table, int entries, int shift) {
    auto packed = std::make_unique<std::uint32_t[]>(static_cast<std::size_t>(entries));
    std::transform(table, table + entries, packed.get(), [shift](int entry) {
        const std::uint32_t v = Low16(entry);
        return (v >> shift) << 16 | (v & 0xfffU);
    });
    return packed;
}

/// Writes the six records of the cell at (i, j, k): for each channel the constant and the change along each axis.
void BakeCell(const ColorTable33& grid, int i, int j, int k, int shift, std::int32_t (&cell)[6][3][4]) {
    for (int record = 0; record < 6; ++record) {
        const ICC_UNIT::Tetrahedron& path = kTetrahedra[record];
        for (int channel = 0; channel < 3; ++channel) {
            const auto corner = [&](int at) {
                return grid.Color[i + ICC_UNIT::StepX(at)][j + ICC_UNIT::StepY(at)][k + ICC_UNIT::StepZ(at)][channel];
            };
            std::int32_t(&coefficients)[4] = cell[record][channel];
            coefficients[0] = corner(0) << shift;
            coefficients[1] = corner(path.x.to) - corner(path.x.from);
            coefficients[2] = corner(path.y.to) - corner(path.y.from);
            coefficients[3] = corner(path.z.to) - corner(path.z.from);
        }
    }
}

}  // namespace

void CIccEngineS::Set1DLutIn(const CLut16Type* lut) {
    const auto unit = std::make_unique<InputTable33>();
    unit->Initial(lut, Unit.InputSpace);
    const bool wide = Unit.InputSpace == ICCFILE::CsRGB_16;
    if (!wide) unit->Change_Lut16_To_Lut8();
    const int entries = wide ? 65536 : 256;
    auto red = Pack(unit->Lut16[0], entries, Shift);
    auto green = Pack(unit->Lut16[1], entries, Shift);
    auto blue = Pack(unit->Lut16[2], entries, Shift);
    Lut1DInR = std::move(red);
    Lut1DInG = std::move(green);
    Lut1DInB = std::move(blue);
    InEntries = entries;
}

void CIccEngineS::Set3DLut(const CLut16Type* lut, double lightness, double chroma, double hue) {
    const double offsets[3] = {FiniteOrZero(lightness), FiniteOrZero(chroma), FiniteOrZero(hue)};
    const auto unit = std::make_unique<ColorTable33>();
    unit->Initial(lut);
    if (offsets[0] != 0.0 || offsets[1] != 0.0 || offsets[2] != 0.0) {
        unit->Adjust_Lch(offsets[0], offsets[1], offsets[2]);
    }
    unit->TableResize(kCells + 1);

    const CXYZType* white = nullptr;
    if (Unit.Intent == ICCFILE::IntentAbsoluteColorimetric) {
        white = dynamic_cast<const CXYZType*>(File.GetTag(ICC4_HEADER::TagName("wtpt")));
        constexpr unsigned kXyzBlock = 20;
        if (white != nullptr && white->tagSize < kXyzBlock) white = nullptr;
    }
    unit->Lab2RGB100_16(lut, Unit.OutputSpace, white);

    auto* cell = &Lut3D[0];
    for (int i = 0; i < kCells; ++i) {
        for (int j = 0; j < kCells; ++j) {
            for (int k = 0; k < kCells; ++k) BakeCell(*unit, i, j, k, Shift, *cell++);
        }
    }
}

void CIccEngineS::TakeOutputTables(const OutputTable33& table) {
    std::copy_n(table.Lut16[0], 65536, Lut1DOutR);
    std::copy_n(table.Lut16[1], 65536, Lut1DOutG);
    std::copy_n(table.Lut16[2], 65536, Lut1DOutB);
}

void CIccEngineS::Set1DLutOut(const CLut16Type*) {
    const auto table = std::make_unique<OutputTable33>();
    const ICCFILE::ColorSpaceSignature space = Unit.OutputSpace;
    switch (space) {
        case ICCFILE::CssRGB_8:
        case ICCFILE::CssRGB_Alias_8:
            Unit.BuildResult = table->OutputGamma_sRGB();
            break;
        case ICCFILE::CssRGB_16:
        case ICCFILE::CssRGB_Alias_16:
            Unit.BuildResult = table->OutputGamma_sRGB_16();
            break;
        case ICCFILE::CssRGB_Gamma100_8:
        case ICCFILE::CsAdobeRGB_Gamma100_8:
        case ICCFILE::CsAppleRGB_Gamma100_8:
        case ICCFILE::CsColorMatchRGB_Gamma100_8:
            Unit.BuildResult = table->OutputGamma100(space);
            break;
        case ICCFILE::CssRGB_Gamma100_16:
        case ICCFILE::CsAdobeRGB_Gamma100_16:
        case ICCFILE::CsAppleRGB_Gamma100_16:
        case ICCFILE::CsColorMatchRGB_Gamma100_16:
            Unit.BuildResult = space;
            break;
        case ICCFILE::CsAdobeRGB_Gamma180_8:
        case ICCFILE::CsAppleRGB_Gamma180_8:
        case ICCFILE::CsColorMatchRGB_Gamma180_8:
            Unit.BuildResult = table->OutputGamma180(space);
            break;
        case ICCFILE::CsAdobeRGB_Gamma180_16:
        case ICCFILE::CsAppleRGB_Gamma180_16:
        case ICCFILE::CsColorMatchRGB_Gamma180_16:
            Unit.BuildResult = table->OutputGamma180_16(space);
            break;
        // The Kodak curves leave the last entry alone; it is 65535 in the fresh table.
        case ICCFILE::CsKodakPhoto_8:
            Unit.BuildResult = table->OutputGamma_KodakPhoto();
            break;
        case ICCFILE::CsKodakPhoto_16:
            Unit.BuildResult = table->OutputGamma_KodakPhoto_16();
            break;
        case ICCFILE::CsKodakMix_8:
            Unit.BuildResult = table->OutputGamma_KodakMix();
            break;
        case ICCFILE::CsKodakMix_16:
            Unit.BuildResult = table->OutputGamma_KodakMix_16();
            break;
        case ICCFILE::CsKodakText_8:
            Unit.BuildResult = table->OutputGamma_KodakText();
            break;
        case ICCFILE::CsKodakText_16:
            Unit.BuildResult = table->OutputGamma_KodakText_16();
            break;
        default:
            Refuse();
            break;
    }
    TakeOutputTables(*table);  // Kept: an unsupported space leaves identity tables
}

}  // namespace ICC40::ICC_ENG_S4
