// SPDX-License-Identifier: MIT
#include "system/Machine.h"

#include <unistd.h>

#include <algorithm>

namespace hueweave::tool {

std::string MachineName() {
    constexpr std::size_t kLongest = 32;
    char name[kLongest + 1] = {};
    (void)::gethostname(name, kLongest);  // fills the buffer if the name is longer
    std::string text = name[0] == 0 ? "machine" : name;
    const auto isPlain = [](char c) {
        return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9');
    };
    std::replace_if(
        text.begin(), text.end(), [&](char c) { return !isPlain(c); }, '_');
    return text;
}

}  // namespace hueweave::tool
