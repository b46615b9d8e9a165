// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
//
// Output tables and tone curves at their edges.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <memory>
#include <vector>

#include "Luts.h"
#include "units/OutputTable33.h"

namespace hueweave::test {
namespace {

using ICC40::ICC_UNIT::FindFormat;
using ICC40::ICC_UNIT::Info;
using ICC40::ICC_UNIT::OutputTable33;
using ICC40::ICC_UNIT::PixelFormat;
using ICC40::ICCFILE::CLut16Type;
using ICC40::ICCFILE::CLut8Type;
using ICC40::ICCFILE::ColorSpaceSignature;

std::unique_ptr<OutputTable33> Fresh() { return std::make_unique<OutputTable33>(); }

TEST(OutputTableEdges, StartsAsTheIdentity) {
    const auto unit = Fresh();
    EXPECT_STREQ(unit->UnitName, "OutputTable33");
    EXPECT_EQ(unit->OutputMode, 0);
    for (int c = 0; c < 7; ++c) {
        for (int i = 0; i < 65536; ++i) ASSERT_EQ(unit->Lut16[c][i], i);
        for (int i = 0; i < 4096; ++i) ASSERT_EQ(unit->Curve[c][i], i);
    }
    unsigned short s[7] = {0, 33333, 65535, 4, 5, 6, 7};
    unit->Conversion(s[0], s[1], s[2], s[3], s[4], s[5], s[6]);
    const unsigned short same[7] = {0, 33333, 65535, 4, 5, 6, 7};
    EXPECT_TRUE(std::equal(s, s + 7, same));
}

TEST(OutputTableEdges, TwoEntriesGiveTheirOwnIdentityWithASpanOfFifteen) {
    for (int entries : {0, 1, 2}) {
        LutMaker maker;
        maker.outputs = 2;
        maker.outputEntries = entries;
        maker.output = [](int, int) { return 55; };
        CLut16Type lut;
        maker.Fill(lut);
        const auto unit = Fresh();
        EXPECT_EQ(unit->Initial(&lut), 0);
        EXPECT_EQ(unit->Entries, 4096);
        EXPECT_EQ(unit->Channels, 2);
        EXPECT_EQ(unit->Step, 16.003663003663004);
        EXPECT_EQ(unit->Span, 15.0);
        EXPECT_EQ(unit->Curve[1][4095], 65520);
        EXPECT_EQ(unit->Curve[2][4095], 4095) << "a channel that the table lacks keeps the plain identity";
        for (int v : {0, 15, 16, 17, 32767, 65534}) {
            const double step = 16.003663003663004;
            const int i = static_cast<int>(v / step);
            const double f = (v - step * i) / 15.0;
            EXPECT_EQ(unit->Lut16[0][v], static_cast<int>(16 * (i + 1) * f + (1 - f) * (16 * i) + 0.5));
            EXPECT_EQ(unit->Lut16[2][v], static_cast<int>((i + 1) * f + (1 - f) * i + 0.5));
        }
        EXPECT_EQ(unit->Lut16[0][16], 17);  // f is 16 / 15, and nothing is clamped
        for (int c = 0; c < 7; ++c) EXPECT_EQ(unit->Lut16[c][65535], 65535);
    }
}

TEST(OutputTableEdges, ProfileCurvesAreExpandedAndRounded) {
    for (int entries : {3, 256, 4096}) {
        LutMaker maker;
        maker.outputEntries = entries;
        maker.output = [entries](int c, int n) {
            return static_cast<int>(65535.0 * std::pow(n / (entries - 1.0), 1.0 + c));
        };
        CLut16Type lut;
        maker.Fill(lut);
        const auto unit = Fresh();
        unit->Initial(&lut);
        const double step = 65535.0 / (entries - 1), span = 65536.0 / entries;
        EXPECT_EQ(unit->Step, step);
        EXPECT_EQ(unit->Span, span);
        for (int v = 0; v < 65535; v += 7) {
            const int i = static_cast<int>(v / step);
            const double f = (v - step * i) / span;
            for (int c = 0; c < 3; ++c) {
                const int here = maker.output(c, i),
                          next = i + 1 < entries ? maker.output(c, i + 1) : unit->Curve[c][i + 1];
                ASSERT_EQ(unit->Lut16[c][v], static_cast<int>(next * f + (1 - f) * here + 0.5)) << entries << " " << v;
            }
        }
        for (int c = 0; c < 3; ++c) EXPECT_EQ(unit->Lut16[c][65535], maker.output(c, entries - 1));
    }
}

TEST(OutputTableEdges, CallersCurvesEndInWhiteWhateverTheyHold) {
    unsigned char ramp[256], fall[256];
    for (int i = 0; i < 256; ++i) {
        ramp[i] = static_cast<unsigned char>(i);
        fall[i] = static_cast<unsigned char>(255 - i);
    }
    const auto unit = Fresh();
    EXPECT_EQ(unit->Initial(ramp, fall, ramp, 256), 0);
    EXPECT_EQ(unit->Step, 257.0);
    EXPECT_EQ(unit->Span, 256.0);
    EXPECT_EQ(unit->Curve[0][255], 65280);
    for (int v = 0; v < 65535; ++v) {
        const int i = v / 257;
        const double f = (v - 257.0 * i) / 256.0;
        ASSERT_EQ(unit->Lut16[0][v], static_cast<int>(256 * (i + 1) * f + (1 - f) * (256 * i) + 0.5)) << v;
        ASSERT_EQ(unit->Lut16[1][v], static_cast<int>(256 * (254 - i) * f + (1 - f) * (256 * (255 - i)) + 0.5)) << v;
        ASSERT_EQ(unit->Lut16[3][v], 0);
    }
    for (int c = 0; c < 7; ++c) EXPECT_EQ(unit->Lut16[c][65535], c < 3 ? 65535 : 0);
}

TEST(OutputTableEdges, CallersCountIsTakenAsFarAsThereIsRoom) {
    const std::vector<unsigned char> points(5000, 200);
    for (int count : {-5, 0, 1, 128, 255, 256, 257, 4096, 5000}) {
        const auto unit = Fresh();
        EXPECT_EQ(unit->Initial(points.data(), points.data(), points.data(), count), 0);
        const int taken = std::clamp(count, 0, 4096);
        for (int i = 0; i < 4096; ++i) ASSERT_EQ(unit->Curve[2][i], i < taken ? 200 * 256 : i) << count;
        EXPECT_EQ(unit->Curve[3][0], 0);
    }
}

TEST(OutputTableEdges, ByteTablesAreCopiedUnscaled) {
    CLut8Type lut;
    lut.outputChan = 2;
    lut.outputEnt = 256;
    lut.outputTable = std::make_unique<std::uint8_t[]>(520);
    for (std::size_t i = 0; i < 512; ++i) lut.outputTable[i] = static_cast<std::uint8_t>(i < 256 ? 255 - i : i);
    const auto unit = Fresh();
    EXPECT_EQ(unit->Initial(&lut), 0);
    for (int i = 0; i < 256; ++i) {
        EXPECT_EQ(unit->Lut16[0][i], 255 - i);
        EXPECT_EQ(unit->Lut16[1][i], i);
    }
    EXPECT_EQ(unit->Lut16[0][256], 256);
    EXPECT_EQ(unit->Lut16[2][7], 7);
    EXPECT_EQ(unit->Curve[0][0], 0);
}

TEST(OutputTableEdges, ByteTablesOfAnyShapeStayInsideTheUnit) {
    struct Row {
        int channels, entries;
    };
    for (const auto& [channels, entries] : {Row{8, 300}, Row{8, 100}, Row{7, 257}, Row{0, 256}, Row{255, 256}}) {
        CLut8Type lut;
        lut.outputChan = static_cast<std::uint8_t>(channels);
        lut.outputEnt = static_cast<std::uint16_t>(entries);
        lut.outputTable = std::make_unique<std::uint8_t[]>(static_cast<std::size_t>(channels * entries));
        std::fill_n(lut.outputTable.get(), channels * entries, std::uint8_t{7});
        // What lies behind the unit's last table is no part of it.
        constexpr std::size_t kBehind = 4096;
        const std::unique_ptr<unsigned char[]> memory(new unsigned char[sizeof(OutputTable33) + kBehind]);
        std::memset(memory.get() + sizeof(OutputTable33), 0x5a, kBehind);
        auto* const unit = ::new (memory.get()) OutputTable33();
        EXPECT_EQ(unit->Initial(&lut), 0);
        for (int c = 0; c < 7; ++c) {
            for (int i = 0; i < 400; ++i) {
                const bool taken = c < channels && i < std::min(entries, 256);
                ASSERT_EQ(unit->Lut16[c][i], taken ? 7 : i) << channels << " channels, " << entries << " entries";
            }
        }
        unit->~OutputTable33();
        for (std::size_t i = 0; i < kBehind; ++i) ASSERT_EQ(memory[sizeof(OutputTable33) + i], 0x5a) << channels;
    }
    CLut8Type none;
    none.outputChan = 3;
    none.outputEnt = 256;
    const auto unit = Fresh();
    EXPECT_EQ(unit->Initial(&none), 0);
    EXPECT_EQ(unit->Lut16[0][7], 7);
}

/// A curve that is the same everywhere has that value at every place below its last entry, before its first one too.
TEST(OutputTableEdges, EvaluationLooksAtNothingBesideTheCurve) {
    const auto unit = Fresh();
    for (int c = 0; c < 7; ++c) std::fill_n(unit->Curve[c], 4096, 1000 * (c + 1));
    unit->Step = 257.0;
    unit->Span = 256.0;
    for (const int value :
         {std::numeric_limits<int>::min(), -1000000, -65536, -257, -1, 0, 65534, 65535, 257 * 4095 - 1}) {
        int s[7] = {value, value, value, value, value, value, value};
        unit->Interpolation(s[0], s[1], s[2], s[3], s[4], s[5], s[6]);
        for (int c = 0; c < 7; ++c) EXPECT_EQ(s[c], 1000 * (c + 1)) << value;
    }
}

TEST(OutputTableEdges, RunsAreWrittenByFormat) {
    for (int code = 256; code <= 521; ++code) {
        const PixelFormat format = FindFormat(code);
        const auto unit = Fresh();
        for (int c = 0; c < 7; ++c) std::reverse(std::begin(unit->Lut16[c]), std::end(unit->Lut16[c]));
        std::vector<unsigned char> dest(32, 0xee);
        Info info;
        info.FormatCode = code;
        info.CheckWorkingBuf(nullptr, dest.data(), 2);
        for (int i = 0; i < info.WorkCount; ++i)
            info.WorkBuf[static_cast<std::size_t>(i)] = static_cast<unsigned short>(1000 * i);
        EXPECT_EQ(unit->Conversion(&info), 0);
        const bool known = (code >= 257 && code <= 262) || (code >= 513 && code <= 518);
        std::vector<unsigned char> expected(32, 0xee);
        for (int i = 0; known && i < 2 * format.channels; ++i) {
            const auto value = static_cast<unsigned short>(65535 - 1000 * i);
            if (code % 2 == 1) {
                expected[static_cast<std::size_t>(i)] = static_cast<unsigned char>(value);
            } else {
                std::memcpy(&expected[2 * static_cast<std::size_t>(i)], &value, 2);
            }
        }
        EXPECT_EQ(dest, expected) << code;
    }
}

TEST(ToneCurveEdges, EveryFormHasItsResultModeAndWidth) {
    struct Row {
        int (*run)(OutputTable33&);
        int mode, result, top;
    };
    constexpr auto kSpace = static_cast<ColorSpaceSignature>(77);
    const Row rows[] = {
        {[](OutputTable33& t) { return t.OutputGamma100(kSpace); }, 1, 77, 255},
        {[](OutputTable33& t) { return t.OutputGamma180(kSpace); }, 1, 77, 255},
        {[](OutputTable33& t) { return t.OutputGamma180_16(kSpace); }, 0, 77, 65535},
        {[](OutputTable33& t) { return t.OutputGamma_sRGB(); }, 1, 8, 255},
        {[](OutputTable33& t) { return t.OutputGamma_sRGB_16(); }, 0, 9, 65535},
        {[](OutputTable33& t) { return t.OutputGamma_KodakPhoto(); }, 1, 34, 255},
        {[](OutputTable33& t) { return t.OutputGamma_KodakPhoto_16(); }, 0, 35, 65535},
        {[](OutputTable33& t) { return t.OutputGamma_KodakMix(); }, 1, 36, 255},
        {[](OutputTable33& t) { return t.OutputGamma_KodakMix_16(); }, 1, 37, 255},
        {[](OutputTable33& t) { return t.OutputGamma_KodakText(); }, 1, 38, 255},
        {[](OutputTable33& t) { return t.OutputGamma_KodakText_16(); }, 0, 39, 65535},
        {[](OutputTable33& t) { return t.OutputRGB8(); }, 1, 0, 255},
        {[](OutputTable33& t) { return t.OutputLab_8(); }, 1, 2, 255},
        {[](OutputTable33& t) { return t.OutputLab_16(); }, 0, 3, 65535},
        {[](OutputTable33& t) { return t.OutputCMYK_8(); }, 3, 4, 255},
        {[](OutputTable33& t) { return t.OutputCMYK_16(); }, 2, 5, 65535},
        {[](OutputTable33& t) { return t.OutputCLR6_8(); }, 5, 16, 255},
        {[](OutputTable33& t) { return t.OutputCLR6_16(); }, 4, 17, 65535},
        {[](OutputTable33& t) { return t.OutputCLR7_8(); }, 7, 18, 255},
        {[](OutputTable33& t) { return t.OutputCLR7_16(); }, 6, 19, 65535},
    };
    for (const Row& row : rows) {
        const auto unit = Fresh();
        unit->OutputMode = 99;
        EXPECT_EQ(row.run(*unit), row.result);
        EXPECT_EQ(unit->OutputMode, row.mode) << row.result;
        EXPECT_EQ(unit->Lut16[0][65535], row.top) << row.result;
        const int wide = row.result == 4 ? 4 : row.result == 16 ? 6 : row.result == 18 ? 7 : 3;
        for (int c = 3; c < 7; ++c) {
            EXPECT_EQ(unit->Lut16[c][65535], c < wide && row.top == 255 ? 255 : 65535) << row.result << " " << c;
        }
    }
}

/// Every entry of the three tables against a formula.
template <typename Formula>
void ExpectFormula(const OutputTable33& unit, Formula formula) {
    for (int c = 0; c < 3; ++c) {
        for (int i = 0; i < 65536; ++i) ASSERT_EQ(unit.Lut16[c][i], formula(i)) << c << " " << i;
    }
}

TEST(ToneCurveEdges, GammasAreTheStatedFormulas) {
    const auto cut8 = [](double y) {
        const int t = static_cast<int>(y + 128.0);
        return t < 65536 ? t >> 8 : 255;
    };
    const auto srgb = [](double x) { return (std::pow(x, 0.4167) * 1.055 - 0.055) * 65535.0; };
    const auto unit = Fresh();
    unit->OutputGamma180(CsAdobeRGB_Gamma180_8);
    ExpectFormula(*unit, [&](int i) { return cut8(std::pow(i / 65535.0, 0.5556) * 65535.0); });
    EXPECT_EQ(unit->Lut16[0][0], 0);
    unit->OutputGamma180_16(CsAdobeRGB_Gamma180_16);
    ExpectFormula(*unit, [&](int i) { return static_cast<int>(std::pow(i / 65535.0, 0.5556) * 65535.0 + 0.5); });
    unit->OutputGamma_sRGB();
    ExpectFormula(*unit, [&](int i) {
        const double x = i / 65535.0;
        return cut8(0.00304 > x ? x * 65535.0 * 12.92 : srgb(x));
    });
    unit->OutputGamma_sRGB_16();
    ExpectFormula(*unit, [&](int i) {
        const double x = i / 65535.0;
        return 0.00304 > x ? static_cast<int>(x * 65535.0 * 12.92) : static_cast<int>(srgb(x) + 0.5);
    });
    EXPECT_EQ(unit->Lut16[2][65535], 65535);
}

TEST(ToneCurveEdges, KodakCurvesAreALineAndAPower) {
    struct Row {
        int (OutputTable33::*run)();
        int low, high;
        double a, b;
        bool shifted;
    };
    for (const Row& row : {Row{&OutputTable33::OutputGamma_KodakPhoto, 0, 1024, 1.2, 0.0, true},
                           Row{&OutputTable33::OutputGamma_KodakPhoto_16, 0, 1024, 1.2, 0.0, false},
                           Row{&OutputTable33::OutputGamma_KodakMix, 512, 2048, 1.5, 0.2, true},
                           Row{&OutputTable33::OutputGamma_KodakMix_16, 512, 2048, 1.5, 0.0, true},
                           Row{&OutputTable33::OutputGamma_KodakText, 2048, 10240, 2.0, 0.3, true},
                           Row{&OutputTable33::OutputGamma_KodakText_16, 2048, 10240, 2.0, 0.3, false}}) {
        const auto unit = Fresh();
        ((*unit).*row.run)();
        const double e = row.a / 2.2, scale = std::pow(10.0, row.b / 2.2) * 65535.0;
        const double top = std::pow(row.high / 65535.0, e) * scale;
        const double slope = top / (row.high - row.low), intercept = -(row.low * top) / (row.high - row.low);
        ExpectFormula(*unit, [&](int i) {
            int t = 0;
            if (i == 65535) {
                t = 65535;
            } else if (i >= row.high) {
                t = std::min(static_cast<int>(std::pow(i / 65535.0, e) * scale + 128.0), 65535);
            } else if (i > row.low) {
                t = std::max(static_cast<int>(i * slope + intercept), 0);
            }
            return row.shifted ? t >> 8 : t;
        });
    }
}

TEST(ToneCurveEdges, KodakDetailsStandWhereTheyAreStated) {
    const auto photo = Fresh(), text = Fresh(), mix = Fresh(), mix16 = Fresh();
    photo->OutputGamma_KodakPhoto_16();
    EXPECT_EQ(photo->Lut16[0][0], 0);
    EXPECT_GT(photo->Lut16[0][1], 0);
    text->OutputGamma_KodakText_16();
    for (int i = 0; i <= 2048; ++i) ASSERT_EQ(text->Lut16[1][i], 0);
    EXPECT_GT(text->Lut16[1][2049], 0);
    mix->OutputGamma_KodakMix();
    mix16->OutputGamma_KodakMix_16();
    EXPECT_NE(mix->Lut16[0][30000], mix16->Lut16[0][30000]);
    EXPECT_EQ(
        mix->Lut16[0][30000],
        static_cast<int>(std::pow(30000 / 65535.0, 1.5 / 2.2) * std::pow(10.0, 0.2 / 2.2) * 65535.0 + 128.0) >> 8);
    // The last entry keeps what it held.
    const auto own = Fresh();
    own->Lut16[0][65535] = 321;
    own->KodakCurve(0, 1024, 1.2, 0.0, 2.2);
    EXPECT_EQ(own->Lut16[0][65535], 321);
}

TEST(ToneCurveEdges, AShiftOnAShiftedTableShiftsAgainAndKeepsTheSign) {
    const auto unit = Fresh();
    unit->Lut16[0][5] = -300;
    unit->OutputGamma100(CssRGB_Gamma100_8);
    EXPECT_EQ(unit->Lut16[0][5], -2);
    EXPECT_EQ(unit->Lut16[1][65535], 255);
    unit->OutputGamma100(CssRGB_Gamma100_8);
    EXPECT_EQ(unit->Lut16[1][65535], 0);
    unit->ResetTable();
    EXPECT_EQ(unit->Lut16[1][65535], 65535);
    EXPECT_EQ(unit->OutputMode, 1);
}

TEST(ToneCurveEdges, LabFormsFlipTheTopBitOfTheOpponents) {
    const auto bytes = Fresh(), words = Fresh();
    bytes->OutputLab_8();
    words->OutputLab_16();
    for (int i = 0; i < 65536; ++i) {
        ASSERT_EQ(bytes->Lut16[0][i], i >> 8);
        ASSERT_EQ(bytes->Lut16[1][i], (i >> 8) ^ 128);
        ASSERT_EQ(bytes->Lut16[2][i], (i >> 8) ^ 128);
        ASSERT_EQ(words->Lut16[0][i], i);
        ASSERT_EQ(words->Lut16[1][i], i ^ 32768);
        ASSERT_EQ(words->Lut16[2][i], i ^ 32768);
    }
}

}  // namespace
}  // namespace hueweave::test
