// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
//
// Any text as a settings file, compared with a reader that first splits it into lines: sections, rows, printed output,
// and the two kinds of look-up.
#include <algorithm>
#include <cstring>
#include <map>
#include <sstream>
#include <string>

#include "FuzzInput.h"
#include "support/ConfigTXT.h"

namespace hueweave::fuzz {
namespace {

using Rows = std::map<std::string, std::string>;

bool Blank(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }

struct Settings {
    std::map<std::string, Rows> sections;
    std::string printed;

    explicit Settings(const std::string& text) {
        std::istringstream lines(text);
        for (std::string line; std::getline(lines, line);) {
            const auto first = std::find_if_not(line.begin(), line.end(), Blank);
            const std::string word(first, std::find_if(first, line.end(), Blank));
            if (!word.empty() && word.find("//") == std::string::npos) ReadSection(lines, word);
        }
    }
    /// Rows up to the end of the section; after the end of the text they are empty.
    void ReadSection(std::istringstream& lines, const std::string& name) {
        Rows rows;
        for (int n = 0; n < 1000; ++n) {
            std::string line;
            std::getline(lines, line);
            if (line == name + "end") break;
            if (line.find("//") != std::string::npos) continue;
            std::string key, value;
            bool found = false;
            for (const char c : line) {
                found = found || c == '=';
                if (c != ' ' && c != '=') (found ? value : key) += c;
            }
            if (found) {
                rows[key] = value;
            } else {
                printed += "txt error: The row" + key + "  = is lost!\nWe can not process it !\n";
            }
        }
        sections[name] = rows;
    }
};

/// Digits after blanks and a sign; clamped to 64 bits, of which the low 32 are used.
int Number(const std::string& text) {
    std::size_t at = 0;
    while (at < text.size() && Blank(text[at])) ++at;
    const bool negative = at < text.size() && text[at] == '-';
    if (at < text.size() && (text[at] == '-' || text[at] == '+')) ++at;
    const std::uint64_t limit = negative ? std::uint64_t{1} << 63 : (std::uint64_t{1} << 63) - 1;
    std::uint64_t value = 0;
    for (; at < text.size() && text[at] >= '0' && text[at] <= '9'; ++at) {
        const auto digit = static_cast<std::uint64_t>(text[at] - '0');
        value = value > (limit - digit) / 10 ? limit : value * 10 + digit;
        if (value == limit) break;
    }
    return static_cast<int>(static_cast<std::uint32_t>(negative ? 0 - value : value));
}

/// The copied text: up to 127 characters and the terminator, or 128 without one.
void CheckText(CONFIG::ConfigTXT& config, const char* section, const char* key, const char* other,
               const std::string* value) {
    char out[130];
    std::memset(out, 'x', sizeof out);
    Require(config.GetString(section, key, other, out + 1) == 0, "result of a text");
    const char* text = value != nullptr ? value->c_str() : other;
    const std::size_t length = text == nullptr ? 0 : std::strlen(text);
    const std::size_t copied = text == nullptr ? 0 : std::min<std::size_t>(length + 1, 128);
    Require(out[0] == 'x' && std::memcmp(out + 1, text == nullptr ? "" : text, copied) == 0, "a text");
    for (std::size_t i = copied + 1; i < sizeof out; ++i) Require(out[i] == 'x', "nothing behind a text");
}

void CheckLookUps(CONFIG::ConfigTXT& config, const Settings& expected) {
    for (const auto& [name, rows] : expected.sections) {
        for (const auto& [key, value] : rows) {
            if (key.find('\0') != std::string::npos || name.find('\0') != std::string::npos) continue;
            CheckText(config, name.c_str(), key.c_str(), "other", &value);
            const std::string shown = value.c_str();  // up to a NUL character
            Require(config.GetInt(name.c_str(), key.c_str(), -7) == Number(shown), "a number");
        }
    }
    Require(config.sections == expected.sections, "looking up what is there adds nothing");
    CheckText(config, "no such section", "key", "other", nullptr);
    CheckText(config, nullptr, "key", nullptr, nullptr);
    Require(config.GetInt("no such section", nullptr, 5) == 5 && config.GetInt("no such", "key", -5) == -5, "default");
}

}  // namespace

void RunTarget(FuzzInput& input) {
    static const ScratchFile file;
    const Bytes text = input.Rest();
    file.Put(text);
    const Settings expected(std::string(text.begin(), text.end()));
    CONFIG::ConfigTXT config;
    {
        const PrintWatch printed;
        Require(config.Initial(file.Path()) == 0, "a file that opens");
        Require(printed.Text() == expected.printed, "lines");
    }
    Require(config.sections == expected.sections, "sections");
    CheckLookUps(config, expected);
    Require(config.SetInt("S", "key", 1) == 0 && config.SetString("S", "key", "x") == 0, "nothing is stored");
    const auto before = config.sections;
    Require(config.Initial(kNoFile) == -1 && config.sections == before, "a file that is not there");
}

}  // namespace hueweave::fuzz
