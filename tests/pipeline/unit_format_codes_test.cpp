// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
//
// Every format code at every unit: which unit takes it, with what widths, and that a refused one leaves all buffers.
#include <climits>

#include "pipeline/UnitFamily.h"

namespace hueweave::test {
namespace {

using ICC40::ICC_UNIT::Info;
using ICC40::ICC_UNIT::InputTable43;

constexpr int kPixels = 3;
constexpr int kSamples = (kPixels + 1) * 7;

std::vector<int> AllCodes() {
    std::vector<int> codes = {INT_MIN,     -65536,     4095,    4096,    32767,       32768,
                              65530,       65533,      65534,   65535,   65536,       65536 + 257,
                              65536 + 513, 0x01010101, 1 << 24, INT_MAX, -65536 + 257};
    for (int code = -600; code <= 1400; ++code) codes.push_back(code);
    return codes;
}

/// A job with room for seven channels on all sides, whatever the code; all buffers hold scattered samples.
struct WideJob {
    explicit WideJob(int code) {
        Lcg scatter(static_cast<std::uint32_t>(code) % 1000U + 7);
        for (auto& value : work) value = scatter.Sample();
        for (auto& value : source) value = static_cast<unsigned char>(scatter.Below(256));
        for (auto& value : dest) value = static_cast<unsigned char>(scatter.Below(256));
        info.FormatCode = code;
        info.Source = source.data();
        info.Dest = dest.data();
        info.PixelCount = kPixels;
        info.WorkCount = kSamples;
        info.WorkBuf = std::make_unique<unsigned short[]>(kSamples);
        std::copy(work.begin(), work.end(), info.WorkBuf.get());
    }
    Words Work() const { return Words(info.WorkBuf.get(), info.WorkBuf.get() + kSamples); }

    Words work = Words(kSamples);
    Bytes source = Bytes(kSamples * 2);
    Bytes dest = Bytes(kSamples * 2);
    Info info;
};

class FormatCodeTest : public testing::TestWithParam<int> {};

/// Scattered tables straight in the units, of entries beyond 16 bits too.
void ScatterTables(UnitFamily& family) {
    Lcg scatter(21);
    for (std::size_t c = 0; c < 3; ++c) {
        for (std::size_t n = 0; n < 65536; ++n) {
            family.plainInput.table[c][n] = family.input->Lut16[c][n] = scatter.Sample() * 5 - 40000;
        }
    }
    for (std::size_t c = 0; c < 7; ++c) {
        for (std::size_t n = 0; n < 65536; ++n) {
            family.plainOutput.table[c][n] = family.output->Lut16[c][n] = scatter.Sample() * 5 - 40000;
        }
    }
    const PlainLut lut = ScatteredLut(7, 9, 2, 2, 22);
    const auto tag = TagOf(lut);
    family.grid->Initial(tag.get());
    family.plainGrid.Load(lut);
}

TEST_P(FormatCodeTest, IsTakenOrRefusedByEachUnitOfANumber) {
    UnitFamily family(GetParam());
    ScatterTables(family);
    int taken = 0;
    for (int code : AllCodes()) {
        WideJob job(code);
        const Bytes source = job.source;
        Words work = job.work;
        Bytes dest = job.dest;
        const int expected = family.plainInput.Run(code, source, kPixels, work);
        ASSERT_EQ(family.input->Conversion(&job.info), expected) << code;
        ASSERT_EQ(job.Work(), work) << code;
        ASSERT_EQ(job.dest, dest) << code;
        // The grid works on what lies in the working buffer; it does not look at the code.
        family.plainGrid.Run(GetParam(), kPixels, work);
        ASSERT_EQ(family.grid->Conversion(&job.info), 0) << code;
        ASSERT_EQ(job.Work(), work) << code;
        ASSERT_EQ(job.dest, dest) << code;
        // The output tables take a code of any number.
        family.plainOutput.Run(code, work, kPixels, dest);
        ASSERT_EQ(family.output->Conversion(&job.info), 0) << code;
        ASSERT_EQ(job.Work(), work) << code;
        ASSERT_EQ(job.dest, dest) << code;
        ASSERT_EQ(job.source, source) << code;
        ASSERT_EQ(job.info.FormatCode, code);
        ASSERT_EQ(job.info.PixelCount, kPixels);
        if (expected == 0) ++taken;
    }
    EXPECT_EQ(taken, 4);
}

TEST_P(FormatCodeTest, NothingIsConvertedForACountBelowOne) {
    UnitFamily family(GetParam());
    ScatterTables(family);
    for (int count : {0, -1, INT_MIN}) {
        for (int code : {257, 258, 259, 260, 261, 262, 263, 264, 513, 514, 515, 516, 517, 518, 519, 520, 1}) {
            WideJob job(code);
            const Bytes source = job.source, dest = job.dest;
            job.info.PixelCount = count;
            // Whether a code is taken does not depend on the count.
            EXPECT_EQ(family.input->Conversion(&job.info), LayoutOf(code).channels == GetParam() ? 0 : 65535);
            EXPECT_EQ(family.grid->Conversion(&job.info), 0);
            EXPECT_EQ(family.output->Conversion(&job.info), 0);
            EXPECT_EQ(job.Work(), job.work) << code;
            EXPECT_EQ(job.source, source) << code;
            EXPECT_EQ(job.dest, dest) << code;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Strides, FormatCodeTest, testing::Values(3, 4, 6, 7));

TEST(FourCurvePipelineTest, TheGridAndTheOutputRunOnWhatLiesInTheBuffer) {
    const auto input = std::make_unique<InputTable43>();
    PlainLut lut = ScatteredLut(3, 2, 17, 2, 23);
    const auto tag = TagOf(lut);
    EXPECT_EQ(input->Initial(tag.get()), 0);
    for (int stride : {3, 4, 6, 7}) {
        UnitFamily family(stride);
        ScatterTables(family);
        for (int code : AllCodes()) {
            if (code % 16 != 0 && LayoutOf(code).channels == 0) continue;
            WideJob job(code);
            const Bytes source = job.source;
            Words work = job.work;
            Bytes dest = job.dest;
            ASSERT_EQ(input->Conversion(&job.info), 0) << code;
            ASSERT_EQ(job.Work(), work) << code;
            ASSERT_EQ(job.dest, dest) << code;
            family.plainGrid.Run(stride, kPixels, work);
            ASSERT_EQ(family.grid->Conversion(&job.info), 0) << code;
            family.plainOutput.Run(code, work, kPixels, dest);
            ASSERT_EQ(family.output->Conversion(&job.info), 0) << code;
            ASSERT_EQ(job.Work(), work) << code;
            ASSERT_EQ(job.dest, dest) << code;
            ASSERT_EQ(job.source, source) << code;
        }
    }
}

}  // namespace
}  // namespace hueweave::test
