// SPDX-License-Identifier: MIT
#pragma once

#include <string>

#include "system/Json.h"

namespace hueweave::tool {

/// Adds a file name to a line of JSON under `key`. File names are bytes, whereas JSON requires UTF-8: for a name that
/// is not UTF-8, `key` + "_hex" contains the bytes in hexadecimal digits, and `key` is for display.
void PutName(nlohmann::ordered_json& json, const std::string& key, const std::string& name);
/// Returns the exact bytes of the name. Throws an exception of the JSON library if there is none.
std::string TakeName(const nlohmann::json& json, const std::string& key);
/// The JSON on one line that can be printed to a terminal: control characters are escaped as \uXXXX, and bytes that are
/// not UTF-8 become U+FFFD.
std::string JsonLine(const nlohmann::ordered_json& json);

}  // namespace hueweave::tool
