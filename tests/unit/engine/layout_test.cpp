// SPDX-License-Identifier: MIT
// The engine's shape: its operations, of which the destructor alone is virtual, the types and order of its fields, and
// what a constructor leaves uninitialised.
#include <cstddef>
#include <cstring>
#include <new>
#include <type_traits>

#include "support/Layout.h"
#include "unit/engine/EngineFixture.h"

namespace hueweave::test {
namespace {

using ICC40::ICC_UNIT::Info;
using ICC40::ICCFILE::ColorSpaceSignature;
using ICC40::ICCFILE::iccTagBase;
using ICC40::ICCFILE::Intent;
using Byte = unsigned char;

static_assert(std::is_polymorphic_v<CIccEngineS> && std::has_virtual_destructor_v<CIccEngineS>);
static_assert(!std::is_polymorphic_v<Info>, "a plain record");
static_assert(std::is_same_v<decltype(CIccEngineS::Unit), Info>, "held by value");
static_assert(std::is_same_v<decltype(CIccEngineS::File), ICC40::ICCFILE::IccFile4>, "held by value");
static_assert(!std::is_copy_constructible_v<CIccEngineS> && !std::is_copy_assignable_v<CIccEngineS>);

/// Whether a pointer to a member of this form names a non-virtual operation.
template <class Form>
bool IsPlain(Form operation) {
    return !Member(operation).IsVirtual();
}

TEST(EngineLayout, HasNonVirtualOperationsWithTheseSignatures) {
    using Owner = CIccEngineS;
    using Cs = ColorSpaceSignature;
    using Build = int (Owner::*)(double, double, double);
    using Stage = void (Owner::*)(const CLut16Type*);
    EXPECT_TRUE(IsPlain<void (Owner::*)()>(&Owner::Reset));
    EXPECT_TRUE((IsPlain<int (Owner::*)(const char*, Intent, Cs, Cs, double, double, double)>(&Owner::SetProfile)));
    EXPECT_TRUE((
        IsPlain<int (Owner::*)(const char*, const char*, Intent, Cs, Cs, double, double, double)>(&Owner::SetProfile)));
    EXPECT_TRUE((IsPlain<int (Owner::*)(Intent, Cs, Cs, double, double, double)>(&Owner::SetIntent)));
    for (const Build build : {&Owner::ConstructEngine, &Owner::InputColorSpace2RGB, &Owner::Adjust_Lch}) {
        EXPECT_TRUE(IsPlain(build));
    }
    EXPECT_TRUE((IsPlain<int (Owner::*)(const Byte*, const Byte*, const Byte*, int)>(&Owner::Adjust_Output)));
    EXPECT_TRUE(IsPlain<iccTagBase* (Owner::*)()>(&Owner::GetMft2));
    EXPECT_TRUE(IsPlain<int (Owner::*)(int)>(&Owner::Initial));
    EXPECT_TRUE(IsPlain<int (Owner::*)()>(&Owner::DeleteWorkingBuf));
    for (const Stage stage : {&Owner::Set1DLutIn, &Owner::Set1DLutOut}) EXPECT_TRUE(IsPlain(stage));
    EXPECT_TRUE((IsPlain<void (Owner::*)(const CLut16Type*, double, double, double)>(&Owner::Set3DLut)));
    EXPECT_TRUE((IsPlain<int (Owner::*)(unsigned short*, unsigned short*, int) const>(&Owner::Conversion)));
    EXPECT_TRUE((IsPlain<int (Owner::*)(Byte*, Byte*, int) const>(&Owner::Conversion)));
    EXPECT_TRUE((IsPlain<int (Owner::*)(Byte*, unsigned short*, int) const>(&Owner::Conversion)));
    EXPECT_TRUE((IsPlain<int (Owner::*)(const char*, const char*) const>(&Owner::Conversion)));
}

template <class Type, class... Fields>
constexpr bool kAllAre = (std::is_same_v<Type, Fields> && ...);
static_assert(
    kAllAre<std::int32_t, decltype(Info::ProfileState), decltype(Info::Spare), decltype(Info::BuildResult),
            decltype(Info::PixelCount), decltype(Info::WorkCount), decltype(Info::FormatCode),
            decltype(Info::Lightness), decltype(Info::Chroma), decltype(Info::Hue), decltype(CIccEngineS::Shift)>);
static_assert(kAllAre<ColorSpaceSignature, decltype(Info::InputSpace), decltype(Info::OutputSpace)>);
static_assert(kAllAre<Intent, decltype(Info::Intent)> && sizeof(Intent) == 4 && sizeof(ColorSpaceSignature) == 4);
static_assert(kAllAre<std::unique_ptr<unsigned short[]>, decltype(Info::WorkBuf)>);

// The names of the tables and of the white point: four characters, the first one in the highest byte.
static_assert(TagName("A2B0") == 0x41324230U && TagName("A2B1") == 0x41324231U);
static_assert(TagName("A2B2") == 0x41324232U && TagName("wtpt") == 0x77747074U);

static_assert(std::is_same_v<decltype(CIccEngineS::Lut3D), std::int32_t[4096][6][3][4]>);
static_assert(kAllAre<std::uint32_t[65536], decltype(CIccEngineS::Lut1DOutR), decltype(CIccEngineS::Lut1DOutG),
                      decltype(CIccEngineS::Lut1DOutB)>);
static_assert(std::is_same_v<decltype(CIccEngineS::Lut1DInR), std::unique_ptr<std::uint32_t[]>>);
static_assert(sizeof(CIccEngineS) >= (1152 + 3 * 256) * 1024 && sizeof(CIccEngineS) < (1152 + 3 * 256 + 1) * 1024,
              "close to 2 MB: only the tables are large");

TEST(EngineLayout, HasItsFieldsInOrder) {
    const auto engine = std::make_unique<CIccEngineS>();
    ExpectInOrder({engine.get(), &engine->Unit, &engine->File, &engine->Lut1DInR, &engine->Lut1DInG, &engine->Lut1DInB,
                   engine->Lut3D, engine->Lut1DOutR, engine->Lut1DOutG, engine->Lut1DOutB, &engine->Shift});
    // Only the pointer to the virtual table precedes the job.
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(&engine->Unit) - reinterpret_cast<std::uintptr_t>(engine.get()),
              sizeof(void*));
    const Info& job = engine->Unit;
    ExpectInOrder({&job.ProfileState, &job.Spare, &job.InputSpace, &job.OutputSpace, &job.BuildResult, &job.Intent,
                   &job.WorkBuf, &job.Source, &job.Dest, &job.PixelCount, &job.WorkCount, &job.Lightness, &job.Chroma,
                   &job.Hue, &job.FormatCode, &job.ProfileName, &job.SecondName});
    EXPECT_EQ(static_cast<const void*>(&job.ProfileState), static_cast<const void*>(&job));
}

/// An engine in memory filled with a pattern, as the memory of a global one is filled with zeros.
TEST(EngineLayout, StartsWithoutTouchingGridAndOutputTables) {
    struct Memory {
        alignas(CIccEngineS) std::byte bytes[sizeof(CIccEngineS)];
    };
    const auto memory = std::make_unique<Memory>();
    std::memset(memory->bytes, 0x5a, sizeof memory->bytes);
    auto* const engine = ::new (memory->bytes) CIccEngineS;
    EXPECT_TRUE(engine->Lut1DInR == nullptr && engine->Lut1DInG == nullptr && engine->Lut1DInB == nullptr);
    const auto* const grid = reinterpret_cast<const unsigned char*>(engine->Lut3D);
    const std::size_t size = sizeof engine->Lut3D + 3 * sizeof engine->Lut1DOutR;
    EXPECT_THAT(std::span(grid, size), EqualsBytes(Bytes(size, 0x5a)));
    EXPECT_EQ(engine->Shift, 12);
    EXPECT_EQ(engine->Unit.Intent, 0);
    engine->~CIccEngineS();
}

}  // namespace
}  // namespace hueweave::test
