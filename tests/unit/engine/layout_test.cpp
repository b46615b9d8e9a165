// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
//
// The engine's shape: its operations and that the destructor alone is virtual, its fields, their types and order, and
// what a constructor leaves alone.
#include <cstddef>
#include <cstring>
#include <new>
#include <type_traits>

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

/// Another result than any operation has: hiding a virtual operation with it does not compile.
struct Other {};

struct Hiding : CIccEngineS {
    Other Reset();
    Other SetProfile(const char*, Intent, ColorSpaceSignature, ColorSpaceSignature, double, double, double);
    Other SetProfile(const char*, const char*, Intent, ColorSpaceSignature, ColorSpaceSignature, double, double,
                     double);
    Other SetIntent(Intent, ColorSpaceSignature, ColorSpaceSignature, double, double, double);
    Other ConstructEngine(double, double, double);
    Other InputColorSpace2RGB(double, double, double);
    Other Adjust_Lch(double, double, double);
    Other Adjust_Output(const Byte*, const Byte*, const Byte*, int);
    Other GetMft2();
    Other Initial(int);
    Other DeleteWorkingBuf();
    Other Set1DLutIn(const CLut16Type*);
    Other Set3DLut(const CLut16Type*, double, double, double);
    Other Set1DLutOut(const CLut16Type*);
    Other Conversion(unsigned short*, unsigned short*, int) const;
    Other Conversion(Byte*, Byte*, int) const;
    Other Conversion(Byte*, unsigned short*, int) const;
    Other Conversion(const char*, const char*) const;
};
static_assert(std::is_base_of_v<CIccEngineS, Hiding>);

template <class Result, class... Arguments>
using Operation = Result (CIccEngineS::*)(Arguments...);
template <class Result, class... Arguments>
using Reader = Result (CIccEngineS::*)(Arguments...) const;

/// Takes one of several overloads by its form; there is nothing to call when there is none of that form.
template <class Form>
constexpr bool HasForm(Form) {
    return true;
}

// The same arguments as above, else the class above would hide nothing.
static_assert(std::is_same_v<decltype(&CIccEngineS::Reset), Operation<void>>);
static_assert(std::is_same_v<decltype(&CIccEngineS::SetIntent),
                             Operation<int, Intent, ColorSpaceSignature, ColorSpaceSignature, double, double, double>>);
static_assert(std::is_same_v<decltype(&CIccEngineS::ConstructEngine), Operation<int, double, double, double>>);
static_assert(std::is_same_v<decltype(&CIccEngineS::InputColorSpace2RGB), Operation<int, double, double, double>>);
static_assert(std::is_same_v<decltype(&CIccEngineS::Adjust_Lch), Operation<int, double, double, double>>);
static_assert(
    std::is_same_v<decltype(&CIccEngineS::Adjust_Output), Operation<int, const Byte*, const Byte*, const Byte*, int>>);
static_assert(std::is_same_v<decltype(&CIccEngineS::GetMft2), Operation<iccTagBase*>>);
static_assert(std::is_same_v<decltype(&CIccEngineS::Initial), Operation<int, int>>);
static_assert(std::is_same_v<decltype(&CIccEngineS::DeleteWorkingBuf), Operation<int>>);
static_assert(std::is_same_v<decltype(&CIccEngineS::Set1DLutIn), Operation<void, const CLut16Type*>>);
static_assert(
    std::is_same_v<decltype(&CIccEngineS::Set3DLut), Operation<void, const CLut16Type*, double, double, double>>);
static_assert(std::is_same_v<decltype(&CIccEngineS::Set1DLutOut), Operation<void, const CLut16Type*>>);
static_assert(
    HasForm<Operation<int, const char*, Intent, ColorSpaceSignature, ColorSpaceSignature, double, double, double>>(
        &CIccEngineS::SetProfile));
static_assert(HasForm<Operation<int, const char*, const char*, Intent, ColorSpaceSignature, ColorSpaceSignature, double,
                                double, double>>(&CIccEngineS::SetProfile));
static_assert(HasForm<Reader<int, unsigned short*, unsigned short*, int>>(&CIccEngineS::Conversion));
static_assert(HasForm<Reader<int, Byte*, Byte*, int>>(&CIccEngineS::Conversion));
static_assert(HasForm<Reader<int, Byte*, unsigned short*, int>>(&CIccEngineS::Conversion));
static_assert(HasForm<Reader<int, const char*, const char*>>(&CIccEngineS::Conversion));

static_assert(std::is_same_v<decltype(&Info::Reset), int (Info::*)()>);
static_assert(std::is_same_v<decltype(&Info::CheckLch), int (Info::*)(int, int, int)>);
static_assert(std::is_same_v<decltype(&Info::CheckWorkingBuf), int (Info::*)(Byte*, Byte*, int)>);
static_assert(std::is_same_v<decltype(&Info::DeleteWorkingBuf), int (Info::*)()>);
static_assert(std::is_same_v<decltype(&Info::CheckCurrentProfile), int (Info::*)(const char*, const char*)>);

template <class Field>
constexpr bool kSigned32 = std::is_same_v<Field, std::int32_t>;
static_assert(kSigned32<decltype(Info::ProfileState)> && kSigned32<decltype(Info::Spare)>);
static_assert(kSigned32<decltype(Info::BuildResult)> && kSigned32<decltype(Info::PixelCount)>);
static_assert(kSigned32<decltype(Info::WorkCount)> && kSigned32<decltype(Info::FormatCode)>);
static_assert(kSigned32<decltype(Info::Lightness)> && kSigned32<decltype(Info::Chroma)>);
static_assert(kSigned32<decltype(Info::Hue)> && kSigned32<decltype(CIccEngineS::Shift)>);
static_assert(std::is_same_v<decltype(Info::InputSpace), ColorSpaceSignature> && sizeof(ColorSpaceSignature) == 4);
static_assert(std::is_same_v<decltype(Info::OutputSpace), ColorSpaceSignature>);
static_assert(std::is_same_v<decltype(Info::Intent), Intent> && sizeof(Intent) == 4);
static_assert(std::is_same_v<decltype(Info::WorkBuf), std::unique_ptr<unsigned short[]>>);

// What the tables and the white point are looked up by: four characters, the first one highest.
static_assert(TagName("A2B0") == 0x41324230U && TagName("A2B1") == 0x41324231U);
static_assert(TagName("A2B2") == 0x41324232U && TagName("wtpt") == 0x77747074U);

static_assert(std::is_same_v<decltype(CIccEngineS::Lut3D), std::int32_t[4096][6][3][4]>);
static_assert(std::is_same_v<decltype(CIccEngineS::Lut1DOutR), std::uint32_t[65536]>);
static_assert(std::is_same_v<decltype(CIccEngineS::Lut1DOutG), std::uint32_t[65536]>);
static_assert(std::is_same_v<decltype(CIccEngineS::Lut1DOutB), std::uint32_t[65536]>);
static_assert(std::is_same_v<decltype(CIccEngineS::Lut1DInR), std::unique_ptr<std::uint32_t[]>>);
static_assert(sizeof(CIccEngineS) >= (1152 + 3 * 256) * 1024 && sizeof(CIccEngineS) < (1152 + 3 * 256 + 1) * 1024,
              "close to 2 MB: only the tables are large");

/// Addresses in the order in which the fields are declared.
void ExpectInOrder(const std::vector<const void*>& fields) {
    for (std::size_t n = 1; n < fields.size(); ++n) {
        EXPECT_LT(reinterpret_cast<std::uintptr_t>(fields[n - 1]), reinterpret_cast<std::uintptr_t>(fields[n])) << n;
    }
}

TEST(EngineLayout, HasItsFieldsInOrder) {
    const auto engine = std::make_unique<CIccEngineS>();
    ExpectInOrder({engine.get(), &engine->Unit, &engine->File, &engine->Lut1DInR, &engine->Lut1DInG, &engine->Lut1DInB,
                   engine->Lut3D, engine->Lut1DOutR, engine->Lut1DOutG, engine->Lut1DOutB, &engine->Shift});
    // Nothing stands before the job but the pointer to the virtual destructor.
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(&engine->Unit) - reinterpret_cast<std::uintptr_t>(engine.get()),
              sizeof(void*));
    const Info& job = engine->Unit;
    ExpectInOrder({&job.ProfileState, &job.Spare, &job.InputSpace, &job.OutputSpace, &job.BuildResult, &job.Intent,
                   &job.WorkBuf, &job.Source, &job.Dest, &job.PixelCount, &job.WorkCount, &job.Lightness, &job.Chroma,
                   &job.Hue, &job.FormatCode, &job.ProfileName, &job.SecondName});
    EXPECT_EQ(static_cast<const void*>(&job.ProfileState), static_cast<const void*>(&job));
}

TEST(EngineLayout, StartsPerceptualAsAGlobal) {
    static CIccEngineS engine;
    EXPECT_EQ(engine.Unit.Intent, 0);
    EXPECT_EQ(engine.Unit.OutputSpace, 65535);
    EXPECT_EQ(engine.Shift, 12);
}

/// An engine in memory that holds a pattern, as that of a global one holds zeros.
TEST(EngineLayout, StartsWithoutTouchingGridAndOutputTables) {
    struct Memory {
        alignas(CIccEngineS) std::byte bytes[sizeof(CIccEngineS)];
    };
    const auto memory = std::make_unique<Memory>();
    std::memset(memory->bytes, 0x5a, sizeof memory->bytes);
    auto* const engine = ::new (memory->bytes) CIccEngineS;
    ExpectStages(StagesOf(*engine), {{}, PatternGrid(0x5a5a5a5a), PatternOutput(0x5a5a5a5a)});
    EXPECT_EQ(engine->Shift, 12);
    engine->~CIccEngineS();
}

}  // namespace
}  // namespace hueweave::test
