// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#pragma once

#include <atomic>
#include <map>
#include <mutex>
#include <set>
#include <string>
#include <utility>

#include "system/FileAccess.h"

namespace hueweave::tool {

/// The outputs that lines of a record tell of, as they were when they were written.
class RecordEntries {
public:
    /// Takes a line; passes over what is none of ours, such as one that was cut off by a crash.
    void Take(const std::string& line);
    /// Whether a line tells of this output, made under this fingerprint, in this version.
    bool Has(const std::string& output, const std::string& fingerprint, const FileVersion& version) const;
    /// Whether any line tells of this output.
    bool Has(const std::string& output) const { return entries_.contains(output); }

private:
    /// By output; also of runs that were killed before the output got its name.
    std::map<std::string, std::set<std::pair<std::string, FileVersion>>> entries_;
};

/// What runs wrote to a folder: a line of JSON a file, in ".hueweave.jsonl" in that folder. Several runs may add to it
/// at once. The folder may be somebody else's: the record is only used where it is a plain file, and never trusted to
/// be small.
class ResumeRecord {
public:
    /// With `stay`, the record is not removed, since other runs may be writing to it.
    ResumeRecord(std::string folder, bool stay) : folder_(std::move(folder)), stay_(stay) {}
    /// Removes a record that this run began and that tells of no output.
    ~ResumeRecord();
    ResumeRecord(const ResumeRecord&) = delete;
    ResumeRecord& operator=(const ResumeRecord&) = delete;

    /// Reads what earlier runs wrote. Refuses a record that is there and cannot be used.
    void Load();
    /// Whether an earlier run may have written this output: only then is it worth asking `IsDone`.
    bool Knows(const std::string& relative) const { return entries_.Has(relative); }
    /// Whether this output was written under this fingerprint and is still as it was then.
    bool IsDone(const std::string& relative, const std::string& fingerprint) const;
    /// Opens the record while the output can still be refused for lack of open files.
    void Begin();
    /// Records an output that is whole but has no name yet. The line comes before the name, so that an output never
    /// stands there unrecorded, whenever the run is killed; without the output, the line says nothing. Refuses where
    /// the record cannot be written.
    void Add(const std::string& relative, const std::string& fingerprint, const FileAccess& output);
    /// Says that an output that was added has got its name.
    void NoteNamed() { named_ = true; }

private:
    void Open();

    std::string folder_;
    bool stay_;
    std::atomic<bool> named_{false};
    bool begun_ = false;     ///< by this run
    long long written_ = 0;  ///< bytes, by this run
    RecordEntries entries_;
    OwnFile record_;  ///< open from the first line on
    std::mutex mutex_;
};

}  // namespace hueweave::tool
