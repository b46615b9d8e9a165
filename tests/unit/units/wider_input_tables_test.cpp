// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
//
// The pixel path of the input tables of 3, 4, 6 and 7 samples a pixel, and the table of four curves.
#include "units/WiderInputTables.h"

#include <gtest/gtest.h>

#include <climits>
#include <limits>
#include <type_traits>

#include "unit/units/UnitHelpers.h"

namespace hueweave::test {
namespace {

using ICC40::ICC_UNIT::InputTable33;
using ICC40::ICC_UNIT::InputTable34;
using ICC40::ICC_UNIT::InputTable36;
using ICC40::ICC_UNIT::InputTable37;
using ICC40::ICC_UNIT::InputTable43;

static_assert(std::is_base_of_v<InputTable33, InputTable34>);
static_assert(std::is_base_of_v<InputTable33, InputTable36>);
static_assert(std::is_base_of_v<InputTable33, InputTable37>);
static_assert(std::is_base_of_v<Base, InputTable43> && !std::is_base_of_v<InputTable33, InputTable43>);

struct InputRow {
    const char* name;
    std::unique_ptr<InputTable33> (*make)();
    int samples;    ///< a pixel in the working buffer
    int firstCode;  ///< this and the next take 8-bit sources; 256 on, 16-bit ones
};

template <typename Table>
std::unique_ptr<InputTable33> MakeTable() {
    return std::make_unique<Table>();
}

constexpr InputRow kInputRows[] = {{"InputTable33", &MakeTable<InputTable33>, 3, 257},
                                   {"InputTable34", &MakeTable<InputTable34>, 4, 259},
                                   {"InputTable36", &MakeTable<InputTable36>, 6, 261},
                                   {"InputTable37", &MakeTable<InputTable37>, 7, 263}};

class InputMember : public testing::TestWithParam<InputRow> {
protected:
    bool Accepts(int code) const {
        const int first = GetParam().firstCode;
        return code == first || code == first + 1 || code == first + 256 || code == first + 257;
    }
    /// Tables whose entries tell row and place.
    std::unique_ptr<InputTable33> Filled() const {
        auto table = GetParam().make();
        for (int row = 0; row < 3; ++row) {
            for (int i = 0; i < 65536; ++i) table->Lut16[row][i] = (i * 3 + row * 1000 + 7) & 0xffff;
        }
        return table;
    }
    static unsigned short Entry(int row, int i) {
        return static_cast<unsigned short>((i * 3 + row * 1000 + 7) & 0xffff);
    }
    std::vector<unsigned short> ExpectedWork(const std::vector<int>& samples, std::size_t size) const {
        std::vector<unsigned short> work;
        for (std::size_t p = 0; p < samples.size(); p += 3) {
            for (int c = 0; c < GetParam().samples; ++c) {
                work.push_back(c < 3 ? Entry(c, samples[p + static_cast<std::size_t>(c)])
                                     : static_cast<unsigned short>(0));
            }
        }
        return WithMarks(work, size, Job::kMark16);
    }
};

TEST_P(InputMember, StartsAsTheBaseUnderItsOwnName) {
    const auto table = GetParam().make();
    EXPECT_STREQ(table->UnitName, GetParam().name);
    EXPECT_EQ(table->Bits, 16);
    for (std::size_t row = 0; row < 3; ++row) {
        ExpectRow(table->Curve[row], ConstantRow(4096, 0), "Curve");
        ExpectRow(table->Lut16[row], ConstantRow(65536, 0), "Lut16");
    }
}

TEST_P(InputMember, RefusesEveryOtherCodeUntouched) {
    const auto table = Filled();
    std::vector<int> codes = {INT_MIN, -1, 0, 1, 65534, 65535, INT_MAX};
    for (int code = 250; code <= 530; ++code) codes.push_back(code);
    for (int code : codes) {
        if (Accepts(code)) continue;
        Job job(code, 2);
        EXPECT_EQ(table->Conversion(&job.info), 65535) << code;
        EXPECT_EQ(job.Work(), std::vector<unsigned short>(job.Work().size(), Job::kMark16)) << code;
        EXPECT_EQ(job.dest, std::vector<unsigned char>(job.dest.size(), Job::kMark)) << code;
    }
}

TEST_P(InputMember, ReadsThreeBytesAPixel) {
    const auto table = Filled();
    for (int code : {GetParam().firstCode, GetParam().firstCode + 1}) {
        Job job(code, 3);
        job.Source8({0, 1, 2, 253, 254, 255, 128, 7, 99});
        EXPECT_EQ(table->Conversion(&job.info), 0);
        EXPECT_EQ(job.Work(), ExpectedWork({0, 1, 2, 253, 254, 255, 128, 7, 99}, job.Work().size())) << code;
    }
}

TEST_P(InputMember, ReadsThreeWordsAPixel) {
    const auto table = Filled();
    for (int code : {GetParam().firstCode + 256, GetParam().firstCode + 257}) {
        Job job(code, 3);
        job.Source16({0, 1, 256, 65533, 65534, 65535, 32768, 300, 255});
        EXPECT_EQ(table->Conversion(&job.info), 0);
        EXPECT_EQ(job.Work(), ExpectedWork({0, 1, 256, 65533, 65534, 65535, 32768, 300, 255}, job.Work().size()))
            << code;
    }
}

TEST_P(InputMember, DoesNotCheckTheCodeAgainstTheWidthOfTheTable) {
    const auto table = Filled();
    table->Bits = 8;
    Job words(GetParam().firstCode + 256, 1);
    words.Source16({256, 40000, 65535});
    EXPECT_EQ(table->Conversion(&words.info), 0);
    EXPECT_EQ(words.info.WorkBuf[1], Entry(1, 40000));
    table->Bits = 16;
    Job bytes(GetParam().firstCode, 1);
    bytes.Source8({1, 200, 255});
    EXPECT_EQ(table->Conversion(&bytes.info), 0);
    EXPECT_EQ(bytes.info.WorkBuf[2], Entry(2, 255));
}

TEST_P(InputMember, StoresTheLow16BitsOfAnEntry) {
    const auto table = Filled();
    table->Lut16[0][5] = -1;
    table->Lut16[1][5] = 0x12345;
    table->Lut16[2][5] = 65536;
    Job job(GetParam().firstCode, 1);
    job.Source8({5, 5, 5});
    table->Conversion(&job.info);
    EXPECT_EQ(job.info.WorkBuf[0], 65535);
    EXPECT_EQ(job.info.WorkBuf[1], 0x2345);
    EXPECT_EQ(job.info.WorkBuf[2], 0);
}

TEST_P(InputMember, ConvertsNothingForACountBelowOne) {
    const auto table = Filled();
    for (int code : {GetParam().firstCode, GetParam().firstCode + 256}) {
        for (int count : {0, -1, INT_MIN}) {
            Job job(code, 1);
            job.info.PixelCount = count;
            EXPECT_EQ(table->Conversion(&job.info), 0);
            EXPECT_EQ(job.Work(), std::vector<unsigned short>(job.Work().size(), Job::kMark16));
        }
    }
}

TEST_P(InputMember, LeavesSourceAndDestinationAlone) {
    const auto table = Filled();
    Job job(GetParam().firstCode, 2);
    const auto source = job.source;
    table->Conversion(&job.info);
    EXPECT_EQ(job.source, source);
    EXPECT_EQ(job.dest, std::vector<unsigned char>(job.dest.size(), Job::kMark));
    EXPECT_EQ(job.info.PixelCount, 2);
}

TEST_P(InputMember, WorksOnTheBufferThatTheJobMakes) {
    const auto table = Filled();
    std::vector<unsigned char> source = {9, 8, 7, 6, 5, 4};
    const auto info = std::make_unique<Info>();
    info->FormatCode = GetParam().firstCode;
    ASSERT_EQ(info->CheckWorkingBuf(source.data(), nullptr, 2), 0);
    ASSERT_EQ(info->WorkCount, 2 * GetParam().samples);
    EXPECT_EQ(table->Conversion(info.get()), 0);
    const std::vector<unsigned short> work(info->WorkBuf.get(), info->WorkBuf.get() + info->WorkCount);
    EXPECT_EQ(work, ExpectedWork({9, 8, 7, 6, 5, 4}, work.size()));
}

TEST_P(InputMember, InheritsLoadingAndEvaluation) {
    const auto lut = MakeLut({.inputEntries = 17}, 8);
    const auto table = GetParam().make();
    const auto plain = std::make_unique<InputTable33>();
    EXPECT_EQ(table->Initial(lut.get(), Space(1)), 0);
    plain->Initial(lut.get(), Space(1));
    for (std::size_t row = 0; row < 3; ++row) {
        ExpectRow(table->Lut16[row], RowOf(plain->Lut16[row], 65536), "Lut16");
    }
    unsigned short a = 100, b = 3000, c = 60000, d = 11, e = 12, f = 13, g = 14;
    table->Conversion(a, b, c, d, e, f, g);
    EXPECT_EQ(a, plain->Lut16[0][100]);
    EXPECT_EQ(b, plain->Lut16[1][3000]);
    EXPECT_EQ(c, plain->Lut16[2][60000]);
    EXPECT_EQ((std::array{d, e, f, g}), (std::array<unsigned short, 4>{11, 12, 13, 14}));
}

INSTANTIATE_TEST_SUITE_P(Every, InputMember, testing::ValuesIn(kInputRows),
                         [](const auto& row) { return std::string(row.param.name); });

TEST(WiderInputTables, HaveANullBuffer) {
    EXPECT_EQ(std::make_unique<InputTable34>()->Buf, nullptr);
    EXPECT_EQ(std::make_unique<InputTable36>()->Buf, nullptr);
    EXPECT_EQ(std::make_unique<InputTable37>()->Buf, nullptr);
}

TEST(WiderInputTables, ReleaseTheirBuffer) {
    // An address checker sees a buffer that is left behind.
    const auto four = std::make_unique<InputTable34>();
    four->Buf = std::make_unique<unsigned char[]>(10);
    EXPECT_NE(four->Buf, nullptr);
}

TEST(WiderInputTables, Code259BelongsToFourSamples) {
    const auto three = std::make_unique<InputTable33>();
    const auto four = std::make_unique<InputTable34>();
    Job refused(259, 1);
    EXPECT_EQ(three->Conversion(&refused.info), 65535);
    Job job(259, 2);
    EXPECT_EQ(four->Conversion(&job.info), 0);
    EXPECT_EQ(job.Work(), WithMarks(std::vector<unsigned short>(8, 0), job.Work().size(), Job::kMark16));
}

TEST(FourInputCurves, StartCleared) {
    const auto table = std::make_unique<InputTable43>();
    EXPECT_STREQ(table->UnitName, "InputTable43");
    EXPECT_EQ(table->Bits, 16);
    for (const auto& row : table->Curve) ExpectRow(row, ConstantRow(4096, 0), "Curve");
}

TEST(FourInputCurves, AreTakenAsTheyAre) {
    for (int entries : {2, 3, 256, 4096}) {
        const auto lut = MakeLut({.inputs = 4, .inputEntries = entries});
        const auto table = std::make_unique<InputTable43>();
        table->Bits = 8;
        EXPECT_EQ(table->Initial(lut.get()), 0);
        EXPECT_EQ(table->LUT_Step, 65535.0 / (entries - 1));
        EXPECT_EQ(table->Bits, 8);
        for (int c = 0; c < 4; ++c) {
            std::vector<int> curve(4096, 0);
            for (int n = 0; n < entries; ++n) {
                curve[static_cast<std::size_t>(n)] = CurveEntry(lut->inputTable, entries, c, n);
            }
            ExpectRow(table->Curve[c], curve, "Curve");
        }
    }
}

TEST(FourInputCurves, HaveNoGuardForSmallCounts) {
    const auto table = std::make_unique<InputTable43>();
    EXPECT_EQ(table->Initial(MakeLut({.inputs = 4, .inputEntries = 1}).get()), 0);
    EXPECT_EQ(table->LUT_Step, std::numeric_limits<double>::infinity());
    EXPECT_EQ(table->Initial(MakeLut({.inputs = 4, .inputEntries = 0}).get()), 0);
    EXPECT_EQ(table->LUT_Step, -65535.0);
}

TEST(FourInputCurves, FillTheChannelsOfTheProfileAlone) {
    const auto table = std::make_unique<InputTable43>();
    table->Curve[2][0] = 5;
    table->Initial(MakeLut({.inputs = 2, .inputEntries = 3}).get());
    EXPECT_EQ(table->Curve[2][0], 5);
    EXPECT_EQ(table->Curve[3][1], 0);
}

TEST(FourInputCurves, AreEvaluatedOnFourChannels) {
    const auto lut = MakeLut({.inputs = 4, .inputEntries = 9}, 21);
    const auto table = std::make_unique<InputTable43>();
    table->Initial(lut.get());
    const double step = 65535.0 / 8;
    for (int x = 0; x < 65535; x += 13) {
        unsigned short s[7];
        std::fill_n(s, 7, static_cast<unsigned short>(x));
        ASSERT_EQ(table->Conversion(s[0], s[1], s[2], s[3], s[4], s[5], s[6]), 0);
        const int n = static_cast<int>(x / step);
        const double f = (x - n * step) / step;
        for (int c = 0; c < 4; ++c) {
            const int expected = static_cast<int>(CurveEntry(lut->inputTable, 9, c, n + 1) * f +
                                                  (1.0 - f) * CurveEntry(lut->inputTable, 9, c, n) + 0.5);
            ASSERT_EQ(s[c], expected) << x << ", " << c;
        }
        for (int c = 4; c < 7; ++c) ASSERT_EQ(s[c], x);
    }
}

TEST(FourInputCurves, HaveNoPixelPath) {
    const auto table = std::make_unique<InputTable43>();
    for (int code : {0, 256, 257, 259, 263, 264, 515, 520, 521, 65534}) {
        Job job(code, 2);
        EXPECT_EQ(table->Conversion(&job.info), 0) << code;
        EXPECT_EQ(job.Work(), std::vector<unsigned short>(job.Work().size(), Job::kMark16));
        EXPECT_EQ(job.dest, std::vector<unsigned char>(job.dest.size(), Job::kMark));
    }
    std::vector<unsigned char> data = {1, 2, 3, 4};
    EXPECT_EQ(table->Conversion(data.data(), 1), 0);
    EXPECT_EQ(data, (std::vector<unsigned char>{1, 2, 3, 4}));
}

}  // namespace
}  // namespace hueweave::test
