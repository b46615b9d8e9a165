// SPDX-License-Identifier: MIT
// Runs of pixels in memory: how a pixel is converted, and which buffers are read and written.
#include "unit/engine/EngineFixture.h"

namespace hueweave::test {
namespace {

using Samples = std::vector<std::uint16_t>;
using Pixel = std::array<unsigned, 3>;
unsigned short* const kNoWords = nullptr;

/// Both widths; true means 16-bit pixels.
class Conversion : public testing::TestWithParam<bool> {
protected:
    /// Converts whole pixels in place.
    Bytes Run(Bytes pixels) const {
        const auto count = static_cast<int>(pixels.size() / PixelBytes(wide_));
        EXPECT_EQ(engine_->Conversion(pixels.data(), pixels.data(), count), 0);
        return pixels;
    }
    Pixel Run(const Pixel& samples) const {
        ByteWriter pixel;
        for (const unsigned sample : samples) wide_ ? pixel.Little16(sample) : pixel.U8(sample);
        const Bytes out = Run(pixel.Done());
        if (!wide_) return {out[0], out[1], out[2]};
        return {out[0] + 256U * out[1], out[2] + 256U * out[3], out[4] + 256U * out[5]};
    }

    const bool wide_ = GetParam();
    std::unique_ptr<CIccEngineS> engine_ = MakeHandEngine(wide_);
};

TEST_P(Conversion, ShiftsByTwelveWhateverShiftHolds) {
    const Bytes pixels = SomePixels(20000, wide_);
    for (const int shift : {12, 4, 0, 11, 13}) {
        engine_->Shift = shift;
        EXPECT_THAT(Run(pixels), EqualsBytes(ReferenceRun(*engine_, pixels)));
    }
}

TEST_P(Conversion, ChoosesTheRecordByTheOrderOfTheFractions) {
    // All thirteen orders of the fractions of red, green and blue, with ties, and the record that each selects.
    constexpr std::uint32_t kOrders[][4] = {{3, 2, 1, 0}, {3, 1, 2, 1}, {2, 1, 3, 2}, {2, 3, 1, 3}, {1, 3, 2, 4},
                                            {1, 2, 3, 5}, {3, 1, 1, 1}, {3, 1, 3, 2}, {3, 3, 1, 3}, {1, 3, 1, 4},
                                            {1, 3, 3, 5}, {1, 1, 3, 5}, {3, 3, 3, 5}};
    // A cell whose indices must not affect the comparison; each constant differs.
    auto& cell = engine_->Lut3D[(3 * 16 + 15) * 16];
    for (int r = 0; r < 6; ++r) {
        for (int c = 0; c < 3; ++c) std::ranges::copy(std::array{(10 * (r + 1) + c) * 4096, 0, 0, 0}, cell[r][c]);
    }
    for (std::uint32_t v = 0; v < 65536; ++v) {
        engine_->Lut1DOutR[v] = engine_->Lut1DOutG[v] = engine_->Lut1DOutB[v] = v;
    }
    for (const auto& [red, green, blue, record] : kOrders) {
        for (const std::uint32_t base : {0U, 4092U}) {  // fractions at either end
            engine_->Lut1DInR[1] = 3U << 16 | (base + red);
            engine_->Lut1DInG[1] = 15U << 16 | (base + green);
            engine_->Lut1DInB[1] = base + blue;
            const unsigned constant = 10 * (record + 1);
            EXPECT_EQ(Run(Pixel{1, 1, 1}), (Pixel{constant, constant + 1, constant + 2}))
                << red << " " << green << " " << blue << " after " << base;
        }
    }
}

TEST_P(Conversion, StoresTheLowBitsOfAnEntry) {
    std::fill_n(engine_->Lut1DOutR, 65536, 0xfedcba98);
    std::fill_n(engine_->Lut1DOutG, 65536, 0x00010000);
    std::fill_n(engine_->Lut1DOutB, 65536, 0x0000ffff);
    EXPECT_EQ(Run(Pixel{1, 2, 3}), (Pixel{wide_ ? 0xba98U : 0x98U, 0, wide_ ? 65535U : 255U}));
}

TEST_P(Conversion, IgnoresRunsFrom8To16Bits) {
    Bytes source(60, 0x11);
    Samples dest(60, 0x2222);
    EXPECT_EQ(engine_->Conversion(source.data(), dest.data(), 10), 0);
    EXPECT_EQ(engine_->Conversion(source.data(), dest.data(), -1), 0);
    EXPECT_EQ(engine_->Conversion(static_cast<unsigned char*>(nullptr), kNoWords, 10), 0);
    EXPECT_EQ(source, Bytes(60, 0x11));
    EXPECT_EQ(dest, Samples(60, 0x2222));
}

INSTANTIATE_TEST_SUITE_P(Widths, Conversion, testing::Bool(),
                         [](const auto& param) { return std::string(param.param ? "Words" : "Bytes"); });

// 16-bit pixels.

TEST(Conversion16Bit, ConvertsOverlappingRunsPixelByPixelAtAnyAddress) {
    constexpr std::size_t kPixels = 700, kMargin = 6 * 800;
    const auto engine = MakeHandEngine(true);
    const ReferenceEngine reference = ReferenceOf(*engine);
    const Bytes plain = SomePixels(kPixels + 2 * kMargin / 6, true);
    // Offset of the destination from the source, in bytes.
    for (const int distance : {-4800, -4200, -390, -30, -12, -7, -6, -5,  -4,  -3,  -2,   -1,   0,    1,   2,
                               3,     4,     5,    6,   7,   12, 30, 179, 384, 389, 4194, 4199, 4200, 4800}) {
        SCOPED_TRACE(distance);
        Bytes memory = plain, expected = plain;
        unsigned char* const to = expected.data() + kMargin + distance;
        for (std::size_t p = 0; p < 6 * kPixels; p += 6) {
            const unsigned char* const from = expected.data() + kMargin + p;
            const Bytes pixel = reference.Convert(Bytes(from, from + 6));
            std::copy(pixel.begin(), pixel.end(), to + p);
        }
        EXPECT_EQ(engine->Conversion(memory.data() + kMargin, memory.data() + kMargin + distance, kPixels), 0);
        EXPECT_THAT(memory, EqualsBytes(expected));
        if (distance % 2 != 0) continue;
        Samples words(plain.size() / 2);
        std::memcpy(words.data(), plain.data(), plain.size());
        EXPECT_EQ(engine->Conversion(&words[kMargin / 2], &words[kMargin / 2] + distance / 2, kPixels), 0);
        std::memcpy(memory.data(), words.data(), memory.size());
        EXPECT_THAT(memory, EqualsBytes(expected)) << "as words";
    }
}

TEST(Conversion16Bit, UsesTheTablesAndIgnoresTheStoredSpaces) {
    const auto engine = MakeHandEngine(true);
    Samples words(30, 4711);
    const Bytes expected = ReferenceRun(*engine, Bytes(reinterpret_cast<const unsigned char*>(words.data()),
                                                       reinterpret_cast<const unsigned char*>(words.data()) + 60));
    engine->Unit.InputSpace = Space(65535);
    engine->Unit.OutputSpace = Space(65535);
    EXPECT_EQ(engine->Conversion(kNoWords, words.data(), 10), 0);
    EXPECT_EQ(engine->Conversion(words.data(), kNoWords, 10), 0);
    EXPECT_EQ(words, Samples(30, 4711)) << "nothing without a buffer";
    EXPECT_EQ(engine->Conversion(words.data(), words.data(), 10), 0);
    EXPECT_EQ(std::memcmp(words.data(), expected.data(), 60), 0);
}

// Engines that are bound to profiles.

class EngineConversion : public EngineTest {};

TEST_F(EngineConversion, TouchesNothingWithoutTables) {
    Samples words(60, 0x3333);
    for (const int input : {0, 1, 65535}) {
        pair_.SetIntent(0, input, 8);
        pair_.Convert();
        EXPECT_EQ(engine().Conversion(words.data(), words.data(), 10), 0);
    }
    EXPECT_EQ(words, Samples(60, 0x3333));
}

// The identity table at the interpolated value: only its low byte is stored.
TEST_F(EngineConversion, KeepsTheLowByteFor8BitInputAndA16BitSpace) {
    pair_.SetProfile("smooth.icc", 0, 0, 11);
    EXPECT_EQ(engine().Lut1DOutG[40000], 40000U);
    pair_.Convert();
}

// Without a table for the new intent the tables before stay.
TEST_F(EngineConversion, Rejects16BitPixelsFor8BitTables) {
    pair_.SetProfile("zero.icc", 0, 0, 8);
    ASSERT_EQ(pair_.SetIntent(1, 1, 9), 65535);
    pair_.Convert();
    Samples words(60, 4);
    EXPECT_EQ(engine().Conversion(words.data(), words.data(), 20), 0);
    EXPECT_EQ(words, Samples(60, 4));
}

TEST_F(EngineConversion, UsesTheFirstEntriesOf16BitTablesFor8BitPixels) {
    pair_.SetProfile("zero.icc", 0, 1, 11);
    ASSERT_EQ(pair_.SetIntent(1, 0, 10), 65535);
    ASSERT_EQ(engine().InEntries, 65536);
    pair_.Convert();
}

}  // namespace
}  // namespace hueweave::test
