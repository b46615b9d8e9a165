// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
//
// What the library knows about each output space, beside a list written by hand, and what a tone curve does to a table.
#include "units/OutputSpaces.h"

#include <gtest/gtest.h>

#include <limits>
#include <map>
#include <memory>
#include <numeric>
#include <optional>
#include <string>

#include "support/ReferenceUnits.h"
#include "unit/units/UnitHelpers.h"

namespace hueweave::test {
namespace {

using ICC40::ICC_UNIT::FillByKodakLaw;
using ICC40::ICC_UNIT::FindOutputSpace;
using ICC40::ICC_UNIT::OutputSpace;
using ICC40::ICC_UNIT::ToneTable;

/// Primaries (0 stands for sRGB, 1 for AdobeRGB, 2 for AppleRGB, 3 for ColorMatchRGB), width, result, and the form of
/// fresh output tables, none for the identity.
struct Facts {
    int primaries, bits, result;
    std::optional<Form> form;
};
const std::map<int, Facts> kFacts = {
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
    for (int number = -2; number <= 300; ++number) {
        const OutputSpace* const row = FindOutputSpace(Space(number));
        const auto facts = kFacts.find(number);
        ASSERT_EQ(row != nullptr, facts != kFacts.end()) << number;
        if (row == nullptr) continue;
        EXPECT_EQ(row->space, number);
        EXPECT_EQ(row->primaries, facts->second.primaries) << number;
        EXPECT_EQ(row->bits, facts->second.bits) << number;
        EXPECT_EQ(row->result, facts->second.result) << number;
    }
    for (const int number : {65535, 65536 + 8, std::numeric_limits<int>::max(), std::numeric_limits<int>::min()}) {
        EXPECT_EQ(FindOutputSpace(Space(number)), nullptr) << number;
    }
}

TEST(OutputSpaces, TurnTheIdentityIntoTheirSamples) {
    const auto memory = std::make_unique<ToneTable[]>(1);
    ToneTable& table = memory[0];
    for (const auto& [number, facts] : kFacts) {
        std::iota(std::begin(table), std::end(table), 0);
        FindOutputSpace(Space(number))->tone(table);
        ReferenceOutputs expected;
        if (facts.form) expected.Apply(*facts.form, number);
        ExpectRow(table, expected.table[0], std::to_string(number));
    }
}

TEST(KodakLaws, LeaveTheLastEntry) {
    const auto memory = std::make_unique<ToneTable[]>(1);
    memory[0][65535] = -7;
    FillByKodakLaw(memory[0], {0, 1024, 1.2, 0.0, 2.2});
    EXPECT_EQ(memory[0][65535], -7);
    EXPECT_EQ(memory[0][0], 0);
}

}  // namespace
}  // namespace hueweave::test
