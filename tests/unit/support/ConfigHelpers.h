// SPDX-License-Identifier: MIT
#pragma once

#include <gtest/gtest.h>

#include <fstream>
#include <map>
#include <string>
#include <vector>

#include "support/ConfigTXT.h"
#include "support/TempDir.h"

namespace hueweave::test {

using CONFIG::ConfigTXT;
using Rows = std::map<std::string, std::string>;
using Sections = std::map<std::string, Rows>;

inline std::string Repeated(const std::string& text, int times) {
    std::string all;
    for (int i = 0; i < times; ++i) all += text;
    return all;
}

/// The message printed for a row without "=".
inline std::string Lost(const std::string& row) {
    return "txt error: The row" + row + "  = is lost!\nWe can not process it !\n";
}
/// The messages printed when a file ends inside a section of which `read` rows have been read.
inline std::string LostFrom(int read) { return Repeated(Lost(""), 1000 - read); }

inline void PutText(const std::string& path, const std::string& text) { std::ofstream(path, std::ios::binary) << text; }

class ConfigTest : public testing::Test {
protected:
    std::string Path(const std::string& name = "settings.txt") const { return folder_.File(name); }
    /// Reads `path` into `config_` and returns the result; checks what is printed.
    int Initial(const std::string& path, const std::string& printed = "") {
        testing::internal::CaptureStdout();
        const int result = config_.Initial(path.c_str());
        EXPECT_EQ(testing::internal::GetCapturedStdout(), printed) << path;
        return result;
    }
    /// Creates a file of this text and reads it into `config_`; nothing may be printed.
    void Read(const std::string& text) {
        PutText(Path(), text);
        EXPECT_EQ(Initial(Path()), 0);
    }
    /// Checks the sections that a file of this text gives, and the output of reading it.
    void ExpectRead(const std::string& text, const Sections& sections, const std::string& printed = "") {
        SCOPED_TRACE(testing::PrintToString(text.substr(0, 200)));
        PutText(Path(), text);
        config_.sections.clear();
        EXPECT_EQ(Initial(Path(), printed), 0);
        EXPECT_EQ(config_.sections, sections);
    }
    /// Checks the rows that these lines of a section S give, and the output of reading them.
    void ExpectRows(const std::string& lines, const Rows& rows, const std::string& printed = "") {
        ExpectRead("S\n" + lines + "Send\n", {{"S", rows}}, printed);
    }

    ConfigTXT config_;

private:
    TempDir folder_;
};

}  // namespace hueweave::test
