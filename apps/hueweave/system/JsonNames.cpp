// SPDX-License-Identifier: MIT
#include "system/JsonNames.h"

#include <fmt/format.h>

#include <charconv>

#include "system/Refusal.h"

namespace hueweave::tool {
namespace {

constexpr const char* kHex = "_hex";

bool IsUtf8(const std::string& text) {
    try {
        (void)nlohmann::json(text).dump();
        return true;
    } catch (const nlohmann::json::type_error&) {
        return false;
    }
}

}  // namespace

void PutName(nlohmann::ordered_json& json, const std::string& key, const std::string& name) {
    json[key] = name;
    if (IsUtf8(name)) return;
    std::string digits;
    for (const char c : name) {
        constexpr const char* kDigits = "0123456789abcdef";
        digits += kDigits[static_cast<unsigned char>(c) >> 4];
        digits += kDigits[static_cast<unsigned char>(c) & 15];
    }
    json[key + kHex] = digits;
}

std::string TakeName(const nlohmann::json& json, const std::string& key) {
    const auto hex = json.find(key + kHex);
    if (hex == json.end()) return json.at(key).get<std::string>();
    const auto digits = hex->get<std::string>();
    std::string name;
    for (std::size_t at = 0; at + 2 <= digits.size(); at += 2) {
        unsigned value = 0;
        std::from_chars(digits.data() + at, digits.data() + at + 2, value, 16);
        name += static_cast<char>(value);
    }
    return name;
}

std::string JsonLine(const nlohmann::ordered_json& json) {
    const std::string line = json.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace);
    // These characters occur only in strings, where an escape means the same.
    return ReplaceControls(line, [](unsigned code) { return fmt::format("\\u{:04x}", code); });
}

}  // namespace hueweave::tool
