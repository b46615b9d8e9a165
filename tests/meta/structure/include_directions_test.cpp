// SPDX-License-Identifier: MIT
// Includes have one direction. In the library: engine -> {units, iccfile, tiff}, units -> {iccfile, color}, all of them
// -> base; the remaining folders include only base. In colour: api -> {library, exact, chart} -> profile -> base,
// levels may be skipped, and nothing of the command. In the command: cli -> {batch, report} -> batch/session -> {tiff,
// png, jpeg} -> picture -> system, levels may be skipped; cli, batch, picture and the folders that write images also
// include colour, and all folders but system colour/base. Only colour includes the library's own headers, and the
// module for Python that of the engine; it includes colour/api besides.
#include <map>
#include <regex>
#include <set>
#include <sstream>

namespace {

namespace fs = std::filesystem;

using Folders = std::set<std::string>;
/// By folder: the folders that its sources may include, or names that stand for some. The root is ".".
using Rules = std::map<std::string, std::string>;

struct Tree {
    const char* root;
    int fewest;  ///< minimum number of sources to check
    Rules rules;
};

const Tree kLibrary{"Source",
                    30,
                    {{".", ""},
                     {"base", "base"},
                     {"color", "base color"},
                     {"iccfile", "base iccfile hueweave"},
                     {"tiff", "base tiff"},
                     {"support", "base support"},
                     {"units", "base units iccfile color"},
                     {"engine/kernels", "engine/kernels units"},
                     {"engine", "base engine engine/kernels units iccfile tiff hueweave"}}};

const Tree kColour{"colour",
                   15,
                   {{"(profiles)", "colour/base colour/profile"},
                    {".", "(profiles) colour colour/judge colour/exact"},
                    {"base", "colour/base"},
                    {"profile", "(profiles) base color iccfile units"},
                    {"chart", "(profiles) colour/chart"},
                    {"judge", "(profiles) colour/judge"},
                    {"library", "(profiles) colour/judge colour/library base color iccfile units engine"},
                    {"exact", "(profiles) colour/exact colour/exact/kernels"},
                    {"api", "(profiles) colour colour/judge colour/library colour/api hueweave"},
                    {"exact/kernels", "colour/exact/kernels"}}};

const Tree kCommand{
    "apps/hueweave",
    80,
    {{"(system)", "system system/files colour/base"},
     {"(image)", "(system) picture colour"},
     {"(work)", "(image) colour/profile colour/judge colour/library tiff tiff/codec tiff/rewrite"},
     {"(inputs)", "(work) batch/inputs batch/session"},
     {"(file)", "(inputs) png jpeg create batch/record batch/file/notes batch/file/plan"},
     {".", "system cli"},
     {"system", "system"},
     {"system/files", "(system)"},
     {"system/sandbox", "system system/sandbox"},
     {"picture", "(image)"},
     {"png", "(image) png"},
     {"jpeg", "(image) jpeg"},
     {"tiff", "(system) tiff"},
     {"tiff/codec", "(system) tiff tiff/codec"},
     {"tiff/rewrite", "(work)"},
     {"create", "(work) png jpeg create"},
     {"batch/record", "(system) batch/record"},
     {"batch/inputs", "(system) picture colour/library batch/inputs"},
     {"batch/status", "(system) batch/inputs batch/record batch/status"},
     {"batch/session", "(inputs) batch/record"},
     {"batch/file/notes", "(inputs) batch/file/notes"},
     {"batch/file/plan", "(file)"},
     {"batch/file", "(file) batch/file"},
     {"batch/watch", "(file) batch/file batch/watch"},
     {"batch", "(file) batch/file batch"},
     {"report/measure", "(inputs) colour/chart report/measure"},
     {"report/picture", "(inputs) png jpeg report/picture"},
     {"report", "(inputs) colour/chart report/measure report/picture report"},
     {"cli/options", "(inputs) system/sandbox cli/options"},
     {"cli/commands",
      "(file) batch/file batch/watch batch/status batch colour/chart system/sandbox report/measure report cli/options "
      "cli/commands"},
     {"cli", "(system) system/sandbox cli/options cli/commands cli"}}};

const Tree kPython{"python/native", 7, {{".", "hueweave colour/api . engine"}}};

/// The folders of a rule.
Folders Allowed(const Rules& rules, const std::string& name) {
    Folders folders;
    std::istringstream words(rules.at(name));
    for (std::string word; words >> word;) {
        folders.merge(word.front() == '(' ? Allowed(rules, word) : Folders{word});
    }
    return folders;
}

/// The folders in a source's quoted includes.
Folders IncludedFolders(const fs::path& file) {
    static const std::regex include(R"re(^\s*#include\s+"(?:([^"]+)/)?[^"/]+")re");
    Folders folders;
    std::ifstream in(file);
    for (std::string line; std::getline(in, line);) {
        std::smatch match;
        if (std::regex_search(line, match, include)) folders.insert(match[1].matched ? match[1].str() : ".");
    }
    return folders;
}

void ExpectOneWay(const Tree& tree) {
    const fs::path root = fs::path(HUEWEAVE_SOURCE_DIR) / tree.root;
    int seen = 0;
    for (const auto& entry : fs::recursive_directory_iterator(root)) {
        if (entry.path().extension() != ".h" && entry.path().extension() != ".cpp") continue;
        const std::string folder = fs::relative(entry.path().parent_path(), root).string();
        ASSERT_TRUE(tree.rules.contains(folder)) << entry.path() << " stands in a folder without a rule";
        EXPECT_THAT(IncludedFolders(entry.path()), testing::IsSubsetOf(Allowed(tree.rules, folder))) << entry.path();
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
