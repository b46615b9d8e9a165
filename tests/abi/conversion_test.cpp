// SPDX-License-Identifier: MIT
#include "abi/CheckedEngines.h"

namespace hueweave::test {
namespace {

using ExportedConvert2 = ExportTest;

TEST_F(ExportedConvert2, GivesTheReferencePixels) {
    for (const int input : {0, 1}) {
        for (const int intent : {0, 1, 2, 3, 77, kLeast}) {
            engines_.SetProfile("plain.icc", intent, input, 22 + input);
            const Bytes bound = engines_.Convert();
            engines_.SetIntent(intent == 1 ? 0 : 1, input, 38 + input);
            EXPECT_NE(engines_.Convert(), bound);
        }
    }
}

TEST_F(ExportedConvert2, ConvertsEightBitPixelsInPlace) {
    engines_.SetProfile("black.icc", 0, 0, 10);
    Bytes expected = SomePixels();
    std::fill_n(expected.begin(), 180, std::uint8_t{0});
    for (const EngineApi& api : engines_.Apis()) {
        Bytes source = SomePixels();
        Bytes dest(source.size(), 0x5a);
        EXPECT_EQ(api.Convert2(source.data(), dest.data(), 60), 0);
        EXPECT_EQ(api.Convert2(source.data(), nullptr, 60), 0);
        EXPECT_THAT(source, EqualsBytes(expected));
        EXPECT_THAT(dest, EqualsBytes(Bytes(source.size(), 0x5a)));
    }
}

TEST_F(ExportedConvert2, IgnoresEmptyRunsAndFailsWithoutAProfile) {
    for (const int input : {65535, 0, 1}) {
        if (input != 65535) engines_.SetProfile("black.icc", 0, input, 10);
        const int answer = input == 65535 ? -1 : 0;
        Bytes source = SomePixels();
        for (const EngineApi& api : engines_.Apis()) {
            for (const int pixels : {0, -1, kLeast}) {
                EXPECT_EQ(api.Convert2(source.data(), source.data(), pixels), answer);
            }
            for (const int pixels : {1, kMost}) EXPECT_EQ(api.Convert2(nullptr, source.data(), pixels), answer);
            EXPECT_EQ(api.Convert2(source.data(), nullptr, input == 1 ? kMost : 0), answer) << "no destination";
        }
        EXPECT_THAT(source, EqualsBytes(SomePixels()));
        engines_.Convert();
    }
}

class ExportedConvertFile : public ExportTest {
protected:
    const std::string dest_ = engines_.Path("out.tif");
};

TEST_F(ExportedConvertFile, WritesTheReferencePixelsAndReturnsTheOutputSpace) {
    for (const int input : {0, 1}) {
        for (const int intent : {0, 3}) {
            engines_.SetProfile("plain.icc", intent, input, 22 + input);
            engines_.ConvertFile();
        }
    }
}

TEST_F(ExportedConvertFile, ReportsSuccessForAMissingSource) {
    engines_.SetProfile("black.icc", 0, 0, 8);
    const std::string absent = engines_.Path("absent.tif");
    for (const EngineApi& api : engines_.Apis()) {
        testing::internal::CaptureStdout();
        EXPECT_EQ(api.ConvertFile(absent.c_str(), dest_.c_str()), 8);
        EXPECT_EQ(testing::internal::GetCapturedStdout(),
                  "*** " + absent + " Open Error. ***\n" + kConversionLog +
                      "*** Tiff::SaveFile() --> TiffTag EntryCounts is 0. ***\n");
        EXPECT_EQ(ReadFile(dest_), Bytes());
        WriteFile(dest_, Bytes(100, 1));  // emptied by the next engine
    }
}

TEST_F(ExportedConvertFile, IsTheOnlyCallThatPrintsAndNothingPrintsErrors) {
    const std::string absent = engines_.Path("absent.tif");
    testing::internal::CaptureStderr();
    testing::internal::CaptureStdout();
    for (const char* name : {"absent.icc", "bytes.icc", "none.icc", "plain.icc"}) {
        engines_.SetProfile(name, 0, 9, 8);
        engines_.SetProfile(name, 0, 0, 14);
        engines_.SetProfile(name, 0, 0, 8);
        engines_.SetIntent(0, 0, 8);
        engines_.Adjust(1, 2, 3, SomeCurves(256));
        engines_.Convert();
    }
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    testing::internal::CaptureStdout();
    for (const EngineApi& api : engines_.Apis()) {
        api.ConvertFile(absent.c_str(), dest_.c_str());
        api.ConvertFile(engines_.Path("plain.icc").c_str(), dest_.c_str());
        api.ConvertFile(absent.c_str(), engines_.Path("absent/out.tif").c_str());
    }
    EXPECT_NE(testing::internal::GetCapturedStdout(), "");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

}  // namespace
}  // namespace hueweave::test
