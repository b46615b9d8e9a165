// SPDX-License-Identifier: MIT
// Includes have one direction. In the library: engine -> {units, iccfile, tiff}, units -> {iccfile, color}, all of them
// -> base; the remaining folders include only base. In colour: api -> {library, exact, chart} -> profile -> base,
// levels may be skipped, and nothing of the command. In the command: cli -> {batch, report} -> batch/session -> {tiff,
// png, jpeg} -> picture -> system, levels may be skipped; cli, batch, picture and the folders that write images also
// include colour, and all folders colour/base. Only colour includes the library's own headers, and the module for
// Python that of the engine; it includes colour/api besides.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <regex>
#include <set>
#include <string>

namespace {

namespace fs = std::filesystem;

using Folders = std::set<std::string>;

struct Tree {
    const char* root;
    int fewest;                              ///< minimum number of sources to check
    std::map<std::string, Folders> allowed;  ///< by folder: the folders that its sources may include
};

const Tree kLibrary{"Source",
                    30,
                    {{"", {}},
                     {"base", {"base"}},
                     {"color", {"base", "color"}},
                     {"iccfile", {"base", "iccfile", "hueweave"}},
                     {"tiff", {"base", "tiff"}},
                     {"support", {"base", "support"}},
                     {"units", {"base", "units", "iccfile", "color"}},
                     {"engine/kernels", {"engine/kernels", "units"}},
                     {"engine", {"base", "engine", "engine/kernels", "units", "iccfile", "tiff", "hueweave"}}}};

const Folders kSystem{"system"};
const Folders kFiles{"system/files"}, kSandbox{"system/sandbox"}, kPicture{"picture"}, kPng{"png"}, kJpeg{"jpeg"},
    kTiff{"tiff"}, kCodec{"tiff/codec"}, kRewrite{"tiff/rewrite"}, kCreate{"create"}, kInputs{"batch/inputs"},
    kRecord{"batch/record"}, kSession{"batch/session"}, kStatus{"batch/status"}, kNotes{"batch/file/notes"},
    kPlan{"batch/file/plan"}, kFile{"batch/file"}, kWatch{"batch/watch"}, kBatch{"batch"}, kOptions{"cli/options"},
    kCommands{"cli/commands"}, kCli{"cli"}, kMeasure{"report/measure"}, kReportPictures{"report/picture"},
    kReport{"report"};

Folders operator+(Folders a, const Folders& b) {
    a.insert(b.begin(), b.end());
    return a;
}

const Folders kColourTop{"colour"}, kColourBase{"colour/base"}, kProfile{"colour/profile"}, kJudge{"colour/judge"},
    kChart{"colour/chart"}, kThroughEngine{"colour/library"}, kExact{"colour/exact"}, kKernels{"colour/exact/kernels"},
    kApi{"colour/api"}, kHeaders{"hueweave"};
const Folders kOfProfiles{"base", "color", "iccfile", "units"};  // in the library
const Folders kOfEngine = kOfProfiles + Folders{"engine"};
const Tree kColour{"colour",
                   15,
                   {{"", kColourTop + kColourBase + kProfile + kJudge + kExact},
                    {"base", kColourBase},
                    {"profile", kColourBase + kProfile + kOfProfiles},
                    {"chart", kColourBase + kProfile + kChart},
                    {"judge", kColourBase + kProfile + kJudge},
                    {"library", kColourBase + kProfile + kJudge + kThroughEngine + kOfEngine},
                    {"exact", kColourBase + kProfile + kExact + kKernels},
                    {"api", kColourTop + kColourBase + kProfile + kJudge + kThroughEngine + kApi + kHeaders},
                    {"exact/kernels", kKernels}}};

const Folders kSystemAndBase = kSystem + kFiles + kColourBase;
const Folders kWork =
    kSystemAndBase + kPicture + kColourTop + kProfile + kJudge + kThroughEngine + kTiff + kCodec + kRewrite;
const Folders kOneImage = kSystemAndBase + kPicture + kColourTop;
const Folders kOneFile = kWork + kPng + kJpeg + kCreate + kInputs + kRecord + kSession + kNotes + kPlan;
const Folders kAllFiles = kOneFile + kFile + kWatch + kStatus + kBatch;
const Tree kCommand{"apps/hueweave",
                    80,
                    {{"", kSystem + kCli},
                     {"system", kSystem + kColourBase},
                     {"system/files", kSystemAndBase},
                     {"system/sandbox", kSystem + kSandbox},
                     {"picture", kOneImage},
                     {"png", kOneImage + kPng},
                     {"jpeg", kOneImage + kJpeg},
                     {"tiff", kSystemAndBase + kTiff},
                     {"tiff/codec", kSystemAndBase + kTiff + kCodec},
                     {"tiff/rewrite", kWork},
                     {"create", kWork + kPng + kJpeg + kCreate},
                     {"batch/record", kSystemAndBase + kRecord},
                     {"batch/inputs", kSystemAndBase + kPicture + kThroughEngine + kInputs},
                     {"batch/status", kSystemAndBase + kInputs + kRecord + kStatus},
                     {"batch/session", kWork + kInputs + kRecord + kSession},
                     {"batch/file/notes", kWork + kInputs + kSession + kNotes},
                     {"batch/file/plan", kOneFile},
                     {"batch/file", kOneFile + kFile},
                     {"batch/watch", kOneFile + kFile + kWatch},
                     {"batch", kOneFile + kFile + kBatch},
                     {"report/measure", kWork + kInputs + kChart + kSession + kMeasure},
                     {"report/picture", kWork + kInputs + kPng + kJpeg + kSession + kReportPictures},
                     {"report", kWork + kInputs + kChart + kSession + kMeasure + kReportPictures + kReport},
                     {"cli/options", kWork + kSandbox + kInputs + kSession + kOptions},
                     {"cli/commands", kAllFiles + kChart + kSandbox + kMeasure + kReport + kOptions + kCommands},
                     {"cli", kSystemAndBase + kSandbox + kOptions + kCommands + kCli}}};

const Tree kPython{"python/native", 7, {{"", kHeaders + kApi + Folders{"", "engine"}}}};

/// The folders in a source's quoted includes; "" for an include without a folder.
std::set<std::string> IncludedFolders(const fs::path& file) {
    static const std::regex include(R"re(^\s*#include\s+"(?:([^"]+)/)?[^"/]+")re");
    std::set<std::string> folders;
    std::ifstream in(file);
    for (std::string line; std::getline(in, line);) {
        std::smatch match;
        if (std::regex_search(line, match, include)) folders.insert(match[1]);
    }
    return folders;
}

void ExpectOneWay(const Tree& tree) {
    const fs::path root = fs::path(HUEWEAVE_SOURCE_DIR) / tree.root;
    int seen = 0;
    for (const auto& entry : fs::recursive_directory_iterator(root)) {
        if (entry.path().extension() != ".h" && entry.path().extension() != ".cpp") continue;
        const fs::path relative = fs::relative(entry.path(), root);
        const std::string folder = relative.parent_path().string();
        ASSERT_TRUE(tree.allowed.contains(folder)) << relative << " stands in a folder without a rule";
        for (const std::string& used : IncludedFolders(entry.path())) {
            EXPECT_TRUE(tree.allowed.at(folder).contains(used)) << relative << " includes " << used;
        }
        ++seen;
    }
    EXPECT_GT(seen, tree.fewest) << "looked in the wrong place: " << root;
}

TEST(IncludeDirections, NoFolderOfTheLibraryReachesUpOrSideways) { ExpectOneWay(kLibrary); }
TEST(IncludeDirections, NoFolderOfTheColoursReachesUpOrSideways) { ExpectOneWay(kColour); }
TEST(IncludeDirections, NoFolderOfTheCommandReachesUpOrSideways) { ExpectOneWay(kCommand); }

TEST(IncludeDirections, TheModuleForPythonIncludesTheInterfaceAndTheEngine) { ExpectOneWay(kPython); }

TEST(IncludeDirections, SeesAFolderThatIsNamed) {
    const fs::path root = HUEWEAVE_SOURCE_DIR;
    EXPECT_TRUE(IncludedFolders(root / "Source/engine/FileConversion.cpp").contains("tiff"));
    EXPECT_TRUE(IncludedFolders(root / "Source/units/GridTransformations.cpp").contains("color"));
    EXPECT_TRUE(IncludedFolders(root / "colour/library/EngineBinding.h").contains("engine"));
    EXPECT_TRUE(IncludedFolders(root / "apps/hueweave/tiff/rewrite/ImageWriter.cpp").contains("tiff/codec"));
}

}  // namespace
