// SPDX-License-Identifier: MIT
// The library's facts about each output space, and the final forms of the output tables, each applied to fresh and to
// other tables, on all seven channels.
#include "units/OutputSpaces.h"

#include <gtest/gtest.h>

#include <numeric>

#include "support/ReferencePipeline.h"
#include "unit/units/UnitTables.h"

namespace hueweave::test {
namespace {

struct FormRow {
    Form form;
    const char* name;
    int (*run)(OutputTable33&, ColorSpaceSignature);
};
void PrintTo(const FormRow& row, std::ostream* out) { *out << row.name; }

template <int (OutputTable33::*operation)()>
int Run(OutputTable33& unit, ColorSpaceSignature) {
    return (unit.*operation)();
}
template <int (OutputTable33::*operation)(ColorSpaceSignature)>
int RunFor(OutputTable33& unit, ColorSpaceSignature space) {
    return (unit.*operation)(space);
}

const FormRow kFormRows[] = {
    {Form::Gamma100, "Gamma100", RunFor<&OutputTable33::OutputGamma100>},
    {Form::Gamma180, "Gamma180", RunFor<&OutputTable33::OutputGamma180>},
    {Form::Gamma180_16, "Gamma180_16", RunFor<&OutputTable33::OutputGamma180_16>},
    {Form::Srgb, "Srgb", Run<&OutputTable33::OutputGamma_sRGB>},
    {Form::Srgb_16, "Srgb_16", Run<&OutputTable33::OutputGamma_sRGB_16>},
    {Form::KodakPhoto, "KodakPhoto", Run<&OutputTable33::OutputGamma_KodakPhoto>},
    {Form::KodakPhoto_16, "KodakPhoto_16", Run<&OutputTable33::OutputGamma_KodakPhoto_16>},
    {Form::KodakMix, "KodakMix", Run<&OutputTable33::OutputGamma_KodakMix>},
    {Form::KodakMix_16, "KodakMix_16", Run<&OutputTable33::OutputGamma_KodakMix_16>},
    {Form::KodakText, "KodakText", Run<&OutputTable33::OutputGamma_KodakText>},
    {Form::KodakText_16, "KodakText_16", Run<&OutputTable33::OutputGamma_KodakText_16>},
    {Form::Rgb8, "Rgb8", Run<&OutputTable33::OutputRGB8>},
    {Form::Lab8, "Lab8", Run<&OutputTable33::OutputLab_8>},
    {Form::Lab16, "Lab16", Run<&OutputTable33::OutputLab_16>},
    {Form::Cmyk8, "Cmyk8", Run<&OutputTable33::OutputCMYK_8>},
    {Form::Cmyk16, "Cmyk16", Run<&OutputTable33::OutputCMYK_16>},
    {Form::Clr6_8, "Clr6_8", Run<&OutputTable33::OutputCLR6_8>},
    {Form::Clr6_16, "Clr6_16", Run<&OutputTable33::OutputCLR6_16>},
    {Form::Clr7_8, "Clr7_8", Run<&OutputTable33::OutputCLR7_8>},
    {Form::Clr7_16, "Clr7_16", Run<&OutputTable33::OutputCLR7_16>},
};
static_assert(std::size(kFormRows) == kForms);

class OutputForm : public testing::TestWithParam<FormRow> {
protected:
    /// Applies the form to the unit and to the reference.
    void RunBoth(int space) {
        unit_->OutputMode = 99;
        const int result = GetParam().run(*unit_, Space(space));
        EXPECT_EQ(result, plain_.Apply(GetParam().form, space));
        EXPECT_EQ(unit_->OutputMode, plain_.mode);
        ExpectTables(*unit_, plain_);
    }
    std::unique_ptr<OutputTable33> unit_ = std::make_unique<OutputTable33>();
    ReferenceOutputs plain_;
};

/// Kept: forms assume fresh tables: a second call shifts or flips again.
TEST_P(OutputForm, MatchesTheReferenceOnFreshTablesAndTheSecondTime) {
    RunBoth(22);
    RunBoth(-7);
}

TEST_P(OutputForm, MatchesTheReferenceOnAnyTablesAndKeepsTheCurveFields) {
    Scatter(unit_->Lut16, plain_.table);
    FieldsOf(*unit_) = kOddFields;
    RunBoth(65535);
    auto expected = kOddFields;
    std::get<4>(expected) = plain_.mode;
    EXPECT_EQ(FieldsOf(*unit_), expected);
}

INSTANTIATE_TEST_SUITE_P(All, OutputForm, testing::ValuesIn(kFormRows),
                         [](const auto& row) { return std::string(row.param.name); });

/// Entry 65535 and the tables after the third stay unchanged.
TEST(KodakCurve, FollowsItsArguments) {
    const struct {
        int low, high;
        double a, b, c;
    } laws[] = {{0, 1024, 1.2, 0.0, 2.2},     {0, 1, 1.0, 0.0, 1.0},         {100, 65535, 1.0, 0.0, 2.0},
                {5000, 5001, 3.0, -0.5, 1.5}, {20000, 40000, 0.5, 1.0, 2.0}, {300, 200, 1.0, 0.1, 2.2},
                {-50, 700, 1.5, 0.2, 2.2},    {-10, 0, 1.0, 0.0, 2.2},       {10, 60000, 1.0, -5.0, 1.0}};
    const auto memory = std::make_unique<ToneTable[]>(1);
    for (const auto& [low, high, a, b, c] : laws) {
        SCOPED_TRACE(testing::Message() << low << " " << high << " " << a << " " << b << " " << c);
        const auto unit = std::make_unique<OutputTable33>();
        ReferenceOutputs plain;
        for (std::size_t row = 0; row < 7; ++row) plain.table[row][65535] = unit->Lut16[row][65535] = -7;
        unit->OutputMode = 6;
        unit->KodakCurve(low, high, a, b, c);
        plain.Kodak(low, high, a, b, c);
        ExpectTables(*unit, plain);
        EXPECT_EQ(unit->OutputMode, 6);
        memory[0][65535] = -7;
        FillByKodakLaw(memory[0], {low, high, a, b, c});
        EXPECT_THAT(memory[0], EqualTo(plain.table[0]));
    }
}

/// A space that is none has the identity and no result.
TEST(OutputSpace, HasItsPropertiesAndToneCurve) {
    const auto memory = std::make_unique<ToneTable[]>(1);
    ToneTable& table = memory[0];
    std::vector<int> numbers = {65535, 65536 + 8, INT_MAX, INT_MIN};
    for (int number = -2; number <= 300; ++number) numbers.push_back(number);
    for (const int number : numbers) {
        SCOPED_TRACE(number);
        const OutputSpace* const row = FindOutputSpace(Space(number));
        const ReferenceOutput expected = OutputStage(number);
        ASSERT_EQ(row != nullptr, expected.result != 65535);
        if (row == nullptr) continue;
        EXPECT_EQ(row->space, number);
        EXPECT_EQ(row->primaries, PrimariesOf(number));
        EXPECT_EQ(row->bits, number % 2 == 0 || number == 37 ? 8 : 16) << "Kept: the mixed curve of 37 has 8 bits";
        EXPECT_EQ(row->result, expected.result);
        std::iota(std::begin(table), std::end(table), 0);
        row->tone(table);
        EXPECT_TRUE(std::ranges::equal(table, expected.tables[0]));
    }
}

}  // namespace
}  // namespace hueweave::test
