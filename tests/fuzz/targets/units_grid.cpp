// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
//
// Grids of every size and width beside their reference: loading, resampling, both interpolations, runs of pixels; and
// the two transformations, whose results have to lie where they may.
#include <algorithm>
#include <array>
#include <cmath>
#include <memory>
#include <vector>

#include "Tables.h"
#include "unit/color/NaiveLch.h"
#include "units/Info.h"
#include "units/WiderColorTables.h"

using namespace hueweave::fuzz;
using namespace ICC40::ICC_UNIT;
using hueweave::test::PlainLut;
using hueweave::test::PlainNode;
using hueweave::test::ReferenceGrid;
using hueweave::test::Triple;
using hueweave::test::Words;

namespace {

std::unique_ptr<ColorTable33> MakeUnit(int outputs) {
    if (outputs == 3) return std::make_unique<ColorTable33>();
    if (outputs == 4) return std::make_unique<ColorTable34>();
    if (outputs == 6) return std::make_unique<ColorTable36>();
    return std::make_unique<ColorTable37>();
}

bool Shifts(int points) { return points == 9 || points == 17 || points == 33; }

void CheckNodes(const ColorTable33& unit, const ReferenceGrid& reference) {
    Require(unit.LUT_Size == reference.points, "points");
    const int shift = reference.points == 17 ? 12 : reference.points == 9 ? 13 : 11;
    Require(unit.LUT_Shift == shift && unit.LUT_Mask == (1 << shift) - 1, "shift");
    for (int i = 0; i < reference.points; ++i) {
        for (int j = 0; j < reference.points; ++j) {
            for (int k = 0; k < reference.points; ++k) {
                const PlainNode& node = reference.Node(i, j, k);
                Require(std::equal(node.begin(), node.end(), unit.Color[i][j][k]), "node");
            }
        }
    }
}

void CheckPositions(const ColorTable33& unit, const ReferenceGrid& reference) {
    Require(unit.LUT_Step == reference.step, "step");
    for (std::size_t n = 0; n < reference.positions.size(); ++n) {
        Require(unit.LUT_Pos[n] == reference.positions[n], "position");
    }
}

/// Single values: integers for the sizes that have them, broken ones for every size whose positions are known.
void CheckPoints(ColorTable33& unit, int outputs, const ReferenceGrid& reference, bool positions, FuzzInput& input) {
    for (int n = 0; n < 12; ++n) {
        int at[3];
        for (int& value : at) value = input.Between(0, 65535);
        if (Shifts(reference.points)) {
            unsigned short s[7] = {};
            for (int c = 0; c < 3; ++c) s[c] = static_cast<unsigned short>(at[c]);
            unit.Conversion(s[0], s[1], s[2], s[3], s[4], s[5], s[6]);
            const auto expected = reference.Whole(at[0], at[1], at[2]);
            for (std::size_t c = 0; c < 7; ++c) {
                Require(s[c] == (c < static_cast<std::size_t>(outputs) ? expected[c] : 0), "whole fractions");
            }
        }
        int v[7] = {at[0], at[1], at[2], -1, -2, -3, -4};
        unit.ColorTable33::Conversion(v[0], v[1], v[2], v[3], v[4], v[5], v[6]);
        if (positions) {
            const PlainNode expected = reference.Broken(at[0], at[1], at[2]);
            Require(std::equal(expected.begin(), expected.end(), v), "broken fractions");
        }
    }
    // Positions outside the scale are limited to it.
    int low[7] = {-1, input.Int(), 70000, 0, 0, 0, 0};
    unit.ColorTable33::Conversion(low[0], low[1], low[2], low[3], low[4], low[5], low[6]);
}

void CheckRun(ColorTable33& unit, int outputs, const ReferenceGrid& reference, FuzzInput& input) {
    if (!Shifts(reference.points)) return;
    const int code = DrawCode(input), pixels = input.Between(-2, 60);
    Info job;
    job.FormatCode = code;
    job.CheckWorkingBuf(nullptr, nullptr, pixels);
    const auto samples = static_cast<std::size_t>(job.WorkCount);
    Scatter scatter(input.U16());
    for (std::size_t i = 0; i < samples; ++i) job.WorkBuf[i] = static_cast<unsigned short>(scatter.Sample());
    Words expected(job.WorkBuf.get(), job.WorkBuf.get() + samples);
    // Pixels that the unit's own number of samples makes of the buffer, and no more than were asked for.
    const int whole = std::min(std::max(pixels, 0), static_cast<int>(samples) / outputs);
    reference.Run(outputs, whole, expected);
    Require(unit.Conversion(&job) == 0, "result of a run");
    Require(std::equal(expected.begin(), expected.end(), job.WorkBuf.get()), "samples of a run");
}

/// Nodes of any integers, which only the whole fractions can work with.
void LoadNodes(ColorTable33& unit, ReferenceGrid& reference, FuzzInput& input) {
    static constexpr int kSizes[] = {9, 17, 33, 2, 0, -1, 34};
    const int size = kSizes[input.Below(7)];
    const bool taken = size >= 0 && size <= 33;
    const auto side = static_cast<std::size_t>(taken ? size : 0);
    std::vector<int> nodes(side * side * side * 7);
    Scatter scatter(input.U16());
    const bool wild = input.Bool();
    for (int& value : nodes) value = static_cast<int>(wild ? scatter.Next() << 8 ^ scatter.Next() : scatter.Sample());
    Require(unit.SetColorTable(nodes.data(), size) == 0, "result of nodes");
    if (!taken) return;
    reference.SetSize(size);
    reference.nodes.clear();
    for (std::size_t n = 0; n < nodes.size(); n += 7) {
        PlainNode node{};
        std::copy_n(nodes.begin() + static_cast<std::ptrdiff_t>(n), 7, node.begin());
        reference.nodes.push_back(node);
    }
}

std::vector<PlainNode> NodesOf(const ColorTable33& unit) {
    std::vector<PlainNode> nodes;
    for (int i = 0; i < unit.LUT_Size; ++i) {
        for (int j = 0; j < unit.LUT_Size; ++j) {
            for (int k = 0; k < unit.LUT_Size; ++k) {
                nodes.emplace_back();
                std::copy_n(unit.Color[i][j][k], 7, nodes.back().begin());
            }
        }
    }
    return nodes;
}

/// Cut toward zero; what is no number is 0, what an int cannot hold its limit.
int ToInt(double value) {
    if (std::isnan(value)) return 0;
    return static_cast<int>(std::clamp(value, -2147483648.0, 2147483647.0));
}
/// A limit to 0..100 that takes what is no number for 0.
double Percent(double value) { return value > 100.0 ? 100.0 : value >= 0.0 ? value : 0.0; }

Triple LabOf(const std::array<int, 3>& word) {
    return {(word[0] & 0xffff) * 100.0 / 65280.0, ((word[1] & 0xffff) - 32768) * 0.00390625,
            ((word[2] & 0xffff) - 32768) * 0.00390625};
}

PlainNode Shifted(const PlainNode& node, const Triple& shift) {
    const Triple lab = LabOf({node[0], node[1], node[2]});
    const auto polar = hueweave::test::NaiveChromaHue(lab[1], lab[2]);
    const double light = Percent(lab[0] + shift[0]), chroma = Percent(polar[0] + shift[1]);
    const auto ab = hueweave::test::NaiveAB(chroma, hueweave::test::NaiveAdjust({0, 0, polar[1]}, 0, 0, shift[2])[2]);
    PlainNode result = node;
    result[0] = ToInt(light * 65280.0 / 100.0) & 0xffff;
    result[1] = ToInt(256.0 * ab[0] + 32768.0) & 0xffff;
    result[2] = ToInt(256.0 * ab[1] + 32768.0) & 0xffff;
    return result;
}

/// A shift by any numbers, then Lab to RGB under any white, node by node beside the plain arithmetic.
void CheckTransformed(ColorTable33& unit, const PlainLut& lut, FuzzInput& input) {
    std::vector<PlainNode> nodes = NodesOf(unit);
    const double lightness = input.Double(), chroma = input.Double(), hue = input.Double();
    if (input.Bool()) {
        Require(unit.Adjust_Lch(lightness, chroma, hue) == 0, "result of a shift");
        for (PlainNode& node : nodes) node = Shifted(node, {lightness, chroma, hue});
        Require(NodesOf(unit) == nodes, "nodes after a shift");
    }
    ICC40::ICCFILE::CXYZType white;
    for (auto& word : white.rawXYZ) word = input.Bool() ? input.U32() : 0x8000 + input.U16();
    const bool given = input.Bool();
    const auto& w = white.rawXYZ;
    const Triple words = given ? Triple{static_cast<double>(w[0]), static_cast<double>(w[1]), static_cast<double>(w[2])}
                               : hueweave::test::kUsualWhite;
    const int space = input.Between(6, 41);
    const int primaries = space < 20 || space > 31 ? 0 : space < 24 ? 1 : space < 28 ? 2 : 3;
    const int results[4] = {space, 21, 25, 31};
    const auto tag = TagOf(lut);
    const auto asked = static_cast<ICC40::ICCFILE::ColorSpaceSignature>(space);
    Require(unit.Lab2RGB100_16(tag.get(), asked, given ? &white : nullptr) == results[primaries], "result");
    hueweave::test::ReferenceOutputs curves;
    curves.Load(lut);
    for (PlainNode& node : nodes) {
        std::array<int, 3> word{};
        for (std::size_t c = 0; c < 3; ++c) word[c] = curves.table[c][static_cast<std::size_t>(node[c] & 0xffff)];
        const Triple rgb = hueweave::test::NaiveLabToRGB(LabOf(word), words, primaries);
        for (std::size_t c = 0; c < 3; ++c) node[c] = static_cast<int>(rgb[c]) << 8;
    }
    Require(NodesOf(unit) == nodes, "nodes in RGB");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static constexpr int kOutputs[] = {3, 4, 6, 7};
    FuzzInput input(data, size);
    const int outputs = kOutputs[input.Below(4)];
    const int points = input.Between(2, 33), channels = input.Between(0, 7);
    const PlainLut lut = DrawLut(input, 3, channels, points, 2, input.Bool() ? 2 : input.Between(3, 40));
    const auto tag = TagOf(lut);
    const auto unit = MakeUnit(outputs);
    ReferenceGrid reference;
    Require(unit->Initial(tag.get()) == 0, "result of loading");
    Require(unit->InChannels == 3 && unit->OutChannels == channels, "channels");
    reference.Load(lut);
    CheckNodes(*unit, reference);
    CheckPositions(*unit, reference);
    CheckPoints(*unit, outputs, reference, true, input);
    if (input.Below(3) == 0) {
        const int size2 = input.Between(-1, 35);
        Require(unit->TableResize(size2) == 0, "result of resampling");
        if (size2 >= 2 && size2 <= 33) reference.Resize(size2);
        CheckNodes(*unit, reference);
        CheckPositions(*unit, reference);
        CheckPoints(*unit, outputs, reference, true, input);
    }
    CheckRun(*unit, outputs, reference, input);
    CheckRun(*unit, outputs, reference, input);
    if (input.Below(4) == 0) {
        CheckTransformed(*unit, lut, input);
        return 0;
    }
    if (input.Below(4) == 0) {
        LoadNodes(*unit, reference, input);
        CheckNodes(*unit, reference);
        CheckPoints(*unit, outputs, reference, false, input);
        CheckRun(*unit, outputs, reference, input);
    }
    return 0;
}
