// SPDX-License-Identifier: MIT
#include "support/ConfigTXT.h"

#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iostream>

namespace CONFIG {
namespace {

constexpr int kMostRows = 1000;
constexpr const char* kComment = "//";

bool IsComment(const std::string& line) { return line.find(kComment) != std::string::npos; }

/// The next line; empty if there is none. A carriage return is kept.
std::string NextLine(std::istream& in) {
    std::string line;
    std::getline(in, line);
    return line;
}

/// Key before the first "=", value after it; all "=" and spaces are removed.
void StoreRow(ConfigTXT::Rows& rows, std::string line) {
    std::erase(line, ' ');
    const std::size_t sign = line.find('=');
    if (sign == std::string::npos) {
        std::cout << "txt error: The row" << line << "  = is lost!" << std::endl
                  << "We can not process it !" << std::endl;
        return;
    }
    std::string value = line.substr(sign);
    std::erase(value, '=');
    rows[line.substr(0, sign)] = value;
}

/// Rows up to the end marker, or the thousandth row. Kept: beyond the end of the file, lines are read as empty.
ConfigTXT::Rows ReadRows(std::istream& in, const std::string& endMarker) {
    ConfigTXT::Rows rows;
    for (int row = 0; row < kMostRows; ++row) {
        const std::string line = NextLine(in);
        if (line == endMarker) break;
        if (!IsComment(line)) StoreRow(rows, line);
    }
    return rows;
}

}  // namespace

int ConfigTXT::Initial(const char* name) {
    fileName = name == nullptr ? "" : name;
    return ReadTxt();
}

int ConfigTXT::ReadTxt() {
    // A folder, device or pipe is treated as an empty file and not read, because it may never end.
    std::error_code ignored;
    const auto kind = std::filesystem::status(fileName, ignored).type();
    if (kind != std::filesystem::file_type::regular && access(fileName.c_str(), R_OK) == 0) return 0;
    std::ifstream in(fileName);
    if (!in) return -1;
    for (std::string word; in >> word;) {
        NextLine(in);  // the rest of the line is ignored
        if (!IsComment(word)) sections[word] = ReadRows(in, word + "end");
    }
    return 0;
}

const std::string* ConfigTXT::Find(const char* section, const char* key) {
    if (section == nullptr || key == nullptr) return nullptr;
    const Rows& rows = sections[section];  // Kept: adds the section if there is none
    const auto row = rows.find(key);
    return row == rows.end() ? nullptr : &row->second;
}

int ConfigTXT::GetString(const char* section, const char* key, const char* defaultValue, char* out) {
    constexpr std::size_t kBytes = 128;
    const std::string* value = Find(section, key);
    const char* text = value != nullptr ? value->c_str() : defaultValue;
    if (text == nullptr || out == nullptr) return 0;
    const std::size_t length = strnlen(text, kBytes);
    std::memcpy(out, text, std::min(length + 1, kBytes));
    return 0;
}

int ConfigTXT::GetInt(const char* section, const char* key, int defaultValue) {
    const std::string* value = Find(section, key);
    return value != nullptr ? static_cast<int>(std::strtol(value->c_str(), nullptr, 10)) : defaultValue;
}

int ConfigTXT::SetInt(const char*, const char*, int) { return 0; }
int ConfigTXT::SetString(const char*, const char*, const char*) { return 0; }

}  // namespace CONFIG

namespace {

/// Prints one line about a setting.
template <typename Value>
int PrintSetting(const char* verb, const char* section, const char* key, const Value& value) {
    std::cout << verb << "[ " << section << " : " << key << " ] = " << value << std::endl;
    return 0;
}

}  // namespace

int ConfigFile(const char*) { return 0; }
int ConfigGetInt(const char*, const char*) { return 0; }
int ConfigGetString(const char*, const char*, const char*, char*) { return 0; }
int ConfigSetInt(const char*, const char*, int) { return 0; }
int ConfigSetString(const char*, const char*, const char*) { return 0; }

int ConfigFile2(const char* name) {
    std::cout << "ConfigFile : " << name << std::endl;
    return 0;
}
int ConfigGetInt2(const char* section, const char* key) { return PrintSetting("Get ", section, key, 0); }
int ConfigGetString2(const char* section, const char* key, const char*, const char* value) {
    return PrintSetting("Get ", section, key, value);
}
int ConfigSetInt2(const char* section, const char* key, int) { return PrintSetting("Set ", section, key, 0); }
int ConfigSetString2(const char* section, const char* key, const char* value) {
    return PrintSetting("Set ", section, key, value);
}
