// SPDX-License-Identifier: MIT
#pragma once

#include <map>
#include <string>

namespace CONFIG {

/// A plain-text settings file. It has sections of rows "key = value"; a section begins with a line containing its name
/// and ends with a line containing the name followed by "end". "//" starts a comment. The file is never written.
///
/// For use by one thread; a look-up can add an empty section.
class ConfigTXT {
public:
    /// Copies the name and reads the file as `ReadTxt` does.
    int Initial(const char* name);
    /// Reads the file into `sections`: a section with the same name is replaced, other sections stay. A row without "="
    /// prints two lines. Returns 0, or -1 if the file cannot be opened; a folder, device or pipe is treated as empty.
    int ReadTxt();
    /// Copies the value, or the default, with its terminator to `out`, which must hold 128 bytes. Kept: a text of 128
    /// characters or more is truncated there and has no terminator. Returns 0.
    int GetString(const char* section, const char* key, const char* defaultValue, char* out);
    /// The value as a number (0 for text without leading digits), or the default if the key does not exist.
    int GetInt(const char* section, const char* key, int defaultValue);
    int SetInt(const char* section, const char* key, int value);             ///< Kept: stores nothing, returns 0
    int SetString(const char* section, const char* key, const char* value);  ///< Kept: stores nothing, returns 0

    using Rows = std::map<std::string, std::string>;
    std::string fileName;
    std::map<std::string, Rows> sections;

private:
    const std::string* Find(const char* section, const char* key);
};

}  // namespace CONFIG

// Ten functions that do nothing or only print a line. Kept: none reads or changes a ConfigTXT, and the integer
// functions always print 0. A null text sets the failure state of the standard output.
int ConfigFile(const char* name);
int ConfigGetInt(const char* section, const char* key);
int ConfigGetString(const char* section, const char* key, const char* defaultValue, char* out);
int ConfigSetInt(const char* section, const char* key, int value);
int ConfigSetString(const char* section, const char* key, const char* value);
int ConfigFile2(const char* name);
int ConfigGetInt2(const char* section, const char* key);
int ConfigGetString2(const char* section, const char* key, const char* unused, const char* value);
int ConfigSetInt2(const char* section, const char* key, int unused);
int ConfigSetString2(const char* section, const char* key, const char* value);
