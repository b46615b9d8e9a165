// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
//
// What a constructor leaves in memory that held something else before, where a fresh page would hide what is not
// cleared; the types of the fields; and which operations a derived class can take over.
#include <gtest/gtest.h>

#include <memory>
#include <new>
#include <type_traits>

#include "unit/units/UnitHelpers.h"
#include "units/OutputTable33.h"
#include "units/WiderColorTables.h"
#include "units/WiderInputTables.h"

namespace hueweave::test {
namespace {

using ICC40::ICC_UNIT::ColorTable34;
using ICC40::ICC_UNIT::ColorTable36;
using ICC40::ICC_UNIT::ColorTable37;
using ICC40::ICC_UNIT::InputTable33;
using ICC40::ICC_UNIT::InputTable34;
using ICC40::ICC_UNIT::InputTable36;
using ICC40::ICC_UNIT::InputTable37;
using ICC40::ICC_UNIT::InputTable43;
using ICC40::ICC_UNIT::OutputTable33;

/// A unit in memory of which every byte was `kOld`.
template <typename Unit>
class InUsedMemory {
public:
    static constexpr unsigned char kOld = 0xa5;
    InUsedMemory() {
        volatile unsigned char* const bytes = memory_.get();  // no compiler may take these stores for useless
        for (std::size_t i = 0; i < sizeof(Unit); ++i) bytes[i] = kOld;
        unit_ = ::new (memory_.get()) Unit();
    }
    InUsedMemory(const InUsedMemory&) = delete;
    InUsedMemory& operator=(const InUsedMemory&) = delete;
    ~InUsedMemory() { unit_->~Unit(); }
    Unit* operator->() const { return unit_; }

private:
    std::unique_ptr<unsigned char[]> memory_{new unsigned char[sizeof(Unit)]};
    Unit* unit_;
};

template <typename Unit>
void ExpectClearedInput(const Unit& unit, const char* name) {
    EXPECT_STREQ(unit->UnitName, name);
    EXPECT_EQ(unit->Bits, 16) << name;
    for (const auto& row : unit->Lut16) ExpectRow(row, ConstantRow(65536, 0), std::string(name) + ", Lut16");
    for (const auto& row : unit->Curve) ExpectRow(row, ConstantRow(4096, 0), std::string(name) + ", Curve");
}

TEST(UsedMemory, InputTablesClearAllTheirTables) {
    ExpectClearedInput(InUsedMemory<InputTable33>(), "InputTable33");
    const InUsedMemory<InputTable34> four;
    const InUsedMemory<InputTable36> six;
    const InUsedMemory<InputTable37> seven;
    ExpectClearedInput(four, "InputTable34");
    ExpectClearedInput(six, "InputTable36");
    ExpectClearedInput(seven, "InputTable37");
    EXPECT_EQ(four->Buf, nullptr);
    EXPECT_EQ(six->Buf, nullptr);
    EXPECT_EQ(seven->Buf, nullptr);
}

TEST(UsedMemory, FourInputCurvesAreCleared) {
    const InUsedMemory<InputTable43> unit;
    EXPECT_STREQ(unit->UnitName, "InputTable43");
    EXPECT_EQ(unit->Bits, 16);
    for (const auto& row : unit->Curve) ExpectRow(row, ConstantRow(4096, 0), "Curve");
}

template <typename Unit>
void ExpectClearedGrid(const char* name) {
    const InUsedMemory<Unit> unit;
    EXPECT_STREQ(unit->UnitName, name);
    EXPECT_EQ(unit->LUT_Pos, nullptr) << name;
    ExpectRow(&unit->Color[0][0][0][0], ConstantRow(33 * 33 * 33 * 7, 0), std::string(name) + ", Color");
}

TEST(UsedMemory, EveryGridClearsItsNodes) {
    ExpectClearedGrid<ColorTable33>("ColorTable33");
    ExpectClearedGrid<ColorTable34>("ColorTable34");
    ExpectClearedGrid<ColorTable36>("ColorTable36");
    ExpectClearedGrid<ColorTable37>("ColorTable37");
}

TEST(UsedMemory, OutputTablesAreTheIdentity) {
    const InUsedMemory<OutputTable33> unit;
    EXPECT_STREQ(unit->UnitName, "OutputTable33");
    EXPECT_EQ(unit->OutputMode, 0);
    for (const auto& row : unit->Curve) ExpectRow(row, Ramp(4096), "Curve");
    for (const auto& row : unit->Lut16) ExpectRow(row, Ramp(65536), "Lut16");
}

/// The name outlives the unit, and all units of a class share it.
template <typename Unit>
void ExpectStaticName() {
    const char* name = std::make_unique<Unit>()->UnitName;
    EXPECT_EQ(name, std::make_unique<Unit>()->UnitName) << name;
}

TEST(UnitNames, AreStaticStrings) {
    static_assert(std::is_same_v<decltype(Base::UnitName), const char*>);
    ExpectStaticName<InputTable33>();
    ExpectStaticName<InputTable34>();
    ExpectStaticName<InputTable36>();
    ExpectStaticName<InputTable37>();
    ExpectStaticName<InputTable43>();
    ExpectStaticName<ColorTable33>();
    ExpectStaticName<ColorTable34>();
    ExpectStaticName<ColorTable36>();
    ExpectStaticName<ColorTable37>();
    ExpectStaticName<OutputTable33>();
}

// The name is the only field of the base, behind the pointer to the virtual operations.
static_assert(sizeof(Base) == 2 * sizeof(void*));

using Sample = unsigned short;
/// Each has two of the three conversions.
struct WithoutOneColour : Base {
    using Base::Conversion;
    int Conversion(unsigned char*, int) override { return 0; }
    int Conversion(Info*) override { return 0; }
};
struct WithoutABuffer : Base {
    using Base::Conversion;
    int Conversion(Sample&, Sample&, Sample&, Sample&, Sample&, Sample&, Sample&) override { return 0; }
    int Conversion(Info*) override { return 0; }
};
struct WithoutARun : Base {
    using Base::Conversion;
    int Conversion(Sample&, Sample&, Sample&, Sample&, Sample&, Sample&, Sample&) override { return 0; }
    int Conversion(unsigned char*, int) override { return 0; }
};
static_assert(std::is_abstract_v<WithoutOneColour> && std::is_abstract_v<WithoutABuffer> &&
                  std::is_abstract_v<WithoutARun>,
              "all three conversions are pure");

static_assert(std::is_same_v<decltype(InputTable33::LUT_Step), double> &&
              std::is_same_v<decltype(InputTable33::Curve), int[3][4096]> &&
              std::is_same_v<decltype(InputTable33::Lut16), int[3][65536]> &&
              std::is_same_v<decltype(InputTable33::Bits), int>);
static_assert(std::is_same_v<decltype(InputTable43::LUT_Step), double> &&
              std::is_same_v<decltype(InputTable43::Curve), int[4][4096]> &&
              std::is_same_v<decltype(InputTable43::Bits), int>);
static_assert(sizeof(InputTable43) < sizeof(InputTable43::Curve) + 64, "four curves have no expanded table");
// Owned in the array form, so that the destructor releases it so.
using OwnedBytes = std::unique_ptr<unsigned char[]>;
static_assert(std::is_same_v<decltype(InputTable34::Buf), OwnedBytes> &&
              std::is_same_v<decltype(InputTable36::Buf), OwnedBytes> &&
              std::is_same_v<decltype(InputTable37::Buf), OwnedBytes>);
static_assert(std::is_same_v<decltype(ColorTable33::LUT_Size33), const int> &&
              std::is_same_v<decltype(ColorTable33::LUT_Cell), const int>);
static_assert(std::is_same_v<decltype(ColorTable33::LUT_Pos), std::unique_ptr<int[]>> &&
              std::is_same_v<decltype(ColorTable33::LUT_Step), double> &&
              std::is_same_v<decltype(ColorTable33::LUT_Shift), int> &&
              std::is_same_v<decltype(ColorTable33::LUT_Mask), int> &&
              std::is_same_v<decltype(ColorTable33::LUT_Size), int> &&
              std::is_same_v<decltype(ColorTable33::InChannels), int> &&
              std::is_same_v<decltype(ColorTable33::OutChannels), int> &&
              std::is_same_v<decltype(ColorTable33::Color), int[33][33][33][7]>);
static_assert(std::is_same_v<decltype(OutputTable33::Step), double> &&
              std::is_same_v<decltype(OutputTable33::Span), double> &&
              std::is_same_v<decltype(OutputTable33::Channels), int> &&
              std::is_same_v<decltype(OutputTable33::Entries), int> &&
              std::is_same_v<decltype(OutputTable33::OutputMode), int> &&
              std::is_same_v<decltype(OutputTable33::Curve), int[7][4096]> &&
              std::is_same_v<decltype(OutputTable33::Lut16), int[7][65536]>);

TEST(UnitFields, TheBufferOfEachWiderInputTableStandsLast) {
    const auto six = std::make_unique<InputTable36>();
    const auto seven = std::make_unique<InputTable37>();
    EXPECT_GT(static_cast<const void*>(&six->Buf), static_cast<const void*>(&six->Bits));
    EXPECT_GT(static_cast<const void*>(&seven->Buf), static_cast<const void*>(&seven->Bits));
    EXPECT_EQ(sizeof(InputTable36), sizeof(InputTable34));
    EXPECT_EQ(sizeof(InputTable37), sizeof(InputTable34));
}

/// Nothing assigns the buffer, reads it or writes to it.
template <typename Unit>
void ExpectUnusedBuffer(int code) {
    const auto unit = std::make_unique<Unit>();
    unit->Buf = std::make_unique<unsigned char[]>(1);
    unit->Buf[0] = 0x5a;
    const unsigned char* const buffer = unit->Buf.get();
    const auto lut = MakeLut({.inputEntries = 5});
    for (int space : {0, 1, 2, 3}) unit->Initial(lut.get(), Space(space));
    unit->Initial(std::make_unique<InputTable33>().get());
    Job job(code, 3);
    EXPECT_EQ(unit->Conversion(&job.info), 0);
    unsigned short s[7] = {1, 2, 3, 4, 5, 6, 7};
    unit->Conversion(s[0], s[1], s[2], s[3], s[4], s[5], s[6]);
    EXPECT_EQ(unit->Buf.get(), buffer);
    EXPECT_EQ(buffer[0], 0x5a);
    const auto plain = std::make_unique<Unit>();
    for (int space : {0, 1, 2, 3}) plain->Initial(lut.get(), Space(space));
    EXPECT_EQ(plain->Buf, nullptr);
}

TEST(WiderInputTables, DoNotUseTheirBuffer) {
    ExpectUnusedBuffer<InputTable34>(259);
    ExpectUnusedBuffer<InputTable36>(261);
    ExpectUnusedBuffer<InputTable37>(263);
}

}  // namespace
}  // namespace hueweave::test
