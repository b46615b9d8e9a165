// SPDX-License-Identifier: MIT
#pragma once

#include <filesystem>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "batch/inputs/ConvertOptions.h"
#include "batch/session/Report.h"
#include "batch/watch/WaitingFiles.h"
#include "system/WakeUp.h"
#include "system/files/FolderWatch.h"

namespace hueweave::tool {

/// The watched folder with its subfolders, and the files that arrive there. The rules for hidden files and symbolic
/// links are those of a folder that is converted. The output folder may be one of the subfolders and is left out.
class Inbox {
public:
    /// Watches the folder named by the options and notices the files in it. The output folder must exist.
    Inbox(const ConvertOptions& options, WaitingFiles::Clock::duration settle, Report& report);

    /// The folders and files outside of the watched folder to which its links lead, with --follow.
    const std::set<std::string>& linked() const { return linked_; }
    /// Waits until there is something to do: changes in the folders, files that may be complete, or `wakeUp`. Refuses
    /// if the watched folder or the output folder no longer exists.
    void Wait(const WakeUp& wakeUp);
    /// The files that are to be converted now; `Finish` is called for each of them.
    std::vector<Arrival> Take() { return files_.Take(WaitingFiles::Clock::now()); }
    void Finish(const Ended& ended) { files_.Finish(ended); }

private:
    /// Watches a folder and its subfolders, and notices their files.
    void Enter(const std::string& folder);
    void Look(const std::filesystem::path& entry, bool finished);
    void Take(const FolderChange& change);
    void ListAgain();
    void CheckFolders() const;
    bool IsOutput(const std::string& folder) const;

    const ConvertOptions& options_;
    Report& report_;
    std::string top_;
    std::filesystem::path output_;  ///< canonical
    std::optional<FileIdentity> topIdentity_, outputIdentity_;
    FolderWatch watch_;
    WaitingFiles files_;
    bool started_ = false;          ///< the folder was listed
    std::size_t links_ = 0;         ///< that were not followed
    std::set<std::string> linked_;  ///< filled when the folder is first listed
};

}  // namespace hueweave::tool
