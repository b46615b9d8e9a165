// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#include "unit/engine/HandTables.h"

namespace hueweave::test {
namespace {

Bytes NarrowBytes(const Samples& samples) { return Bytes(samples.begin(), samples.end()); }

TEST(ConversionTest, SixteenBitPixelsFollowTheFormula) {
    const auto engine = MakeHandEngine(true);
    Samples source = SomeSamples(3 * 20000, 65535);
    const Samples before = source;
    Samples dest(source.size());
    EXPECT_EQ(engine->Conversion(source.data(), dest.data(), 20000), 0);
    EXPECT_TRUE(dest == ReferenceRun(*engine, before, 16));
    EXPECT_TRUE(source == before);
}

TEST(ConversionTest, EightBitPixelsFollowTheFormula) {
    const auto engine = MakeHandEngine(false);
    const Samples samples = SomeSamples(3 * 20000, 255);
    Bytes source = NarrowBytes(samples);
    Bytes dest(source.size(), 0xa5);
    EXPECT_EQ(engine->Conversion(source.data(), dest.data(), 20000), 0);
    EXPECT_TRUE(source == NarrowBytes(ReferenceRun(*engine, samples, 8)));
    EXPECT_TRUE(dest == Bytes(dest.size(), 0xa5)) << "the result is written over the source";
}

TEST(ConversionTest, EverySampleOfOneChannelIsReached) {
    const auto engine = MakeHandEngine(false);
    for (std::size_t channel = 0; channel < 3; ++channel) {
        Samples samples(3 * 256, 131);
        for (std::size_t s = 0; s < 256; ++s) samples[3 * s + channel] = static_cast<std::uint16_t>(s);
        Bytes bytes = NarrowBytes(samples);
        EXPECT_EQ(engine->Conversion(bytes.data(), static_cast<unsigned char*>(nullptr), 256), 0);
        EXPECT_TRUE(bytes == NarrowBytes(ReferenceRun(*engine, samples, 8)));
    }
}

TEST(ConversionTest, ZeroFractionsTakeTheCellsOrigin) {
    const auto engine = MakeHandEngine(true);
    for (std::size_t s = 0; s < 65536; ++s) {
        const auto cell = static_cast<std::uint32_t>(s / 4096);
        engine->Lut1DInR[s] = engine->Lut1DInG[s] = engine->Lut1DInB[s] = cell << 16;
    }
    for (std::uint32_t v = 0; v < 65536; ++v) engine->Lut1DOutR[v] = engine->Lut1DOutG[v] = engine->Lut1DOutB[v] = v;
    const std::vector<unsigned> nodes = ScatteredGrid(17, 4711);
    for (std::size_t cell = 0; cell < 4096; ++cell) {
        const std::size_t i = cell / 256, j = cell / 16 % 16, k = cell % 16;
        std::uint16_t pixel[3] = {static_cast<std::uint16_t>(i * 4096), static_cast<std::uint16_t>(j * 4096),
                                  static_cast<std::uint16_t>(k * 4096)};
        ASSERT_EQ(engine->Conversion(pixel, pixel, 1), 0);
        for (std::size_t c = 0; c < 3; ++c) ASSERT_EQ(pixel[c], nodes[((i * 17 + j) * 17 + k) * 3 + c]);
    }
}

TEST(ConversionTest, TheShiftAlwaysIsTwelve) {
    const auto engine = MakeHandEngine(true);
    Samples samples = SomeSamples(300, 65535);
    const Samples expected = ReferenceRun(*engine, samples, 16);
    engine->Shift = 4;
    EXPECT_EQ(engine->Conversion(samples.data(), samples.data(), 100), 0);
    EXPECT_TRUE(samples == expected);
}

TEST(ConversionTest, ASumIsCutDownToTheNextWholeValue) {
    const auto engine = MakeHandEngine(true);
    std::fill_n(GridWords(*engine), kGridWords, 0);
    for (std::uint32_t v = 0; v < 65536; ++v) engine->Lut1DOutR[v] = v;
    for (auto& cell : engine->Lut3D) {
        for (auto& record : cell) {
            record[0][0] = 100 * 4096;
            record[0][1] = -1;
        }
    }
    // Falling by one over the cell: any fraction above 0 takes the value below, none rounds up.
    const std::pair<std::uint32_t, std::uint16_t> rows[] = {{0, 100}, {1, 99}, {2047, 99}, {2048, 99}, {4095, 99}};
    for (const auto& [fraction, expected] : rows) {
        engine->Lut1DInR[7] = fraction;
        std::uint16_t pixel[3] = {7, 0, 0};
        ASSERT_EQ(engine->Conversion(pixel, pixel, 1), 0);
        EXPECT_EQ(pixel[0], expected) << fraction;
    }
}

/// Fractions of red, green and blue, and the record that must be taken.
struct OrderRow {
    std::uint32_t red, green, blue;
    unsigned record;
};

/// All thirteen ways in which three fractions can stand to each other.
const OrderRow kOrders[] = {
    {30, 20, 10, 0}, {30, 10, 20, 1}, {20, 10, 30, 2}, {20, 30, 10, 3}, {10, 30, 20, 4},
    {10, 20, 30, 5}, {30, 10, 10, 1}, {30, 10, 30, 2}, {30, 30, 10, 3}, {10, 30, 10, 4},
    {10, 30, 30, 5}, {10, 10, 30, 5}, {30, 30, 30, 5},
};

class RecordChoiceTest : public testing::TestWithParam<OrderRow> {};

/// Records without slopes whose constants tell them apart.
std::unique_ptr<CIccEngineS> MakeTellingEngine(bool wide) {
    auto engine = MakeHandEngine(wide);
    for (auto& cell : engine->Lut3D) {
        for (int record = 0; record < 6; ++record) {
            for (int channel = 0; channel < 3; ++channel) {
                auto& words = cell[record][channel];
                std::fill_n(words, 4, 0);
                words[0] = (10 * (record + 1) + channel) * 4096;
            }
        }
    }
    for (std::uint32_t v = 0; v < 65536; ++v) engine->Lut1DOutR[v] = engine->Lut1DOutG[v] = engine->Lut1DOutB[v] = v;
    return engine;
}

TEST_P(RecordChoiceTest, FollowsTheOrderOfTheFractions) {
    const auto& row = GetParam();
    for (const bool wide : {false, true}) {
        const auto engine = MakeTellingEngine(wide);
        // Cells and fractions at either end; the cell must play no part in the comparison.
        for (const std::uint32_t base : {0U, 4000U}) {
            engine->Lut1DInR[1] = 3U << 16 | (base + row.red);
            engine->Lut1DInG[2] = 15U << 16 | (base + row.green);
            engine->Lut1DInB[3] = 0U << 16 | (base + row.blue);
            const unsigned expected = 10 * (row.record + 1);
            if (wide) {
                std::uint16_t pixel[3] = {1, 2, 3};
                engine->Conversion(pixel, pixel, 1);
                EXPECT_EQ(pixel[0], expected);
                EXPECT_EQ(pixel[1], expected + 1);
                EXPECT_EQ(pixel[2], expected + 2);
            } else {
                unsigned char pixel[3] = {1, 2, 3};
                engine->Conversion(pixel, static_cast<unsigned char*>(nullptr), 1);
                EXPECT_EQ(pixel[0], expected);
                EXPECT_EQ(pixel[1], expected + 1);
                EXPECT_EQ(pixel[2], expected + 2);
            }
        }
    }
}

TEST_P(RecordChoiceTest, EachFractionMeetsItsOwnCoefficient) {
    const auto& row = GetParam();
    const auto engine = MakeTellingEngine(true);
    auto& words = engine->Lut3D[(3 * 16 + 15) * 16 + 0][row.record];
    for (int channel = 0; channel < 3; ++channel) {
        words[channel][1] = 4096 * (1 + channel);
        words[channel][2] = 4096 * (7 + channel);
        words[channel][3] = 4096 * (19 + channel);
    }
    engine->Lut1DInR[1] = 3U << 16 | row.red;
    engine->Lut1DInG[2] = 15U << 16 | row.green;
    engine->Lut1DInB[3] = row.blue;
    std::uint16_t pixel[3] = {1, 2, 3};
    engine->Conversion(pixel, pixel, 1);
    for (unsigned channel = 0; channel < 3; ++channel) {
        EXPECT_EQ(pixel[channel], 10 * (row.record + 1) + channel + row.red * (1 + channel) +
                                      row.green * (7 + channel) + row.blue * (19 + channel));
    }
}

INSTANTIATE_TEST_SUITE_P(EveryOrder, RecordChoiceTest, testing::ValuesIn(kOrders), [](const auto& param) {
    return "R" + std::to_string(param.param.red) + "G" + std::to_string(param.param.green) + "B" +
           std::to_string(param.param.blue);
});

class BoundConversionTest : public EngineTest {};

TEST_F(BoundConversionTest, ANeutralRampFallsInTheLastRecord) {
    ASSERT_EQ(Bind(PutSmooth(), 0, 0, 11), 0);
    // The others are spoiled; with the same curve for all channels no neutral pixel may meet them.
    Bytes expected;
    for (unsigned v = 0; v < 256; ++v) {
        for (const unsigned c : ReferencePixel(engine(), {v, v, v}, 8))
            expected.push_back(static_cast<unsigned char>(c));
    }
    for (auto& cell : engine().Lut3D) std::fill_n(&cell[0][0][0], 5 * 3 * 4, 0);
    Bytes pixels;
    for (unsigned v = 0; v < 256; ++v) pixels.insert(pixels.end(), 3, static_cast<unsigned char>(v));
    EXPECT_EQ(engine().Conversion(pixels.data(), static_cast<unsigned char*>(nullptr), 256), 0);
    EXPECT_TRUE(pixels == expected);
}

TEST_F(BoundConversionTest, SixteenBitInputWithAnEightBitSpaceHoldsBytesInWords) {
    ASSERT_EQ(Bind(PutSmooth(), 0, 1, 10), 0);
    Samples samples = SomeSamples(3 * 500, 65535);
    const Samples expected = ReferenceRun(engine(), samples, 16);
    EXPECT_EQ(engine().Conversion(samples.data(), samples.data(), 500), 0);
    EXPECT_TRUE(samples == expected);
    EXPECT_LE(*std::max_element(samples.begin(), samples.end()), 255);
    ASSERT_EQ(Rebind(0, 1, 11), 11);
    Samples linear = SomeSamples(3 * 500, 65535);
    EXPECT_EQ(engine().Conversion(linear.data(), linear.data(), 500), 0);
    for (std::size_t i = 0; i < samples.size(); ++i) ASSERT_EQ(samples[i], linear[i] >> 8);
}

TEST_F(BoundConversionTest, EightBitInputWithASixteenBitSpaceKeepsTheLowByte) {
    ASSERT_EQ(Bind(PutSmooth(), 0, 0, 11), 0);
    // The identity table at the interpolated value: its low byte is what is stored.
    const Samples samples = SomeSamples(3 * 500, 255);
    Bytes bytes = NarrowBytes(samples);
    EXPECT_EQ(engine().Conversion(bytes.data(), bytes.data(), 500), 0);
    EXPECT_TRUE(bytes == NarrowBytes(ReferenceRun(engine(), samples, 8)));
    const Samples words = ReferenceRun(engine(), samples, 16);
    for (std::size_t i = 0; i < words.size(); ++i) ASSERT_EQ(bytes[i], words[i] % 256);
    EXPECT_GT(*std::max_element(words.begin(), words.end()), 255);
}

TEST_F(BoundConversionTest, TheResultFollowsTheProfile) {
    // A grid of one colour for each end of the red axis: black below, white above.
    MiniLut lut = SmoothLut(2);
    for (std::size_t node = 0; node < 8; ++node) {
        lut.grid[3 * node] = node < 4 ? 0 : 65280;
        lut.grid[3 * node + 1] = lut.grid[3 * node + 2] = 32768;
    }
    ASSERT_EQ(Bind(Put("step.icc", {{"A2B0", Mft2(lut)}}), 0, 0, 10), 0);
    unsigned char pixels[9] = {0, 255, 255, 0, 0, 0, 255, 0, 128};
    EXPECT_EQ(engine().Conversion(pixels, static_cast<unsigned char*>(nullptr), 3), 0);
    for (int i = 0; i < 6; ++i) EXPECT_EQ(pixels[i], 0);
    for (int i = 6; i < 9; ++i) EXPECT_GE(pixels[i], 253);
}

}  // namespace
}  // namespace hueweave::test
