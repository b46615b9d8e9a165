// SPDX-License-Identifier: MIT
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

const char* const kTransforms = R"(#include "hueweave/transform.h"
int use(void);
int use(void) {
    const hw_options options = HW_OPTIONS_INIT;
    hw_profile source = {0, 0, "a", 0}, target = {0, 0, 0, "srgb"};
    hw_layout layout = {1, 1, 3, 0, 0};
    hw_info info = {sizeof(hw_info), 0, 0, "", "", 0, 0, 0, 0};
    hw_transform* transform;
    hw_error error;
    float pixel[3] = {0, 0, 0};
    size_t size;
    int32_t status = hw_transform_create(&source, &target, &options, &transform, &error);
    status += hw_convert(transform, pixel, pixel, 1) + hw_convert_image(transform, pixel, pixel, &layout);
    status += hw_transform_info(transform, &info) + (hw_transform_profile(transform, &size) == NULL ? 1 : 0);
    hw_transform_free(transform);
    status += hw_status_name(status)[0] + hw_status_message(HW_OK)[0] + hw_version()[0] + hw_version_number();
    status += hw_space_name(hw_space_count())[0] + hw_space_title(0)[0];
    status += HW_SAMPLES_FLOAT;
    status += HW_INTENT_ABSOLUTE;
    return (int)status;
}
#if HUEWEAVE_VERSION_NUMBER < 10000
#error "the version is too low"
#endif
)";

class HueweaveHeader : public testing::Test {
protected:
    /// Compiles `text` with the given compiler and flags; true if it is accepted without a warning.
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

TEST_F(HueweaveHeader, IsValidAloneOrTwiceInEveryStandard) {
    const std::string headers = "#include \"hueweave/hueweave.h\"\n#include \"hueweave/transform.h\"\n";
    for (const std::string program : {kProgram, kTransforms}) {
        for (const std::string standard : {"c99", "c11", "gnu17"}) {
            EXPECT_TRUE(Compiles(HUEWEAVE_C_COMPILER, "-x c -std=" + standard, program)) << standard;
            EXPECT_TRUE(Compiles(HUEWEAVE_C_COMPILER, "-x c -std=" + standard, headers + program)) << standard;
        }
        for (const std::string standard : {"c++11", "c++17", "c++20"}) {
            EXPECT_TRUE(Compiles(HUEWEAVE_CXX_COMPILER, "-x c++ -std=" + standard, headers + program)) << standard;
        }
    }
}

TEST_F(HueweaveHeader, CheckDetectsErrors) {
    EXPECT_FALSE(Compiles(HUEWEAVE_C_COMPILER, "-x c -std=c99",
                          std::string(kProgram) + "int wrong(void) { return Orvix_Icc_Convert2(); }\n"));
}

TEST_F(HueweaveHeader, EnumerationsAreThirtyTwoBitsWideAndHoldEveryValue) {
    EXPECT_TRUE((std::is_same_v<std::underlying_type_t<HueweaveIntent>, std::int32_t>));
    EXPECT_TRUE((std::is_same_v<std::underlying_type_t<HueweaveColorSpace>, std::int32_t>));
    // C chooses the width of an enum from its values; the functions take 32 bits.
    const std::string text = std::string("#include \"hueweave/hueweave.h\"\n") +
                             "char a[sizeof(enum HueweaveIntent) == 4 ? 1 : -1];\n"
                             "char b[sizeof(enum HueweaveColorSpace) == 4 ? 1 : -1];\n";
    EXPECT_TRUE(Compiles(HUEWEAVE_C_COMPILER, "-x c -std=c99", text));
}

/// Whether the three functions of one name have the type of `Function`.
template <class Function, class... Three>
constexpr bool kAllAre = (std::is_same_v<Function, Three> && ...);

TEST_F(HueweaveHeader, FunctionsHave32BitParametersAndResults) {
    using Path = const char*;
    using Curve = unsigned char*;
    using Word = std::int32_t;
#define HUEWEAVE_TYPES(name) \
    decltype(Orvix_Icc_##name), decltype(Orvix_Icc_##name##_2nd), decltype(Orvix_Icc_##name##_3rd)
    EXPECT_TRUE((kAllAre<Word(Path, Path, Word, Word, Word) noexcept, HUEWEAVE_TYPES(SetProfile)>));
    EXPECT_TRUE((kAllAre<Word(Word, Word, Word) noexcept, HUEWEAVE_TYPES(SetIntent)>));
    EXPECT_TRUE((kAllAre<Word(double, double, double, Curve, Curve, Curve, Word) noexcept, HUEWEAVE_TYPES(Adjust)>));
    EXPECT_TRUE((kAllAre<Word(Curve, Curve, Word) noexcept, HUEWEAVE_TYPES(Convert2)>));
    EXPECT_TRUE((kAllAre<Word(Path, Path) noexcept, HUEWEAVE_TYPES(ConvertFile)>));
#undef HUEWEAVE_TYPES
    EXPECT_TRUE((std::is_same_v<decltype(func1), Word() noexcept>));
}

TEST_F(HueweaveHeader, EnumeratorsHaveTheirFixedValues) {
    struct {
        int first;
        std::vector<int> declared;
    } const runs[] = {
        {0, {IntentPerceptual, IntentRelativeColorimetric, IntentSaturation, IntentAbsoluteColorimetric}},
        {0, {CsRGB_8, CsRGB_16, CsLab_8, CsLab_16, CsCMYK_8, CsCMYK_16}},
        {8, {CssRGB_8, CssRGB_16, CssRGB_Gamma100_8, CssRGB_Gamma100_16, CssRGB_Alias_8, CssRGB_Alias_16}},
        {16, {CsCLR6_8, CsCLR6_16, CsCLR7_8, CsCLR7_16}},
        {20, {CsAdobeRGB_Gamma100_8, CsAdobeRGB_Gamma100_16, CsAdobeRGB_Gamma180_8, CsAdobeRGB_Gamma180_16}},
        {24, {CsAppleRGB_Gamma100_8, CsAppleRGB_Gamma100_16, CsAppleRGB_Gamma180_8, CsAppleRGB_Gamma180_16}},
        {28,
         {CsColorMatchRGB_Gamma100_8, CsColorMatchRGB_Gamma100_16, CsColorMatchRGB_Gamma180_8,
          CsColorMatchRGB_Gamma180_16}},
        {34, {CsKodakPhoto_8, CsKodakPhoto_16, CsKodakMix_8, CsKodakMix_16, CsKodakText_8, CsKodakText_16}},
        {65535, {CsNone}},
    };
    for (const auto& [first, declared] : runs) {
        for (std::size_t i = 0; i < declared.size(); ++i) EXPECT_EQ(declared[i], first + static_cast<int>(i));
    }
}

}  // namespace
}  // namespace hueweave::test
