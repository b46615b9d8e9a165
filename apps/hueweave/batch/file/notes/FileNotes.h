// SPDX-License-Identifier: MIT
#pragma once

#include <set>
#include <string>
#include <vector>

namespace hueweave::tool {

/// Notes about a file, printed with its result. They are collected until then, because a refused file gets one line
/// only.
struct FileNotes {
    std::vector<std::string> own;  ///< whole lines, in order
    std::set<std::string> common;  ///< notes that apply to many files, without the file's name: "tag 301 stays"
};

}  // namespace hueweave::tool
