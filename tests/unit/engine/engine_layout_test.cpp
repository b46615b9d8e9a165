// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
//
// What an engine is made of, and in which order it stands in memory.
#include <type_traits>

#include "unit/engine/EngineFixture.h"

namespace hueweave::test {
namespace {

using ICC40::ICC_UNIT::Info;

static_assert(std::is_polymorphic_v<CIccEngineS> && std::has_virtual_destructor_v<CIccEngineS>);
static_assert(!std::is_polymorphic_v<Info>, "a plain record");
static_assert(std::is_same_v<decltype(CIccEngineS::Unit), Info>, "held by value");
static_assert(std::is_same_v<decltype(CIccEngineS::File), ICC40::ICCFILE::IccFile4>, "held by value");
static_assert(!std::is_copy_constructible_v<CIccEngineS> && !std::is_copy_assignable_v<CIccEngineS>);

/// Addresses in the order in which the fields are declared.
void ExpectInOrder(const std::vector<const void*>& fields) {
    for (std::size_t n = 1; n < fields.size(); ++n) {
        EXPECT_LT(reinterpret_cast<std::uintptr_t>(fields[n - 1]), reinterpret_cast<std::uintptr_t>(fields[n])) << n;
    }
}

TEST(EngineLayout, FieldsStandInTheirOrder) {
    const auto engine = std::make_unique<CIccEngineS>();
    ExpectInOrder({engine.get(), &engine->Unit, &engine->File, &engine->Lut1DInR, &engine->Lut1DInG, &engine->Lut1DInB,
                   engine->Lut3D, engine->Lut1DOutR, engine->Lut1DOutG, engine->Lut1DOutB, &engine->Shift});
}

TEST(EngineLayout, JobFieldsStandInTheirOrder) {
    const Info job;
    ExpectInOrder({&job.ProfileState, &job.Spare, &job.InputSpace, &job.OutputSpace, &job.BuildResult, &job.Intent,
                   &job.WorkBuf, &job.Source, &job.Dest, &job.PixelCount, &job.WorkCount, &job.Lightness, &job.Chroma,
                   &job.Hue, &job.FormatCode, &job.ProfileName, &job.SecondName});
    EXPECT_EQ(static_cast<const void*>(&job.ProfileState), static_cast<const void*>(&job));
}

TEST(EngineLayout, TablesHaveTheirExtents) {
    EXPECT_EQ(sizeof(CIccEngineS::Lut3D), 1152U * 1024);
    EXPECT_EQ(sizeof(CIccEngineS::Lut1DOutR), 256U * 1024);
    EXPECT_EQ(sizeof(CIccEngineS::Lut1DOutG), 256U * 1024);
    EXPECT_EQ(sizeof(CIccEngineS::Lut1DOutB), 256U * 1024);
    // One record: three channels of four words, 48 bytes on end.
    const auto engine = std::make_unique<CIccEngineS>();
    EXPECT_EQ(sizeof engine->Lut3D[0][0], 48U);
    EXPECT_EQ(&engine->Lut3D[0][0][2][3] - &engine->Lut3D[0][0][0][0], 11);
    EXPECT_EQ(&engine->Lut3D[16 * 16][0][0][0] - GridWords(*engine), 16 * 16 * 6 * 3 * 4);
}

TEST(EngineLayout, AnEngineIsCloseToTwoMegabytes) {
    constexpr std::size_t kTables = (1152 + 3 * 256) * 1024;
    EXPECT_GE(sizeof(CIccEngineS), kTables);
    EXPECT_LT(sizeof(CIccEngineS), kTables + 1024) << "only the tables are large";
}

TEST(EngineLayout, WordsAreOfThirtyTwoBits) {
    EXPECT_TRUE((std::is_same_v<std::remove_all_extents_t<decltype(CIccEngineS::Lut3D)>, std::int32_t>));
    EXPECT_TRUE((std::is_same_v<std::remove_all_extents_t<decltype(CIccEngineS::Lut1DOutR)>, std::uint32_t>));
    EXPECT_TRUE((std::is_same_v<decltype(CIccEngineS::Lut1DInR), std::unique_ptr<std::uint32_t[]>>));
    EXPECT_EQ(sizeof(Info::InputSpace), 4U);
    EXPECT_EQ(sizeof(Info::Intent), 4U);
}

TEST(EngineLayout, AGlobalEngineStartsPerceptual) {
    static CIccEngineS engine;
    EXPECT_EQ(engine.Unit.Intent, 0);
    EXPECT_EQ(engine.Unit.OutputSpace, 65535);
    EXPECT_EQ(engine.Shift, 12);
}

}  // namespace
}  // namespace hueweave::test
