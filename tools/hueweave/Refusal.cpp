// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#include "Refusal.h"

namespace hueweave::tool {

std::string OneLine(std::string_view text) {
    std::string line(text);
    for (char& c : line) {
        if (static_cast<unsigned char>(c) < 0x20 || c == 0x7f) c = '?';
    }
    return line;
}

}  // namespace hueweave::tool
