// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
//
// Grids of every size and width compared with their reference: loading, resampling, both interpolations, runs of
// pixels; and the two transformations, whose results must be within their ranges.
#include <algorithm>
#include <memory>
#include <vector>

#include "Tables.h"
#include "units/WiderColorTables.h"

namespace hueweave::fuzz {
namespace {

bool Shifts(int points) { return points == 9 || points == 17 || points == 33; }

void CheckNodes(const ColorTable33& unit, const ReferenceGrid& reference) {
    Require(unit.LUT_Size == reference.points, "points");
    const int shift = reference.points == 17 ? 12 : reference.points == 9 ? 13 : 11;
    Require(unit.LUT_Shift == shift && unit.LUT_Mask == (1 << shift) - 1, "shift");
    for (int n = 0; n < static_cast<int>(reference.nodes.size()); ++n) {
        const int k = n % reference.points, j = n / reference.points % reference.points;
        const auto& node = unit.Color[n / reference.points / reference.points][j][k];
        Require(std::equal(node, node + 7, reference.nodes[AsIndex(n)].begin()), "node");
    }
}

/// Single values: in integers for the sizes that support it, in floating point for every size with known positions.
void CheckPoints(ColorTable33& unit, int outputs, const ReferenceGrid& reference, bool positions, FuzzInput& input) {
    for (int n = 0; n < 12; ++n) {
        int at[3];
        for (int& value : at) value = input.Between(0, 65535);
        if (Shifts(reference.points)) {
            Seven s{}, expected = reference.InterpolateFixed(at[0], at[1], at[2]);
            std::copy_n(at, 3, s.begin());
            std::fill(expected.begin() + outputs, expected.end(), static_cast<unsigned short>(0));
            Require(Converted(unit, s) == expected, "interpolation in integers");
        }
        ReferenceNode v{at[0], at[1], at[2], -1, -2, -3, -4};
        unit.ColorTable33::Conversion(v[0], v[1], v[2], v[3], v[4], v[5], v[6]);
        Require(!positions || v == reference.InterpolateFloat(at[0], at[1], at[2]), "interpolation in floating point");
    }
    // Positions out of range are clamped.
    int low[7] = {-1, input.Int(), 70000, 0, 0, 0, 0};
    unit.ColorTable33::Conversion(low[0], low[1], low[2], low[3], low[4], low[5], low[6]);
}

void CheckLoaded(ColorTable33& unit, int outputs, const ReferenceGrid& reference, FuzzInput& input) {
    CheckNodes(unit, reference);
    Require(unit.LUT_Step == reference.step, "step");
    Require(std::equal(reference.positions.begin(), reference.positions.end(), unit.LUT_Pos.get()), "positions");
    CheckPoints(unit, outputs, reference, true, input);
}

void CheckRun(ColorTable33& unit, int outputs, const ReferenceGrid& reference, FuzzInput& input) {
    if (!Shifts(reference.points)) return;
    Run run(input);
    run.Allocate(nullptr, nullptr);
    run.Scattered(input.U16());
    // The buffer has the unit's own number of samples per pixel, and at most the requested number of pixels is
    // converted.
    reference.Run(outputs, std::min(run.pixels, run.job.WorkCount / outputs), run.words);
    Require(unit.Conversion(&run.job) == 0, "result of a run");
    run.Check("samples of a run");
}

/// Nodes of any integers, which only integer interpolation supports.
void LoadNodes(ColorTable33& unit, ReferenceGrid& reference, FuzzInput& input) {
    static constexpr int kSizes[] = {9, 17, 33, 2, 0, -1, 34};
    const int size = kSizes[input.Below(7)];
    const bool taken = size >= 0 && size <= 33;
    std::vector<ReferenceNode> nodes(AsIndex(taken ? size * size * size : 0));
    Scatter scatter(input.U16());
    const bool wild = input.Bool();
    for (ReferenceNode& node : nodes) {
        for (int& value : node)
            value = static_cast<int>(wild ? scatter.Next() << 8 ^ scatter.Next() : scatter.Sample());
    }
    Require(unit.SetColorTable(nodes.empty() ? nullptr : nodes[0].data(), size) == 0, "result of nodes");
    if (!taken) return;
    reference.SetSize(size);
    reference.nodes = nodes;
}

/// Offsets by any numbers, then Lab to RGB under any white point, compared node by node with the plain arithmetic.
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
    const int space = input.Between(6, 41);
    const int primaries = space < 20 || space > 31 ? 0 : space < 24 ? 1 : space < 28 ? 2 : 3;
    const int results[4] = {space, 21, 25, 31};
    const auto tag = TagOf(lut);
    const auto asked = static_cast<ICC40::ICCFILE::ColorSpaceSignature>(space);
    Require(unit.Lab2RGB100_16(tag.get(), asked, given ? &white : nullptr) == results[primaries], "result");
    ReferenceCurves curves;
    curves.Load(lut);
    reference.ToRgb(curves, given ? words : kUsualWhite, primaries);
    CheckNodes(unit, reference);
}

}  // namespace

void RunTarget(FuzzInput& input) {
    const int outputs = DrawChannels(input);
    const int points = input.Between(2, 33), channels = input.Between(0, 7);
    const ReferenceLut lut = DrawLut(input, 3, channels, points, 2, input.Bool() ? 2 : input.Between(3, 40));
    const auto tag = TagOf(lut);
    const auto unit = MakeColorTable(outputs);
    ReferenceGrid reference;
    Require(unit->Initial(tag.get()) == 0, "result of loading");
    Require(unit->InChannels == 3 && unit->OutChannels == channels, "channels");
    reference.Load(lut);
    CheckLoaded(*unit, outputs, reference, input);
    if (input.Below(3) == 0) {
        const int size = input.Between(-1, 35);
        Require(unit->TableResize(size) == 0, "result of resampling");
        if (size >= 2 && size <= 33) reference.Resize(size);
        CheckLoaded(*unit, outputs, reference, input);
    }
    CheckRun(*unit, outputs, reference, input);
    CheckRun(*unit, outputs, reference, input);
    if (input.Below(4) == 0) {
        CheckTransformed(*unit, lut, reference, input);
    } else if (input.Below(4) == 0) {
        LoadNodes(*unit, reference, input);
        CheckNodes(*unit, reference);
        CheckPoints(*unit, outputs, reference, false, input);
        CheckRun(*unit, outputs, reference, input);
    }
}

}  // namespace hueweave::fuzz
