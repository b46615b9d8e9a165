// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
//
// What the units do not do: print, read their names or the profile's matrix, change while pixels run through them, or
// share anything with each other.
#include <gtest/gtest.h>

#include <climits>

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

template <typename Unit>
std::vector<unsigned char> Image(const Unit& unit) {
    const auto* const bytes = reinterpret_cast<const unsigned char*>(&unit);
    return std::vector<unsigned char>(bytes, bytes + sizeof(Unit));
}

template <typename Unit>
void Load(Unit& unit, const CLut16Type& lut) {
    if constexpr (std::is_base_of_v<InputTable33, Unit>) {
        EXPECT_EQ(unit.Initial(&lut, Space(1)), 0);
    } else {
        EXPECT_EQ(unit.Initial(&lut), 0);
    }
}

std::unique_ptr<CLut16Type> SomeLut(std::uint32_t seed) {
    return MakeLut({.inputs = 3, .outputs = 7, .points = 9, .inputEntries = 17, .outputEntries = 33}, seed);
}

/// A code that the unit takes and that has its channels.
template <typename Unit>
void ExpectUntouchedByRuns(int code) {
    const auto unit = std::make_unique<Unit>();
    Load(*unit, *SomeLut(1));
    Base& base = *unit;
    const std::vector<unsigned char> before = Image(*unit);
    unsigned char data[] = {1, 2, 3, 4, 5, 6, 7};
    for (int count : {INT_MIN, -1, 0, 1, 2, INT_MAX}) {
        base.Conversion(data, count);
        base.Conversion(static_cast<unsigned char*>(nullptr), count);
    }
    EXPECT_EQ(std::vector<int>(data, data + 7), (std::vector<int>{1, 2, 3, 4, 5, 6, 7})) << base.UnitName;
    EXPECT_TRUE(Image(*unit) == before) << base.UnitName << ": the empty operation";

    Job job(code, 4);
    const unsigned short* const work = job.info.WorkBuf.get();
    EXPECT_EQ(base.Conversion(&job.info), 0);
    unsigned short s[7] = {1, 20000, 65534, 4, 5, 6, 7};
    base.Conversion(s[0], s[1], s[2], s[3], s[4], s[5], s[6]);
    EXPECT_TRUE(Image(*unit) == before) << base.UnitName << ": tables are read only";
    // The job keeps all that describes it.
    EXPECT_EQ(job.info.FormatCode, code);
    EXPECT_EQ(job.info.PixelCount, 4);
    EXPECT_EQ(job.info.WorkCount, static_cast<int>(Job::Room(4)));
    EXPECT_EQ(job.info.WorkBuf.get(), work);
    EXPECT_EQ(job.info.Source, job.source.data());
    EXPECT_EQ(job.info.Dest, job.dest.data());
}

TEST(UnitTables, AreReadOnlyToConversions) {
    ExpectUntouchedByRuns<InputTable33>(514);
    ExpectUntouchedByRuns<InputTable34>(516);
    ExpectUntouchedByRuns<InputTable36>(518);
    ExpectUntouchedByRuns<InputTable37>(520);
    ExpectUntouchedByRuns<InputTable43>(514);
    ExpectUntouchedByRuns<ColorTable33>(514);
    ExpectUntouchedByRuns<ColorTable34>(516);
    ExpectUntouchedByRuns<ColorTable36>(518);
    ExpectUntouchedByRuns<ColorTable37>(520);
    ExpectUntouchedByRuns<OutputTable33>(518);
}

/// Nobody reads the name: without one everything is the same.
template <typename Unit>
void ExpectNameless(int code) {
    const auto lut = SomeLut(2);
    const auto named = std::make_unique<Unit>(), nameless = std::make_unique<Unit>();
    nameless->UnitName = nullptr;
    Job first(code, 4), second(code, 4);
    Load(*named, *lut);
    Load(*nameless, *lut);
    EXPECT_EQ(named->Conversion(&first.info), nameless->Conversion(&second.info));
    EXPECT_EQ(first.Work(), second.Work());
    EXPECT_EQ(first.dest, second.dest);
    EXPECT_EQ(nameless->UnitName, nullptr);
}

TEST(UnitNames, AreReadByNobody) {
    ExpectNameless<InputTable33>(257);
    ExpectNameless<InputTable34>(259);
    ExpectNameless<InputTable36>(261);
    ExpectNameless<InputTable37>(263);
    ExpectNameless<InputTable43>(257);
    ExpectNameless<ColorTable33>(257);
    ExpectNameless<ColorTable34>(259);
    ExpectNameless<ColorTable36>(261);
    ExpectNameless<ColorTable37>(263);
    ExpectNameless<OutputTable33>(257);
}

/// Loads and runs a unit with a code that it takes and with one that none takes.
template <typename Unit>
void Exercise(int code) {
    const auto unit = std::make_unique<Unit>();
    Load(*unit, *SomeLut(3));
    for (const int each : {code, 9999}) {
        Job job(each, 2);
        unit->Conversion(&job.info);
    }
}

TEST(UnitMessages, ThereAreNone) {
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    Exercise<InputTable33>(257);
    Exercise<InputTable34>(259);
    Exercise<InputTable36>(261);
    Exercise<InputTable37>(263);
    Exercise<InputTable43>(257);
    Exercise<ColorTable33>(257);
    Exercise<ColorTable34>(259);
    Exercise<ColorTable36>(261);
    Exercise<ColorTable37>(263);
    Exercise<OutputTable33>(257);
    const auto lut = SomeLut(4);
    const auto input = std::make_unique<InputTable33>();
    for (const int space : {0, 2, 3, 77}) input->Initial(lut.get(), Space(space));
    const auto grid = std::make_unique<ColorTable33>();
    grid->Initial(lut.get());
    grid->Adjust_Lch(1, 2, 3);
    grid->TableResize(17);
    grid->TableResize(100);
    grid->Lab2RGB100_16(lut.get(), Space(77), nullptr);
    const auto output = std::make_unique<OutputTable33>();
    output->OutputGamma_KodakMix();
    const std::string errors = testing::internal::GetCapturedStderr();
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_EQ(errors, "");
}

TEST(UnitTables, BelongToOneUnitEach) {
    const auto one = SomeLut(5), other = SomeLut(6);
    const auto input = std::make_unique<InputTable33>();
    const auto grid = std::make_unique<ColorTable33>();
    const auto output = std::make_unique<OutputTable33>();
    Load(*input, *one);
    Load(*grid, *one);
    Load(*output, *one);
    const auto inputBefore = Image(*input), gridBefore = Image(*grid), outputBefore = Image(*output);
    const auto input2 = std::make_unique<InputTable34>();
    const auto grid2 = std::make_unique<ColorTable37>();
    const auto output2 = std::make_unique<OutputTable33>();
    Load(*input2, *other);
    Load(*grid2, *other);
    Load(*output2, *other);
    grid2->TableResize(17);
    output2->OutputGamma180(Space(22));
    EXPECT_TRUE(Image(*input) == inputBefore);
    EXPECT_TRUE(Image(*grid) == gridBefore);
    EXPECT_TRUE(Image(*output) == outputBefore);
    EXPECT_NE(input2->Lut16[0][30000], input->Lut16[0][30000]);
    EXPECT_NE(GetNodes(*grid2, 9), GetNodes(*grid, 9));
    EXPECT_EQ(grid->LUT_Size, 9);
    EXPECT_EQ(grid->LUT_Pos[8], 65536);
}

TEST(ProfileMatrix, IsAppliedByNoUnit) {
    const auto plain = SomeLut(7), turned = SomeLut(7);
    for (std::size_t n = 0; n < 9; ++n) turned->matrix[n] = 0x12345U * static_cast<std::uint32_t>(n + 1);
    const auto input = std::make_unique<InputTable33>(), input2 = std::make_unique<InputTable33>();
    Load(*input, *plain);
    Load(*input2, *turned);
    for (std::size_t c = 0; c < 3; ++c) {
        ExpectRow(input2->Curve[c], RowOf(input->Curve[c], 4096), "input curve");
        ExpectRow(input2->Lut16[c], RowOf(input->Lut16[c], 65536), "input table");
    }
    const auto output = std::make_unique<OutputTable33>(), output2 = std::make_unique<OutputTable33>();
    Load(*output, *plain);
    Load(*output2, *turned);
    for (std::size_t c = 0; c < 7; ++c) {
        ExpectRow(output2->Curve[c], RowOf(output->Curve[c], 4096), "output curve");
        ExpectRow(output2->Lut16[c], RowOf(output->Lut16[c], 65536), "output table");
    }
    const auto grid = std::make_unique<ColorTable33>(), grid2 = std::make_unique<ColorTable33>();
    Load(*grid, *plain);
    Load(*grid2, *turned);
    EXPECT_EQ(GetNodes(*grid2, 9), GetNodes(*grid, 9));
    for (const auto& [unit, lut] : {std::pair{grid.get(), plain.get()}, std::pair{grid2.get(), turned.get()}}) {
        unit->Adjust_Lch(5.0, -5.0, 50.0);
        unit->TableResize(17);
        unit->Lab2RGB100_16(lut, Space(24), nullptr);
    }
    EXPECT_EQ(GetNodes(*grid2, 17), GetNodes(*grid, 17));
}

}  // namespace
}  // namespace hueweave::test
