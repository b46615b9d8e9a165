// SPDX-License-Identifier: MIT
#include "system/Refusal.h"

#include <algorithm>
#include <iterator>
#include <new>
#include <stdexcept>

namespace hueweave::tool {

namespace {

/// A character, or a byte that is not part of one.
struct Decoded {
    unsigned code;
    std::size_t length;  ///< bytes
};

/// The character at the beginning of `text`. A byte that is not valid UTF-8 is treated as a Latin-1 character.
Decoded Decode(std::string_view text) {
    const auto byte = [&](std::size_t at) { return static_cast<unsigned char>(text[at]); };
    const unsigned lead = byte(0);
    const std::size_t length = lead < 0xc2 ? 1 : lead < 0xe0 ? 2 : lead < 0xf0 ? 3 : lead < 0xf5 ? 4 : 1;
    if (length == 1 || text.size() < length) return {lead, 1};
    unsigned code = lead & (0x7fU >> length);
    for (std::size_t at = 1; at < length; ++at) {
        if ((byte(at) & 0xc0U) != 0x80) return {lead, 1};
        code = code << 6 | (byte(at) & 0x3fU);
    }
    constexpr unsigned kLeast[] = {0x80, 0x800, 0x10000};  // for two, three and four bytes; smaller is not valid UTF-8
    if (code < kLeast[length - 2]) return {lead, 1};
    return {code, length};
}

bool IsControl(unsigned code) {
    constexpr std::pair<unsigned, unsigned> kRanges[] = {
        {0x0000, 0x001f}, {0x007f, 0x009f},  // control characters; terminals interpret 0x9b as the start of a sequence
        {0x061c, 0x061c}, {0x200e, 0x200f},  // text direction marks
        {0x2028, 0x202e},                    // line and paragraph separators, direction embeddings and overrides
        {0x2066, 0x2069}};                   // direction isolates
    return std::any_of(std::begin(kRanges), std::end(kRanges),
                       [code](const auto& range) { return code >= range.first && code <= range.second; });
}

}  // namespace

std::string ReplaceControls(std::string_view text, const std::function<std::string(unsigned code)>& by) {
    std::string result;
    while (!text.empty()) {
        const Decoded next = Decode(text);
        if (IsControl(next.code)) {
            result += by(next.code);
        } else {
            result += text.substr(0, next.length);
        }
        text.remove_prefix(next.length);
    }
    return result;
}

std::string OneLine(std::string_view text) {
    return ReplaceControls(text, [](unsigned) { return "?"; });
}

Explanation Explain(const std::string& name, const std::exception_ptr& cause) {
    try {
        std::rethrow_exception(cause);
    } catch (const Refusal& refusal) {
        return {refusal.status(), refusal.what(), refusal.remedy(), refusal.kind()};
    } catch (const std::bad_alloc&) {
        return {Exit::Input, name + ": needs more memory than is available; lower -j"};
    } catch (const std::length_error&) {
        return {Exit::Input, name + ": declares sizes that do not fit in memory; get a complete copy of the file"};
    } catch (const std::exception& error) {
        return {Exit::Input, name + ": cannot be processed, for an unexpected reason (" + error.what() +
                                 "); please report it, with the file"};
    } catch (...) {
        return {Exit::Input, name +
                                 ": cannot be processed, for an unexpected reason; please report it, "
                                 "with the file"};
    }
}

}  // namespace hueweave::tool
