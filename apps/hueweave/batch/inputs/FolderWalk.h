// SPDX-License-Identifier: MIT
#pragma once

#include <filesystem>
#include <functional>
#include <optional>
#include <set>
#include <string>

#include "batch/inputs/ConvertOptions.h"
#include "system/FileAccess.h"

namespace hueweave::tool {

/// Finds the pictures below a folder, except hidden files and folders. Symbolic links are counted but not followed,
/// unless --follow is given. Each folder is searched once. A folder that cannot be read is found with the reason, so
/// that it is reported.
class FolderWalk {
public:
    /// Takes a path, the place in it where the path below the folder begins, and why it is refused, or "".
    using Take = std::function<void(const std::string& path, std::size_t relativeAt, const std::string& problem)>;

    /// The output folder is not searched: it contains the outputs.
    FolderWalk(std::string top, const ConvertOptions& options, Take take);
    /// Refuses a folder without pictures.
    void Run();
    /// The number of symbolic links that were not followed.
    std::size_t links() const { return links_; }
    /// The folders in which files were found.
    const std::set<std::string>& searched() const { return searched_; }

private:
    void Enter(const std::string& folder);
    void Find(const std::string& path);
    /// Whether a conversion in place would write outside of the folder that was named.
    bool LeavesTop(const std::string& path) const;

    std::string top_;
    const ConvertOptions& options_;
    Take take_;
    std::size_t relativeAt_;
    std::optional<FileIdentity> leftOut_;
    std::filesystem::path canonicalTop_;
    std::size_t links_ = 0, found_ = 0;
    std::set<FileIdentity> entered_;
    std::set<std::string> searched_;
};

}  // namespace hueweave::tool
