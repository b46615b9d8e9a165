// SPDX-License-Identifier: MIT
// Every row of docs/kept-behaviour.md names a test, and every test named there exists.
#include <regex>
#include <set>

namespace {

namespace fs = std::filesystem;

std::string Text(const fs::path& file) {
    std::ifstream in(file);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

/// "Suite.Name" of every test in the sources.
std::set<std::string> Tests() {
    static const std::regex test(R"(\bTEST(?:_[FP])?\(\s*(\w+),\s*(\w+)\))");
    std::set<std::string> names;
    for (const auto& entry : fs::recursive_directory_iterator(fs::path(HUEWEAVE_SOURCE_DIR) / "tests")) {
        if (entry.path().extension() != ".cpp") continue;
        const std::string text = Text(entry.path());
        for (std::sregex_iterator at(text.begin(), text.end(), test), end; at != end; ++at) {
            names.insert((*at)[1].str() + "." + (*at)[2].str());
        }
    }
    return names;
}

/// The last cell of every row of the tables.
std::vector<std::string> LastCells() {
    std::vector<std::string> cells;
    std::ifstream in(fs::path(HUEWEAVE_SOURCE_DIR) / "docs/kept-behaviour.md");
    for (std::string line; std::getline(in, line);) {
        const bool row = line.starts_with("| ") && line.ends_with("|") && !line.starts_with("| Rule");
        if (row) cells.push_back(line.substr(line.rfind('|', line.size() - 2)));
    }
    return cells;
}

TEST(KeptBehaviour, EveryRowNamesATestThatExists) {
    static const std::regex name(R"(`(\w+\.\w+)`)");
    const std::set<std::string> tests = Tests();
    const std::vector<std::string> cells = LastCells();
    EXPECT_GT(cells.size(), 50U);
    for (const std::string& cell : cells) {
        std::sregex_iterator at(cell.begin(), cell.end(), name);
        const std::sregex_iterator end;
        EXPECT_NE(at, end) << "no test is named in: " << cell;
        for (; at != end; ++at) EXPECT_TRUE(tests.contains((*at)[1])) << (*at)[1] << " does not exist";
    }
}

}  // namespace
