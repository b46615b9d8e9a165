// SPDX-License-Identifier: MIT
// The three stages of an engine, built from the units.
#include <algorithm>
#include <iterator>
#include <numeric>
#include <utility>

#include "base/Numeric.h"
#include "engine/CIccEngineS.h"
#include "units/ColorTable33.h"
#include "units/InputTable33.h"
#include "units/LutCurves.h"
#include "units/OutputSpaces.h"
#include "units/Tetrahedra.h"

namespace ICC40::ICC_ENG_S4 {

using ICC_UNIT::ColorTable33;
using ICC_UNIT::InputTable33;
using ICC_UNIT::kTetrahedra;
using ICCFILE::CLut16Type;
using ICCFILE::CXYZType;

namespace {

/// Cell index in the upper half, 12-bit fraction in the lower half. The mask does not depend on the shift, which is
/// always 12.
std::uint32_t Pack(unsigned short value, int shift) {
    return static_cast<std::uint32_t>(value >> shift) << 16 | (value & 0xfffU);
}

/// The input curves at every sample of the encoding: the 16-bit values that an `InputTable33` contains after loading
/// the table and, unless it is for 16-bit RGB, reducing it to 8 bits.
void SampleInputCurves(const CLut16Type& lut, ICCFILE::ColorSpaceSignature space, unsigned short* const (&tables)[3]) {
    if (space == ICCFILE::CsLab_8 || space == ICCFILE::CsLab_16) {
        // Kept: curves for Lab, from which the RGB path takes every 256th value.
        const auto unit = std::make_unique<InputTable33>();
        unit->Initial(&lut, space);
        unit->Change_Lut16_To_Lut8();
        for (int c = 0; c < 3; ++c) std::transform(unit->Lut16[c], unit->Lut16[c] + 256, tables[c], Low16);
        return;
    }
    const ICC_UNIT::LutInputCurves curves(lut);
    if (space == ICCFILE::CsRGB_16) return curves.Expand(tables);
    for (int i = 0; i < 256; ++i) {
        unsigned short values[3];
        curves.At(i < 255 ? 256 * i : 65535, values);
        for (int c = 0; c < 3; ++c) tables[c][i] = values[c];
    }
}

/// Writes the six records of the cell at (i, j, k): for each channel the constant and the change along each axis.
void BakeCell(const ColorTable33& grid, int i, int j, int k, int shift, std::int32_t (&cell)[6][3][4]) {
    const int* corners[8];
    for (int at = 0; at < 8; ++at) {
        corners[at] = grid.Color[i + ICC_UNIT::StepX(at)][j + ICC_UNIT::StepY(at)][k + ICC_UNIT::StepZ(at)];
    }
    for (int record = 0; record < 6; ++record) {
        const auto& [x, y, z] = kTetrahedra[record];
        for (int channel = 0; channel < 3; ++channel) {
            std::int32_t(&coefficients)[4] = cell[record][channel];
            coefficients[0] = corners[0][channel] << shift;
            coefficients[1] = corners[x.to][channel] - corners[x.from][channel];
            coefficients[2] = corners[y.to][channel] - corners[y.from][channel];
            coefficients[3] = corners[z.to][channel] - corners[z.from][channel];
        }
    }
}

}  // namespace

void CIccEngineS::Set1DLutIn(const CLut16Type* lut) {
    const bool wide = Unit.InputSpace == ICCFILE::CsRGB_16;
    const std::size_t entries = wide ? 65536 : 256;
    const auto samples = std::make_unique_for_overwrite<unsigned short[]>(3 * entries);
    unsigned short* const tables[] = {&samples[0], &samples[entries], &samples[2 * entries]};
    SampleInputCurves(*lut, Unit.InputSpace, tables);

    InEntries = 0;
    std::unique_ptr<std::uint32_t[]>* const packed[] = {&Lut1DInR, &Lut1DInG, &Lut1DInB};
    for (int c = 0; c < 3; ++c) {
        *packed[c] = std::make_unique_for_overwrite<std::uint32_t[]>(entries);
        std::transform(tables[c], tables[c] + entries, packed[c]->get(),
                       [shift = Shift](unsigned short value) { return Pack(value, shift); });
    }
    InEntries = static_cast<int>(entries);
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

void CIccEngineS::Set1DLutOut(const CLut16Type*) {
    const ICC_UNIT::OutputSpace* const space = ICC_UNIT::FindOutputSpace(Unit.OutputSpace);
    const auto memory = std::make_unique_for_overwrite<ICC_UNIT::ToneTable[]>(1);
    ICC_UNIT::ToneTable& table = memory[0];
    std::iota(std::begin(table), std::end(table), 0);
    if (space != nullptr) space->tone(table);  // Kept: an unsupported space leaves identity tables
    for (auto* out : {Lut1DOutR, Lut1DOutG, Lut1DOutB}) std::copy(std::begin(table), std::end(table), out);
    if (space != nullptr) {
        Unit.BuildResult = space->result;
    } else {
        Refuse();
    }
}

}  // namespace ICC40::ICC_ENG_S4
