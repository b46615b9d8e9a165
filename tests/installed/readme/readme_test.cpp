// SPDX-License-Identifier: MIT
// Compiles the example in the README unchanged and runs it.
#include "Profile.h"
#include "abi/Library.h"
#include "support/ByteWriter.h"
#include "support/TempDir.h"

namespace hueweave::test {
namespace {

using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;

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

class ReadmeExample : public testing::Test {
protected:
    void SetUp() override {
        const std::string code = Example(), library = HUEWEAVE_LIBRARY;
        WriteFile(dir_.File("example.c"), Bytes(code.begin(), code.end()));
        ASSERT_EQ(
            OutputOfTool(std::string(HUEWEAVE_C_COMPILER) + " -std=c99 -pedantic -Wall -Wextra -Werror " +
                         HUEWEAVE_SANITIZER_FLAGS + " -I'" + HUEWEAVE_SOURCE_DIR + "/include' '" + program_ + ".c' '" +
                         library + "' -Wl,-rpath,$(dirname '" + library + "') -o '" + program_ + "' 2>&1"),
            "");
    }
    /// What the example prints for a profile, and its exit status.
    std::string Run(const std::string& profile) const {
        return OutputOfTool("'" + program_ + "' '" + dir_.File(profile) + "' 2>&1; echo \"status $?\"");
    }

    const TempDir dir_;
    const std::string program_ = dir_.File("example");
};

TEST_F(ReadmeExample, ConvertsThreePixels) {
    WriteFile(dir_.File("scanner.icc"), demo::ScannerProfile());
    const std::string printed = Run("scanner.icc");
    EXPECT_THAT(printed, EndsWith("status 0\n"));
    std::size_t lines = 0;
    for (std::size_t at = 0; (at = printed.find("sRGB ", at)) != std::string::npos; ++at) ++lines;
    EXPECT_EQ(lines, 3U) << printed;
    EXPECT_THAT(printed, Not(HasSubstr("sRGB 128 128 128"))) << "nothing was converted";
}

TEST_F(ReadmeExample, NamesAProfileThatIsNotThere) {
    const std::string printed = Run("missing.icc");
    EXPECT_THAT(printed, HasSubstr("missing.icc: no profile that can be used"));
    EXPECT_THAT(printed, Not(EndsWith("status 0\n")));
}

TEST(Readme, ShowsAnExampleOfFifteenLines) {
    const std::string code = Example();
    EXPECT_EQ(std::count(code.begin(), code.end(), '\n'), 15);
}

}  // namespace
}  // namespace hueweave::test
