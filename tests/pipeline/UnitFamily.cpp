// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#include "pipeline/UnitFamily.h"

namespace hueweave::test {

namespace {

void Append(Words& pixels, int a, int b, int c) {
    for (int value : {a, b, c}) pixels.push_back(static_cast<unsigned short>(value));
}

}  // namespace

Words WordPixels(int points, std::uint32_t seed) {
    // Every other size is resampled to 17 points.
    const int used = points == 9 || points == 33 ? points : 17;
    const int width = 65536 / (used - 1);
    Lcg scatter(seed);
    Words pixels;
    for (int v = 0; v < 65536; v += 37) Append(pixels, v, v, v);
    Append(pixels, 65534, 65534, 65534);
    Append(pixels, 65535, 65535, 65535);
    std::vector<int> marked = {0, 1, 255, 256, 257, 32767, 32768, 65279, 65280, 65281, 65534, 65535};
    for (int n = 1; n < used - 1; ++n) marked.insert(marked.end(), {n * width - 1, n * width, n * width + 1});
    const auto count = static_cast<std::uint32_t>(marked.size());
    for (int n = 0; n < 1200; ++n) {
        const std::size_t a = scatter.Below(count), b = scatter.Below(count), c = scatter.Below(count);
        Append(pixels, marked[a], marked[b], marked[c]);
    }
    const auto below = [&](int limit) { return static_cast<int>(scatter.Below(static_cast<std::uint32_t>(limit))); };
    // All orders of three fractions, ties among them, in cells all over the grid.
    for (int round = 0; round < 30; ++round) {
        const int low = below(width), middle = below(width), high = below(width);
        const int level[3] = {round == 0 ? 0 : low, middle, round == 1 ? width - 1 : high};
        for (int pattern = 0; pattern < 27; ++pattern) {
            const int i = below(used - 1), j = below(used - 1), k = below(used - 1);
            Append(pixels, i * width + level[pattern % 3], j * width + level[pattern / 3 % 3],
                   k * width + level[pattern / 9]);
        }
    }
    for (int n = 0; n < 3 * 800; ++n) pixels.push_back(scatter.Sample());
    return pixels;
}

Bytes BytePixels(std::uint32_t seed) {
    Bytes pixels;
    for (int v = 0; v < 256; ++v) pixels.insert(pixels.end(), 3, static_cast<unsigned char>(v));
    const unsigned char ends[] = {0, 1, 127, 128, 129, 254, 255};
    for (unsigned char a : ends) {
        for (unsigned char b : ends) {
            for (unsigned char c : ends) pixels.insert(pixels.end(), {a, b, c});
        }
    }
    Lcg scatter(seed);
    for (int n = 0; n < 3 * 2000; ++n) pixels.push_back(static_cast<unsigned char>(scatter.Below(256)));
    return pixels;
}

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
