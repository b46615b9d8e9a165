// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#pragma once

#include <string>

#include "system/Json.h"

namespace hueweave::tool {

/// Puts the name of a file into a line of JSON under `key`. A name is bytes, and JSON holds UTF-8: of a name that is
/// none, the bytes stand in hexadecimal digits under `key` + "_hex", and `key` is for people.
void PutName(nlohmann::ordered_json& json, const std::string& key, const std::string& name);
/// The name that was put in, byte for byte. Throws an exception of the JSON library if there is none.
std::string TakeName(const nlohmann::json& json, const std::string& key);
/// On one line, which may be shown on a terminal: control characters are escaped as \uXXXX, bytes that are no UTF-8
/// become U+FFFD.
std::string JsonLine(const nlohmann::ordered_json& json);

}  // namespace hueweave::tool
