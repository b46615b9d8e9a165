// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
//
// When the lines of a file conversion are written, seen from outside the process.
#include <fcntl.h>
#include <unistd.h>

#include "abi/ExportsFixture.h"
#include "support/MiniTiff.h"

namespace hueweave::test {
namespace {

const std::string kLog =
    "Start Conversion(Start) : New ID\n"
    "Start Conversion(Pause) : End Conversion(count : 0)\n"
    "Start Conversion(Stop) :  End Conversion(count : 0)\n";

class ConversionLogTest : public ExportsFixture, public testing::WithParamInterface<const char*> {
protected:
    std::string Source() {
        WriteFile(dir_.File("source.tif"), MiniTiff{10, 10, 3, 8, SomePixels(), Bytes(64, 1)}.Build());
        return dir_.File("source.tif");
    }
    EngineApi api_{library_, GetParam()};
};

TEST_P(ConversionLogTest, AllLinesAreFlushed) {
    const std::string source = Source();
    ASSERT_EQ(api_.SetProfile(Good().c_str(), nullptr, 0, 0, 8), 8);
    // A process that ends without flushing anything itself.
    const std::string printed = OutputOfChild([&] {
        api_.ConvertFile(source.c_str(), dir_.File("dest.tif").c_str());
        _exit(0);
    });
    EXPECT_EQ(printed, kLog);
}

TEST_P(ConversionLogTest, AllIsWrittenBeforeTheFileIsSaved) {
    const std::string source = Source();
    const std::string dest = dir_.File("dest.tif");
    ASSERT_EQ(api_.SetProfile(Good().c_str(), nullptr, 0, 0, 8), 8);
    // The standard output is the destination: saving begins it anew, and only what comes later would stay behind it.
    const std::string elsewhere = OutputOfChild([&] {
        const int file = open(dest.c_str(), O_WRONLY | O_CREAT | O_APPEND, 0600);
        dup2(file, STDOUT_FILENO);
        std::puts("before");
        api_.ConvertFile(source.c_str(), dest.c_str());
        std::fflush(stdout);
        _exit(0);
    });
    EXPECT_EQ(elsewhere, "");
    EXPECT_EQ(ReadFile(dest), (MiniTiff{10, 10, 3, 8, Converted(api_, SomePixels()), {}}.Build()));
}

TEST_P(ConversionLogTest, TwoConversionsPrintTheSameTwice) {
    const std::string source = Source();
    for (const int input : {0, 1}) {
        ASSERT_EQ(api_.SetProfile(Good().c_str(), nullptr, 0, input, 8), 8);
        const std::string printed = OutputOfChild([&] {
            api_.ConvertFile(source.c_str(), dir_.File("one.tif").c_str());
            std::puts("between");
            api_.ConvertFile(source.c_str(), dir_.File("two.tif").c_str());
            std::fflush(stdout);
            _exit(0);
        });
        EXPECT_EQ(printed, kLog + "between\n" + kLog);
    }
}

INSTANTIATE_TEST_SUITE_P(EveryEngine, ConversionLogTest, testing::ValuesIn(kSuffixes),
                         [](const auto& param) { return "Engine" + std::string(param.param); });

}  // namespace
}  // namespace hueweave::test
