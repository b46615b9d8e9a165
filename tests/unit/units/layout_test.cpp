// SPDX-License-Identifier: MIT
// The units' shape: the class hierarchy, the order of virtual operations and fields, their types and names, and what a
// constructor clears; and that every unit runs the whole pixels of a job and changes no table.
#include <gtest/gtest.h>

#include <climits>
#include <new>
#include <type_traits>

#include "support/Layout.h"
#include "support/Matchers.h"
#include "unit/units/UnitTables.h"

namespace hueweave::test {
namespace {

using Sample = unsigned short;

static_assert(std::has_virtual_destructor_v<Base> && std::is_same_v<decltype(Base::UnitName), const char*>);
static_assert(sizeof(Base) == 2 * sizeof(void*), "the pointer to the virtual operations and the name");

template <typename Parent, typename... Units>
constexpr bool kAllFrom = (std::is_base_of_v<Parent, Units> && ...);
static_assert(kAllFrom<Base, InputTable33, InputTable43, ColorTable33, OutputTable33>);
static_assert(kAllFrom<InputTable33, InputTable34, InputTable36, InputTable37>);
static_assert(kAllFrom<ColorTable33, ColorTable34, ColorTable36, ColorTable37>);
static_assert(!std::is_base_of_v<InputTable33, InputTable43> && sizeof(InputTable43) < sizeof(InputTable43::Curve) + 64,
              "four curves have no expanded table");
static_assert(sizeof(ColorTable34) == sizeof(ColorTable33) && sizeof(ColorTable36) == sizeof(ColorTable33) &&
                  sizeof(ColorTable37) == sizeof(ColorTable33),
              "the wider grids have no field of their own");
static_assert(sizeof(InputTable36) == sizeof(InputTable34) && sizeof(InputTable37) == sizeof(InputTable34));

template <typename Type, typename... Fields>
constexpr bool kAllAre = (std::is_same_v<Type, Fields> && ...);
static_assert(kAllAre<double, decltype(InputTable33::LUT_Step), decltype(InputTable43::LUT_Step),
                      decltype(ColorTable33::LUT_Step), decltype(OutputTable33::Step), decltype(OutputTable33::Span)>);
static_assert(
    kAllAre<int, decltype(InputTable33::Bits), decltype(InputTable43::Bits), decltype(ColorTable33::LUT_Shift),
            decltype(ColorTable33::LUT_Mask), decltype(ColorTable33::LUT_Size), decltype(ColorTable33::InChannels),
            decltype(ColorTable33::OutChannels), decltype(OutputTable33::Channels), decltype(OutputTable33::Entries),
            decltype(OutputTable33::OutputMode)>);
static_assert(kAllAre<int[3][4096], decltype(InputTable33::Curve)> &&
              kAllAre<int[3][65536], decltype(InputTable33::Lut16)> &&
              kAllAre<int[4][4096], decltype(InputTable43::Curve)> &&
              kAllAre<int[33][33][33][7], decltype(ColorTable33::Color)> &&
              kAllAre<int[7][4096], decltype(OutputTable33::Curve)> &&
              kAllAre<int[7][65536], decltype(OutputTable33::Lut16)>);
// Owned as arrays, so that the destructor releases them with delete[].
static_assert(kAllAre<std::unique_ptr<unsigned char[]>, decltype(InputTable34::Buf), decltype(InputTable36::Buf),
                      decltype(InputTable37::Buf)> &&
              kAllAre<std::unique_ptr<int[]>, decltype(ColorTable33::LUT_Pos)>);
static_assert(kAllAre<const int, decltype(ColorTable33::LUT_Size33), decltype(ColorTable33::LUT_Cell)> &&
              ColorTable33::LUT_Size33 == 33 && ColorTable33::LUT_Cell == 2048);

template <typename Wide>
void ExpectInputInOrder() {
    const auto input = std::make_unique<Wide>();
    ExpectInOrder(
        {input.get(), &input->UnitName, &input->LUT_Step, input->Curve, input->Lut16, &input->Bits, &input->Buf});
}

TEST(UnitLayout, FieldsAreInOrder) {
    ExpectInputInOrder<InputTable34>();
    ExpectInputInOrder<InputTable36>();
    ExpectInputInOrder<InputTable37>();
    const auto four = std::make_unique<InputTable43>();
    ExpectInOrder({four.get(), &four->UnitName, &four->LUT_Step, four->Curve, &four->Bits});
    const auto grid = std::make_unique<ColorTable33>();
    ExpectInOrder({grid.get(), &grid->UnitName, &grid->LUT_Pos, &grid->LUT_Step, &grid->LUT_Shift, &grid->LUT_Mask,
                   &grid->LUT_Size, &grid->InChannels, &grid->OutChannels, grid->Color});
    const auto output = std::make_unique<OutputTable33>();
    ExpectInOrder({output.get(), &output->UnitName, &output->Step, &output->Span, &output->Channels, &output->Entries,
                   &output->OutputMode, output->Curve, output->Lut16});
}

TEST(UnitLayout, FurtherVirtualFunctionsFollowTheSharedOnes) {
    EXPECT_EQ(Member(&ColorTable33::Initial).Slot(), 5U);
    EXPECT_EQ(Member(&OutputTable33::Interpolation).Slot(), 5U);
    EXPECT_EQ(Member(static_cast<int (OutputTable33::*)(const CLut16Type*)>(&OutputTable33::Initial)).Slot(), 6U);
    EXPECT_EQ(Member(static_cast<int (OutputTable33::*)(const CLut8Type*)>(&OutputTable33::Initial)).Slot(), 7U);
}

TEST(UnitLayout, OtherOperationsAreNotVirtual) {
    using Byte = unsigned char;
    using Nodes7 = void (ColorTable33::*)(int&, int&, int&, int&, int&, int&, int&) const;
    using Curves = int (OutputTable33::*)(const Byte*, const Byte*, const Byte*, int);
    for (const Member& plain :
         {Member(static_cast<int (InputTable33::*)(const CLut16Type*, ColorSpaceSignature)>(&InputTable33::Initial)),
          Member(static_cast<int (InputTable33::*)(const InputTable33*)>(&InputTable33::Initial)),
          Member(&InputTable33::Change_Lut16_To_Lut8), Member(&InputTable33::Change_Lut16_To_Lab8),
          Member(&InputTable33::Change_Lut16_To_Lab16), Member(&InputTable43::Initial),
          Member(static_cast<Nodes7>(&ColorTable33::Conversion)), Member(&ColorTable33::SetColorTable),
          Member(&ColorTable33::TableResize), Member(&ColorTable33::Adjust_Lch), Member(&ColorTable33::Lab2RGB100_16),
          Member(&ColorTable33::Lab2RGB100_16_1D), Member(static_cast<Curves>(&OutputTable33::Initial)),
          Member(&OutputTable33::ResetTable), Member(&OutputTable33::KodakCurve),
          Member(&OutputTable33::OutputGamma100), Member(&OutputTable33::OutputRGB8),
          Member(&OutputTable33::OutputGamma_KodakPhoto_16)}) {
        EXPECT_FALSE(plain.IsVirtual());
    }
}

/// The properties of every unit, and the things that no unit does.
template <typename Unit>
class UnitBase : public testing::Test {
protected:
    static std::unique_ptr<Unit> Loaded() {
        const TestLut lut = RandomLut({.outputs = 7, .points = 9, .inputEntries = 17, .outputEntries = 33});
        auto unit = std::make_unique<Unit>();
        if constexpr (std::is_base_of_v<InputTable33, Unit>) {
            EXPECT_EQ(unit->Initial(&lut.tag, Space(1)), 0);
        } else {
            EXPECT_EQ(unit->Initial(&lut.tag), 0);
        }
        return unit;
    }
    static Bytes ImageOf(const Unit& unit) {
        const auto* const bytes = reinterpret_cast<const unsigned char*>(&unit);
        return Bytes(bytes, bytes + sizeof(Unit));
    }
    /// The name of the class without its namespaces.
    static std::string Name() {
        const std::string full = testing::internal::GetTypeName<Unit>();
        return full.substr(full.rfind(':') + 1);
    }
    /// Codes with the unit's channels and 16 bits on both sides.
    static std::vector<int> Codes() {
        if (std::is_same_v<Unit, OutputTable33>) return {514, 516, 518};
        const char digit = Name().back();
        return {digit == '3' ? 514 : digit == '4' ? 516 : digit == '6' ? 518 : 520};
    }
    /// Checks that the unit changes this number of pixels, in the working buffer or the destination, and the first
    /// ones.
    static void ExpectChanged(Base& unit, Job& job, int expected) {
        if (job.info.WorkBuf != nullptr) job.SetWork(Words(Job::Room(kPixels), Job::kMark16));
        std::ranges::fill(job.dest, Job::kMark);
        EXPECT_EQ(unit.Conversion(&job.info), 0);
        const auto* const dest = reinterpret_cast<const unsigned short*>(job.dest.data());
        const int channels = LayoutOf(job.info.FormatCode).channels;
        int changed = 0;
        for (int n = 0; n < kPixels * channels; ++n) {
            const bool inWork = job.info.WorkBuf != nullptr && job.info.WorkBuf[AsIndex(n)] != Job::kMark16;
            if (!inWork && dest[n] == Job::kMark16) continue;
            EXPECT_LE(n / channels, changed) << "pixels in between were left out";
            changed = n / channels + 1;
        }
        EXPECT_EQ(changed, expected);
    }
    static constexpr int kPixels = 5;
};

using Units = testing::Types<InputTable33, InputTable34, InputTable36, InputTable37, InputTable43, ColorTable33,
                             ColorTable34, ColorTable36, ColorTable37, OutputTable33>;
TYPED_TEST_SUITE(UnitBase, Units);

TYPED_TEST(UnitBase, HasItsConversionsBehindTheDestructors) {
    using OneColor = int (TypeParam::*)(Sample&, Sample&, Sample&, Sample&, Sample&, Sample&, Sample&);
    EXPECT_EQ(Member(static_cast<OneColor>(&TypeParam::Conversion)).Slot(), 2U);
    EXPECT_EQ(Member(static_cast<int (TypeParam::*)(unsigned char*, int)>(&TypeParam::Conversion)).Slot(), 3U);
    EXPECT_EQ(Member(static_cast<int (TypeParam::*)(Info*)>(&TypeParam::Conversion)).Slot(), 4U);
}

/// Uses memory with old content: a fresh page would hide what is not cleared.
TYPED_TEST(UnitBase, StartsClearedInUsedMemory) {
    const std::unique_ptr<unsigned char[]> memory(new unsigned char[sizeof(TypeParam)]);
    volatile unsigned char* const bytes = memory.get();  // prevents the compiler from removing these stores
    for (std::size_t i = 0; i < sizeof(TypeParam); ++i) bytes[i] = Job::kMark;
    auto* const unit = ::new (memory.get()) TypeParam();
    EXPECT_EQ(unit->UnitName, this->Name());
    EXPECT_EQ(unit->UnitName, std::make_unique<TypeParam>()->UnitName) << "static";
    if constexpr (std::is_base_of_v<ColorTable33, TypeParam>) {
        EXPECT_EQ(unit->LUT_Pos, nullptr);
        const int* const values = &unit->Color[0][0][0][0];
        EXPECT_THAT(std::vector<int>(values, values + 33 * 33 * 33 * 7), EqualTo(std::vector<int>(33 * 33 * 33 * 7)));
    } else if constexpr (std::is_same_v<OutputTable33, TypeParam>) {
        EXPECT_EQ(unit->OutputMode, 0);
        for (const auto& row : unit->Curve) EXPECT_THAT(row, EqualTo(Ramp(4096)));
        for (const auto& row : unit->Lut16) EXPECT_THAT(row, EqualTo(Ramp(65536)));
    } else {
        EXPECT_EQ(unit->Bits, 16);
        for (const auto& row : unit->Curve) EXPECT_THAT(row, EqualTo(std::vector<int>(4096)));
        if constexpr (std::is_base_of_v<InputTable33, TypeParam>) {
            for (const auto& row : unit->Lut16) EXPECT_THAT(row, EqualTo(std::vector<int>(65536)));
            EXPECT_EQ(Through(*unit, {0, 1, 65535, 4, 5, 6, 7}), (Seven{0, 0, 0, 4, 5, 6, 7})) << "no curves";
        }
    }
    unit->~TypeParam();
}

TYPED_TEST(UnitBase, ConversionChangesNeitherTablesNorJob) {
    const auto unit = this->Loaded();
    Base& base = *unit;
    const Bytes before = this->ImageOf(*unit);
    Bytes data = {1, 2, 3, 4, 5, 6, 7};
    for (const int count : {INT_MIN, -1, 0, 1, 2, INT_MAX}) {
        EXPECT_EQ(base.Conversion(data.data(), count), 0) << "Kept: an empty operation";
        EXPECT_EQ(base.Conversion(static_cast<unsigned char*>(nullptr), count), 0);
    }
    EXPECT_THAT(data, EqualsBytes(Bytes{1, 2, 3, 4, 5, 6, 7}));

    Job job(this->Codes()[0], 4);
    const auto run = RunOf(job.info);
    const unsigned short* const work = job.info.WorkBuf.get();
    EXPECT_EQ(base.Conversion(&job.info), 0);
    Seven s = {1, 20000, 65534, 4, 5, 6, 7};
    EXPECT_EQ(base.Conversion(s[0], s[1], s[2], s[3], s[4], s[5], s[6]), 0);
    EXPECT_THAT(this->ImageOf(*unit), EqualsBytes(before));
    EXPECT_EQ(job.info.FormatCode, this->Codes()[0]);
    EXPECT_EQ(job.info.WorkBuf.get(), work);
    EXPECT_EQ(RunOf(job.info), run);
}

/// Input tables need a source, output tables a destination, and all a working buffer.
TYPED_TEST(UnitBase, ConvertsTheWholePixelsOfTheJob) {
    constexpr bool kIsInput = std::is_base_of_v<InputTable33, TypeParam>;
    constexpr bool kIsOutput = std::is_same_v<OutputTable33, TypeParam>;
    if (std::is_same_v<InputTable43, TypeParam>) return;  // it has no pixel path
    const auto unit = this->Loaded();
    constexpr int kAll = TestFixture::kPixels;
    for (const int code : this->Codes()) {
        SCOPED_TRACE(code);
        const int channels = LayoutOf(code).channels;
        Job job(code, kAll);
        job.info.WorkCount = kAll * channels;  // no more than the pixels need
        this->ExpectChanged(*unit, job, kAll);
        job.info.Source = nullptr;
        this->ExpectChanged(*unit, job, kIsInput ? 0 : kAll);
        job.info.Source = job.source.data();
        job.info.Dest = nullptr;
        this->ExpectChanged(*unit, job, kIsOutput ? 0 : kAll);
        job.info.Dest = job.dest.data();
        const std::array<int, 3> rows[] = {{kAll - 1, 3 * channels - 1, 2},
                                           {1 << 30, 3 * channels - 1, 2},
                                           {INT_MIN, 100, 0},
                                           {-1, 100, 0},
                                           {0, 100, 0},
                                           {kAll, 0, 0},
                                           {kAll, -1, 0}};
        for (const auto& [pixels, samples, changed] : rows) {
            SCOPED_TRACE(testing::Message() << pixels << " pixels, " << samples << " samples");
            job.info.PixelCount = pixels;
            job.info.WorkCount = samples;
            this->ExpectChanged(*unit, job, changed);
        }
        job.info.PixelCount = kAll;
        job.info.WorkCount = kAll * channels;
        job.info.DeleteWorkingBuf();
        this->ExpectChanged(*unit, job, 0);
    }
}

}  // namespace
}  // namespace hueweave::test
