// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "batch/inputs/ConvertOptions.h"
#include "batch/inputs/NameList.h"
#include "system/FileAccess.h"

namespace hueweave::tool {

/// One file to convert.
struct Item {
    std::string source;    ///< path, or "-"
    std::string output;    ///< path, or "-"
    std::string relative;  ///< path of the output below the output folder
    std::string refusal;   ///< why it is refused without being opened; empty if it is not
};

/// The files of a run. There may be millions, so that only their paths are kept.
struct InputList {
    NameList names;
    bool single = false;                   ///< one file was named, not a list or a folder
    std::size_t links = 0;                 ///< symbolic links in folders that were not followed
    std::uint64_t listed = 0;              ///< a hash of the names from standard input, those of other shards too
    std::string folder;                    ///< for outputs; empty if the output is a single file, or the input itself
    std::string file;                      ///< the output of a single file; empty for the input itself
    std::set<std::string> searched;        ///< folders in which files were found by searching
    std::vector<FileIdentity> identities;  ///< with --force, of all inputs, sorted, so that none is overwritten
    std::optional<Format> format;          ///< of the outputs; nothing for that of each input
    std::map<FileIdentity, std::string> options;  ///< of the files named by options, with the option

    std::size_t size() const { return names.size(); }
    Item At(std::size_t number) const;
    std::string OutputAt(std::size_t number) const;
    std::string RelativeAt(std::size_t number) const;
};

/// The files named by the options, each with its output, without those of other shards.
InputList ListInputs(const ConvertOptions& options);

/// The files that are named by options, with the option.
std::map<FileIdentity, std::string> FilesOfOptions(const ConvertOptions& options);

}  // namespace hueweave::tool
