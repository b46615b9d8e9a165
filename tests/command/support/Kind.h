// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#pragma once

#include <ostream>

namespace hueweave::test {

/// A kind of TIFF file, and how another program makes one.
struct Kind {
    const char* name;
    const char* recipe;  ///< a shell line from $in to $out
};
inline void PrintTo(const Kind& kind, std::ostream* out) { *out << kind.name; }

}  // namespace hueweave::test
