// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
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
    std::string relative;  ///< of the output below the output folder; also what shards go by
    std::string refusal;   ///< why it cannot be tried; empty if it can
};

struct InputList {
    std::vector<Item> items;
    bool single = false;                          ///< one file was named, not a list or a folder
    std::size_t links = 0;                        ///< symbolic links in folders that were not followed
    std::string folder;                           ///< of the output; empty if the output is a file, or the input itself
    std::set<std::string> searched;               ///< folders in which files were found that nobody named
    std::set<FileIdentity> identities;            ///< of every input, so that none is overwritten
    std::map<FileIdentity, std::string> options;  ///< the same of files given as options, with the option
};

/// The files that the options name, each with its output; those of another shard left out.
InputList ListInputs(const ConvertOptions& options);

/// A hash of a path that is the same on every machine.
std::uint64_t StableHash(const std::string& path);

}  // namespace hueweave::tool
