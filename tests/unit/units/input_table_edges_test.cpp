// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
//
// Input curves at their edges.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <iterator>
#include <memory>

#include "Luts.h"
#include "units/InputTable33.h"
#include "units/WiderInputTables.h"

namespace hueweave::test {
namespace {

using ICC40::ICC_UNIT::Info;
using ICC40::ICC_UNIT::InputTable33;
using ICC40::ICC_UNIT::InputTable34;
using ICC40::ICC_UNIT::InputTable36;
using ICC40::ICC_UNIT::InputTable37;
using ICC40::ICC_UNIT::InputTable43;
using ICC40::ICCFILE::CLut16Type;
using ICC40::ICCFILE::ColorSpaceSignature;

std::unique_ptr<InputTable33> LoadedInput(const LutMaker& maker, ColorSpaceSignature space) {
    CLut16Type lut;
    maker.Fill(lut);
    auto unit = std::make_unique<InputTable33>();
    EXPECT_EQ(unit->Initial(&lut, space), 0);
    return unit;
}

/// Rises by a law of its own in each channel.
LutMaker Curved(int entries) {
    LutMaker maker;
    maker.inputEntries = entries;
    maker.input = [entries](int c, int n) {
        const double x = n / (entries - 1.0);
        return static_cast<int>(65535.0 * (c == 0 ? x * x : c == 1 ? 1.0 - x : x * (2.0 - x)));
    };
    return maker;
}

TEST(InputTableEdges, StartsEmptyWithSixteenBits) {
    const auto unit = std::make_unique<InputTable33>();
    EXPECT_STREQ(unit->UnitName, "InputTable33");
    EXPECT_EQ(unit->Bits, 16);
    for (const auto& row : unit->Lut16) {
        for (int entry : row) ASSERT_EQ(entry, 0);
    }
    for (const auto& row : unit->Curve) {
        for (int entry : row) ASSERT_EQ(entry, 0);
    }
    EXPECT_STREQ(std::make_unique<InputTable34>()->UnitName, "InputTable34");
    EXPECT_STREQ(std::make_unique<InputTable36>()->UnitName, "InputTable36");
    EXPECT_STREQ(std::make_unique<InputTable37>()->UnitName, "InputTable37");
    EXPECT_STREQ(std::make_unique<InputTable43>()->UnitName, "InputTable43");
    EXPECT_EQ(std::make_unique<InputTable37>()->Buf, nullptr);
}

TEST(InputTableEdges, WithoutCurvesEverySampleBecomesZero) {
    const auto unit = std::make_unique<InputTable33>();
    constexpr unsigned short kSamples[] = {0, 1, 255, 4096, 65535};
    for (const unsigned short sample : kSamples) {
        unsigned short v[7] = {sample, sample, sample, sample, sample, sample, sample};
        unit->Conversion(v[0], v[1], v[2], v[3], v[4], v[5], v[6]);
        EXPECT_EQ(v[0], 0);
        EXPECT_EQ(v[1], 0);
        EXPECT_EQ(v[2], 0);
    }
}

TEST(InputTableEdges, TwoEntriesAreTheIdentityWhateverTheyHold) {
    for (int entries : {0, 1, 2}) {
        LutMaker maker;
        maker.inputEntries = entries;
        maker.input = [](int, int) { return 1234; };
        const auto wide = LoadedInput(maker, CsRGB_16);
        EXPECT_EQ(wide->Bits, 16);
        EXPECT_EQ(wide->LUT_Step, 16.003663003663004);
        EXPECT_EQ(wide->Curve[2][4095], 65520);
        for (int n = 0; n < 65536; ++n) ASSERT_EQ(wide->Lut16[1][n], n);
        const auto narrow = LoadedInput(maker, CsRGB_8);
        EXPECT_EQ(narrow->Bits, 8);
        for (int i = 0; i < 255; ++i) ASSERT_EQ(narrow->Lut16[0][i], i * 256);
        EXPECT_EQ(narrow->Lut16[0][255], 65535);
    }
}

TEST(InputTableEdges, EntriesComeBackExactlyAtTheirSamples) {
    const auto unit = LoadedInput(Curved(256), CsRGB_16);
    EXPECT_EQ(unit->LUT_Step, 257.0);
    for (int n = 0; n < 256; ++n) {
        for (int c = 0; c < 3; ++c) ASSERT_EQ(unit->Lut16[c][n * 257], unit->Curve[c][n]) << n;
    }
}

TEST(InputTableEdges, EverySampleButTheLastIsEvaluatedAndRounded) {
    for (int entries : {3, 17, 1024, 4096}) {
        const LutMaker maker = Curved(entries);
        const auto unit = LoadedInput(maker, CsRGB_16);
        const double step = 65535.0 / (entries - 1);
        EXPECT_EQ(unit->LUT_Step, step);
        for (int v = 0; v < 65535; ++v) {
            const int n = static_cast<int>(v / step);
            const double f = (v - n * step) / step;
            for (int c = 0; c < 3; ++c) {
                ASSERT_EQ(unit->Lut16[c][v],
                          static_cast<int>(maker.input(c, n + 1) * f + (1.0 - f) * maker.input(c, n) + 0.5))
                    << entries << " " << v;
            }
        }
        for (int c = 0; c < 3; ++c) EXPECT_EQ(unit->Lut16[c][65535], maker.input(c, entries - 1));
    }
}

TEST(InputTableEdges, ReducingTwiceChangesNothing) {
    const auto wide = LoadedInput(Curved(17), CsRGB_16);
    const auto narrow = LoadedInput(Curved(17), CsRGB_8);
    for (int pass = 0; pass < 2; ++pass) {
        for (int c = 0; c < 3; ++c) {
            for (int i = 0; i < 255; ++i) ASSERT_EQ(narrow->Lut16[c][i], wide->Lut16[c][i * 256]);
            EXPECT_EQ(narrow->Lut16[c][255], wide->Lut16[c][65535]);
        }
        EXPECT_EQ(narrow->Change_Lut16_To_Lut8(), 0);
    }
}

TEST(InputTableEdges, LabBytesAreSignedAndOneEntryIsTakenTwice) {
    const auto wide = LoadedInput(Curved(17), CsRGB_16);
    const auto lab = LoadedInput(Curved(17), CsLab_8);
    EXPECT_EQ(lab->Bits, 8);
    for (int i = 0; i < 256; ++i) ASSERT_EQ(lab->Lut16[0][i], wide->Lut16[0][i * 256]);
    for (int c : {1, 2}) {
        EXPECT_EQ(lab->Lut16[c][0], wide->Lut16[c][32768] - 1);
        EXPECT_EQ(lab->Lut16[c][127], wide->Lut16[c][65280] - 1);
        EXPECT_EQ(lab->Lut16[c][128], wide->Lut16[c][32768]);
        EXPECT_EQ(lab->Lut16[c][129], wide->Lut16[c][256] + 1);
        EXPECT_EQ(lab->Lut16[c][255], wide->Lut16[c][127 * 256] + 1);
        for (int i = 1; i < 128; ++i) ASSERT_EQ(lab->Lut16[c][i], wide->Lut16[c][(i + 128) * 256] - 1);
        for (int i = 129; i < 256; ++i) ASSERT_EQ(lab->Lut16[c][i], wide->Lut16[c][(i - 128) * 256] + 1);
    }
}

TEST(InputTableEdges, LabWordsTurnByHalfButForOnePair) {
    const auto wide = LoadedInput(Curved(17), CsRGB_16);
    const auto lab = LoadedInput(Curved(17), CsLab_16);
    EXPECT_EQ(lab->Bits, 16);
    for (int v = 0; v < 65536; ++v) {
        const bool stays = v == 32767 || v == 65535;
        ASSERT_EQ(lab->Lut16[0][v], wide->Lut16[0][v]);
        for (int c : {1, 2}) ASSERT_EQ(lab->Lut16[c][v], wide->Lut16[c][stays ? v : v ^ 32768]) << v;
    }
}

TEST(InputTableEdges, EveryOtherEncodingIsReducedToBytes) {
    const auto expected = LoadedInput(Curved(17), CsRGB_8);
    for (int space : {4, 5, 9, 65535, -1}) {
        const auto unit = LoadedInput(Curved(17), static_cast<ColorSpaceSignature>(space));
        EXPECT_EQ(unit->Bits, 8);
        for (int i = 0; i < 256; ++i) ASSERT_EQ(unit->Lut16[1][i], expected->Lut16[1][i]);
    }
}

TEST(InputTableEdges, ASecondLoadForWordsLeavesBitsAsTheyWere) {
    CLut16Type lut;
    Curved(17).Fill(lut);
    const auto unit = std::make_unique<InputTable33>();
    unit->Initial(&lut, CsRGB_8);
    unit->Initial(&lut, CsRGB_16);
    EXPECT_EQ(unit->Bits, 8);
    EXPECT_EQ(unit->Lut16[0][65535], 65535);
}

TEST(InputTableEdges, ChannelsThatTheTableLacksStayZero) {
    LutMaker maker = Curved(17);
    maker.inputs = 1;
    const auto unit = LoadedInput(maker, CsRGB_16);
    EXPECT_EQ(unit->Lut16[0][65535], 65535);
    for (int v = 0; v < 65536; ++v) ASSERT_EQ(unit->Lut16[1][v], 0);
    maker.inputEntries = 2;
    EXPECT_EQ(LoadedInput(maker, CsRGB_16)->Lut16[2][40000], 0);
}

TEST(InputTableEdges, ACopyTakesTablesAndBitsAlone) {
    const auto source = LoadedInput(Curved(17), CsRGB_8);
    const auto copy = std::make_unique<InputTable33>();
    EXPECT_EQ(copy->Initial(source.get()), 0);
    EXPECT_EQ(copy->Bits, 8);
    EXPECT_EQ(copy->Lut16[2][200], source->Lut16[2][200]);
    EXPECT_EQ(copy->Curve[0][16], 0);
}

TEST(InputTableEdges, OneColourGoesThroughTheCurvesAndTheRestStays) {
    const auto unit = LoadedInput(Curved(3), CsRGB_16);
    unsigned short s[7] = {32767, 32768, 65535, 11, 12, 13, 14};
    unit->Conversion(s[0], s[1], s[2], s[3], s[4], s[5], s[6]);
    EXPECT_EQ(s[0], unit->Lut16[0][32767]);
    EXPECT_EQ(s[1], unit->Lut16[1][32768]);
    EXPECT_EQ(s[2], 65535);
    for (int i = 3; i < 7; ++i) EXPECT_EQ(s[i], 8 + i);
}

struct FormatRow {
    int stride;
    int codes[4];
};

template <typename Unit>
void CheckFormats(const FormatRow& row) {
    CLut16Type lut;
    Curved(17).Fill(lut);
    const auto unit = std::make_unique<Unit>();
    unit->Initial(&lut, CsRGB_16);
    for (int code :
         {256, 257, 258, 259, 260, 261, 262, 263, 264, 265, 512, 513, 514, 515, 516, 517, 518, 519, 520, 521}) {
        Info info;
        unsigned char source[12] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12};
        info.FormatCode = code;
        info.CheckWorkingBuf(source, nullptr, 2);
        if (info.WorkBuf != nullptr) std::fill_n(info.WorkBuf.get(), info.WorkCount, static_cast<unsigned short>(77));
        const bool accepted = std::find(std::begin(row.codes), std::end(row.codes), code) != std::end(row.codes);
        EXPECT_EQ(unit->Conversion(&info), accepted ? 0 : 65535) << code;
        if (!accepted) {
            if (info.WorkBuf != nullptr) {
                EXPECT_EQ(info.WorkBuf[0], 77);
            }
            continue;
        }
        unsigned short words[6];
        std::memcpy(words, source, sizeof words);
        for (int p = 0; p < 2; ++p) {
            for (int c = 0; c < row.stride; ++c) {
                const int sample = code > 500 ? words[3 * p + c % 3] : source[3 * p + c % 3];
                EXPECT_EQ(info.WorkBuf[static_cast<std::size_t>(p * row.stride + c)],
                          c < 3 ? unit->Lut16[c][sample] : 0);
            }
        }
    }
    Info empty;
    empty.FormatCode = row.codes[0];
    EXPECT_EQ(unit->Conversion(&empty), 0);
}

TEST(InputTableEdges, EachMemberTakesItsOwnFormats) {
    CheckFormats<InputTable33>({3, {257, 258, 513, 514}});
    CheckFormats<InputTable34>({4, {259, 260, 515, 516}});
    CheckFormats<InputTable36>({6, {261, 262, 517, 518}});
    CheckFormats<InputTable37>({7, {263, 264, 519, 520}});
}

TEST(InputTableEdges, FourCurvesAreEvaluatedAndHaveNoPixelPath) {
    LutMaker maker = Curved(17);
    maker.inputs = 4;
    CLut16Type lut;
    maker.Fill(lut);
    const auto unit = std::make_unique<InputTable43>();
    EXPECT_EQ(unit->Bits, 16);
    EXPECT_EQ(unit->Initial(&lut), 0);
    EXPECT_EQ(unit->LUT_Step, 65535.0 / 16);
    EXPECT_EQ(unit->Curve[3][16], maker.input(3, 16));
    unsigned short s[7] = {20000, 20000, 20000, 20000, 5, 6, 7};
    unit->Conversion(s[0], s[1], s[2], s[3], s[4], s[5], s[6]);
    const double step = 65535.0 / 16;
    const int n = static_cast<int>(20000 / step);
    const double f = (20000 - n * step) / step;
    for (int c = 0; c < 4; ++c) {
        EXPECT_EQ(s[c], static_cast<int>(maker.input(c, n + 1) * f + (1.0 - f) * maker.input(c, n) + 0.5));
    }
    EXPECT_EQ(s[4], 5);
    Info info;
    unsigned char source[3] = {1, 2, 3};
    info.FormatCode = 257;
    info.CheckWorkingBuf(source, nullptr, 1);
    info.WorkBuf[0] = 99;
    EXPECT_EQ(unit->Conversion(&info), 0);
    EXPECT_EQ(info.WorkBuf[0], 99);
}

}  // namespace
}  // namespace hueweave::test
