// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
//
// Random settings files, beside a naive reader over one string.
#include <random>

#include "unit/support/ConfigHelpers.h"

namespace hueweave::test {
namespace {

class NaiveReader {
public:
    explicit NaiveReader(const std::string& text) : text_(text) {
        while (true) {
            while (at_ < text_.size() && IsBlank(text_[at_])) ++at_;
            if (at_ == text_.size()) return;
            std::string word;
            while (at_ < text_.size() && !IsBlank(text_[at_])) word += text_[at_++];
            Line();
            if (word.find("//") == std::string::npos) sections[word] = Section(word + "end");
        }
    }
    Sections sections;
    std::string printed;

private:
    static bool IsBlank(char c) { return std::string(" \t\n\v\f\r").find(c) != std::string::npos; }
    /// The rest of the line, empty behind the end.
    std::string Line() {
        std::string line;
        while (at_ < text_.size() && text_[at_] != '\n') line += text_[at_++];
        if (at_ < text_.size()) ++at_;
        return line;
    }
    Rows Section(const std::string& marker) {
        Rows rows;
        for (int i = 0; i < kRowLimit; ++i) {
            const std::string line = Line();
            if (line == marker) break;
            if (line.find("//") == std::string::npos) Row(line, rows);
        }
        return rows;
    }
    void Row(const std::string& line, Rows& rows) {
        std::string key, value, stripped;
        bool behind = false;
        for (const char c : line) {
            if (c == ' ') continue;
            stripped += c;
            if (c == '=') {
                behind = true;
            } else {
                (behind ? value : key) += c;
            }
        }
        if (behind) {
            rows[key] = value;
        } else {
            printed += Lost(stripped);
        }
    }
    const std::string& text_;
    std::size_t at_ = 0;
};

const std::vector<std::string> kPieces = {
    "S",  "T",  "end", "Send", "Tend", "=",        "==",       "/",    "//",    "a",     "b",  "ab",    " ",    "  ",
    "\t", "\r", "\n",  "\n",   "\n",   "\nSend\n", "\nTend\n", "\n\n", "\nS\n", "\nT\n", "a=", "b=1\n", "\n// "};

/// Pieces in any order, half of the files with an end to every section of the usual names.
std::string RandomText(std::mt19937& engine) {
    std::string text;
    const std::size_t count = engine() % 80;
    for (std::size_t i = 0; i < count; ++i) {
        const std::size_t piece = engine() % kPieces.size();
        text += kPieces[piece];
    }
    if (engine() % 4 != 0) text += "\nSend\nTend\nendend\nSend\nSendend\nTend\nTendend\n";
    return text;
}

TEST(ConfigModelTest, AnyTextReadsAsTheNaiveReaderReadsIt) {
    const TempDir folder;
    const std::string path = folder.File("settings.txt");
    std::mt19937 engine(20);
    std::size_t several = 0;
    for (int i = 0; i < 200; ++i) {
        const std::string text = RandomText(engine);
        PutText(path, text);
        ConfigTXT config;
        testing::internal::CaptureStdout();
        const int result = config.Initial(path.c_str());
        const std::string printed = testing::internal::GetCapturedStdout();
        const NaiveReader naive(text);
        ASSERT_EQ(result, 0);
        ASSERT_EQ(config.sections, naive.sections) << "file " << i << ": " << text;
        ASSERT_TRUE(printed == naive.printed) << "file " << i << ": " << text;
        if (config.sections.size() > 1) ++several;
    }
    EXPECT_GT(several, 50U) << "the files have to be worth reading";
}

}  // namespace
}  // namespace hueweave::test
