// SPDX-License-Identifier: MIT
// Compiles the example in the README unchanged and runs it.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <string>

#include "Profile.h"
#include "support/ByteWriter.h"
#include "support/TempDir.h"

namespace hueweave::test {
namespace {

/// The code block after the marker.
std::string Example() {
    const Bytes bytes = ReadFile(std::string(HUEWEAVE_SOURCE_DIR) + "/README.md");
    const std::string text(bytes.begin(), bytes.end());
    const std::string fence = "```c\n";
    const std::size_t marker = text.find("<!-- example:");
    const std::size_t start = text.find(fence, marker);
    if (marker == std::string::npos || start == std::string::npos) return {};
    return text.substr(start + fence.size(), text.find("```", start + fence.size()) - start - fence.size());
}

struct Outcome {
    int status;
    std::string printed;
};

Outcome Shell(const std::string& command) {
    std::FILE* pipe = popen((command + " 2>&1").c_str(), "r");
    if (pipe == nullptr) return {-1, "cannot run " + command};
    std::string printed;
    for (int c; (c = std::fgetc(pipe)) != EOF;) printed.push_back(static_cast<char>(c));
    return {pclose(pipe), printed};
}

class ReadmeExample : public testing::Test {
protected:
    void SetUp() override {
        const std::string code = Example();
        WriteFile(dir.File("example.c"), Bytes(code.begin(), code.end()));
        const Outcome build = Shell(std::string(HUEWEAVE_C_COMPILER) + " -std=c99 -pedantic -Wall -Wextra -Werror " +
                                    HUEWEAVE_SANITIZER_FLAGS + " -I'" + HUEWEAVE_SOURCE_DIR + "/include' '" +
                                    dir.File("example.c") + "' '" + HUEWEAVE_LIBRARY + "' -Wl,-rpath,$(dirname '" +
                                    HUEWEAVE_LIBRARY + "') -o '" + dir.File("example") + "'");
        ASSERT_EQ(build.status, 0) << build.printed;
    }
    const TempDir dir;
};

TEST_F(ReadmeExample, ConvertsThreePixels) {
    WriteFile(dir.File("scanner.icc"), demo::ScannerProfile());
    const Outcome run = Shell("'" + dir.File("example") + "' '" + dir.File("scanner.icc") + "'");
    EXPECT_EQ(run.status, 0);
    std::size_t lines = 0;
    for (std::size_t at = run.printed.find("sRGB "); at != std::string::npos; at = run.printed.find("sRGB ", at + 1)) {
        ++lines;
    }
    EXPECT_EQ(lines, 3U) << run.printed;
    EXPECT_EQ(run.printed.find("sRGB 128 128 128"), std::string::npos) << "nothing was converted: " << run.printed;
}

TEST_F(ReadmeExample, NamesAProfileThatIsNotThere) {
    const Outcome run = Shell("'" + dir.File("example") + "' '" + dir.File("missing.icc") + "'");
    EXPECT_NE(run.status, 0);
    EXPECT_NE(run.printed.find("missing.icc: no profile that can be used"), std::string::npos) << run.printed;
}

TEST(Readme, ShowsAnExampleOfFifteenLines) {
    const std::string code = Example();
    EXPECT_EQ(std::count(code.begin(), code.end(), '\n'), 15);
}

}  // namespace
}  // namespace hueweave::test
