// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
//
// The final forms of the output tables, each on fresh and on scattered tables, over all seven channels.
#include <gtest/gtest.h>

#include <cmath>

#include "support/ReferenceUnits.h"
#include "unit/units/UnitHelpers.h"
#include "units/OutputTable33.h"

namespace hueweave::test {
namespace {

using ICC40::ICC_UNIT::OutputTable33;

struct Operation {
    Form form;
    const char* name;
    int (*run)(OutputTable33&, ColorSpaceSignature);
    int mode, result;  // a result of -1: the argument
    friend std::ostream& operator<<(std::ostream& out, const Operation& operation) { return out << operation.name; }
};

#define HUEWEAVE_OPERATION(form, name, mode, result)                                              \
    Operation {                                                                                   \
        form, #name, [](OutputTable33& t, ColorSpaceSignature) { return t.name(); }, mode, result \
    }

const Operation kOperations[] = {
    {Form::Gamma100, "OutputGamma100", [](OutputTable33& t, ColorSpaceSignature s) { return t.OutputGamma100(s); }, 1,
     -1},
    {Form::Gamma180, "OutputGamma180", [](OutputTable33& t, ColorSpaceSignature s) { return t.OutputGamma180(s); }, 1,
     -1},
    {Form::Gamma180_16, "OutputGamma180_16",
     [](OutputTable33& t, ColorSpaceSignature s) { return t.OutputGamma180_16(s); }, 0, -1},
    HUEWEAVE_OPERATION(Form::Srgb, OutputGamma_sRGB, 1, 8),
    HUEWEAVE_OPERATION(Form::Srgb_16, OutputGamma_sRGB_16, 0, 9),
    HUEWEAVE_OPERATION(Form::KodakPhoto, OutputGamma_KodakPhoto, 1, 34),
    HUEWEAVE_OPERATION(Form::KodakPhoto_16, OutputGamma_KodakPhoto_16, 0, 35),
    HUEWEAVE_OPERATION(Form::KodakMix, OutputGamma_KodakMix, 1, 36),
    HUEWEAVE_OPERATION(Form::KodakMix_16, OutputGamma_KodakMix_16, 1, 37),
    HUEWEAVE_OPERATION(Form::KodakText, OutputGamma_KodakText, 1, 38),
    HUEWEAVE_OPERATION(Form::KodakText_16, OutputGamma_KodakText_16, 0, 39),
    HUEWEAVE_OPERATION(Form::Rgb8, OutputRGB8, 1, 0),
    HUEWEAVE_OPERATION(Form::Lab8, OutputLab_8, 1, 2),
    HUEWEAVE_OPERATION(Form::Lab16, OutputLab_16, 0, 3),
    HUEWEAVE_OPERATION(Form::Cmyk8, OutputCMYK_8, 3, 4),
    HUEWEAVE_OPERATION(Form::Cmyk16, OutputCMYK_16, 2, 5),
    HUEWEAVE_OPERATION(Form::Clr6_8, OutputCLR6_8, 5, 16),
    HUEWEAVE_OPERATION(Form::Clr6_16, OutputCLR6_16, 4, 17),
    HUEWEAVE_OPERATION(Form::Clr7_8, OutputCLR7_8, 7, 18),
    HUEWEAVE_OPERATION(Form::Clr7_16, OutputCLR7_16, 6, 19),
};
#undef HUEWEAVE_OPERATION
static_assert(std::size(kOperations) == kForms);

void ExpectReference(const OutputTable33& unit, const ReferenceOutputs& plain) {
    for (std::size_t c = 0; c < 7; ++c) {
        ExpectRow(unit.Curve[c], plain.curve[c], "curve " + std::to_string(c));
        ExpectRow(unit.Lut16[c], plain.table[c], "table " + std::to_string(c));
    }
}

void Scatter7(OutputTable33& unit, ReferenceOutputs& plain, std::uint32_t seed) {
    Scatter scatter(seed);
    for (std::size_t c = 0; c < 7; ++c) {
        for (std::size_t i = 0; i < 65536; ++i) plain.table[c][i] = unit.Lut16[c][i] = scatter.Next() * 9 - 200000;
    }
}

class OutputForm : public testing::TestWithParam<Operation> {
protected:
    /// Runs the form on the unit and on the reference.
    void Run(int space) {
        unit_->OutputMode = 99;
        EXPECT_EQ(GetParam().run(*unit_, Space(space)), GetParam().result < 0 ? space : GetParam().result);
        EXPECT_EQ(unit_->OutputMode, GetParam().mode);
        plain_.Apply(GetParam().form, space);
        ExpectReference(*unit_, plain_);
    }
    std::unique_ptr<OutputTable33> unit_ = std::make_unique<OutputTable33>();
    ReferenceOutputs plain_;
};

TEST_P(OutputForm, OfFreshTables) { Run(22); }

TEST_P(OutputForm, OfAnyTables) {
    Scatter7(*unit_, plain_, 1);
    Run(65535);
}

TEST_P(OutputForm, Twice) {
    Run(10);
    Run(-7);
}

TEST_P(OutputForm, LeavesTheFieldsOfTheCurves) {
    unit_->Step = 1.5;
    unit_->Span = 2.5;
    unit_->Channels = 8;
    unit_->Entries = 9;
    Run(1);
    EXPECT_EQ(unit_->Step, 1.5);
    EXPECT_EQ(unit_->Span, 2.5);
    EXPECT_EQ(unit_->Channels, 8);
    EXPECT_EQ(unit_->Entries, 9);
}

INSTANTIATE_TEST_SUITE_P(All, OutputForm, testing::ValuesIn(kOperations));

/// A form on fresh tables.
std::unique_ptr<OutputTable33> With(int (OutputTable33::*form)()) {
    auto unit = std::make_unique<OutputTable33>();
    ((*unit).*form)();
    return unit;
}

TEST(OutputFormEnds, Gamma180) {
    const auto bytes = std::make_unique<OutputTable33>(), words = std::make_unique<OutputTable33>();
    bytes->OutputGamma180(Space(22));
    words->OutputGamma180_16(Space(23));
    for (int c = 0; c < 3; ++c) {
        EXPECT_EQ(bytes->Lut16[c][0], 0);
        EXPECT_EQ(bytes->Lut16[c][65535], 255) << "65535 + 128 lies above 65535";
        EXPECT_EQ(words->Lut16[c][0], 0);
        EXPECT_EQ(words->Lut16[c][65535], 65535);
    }
    // 65535 x 0.5^0.5556 = 44588.69, from a calculator.
    EXPECT_EQ(words->Lut16[0][32768], 44589);
    EXPECT_EQ(bytes->Lut16[0][32768], 174);
}

TEST(OutputFormEnds, Srgb) {
    const auto bytes = With(&OutputTable33::OutputGamma_sRGB), words = With(&OutputTable33::OutputGamma_sRGB_16);
    EXPECT_EQ(words->Lut16[1][65535], 65535);
    EXPECT_EQ(bytes->Lut16[1][65535], 255);
    EXPECT_EQ(words->Lut16[1][0], 0);
    // 0.00304 x 65535 = 199.2: entry 199 is the last of the straight line, cut and not rounded.
    EXPECT_EQ(words->Lut16[1][199], 2571) << "199 x 12.92 = 2571.08";
    EXPECT_EQ(words->Lut16[1][3], 38) << "3 x 12.92 = 38.76";
    EXPECT_EQ(bytes->Lut16[1][9], 0) << "9 x 12.92 + 128 = 244.28";
    EXPECT_EQ(bytes->Lut16[1][10], 1) << "10 x 12.92 + 128 = 257.2";
}

TEST(OutputFormEnds, KodakPhotoStartsItsRampAtOne) {
    const auto unit = With(&OutputTable33::OutputGamma_KodakPhoto_16);
    const double top = std::pow(1024 / 65535.0, 1.2 / 2.2) * 65535.0;
    EXPECT_EQ(unit->Lut16[0][0], 0);
    for (int i = 1; i < 1024; ++i) {
        // On the straight line from 0 to the power law's value at 1024, without a rounding term.
        ASSERT_NEAR(unit->Lut16[0][i] + 0.5, top * i / 1024, 0.5 + 1e-6) << i;
    }
    EXPECT_EQ(unit->Lut16[0][1024], static_cast<int>(top + 128.0));
    EXPECT_EQ(unit->Lut16[0][65535], 65535);
}

TEST(OutputFormEnds, KodakTextIsBlackUpTo2048) {
    const auto bytes = With(&OutputTable33::OutputGamma_KodakText),
               words = With(&OutputTable33::OutputGamma_KodakText_16);
    for (int i = 0; i <= 2048; ++i) {
        ASSERT_EQ(bytes->Lut16[2][i], 0);
        ASSERT_EQ(words->Lut16[2][i], 0);
    }
    EXPECT_GT(words->Lut16[2][2049], 0);
    // 10^(0.3 / 2.2) lifts the law above the scale well before its end.
    EXPECT_EQ(words->Lut16[2][60000], 65535);
    EXPECT_EQ(bytes->Lut16[2][60000], 255);
}

TEST(OutputFormEnds, TheKodakMixedCurvesAreTwoDifferentTablesOfBytes) {
    const auto bytes = With(&OutputTable33::OutputGamma_KodakMix),
               words = With(&OutputTable33::OutputGamma_KodakMix_16);
    int differing = 0;
    for (int i = 0; i < 65536; ++i) {
        ASSERT_LE(bytes->Lut16[0][i], 255);
        ASSERT_LE(words->Lut16[0][i], 255);
        if (bytes->Lut16[0][i] != words->Lut16[0][i]) ++differing;
    }
    EXPECT_GT(differing, 50000);
    EXPECT_EQ(words->OutputMode, 1);
}

TEST(OutputFormEnds, LabBytesAreSigned) {
    const auto unit = With(&OutputTable33::OutputLab_8);
    EXPECT_EQ(unit->Lut16[0][65280], 255);
    EXPECT_EQ(unit->Lut16[1][32768], 0) << "neutral";
    EXPECT_EQ(unit->Lut16[2][0], 128) << "-128";
    EXPECT_EQ(unit->Lut16[2][65535], 127);
    EXPECT_EQ(unit->Lut16[3][65535], 65535);
}

struct Line {
    int low, high;
    double a, b, c;
};

class KodakLine : public testing::TestWithParam<Line> {};

TEST_P(KodakLine, FollowsItsArguments) {
    const Line line = GetParam();
    const auto unit = std::make_unique<OutputTable33>();
    ReferenceOutputs plain;
    Scatter7(*unit, plain, 2);
    unit->OutputMode = 6;
    unit->KodakCurve(line.low, line.high, line.a, line.b, line.c);
    plain.Kodak(line.low, line.high, line.a, line.b, line.c);
    ExpectReference(*unit, plain);  // entry 65535 and the four other tables are those from before
    EXPECT_EQ(unit->OutputMode, 6);
}

INSTANTIATE_TEST_SUITE_P(Arguments, KodakLine,
                         testing::Values(Line{0, 1024, 1.2, 0.0, 2.2}, Line{0, 1, 1.0, 0.0, 1.0},
                                         Line{100, 65535, 1.0, 0.0, 2.0}, Line{5000, 5001, 3.0, -0.5, 1.5},
                                         Line{20000, 40000, 0.5, 1.0, 2.0}, Line{300, 200, 1.0, 0.1, 2.2},
                                         Line{-50, 700, 1.5, 0.2, 2.2}, Line{-10, 0, 1.0, 0.0, 2.2},
                                         Line{10, 60000, 1.0, -5.0, 1.0}));

}  // namespace
}  // namespace hueweave::test
