// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
//
// Arguments that no sound caller passes, and states that no sound caller leaves. Paths, encodings, spaces, counts and
// null buffers are told by the suite abi.
#include <cfenv>
#include <cmath>
#include <limits>

#include "hostile/Child.h"
#include "hostile/Hostile.h"

namespace hueweave::test {
namespace {

using ArgumentTest = HostileTest;

/// A profile with a table for one intent alone, and an engine whose input encoding changes where there is no table:
/// the tables stay those of 8 bits, and 16-bit samples must not be looked up in them.
TEST_F(ArgumentTest, WideSamplesAreNotLookedUpInNarrowTables) {
    ASSERT_EQ(Bind(Good(), 0, 0, 8), 8);
    EXPECT_EQ(Orvix_Icc_SetIntent(1, 1, 9), 9);
    Bytes source(600, 0xff);
    Bytes dest(600, 0x11);
    EXPECT_EQ(Orvix_Icc_Convert2(source.data(), dest.data(), 100), 0);
    EXPECT_EQ(source, Bytes(600, 0xff));
    EXPECT_EQ(dest, Bytes(600, 0x11));
    // Nor through a file.
    const MiniTiff image{10, 10, 3, 16, source, {}};
    const std::string file = Put("image.tif", image.Build());
    EXPECT_EQ(Printed([&] { EXPECT_EQ(Orvix_Icc_ConvertFile(file.c_str(), file.c_str()), 9); }), kProgress);
    EXPECT_EQ(ReadFile(file), image.Build());
}

TEST_F(ArgumentTest, NarrowSamplesMayBeLookedUpInWideTables) {
    ASSERT_EQ(Bind(Good(), 0, 1, 9), 9);
    EXPECT_EQ(Orvix_Icc_SetIntent(1, 0, 8), 8);
    EXPECT_EQ(EffectOfConversion(), Effect::Changed);
}

TEST_F(ArgumentTest, OffsetsThatAreNoNumbersCountAsZero) {
    ASSERT_EQ(Bind(Good()), 8);
    const Bytes plain = ConvertedPixels();
    ASSERT_EQ(Orvix_Icc_Adjust(5, 0, 0, nullptr, nullptr, nullptr, 0), 8);
    const Bytes lighter = ConvertedPixels();
    ASSERT_NE(lighter, plain);
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const double inf = std::numeric_limits<double>::infinity();
    for (const double odd : {nan, -nan, inf, -inf}) {
        ASSERT_EQ(Orvix_Icc_Adjust(5, 0, 0, nullptr, nullptr, nullptr, 0), 8);
        EXPECT_EQ(Orvix_Icc_Adjust(odd, odd, odd, nullptr, nullptr, nullptr, 0), 8);
        EXPECT_EQ(ConvertedPixels(), plain) << odd;
        EXPECT_EQ(Orvix_Icc_Adjust(5, odd, odd, nullptr, nullptr, nullptr, 0), 8);
        EXPECT_EQ(ConvertedPixels(), lighter) << odd;
    }
}

TEST_F(ArgumentTest, GreatOffsetsStopAtTheEndsOfTheirScales) {
    ASSERT_EQ(Bind(Good(), 0, 0, 10), 10);
    for (const double great : {101.0, 2147483647.0, 2147483648.0, 1e18, 1e300}) {
        ASSERT_EQ(Orvix_Icc_Adjust(-great, -great, 0, nullptr, nullptr, nullptr, 0), 10);
        EXPECT_EQ(ConvertedPixels(), Bytes(300, 0)) << "black: " << great;
        ASSERT_EQ(Orvix_Icc_Adjust(great, -great, 0, nullptr, nullptr, nullptr, 0), 10);
        // White: L* 100 and no chroma is 255 everywhere, as far as the last place of the grid's numbers.
        for (const unsigned char sample : ConvertedPixels()) EXPECT_GE(sample, 253) << great;
    }
    // A hue that no turn brings home, and one of which 360 degrees are no part any more.
    for (const double hue : {1e9, -1e9, 1e300, -1e300}) {
        EXPECT_EQ(Orvix_Icc_Adjust(0, 0, hue, nullptr, nullptr, nullptr, 0), 10);
        EXPECT_EQ(EffectOfConversion(), Effect::Changed);
    }
}

#if defined(__x86_64__) && defined(__GLIBC__)
/// In a host that traps divisions by zero and invalid operations, no file may lead to either.
TEST_F(ArgumentTest, NoFileDividesByZero) {
    std::vector<std::string> paths;
    for (const unsigned points : {0U, 1U, 2U, 3U, 33U, 34U}) {
        for (const unsigned entries : {0U, 1U, 2U, 3U}) {
            Bytes block = Mft2(ShortLut());
            block[10] = static_cast<unsigned char>(points);
            block[49] = static_cast<unsigned char>(entries);
            block[51] = static_cast<unsigned char>(entries);
            block.resize(400000, 0x33);
            paths.push_back(Put("p" + std::to_string(paths.size()), MiniProfile({{"A2B0", block}})));
        }
    }
    Bytes zero = MiniTiff{2, 2, 3, 8, Bytes(12, 1), {}}.Build();
    std::fill(zero.begin() + 14 + 12 * 11 + 6, zero.begin() + 14 + 12 * 11 + 14, std::uint8_t{0});
    const std::string image = Put("zero.tif", zero);
    const std::string dest = dir_.File("dest.tif");
    const std::string good = Good();
    EXPECT_EQ(StatusOfChild([&] {
                  if (std::freopen("/dev/null", "w", stdout) == nullptr) return 1;
                  feenableexcept(FE_DIVBYZERO | FE_INVALID | FE_OVERFLOW);
                  for (const std::string& path : paths) {
                      Orvix_Icc_SetProfile(path.c_str(), nullptr, 0, 0, 8);
                      Orvix_Icc_Adjust(1, 1, 1, nullptr, nullptr, nullptr, 0);
                  }
                  Orvix_Icc_SetProfile(good.c_str(), nullptr, 0, 0, 8);
                  return Orvix_Icc_ConvertFile(image.c_str(), dest.c_str()) == 8 ? 0 : 2;
              }),
              0);
    EXPECT_EQ(ReadFile(dest).size(), zero.size());
}
#endif

/// Every address that a 16-bit buffer can start at.
TEST_F(ArgumentTest, NoAlignmentIsNeeded) {
    ASSERT_EQ(Bind(Good(), 0, 1, 9), 9);
    const Bytes samples = SamplePixels(600);
    Bytes expected(600);
    Bytes copy = samples;
    ASSERT_EQ(Orvix_Icc_Convert2(copy.data(), expected.data(), 100), 0);
    for (std::size_t from = 0; from < 8; ++from) {
        for (std::size_t to = 0; to < 8; ++to) {
            Bytes source(700, 0x44);
            Bytes dest(700, 0x55);
            std::copy(samples.begin(), samples.end(), source.begin() + static_cast<std::ptrdiff_t>(from));
            ASSERT_EQ(Orvix_Icc_Convert2(source.data() + from, dest.data() + to, 100), 0);
            Bytes wanted(700, 0x55);
            std::copy(expected.begin(), expected.end(), wanted.begin() + static_cast<std::ptrdiff_t>(to));
            EXPECT_EQ(dest, wanted) << from << " to " << to;
        }
    }
}

}  // namespace
}  // namespace hueweave::test
