// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
//
// Every pixel loop that this processor can run against the one that goes pixel by pixel.
#include "engine/kernels/Kernels.h"

#include <cmath>
#include <cstring>

#include "support/ProfileBuilder.h"
#include "unit/engine/HandTables.h"

namespace hueweave::test {
namespace {

using ICC40::ICC_ENG_S4::Kernel;
using ICC40::ICC_ENG_S4::Kernels;
using ICC40::ICC_ENG_S4::kPlainKernel;

constexpr int kSpaces[] = {8,  9,  10, 11, 12, 13, 20, 21, 22, 23, 24, 25,
                           26, 27, 28, 29, 30, 31, 34, 35, 36, 37, 38, 39};
constexpr std::size_t kPixelsASpace = 240000;  // and width: 11.5 million in all

ICC40::ICC_ENG_S4::Stages Borrow(const CIccEngineS& engine) {
    return {{engine.Lut1DInR.get(), engine.Lut1DInG.get(), engine.Lut1DInB.get()},
            &engine.Lut3D[0][0],
            {engine.Lut1DOutR, engine.Lut1DOutG, engine.Lut1DOutB}};
}

/// A third random, a third like a photograph (slow changes and noise), a third of values on and beside the grid's
/// nodes and the ends of the range.
Bytes Picture(bool wide, std::uint32_t seed) {
    Lcg random(seed);
    Bytes bytes;
    const auto add = [&](double value) {
        const auto sample = static_cast<unsigned>(value < 0 ? 0 : value > 65535 ? 65535 : value);
        bytes.push_back(static_cast<unsigned char>(wide ? sample & 0xffU : sample >> 8));
        if (wide) bytes.push_back(static_cast<unsigned char>(sample >> 8));
    };
    for (std::size_t p = 0; p < kPixelsASpace / 3; ++p) {
        for (int c = 0; c < 3; ++c) add(random.Sample());
    }
    for (std::size_t p = 0; p < kPixelsASpace / 3; ++p) {
        const double x = static_cast<double>(p % 400), y = static_cast<double>(p) / 400;
        for (int c = 0; c < 3; ++c) {
            add(33000 + 30000 * std::sin(x / 57 + c) * std::cos(y / 41 - c) + random.Below(900) - 450.0);
        }
    }
    for (std::size_t p = 0; p < kPixelsASpace / 3; ++p) {
        for (int c = 0; c < 3; ++c) add(4096.0 * random.Below(17) + random.Below(3) - 1.0);
    }
    return bytes;
}

Bytes Converted(const Kernel& kernel, const CIccEngineS& engine, const Bytes& pixels, bool wide) {
    Bytes result(pixels.size(), 0xa5);
    const auto count = static_cast<std::int64_t>(pixels.size() / (wide ? 6 : 3));
    (wide ? kernel.words : kernel.bytes)(Borrow(engine), pixels.data(), result.data(), count);
    return result;
}

TEST(Kernels, StartWithThePlainOne) {
    ASSERT_FALSE(Kernels().empty());
    EXPECT_EQ(Kernels().front(), &kPlainKernel);
#if defined(__x86_64__)
    ASSERT_GE(Kernels().size(), 2U);
    EXPECT_STREQ(Kernels()[1]->name, "sse2");
    EXPECT_EQ(Kernels().size() == 3, __builtin_cpu_supports("avx2") != 0);
#endif
}

/// Output space and width of the samples.
class KernelOverSpaces : public testing::TestWithParam<std::tuple<int, bool>> {};

TEST_P(KernelOverSpaces, GivesThePlainResult) {
    const auto [space, wide] = GetParam();
    TempDir dir;
    LutShape shape;
    shape.points = space % 2 == 0 ? 33 : 9;
    shape.grid = space % 3 == 0 ? GridKind::Random : GridKind::Scanner;
    ProfileBuilder().Mft2("A2B0", MakeLut(shape)).Write(dir.File("p.icc"));
    const auto engine = std::make_unique<CIccEngineS>();
    engine->SetProfile(dir.File("p.icc").c_str(), IntentOf(0), Space(wide ? 1 : 0), Space(space), 0, 0, 0);
    ASSERT_EQ(engine->Unit.OutputSpace, Space(space));

    const Bytes pixels = Picture(wide, static_cast<std::uint32_t>(space));
    const Bytes expected = Converted(kPlainKernel, *engine, pixels, wide);
    ASSERT_NE(expected, Bytes(pixels.size(), 0xa5));
    for (const Kernel* kernel : Kernels()) {
        EXPECT_TRUE(Converted(*kernel, *engine, pixels, wide) == expected) << kernel->name;
    }
}

INSTANTIATE_TEST_SUITE_P(All, KernelOverSpaces, testing::Combine(testing::ValuesIn(kSpaces), testing::Bool()));

/// The width of the samples.
class KernelRuns : public testing::TestWithParam<bool> {};

TEST_P(KernelRuns, OfEveryLengthAtEveryAddressWriteTheirPixelsAlone) {
    const bool wide = GetParam();
    const std::size_t pixel = wide ? 6 : 3;
    const auto engine = MakeHandEngine(wide);
    for (const Kernel* kernel : Kernels()) {
        for (std::size_t length = 0; length <= 200; ++length) {
            for (std::size_t shift = 0; shift < 4; ++shift) {
                // The source ends where its vector does, so that a sanitizer sees a byte read past it.
                Bytes source(shift + length * pixel);
                Lcg random(static_cast<std::uint32_t>(length * 4 + shift));
                for (auto& byte : source) byte = static_cast<unsigned char>(random.Next());
                Bytes dest(source.size() + 16, 0x5a), expected = dest;
                const auto run = [&](const Kernel& k, Bytes& to) {
                    (wide ? k.words : k.bytes)(Borrow(*engine), source.data() + shift, to.data() + shift,
                                               static_cast<std::int64_t>(length));
                };
                run(kPlainKernel, expected);
                run(*kernel, dest);
                ASSERT_EQ(dest, expected) << kernel->name << ", " << length << " pixels at " << shift;
            }
        }
    }
}

TEST_P(KernelRuns, OfFewerThanOnePixelAreNone) {
    const auto engine = MakeHandEngine(GetParam());
    for (const Kernel* kernel : Kernels()) {
        for (std::int64_t count : {std::int64_t{0}, std::int64_t{-1}, std::int64_t{INT32_MIN}}) {
            Bytes bytes(600, 0x11);
            (GetParam() ? kernel->words : kernel->bytes)(Borrow(*engine), bytes.data(), bytes.data(), count);
            EXPECT_EQ(bytes, Bytes(600, 0x11)) << kernel->name;
        }
    }
}

TEST_P(KernelRuns, InPlaceGiveTheSame) {
    const bool wide = GetParam();
    const auto engine = MakeHandEngine(wide);
    const Bytes source = WordBytes(SomeSamples(3000, 65535));
    const auto count = static_cast<std::int64_t>(source.size() / (wide ? 6 : 3));
    const Bytes expected = Converted(kPlainKernel, *engine, source, wide);
    for (const Kernel* kernel : Kernels()) {
        Bytes bytes = source;
        (wide ? kernel->words : kernel->bytes)(Borrow(*engine), bytes.data(), bytes.data(), count);
        EXPECT_EQ(bytes, expected) << kernel->name;
    }
}

INSTANTIATE_TEST_SUITE_P(Widths, KernelRuns, testing::Bool());

/// How many bytes the destination lies behind the source.
class OverlappingRun : public testing::TestWithParam<std::ptrdiff_t> {};

TEST_P(OverlappingRun, IsConvertedPixelByPixel) {
    constexpr std::size_t kPixels = 700;
    constexpr std::size_t kMargin = 6 * 800;
    const auto engine = MakeHandEngine(true);
    Bytes memory(2 * kMargin + 6 * kPixels);
    Lcg random(7);
    for (auto& byte : memory) byte = static_cast<unsigned char>(random.Next());
    Bytes expected = memory;
    const auto at = static_cast<std::size_t>(static_cast<std::ptrdiff_t>(kMargin) + GetParam());
    for (std::size_t p = 0; p < kPixels; ++p) {
        const Samples in = WordsAt(expected.data() + kMargin + 6 * p, 3);
        const Bytes out = WordBytes(ReferenceRun(*engine, in, 16));
        std::memcpy(expected.data() + at + 6 * p, out.data(), 6);
    }
    engine->Conversion(memory.data() + kMargin, memory.data() + at, static_cast<int>(kPixels));
    EXPECT_EQ(memory, expected);
}

INSTANTIATE_TEST_SUITE_P(Distances, OverlappingRun,
                         testing::Values(-4800, -4200, -390, -6, -5, -1, 0, 1, 2, 5, 6, 7, 384, 389, 4194, 4199, 4200,
                                         4800));

}  // namespace
}  // namespace hueweave::test
