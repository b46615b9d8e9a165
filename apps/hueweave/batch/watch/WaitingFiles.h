// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "system/FileAccess.h"
#include "system/Refusal.h"

namespace hueweave::tool {

/// A file that has not changed for the settle time and is to be converted.
struct Arrival {
    std::string path;
    FileState state;
    std::optional<Exit> told;  ///< the status with which this file was refused before, which was reported
};

/// The result of converting an arrival.
struct Ended {
    Arrival arrival;
    std::optional<Exit> refused;
};

/// Decides when a file in the watched folder is complete. It is complete if its size and time do not change for the
/// settle time and no program has it open for writing. Remembers what was converted, for as long as the file exists, so
/// that a file is only converted again if it has changed.
class WaitingFiles {
public:
    using Clock = std::chrono::steady_clock;
    using Time = Clock::time_point;

    explicit WaitingFiles(Clock::duration settle) : settle_(settle) {}

    /// The file is new or may have changed. `finished` if its writer has closed or renamed it; otherwise, more time
    /// passes if it is not known whether it has writers.
    void Notice(const std::string& path, bool finished, Time now);
    /// The file or folder was removed or renamed.
    void Lose(const std::string& path);
    /// Forgets files that no longer exist.
    void LoseMissing();
    /// When `Take` is to be called next, if at all.
    std::optional<Time> Next() const;
    /// The complete files. They are not returned again before `Finish`.
    std::vector<Arrival> Take(Time now);
    void Finish(const Ended& ended);

    /// The number of files that it remembers.
    std::size_t size() const { return waiting_.size() + known_.size(); }

private:
    struct Waiting {
        FileState state;  ///< when it was last looked at
        bool finished = false;
        int looks = 0;  ///< since its last change, while its writers were unknown
        Time due;
    };
    struct Known {
        FileState state;  ///< when it was taken
        std::optional<Exit> refused;
        bool ended = false;  ///< not in conversion
    };
    /// Whether the file is complete; otherwise it is looked at again when it is due.
    bool IsComplete(const std::string& path, Waiting& file, Time now) const;

    Clock::duration settle_;
    std::map<std::string, Waiting> waiting_;  ///< by path
    std::map<std::string, Known> known_;      ///< by path: in conversion, converted or refused
};

}  // namespace hueweave::tool
