// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#pragma once

#include <mutex>
#include <string>
#include <vector>

namespace hueweave::tool {

/// The folders that a run makes for its outputs. Those that are empty at its end are removed: after a refusal nothing
/// is left behind. Not while the run goes on, since a file that another thread writes there has no name yet.
class MadeFolders {
public:
    /// Folders stay where other runs may be writing into them as well.
    explicit MadeFolders(bool stay) : stay_(stay) {}
    ~MadeFolders();
    MadeFolders(const MadeFolders&) = delete;
    MadeFolders& operator=(const MadeFolders&) = delete;

    /// Makes a folder and those above it, where they are not there; refuses what cannot be made.
    void Make(const std::string& folder);
    /// Refuses what `Make` would refuse, as far as modes tell it, and makes nothing.
    static void Check(const std::string& folder);

private:
    /// The error number, 0 for none.
    [[nodiscard]] int MakeOne(const std::string& folder);

    bool stay_;
    std::mutex mutex_;
    std::vector<std::string> made_;
};

}  // namespace hueweave::tool
