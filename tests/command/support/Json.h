// SPDX-License-Identifier: MIT
#pragma once

#include <nlohmann/json.hpp>

#include "command/support/Command.h"

namespace hueweave::test {

using nlohmann::json;

/// The JSON output of a command.
inline json Told(const Words& words) { return json::parse(Hueweave(words + Words{"--json"}).out); }

/// A JSON object a line; there may be empty lines.
inline std::vector<json> JsonLines(const std::string& text) {
    std::vector<json> lines;
    for (const std::string& line : Lines(text)) {
        if (!line.empty()) lines.push_back(json::parse(line));
    }
    return lines;
}

MATCHER_P(HasAllOf, members, "has the members " + members.dump()) {
    json merged = arg;
    merged.merge_patch(members);
    *result_listener << arg.dump();
    return merged == arg;
}
/// A JSON object has these members and these values, and may have others; so do the objects in it.
inline auto Has(const json& members) { return HasAllOf(members); }

}  // namespace hueweave::test
