// SPDX-License-Identifier: MIT
// The library's facts about each output space, and the final forms of the output tables, each applied to fresh and to
// other tables, on all seven channels.
#include "units/OutputSpaces.h"

#include <gtest/gtest.h>

#include <limits>
#include <map>
#include <numeric>
#include <optional>

#include "support/Matchers.h"
#include "unit/units/UnitTables.h"

namespace hueweave::test {
namespace {

using ICC40::ICC_UNIT::FillByKodakLaw;
using ICC40::ICC_UNIT::FindOutputSpace;
using ICC40::ICC_UNIT::OutputSpace;
using ICC40::ICC_UNIT::ToneTable;

struct FormRow {
    Form form;
    const char* name;
    int (*run)(OutputTable33&, ColorSpaceSignature);
    int mode, result;  // a result of -1 means the argument
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
    {Form::Gamma100, "Gamma100", RunFor<&OutputTable33::OutputGamma100>, 1, -1},
    {Form::Gamma180, "Gamma180", RunFor<&OutputTable33::OutputGamma180>, 1, -1},
    {Form::Gamma180_16, "Gamma180_16", RunFor<&OutputTable33::OutputGamma180_16>, 0, -1},
    {Form::Srgb, "Srgb", Run<&OutputTable33::OutputGamma_sRGB>, 1, 8},
    {Form::Srgb_16, "Srgb_16", Run<&OutputTable33::OutputGamma_sRGB_16>, 0, 9},
    {Form::KodakPhoto, "KodakPhoto", Run<&OutputTable33::OutputGamma_KodakPhoto>, 1, 34},
    {Form::KodakPhoto_16, "KodakPhoto_16", Run<&OutputTable33::OutputGamma_KodakPhoto_16>, 0, 35},
    {Form::KodakMix, "KodakMix", Run<&OutputTable33::OutputGamma_KodakMix>, 1, 36},
    {Form::KodakMix_16, "KodakMix_16", Run<&OutputTable33::OutputGamma_KodakMix_16>, 1, 37},  // Kept: of 8 bits
    {Form::KodakText, "KodakText", Run<&OutputTable33::OutputGamma_KodakText>, 1, 38},
    {Form::KodakText_16, "KodakText_16", Run<&OutputTable33::OutputGamma_KodakText_16>, 0, 39},
    {Form::Rgb8, "Rgb8", Run<&OutputTable33::OutputRGB8>, 1, 0},
    {Form::Lab8, "Lab8", Run<&OutputTable33::OutputLab_8>, 1, 2},
    {Form::Lab16, "Lab16", Run<&OutputTable33::OutputLab_16>, 0, 3},
    {Form::Cmyk8, "Cmyk8", Run<&OutputTable33::OutputCMYK_8>, 3, 4},
    {Form::Cmyk16, "Cmyk16", Run<&OutputTable33::OutputCMYK_16>, 2, 5},
    {Form::Clr6_8, "Clr6_8", Run<&OutputTable33::OutputCLR6_8>, 5, 16},
    {Form::Clr6_16, "Clr6_16", Run<&OutputTable33::OutputCLR6_16>, 4, 17},
    {Form::Clr7_8, "Clr7_8", Run<&OutputTable33::OutputCLR7_8>, 7, 18},
    {Form::Clr7_16, "Clr7_16", Run<&OutputTable33::OutputCLR7_16>, 6, 19},
};
static_assert(std::size(kFormRows) == kForms);

class OutputForm : public testing::TestWithParam<FormRow> {
protected:
    /// Gives every entry a different value, equal in unit and reference, including values below 0 and above 65535.
    void ScatterTables() {
        Lcg random(1);
        for (std::size_t c = 0; c < 7; ++c) {
            for (int& entry : plain_.table[c]) entry = random.Sample() * 9 - 200000;
            std::ranges::copy(plain_.table[c], unit_->Lut16[c]);
        }
    }
    void ExpectTables() const {
        for (std::size_t c = 0; c < 7; ++c) {
            EXPECT_THAT(unit_->Curve[c], EqualTo(plain_.curve[c])) << "curve " << c;
            EXPECT_THAT(unit_->Lut16[c], EqualTo(plain_.table[c])) << "table " << c;
        }
    }
    /// Applies the form to the unit and to the reference.
    void RunBoth(int space) {
        unit_->OutputMode = 99;
        EXPECT_EQ(GetParam().run(*unit_, Space(space)), GetParam().result < 0 ? space : GetParam().result);
        EXPECT_EQ(unit_->OutputMode, GetParam().mode);
        plain_.Apply(GetParam().form, space);
        ExpectTables();
    }
    std::unique_ptr<OutputTable33> unit_ = std::make_unique<OutputTable33>();
    ReferenceOutputs plain_;
};

/// Kept: forms assume fresh tables: a second call shifts or flips again.
TEST_P(OutputForm, AgreesOnFreshTablesAndTheSecondTime) {
    RunBoth(22);
    RunBoth(-7);
}

TEST_P(OutputForm, AgreesOnAnyTablesAndLeavesTheFieldsOfTheCurves) {
    ScatterTables();
    unit_->Step = 1.5;
    unit_->Span = 2.5;
    unit_->Channels = 8;
    unit_->Entries = 9;
    RunBoth(65535);
    EXPECT_EQ(unit_->Step, 1.5);
    EXPECT_EQ(unit_->Span, 2.5);
    EXPECT_EQ(unit_->Channels, 8);
    EXPECT_EQ(unit_->Entries, 9);
}

INSTANTIATE_TEST_SUITE_P(All, OutputForm, testing::ValuesIn(kFormRows),
                         [](const auto& row) { return std::string(row.param.name); });

/// Worked out with 40 digits. Kept: exponents of 0.5556 and 0.4167, a toe up to 0.00304 that is truncated with 16 bits,
/// and a 16-bit mixed curve that gives 8-bit values without an offset.
constexpr struct {
    Form form;
    int row, entry, value;
} kEntries[] = {
    {Form::Gamma100, 2, 65535, 255},
    {Form::Gamma180, 0, 32768, 174},  // 44588.69 plus half a step: 174.7
    {Form::Gamma180, 2, 65535, 255},  // 65535 + 128 exceeds 65535
    {Form::Gamma180_16, 1, 32768, 44589},
    {Form::Srgb, 1, 9, 0},                 // 9 x 12.92 + 128 = 244.28
    {Form::Srgb, 1, 10, 1},                // 10 x 12.92 + 128 = 257.2
    {Form::Srgb, 1, 32768, 188},           // 48190.75
    {Form::Srgb_16, 1, 199, 2571},         // 2571.08, the last of the toe: 0.00304 x 65535 = 199.2
    {Form::Srgb_16, 1, 200, 2583},         // 2583.44
    {Form::KodakPhoto, 0, 1024, 26},       // 26.99
    {Form::KodakPhoto_16, 0, 1, 6},        // 6.62: the line starts at 0
    {Form::KodakPhoto_16, 0, 1023, 6774},  // 6774.29
    {Form::KodakPhoto_16, 0, 1024, 6908},  // the power law, plus half a step of 8 bits: 6908.91
    {Form::KodakMix, 0, 512, 0},
    {Form::KodakMix, 0, 1280, 14},       // 14.86
    {Form::KodakMix, 0, 2048, 30},       // 30.21
    {Form::KodakMix_16, 0, 2048, 24},    // 24.60
    {Form::KodakMix_16, 0, 30000, 150},  // 150.76
    {Form::KodakText, 2, 2048, 0},
    {Form::KodakText, 2, 10240, 65},   // 65.32
    {Form::KodakText, 2, 60000, 255},  // the law exceeds the range before its end
    {Form::KodakText_16, 2, 2049, 2},  // 2.03
    {Form::KodakText_16, 2, 10240, 16722},
    {Form::Lab8, 1, 32768, 0},  // neutral
    {Form::Lab8, 2, 0, 128},    // -128
    {Form::Lab16, 2, 0, 32768},
    {Form::Cmyk8, 3, 65535, 255},
    {Form::Clr7_8, 6, 65535, 255},
};

TEST(OutputForms, HaveTheseEntries) {
    const auto unit = std::make_unique<OutputTable33>();
    std::optional<Form> last;
    for (const auto& [form, row, entry, value] : kEntries) {
        const FormRow& operation = kFormRows[static_cast<std::size_t>(form)];
        ASSERT_EQ(operation.form, form);
        if (last != form) unit->ResetTable();
        if (last != form) operation.run(*unit, Space(22));
        last = form;
        EXPECT_EQ(unit->Lut16[row][entry], value) << operation.name << ", row " << row << ", entry " << entry;
    }
}

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
        for (std::size_t row = 0; row < 7; ++row) EXPECT_THAT(unit->Lut16[row], EqualTo(plain.table[row])) << row;
        EXPECT_EQ(unit->OutputMode, 6);
        memory[0][65535] = -7;
        FillByKodakLaw(memory[0], {low, high, a, b, c});
        EXPECT_THAT(memory[0], EqualTo(plain.table[0]));
    }
}

/// Primaries (0 is sRGB, 1 AdobeRGB, 2 AppleRGB, 3 ColorMatchRGB), width, result, and the form of fresh output tables,
/// none for the identity.
struct SpaceFacts {
    int primaries, bits, result;
    std::optional<Form> form;
};
const std::map<int, SpaceFacts> kSpaceFacts = {
    {8, {0, 8, 8, Form::Srgb}},         {9, {0, 16, 9, Form::Srgb_16}},
    {10, {0, 8, 10, Form::Gamma100}},   {11, {0, 16, 11, std::nullopt}},
    {12, {0, 8, 8, Form::Srgb}},        {13, {0, 16, 9, Form::Srgb_16}},
    {20, {1, 8, 20, Form::Gamma100}},   {21, {1, 16, 21, std::nullopt}},
    {22, {1, 8, 22, Form::Gamma180}},   {23, {1, 16, 23, Form::Gamma180_16}},
    {24, {2, 8, 24, Form::Gamma100}},   {25, {2, 16, 25, std::nullopt}},
    {26, {2, 8, 26, Form::Gamma180}},   {27, {2, 16, 27, Form::Gamma180_16}},
    {28, {3, 8, 28, Form::Gamma100}},   {29, {3, 16, 29, std::nullopt}},
    {30, {3, 8, 30, Form::Gamma180}},   {31, {3, 16, 31, Form::Gamma180_16}},
    {34, {0, 8, 34, Form::KodakPhoto}}, {35, {0, 16, 35, Form::KodakPhoto_16}},
    {36, {0, 8, 36, Form::KodakMix}},   {37, {0, 8, 37, Form::KodakMix_16}},
    {38, {0, 8, 38, Form::KodakText}},  {39, {0, 16, 39, Form::KodakText_16}},
};

TEST(OutputSpaces, HaveARowEachAndNothingElseHasOne) {
    std::vector<int> numbers = {65535, 65536 + 8, std::numeric_limits<int>::max(), std::numeric_limits<int>::min()};
    for (int number = -2; number <= 300; ++number) numbers.push_back(number);
    for (const int number : numbers) {
        SCOPED_TRACE(number);
        const OutputSpace* const row = FindOutputSpace(Space(number));
        const auto facts = kSpaceFacts.find(number);
        ASSERT_EQ(row != nullptr, facts != kSpaceFacts.end());
        if (row == nullptr) continue;
        EXPECT_EQ(row->space, number);
        EXPECT_EQ(row->primaries, facts->second.primaries);
        EXPECT_EQ(row->bits, facts->second.bits);
        EXPECT_EQ(row->result, facts->second.result);
    }
}

TEST(OutputSpaces, TurnTheIdentityIntoTheirSamples) {
    const auto memory = std::make_unique<ToneTable[]>(1);
    ToneTable& table = memory[0];
    for (const auto& [number, facts] : kSpaceFacts) {
        std::iota(std::begin(table), std::end(table), 0);
        FindOutputSpace(Space(number))->tone(table);
        ReferenceOutputs expected;
        if (facts.form) expected.Apply(*facts.form, number);
        EXPECT_THAT(table, EqualTo(expected.table[0])) << number;
    }
}

}  // namespace
}  // namespace hueweave::test
