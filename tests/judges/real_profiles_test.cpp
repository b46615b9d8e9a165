// SPDX-License-Identifier: MIT
// Profiles written by other programs: those in Debian packages, and those that Little CMS saves. Little CMS reads the
// expected contents.
#include <lcms2.h>

#include <cstring>
#include <filesystem>

#include "abi/Library.h"
#include "iccfile/IccFile4.h"
#include "iccfile/SimpleTags.h"
#include "judges/colours/Truth.h"
#include "support/MiniProfile.h"
#include "support/PixelRun.h"
#include "support/ReferenceProfile.h"
#include "support/TempDir.h"

namespace hueweave::test {
namespace {

using ICC40::ICCFILE::CCurveType;
using ICC40::ICCFILE::IccFile4;

using judge::Profile;

/// A tag's bytes as read by Little CMS, without any padding.
Bytes RawTag(void* profile, cmsTagSignature name) {
    Bytes block(cmsReadRawTag(profile, name, nullptr, 0));
    EXPECT_EQ(cmsReadRawTag(profile, name, block.data(), static_cast<cmsUInt32Number>(block.size())), block.size());
    return block;
}

/// `PixelRun` converted by the library; the input is 0 for 8 bits, 1 for 16. Empty if the profile is refused.
Bytes Converted(const std::string& profile, int input) {
    const Library library;
    const EngineApi engine(library, "");
    const std::int32_t output = CssRGB_8 + input;
    if (engine.SetProfile(profile.c_str(), nullptr, IntentPerceptual, input, output) != output) return {};
    Bytes pixels = PixelRun(input);
    const auto count = static_cast<std::int32_t>(pixels.size()) / (input == 1 ? 6 : 3);
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
        Bytes raw = RawTag(judge, name);
        EXPECT_EQ(static_cast<std::uint32_t>(tag.tagSig), static_cast<std::uint32_t>(name)) << path;
        const std::uint32_t offset = Big32At(bytes, 132 + 12 * n + 4);
        while (raw.size() % 4 != 0) raw.push_back(static_cast<unsigned char>(ByteAt(bytes, offset + raw.size())));
        EXPECT_EQ(Bytes(tag.tagData.get(), tag.tagData.get() + tag.tagSize), raw) << path << " tag " << n;
    }
}

/// A tone curve of at least two entries has the entries that Little CMS reads.
void ExpectCurve(const IccFile4& file, void* judge, cmsTagSignature name, const std::string& path) {
    if (!cmsIsTag(judge, name)) return;
    const Bytes raw = RawTag(judge, name);
    if (Big32At(raw, 8) < 2) return;
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
        const Profile judge = judge::Open(ReadFile(path));
        IccFile4 file;
        ASSERT_EQ(file.ReadFile(path.c_str()), 0);
        const Bytes bytes = ReadFile(path);
        ExpectTags(file, judge.get(), bytes, path);
        for (const auto name : {cmsSigRedTRCTag, cmsSigGreenTRCTag, cmsSigBlueTRCTag, cmsSigGrayTRCTag}) {
            ExpectCurve(file, judge.get(), name, path);
        }
        for (std::size_t n = 0; n < file.tagList.size(); ++n) {
            pastTheEnd += Big32At(bytes, 132 + 12 * n + 4) + file.tagList[n]->tagSize > bytes.size() ? 1U : 0U;
        }
    }
    EXPECT_GE(pastTheEnd, 1U) << "one of them at least ends in the middle of a word";
}

TEST(ProfilesByOthers, ConvertPixelsIfTheyHaveATable) {
    const TempDir dir;
    std::size_t tables = 0;
    for (const std::string& path : Paths(dir)) {
        const Profile judge = judge::Open(ReadFile(path));
        const bool table = cmsIsTag(judge.get(), cmsSigAToB0Tag) || cmsIsTag(judge.get(), cmsSigAToB1Tag);
        tables += table ? 1U : 0U;
        for (const int input : {0, 1}) {
            const Bytes pixels = Converted(path, input);
            ASSERT_EQ(pixels.size(), PixelRun(input).size()) << path;
            EXPECT_EQ(pixels == PixelRun(input), !table) << path;
        }
    }
    EXPECT_GE(tables, 1U);
}

/// Three curves of powers as tables, or the identity as formulas.
cmsStage* CurveStage(int entries, bool formulas) {
    std::array<cmsToneCurve*, 3> curves{};
    for (int c = 0; c < 3; ++c) {
        const Curve table = MakeCurve(CurveKind::Power, entries, c, 0);
        curves.at(static_cast<std::size_t>(c)) =
            formulas ? cmsBuildGamma(nullptr, 1.0)
                     : cmsBuildTabulatedToneCurve16(nullptr, static_cast<cmsUInt32Number>(entries), table.data());
    }
    cmsStage* const stage = cmsStageAllocToneCurves(nullptr, 3, curves.data());
    for (cmsToneCurve* curve : curves) cmsFreeToneCurve(curve);
    return stage;
}

/// A profile of this version at `path`, with curves on each side of a grid in a table of this type.
void SaveTable(const std::string& path, double version, const char* type, bool formulas) {
    const std::vector<cmsUInt16Number> grid = LabGrid(17);
    cmsPipeline* const table = cmsPipelineAlloc(nullptr, 3, 3);
    for (cmsStage* stage : {CurveStage(1025, formulas), cmsStageAllocCLut16bit(nullptr, 17, 3, 3, grid.data()),
                            CurveStage(257, formulas)}) {
        EXPECT_TRUE(cmsPipelineInsertStage(table, cmsAT_END, stage));
    }
    const Profile profile(cmsCreateProfilePlaceholder(nullptr));
    cmsSetProfileVersion(profile.get(), version);
    cmsSetDeviceClass(profile.get(), cmsSigInputClass);
    cmsSetColorSpace(profile.get(), cmsSigRgbData);
    cmsSetPCS(profile.get(), cmsSigLabData);
    EXPECT_TRUE(cmsWriteTag(profile.get(), cmsSigAToB0Tag, table));
    cmsPipelineFree(table);
    EXPECT_TRUE(cmsSaveProfileToFile(profile.get(), path.c_str()));
    EXPECT_EQ(std::memcmp(RawTag(judge::Open(ReadFile(path)).get(), cmsSigAToB0Tag).data(), type, 4), 0);
}

/// Identity formulas are read as identity curves, wherever the reader looks for the next one.
TEST(ProfileVersionsTest, AreConvertedAlike) {
    const TempDir dir;
    const std::string curved = dir.File("mAB.icc"), plain = dir.File("mft2.icc");
    for (const bool formulas : {false, true}) {
        SaveTable(curved, 4.3, "mAB ", formulas);
        SaveTable(plain, 2.1, "mft2", formulas);
        const Bytes raw = RawTag(judge::Open(ReadFile(curved)).get(), cmsSigAToB0Tag);
        EXPECT_EQ(std::memcmp(raw.data() + Big32At(raw, 28), formulas ? "para" : "curv", 4), 0);
        for (const int input : {0, 1}) {
            const Bytes pixels = Converted(curved, input);
            EXPECT_EQ(pixels, Converted(plain, input)) << input;
            EXPECT_EQ(pixels.size(), PixelRun(input).size());
            EXPECT_NE(pixels, PixelRun(input));
        }
    }
}

}  // namespace
}  // namespace hueweave::test
