// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
//
// Every guard listed in tests/meta/mutation is in the source exactly as listed, so that it can be removed.
#include <gtest/gtest.h>

#include <fstream>
#include <string>
#include <vector>

namespace {

const std::string kRoot = HUEWEAVE_SOURCE_DIR;

std::vector<std::string> LinesOf(const std::string& path) {
    std::ifstream in(path);
    EXPECT_TRUE(in) << path;
    std::vector<std::string> lines;
    for (std::string line; std::getline(in, line);) lines.push_back(line);
    return lines;
}

/// Positions of `piece` in a text.
std::size_t CountIn(const std::string& text, const std::string& piece) {
    std::size_t count = 0;
    for (std::size_t at = 0; (at = text.find(piece, at)) != std::string::npos; at += piece.size()) ++count;
    return count;
}

class ListedGuards : public testing::TestWithParam<const char*> {};

TEST_P(ListedGuards, StandInTheSourceOnce) {
    std::size_t guards = 0;
    for (const std::string& line : LinesOf(kRoot + "/tests/meta/mutation/" + GetParam())) {
        if (line.empty() || line.front() == '#') continue;
        ++guards;
        const std::size_t bar = line.find(" | "), arrow = line.find(" ==>", bar);
        ASSERT_NE(bar, std::string::npos) << line;
        ASSERT_NE(arrow, std::string::npos) << line;
        std::string file = line.substr(0, bar);
        const std::string guard = line.substr(bar + 3, arrow - bar - 3);
        const std::size_t colon = file.find(':');
        const std::size_t nth = colon == std::string::npos ? 0 : std::stoul(file.substr(colon + 1));
        file = file.substr(0, colon);
        std::vector<std::size_t> counts;  // of matching lines
        for (const std::string& text : LinesOf(kRoot + "/" + file)) {
            if (const std::size_t count = CountIn(text, guard); count > 0) counts.push_back(count);
        }
        if (nth == 0) {
            EXPECT_EQ(counts, std::vector<std::size_t>{1}) << line;
        } else {
            ASSERT_GE(counts.size(), nth) << line;
            EXPECT_EQ(counts[nth - 1], 1U) << line;
        }
    }
    EXPECT_GT(guards, 100U);
}
INSTANTIATE_TEST_SUITE_P(Every, ListedGuards, testing::Values("guards.txt", "tool_guards.txt"));

}  // namespace
