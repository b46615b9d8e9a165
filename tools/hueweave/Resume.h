// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#pragma once

#include <atomic>
#include <map>
#include <mutex>
#include <string>

#include "FileAccess.h"

namespace hueweave::tool {

/// What runs wrote to a folder: a line of JSON a file, in ".hueweave.jsonl" in that folder. Several runs may add to it
/// at once. A line that was cut off by a crash does not count.
class ResumeRecord {
public:
    /// With `stay`, the record is not removed, since other runs may be writing to it.
    ResumeRecord(std::string folder, bool stay);
    /// Removes a record that this run began and that tells of no output.
    ~ResumeRecord();
    ResumeRecord(const ResumeRecord&) = delete;
    ResumeRecord& operator=(const ResumeRecord&) = delete;

    /// Whether this output was written under this fingerprint and is still as it was then.
    bool IsDone(const std::string& relative, const std::string& fingerprint) const;
    /// Opens the record while the output can still be refused for lack of open files.
    void Begin();
    /// Records an output that is whole but has no name yet. The line comes before the name, so that an output never
    /// stands there unrecorded, whenever the run is killed; without the output, the line says nothing.
    void Add(const std::string& relative, const std::string& fingerprint, const FileAccess& output);
    /// Says that an output that was added has got its name.
    void NoteNamed() { named_ = true; }

private:
    struct Entry {
        std::string fingerprint;
        long long size = 0, modified = 0;  ///< bytes; nanoseconds since 1970
    };
    static Entry EntryOf(const struct stat& status);
    bool Look(const std::string& relative, Entry& entry) const;
    void Open();

    std::string folder_;
    bool stay_;
    std::atomic<bool> named_{false};
    bool begun_ = false;                         ///< by this run
    long long written_ = 0;                      ///< bytes, by this run
    std::multimap<std::string, Entry> entries_;  ///< also of runs that were killed before the output got its name
    FileAccess file_;                            ///< open from the first line on
    std::mutex mutex_;
};

}  // namespace hueweave::tool
