// SPDX-License-Identifier: MIT
// What the library exports, what it needs from its environment, and what it keeps internal.
#include <set>
#include <sstream>

#include "abi/Library.h"

namespace hueweave::test {
namespace {

/// Size of the tables stored inside one engine: the cells' records and three output tables, in 32-bit words.
constexpr std::uint64_t kTableBytes = 4 * (4096ULL * 6 * 3 * 4 + 3 * 65536ULL);

/// The words of each line that a tool prints about a library.
std::vector<std::vector<std::string>> LinesOf(const std::string& tool, const std::string& file = HUEWEAVE_LIBRARY) {
    std::vector<std::vector<std::string>> lines;
    std::istringstream text(OutputOfTool(tool + " '" + file + "'"));
    for (std::string line; std::getline(text, line);) {
        std::istringstream words(line);
        lines.emplace_back(std::istream_iterator<std::string>(words), std::istream_iterator<std::string>());
    }
    return lines;
}

/// The kind and the name of each defined symbol.
std::multiset<std::string> DefinedSymbols(const std::string& file) {
    std::multiset<std::string> symbols;
    for (const auto& line : LinesOf("nm -D --defined-only", file)) symbols.insert(line.at(1) + " " + line.at(2));
    return symbols;
}

TEST(SharedObject, DefinesSixteenFunctionsAndNothingElse) {
    std::multiset<std::string> expected = {"T func1"};
    for (const char* function : {"SetProfile", "SetIntent", "Adjust", "Convert2", "ConvertFile"}) {
        for (const char* suffix : kSuffixes) expected.insert(std::string("T Orvix_Icc_") + function + suffix);
    }
    ASSERT_EQ(expected.size(), 16U);
    EXPECT_EQ(DefinedSymbols(HUEWEAVE_LIBRARY), expected);
    int visible = 0;
    for (const auto& line : LinesOf("readelf --dyn-syms -W")) {
        if (line.size() < 8 || (line[7].rfind("Orvix_Icc_", 0) != 0 && line[7] != "func1")) continue;
        ++visible;
        EXPECT_EQ(line[3] + " " + line[4] + " " + line[5], "FUNC GLOBAL DEFAULT") << line[7];
    }
    EXPECT_EQ(visible, 16);
}

TEST(SharedObject, NamesItsInterfaceVersionAndNeedsTheStandardLibraryAlone) {
    int names = 0, needed = 0;
    for (const auto& line : LinesOf("readelf -d -W")) {
        if (line.size() < 2) continue;
        if (line[1] == "(SONAME)") {
            ++names;
            EXPECT_EQ(line.back(), "[libHueweave.so.1]");
        }
        if (line[1] != "(NEEDED)") continue;
        ++needed;
        // A sanitizer adds its own library.
        EXPECT_THAT(line.back(), testing::ContainsRegex("\\[(libstdc\\+\\+|libm|libgcc_s|libc|ld-linux-[^.]*|lib[a-z]*"
                                                        "san)\\.so"));
    }
    EXPECT_EQ(names, 1);
    EXPECT_GE(needed, 2);
}

TEST(SharedObject, AsksForNoEnvironmentThreadOrProcessAndOpensFilesInOneWay) {
    std::set<std::string> names;
    for (const auto& line : LinesOf("nm -D --undefined-only")) {
        names.insert(line.back().substr(0, line.back().find('@')));
    }
    ASSERT_TRUE(names.count("fopen") == 1 || names.count("fopen64") == 1) << "the list is not that of the library";
    std::set<std::string> foreign = {"secure_getenv", "environ",       "setlocale",    "pthread_create",
                                     "thrd_create",   "fork",          "system",       "popen",
                                     "socket",        "dlopen",        "signal",       "sigaction",
                                     "time",          "clock_gettime", "gettimeofday", "pthread_mutex_lock",
                                     "openat",        "openat64",      "creat",        "creat64",
                                     "freopen",       "freopen64",     "opendir"};
    // Coverage measurement adds code that reads its own settings and maps its own files.
    const bool measured = OutputOfTool("nm '" HUEWEAVE_LIBRARY "' 2>&1").find("__gcov_exit") != std::string::npos;
    if (!measured) foreign.insert({"getenv", "mmap"});
    for (const std::string& name : names) {
        EXPECT_EQ(foreign.count(name), 0U) << name;
        EXPECT_THAT(name, testing::Not(testing::ContainsRegex("filebuf|fstream"))) << "a stream of the C++ library";
    }
}

TEST(SharedObject, HoldsTheThreeEnginesInItsOwnMemory) {
    std::uint64_t bss = 0;
    for (const auto& line : LinesOf("size -A -d")) {
        if (line.size() > 1 && line[0] == ".bss") bss = std::stoull(line[1]);
    }
    EXPECT_GE(bss, 3 * kTableBytes);
    EXPECT_LT(bss, 4 * kTableBytes);
}

TEST(SharedObject, TransformLibraryDefinesItsFunctionsInOneVersionAndNothingElse) {
    std::multiset<std::string> expected{"A HUEWEAVE_TRANSFORM_1.0"};
    for (const char* function :
         {"convert", "convert_image", "space_count", "space_name", "space_title", "status_message", "status_name",
          "transform_create", "transform_free", "transform_info", "transform_profile", "version", "version_number"}) {
        expected.insert(std::string("T hw_") + function + "@@HUEWEAVE_TRANSFORM_1.0");
    }
    EXPECT_EQ(DefinedSymbols(HUEWEAVE_TRANSFORM_LIBRARY), expected);
    const auto lines = LinesOf("readelf -d -W", HUEWEAVE_TRANSFORM_LIBRARY);
    EXPECT_THAT(lines, testing::Contains(testing::Contains("[libhueweave_transform.so.1]")));
}

}  // namespace
}  // namespace hueweave::test
