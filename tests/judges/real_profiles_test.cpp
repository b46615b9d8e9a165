// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
//
// Profiles written by other programs: those in Debian packages, and those that Little CMS saves. Little CMS reads the
// expected contents.
#include <gtest/gtest.h>
#include <lcms2.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "abi/Library.h"
#include "iccfile/IccFile4.h"
#include "iccfile/LutTags.h"
#include "iccfile/SimpleTags.h"
#include "support/ByteWriter.h"
#include "support/MiniProfile.h"
#include "support/TempDir.h"

namespace hueweave::test {
namespace {

using ICC40::ICC4_HEADER::TagName;
using ICC40::ICCFILE::CCurveType;
using ICC40::ICCFILE::CLut;
using ICC40::ICCFILE::IccFile4;

struct CloseProfile {
    void operator()(void* profile) const { cmsCloseProfile(profile); }
};
using Profile = std::unique_ptr<void, CloseProfile>;

Profile Open(const std::string& path) { return Profile(cmsOpenProfileFromFile(path.c_str(), "r")); }

/// A tag's bytes as read by Little CMS, without any padding.
Bytes RawTag(void* profile, cmsTagSignature name) {
    Bytes block(cmsReadRawTag(profile, name, nullptr, 0));
    EXPECT_EQ(cmsReadRawTag(profile, name, block.data(), static_cast<cmsUInt32Number>(block.size())), block.size());
    return block;
}

std::uint32_t Big32(const Bytes& bytes, std::size_t at) {
    return std::uint32_t{bytes.at(at)} << 24 | std::uint32_t{bytes.at(at + 1)} << 16 |
           std::uint32_t{bytes.at(at + 2)} << 8 | bytes.at(at + 3);
}

Bytes SomePixels() {
    Bytes pixels;
    for (unsigned i = 0; i < 3000; ++i) pixels.push_back(static_cast<unsigned char>(i * 97 + i / 7));
    return pixels;
}

/// Pixels converted by the library; `bits` is 8 or 16. Empty if the profile is refused.
Bytes Converted(const std::string& profile, int bits) {
    const Library library;
    const EngineApi engine(library, "");
    const std::int32_t input = bits == 8 ? CsRGB_8 : CsRGB_16, output = bits == 8 ? CssRGB_8 : CssRGB_16;
    if (engine.SetProfile(profile.c_str(), nullptr, IntentPerceptual, input, output) != output) return {};
    Bytes pixels = SomePixels();
    const auto count = static_cast<std::int32_t>(pixels.size()) / (3 * bits / 8);
    EXPECT_EQ(engine.Convert2(pixels.data(), pixels.data(), count), 0);
    return pixels;
}

std::vector<std::string> InstalledProfiles() {
    std::vector<std::string> paths;
    for (const char* folder : {"/usr/share/color/argyll/ref", "/usr/share/color/icc"}) {
        std::error_code missing;
        for (const auto& entry : std::filesystem::recursive_directory_iterator(folder, missing)) {
            const std::string kind = entry.path().extension().string();
            if (kind == ".icm" || kind == ".icc") paths.push_back(entry.path().string());
        }
    }
    std::sort(paths.begin(), paths.end());
    return paths;
}

/// Every tag has its name and its bytes, padded to a multiple of four with the bytes that follow in the file, or zeros.
void ExpectTags(const IccFile4& file, void* judge, const Bytes& bytes, const std::string& path) {
    ASSERT_EQ(file.tagList.size(), static_cast<std::size_t>(cmsGetTagCount(judge))) << path;
    for (std::size_t n = 0; n < file.tagList.size(); ++n) {
        const auto& tag = *file.tagList[n];
        const cmsTagSignature name = cmsGetTagSignature(judge, static_cast<cmsUInt32Number>(n));
        const Bytes raw = RawTag(judge, name);
        EXPECT_EQ(static_cast<std::uint32_t>(tag.tagSig), static_cast<std::uint32_t>(name)) << path;
        ASSERT_EQ(tag.tagSize, (raw.size() + 3) / 4 * 4) << path << " tag " << n;
        EXPECT_EQ(std::memcmp(tag.tagData.get(), raw.data(), raw.size()), 0) << path << " tag " << n;
        const std::uint32_t offset = Big32(bytes, 132 + 12 * n + 4);
        for (std::size_t at = raw.size(); at < tag.tagSize; ++at) {
            EXPECT_EQ(tag.tagData[at], offset + at < bytes.size() ? bytes[offset + at] : 0) << path << " tag " << n;
        }
    }
}

/// A tone curve of at least two entries has the entries that Little CMS reads.
void ExpectCurve(const IccFile4& file, void* judge, cmsTagSignature name, const std::string& path) {
    if (!cmsIsTag(judge, name)) return;
    const Bytes raw = RawTag(judge, name);
    if (std::memcmp(raw.data(), "curv", 4) != 0 || Big32(raw, 8) < 2) return;
    const auto* expected = static_cast<const cmsToneCurve*>(cmsReadTag(judge, name));
    const auto* curve = dynamic_cast<const CCurveType*>(file.GetTag(ICC40::ICCFILE::icTagSignature(name)));
    ASSERT_NE(expected, nullptr) << path;
    ASSERT_NE(curve, nullptr) << path;
    ASSERT_EQ(curve->curveCount, cmsGetToneCurveEstimatedTableEntries(expected)) << path;
    const cmsUInt16Number* const table = cmsGetToneCurveEstimatedTable(expected);
    EXPECT_TRUE(std::equal(table, table + curve->curveCount, curve->curve.get())) << path;
}

TEST(InstalledProfiles, AreReadByteForByte) {
    const std::vector<std::string> paths = InstalledProfiles();
    ASSERT_GE(paths.size(), 20U) << "the packages argyll-ref and icc-profiles-free bring them";
    std::size_t pastTheEnd = 0;
    for (const std::string& path : paths) {
        const Profile judge = Open(path);
        ASSERT_NE(judge, nullptr) << path;
        IccFile4 file;
        ASSERT_EQ(file.ReadFile(path.c_str()), 0);
        const Bytes bytes = ReadFile(path);
        ExpectTags(file, judge.get(), bytes, path);
        for (const auto name : {cmsSigRedTRCTag, cmsSigGreenTRCTag, cmsSigBlueTRCTag, cmsSigGrayTRCTag}) {
            ExpectCurve(file, judge.get(), name, path);
        }
        for (std::size_t n = 0; n < file.tagList.size(); ++n) {
            pastTheEnd += Big32(bytes, 132 + 12 * n + 4) + file.tagList[n]->tagSize > bytes.size() ? 1U : 0U;
        }
    }
    EXPECT_GE(pastTheEnd, 1U) << "one of them at least ends in the middle of a word";
}

TEST(InstalledProfiles, ConvertPixelsIfTheyHaveATable) {
    std::size_t tables = 0;
    for (const std::string& path : InstalledProfiles()) {
        const Profile judge = Open(path);
        ASSERT_NE(judge, nullptr) << path;
        const bool table = cmsIsTag(judge.get(), cmsSigAToB0Tag) || cmsIsTag(judge.get(), cmsSigAToB1Tag);
        tables += table ? 1U : 0U;
        for (const int bits : {8, 16}) {
            const Bytes pixels = Converted(path, bits);
            ASSERT_EQ(pixels.size(), SomePixels().size()) << path;
            EXPECT_EQ(pixels == SomePixels(), !table) << path;
        }
    }
    EXPECT_GE(tables, 1U);
}

/// A version 4 display profile has its tone curves as formulas: five parameters in the place of a list's entry count.
TEST(ParametricCurve, IsTakenNoFurtherThanItsBlockAndSavedAsItWas) {
    const TempDir dir;
    const std::string path = dir.File("display.icc");
    EXPECT_TRUE(cmsSaveProfileToFile(Profile(cmsCreate_sRGBProfile()).get(), path.c_str()));
    IccFile4 file;
    ASSERT_EQ(file.ReadFile(path.c_str()), 0);
    EXPECT_EQ(file.SaveFile(dir.File("saved.icc").c_str()), 0);
    const Profile before = Open(path), after = Open(dir.File("saved.icc"));
    ASSERT_NE(after, nullptr);
    for (const auto name : {cmsSigRedTRCTag, cmsSigGreenTRCTag, cmsSigBlueTRCTag}) {
        const Bytes raw = RawTag(before.get(), name);
        ASSERT_EQ(std::string(raw.begin(), raw.begin() + 4), "para");
        ASSERT_EQ(Big32(raw, 8), 0x00030000U) << "the formula's number stands where a count would";
        ASSERT_EQ(raw.size(), 32U) << "five parameters";
        const auto* curve = dynamic_cast<const CCurveType*>(file.GetTag(ICC40::ICCFILE::icTagSignature(name)));
        ASSERT_NE(curve, nullptr);
        ASSERT_EQ(curve->curveCount, 10U);
        for (std::size_t i = 0; i < 10; ++i) EXPECT_EQ(curve->curve[i], raw[12 + 2 * i] << 8 | raw[13 + 2 * i]);
        EXPECT_EQ(RawTag(after.get(), name), raw);
    }
    for (const int bits : {8, 16}) EXPECT_EQ(Converted(path, bits), SomePixels()) << "there is no table";
}

using Curves = std::vector<cmsToneCurve*>;

/// One table, saved by Little CMS: three curves on each side of a grid.
class SavedTableTest : public testing::Test {
protected:
    SavedTableTest() = default;
    ~SavedTableTest() override { Free(); }
    void Free() {
        for (Curves* curves : {&in_, &out_}) {
            for (cmsToneCurve* curve : *curves) cmsFreeToneCurve(curve);
            curves->clear();
        }
    }
    static cmsToneCurve* Power(std::size_t entries, double exponent) {
        std::vector<cmsUInt16Number> table;
        for (std::size_t i = 0; i < entries; ++i) {
            const double at = static_cast<double>(i) / static_cast<double>(entries - 1);
            table.push_back(static_cast<cmsUInt16Number>(std::lround(65535.0 * std::pow(at, exponent))));
        }
        return cmsBuildTabulatedToneCurve16(nullptr, static_cast<cmsUInt32Number>(entries), table.data());
    }
    void UseTables(std::size_t inputEntries, std::size_t outputEntries) {
        Free();
        for (const double exponent : {1.8, 2.0, 2.2}) in_.push_back(Power(inputEntries, exponent));
        for (const double exponent : {0.9, 1.0, 1.1}) out_.push_back(Power(outputEntries, exponent));
    }
    void UseFormulas() {
        Free();
        for (int c = 0; c < 3; ++c) {
            in_.push_back(cmsBuildGamma(nullptr, 1.0));
            out_.push_back(cmsBuildGamma(nullptr, 1.0));
        }
    }
    /// The path of a profile of this version, with a table of this type.
    std::string Save(double version, const std::string& type) const {
        const std::string path = dir_.File(type.substr(0, 3) + ".icc");
        cmsPipeline* const pipeline = cmsPipelineAlloc(nullptr, 3, 3);
        std::vector<cmsUInt16Number> grid;
        for (const unsigned value : LabGrid(kPoints)) grid.push_back(static_cast<cmsUInt16Number>(value));
        for (cmsStage* stage : {cmsStageAllocToneCurves(nullptr, 3, in_.data()),
                                cmsStageAllocCLut16bit(nullptr, kPoints, 3, 3, grid.data()),
                                cmsStageAllocToneCurves(nullptr, 3, out_.data())}) {
            EXPECT_TRUE(cmsPipelineInsertStage(pipeline, cmsAT_END, stage));
        }
        {
            const Profile profile(cmsCreateProfilePlaceholder(nullptr));
            cmsSetProfileVersion(profile.get(), version);
            cmsSetDeviceClass(profile.get(), cmsSigInputClass);
            cmsSetColorSpace(profile.get(), cmsSigRgbData);
            cmsSetPCS(profile.get(), cmsSigLabData);
            EXPECT_TRUE(cmsWriteTag(profile.get(), cmsSigAToB0Tag, pipeline));
            EXPECT_TRUE(cmsSaveProfileToFile(profile.get(), path.c_str()));
        }
        cmsPipelineFree(pipeline);
        const Bytes raw = Block(path);
        EXPECT_EQ(std::string(raw.begin(), raw.begin() + 4), type);
        return path;
    }
    static Bytes Block(const std::string& path) { return RawTag(Open(path).get(), cmsSigAToB0Tag); }

    static constexpr unsigned kPoints = 17;
    Curves in_, out_;
    const TempDir dir_;
};

/// Identity formulas are read as identity curves, wherever the reader looks for the next one.
TEST_F(SavedTableTest, IsTheSameInBothVersions) {
    for (const bool formulas : {false, true}) {
        formulas ? UseFormulas() : UseTables(1025, 257);
        const std::string curved = Save(4.3, "mAB "), plain = Save(2.1, "mft2");
        const Bytes raw = Block(curved);
        EXPECT_EQ(std::memcmp(raw.data() + Big32(raw, 28), formulas ? "para" : "curv", 4), 0);
        for (const int bits : {8, 16}) {
            const Bytes pixels = Converted(curved, bits);
            EXPECT_EQ(pixels, Converted(plain, bits)) << bits;
            EXPECT_EQ(pixels.size(), SomePixels().size());
            EXPECT_NE(pixels, SomePixels());
        }
    }
}

/// Curves with an even number of entries have no padding, but the reader advances as if they had: from the second curve
/// on, entries are read from shifted offsets, up to the end of the block.
TEST_F(SavedTableTest, StepsOverPaddingThatEvenCurvesDoNotHave) {
    UseTables(256, 64);
    const std::string path = Save(4.3, "mAB ");
    const Bytes raw = Block(path);
    IccFile4 file;
    ASSERT_EQ(file.ReadFile(path.c_str()), 0);
    const auto* lut = dynamic_cast<const CLut*>(file.GetTag(TagName("A2B0")));
    ASSERT_NE(lut, nullptr);
    // The second is read two bytes too far on, so its count starts with the low half of the true one.
    const std::size_t second = Big32(raw, 28) + 12 + 2 * 256 + 2;
    EXPECT_EQ(lut->aCurves[1]->curveCount,
              std::min<std::size_t>(Big32(raw, second + 8), (raw.size() - second - 12) / 2));
    EXPECT_EQ(lut->aCurves[1]->curve[0], raw[second + 12] << 8 | raw[second + 13]);
    EXPECT_EQ(lut->aCurves[0]->curveCount, 256U);
    EXPECT_EQ(lut->bCurves[0]->curveCount, 64U);
    // The last curve of a side starts after the end of the block and is shorter than the first: no engine accepts the
    // table.
    EXPECT_EQ(lut->aCurves[2]->curveCount, 0U);
    for (const int bits : {8, 16}) EXPECT_EQ(Converted(path, bits), Bytes()) << bits;
}

}  // namespace
}  // namespace hueweave::test
