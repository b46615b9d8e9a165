// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#include <gmock/gmock.h>

#include <set>
#include <sstream>

#include "abi/Library.h"

namespace hueweave::test {
namespace {

TEST(SymbolsTest, ExactlySixteenAreDefined) {
    std::multiset<std::string> found;
    std::istringstream lines(OutputOfTool("nm -D --defined-only " + kQuotedLibrary));
    for (std::string line; std::getline(lines, line);) {
        std::istringstream words(line);
        std::string address, kind, name;
        words >> address >> kind >> name;
        EXPECT_EQ(kind, "T") << line;
        found.insert(name);
    }
    std::multiset<std::string> expected = {"func1"};
    for (const char* function : {"SetProfile", "SetIntent", "Adjust", "Convert2", "ConvertFile"}) {
        for (const char* suffix : kSuffixes) expected.insert(std::string("Orvix_Icc_") + function + suffix);
    }
    ASSERT_EQ(expected.size(), 16U);
    EXPECT_EQ(found, expected);
}

TEST(SymbolsTest, EachHasDefaultVisibility) {
    std::istringstream lines(OutputOfTool("readelf --dyn-syms -W " + kQuotedLibrary));
    int functions = 0;
    for (std::string line; std::getline(lines, line);) {
        std::istringstream words(line);
        std::string number, value, size, type, binding, visibility, section, name;
        words >> number >> value >> size >> type >> binding >> visibility >> section >> name;
        if (name.rfind("Orvix_Icc_", 0) != 0 && name != "func1") continue;
        ++functions;
        EXPECT_EQ(type + " " + binding + " " + visibility, "FUNC GLOBAL DEFAULT") << name;
    }
    EXPECT_EQ(functions, 16);
}

TEST(SymbolsTest, EachIsFoundByItsPlainName) {
    const Library library;
    for (const char* suffix : kSuffixes) {
        const EngineApi api(library, suffix);
        EXPECT_NE(api.SetProfile, nullptr);
    }
    EXPECT_THROW(library.Get<void*>("IccEngine"), std::runtime_error);
    EXPECT_THROW(library.Get<void*>("initializer"), std::runtime_error);
}

TEST(SymbolsTest, TheLibraryNamesItsInterfaceVersion) {
    const std::string dynamic = OutputOfTool("readelf -d -W " + kQuotedLibrary);
    EXPECT_THAT(dynamic, testing::HasSubstr("soname: [libHueweave.so.1]"));
}

}  // namespace
}  // namespace hueweave::test
