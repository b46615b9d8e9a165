// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>
#include <functional>
#include <map>
#include <mutex>
#include <set>
#include <string>
#include <utility>

#include "system/FileAccess.h"

namespace hueweave::tool {

/// The outputs listed in a record, each with its fingerprint and its version when it was written.
class RecordEntries {
public:
    /// Whether lines for an output are of interest.
    using Wanted = std::function<bool(const std::string& output)>;
    /// Adds a line of the record, if it is wanted. Ignores invalid lines, such as one that was cut off by a crash.
    void Take(const std::string& line, const Wanted& wanted = {});
    /// Whether a line lists this output with this fingerprint and version.
    bool Has(const std::string& output, const std::string& fingerprint, const FileVersion& version) const;
    /// Whether any line lists this output.
    bool Has(const std::string& output) const { return entries_.contains(output); }
    void Forget(const std::string& output) { entries_.erase(output); }

private:
    /// By output. Includes lines of runs that were killed before the output got its name.
    std::map<std::string, std::set<std::pair<std::string, FileVersion>>> entries_;
};

/// The record of the outputs in a folder: the file ".hueweave.jsonl" in that folder, with a line of JSON for each
/// output. Several runs may append to it at once. The folder may belong to another user, so the record is only used if
/// it is a regular file, and its size is limited.
class ResumeRecord {
public:
    /// With `stay`, the record is not removed, because other runs may be writing to it.
    ResumeRecord(std::string folder, bool stay) : folder_(std::move(folder)), stay_(stay) {}
    /// Removes a record that this run created, if no output got its name.
    ~ResumeRecord();
    ResumeRecord(const ResumeRecord&) = delete;
    ResumeRecord& operator=(const ResumeRecord&) = delete;

    /// Reads the lines of earlier runs: all, or those for the wanted outputs. Refuses an existing record that cannot be
    /// used.
    void Load(const RecordEntries::Wanted& wanted = {});
    /// Forgets the lines for this output that were read.
    void Forget(const std::string& relative);
    /// Whether an earlier run may have written this output. If not, `IsDone` need not be called.
    bool Knows(const std::string& relative) const;
    /// Whether this output was written with this fingerprint and has not changed since.
    bool IsDone(const std::string& relative, const std::string& fingerprint) const;
    /// Opens the record before the output is created, so that the file can still be refused if too many files are open.
    void Begin();
    /// Records an output that is complete but has no name yet. The line is written before the output gets its name, so
    /// that an output is always recorded, even if the run is killed; a line without its output has no effect. Refuses
    /// if the record cannot be written.
    void Add(const std::string& relative, const std::string& fingerprint, const FileAccess& output);
    /// Notes that a recorded output has got its name.
    void NoteNamed() { named_ = true; }

private:
    void Open();

    std::string folder_;
    bool stay_;
    std::atomic<bool> named_{false};
    bool begun_ = false;     ///< created by this run
    long long written_ = 0;  ///< bytes written by this run
    RecordEntries entries_;
    OwnFile record_;  ///< opened by `Begin` or the first `Add`
    mutable std::mutex mutex_;
};

}  // namespace hueweave::tool
