// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <type_traits>

#include "hueweave/hueweave.h"
#include "support/ByteWriter.h"
#include "support/TempDir.h"

namespace hueweave::test {
namespace {

const char* const kProgram = R"(#include "hueweave/hueweave.h"
int use(void);
int use(void) {
    unsigned char pixels[12] = {0};
    int32_t status = Orvix_Icc_SetProfile("a", 0, IntentPerceptual, CsRGB_8, CssRGB_8);
    status += Orvix_Icc_SetProfile_2nd("a", "b", IntentSaturation, CsNone, CsKodakText_16);
    status += Orvix_Icc_SetProfile_3rd("a", "b", 77, -1, 65535);
    status += Orvix_Icc_SetIntent(1, 2, 3) + Orvix_Icc_SetIntent_2nd(1, 2, 3) + Orvix_Icc_SetIntent_3rd(1, 2, 3);
    status += Orvix_Icc_Adjust(1.0, 2.0, 3.0, pixels, pixels, pixels, 4);
    status += Orvix_Icc_Adjust_2nd(1.0, 2.0, 3.0, 0, 0, 0, 0);
    status += Orvix_Icc_Adjust_3rd(1.0, 2.0, 3.0, 0, 0, 0, 0);
    status += Orvix_Icc_Convert2(pixels, 0, 4) + Orvix_Icc_Convert2_2nd(pixels, 0, 4);
    status += Orvix_Icc_Convert2_3rd(pixels, pixels, 2);
    status += Orvix_Icc_ConvertFile("a", "b") + Orvix_Icc_ConvertFile_2nd("a", "b");
    status += Orvix_Icc_ConvertFile_3rd("a", "b");
    return (int)(status + func1());
}
)";

class HeaderTest : public testing::Test {
protected:
    /// Checks `text` with the given compiler and flags; true when it is accepted without a warning.
    bool Compiles(const std::string& compiler, const std::string& flags, const std::string& text) {
        const std::string file = dir_.File("use.txt");
        WriteFile(file, Bytes(text.begin(), text.end()));
        const std::string command = "'" + compiler + "' " + flags +
                                    " -pedantic -pedantic-errors -Wall -Wextra -Werror -fsyntax-only"
                                    " -I'" HUEWEAVE_SOURCE_DIR "/include' '" +
                                    file + "' > '" + dir_.File("messages") + "' 2>&1";
        return std::system(command.c_str()) == 0;
    }
    TempDir dir_;
};

TEST_F(HeaderTest, IsValidC) {
    for (const char* standard : {"c99", "c11", "gnu17"}) {
        EXPECT_TRUE(Compiles(HUEWEAVE_C_COMPILER, std::string("-x c -std=") + standard, kProgram)) << standard;
    }
}

TEST_F(HeaderTest, IsValidCPlusPlus) {
    for (const char* standard : {"c++11", "c++17", "c++20"}) {
        EXPECT_TRUE(Compiles(HUEWEAVE_CXX_COMPILER, std::string("-x c++ -std=") + standard, kProgram)) << standard;
    }
}

TEST_F(HeaderTest, MayBeIncludedTwiceAndAlone) {
    const std::string twice = "#include \"hueweave/hueweave.h\"\n#include \"hueweave/hueweave.h\"\n";
    EXPECT_TRUE(Compiles(HUEWEAVE_C_COMPILER, "-x c -std=c99", twice));
    EXPECT_TRUE(Compiles(HUEWEAVE_CXX_COMPILER, "-x c++ -std=c++11", twice));
}

TEST_F(HeaderTest, TheCheckItselfFindsFaults) {
    EXPECT_FALSE(Compiles(HUEWEAVE_C_COMPILER, "-x c -std=c99",
                          std::string(kProgram) + "int wrong(void) { return Orvix_Icc_Convert2(); }\n"));
}

TEST_F(HeaderTest, EnumerationsAreThirtyTwoBitsWideAndHoldEveryValue) {
    EXPECT_EQ(sizeof(HueweaveIntent), 4U);
    EXPECT_EQ(sizeof(HueweaveColorSpace), 4U);
    EXPECT_TRUE((std::is_same_v<std::underlying_type_t<HueweaveIntent>, std::int32_t>));
    EXPECT_TRUE((std::is_same_v<std::underlying_type_t<HueweaveColorSpace>, std::int32_t>));
    // C chooses the width itself, from the values; 32 bits are what the functions take.
    const std::string text = std::string("#include \"hueweave/hueweave.h\"\n") +
                             "char a[sizeof(enum HueweaveIntent) == 4 ? 1 : -1];\n"
                             "char b[sizeof(enum HueweaveColorSpace) == 4 ? 1 : -1];\n";
    EXPECT_TRUE(Compiles(HUEWEAVE_C_COMPILER, "-x c -std=c99", text));
}

TEST_F(HeaderTest, FunctionsTakeAndGiveThirtyTwoBits) {
    using Path = const char*;
    using Curve = unsigned char*;
    using Word = std::int32_t;
    EXPECT_TRUE((std::is_same_v<decltype(Orvix_Icc_SetProfile), Word(Path, Path, Word, Word, Word) noexcept>));
    EXPECT_TRUE((std::is_same_v<decltype(Orvix_Icc_SetIntent), Word(Word, Word, Word) noexcept>));
    EXPECT_TRUE(
        (std::is_same_v<decltype(Orvix_Icc_Adjust), Word(double, double, double, Curve, Curve, Curve, Word) noexcept>));
    EXPECT_TRUE((std::is_same_v<decltype(Orvix_Icc_Convert2), Word(Curve, Curve, Word) noexcept>));
    EXPECT_TRUE((std::is_same_v<decltype(Orvix_Icc_ConvertFile), Word(Path, Path) noexcept>));
    EXPECT_TRUE((std::is_same_v<decltype(func1), Word() noexcept>));
    EXPECT_TRUE((std::is_same_v<decltype(Orvix_Icc_SetProfile), decltype(Orvix_Icc_SetProfile_2nd)>));
    EXPECT_TRUE((std::is_same_v<decltype(Orvix_Icc_SetProfile), decltype(Orvix_Icc_SetProfile_3rd)>));
    EXPECT_TRUE((std::is_same_v<decltype(Orvix_Icc_SetIntent), decltype(Orvix_Icc_SetIntent_2nd)>));
    EXPECT_TRUE((std::is_same_v<decltype(Orvix_Icc_SetIntent), decltype(Orvix_Icc_SetIntent_3rd)>));
    EXPECT_TRUE((std::is_same_v<decltype(Orvix_Icc_Adjust), decltype(Orvix_Icc_Adjust_2nd)>));
    EXPECT_TRUE((std::is_same_v<decltype(Orvix_Icc_Adjust), decltype(Orvix_Icc_Adjust_3rd)>));
    EXPECT_TRUE((std::is_same_v<decltype(Orvix_Icc_Convert2), decltype(Orvix_Icc_Convert2_2nd)>));
    EXPECT_TRUE((std::is_same_v<decltype(Orvix_Icc_Convert2), decltype(Orvix_Icc_Convert2_3rd)>));
    EXPECT_TRUE((std::is_same_v<decltype(Orvix_Icc_ConvertFile), decltype(Orvix_Icc_ConvertFile_2nd)>));
    EXPECT_TRUE((std::is_same_v<decltype(Orvix_Icc_ConvertFile), decltype(Orvix_Icc_ConvertFile_3rd)>));
}

struct NamedValue {
    int declared;
    int value;
};

TEST_F(HeaderTest, EnumeratorsHaveTheirFixedValues) {
    const NamedValue rows[] = {
        {IntentPerceptual, 0},
        {IntentRelativeColorimetric, 1},
        {IntentSaturation, 2},
        {IntentAbsoluteColorimetric, 3},
        {CsRGB_8, 0},
        {CsRGB_16, 1},
        {CsLab_8, 2},
        {CsLab_16, 3},
        {CsCMYK_8, 4},
        {CsCMYK_16, 5},
        {CssRGB_8, 8},
        {CssRGB_16, 9},
        {CssRGB_Gamma100_8, 10},
        {CssRGB_Gamma100_16, 11},
        {CssRGB_Alias_8, 12},
        {CssRGB_Alias_16, 13},
        {CsCLR6_8, 16},
        {CsCLR6_16, 17},
        {CsCLR7_8, 18},
        {CsCLR7_16, 19},
        {CsAdobeRGB_Gamma100_8, 20},
        {CsAdobeRGB_Gamma100_16, 21},
        {CsAdobeRGB_Gamma180_8, 22},
        {CsAdobeRGB_Gamma180_16, 23},
        {CsAppleRGB_Gamma100_8, 24},
        {CsAppleRGB_Gamma100_16, 25},
        {CsAppleRGB_Gamma180_8, 26},
        {CsAppleRGB_Gamma180_16, 27},
        {CsColorMatchRGB_Gamma100_8, 28},
        {CsColorMatchRGB_Gamma100_16, 29},
        {CsColorMatchRGB_Gamma180_8, 30},
        {CsColorMatchRGB_Gamma180_16, 31},
        {CsKodakPhoto_8, 34},
        {CsKodakPhoto_16, 35},
        {CsKodakMix_8, 36},
        {CsKodakMix_16, 37},
        {CsKodakText_8, 38},
        {CsKodakText_16, 39},
        {CsNone, 65535},
    };
    for (const auto& row : rows) EXPECT_EQ(row.declared, row.value);
}

}  // namespace
}  // namespace hueweave::test
