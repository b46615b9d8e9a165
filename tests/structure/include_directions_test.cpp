// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
//
// Includes point one way: engine -> {units, iccfile, tiff}, units -> {iccfile, color}, and the rest includes none
// of the other folders.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <regex>
#include <set>
#include <string>

namespace {

namespace fs = std::filesystem;

const std::map<std::string, std::set<std::string>> kAllowed = {
    {"", {}},
    {"color", {"color"}},
    {"iccfile", {"iccfile", "hueweave"}},
    {"tiff", {"tiff"}},
    {"support", {"support"}},
    {"units", {"units", "iccfile", "color"}},
    {"engine/kernels", {"engine/kernels", "units"}},
    {"engine", {"engine", "engine/kernels", "units", "iccfile", "tiff", "hueweave"}},
};

/// The folders that a source names in its quoted includes; "" for the headers at the top, which everyone may use.
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

TEST(IncludeDirections, NoFolderReachesUpOrSideways) {
    const fs::path root = fs::path(HUEWEAVE_SOURCE_DIR) / "Source";
    int seen = 0;
    for (const auto& entry : fs::recursive_directory_iterator(root)) {
        if (entry.path().extension() != ".h" && entry.path().extension() != ".cpp") continue;
        const fs::path relative = fs::relative(entry.path(), root);
        const std::string folder = relative.parent_path().string();
        ASSERT_TRUE(kAllowed.contains(folder)) << relative << " stands in a folder without a rule";
        for (const std::string& used : IncludedFolders(entry.path())) {
            EXPECT_TRUE(used.empty() || kAllowed.at(folder).contains(used)) << relative << " includes " << used;
        }
        ++seen;
    }
    EXPECT_GT(seen, 30) << "looked in the wrong place: " << root;
}

TEST(IncludeDirections, SeesAFolderThatIsNamed) {
    const fs::path root = fs::path(HUEWEAVE_SOURCE_DIR) / "Source";
    EXPECT_TRUE(IncludedFolders(root / "engine/FileConversion.cpp").contains("tiff"));
    EXPECT_TRUE(IncludedFolders(root / "units/GridTransformations.cpp").contains("color"));
}

}  // namespace
