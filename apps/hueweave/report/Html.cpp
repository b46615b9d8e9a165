// SPDX-License-Identifier: MIT
#include "report/Html.h"

#include "system/JsonNames.h"
#include "system/Refusal.h"

namespace hueweave::tool {
namespace {

using Json = nlohmann::ordered_json;

/// Bytes that are not UTF-8 become U+FFFD.
std::string ValidUtf8(std::string_view text) {
    return Json::parse(Json(text).dump(-1, ' ', false, Json::error_handler_t::replace)).get<std::string>();
}

}  // namespace

std::string Escaped(std::string_view text) {
    std::string html;
    for (const char c : OneLine(ValidUtf8(text))) {
        switch (c) {
            case '&':
                html += "&amp;";
                break;
            case '<':
                html += "&lt;";
                break;
            case '>':
                html += "&gt;";
                break;
            case '"':
                html += "&quot;";
                break;
            case '\'':
                html += "&#39;";
                break;
            default:
                html += c;
        }
    }
    return html;
}

std::string EscapedJson(const Json& json) {
    std::string text;
    for (const char c : JsonLine(json)) {
        switch (c) {
            case '<':
                text += "\\u003c";
                break;
            case '>':
                text += "\\u003e";
                break;
            case '&':
                text += "\\u0026";
                break;
            default:
                text += c;
        }
    }
    return text;
}

}  // namespace hueweave::tool
