// SPDX-License-Identifier: MIT
#pragma once

#include <map>
#include <set>
#include <string>
#include <vector>

#include "batch/session/ConvertOptions.h"
#include "system/FileAccess.h"

namespace hueweave::tool {

/// One file to convert.
struct Item {
    std::string source;    ///< path, or "-"
    std::string output;    ///< path, or "-"
    std::string relative;  ///< path of the output below the output folder
    std::string refusal;   ///< why it is refused without being opened; empty if it is not
};

struct InputList {
    std::vector<Item> items;
    bool single = false;                ///< one file was named, not a list or a folder
    std::size_t links = 0;              ///< symbolic links in folders that were not followed
    std::string folder;                 ///< for outputs; empty if the output is a single file, or the input itself
    std::set<std::string> searched;     ///< folders in which files were found by searching
    std::set<FileIdentity> identities;  ///< of all inputs, so that none is overwritten
    std::map<FileIdentity, std::string> options;  ///< the same for files named by options, with the option
};

/// The files named by the options, each with its output, without those of other shards.
InputList ListInputs(const ConvertOptions& options);

/// The files that are named by options, with the option.
std::map<FileIdentity, std::string> FilesOfOptions(const ConvertOptions& options);

/// A hash of a path that is the same on every machine.
std::uint64_t StableHash(const std::string& path);

}  // namespace hueweave::tool
