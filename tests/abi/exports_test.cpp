// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#include <filesystem>
#include <limits>

#include "abi/ExportsFixture.h"
#include "support/MiniTiff.h"

namespace hueweave::test {
namespace {

/// Every rule that holds for all three sets alike.
class ExportsTest : public ExportsFixture, public testing::WithParamInterface<const char*> {
protected:
    bool Primary() const { return std::string(GetParam()).empty(); }
    /// True while the conversions refuse to run.
    bool Refuses() {
        unsigned char pixel[3] = {1, 2, 3};
        const std::int32_t status = api_.Convert2(pixel, nullptr, 1);
        EXPECT_TRUE(status == 0 || status == -1) << status;
        return status == -1;
    }
    EngineApi api_{library_, GetParam()};
};

TEST_P(ExportsTest, Convert2WithoutAProfileRefusesAndTouchesNothing) {
    Bytes source = SomePixels();
    Bytes dest(source.size(), 0x5a);
    for (const std::int32_t pixels : {100, 1, 0, -1}) EXPECT_EQ(api_.Convert2(source.data(), dest.data(), pixels), -1);
    EXPECT_EQ(api_.Convert2(nullptr, nullptr, 5), -1);
    EXPECT_EQ(source, SomePixels());
    EXPECT_EQ(dest, Bytes(source.size(), 0x5a));
}

TEST_P(ExportsTest, ConvertFileWithoutAProfileCreatesNoFileAndPrintsNothing) {
    const std::string source = dir_.File("source.tif");
    WriteFile(source, MiniTiff{1, 1, 3, 8, {1, 2, 3}, {}}.Build());
    testing::internal::CaptureStdout();
    EXPECT_EQ(api_.ConvertFile(source.c_str(), dir_.File("dest.tif").c_str()), 65535);
    EXPECT_EQ(api_.ConvertFile(dir_.File("absent.tif").c_str(), dir_.File("dest.tif").c_str()), 65535);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_FALSE(std::filesystem::exists(dir_.File("dest.tif")));
}

TEST_P(ExportsTest, SetProfileAnswersTheOutputSpace) {
    const std::string path = Good();
    for (const int output : {8, 9, 10, 11, 12, 13, 20, 31, 34, 39}) {
        EXPECT_EQ(api_.SetProfile(path.c_str(), nullptr, 0, output % 2, output), output);
        EXPECT_FALSE(Refuses()) << output;
    }
    for (const int output : {0, 7, 14, 15, 16, 19, 32, 33, 40, 65535, -1}) {
        EXPECT_EQ(api_.SetProfile(path.c_str(), nullptr, 0, 0, output), 65535) << output;
        EXPECT_TRUE(Refuses()) << output;
    }
}

TEST_P(ExportsTest, AnUnsetInputEncodingStandsForBytesInTheFirstSetOnly) {
    const std::string path = Good();
    ASSERT_EQ(api_.SetProfile(path.c_str(), nullptr, 0, 0, 10), 10);
    const Bytes expected = Converted(api_, SomePixels());
    if (Primary()) {
        EXPECT_EQ(api_.SetProfile(path.c_str(), nullptr, 0, 65535, 11), 11);
        EXPECT_EQ(api_.SetProfile(path.c_str(), nullptr, 0, 65535, 10), 10);
        EXPECT_EQ(Converted(api_, SomePixels()), expected);
    } else {
        // The engine that was ready is unusable afterwards, also when nothing but the encoding differs.
        EXPECT_EQ(api_.SetProfile(path.c_str(), nullptr, 0, 65535, 10), 65535);
        EXPECT_TRUE(Refuses());
        EXPECT_EQ(api_.SetProfile(path.c_str(), nullptr, 0, 65535, 11), 65535);
        EXPECT_TRUE(Refuses());
    }
    EXPECT_EQ(api_.SetProfile(path.c_str(), nullptr, 0, 0, 10), 10);
}

TEST_P(ExportsTest, OtherInputEncodingsAreRefused) {
    const std::string path = Good();
    for (const int input : {2, 3, 5, 8, 65534, 65536, -1, std::numeric_limits<std::int32_t>::min()}) {
        ASSERT_EQ(api_.SetProfile(path.c_str(), nullptr, 0, 0, 8), 8);
        EXPECT_EQ(api_.SetProfile(path.c_str(), nullptr, 0, input, 8), 65535) << input;
        EXPECT_TRUE(Refuses()) << input;
    }
}

TEST_P(ExportsTest, APathThatCannotBeReadIsRefused) {
    ASSERT_EQ(api_.SetProfile(Good().c_str(), nullptr, 0, 0, 8), 8);
    EXPECT_EQ(api_.SetProfile(dir_.File("absent.icc").c_str(), nullptr, 0, 0, 8), 65535);
    EXPECT_TRUE(Refuses());
    ASSERT_EQ(api_.SetProfile(Good().c_str(), nullptr, 0, 0, 8), 8);
    EXPECT_EQ(api_.SetProfile("", nullptr, 0, 0, 8), 65535);
    EXPECT_TRUE(Refuses());
    ASSERT_EQ(api_.SetProfile(Good().c_str(), nullptr, 0, 0, 8), 8);
    EXPECT_EQ(api_.SetProfile(nullptr, nullptr, 0, 0, 8), 65535);
    EXPECT_TRUE(Refuses());
}

TEST_P(ExportsTest, TheSecondPathHasNoEffect) {
    const std::string path = Good();
    ASSERT_EQ(api_.SetProfile(path.c_str(), nullptr, 0, 0, 10), 10);
    const Bytes expected = Converted(api_, SomePixels());
    ASSERT_EQ(AdjustFlat(api_, 7, 8, 9), 10);
    for (const char* second : {"", "/absent", path.c_str(), static_cast<const char*>(nullptr)}) {
        EXPECT_EQ(api_.SetProfile(path.c_str(), second, 0, 0, 10), 10);
        EXPECT_EQ(Converted(api_, SomePixels()), Repeated(100, 7, 8, 9)) << "the same call as before builds nothing";
    }
    ASSERT_EQ(api_.SetProfile(path.c_str(), "/absent", 1, 0, 10), 10);
    ASSERT_EQ(api_.SetProfile(path.c_str(), "/absent", 0, 0, 10), 10);
    EXPECT_EQ(Converted(api_, SomePixels()), expected);
}

TEST_P(ExportsTest, AProfileWithoutATableLooksBoundAndConvertsNothing) {
    EXPECT_EQ(api_.SetProfile(None().c_str(), nullptr, 0, 0, 8), 8);
    EXPECT_EQ(Converted(api_, SomePixels()), SomePixels());
    EXPECT_EQ(api_.SetProfile(None().c_str(), nullptr, 0, 1, 14), 14) << "nothing looked at the output space";
    Bytes source = SomePixels();
    Bytes dest(300, 0x5a);
    EXPECT_EQ(api_.Convert2(source.data(), dest.data(), 50), 0);
    EXPECT_EQ(source, SomePixels());
    EXPECT_EQ(dest, Bytes(300, 0x5a));
}

TEST_P(ExportsTest, ATableThatCannotBeUsedIsRefused) {
    EXPECT_EQ(api_.SetProfile(Put("bytes.icc", {{"A2B0", Mft1()}}).c_str(), nullptr, 0, 0, 8), 65535);
    EXPECT_TRUE(Refuses());
    EXPECT_EQ(api_.SetIntent(0, 0, 9), 65535);
    EXPECT_TRUE(Refuses());
    EXPECT_EQ(api_.Adjust(5.0, 0.0, 0.0, nullptr, nullptr, nullptr, 0), 65535);
}

TEST_P(ExportsTest, SetIntentOnAnEmptyEngineStoresTheOutputSpace) {
    EXPECT_EQ(api_.SetIntent(0, 0, 8), 8);
    EXPECT_EQ(Converted(api_, SomePixels()), SomePixels());
    EXPECT_EQ(api_.SetIntent(0, 0, 14), 14) << "nothing looked at it";
    EXPECT_FALSE(Refuses());
    EXPECT_EQ(api_.SetIntent(0, 0, 65535), 65535);
    EXPECT_TRUE(Refuses());
}

TEST_P(ExportsTest, SetIntentAfterAFailureStoresTheOutputSpace) {
    EXPECT_EQ(api_.SetProfile(dir_.File("absent.icc").c_str(), nullptr, 0, 0, 8), 65535);
    EXPECT_EQ(api_.SetIntent(0, 0, 8), 8);
    EXPECT_EQ(Converted(api_, SomePixels()), SomePixels());
    // Path and job now equal those of the call that failed, and so it is not tried again.
    EXPECT_EQ(api_.SetProfile(dir_.File("absent.icc").c_str(), nullptr, 0, 0, 8), 8);
}

TEST_P(ExportsTest, ANullPathIsNoChangeOnAnEngineThatNeverHadOne) {
    ASSERT_EQ(api_.SetIntent(0, 0, 8), 8);
    EXPECT_EQ(api_.SetProfile(nullptr, nullptr, 0, 0, 8), 8);
    EXPECT_EQ(Converted(api_, SomePixels()), SomePixels());
    EXPECT_EQ(api_.SetProfile(nullptr, nullptr, 0, 0, 9), 65535) << "a change, and nothing to be opened";
    EXPECT_TRUE(Refuses());
}

TEST_P(ExportsTest, SetIntentTakesAnUnsetInputEncodingForBytes) {
    const std::string path = Good();
    ASSERT_EQ(api_.SetProfile(path.c_str(), nullptr, 1, 0, 10), 10);
    const Bytes expected = Converted(api_, SomePixels());
    ASSERT_EQ(api_.SetProfile(path.c_str(), nullptr, 0, 1, 10), 10);
    EXPECT_EQ(api_.SetIntent(1, 65535, 10), 10);
    EXPECT_EQ(Converted(api_, SomePixels()), expected);
    // Stored as 0: the same job with 0 counts as unchanged, so the curves laid over it stay.
    ASSERT_EQ(AdjustFlat(api_, 1, 2, 3), 10);
    EXPECT_EQ(api_.SetIntent(1, 0, 10), 10);
    EXPECT_EQ(api_.SetIntent(1, 65535, 10), 10);
    EXPECT_EQ(api_.SetProfile(path.c_str(), nullptr, 1, 0, 10), 10);
    EXPECT_EQ(Converted(api_, SomePixels()), Repeated(100, 1, 2, 3));
}

TEST_P(ExportsTest, SetIntentLeavesARefusedSpaceAgain) {
    ASSERT_EQ(api_.SetProfile(Good().c_str(), nullptr, 0, 0, 14), 65535);
    EXPECT_TRUE(Refuses());
    EXPECT_EQ(api_.SetIntent(0, 0, 8), 8);
    EXPECT_FALSE(Refuses());
    EXPECT_EQ(api_.SetIntent(0, 0, 40), 65535);
    EXPECT_TRUE(Refuses());
}

TEST_P(ExportsTest, AdjustOnAnEmptyEngineAnswersThatItIsEmpty) {
    EXPECT_EQ(api_.Adjust(1.0, 2.0, 3.0, nullptr, nullptr, nullptr, 0), 65535);
    EXPECT_EQ(AdjustFlat(api_, 1, 2, 3), 65535);
    EXPECT_EQ(api_.Adjust(std::numeric_limits<double>::quiet_NaN(), std::numeric_limits<double>::infinity(), -1e300,
                          nullptr, nullptr, nullptr, -1),
              65535);
    EXPECT_TRUE(Refuses());
    // What it answers is the field, not the result of the two operations.
    ASSERT_EQ(api_.SetIntent(0, 0, 8), 8);
    EXPECT_EQ(AdjustFlat(api_, 1, 2, 3), 8);
    EXPECT_EQ(api_.Adjust(50.0, 2.0, 3.0, nullptr, nullptr, nullptr, 0), 8);
}

TEST_P(ExportsTest, AnAdjustmentOfAnEmptyEngineEndsWithTheNextProfile) {
    ASSERT_EQ(api_.SetProfile(Good().c_str(), nullptr, 0, 0, 10), 10);
    const Bytes expected = Converted(api_, SomePixels());
    ASSERT_EQ(api_.SetProfile(dir_.File("absent.icc").c_str(), nullptr, 0, 0, 10), 65535);
    ASSERT_EQ(api_.Adjust(40.0, 30.0, 20.0, nullptr, nullptr, nullptr, 0), 65535);
    ASSERT_EQ(api_.SetProfile(Good().c_str(), nullptr, 0, 0, 10), 10);
    EXPECT_EQ(Converted(api_, SomePixels()), expected);
}

TEST_P(ExportsTest, AdjustLaysCurvesAndShiftsColours) {
    ASSERT_EQ(api_.SetProfile(Good().c_str(), nullptr, 0, 0, 10), 10);
    const Bytes plain = Converted(api_, SomePixels());
    EXPECT_EQ(AdjustFlat(api_, 77, 88, 99), 10);
    EXPECT_EQ(Converted(api_, SomePixels()), Repeated(100, 77, 88, 99));
    // A null array, or no points, changes the colours and leaves the curves.
    Bytes curve(256, 5);
    EXPECT_EQ(api_.Adjust(0.0, 0.0, 0.0, curve.data(), nullptr, curve.data(), 256), 10);
    EXPECT_EQ(api_.Adjust(0.0, 0.0, 0.0, curve.data(), curve.data(), curve.data(), 0), 10);
    EXPECT_EQ(Converted(api_, SomePixels()), Repeated(100, 77, 88, 99));
    ASSERT_EQ(api_.SetIntent(1, 0, 10), 10);
    ASSERT_EQ(api_.SetIntent(0, 0, 10), 10);
    EXPECT_EQ(Converted(api_, SomePixels()), plain);
    ASSERT_EQ(api_.Adjust(-100.0, 0.0, 0.0, nullptr, nullptr, nullptr, 0), 10);
    EXPECT_NE(Converted(api_, SomePixels()), plain);
    ASSERT_EQ(api_.Adjust(0.0, 0.0, 0.0, nullptr, nullptr, nullptr, 0), 10);
    EXPECT_EQ(Converted(api_, SomePixels()), plain);
}

TEST_P(ExportsTest, EightBitPixelsAreConvertedInPlace) {
    ASSERT_EQ(api_.SetProfile(Black().c_str(), nullptr, 0, 0, 10), 10);
    Bytes source = SomePixels();
    Bytes dest(source.size(), 0x5a);
    EXPECT_EQ(api_.Convert2(source.data(), dest.data(), 60), 0);
    EXPECT_EQ(dest, Bytes(source.size(), 0x5a));
    Bytes expected = SomePixels();
    std::fill_n(expected.begin(), 180, static_cast<unsigned char>(0));
    EXPECT_EQ(source, expected);
}

TEST_P(ExportsTest, SixteenBitPixelsGoFromSourceToDest) {
    ASSERT_EQ(api_.SetProfile(Black().c_str(), nullptr, 0, 1, 11), 11);
    Bytes source = SomePixels();
    Bytes dest(source.size(), 0x5a);
    EXPECT_EQ(api_.Convert2(source.data() + 1, dest.data() + 3, 30), 0);
    EXPECT_EQ(source, SomePixels());
    Bytes expected(source.size(), 0x5a);
    std::fill_n(expected.begin() + 3, 180, static_cast<unsigned char>(0));
    EXPECT_EQ(dest, expected);
    EXPECT_EQ(api_.Convert2(source.data(), source.data(), 50), 0);
    EXPECT_EQ(source, Bytes(300, 0));
}

TEST_P(ExportsTest, Convert2WithoutPixelsOrBuffersDoesNothing) {
    for (const int input : {0, 1}) {
        ASSERT_EQ(api_.SetProfile(Good().c_str(), nullptr, 0, input, 10), 10);
        Bytes source = SomePixels();
        for (const std::int32_t pixels : {0, -1, std::numeric_limits<std::int32_t>::min()}) {
            EXPECT_EQ(api_.Convert2(source.data(), source.data(), pixels), 0);
        }
        EXPECT_EQ(api_.Convert2(nullptr, source.data(), 10), 0);
        EXPECT_EQ(api_.Convert2(nullptr, nullptr, 10), 0);
        EXPECT_EQ(source, SomePixels());
    }
}

TEST_P(ExportsTest, ConvertFileConvertsAndAnswersTheOutputSpace) {
    const std::string source = dir_.File("source.tif");
    const std::string dest = dir_.File("dest.tif");
    const std::string log =
        "Start Conversion(Start) : New ID\n"
        "Start Conversion(Pause) : End Conversion(count : 0)\n"
        "Start Conversion(Stop) :  End Conversion(count : 0)\n";
    MiniTiff tiff{10, 10, 3, 8, SomePixels(), Bytes(64, 1)};
    WriteFile(source, tiff.Build());
    ASSERT_EQ(api_.SetProfile(Good().c_str(), nullptr, 0, 0, 12), 12);
    testing::internal::CaptureStdout();
    EXPECT_EQ(api_.ConvertFile(source.c_str(), dest.c_str()), 12);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), log);
    tiff.icc.clear();
    tiff.pixels = Converted(api_, SomePixels());
    EXPECT_EQ(ReadFile(dest), tiff.Build());
}

TEST_P(ExportsTest, ConvertFileOfAMissingSourceLooksLikeASuccess) {
    const std::string dest = dir_.File("dest.tif");
    ASSERT_EQ(api_.SetProfile(Good().c_str(), nullptr, 0, 0, 8), 8);
    testing::internal::CaptureStdout();
    EXPECT_EQ(api_.ConvertFile(dir_.File("absent.tif").c_str(), dest.c_str()), 8);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "*** " + dir_.File("absent.tif") +
                                                          " Open Error. ***\n"
                                                          "Start Conversion(Start) : New ID\n"
                                                          "Start Conversion(Pause) : End Conversion(count : 0)\n"
                                                          "Start Conversion(Stop) :  End Conversion(count : 0)\n"
                                                          "*** Tiff::SaveFile() --> TiffTag EntryCounts is 0. ***\n");
    EXPECT_EQ(ReadFile(dest), Bytes());
}

TEST_P(ExportsTest, OtherCallsPrintNothing) {
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    api_.SetProfile(dir_.File("absent.icc").c_str(), nullptr, 0, 0, 8);
    api_.SetProfile(Good().c_str(), nullptr, 0, 9, 8);
    api_.SetProfile(Put("bytes.icc", {{"A2B0", Mft1()}}).c_str(), nullptr, 0, 0, 8);
    api_.SetProfile(None().c_str(), nullptr, 0, 0, 8);
    api_.SetProfile(Good().c_str(), nullptr, 0, 0, 14);
    api_.SetIntent(0, 0, 8);
    AdjustFlat(api_, 1, 2, 3);
    Converted(api_, SomePixels());
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

INSTANTIATE_TEST_SUITE_P(EveryEngine, ExportsTest, testing::ValuesIn(kSuffixes),
                         [](const auto& param) { return "Engine" + std::string(param.param); });

}  // namespace
}  // namespace hueweave::test
