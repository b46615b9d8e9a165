// SPDX-License-Identifier: MIT
// The curves of a profile evaluated at single values, in place of the tables that the units would expand: every value
// of every shape, compared with the plain expansion.
#include "units/LutCurves.h"

#include <gtest/gtest.h>

#include "unit/units/UnitTables.h"

namespace hueweave::test {
namespace {

class LutCurves : public testing::TestWithParam<int> {
protected:
    int entries_ = GetParam();
};

TEST_P(LutCurves, InputCurvesMatchTheUnitAtEverySample) {
    for (int inputs = 0; inputs <= 3; ++inputs) {
        const TestLut lut = RandomLut({.inputs = inputs, .points = 2, .inputEntries = entries_});
        ReferenceInput plain(3);
        plain.Load(lut.plain, 1);
        const LutInputCurves curves(lut.tag);
        Words expanded[3], single[3];
        for (Words& table : expanded) table.resize(65536, 0xa5a5);
        curves.Expand({expanded[0].data(), expanded[1].data(), expanded[2].data()});
        for (int sample = 0; sample < 65536; ++sample) {
            unsigned short values[3] = {1, 2, 3};
            curves.At(sample, values);
            for (std::size_t c = 0; c < 3; ++c) single[c].push_back(values[c]);
        }
        SCOPED_TRACE(testing::Message() << inputs << " channels");
        ExpectRows(expanded, plain.table);
        ExpectRows(single, plain.table);
    }
}

void ExpectOutput(const LutOutputCurves& curves, const ReferenceOutputs& plain) {
    for (int c = 0; c < 3; ++c) {
        for (int value = 0; value < 65536; ++value) {
            ASSERT_EQ(curves.At(c, value), plain.table[AsIndex(c)][AsIndex(value)])
                << "channel " << c << " at " << value;
        }
    }
}

TEST_P(LutCurves, OutputCurvesMatchTheUnitAtEveryValue) {
    for (const int outputs : {0, 1, 2, 3, 7}) {
        SCOPED_TRACE(testing::Message() << outputs << " channels");
        const TestLut lut = RandomLut({.outputs = outputs, .points = 2, .outputEntries = entries_});
        ReferenceOutputs plain;
        plain.Load(lut.plain);
        ExpectOutput(LutOutputCurves(lut.tag), plain);
    }
}

TEST_P(LutCurves, CallerCurvesReplaceTheOutputCurves) {
    const TestLut lut = RandomLut({.outputs = 2, .points = 2, .outputEntries = entries_});
    for (const std::size_t count : {0U, 1U, 2U, 100U, 255U, 256U, 300U}) {
        SCOPED_TRACE(testing::Message() << count << " points");
        const auto points = RandomPoints(std::min<std::size_t>(count, 256));  // nothing past the 256th is read
        ReferenceOutputs plain;
        plain.Load(lut.plain);
        plain.Load(points[0], points[1], points[2]);
        LutOutputCurves curves(lut.tag);
        curves.Overlay({points[0].data(), points[1].data(), points[2].data()}, static_cast<int>(count));
        ExpectOutput(curves, plain);
    }
}

/// 34 and 67 have values with a whole quotient, for which a product would be slightly too small.
INSTANTIATE_TEST_SUITE_P(Entries, LutCurves,
                         testing::Values(0, 1, 2, 3, 4, 5, 16, 17, 33, 34, 67, 255, 256, 257, 1000, 4095, 4096));

}  // namespace
}  // namespace hueweave::test
