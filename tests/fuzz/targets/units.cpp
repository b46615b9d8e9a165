// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
//
// Tables of any shape in the units, compared with their references: the curves of input and output as they are
// expanded, the grid as it is loaded, resampled, shifted and converted to RGB.
#include <algorithm>
#include <array>
#include <memory>
#include <vector>

#include "FuzzInput.h"
#include "support/ReferenceUnits.h"
#include "support/Units.h"
#include "units/OutputTable33.h"

namespace hueweave::fuzz {
namespace {

using namespace ICC40::ICC_UNIT;
using namespace test;
using ICC40::ICCFILE::ColorSpaceSignature;

/// Numbers of entries of a curve, at the limits of the units and between them.
int DrawEntries(FuzzInput& input) {
    static constexpr int kEdges[] = {0, 1, 2, 3, 255, 256, 257, 4095, 4096};
    return input.Bool() ? kEdges[input.Below(9)] : input.Between(0, 4096);
}

/// A table of values that are not taken from the input byte by byte: scattered, rising, or only 0 and 65535.
ReferenceLut DrawLut(FuzzInput& input, int inputs, int outputs, int points, int inputEntries, int outputEntries) {
    ReferenceLut lut{inputs, outputs, points, inputEntries, outputEntries, {}, {}, {}};
    const std::size_t how = input.Below(3);
    Scatter scatter(input.U32());
    const auto fill = [&](std::vector<int>& table, int count, int row) {
        table.resize(AsIndex(count));
        for (int& value : table) value = static_cast<int>(how == 2 ? scatter.Below(2) * 65535 : scatter.Sample());
        for (auto at = table.begin(); how == 1 && row > 0 && at != table.end(); at += row) std::sort(at, at + row);
        // Starts with values from the input.
        for (std::size_t i = 0; i < table.size() && i < 6 && !input.Empty(); ++i) {
            table[i] = static_cast<int>(input.U16());
        }
    };
    fill(lut.input, inputs * inputEntries, inputEntries);
    fill(lut.grid, points * points * points * outputs, 0);
    fill(lut.output, outputs * outputEntries, outputEntries);
    return lut;
}

/// Compares the tables and curves of a unit, channel by channel, with those of its reference.
template <typename Unit, typename Reference>
void CheckTables(const Unit& unit, const Reference& reference) {
    for (std::size_t c = 0; c < reference.table.size(); ++c) {
        Require(std::equal(reference.table[c].begin(), reference.table[c].end(), unit.Lut16[c]), "table");
        Require(std::equal(reference.curve[c].begin(), reference.curve[c].end(), unit.Curve[c]), "curve");
    }
}

void CheckInput(FuzzInput& input) {
    const auto unit = std::make_unique<InputTable33>();
    ReferenceInput reference(3);
    for (std::size_t loads = 1 + input.Below(2); loads > 0; --loads) {
        const int inputs = input.Between(0, 3), entries = DrawEntries(input), space = input.Between(0, 6);
        const ReferenceLut lut = DrawLut(input, inputs, 1, 2, entries, 2);
        Require(unit->Initial(TagOf(lut).get(), static_cast<ColorSpaceSignature>(space)) == 0, "result of loading");
        reference.Load(lut, space);
        CheckTables(*unit, reference);
        Require(unit->Bits == reference.bits, "bits");
    }
}

void CheckNodes(const ColorTable33& unit, const ReferenceGrid& reference) {
    Require(unit.LUT_Size == reference.points && unit.LUT_Step == reference.step, "points");
    Require(unit.LUT_Shift == reference.shift && unit.LUT_Mask == reference.mask, "shift");
    Require(std::equal(reference.positions.begin(), reference.positions.end(), unit.LUT_Pos.get()), "positions");
    for (int n = 0; n < static_cast<int>(reference.nodes.size()); ++n) {
        const int k = n % reference.points, j = n / reference.points % reference.points;
        const auto& node = unit.Color[n / reference.points / reference.points][j][k];
        Require(std::equal(node, node + 7, reference.nodes[AsIndex(n)].begin()), "node");
    }
}

/// Offsets by any numbers, then Lab to RGB under any white point.
void CheckTransformed(ColorTable33& unit, const ReferenceLut& lut, ReferenceGrid& reference, FuzzInput& input) {
    const double lightness = input.Double(), chroma = input.Double(), hue = input.Double();
    if (input.Bool()) {
        Require(unit.Adjust_Lch(lightness, chroma, hue) == 0, "result of a shift");
        reference.Shift({lightness, chroma, hue});
        CheckNodes(unit, reference);
    }
    ICC40::ICCFILE::CXYZType white;
    Triple words{};
    for (std::size_t i = 0; i < 3; ++i) words[i] = white.rawXYZ[i] = input.Bool() ? input.U32() : 0x8000 + input.U16();
    const bool given = input.Bool();
    const int space = input.Between(6, 41), primaries = space < 20 || space > 31 ? 0 : (space - 16) / 4;
    const int results[4] = {space, 21, 25, 31};
    const auto asked = static_cast<ColorSpaceSignature>(space);
    Require(unit.Lab2RGB100_16(TagOf(lut).get(), asked, given ? &white : nullptr) == results[primaries], "result");
    ReferenceCurves curves;
    curves.Load(lut);
    reference.ToRgb(curves, given ? words : kUsualWhite, primaries);
    CheckNodes(unit, reference);
}

void CheckGrid(FuzzInput& input) {
    const int points = input.Between(2, 33), channels = input.Between(0, 7);
    const ReferenceLut lut = DrawLut(input, 3, channels, points, 2, input.Bool() ? 2 : input.Between(3, 40));
    const auto unit = std::make_unique<ColorTable37>();
    ReferenceGrid reference;
    Require(unit->Initial(TagOf(lut).get()) == 0, "result of loading");
    Require(unit->InChannels == 3 && unit->OutChannels == channels, "channels");
    reference.Load(lut);
    CheckNodes(*unit, reference);
    std::array<unsigned short, 7> s{};
    for (std::size_t c = 0; c < 3; ++c) s[c] = static_cast<unsigned short>(input.U16());
    const auto expected = reference.InterpolateFixed(s[0], s[1], s[2]);
    unit->Conversion(s[0], s[1], s[2], s[3], s[4], s[5], s[6]);
    Require(s == expected, "interpolation in integers");
    const int size = input.Between(-1, 35);
    Require(unit->TableResize(size) == 0, "result of resampling");
    if (size >= 2 && size <= 33) reference.Resize(size);
    CheckNodes(*unit, reference);
    ReferenceNode at{input.Between(0, 65535), input.Between(0, 65535), input.Between(0, 65535)}, v = at;
    unit->ColorTable33::Conversion(v[0], v[1], v[2], v[3], v[4], v[5], v[6]);
    Require(v == reference.InterpolateFloat(at[0], at[1], at[2]), "interpolation in floating point");
    if (input.Bool()) CheckTransformed(*unit, lut, reference, input);
}

/// Curves of a profile and of a caller, each over those before.
void CheckOutput(FuzzInput& input) {
    const auto unit = std::make_unique<OutputTable33>();
    ReferenceOutputs reference;
    for (std::size_t loads = 1 + input.Below(2); loads > 0; --loads) {
        if (input.Bool()) {
            const int outputs = input.Between(0, 7), entries = DrawEntries(input);
            const ReferenceLut lut = DrawLut(input, 1, outputs, 2, 2, entries);
            Require(unit->Initial(TagOf(lut).get()) == 0, "result of loading");
            reference.Load(lut);
        } else {
            const std::size_t count = input.Bool() ? 256 : input.Below(4097);
            const Bytes red = ScatteredBytes(count, input.U8()), green = ScatteredBytes(count, input.U8());
            const auto points = static_cast<int>(count);
            Require(unit->Initial(red.data(), green.data(), red.data(), points) == 0, "result of curves");
            reference.Load(red, green, red);
        }
        Require(unit->Channels == reference.channels && unit->Entries == reference.entries, "shape");
        Require(unit->Step == reference.step && unit->Span == reference.span, "step");
        CheckTables(*unit, reference);
    }
}

}  // namespace

void RunTarget(FuzzInput& input) {
    const std::size_t unit = input.Below(3);
    unit == 0 ? CheckInput(input) : unit == 1 ? CheckGrid(input) : CheckOutput(input);
}

}  // namespace hueweave::fuzz
