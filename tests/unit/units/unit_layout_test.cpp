// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
//
// The units' shape: who derives from whom, the order of the virtual operations and of the fields.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <memory>
#include <string>
#include <type_traits>
#include <vector>

#include "units/OutputTable33.h"
#include "units/WiderColorTables.h"
#include "units/WiderInputTables.h"

namespace hueweave::test {
namespace {

using ICC40::ICC_UNIT::Base;
using ICC40::ICC_UNIT::ColorTable33;
using ICC40::ICC_UNIT::ColorTable34;
using ICC40::ICC_UNIT::ColorTable36;
using ICC40::ICC_UNIT::ColorTable37;
using ICC40::ICC_UNIT::Info;
using ICC40::ICC_UNIT::InputTable33;
using ICC40::ICC_UNIT::InputTable34;
using ICC40::ICC_UNIT::InputTable36;
using ICC40::ICC_UNIT::InputTable37;
using ICC40::ICC_UNIT::InputTable43;
using ICC40::ICC_UNIT::OutputTable33;
using ICC40::ICCFILE::CLut16Type;
using ICC40::ICCFILE::CLut8Type;

using Sample = unsigned short;

static_assert(std::is_abstract_v<Base> && std::has_virtual_destructor_v<Base>);
template <typename Parent, typename... Units>
constexpr bool kAllFrom = (std::is_base_of_v<Parent, Units> && ...);
static_assert(kAllFrom<Base, InputTable33, InputTable43, ColorTable33, OutputTable33>);
static_assert(kAllFrom<InputTable33, InputTable34, InputTable36, InputTable37>);
static_assert(kAllFrom<ColorTable33, ColorTable34, ColorTable36, ColorTable37>);
static_assert(!std::is_base_of_v<InputTable33, InputTable43>, "four curves have no expanded table");
static_assert(sizeof(ColorTable34) == sizeof(ColorTable33) && sizeof(ColorTable36) == sizeof(ColorTable33) &&
                  sizeof(ColorTable37) == sizeof(ColorTable33),
              "the wider grids have no field of their own");

/// Place of a virtual operation in the table of its class; the two destructors stand at 0 and 1.
template <typename Member>
std::uintptr_t SlotOf(Member member) {
    std::uintptr_t words[2];
    static_assert(sizeof member == sizeof words);
    std::memcpy(words, &member, sizeof words);
    return words[0] / sizeof(void*);  // the lowest bit may mark a virtual operation
}

template <typename Unit>
void ExpectSharedSlots() {
    using One = int (Unit::*)(Sample&, Sample&, Sample&, Sample&, Sample&, Sample&, Sample&);
    using Buffer = int (Unit::*)(unsigned char*, int);
    using Run = int (Unit::*)(Info*);
    EXPECT_EQ(SlotOf(static_cast<One>(&Unit::Conversion)), 2U);
    EXPECT_EQ(SlotOf(static_cast<Buffer>(&Unit::Conversion)), 3U);
    EXPECT_EQ(SlotOf(static_cast<Run>(&Unit::Conversion)), 4U);
}

TEST(UnitSlots, ThreeConversionsFollowTheDestructors) {
    ExpectSharedSlots<Base>();
    ExpectSharedSlots<InputTable33>();
    ExpectSharedSlots<InputTable34>();
    ExpectSharedSlots<InputTable36>();
    ExpectSharedSlots<InputTable37>();
    ExpectSharedSlots<InputTable43>();
    ExpectSharedSlots<ColorTable33>();
    ExpectSharedSlots<ColorTable34>();
    ExpectSharedSlots<ColorTable36>();
    ExpectSharedSlots<ColorTable37>();
    ExpectSharedSlots<OutputTable33>();
}

TEST(UnitSlots, FurtherOperationsFollowTheSharedOnes) {
    using Load16 = int (ColorTable33::*)(const CLut16Type*);
    EXPECT_EQ(SlotOf(static_cast<Load16>(&ColorTable33::Initial)), 5U);
    EXPECT_EQ(SlotOf(&OutputTable33::Interpolation), 5U);
    using OutputLoad16 = int (OutputTable33::*)(const CLut16Type*);
    using OutputLoad8 = int (OutputTable33::*)(const CLut8Type*);
    EXPECT_EQ(SlotOf(static_cast<OutputLoad16>(&OutputTable33::Initial)), 6U);
    EXPECT_EQ(SlotOf(static_cast<OutputLoad8>(&OutputTable33::Initial)), 7U);
}

/// Addresses in the order in which the fields are declared.
void ExpectInOrder(const std::vector<const void*>& fields) {
    for (std::size_t n = 1; n < fields.size(); ++n) {
        EXPECT_LT(reinterpret_cast<std::uintptr_t>(fields[n - 1]), reinterpret_cast<std::uintptr_t>(fields[n])) << n;
    }
}

TEST(UnitFields, StandInTheirOrder) {
    const auto input = std::make_unique<InputTable34>();
    ExpectInOrder(
        {input.get(), &input->UnitName, &input->LUT_Step, input->Curve, input->Lut16, &input->Bits, &input->Buf});
    const auto four = std::make_unique<InputTable43>();
    ExpectInOrder({four.get(), &four->UnitName, &four->LUT_Step, four->Curve, &four->Bits});
    const auto grid = std::make_unique<ColorTable33>();
    ExpectInOrder({grid.get(), &grid->UnitName, &grid->LUT_Pos, &grid->LUT_Step, &grid->LUT_Shift, &grid->LUT_Mask,
                   &grid->LUT_Size, &grid->InChannels, &grid->OutChannels, grid->Color});
    const auto output = std::make_unique<OutputTable33>();
    ExpectInOrder({output.get(), &output->UnitName, &output->Step, &output->Span, &output->Channels, &output->Entries,
                   &output->OutputMode, output->Curve, output->Lut16});
}

TEST(UnitFields, HaveTheirExtents) {
    EXPECT_EQ(sizeof(InputTable33::Curve), 3U * 4096 * 4);
    EXPECT_EQ(sizeof(InputTable33::Lut16), 3U * 65536 * 4);
    EXPECT_EQ(sizeof(InputTable43::Curve), 4U * 4096 * 4);
    EXPECT_EQ(sizeof(ColorTable33::Color), 33U * 33 * 33 * 7 * 4);
    EXPECT_EQ(sizeof(OutputTable33::Curve), 7U * 4096 * 4);
    EXPECT_EQ(sizeof(OutputTable33::Lut16), 7U * 65536 * 4);
}

TEST(UnitNames, AreTheClassesOwn) {
    const std::unique_ptr<Base> units[] = {std::make_unique<InputTable33>(), std::make_unique<InputTable34>(),
                                           std::make_unique<InputTable36>(), std::make_unique<InputTable37>(),
                                           std::make_unique<InputTable43>(), std::make_unique<ColorTable33>(),
                                           std::make_unique<ColorTable34>(), std::make_unique<ColorTable36>(),
                                           std::make_unique<ColorTable37>(), std::make_unique<OutputTable33>()};
    const char* const names[] = {"InputTable33", "InputTable34", "InputTable36", "InputTable37", "InputTable43",
                                 "ColorTable33", "ColorTable34", "ColorTable36", "ColorTable37", "OutputTable33"};
    for (std::size_t n = 0; n < std::size(names); ++n) EXPECT_STREQ(units[n]->UnitName, names[n]);
}

}  // namespace
}  // namespace hueweave::test
