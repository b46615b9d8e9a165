// SPDX-License-Identifier: MIT
// The one place where text goes into a page. Whatever comes from a file, or from the command line, passes one of these.
#pragma once

#include <string>
#include <string_view>

#include "system/Json.h"

namespace hueweave::tool {

/// Text as HTML, for content and for values of attributes in double quotes. Control characters and text direction marks
/// become '?', and bytes that are not UTF-8 U+FFFD.
std::string Escaped(std::string_view text);
/// JSON as the content of an element script: "<", ">", "&", controls and text direction marks, which can occur in
/// strings only, become escape sequences, so that no value ends the element or begins a comment.
std::string EscapedJson(const nlohmann::ordered_json& json);

}  // namespace hueweave::tool
