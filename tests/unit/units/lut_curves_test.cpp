// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
//
// The curves of a profile at single values, which stand for the tables that the units would expand: every value of
// every shape, beside the plain expansion.
#include "units/LutCurves.h"

#include <gtest/gtest.h>

#include "support/ReferenceUnits.h"
#include "unit/color/NaiveLch.h"
#include "unit/units/PlainLuts.h"
#include "unit/units/UnitHelpers.h"

namespace hueweave::test {
namespace {

using ICC40::ICC_UNIT::LutInputCurves;
using ICC40::ICC_UNIT::LutOutputCurves;

/// With 34 and 67 there are values whose quotient is whole, where a product would fall short of it.
constexpr int kEntries[] = {0, 1, 2, 3, 4, 5, 16, 17, 33, 34, 67, 255, 256, 257, 1000, 4095, 4096};

class LutCurves : public testing::TestWithParam<int> {
protected:
    int entries_ = GetParam();
};

TEST_P(LutCurves, OfTheInputAreThoseOfTheUnitAtEverySample) {
    for (int inputs = 0; inputs <= 3; ++inputs) {
        const auto lut = MakeLut({.inputs = inputs, .inputEntries = entries_}, 51);
        ReferenceInput plain(3);
        plain.Load(PlainOf(*lut), 1);
        const LutInputCurves curves(*lut);
        std::vector<unsigned short> expanded[3];
        for (auto& table : expanded) table.resize(65536, 0xa5a5);
        curves.Expand({expanded[0].data(), expanded[1].data(), expanded[2].data()});
        for (int sample = 0; sample < 65536; ++sample) {
            unsigned short values[3] = {1, 2, 3};
            curves.At(sample, values);
            for (std::size_t c = 0; c < 3; ++c) {
                const auto at = static_cast<std::size_t>(sample);
                ASSERT_EQ(values[c], plain.table[c][at]) << inputs << " channels, " << c << " at " << sample;
                ASSERT_EQ(expanded[c][at], plain.table[c][at]) << inputs << " channels, " << c << " at " << sample;
            }
        }
    }
}

void ExpectOutput(const LutOutputCurves& curves, const ReferenceOutputs& plain, const std::string& what) {
    for (int c = 0; c < 3; ++c) {
        for (int value = 0; value < 65536; ++value) {
            ASSERT_EQ(curves.At(c, value), plain.table[static_cast<std::size_t>(c)][static_cast<std::size_t>(value)])
                << what << ", channel " << c << " at " << value;
        }
    }
}

TEST_P(LutCurves, OfTheOutputAreThoseOfTheUnitAtEveryValue) {
    for (int outputs = 0; outputs <= 7; ++outputs) {
        const auto lut = MakeLut({.outputs = outputs, .outputEntries = entries_}, 52);
        ReferenceOutputs plain;
        plain.Load(PlainOf(*lut));
        ExpectOutput(LutOutputCurves(*lut), plain, std::to_string(outputs) + " channels");
    }
}

TEST_P(LutCurves, OfACallerAreLaidOverThoseOfTheOutput) {
    for (const std::size_t count :
         {std::size_t{0}, std::size_t{1}, std::size_t{2}, std::size_t{100}, std::size_t{255}, std::size_t{256}}) {
        Bytes points[3];
        Scatter scatter(53);
        for (Bytes& curve : points) {
            for (std::size_t n = 0; n < count; ++n) curve.push_back(static_cast<unsigned char>(scatter.Next() & 255));
            curve.reserve(1);
        }
        const auto lut = MakeLut({.outputs = 2, .outputEntries = entries_}, 54);
        ReferenceOutputs plain;
        plain.Load(PlainOf(*lut));
        plain.Load(points[0], points[1], points[2]);
        LutOutputCurves curves(*lut);
        curves.Overlay({points[0].data(), points[1].data(), points[2].data()}, static_cast<int>(count));
        ExpectOutput(curves, plain, std::to_string(count) + " points");
    }
}

/// The grid's road to RGB through curves of every shape, at the ends of their scale too.
TEST_P(LutCurves, OfEveryShapeLeadToRgb) {
    for (int outputs : {0, 1, 2, 3, 4, 7}) {
        const auto lut = MakeLut({.outputs = outputs, .outputEntries = entries_}, 55);
        ReferenceOutputs plain;
        plain.Load(PlainOf(*lut));
        Nodes nodes = ScatteredNodes(5, 56);
        const int ends[] = {0, 1, 65279, 65280, 65533, 65534, 65535};
        for (std::size_t n = 0; n < std::size(ends); ++n) {
            nodes[n] = {ends[n], 32768, 32768};
            nodes[n + 10] = {40000, ends[n], 32768};
            nodes[n + 20] = {40000, 32768, ends[n]};
            nodes[n + 30] = {ends[n], ends[n], ends[n]};
        }
        const auto grid = MakeGrid(5, nodes);
        EXPECT_EQ(grid->Lab2RGB100_16(lut.get(), Space(9), nullptr), 9);
        for (auto& node : nodes) {
            int t[3];
            for (std::size_t c = 0; c < 3; ++c) t[c] = plain.table[c][static_cast<std::size_t>(node[c])] & 0xffff;
            const Triple rgb = NaiveLabToRGB(
                {t[0] * 100.0 / 65280.0, (t[1] - 32768) * 0.00390625, (t[2] - 32768) * 0.00390625}, kUsualWhite, 0);
            for (std::size_t c = 0; c < 3; ++c) node[c] = static_cast<int>(rgb[c]) << 8;
        }
        ExpectNodes(*grid, 5, nodes);
    }
}

INSTANTIATE_TEST_SUITE_P(Entries, LutCurves, testing::ValuesIn(kEntries));

}  // namespace
}  // namespace hueweave::test
