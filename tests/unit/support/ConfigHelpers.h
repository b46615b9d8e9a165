// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <map>
#include <string>
#include <vector>

#include "support/ConfigTXT.h"
#include "support/TempDir.h"

namespace hueweave::test {

using CONFIG::ConfigTXT;
using Rows = std::map<std::string, std::string>;
using Sections = std::map<std::string, Rows>;

inline constexpr int kRowLimit = 1000;  // rows after which a section closes by itself

/// What is printed about a row without "=".
inline std::string Lost(const std::string& row) {
    return "txt error: The row" + row + "  = is lost!\nWe can not process it !\n";
}

inline std::string Repeated(const std::string& text, int times) {
    std::string all;
    for (int i = 0; i < times; ++i) all += text;
    return all;
}

/// What is printed when a file ends inside a section of which `read` rows have been read.
inline std::string LostFrom(int read) { return Repeated(Lost(""), kRowLimit - read); }

inline void PutText(const std::string& path, const std::string& text) { std::ofstream(path, std::ios::binary) << text; }

inline std::string FileText(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

class ConfigTest : public testing::Test {
protected:
    std::string Path(const std::string& name = "settings.txt") const { return folder_.File(name); }
    /// Makes a file of this text and reads it into `config_`; what that prints.
    std::string Printed(const std::string& text) {
        PutText(Path(), text);
        testing::internal::CaptureStdout();
        const int result = config_.Initial(Path().c_str());
        const std::string printed = testing::internal::GetCapturedStdout();
        EXPECT_EQ(result, 0);
        return printed;
    }
    /// The same, where nothing is to be printed.
    const Sections& Read(const std::string& text) {
        EXPECT_EQ(Printed(text), "");
        return config_.sections;
    }
    /// The rows of section S that these lines give, where nothing is to be printed.
    Rows RowsOf(const std::string& lines) {
        const Sections read = Read("S\n" + lines + "Send\n");
        EXPECT_EQ(read.size(), 1U);
        return read.at("S");
    }

    ConfigTXT config_;

private:
    TempDir folder_;
};

}  // namespace hueweave::test
