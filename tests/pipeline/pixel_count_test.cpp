// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
//
// Which tags of a file settle how many of its pixels are converted: width and length alone.
#include <gtest/gtest.h>

#include <memory>

#include "engine/CIccEngineS.h"
#include "support/MiniProfile.h"
#include "support/ReferenceTiff.h"
#include "support/TempDir.h"
#include "support/TiffBuilder.h"

namespace hueweave::test {
namespace {

using ICC40::ICC_ENG_S4::CIccEngineS;

constexpr std::uint32_t kWidth = 6, kHeight = 4;

std::unique_ptr<CIccEngineS> BoundEngine(bool wide) {
    using namespace ICC40::ICCFILE;
    const TempDir dir;
    WriteFile(dir.File("a.icc"), MiniProfile({{"A2B0", Mft2(SmoothLut())}}));
    auto engine = std::make_unique<CIccEngineS>();
    engine->SetProfile(dir.File("a.icc").c_str(), IntentPerceptual, wide ? CsRGB_16 : CsRGB_8,
                       wide ? CssRGB_16 : CssRGB_8, 0, 0, 0);
    return engine;
}

/// True: 16-bit samples, in the file and in the engine.
class PixelCountTest : public testing::TestWithParam<bool> {
protected:
    bool wide() const { return GetParam(); }
    Bytes Pixels() const {
        Bytes pixels(kWidth * kHeight * (wide() ? 6 : 3));
        for (std::size_t i = 0; i < pixels.size(); ++i) pixels[i] = static_cast<unsigned char>(i * 29 + i / 5);
        return pixels;
    }
    /// The first `count` pixels converted in memory.
    Bytes Converted(std::uint32_t count) const {
        Bytes pixels = Pixels();
        EXPECT_EQ(engine_->Conversion(pixels.data(), pixels.data(), static_cast<int>(count)), 0);
        return pixels;
    }
    /// A file of one strip with the given tags for width and length; `without` is left out.
    TiffBuilder File(unsigned without, unsigned type = 4, std::uint32_t width = kWidth,
                     std::uint32_t height = kHeight) const {
        TiffBuilder tiff;
        if (without != 256) tiff.Entry(256, type, 1, width);
        if (without != 257) tiff.Entry(257, type, 1, height);
        if (without != 258) tiff.Shorts(258, std::vector<std::uint32_t>(3, wide() ? 16U : 8U));
        tiff.Short(259, 1).Short(262, 2).StripOffsets();
        if (without != 277) tiff.Short(277, 3);
        if (without != 278) tiff.Long(278, kHeight);
        tiff.StripByteCounts();
        if (without != 282) tiff.Rational(282, 300, 1);
        return tiff.Strip(Pixels());
    }
    /// The image bytes of the file that comes out, which must also be the reference's byte for byte.
    Bytes ImageAfter(const Bytes& file) const {
        const TempDir dir;
        const std::string source = dir.File("a.tif"), dest = dir.File("b.tif");
        WriteFile(source, file);
        const ReferenceRun expected = ConvertTiff(file, source, wide() ? 2 : 1, [&](unsigned char* samples, int count) {
            EXPECT_EQ(engine_->Conversion(samples, samples, count), 0);
        });
        testing::internal::CaptureStdout();
        EXPECT_EQ(engine_->Conversion(source.c_str(), dest.c_str()), 0);
        EXPECT_EQ(testing::internal::GetCapturedStdout(), expected.log);
        const Bytes result = ReadFile(dest);
        EXPECT_TRUE(result == expected.file);
        const std::size_t size = Pixels().size();
        return result.size() < size ? result : Bytes(result.end() - static_cast<std::ptrdiff_t>(size), result.end());
    }

    std::unique_ptr<CIccEngineS> engine_ = BoundEngine(GetParam());
};

TEST_P(PixelCountTest, IsWidthTimesLength) {
    ASSERT_NE(Converted(24), Pixels());
    EXPECT_EQ(ImageAfter(File(0).Build()), Converted(24));
    EXPECT_EQ(ImageAfter(File(0, 4, 6, 3).Build()), Converted(18));
    EXPECT_EQ(ImageAfter(File(0, 4, 1, 1).Build()), Converted(1));
    EXPECT_EQ(ImageAfter(File(0, 4, 23, 1).Build()), Converted(23));
    EXPECT_EQ(ImageAfter(File(0, 4, 24, 1).Build()), Converted(24));
    EXPECT_EQ(ImageAfter(File(0, 4, 25, 1).Build()), Converted(24)) << "no more than the image holds";
}

TEST_P(PixelCountTest, IsNoughtWithoutWidthOrLength) {
    EXPECT_EQ(ImageAfter(File(256).Build()), Pixels());
    EXPECT_EQ(ImageAfter(File(257).Build()), Pixels());
    EXPECT_EQ(ImageAfter(File(0, 4, 0, 4).Build()), Pixels());
    EXPECT_EQ(ImageAfter(File(0, 4, 6, 0).Build()), Pixels());
}

TEST_P(PixelCountTest, DependsOnNoOtherTag) {
    for (const unsigned without : {258U, 277U, 278U, 282U}) {
        EXPECT_EQ(ImageAfter(File(without).Build()), Converted(24)) << without;
    }
    // Nor on what those tags say: one sample of 32 bits, no resolution.
    TiffBuilder odd;
    odd.Long(256, kWidth).Long(257, kHeight).Short(258, 32).StripOffsets().Short(277, 1).Long(278, kHeight);
    odd.StripByteCounts().Rational(282, 0, 0).Strip(Pixels());
    EXPECT_EQ(ImageAfter(odd.Build()), Converted(24));
}

TEST_P(PixelCountTest, IsReadFromShortsAsWell) { EXPECT_EQ(ImageAfter(File(0, 3).Build()), Converted(24)); }

TEST_P(PixelCountTest, TheFirstOfTwoTagsCounts) {
    TiffBuilder tiff = File(0, 4, 2, 5);
    tiff.Long(256, kWidth).Long(257, kHeight);
    EXPECT_EQ(ImageAfter(tiff.Build()), Converted(10));
}

INSTANTIATE_TEST_SUITE_P(Widths, PixelCountTest, testing::Bool(),
                         [](const auto& param) { return std::string(param.param ? "Words" : "Bytes"); });

}  // namespace
}  // namespace hueweave::test
