// SPDX-License-Identifier: MIT
#pragma once

#include <mutex>
#include <string>
#include <vector>

namespace hueweave::tool {

/// The folders that a run creates for its outputs. Those that are empty at the end of the run are removed, for example
/// after refusals. They are not removed earlier, because a file that another thread is writing there has no name yet.
class MadeFolders {
public:
    /// With `stay`, no folder is removed, because other runs may be writing to it.
    explicit MadeFolders(bool stay) : stay_(stay) {}
    ~MadeFolders();
    MadeFolders(const MadeFolders&) = delete;
    MadeFolders& operator=(const MadeFolders&) = delete;

    /// Creates a folder and its parents if they do not exist. Refuses a folder that cannot be created.
    void Make(const std::string& folder);
    /// Refuses a folder that `Make` would refuse, as far as file modes show this. Creates nothing.
    static void Check(const std::string& folder);

private:
    /// Creates a folder and its parents; returns the error number, or 0.
    [[nodiscard]] int MakeOne(const std::string& folder);

    bool stay_;
    std::mutex mutex_;
    std::vector<std::string> made_;
};

}  // namespace hueweave::tool
