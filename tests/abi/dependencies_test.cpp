// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
//
// What the library asks of its surroundings, and what it keeps within itself.
#include <gmock/gmock.h>

#include <set>
#include <sstream>

#include "abi/Library.h"

namespace hueweave::test {
namespace {

/// Tables of one engine that stand inside it: the cells' records and three output tables, of 32-bit words.
constexpr std::uint64_t kTableBytes = 4 * (4096ULL * 6 * 3 * 4 + 3 * 65536ULL);

std::set<std::string> UndefinedSymbols() {
    std::set<std::string> names;
    std::istringstream lines(OutputOfTool("nm -D --undefined-only " + kQuotedLibrary));
    for (std::string kind, name; lines >> kind >> name;) names.insert(name.substr(0, name.find('@')));
    return names;
}

TEST(DependenciesTest, AreTheStandardLibraryAlone) {
    std::istringstream lines(OutputOfTool("readelf -d -W " + kQuotedLibrary));
    int needed = 0;
    for (std::string line; std::getline(lines, line);) {
        if (line.find("(NEEDED)") == std::string::npos) continue;
        ++needed;
        // A sanitizer brings its own library along.
        EXPECT_THAT(line, testing::ContainsRegex("\\[(libstdc\\+\\+|libm|libgcc_s|libc|ld-linux-[^.]*|lib[a-z]*san)"
                                                 "\\.so"));
    }
    EXPECT_GE(needed, 2);
}

TEST(DependenciesTest, NoEnvironmentThreadOrProcessIsAskedFor) {
    const std::set<std::string> names = UndefinedSymbols();
    ASSERT_TRUE(names.count("fopen") == 1 || names.count("fopen64") == 1) << "the list is not that of the library";
    std::set<std::string> foreign = {"secure_getenv", "environ",       "setlocale",    "pthread_create",
                                     "thrd_create",   "fork",          "system",       "popen",
                                     "socket",        "dlopen",        "signal",       "sigaction",
                                     "time",          "clock_gettime", "gettimeofday", "pthread_mutex_lock"};
    // Measuring coverage brings code along that reads its own settings and maps its own files.
    const bool measured = OutputOfTool("nm " + kQuotedLibrary + " 2>&1").find("__gcov_exit") != std::string::npos;
    if (!measured) foreign.insert({"getenv", "mmap"});
    for (const std::string& name : foreign) EXPECT_EQ(names.count(name), 0U) << name;
}

TEST(DependenciesTest, TheThreeEnginesStandInTheLibrarysOwnMemory) {
    std::istringstream lines(OutputOfTool("size -A -d " + kQuotedLibrary));
    std::uint64_t bss = 0;
    for (std::string line; std::getline(lines, line);) {
        std::istringstream words(line);
        std::string section;
        std::uint64_t bytes = 0;
        if (words >> section >> bytes && section == ".bss") bss = bytes;
    }
    EXPECT_GE(bss, 3 * kTableBytes);
    EXPECT_LT(bss, 4 * kTableBytes);
}

}  // namespace
}  // namespace hueweave::test
