// SPDX-License-Identifier: MIT
// Every failure of the library of transforms, and both sides of each limit.
#include <cmath>
#include <limits>

#include "colour/Profiles.h"
#include "hueweave/transform.hpp"
#include "support/TempDir.h"

namespace hueweave::test {
namespace {

using testing::HasSubstr;
using ApiProfile = hueweave::Profile;
using ApiTransform = hueweave::Transform;

/// Profiles for the interface. They borrow what they are made from.
hw_profile PathOf(const std::string& path) { return {nullptr, 0, path.c_str(), nullptr}; }
hw_profile SpaceOf(const char* name) { return {nullptr, 0, nullptr, name}; }
hw_profile DataOf(const Bytes& data) { return {data.data(), data.size(), nullptr, nullptr}; }

std::string FailureOf(const hw_profile* source, const hw_profile* target, const hw_options* options) {
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    hw_error error{};
    int place = 0;
    auto* transform = reinterpret_cast<hw_transform*>(&place);
    const std::int32_t status = hw_transform_create(source, target, options, &transform, &error);
    EXPECT_EQ(hw_transform_create(source, target, options, &transform, nullptr), status);
    EXPECT_EQ(testing::internal::GetCapturedStdout() + testing::internal::GetCapturedStderr(), "");
    EXPECT_EQ(transform, nullptr);
    EXPECT_EQ(error.status, status);
    EXPECT_STREQ(error.name, hw_status_name(status));
    return std::string(error.name) + ": " + error.message;
}

TEST(TransformApiTest, ReportsTheReasonAndARemedyForAProfile) {
    const TempDir dir;
    const Bytes text{'t', 'e', 'x', 't'}, scanner = TableProfile({});
    Bytes grey = scanner;
    std::copy_n("GRAY", 4, grey.begin() + 16);  // the colour space in the header
    const std::string missing = dir.File("missing.icc"), folder = dir.Path(), large = dir.File("large.icc");
    WriteFile(large, text);
    std::filesystem::resize_file(large, (64U << 20) + 1);
    const hw_profile good = DataOf(scanner), srgb = SpaceOf("srgb"), none{}, two{text.data(), 4, "path", nullptr};
    const hw_profile tooLarge{text.data(), (std::size_t{64} << 20) + 1, nullptr, nullptr};
    const std::string ways = "; set one of data, path and space", check = "; check the file and its permissions";
    const std::string device = "; give the profile of an RGB scanner, camera, screen or printer";
    const std::string output = "; give the profile of an RGB space, screen or printer";
    const struct {
        hw_profile source, target;
        std::string expected;
    } cases[] = {
        {none, srgb, "argument: source: is not given" + ways},
        {good, two, "argument: target: is given in more than one way" + ways},
        {PathOf(missing), srgb, "file: " + missing + ": cannot be read (No such file or directory)" + check},
        {good, PathOf(folder), "file: " + folder + ": cannot be read (not a regular file)" + check},
        {PathOf(large), srgb, "profile: " + large + ": is too large for a profile; give an ICC profile"},
        {tooLarge, srgb, "profile: source: is too large for a profile; give an ICC profile"},
        {DataOf(text), srgb, "profile: source: is not a readable ICC profile" + device},
        {DataOf(grey), srgb, "profile: source: describes GRAY colours, not RGB" + device},
        {good, DataOf(text), "profile: target: is not a readable ICC profile" + output},
        {good, good, "profile: target: has no table from colours to its device" + output},
        {good, SpaceOf("sgrb"),
         "space: sgrb: is not a colour space (did you mean srgb?); hw_space_name() gives the names"},
        {SpaceOf("quite else"), srgb, "space: quite else: is not a colour space; hw_space_name() gives the names"}};
    for (const auto& c : cases) EXPECT_EQ(FailureOf(&c.source, &c.target, nullptr), c.expected);
    EXPECT_EQ(FailureOf(nullptr, &srgb, nullptr), "argument: source: is not given" + ways);
    EXPECT_EQ(FailureOf(&good, nullptr, nullptr), "argument: target: is not given" + ways);
    hw_error error{};
    EXPECT_EQ(hw_transform_create(&good, &srgb, nullptr, nullptr, &error), HW_ERROR_ARGUMENT);
    EXPECT_STREQ(error.message, "transform: is null; give the place for the transform");
    // A path is cut at its beginning; here in the middle of a character of two bytes.
    std::string path(1, 'x');
    for (int i = 0; i < 500; ++i) path += "\xc3\xa4";
    path += 'b';
    const hw_profile lost = PathOf(path);
    EXPECT_EQ(FailureOf(&lost, &srgb, nullptr).find("file: ...\xc3\xa4"), 0U);
}

TEST(TransformApiTest, RejectsOptionsBeyondEitherLimit) {
    const Bytes scanner = TableProfile({}), printer = TableProfile({.target = true});
    const ApiProfile source = ApiProfile::FromMemory(scanner), device = ApiProfile::FromMemory(printer),
                     space = ApiProfile::OfSpace("srgb"), p3 = ApiProfile::OfSpace("display-p3"),
                     adobe = ApiProfile::OfSpace("adobe-rgb");
    static Bytes falling(768);
    for (std::size_t i = 0; i < falling.size(); ++i) falling[i] = static_cast<unsigned char>(255 - i);
    constexpr auto kExact = HW_PRECISION_EXACT, kLibrary = HW_PRECISION_LIBRARY;
    using O = hw_options;
    const struct {
        void (*set)(hw_options&);
        std::string expected;  ///< empty for none
        std::int32_t precision = kExact;
        const ApiProfile* target = nullptr;  ///< null for the space
    } cases[] = {
        {[](O& o) { o.size -= 1; }, "options: hw_options.size: is too small"},
        {[](O& o) { o.samples = 3; }, "options: hw_options.samples: 3 is out of range"},
        {[](O& o) { o.samples = -1; }, "options: hw_options.samples: -1 is out of range"},
        {[](O& o) { o.intent = 4; }, "options: hw_options.intent: 4 is out of range"},
        {[](O& o) { o.intent = 3, o.icc_version = 4, o.lightness = -100, o.chroma = 100, o.hue = 360; }, ""},
        {[](O& o) { o.black_point = 2; }, "options: hw_options.black_point: 2 is out of range"},
        {[](O& o) { o.precision = 2; }, "options: hw_options.precision: 2 is out of range"},
        {[](O& o) { o.icc_version = 3; }, "options: hw_options.icc_version: 3 is not a version"},
        {[](O& o) { o.reserved = 1; }, "options: hw_options.reserved: is not 0"},
        {[](O& o) { o.lightness = -100.01; }, "options: hw_options.lightness: is out of range"},
        {[](O& o) { o.chroma = 100.01; }, "options: hw_options.chroma: is out of range"},
        {[](O& o) { o.hue = NAN; }, "options: hw_options.hue: is out of range; use -360 to 360"},
        {[](O& o) { o.accept_error = 1; }, "options: hw_options.accept_error: is for the library's"},
        {[](O& o) { o.accept_error = 100.01; }, "options: hw_options.accept_error: is out of range; use 0 to 100",
         kLibrary},
        {[](O& o) { o.accept_error = 100; }, "", kLibrary},
        {[](O& o) { o.accept_error = 0.001; },
         "precision: source: is converted wrongly by the library: CIEDE2000 is above", kLibrary},
        {[](O& o) { o.black_point = 1; }, "options: hw_options.black_point: cannot be combined", kLibrary},
        {[](O& o) { o.icc_version = 2; }, "options: hw_options.icc_version: cannot be combined", kLibrary},
        {[](O& o) { o.samples = HW_SAMPLES_FLOAT; },
         "precision: hw_options.samples: the library's precision has samples of 8 and 16 bits, not in floating point; ",
         kLibrary},
        {[](O&) {}, "precision: display-p3: is a target that the library's", kLibrary, &p3},
        {[](O&) {}, "precision: target: is a target that the library's", kLibrary, &device},
        {[](O& o) { o.curves = falling.data(); },
         "precision: hw_options.curves: cannot be combined with the target adobe-rgb", kLibrary, &adobe},
        {[](O& o) { o.curves = falling.data(); }, "curves: hw_options.curves: no profile can describe"},
        {[](O& o) { o.curves = falling.data(); }, "options: hw_options.curves: cannot be combined with a profile",
         kExact, &device},
        {[](O& o) { o.icc_version = 2; }, "options: hw_options.icc_version: cannot be combined with a profile", kExact,
         &device}};
    for (const auto& c : cases) {
        hw_options options = HW_OPTIONS_INIT;
        options.precision = c.precision;
        c.set(options);
        const ApiProfile& target = c.target == nullptr ? space : *c.target;
        if (c.expected.empty()) {
            EXPECT_NO_THROW(ApiTransform(source, target, options));
        } else {
            const hw_profile from = source.get(), to = target.get();
            EXPECT_THAT(FailureOf(&from, &to, &options), testing::StartsWith(c.expected));
        }
    }
    // With the library's precision, falling curves are possible; there is no profile of them.
    hw_options options = HW_OPTIONS_INIT;
    options.precision = kLibrary, options.accept_error = 100, options.curves = falling.data();
    std::size_t size = 1;
    EXPECT_EQ(hw_transform_profile(ApiTransform(source, space, options).get(), &size), nullptr);
    EXPECT_EQ(size, 0U);
}

TEST(TransformApiTest, OptionsAndInfoOfALaterVersionAreUnderstoodIfTheirNewFieldsAreZero) {
    struct {
        hw_options now = HW_OPTIONS_INIT;
        double later = 0;
    } options;
    struct {
        hw_info now{};
        double later = 5;
    } info;
    options.now.size = sizeof options, info.now.size = sizeof info;
    const hw_profile srgb = SpaceOf("sRGB IEC61966-2.1");
    const ApiTransform transform(ApiProfile::OfSpace(srgb.space), ApiProfile::OfSpace(srgb.space), options.now);
    EXPECT_EQ(hw_transform_info(transform.get(), &info.now), HW_OK);
    EXPECT_EQ(info.later, 0);
    EXPECT_EQ(info.now.size, sizeof info);
    info.now.size = sizeof(hw_info) - 1;
    EXPECT_EQ(hw_transform_info(transform.get(), &info.now), HW_ERROR_OPTIONS);
    EXPECT_EQ(hw_transform_info(nullptr, &info.now), HW_ERROR_ARGUMENT);
    EXPECT_EQ(hw_transform_info(transform.get(), nullptr), HW_ERROR_ARGUMENT);
    options.later = 1;
    EXPECT_THAT(FailureOf(&srgb, &srgb, &options.now), HasSubstr("hw_options.size: has fields that this version"));
    EXPECT_EQ(hw_transform_profile(nullptr, nullptr), nullptr);
    hw_transform_free(nullptr);
}

TEST(TransformApiTest, RejectsAnInvalidLayoutWithoutWriting) {
    const ApiTransform transform(ApiProfile::OfSpace("srgb"), ApiProfile::OfSpace("srgb-linear"));
    constexpr std::size_t kMost = std::numeric_limits<std::size_t>::max(), kHalf = kMost / 2;
    constexpr auto kLeast = std::numeric_limits<std::ptrdiff_t>::min();
    Bytes memory(200, 100);
    const Bytes before = memory;
    const struct {
        std::size_t source, dest;
        hw_layout layout;
        std::int32_t expected;
    } cases[] = {{0, 100, {2, 3, 2, 0, 0}, HW_ERROR_LAYOUT},
                 {0, 100, {0, 3, 65536, 0, 0}, HW_ERROR_LAYOUT},
                 {0, 100, {0, 3, 65535, 0, 0}, HW_OK},
                 {0, 100, {2, 3, 3, 5, 0}, HW_ERROR_LAYOUT},
                 {0, 100, {2, 3, 3, 0, -5}, HW_ERROR_LAYOUT},
                 {0, 100, {kHalf / 3 + 1, 1, 3, 0, 0}, HW_ERROR_LAYOUT},
                 {0, 100, {1, kHalf / 3 + 1, 3, 0, 0}, HW_ERROR_LAYOUT},
                 {0, 100, {1, kMost, 3, 0, 0}, HW_ERROR_LAYOUT},
                 {0, 100, {1, 2, 3, kLeast, 0}, HW_ERROR_LAYOUT},
                 {0, 1, {2, 3, 3, 0, 0}, HW_ERROR_OVERLAP},
                 {17, 0, {2, 3, 3, 0, 0}, HW_ERROR_OVERLAP},
                 {0, 0, {2, 3, 3, 6, 7}, HW_ERROR_OVERLAP},
                 {0, 5, {2, 3, 3, 12, 12}, HW_ERROR_OVERLAP},
                 {0, 7, {2, 3, 3, 12, 12}, HW_ERROR_OVERLAP},
                 {0, 37, {2, 3, 3, 12, -12}, HW_ERROR_OVERLAP}};
    for (const auto& c : cases) {
        EXPECT_EQ(hw_convert_image(transform.get(), &memory[c.source], &memory[c.dest], &c.layout), c.expected)
            << (&c - cases);
    }
    const hw_layout layout{2, 3, 3, 0, 0};
    EXPECT_EQ(hw_convert_image(nullptr, memory.data(), memory.data(), &layout), HW_ERROR_ARGUMENT);
    EXPECT_EQ(hw_convert_image(transform.get(), nullptr, memory.data(), &layout), HW_ERROR_ARGUMENT);
    EXPECT_EQ(hw_convert_image(transform.get(), memory.data(), nullptr, &layout), HW_ERROR_ARGUMENT);
    EXPECT_EQ(hw_convert_image(transform.get(), memory.data(), memory.data(), nullptr), HW_ERROR_ARGUMENT);
    EXPECT_EQ(hw_convert(transform.get(), memory.data(), memory.data(), kHalf / 3 + 1), HW_ERROR_LAYOUT);
    EXPECT_EQ(hw_convert(transform.get(), nullptr, nullptr, 0), HW_OK);
    EXPECT_EQ(memory, before);
    EXPECT_EQ(hw_convert(transform.get(), &memory[18], &memory[0], 6), HW_OK) << "side by side";
}

}  // namespace
}  // namespace hueweave::test
