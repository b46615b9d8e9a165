// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

#include "batch/record/RecordFiles.h"
#include "batch/record/RecordLine.h"
#include "system/FileAccess.h"

namespace hueweave::tool {

/// The outputs listed in records, each with its fingerprint and its version when it was written. A line takes less
/// than 120 bytes.
class RecordEntries {
public:
    /// Whether lines for an output are of interest.
    using Wanted = std::function<bool(const std::string& output)>;
    /// Adds a line of a record, if it is wanted. Ignores lines that are not about an output.
    void Take(const RecordLine& line, const Wanted& wanted = {});
    /// Whether a line lists this output with this fingerprint and version.
    bool Has(const std::string& output, const std::string& fingerprint, const FileVersion& version) const;
    /// Whether a line lists this output with this version, made from this version of its source with these settings.
    bool Has(const std::string& output, const std::string& settings, const FileVersion& source,
             const FileVersion& version) const;
    /// Whether any line lists this output.
    bool Has(const std::string& output) const { return entries_.contains(Key(output)); }
    void Forget(const std::string& output) { entries_.erase(Key(output)); }

private:
    struct Entry {
        Digest fingerprint;
        std::uint64_t settings;
        FileVersion version, source;
    };
    static std::uint64_t Key(const std::string& output);

    /// By a hash of the output. Includes lines of runs that were killed before the output got its name.
    std::unordered_multimap<std::uint64_t, Entry> entries_;
};

/// The records of the outputs in a folder: files of lines of JSON in that folder. A run reads all of them and writes
/// one of its own, so runs on several machines do not disturb each other. The folder may belong to another user, so a
/// record is only used if it is a regular file, and its size is limited.
class ResumeRecord {
public:
    /// With `stay`, the record is not removed, because `hueweave status` needs it for this part of the files. `most`
    /// is the size in bytes at which the run continues in a new record, because a larger one would not be read.
    ResumeRecord(std::string folder, bool stay, std::uint64_t most = kLargestRecord)
        : folder_(std::move(folder)), stay_(stay), most_(most) {}
    /// Removes the record of this run if no output got its name.
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
    /// Whether this output was made with these settings from a source of this size and time, and has not changed since.
    bool IsDone(const std::string& relative, const std::string& settings, const FileVersion& source) const;
    /// The first line of the record, which is written when the record is created: at once, if other runs convert other
    /// parts and no record that was read has this line, so that a part without files is known to have been run.
    void Announce(const RunLine& run);
    /// Opens the record before the output is created, so that the file can still be refused if too many files are open.
    void Begin();
    /// Records an output that is complete but has no name yet. The
    /// line is written before the output gets its name, so that an output is always recorded, even if the run is
    /// killed; a line without its output has no effect. Refuses if the record cannot be written.
    void Add(const DoneLine& done);
    /// Flushes the record to disk before this output gets its name. Refuses if that is impossible.
    void Flush(const std::string& relative);
    /// Records a file without an output. If that is impossible, nothing is written.
    void Add(const FailedLine& failed);
    /// Notes that a recorded output has got its name.
    void NoteNamed() { named_ = true; }

private:
    void Open();
    int GoOn();
    int Write(const std::string& text);
    [[noreturn]] void Refuse(const std::string& relative, int error) const;
    std::optional<FileVersion> VersionOfOutput(const std::string& relative) const;

    std::string folder_;
    bool stay_;
    std::uint64_t most_;
    std::optional<RunLine> run_;
    std::atomic<bool> named_{false};
    bool opened_ = false;
    long long written_ = 0;                        ///< bytes of the record, all by this run
    std::unordered_set<std::uint64_t> announced_;  ///< hashes of the first lines of earlier records, without the time
    RecordEntries entries_;
    OwnFile record_;                ///< opened by `Begin` or the first `Add`
    std::vector<FileAccess> full_;  ///< earlier records of this run, open because a thread may be flushing one
    mutable std::mutex mutex_;
};

}  // namespace hueweave::tool
