// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#include "pipeline/UnitFamily.h"

namespace hueweave::test {

void UnitFamily::Load(const PlainLut& lut) {
    const auto tag = TagOf(lut);
    EXPECT_EQ(input->Initial(tag.get(), ICC40::ICCFILE::CsRGB_16), 0);
    EXPECT_EQ(grid->Initial(tag.get()), 0);
    EXPECT_EQ(output->Initial(tag.get()), 0);
    plainInput.Load(lut, 1);
    plainGrid.Load(lut);
    plainOutput.Load(lut);
}

Bytes UnitFamily::Expect(int code, const Bytes& source, int pixels) const {
    const std::string what = "code " + std::to_string(code) + " of 3" + std::to_string(outputs);
    const auto samples = static_cast<std::size_t>(pixels * outputs);
    constexpr std::size_t kSpare = 16;
    Bytes kept = source, dest(samples * 2 + kSpare, 0xa5), expectedDest = dest;
    Words expected(samples);
    ICC40::ICC_UNIT::Info job;
    job.FormatCode = code;
    EXPECT_EQ(job.CheckWorkingBuf(kept.data(), dest.data(), pixels), 0);
    if (job.WorkCount != pixels * outputs || job.WorkBuf == nullptr) {
        ADD_FAILURE() << what << ": a buffer of " << job.WorkCount << " samples";
        return {};
    }
    const auto work = [&] { return Words(job.WorkBuf.get(), job.WorkBuf.get() + samples); };

    EXPECT_EQ(input->Conversion(&job), 0) << what;
    EXPECT_EQ(plainInput.Run(code, source, pixels, expected), 0) << what;
    EXPECT_THAT(work(), EqualTo(expected)) << what << ", input tables";
    EXPECT_EQ(grid->Conversion(&job), 0) << what;
    plainGrid.Run(outputs, pixels, expected);
    EXPECT_THAT(work(), EqualTo(expected)) << what << ", grid";
    EXPECT_EQ(output->Conversion(&job), 0) << what;
    plainOutput.Run(code, expected, pixels, expectedDest);
    EXPECT_THAT(dest, EqualsBytes(expectedDest)) << what << ", output tables";
    EXPECT_THAT(work(), EqualTo(expected)) << what << ": the output tables leave the working buffer alone";
    EXPECT_THAT(kept, EqualsBytes(source)) << what;
    dest.resize(samples * static_cast<std::size_t>(LayoutOf(code).destBytes));
    return dest;
}

}  // namespace hueweave::test
