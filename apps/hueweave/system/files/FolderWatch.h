// SPDX-License-Identifier: MIT
#pragma once

#include <map>
#include <string>
#include <vector>

#include "system/FileAccess.h"

namespace hueweave::tool {

/// A change in a watched folder.
struct FolderChange {
    enum Kind {
        Created,   ///< the entry is new, and may still be written to
        Finished,  ///< a program has closed the file after writing, or has renamed the entry to this path
        Gone,      ///< the entry was removed or renamed
        Overflow   ///< changes were lost, so that folders have to be listed again
    };
    Kind kind;
    std::string path;  ///< of the entry
};

/// Reports changes in folders, with inotify. The sandbox allows adding and removing folders, but no second object of
/// this class.
class FolderWatch {
public:
    FolderWatch();

    /// Becomes readable (POLLIN) when there are changes.
    int descriptor() const { return notices_.descriptor(); }
    /// Watches a folder; its subfolders are not included. Returns the error number, or 0; EEXIST if the folder is
    /// watched already, by this path or another.
    [[nodiscard]] int Add(const std::string& folder, bool followLink);
    /// Becomes readable too when this folder itself is removed or renamed.
    [[nodiscard]] int AddItself(const std::string& folder);
    /// Stops watching a folder and all folders below it.
    void Remove(const std::string& folder);
    void RemoveAll();
    /// The next changes, without waiting.
    std::vector<FolderChange> Read();

private:
    void Forget(int watch);

    FileAccess notices_;
    std::map<int, std::string> folders_;  ///< by watch
    std::map<std::string, int> watches_;  ///< by folder
};

}  // namespace hueweave::tool
