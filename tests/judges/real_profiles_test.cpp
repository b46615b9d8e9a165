// SPDX-License-Identifier: MIT
// Profiles written by other programs: those in Debian packages, and those that Little CMS saves. Little CMS reads the
// expected contents.
#include <gtest/gtest.h>
#include <lcms2.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "abi/Library.h"
#include "iccfile/IccFile4.h"
#include "iccfile/SimpleTags.h"
#include "support/ByteWriter.h"
#include "support/MiniProfile.h"
#include "support/TempDir.h"

namespace hueweave::test {
namespace {

using ICC40::ICCFILE::CCurveType;
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

/// Those of argyll-ref and icc-profiles-free (folders below belong to other packages), and a display profile of version
/// 4 by Little CMS, whose curves are formulas: their parameters are where a list has its number of entries.
std::vector<std::string> Paths(const TempDir& dir) {
    std::vector<std::string> paths{dir.File("display.icc")};
    EXPECT_TRUE(cmsSaveProfileToFile(Profile(cmsCreate_sRGBProfile()).get(), paths[0].c_str()));
    for (const char* folder : {"/usr/share/color/argyll/ref", "/usr/share/color/icc"}) {
        std::error_code missing;
        for (const auto& entry : std::filesystem::directory_iterator(folder, missing)) {
            const std::string kind = entry.path().extension().string();
            if (kind == ".icm" || kind == ".icc") paths.push_back(entry.path().string());
        }
    }
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
    if (Big32(raw, 8) < 2) return;
    const auto* curve = dynamic_cast<const CCurveType*>(file.GetTag(ICC40::ICCFILE::icTagSignature(name)));
    ASSERT_NE(curve, nullptr) << path;
    if (std::memcmp(raw.data(), "para", 4) == 0) {
        EXPECT_EQ(curve->curveCount, (raw.size() - 12) / 2) << "all of its block: " << path;
        return;
    }
    const auto* expected = static_cast<const cmsToneCurve*>(cmsReadTag(judge, name));
    ASSERT_NE(expected, nullptr) << path;
    ASSERT_EQ(curve->curveCount, cmsGetToneCurveEstimatedTableEntries(expected)) << path;
    const cmsUInt16Number* const table = cmsGetToneCurveEstimatedTable(expected);
    EXPECT_TRUE(std::equal(table, table + curve->curveCount, curve->curve.get())) << path;
}

TEST(ProfilesByOthers, AreReadByteForByte) {
    const TempDir dir;
    const std::vector<std::string> paths = Paths(dir);
    ASSERT_GE(paths.size(), 21U) << "the packages argyll-ref and icc-profiles-free bring them";
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

TEST(ProfilesByOthers, ConvertPixelsIfTheyHaveATable) {
    const TempDir dir;
    std::size_t tables = 0;
    for (const std::string& path : Paths(dir)) {
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

/// Three curves of powers as tables, or the identity as formulas.
cmsStage* CurveStage(std::size_t entries, const std::array<double, 3>& exponents, bool formulas) {
    std::array<cmsToneCurve*, 3> curves{};
    for (std::size_t c = 0; c < 3; ++c) {
        std::vector<cmsUInt16Number> table;
        for (std::size_t i = 0; i < entries; ++i) {
            const double at = static_cast<double>(i) / static_cast<double>(entries - 1);
            table.push_back(static_cast<cmsUInt16Number>(std::lround(65535.0 * std::pow(at, exponents[c]))));
        }
        const auto count = static_cast<cmsUInt32Number>(entries);
        curves[c] = formulas ? cmsBuildGamma(nullptr, 1.0) : cmsBuildTabulatedToneCurve16(nullptr, count, table.data());
    }
    cmsStage* const stage = cmsStageAllocToneCurves(nullptr, 3, curves.data());
    for (cmsToneCurve* curve : curves) cmsFreeToneCurve(curve);
    return stage;
}

/// A profile of this version at `path`, with curves on each side of a grid in a table of this type.
void SaveTable(const std::string& path, double version, const char* type, bool formulas) {
    const auto values = LabGrid(17);
    const std::vector<cmsUInt16Number> grid(values.begin(), values.end());
    const std::unique_ptr<cmsPipeline, decltype(&cmsPipelineFree)> table(cmsPipelineAlloc(nullptr, 3, 3),
                                                                         cmsPipelineFree);
    for (cmsStage* stage :
         {CurveStage(1025, {1.8, 2.0, 2.2}, formulas), cmsStageAllocCLut16bit(nullptr, 17, 3, 3, grid.data()),
          CurveStage(257, {0.9, 1.0, 1.1}, formulas)}) {
        EXPECT_TRUE(cmsPipelineInsertStage(table.get(), cmsAT_END, stage));
    }
    const Profile profile(cmsCreateProfilePlaceholder(nullptr));
    cmsSetProfileVersion(profile.get(), version);
    cmsSetDeviceClass(profile.get(), cmsSigInputClass);
    cmsSetColorSpace(profile.get(), cmsSigRgbData);
    cmsSetPCS(profile.get(), cmsSigLabData);
    EXPECT_TRUE(cmsWriteTag(profile.get(), cmsSigAToB0Tag, table.get()));
    EXPECT_TRUE(cmsSaveProfileToFile(profile.get(), path.c_str()));
    EXPECT_EQ(std::memcmp(RawTag(Open(path).get(), cmsSigAToB0Tag).data(), type, 4), 0);
}

/// Identity formulas are read as identity curves, wherever the reader looks for the next one.
TEST(SavedTable, IsTheSameInBothVersions) {
    const TempDir dir;
    const std::string curved = dir.File("mAB.icc"), plain = dir.File("mft2.icc");
    for (const bool formulas : {false, true}) {
        SaveTable(curved, 4.3, "mAB ", formulas);
        SaveTable(plain, 2.1, "mft2", formulas);
        const Bytes raw = RawTag(Open(curved).get(), cmsSigAToB0Tag);
        EXPECT_EQ(std::memcmp(raw.data() + Big32(raw, 28), formulas ? "para" : "curv", 4), 0);
        for (const int bits : {8, 16}) {
            const Bytes pixels = Converted(curved, bits);
            EXPECT_EQ(pixels, Converted(plain, bits)) << bits;
            EXPECT_EQ(pixels.size(), SomePixels().size());
            EXPECT_NE(pixels, SomePixels());
        }
    }
}

}  // namespace
}  // namespace hueweave::test
