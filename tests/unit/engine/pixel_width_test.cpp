// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
//
// The pixel rules that do not depend on the width, held in both.
#include "unit/engine/HandTables.h"

namespace hueweave::test {
namespace {

/// True: 16-bit pixels.
class PixelWidthTest : public testing::TestWithParam<bool> {
protected:
    bool wide() const { return GetParam(); }
    unsigned Top() const { return wide() ? 65535 : 255; }
    std::size_t Entries() const { return Top() + std::size_t{1}; }
    /// Samples of the path's width through the engine, in place.
    Samples Run(const Samples& samples) const {
        const auto pixels = static_cast<int>(samples.size() / 3);
        if (wide()) {
            Samples words = samples;
            EXPECT_EQ(engine_->Conversion(words.data(), words.data(), pixels), 0);
            return words;
        }
        Bytes bytes(samples.begin(), samples.end());
        EXPECT_EQ(engine_->Conversion(bytes.data(), kNoBytes, pixels), 0);
        return Samples(bytes.begin(), bytes.end());
    }
    Samples Expected(const Samples& samples) const { return ReferenceRun(*engine_, samples, wide() ? 16 : 8); }
    void IdentityOutput() {
        for (std::uint32_t v = 0; v < 65536; ++v) {
            engine_->Lut1DOutR[v] = engine_->Lut1DOutG[v] = engine_->Lut1DOutB[v] = v;
        }
    }
    void SetEntries(std::size_t sample, std::uint32_t red, std::uint32_t green, std::uint32_t blue) {
        engine_->Lut1DInR[sample] = red;
        engine_->Lut1DInG[sample] = green;
        engine_->Lut1DInB[sample] = blue;
    }

    std::unique_ptr<CIccEngineS> engine_ = MakeHandEngine(GetParam());
};

TEST_P(PixelWidthTest, EverySampleOfEachChannelFindsItsEntry) {
    for (std::size_t channel = 0; channel < 3; ++channel) {
        Samples samples(3 * Entries(), 131);
        for (std::size_t s = 0; s < Entries(); ++s) samples[3 * s + channel] = static_cast<std::uint16_t>(s);
        EXPECT_TRUE(Run(samples) == Expected(samples)) << "channel " << channel;
    }
}

TEST_P(PixelWidthTest, EveryCellIsNumberedWithRedSlowestAndBlueFastest) {
    IdentityOutput();
    // Sixteen samples lead to the origins of the cells of one axis; each cell holds its number in all records.
    for (std::size_t s = 0; s < 16; ++s) {
        SetEntries(s, static_cast<std::uint32_t>(s) << 16, static_cast<std::uint32_t>(s) << 16,
                   static_cast<std::uint32_t>(s) << 16);
    }
    std::fill_n(GridWords(*engine_), kGridWords, 0);
    for (std::int32_t cell = 0; cell < 4096; ++cell) {
        for (auto& record : engine_->Lut3D[cell]) {
            record[0][0] = cell % 256 * 4096;
            record[1][0] = cell / 256 * 4096;
            record[2][0] = 7 * 4096;
        }
    }
    Samples samples, expected;
    for (unsigned cell = 0; cell < 4096; ++cell) {
        for (const unsigned part : {cell / 256, cell / 16 % 16, cell % 16}) {
            samples.push_back(static_cast<std::uint16_t>(part));
        }
        for (const unsigned value : {cell % 256, cell / 256, 7U}) {
            expected.push_back(static_cast<std::uint16_t>(value));
        }
    }
    EXPECT_TRUE(Run(samples) == expected);
}

TEST_P(PixelWidthTest, ZeroFractionsTakeTheCellsOriginExactly) {
    SetEntries(1, 3U << 16, 15U << 16, 0);
    for (const std::int32_t value : {0, 1, 4711, 65534, 65535}) {
        for (auto& channel : engine_->Lut3D[(3 * 16 + 15) * 16][5]) {
            channel[0] = value * 4096;
            channel[1] = -value;
            channel[2] = 65535 - value;
            channel[3] = 0;
        }
        const Samples result = Run({1, 1, 1});
        const std::uint32_t entries[] = {engine_->Lut1DOutR[value], engine_->Lut1DOutG[value],
                                         engine_->Lut1DOutB[value]};
        for (std::size_t c = 0; c < 3; ++c) EXPECT_EQ(result[c], entries[c] & Top()) << value;
    }
}

TEST_P(PixelWidthTest, SumsAreCutDownAndNeverRounded) {
    IdentityOutput();
    std::fill_n(GridWords(*engine_), kGridWords, 0);
    for (auto& cell : engine_->Lut3D) {
        for (auto& record : cell) {
            record[0][0] = 100 * 4096;
            record[0][1] = -1;
            record[1][0] = 100 * 4096;
            record[1][2] = 1;
        }
    }
    const struct {
        std::uint32_t fraction;
        unsigned falling, rising;
    } rows[] = {{0, 100, 100}, {1, 99, 100}, {2047, 99, 100}, {2048, 99, 100}, {2049, 99, 100}, {4095, 99, 100}};
    for (const auto& row : rows) {
        SetEntries(1, row.fraction, row.fraction, row.fraction);
        const Samples result = Run({1, 1, 1});
        EXPECT_EQ(result[0], row.falling) << row.fraction;
        EXPECT_EQ(result[1], row.rising) << row.fraction;
    }
}

TEST_P(PixelWidthTest, TheLargestDifferencesStayWithinTheTables) {
    IdentityOutput();
    engine_->Lut1DOutR[0] = 5;
    engine_->Lut1DOutR[65535] = 6;
    engine_->Lut1DOutR[15] = 7;
    engine_->Lut1DOutR[65519] = 8;
    std::fill_n(GridWords(*engine_), kGridWords, 0);
    for (auto& record : engine_->Lut3D[0]) record[0][0] = 65535 * 4096;
    for (auto& record : engine_->Lut3D[0]) record[0][1] = -65535;
    for (auto& record : engine_->Lut3D[1 << 8]) record[0][1] = 65535;
    // White to black and black to white, at the cell's origin and as near to its far end as a fraction comes.
    SetEntries(1, 0, 0, 0);
    EXPECT_EQ(Run({1, 1, 1})[0], 6);
    SetEntries(1, 4095, 0, 0);
    EXPECT_EQ(Run({1, 1, 1})[0], 7);
    SetEntries(1, 1U << 16, 0, 0);
    EXPECT_EQ(Run({1, 1, 1})[0], 5);
    SetEntries(1, 1U << 16 | 4095, 0, 0);
    EXPECT_EQ(Run({1, 1, 1})[0], 8);
}

TEST_P(PixelWidthTest, TheShiftOfTheLoopDoesNotFollowTheField) {
    Samples samples = SomeSamples(3000, Top());
    const Samples expected = Expected(samples);
    for (const int shift : {4, 0, 11, 13}) {
        engine_->Shift = shift;
        EXPECT_TRUE(Run(samples) == expected) << shift;
    }
}

TEST_P(PixelWidthTest, EachFractionMeetsItsOwnCoefficient) {
    IdentityOutput();
    // Orders that lead to each of the six records, and what the coefficients make of them.
    const std::uint32_t rows[6][3] = {{3, 2, 1}, {3, 1, 2}, {2, 1, 3}, {2, 3, 1}, {1, 3, 2}, {1, 2, 3}};
    for (std::size_t record = 0; record < 6; ++record) {
        std::fill_n(GridWords(*engine_), kGridWords, 0);
        for (std::int32_t c = 0; c < 3; ++c) {
            auto& words = engine_->Lut3D[0][record][c];
            words[0] = (1 + c) * 4096;
            words[1] = (2 + c) * 4096;
            words[2] = (10 + c) * 4096;
            words[3] = (20 + c) * 4096;
        }
        const auto& f = rows[record];
        SetEntries(1, f[0], f[1], f[2]);
        const Samples result = Run({1, 1, 1});
        for (std::uint32_t c = 0; c < 3; ++c) {
            EXPECT_EQ(result[c], 1 + c + f[0] * (2 + c) + f[1] * (10 + c) + f[2] * (20 + c)) << "record " << record;
        }
    }
}

TEST_P(PixelWidthTest, SamplesAreTheLowBitsOfTheirEntry) {
    for (std::uint32_t v = 0; v < 65536; ++v) {
        engine_->Lut1DOutR[v] = 0xfedcba98;
        engine_->Lut1DOutG[v] = 0x00010000;
        engine_->Lut1DOutB[v] = 0x0000ffff;
    }
    const Samples result = Run({1, 2, 3});
    EXPECT_EQ(result[0], wide() ? 0xba98 : 0x98);
    EXPECT_EQ(result[1], 0);
    EXPECT_EQ(result[2], Top());
}

TEST_P(PixelWidthTest, ConvertingChangesNothingInTheEngine) {
    const Stages before = StagesOf(*engine_);
    const Samples samples = SomeSamples(3000, Top());
    const Samples first = Run(samples);
    EXPECT_TRUE(Run(samples) == first);
    EXPECT_TRUE(StagesOf(*engine_) == before);
    EXPECT_EQ(engine_->Unit.PixelCount, 0);
    EXPECT_EQ(engine_->Unit.WorkCount, 0);
    EXPECT_EQ(engine_->Unit.Source, nullptr);
}

TEST_P(PixelWidthTest, LongRunsEqualSinglePixels) {
    const Samples samples = SomeSamples(3 * 1000, Top());
    Samples single;
    for (std::size_t p = 0; p < samples.size(); p += 3) {
        const Samples pixel = Run({samples[p], samples[p + 1], samples[p + 2]});
        single.insert(single.end(), pixel.begin(), pixel.end());
    }
    EXPECT_TRUE(Run(samples) == single);
}

INSTANTIATE_TEST_SUITE_P(Widths, PixelWidthTest, testing::Bool(),
                         [](const auto& param) { return std::string(param.param ? "Words" : "Bytes"); });

class NeutralWordsTest : public EngineTest {};

TEST_F(NeutralWordsTest, FallInTheLastRecord) {
    ASSERT_EQ(Bind(PutSmooth(), 0, 1, 11), 0);
    Samples ramp;
    for (unsigned v = 0; v < 65536; ++v) ramp.insert(ramp.end(), 3, static_cast<std::uint16_t>(v));
    const Samples expected = ReferenceRun(engine(), ramp, 16);
    for (auto& cell : engine().Lut3D) std::fill_n(&cell[0][0][0], 5 * 3 * 4, 0);
    EXPECT_EQ(engine().Conversion(ramp.data(), ramp.data(), 65536), 0);
    EXPECT_TRUE(ramp == expected);
}

}  // namespace
}  // namespace hueweave::test
