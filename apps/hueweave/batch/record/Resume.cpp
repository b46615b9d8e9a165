// SPDX-License-Identifier: MIT
#include "batch/record/Resume.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

#include "system/Refusal.h"
#include "system/StableHash.h"

namespace hueweave::tool {
namespace {

/// Settings as they are kept in memory; 0, which no hash has, for lines of earlier versions.
std::uint64_t SettingsOf(const std::string& hex) {
    const auto digest = DigestOf(hex);
    return digest ? (*digest)[0] : 0;
}

/// A hash of the first line of a record, without the time.
std::uint64_t KeyOf(RunLine run) {
    run.at = 0;
    return StableHash(FormatLine(run));
}

}  // namespace

std::uint64_t RecordEntries::Key(const std::string& output) { return StableHash(output); }

void RecordEntries::Take(const RecordLine& line, const Wanted& wanted) {
    const auto* const done = std::get_if<DoneLine>(&line);
    if (done == nullptr || (wanted && !wanted(done->output))) return;
    const auto fingerprint = DigestOf(done->fingerprint);
    if (!fingerprint) return;
    entries_.emplace(Key(done->output), Entry{*fingerprint, SettingsOf(done->settings), done->version, done->source});
}

bool RecordEntries::Has(const std::string& output, const std::string& fingerprint, const FileVersion& version) const {
    const auto digest = DigestOf(fingerprint);
    const auto [begin, end] = entries_.equal_range(Key(output));
    return std::any_of(begin, end, [&](const auto& entry) {
        return digest == entry.second.fingerprint && entry.second.version == version;
    });
}

bool RecordEntries::Has(const std::string& output, const std::string& settings, const FileVersion& source,
                        const FileVersion& version) const {
    const std::uint64_t wanted = SettingsOf(settings);
    const auto [begin, end] = entries_.equal_range(Key(output));
    return wanted != 0 && std::any_of(begin, end, [&](const auto& entry) {
               return entry.second.settings == wanted && entry.second.source == source &&
                      entry.second.version == version;
           });
}

void ResumeRecord::Load(const RecordEntries::Wanted& wanted) {
    const std::lock_guard lock(mutex_);
    for (const std::string& path : RecordsIn(folder_)) {
        ReadRecord(
            path,
            [&](const std::string& text) {
                const RecordLine line = ParseRecordLine(text);
                entries_.Take(line, wanted);
                if (const auto* run = std::get_if<RunLine>(&line)) announced_.insert(KeyOf(*run));
            },
            ", and records no earlier run", "remove it, or leave out --resume");
    }
}

void ResumeRecord::Announce(const RunLine& run) {
    const std::lock_guard lock(mutex_);
    run_ = run;
    if (stay_ && !announced_.contains(KeyOf(run))) Open();
}

ResumeRecord::~ResumeRecord() {
    if (!opened_ || named_ || stay_) return;
    const std::string& path = record_.file.name();
    struct stat now {
    }, ours{};
    if (::lstat(path.c_str(), &now) != 0 || ::fstat(record_.file.descriptor(), &ours) != 0) return;
    const bool same = IdentityOf(now) == IdentityOf(ours);
    if (same && now.st_size == written_) ::unlink(path.c_str());  // otherwise another program has written to it too
}

std::optional<FileVersion> ResumeRecord::VersionOfOutput(const std::string& relative) const {
    struct stat now {};
    if (::stat((folder_ + "/" + relative).c_str(), &now) != 0) return std::nullopt;
    return VersionOf(now);
}

bool ResumeRecord::IsDone(const std::string& relative, const std::string& fingerprint) const {
    const auto version = VersionOfOutput(relative);
    const std::lock_guard lock(mutex_);
    return version && entries_.Has(relative, fingerprint, *version);
}

bool ResumeRecord::IsDone(const std::string& relative, const std::string& settings, const FileVersion& source) const {
    const auto version = VersionOfOutput(relative);
    const std::lock_guard lock(mutex_);
    return version && entries_.Has(relative, settings, source, *version);
}

bool ResumeRecord::Knows(const std::string& relative) const {
    const std::lock_guard lock(mutex_);
    return entries_.Has(relative);
}

void ResumeRecord::Forget(const std::string& relative) {
    const std::lock_guard lock(mutex_);
    entries_.Forget(relative);
}

void ResumeRecord::Begin() {
    const std::lock_guard lock(mutex_);
    Open();
    if (record_.error == EMFILE || record_.error == ENFILE) RefuseWrite(folder_ + "/.hueweave.jsonl", record_.error);
}

void ResumeRecord::Open() {
    if (record_.file.descriptor() >= 0) return;
    record_ = MakeRecord(folder_);
    if (record_.error != 0) return;
    opened_ = true;
    if (run_) (void)Write(FormatLine(*run_));  // without it, only the total is missing
}

/// Begins another record. The full one is flushed, because `Flush` will no longer do it. Returns the error number, or
/// 0.
int ResumeRecord::GoOn() {
    if (::fdatasync(record_.file.descriptor()) != 0) return errno;
    OwnFile next = MakeRecord(folder_);
    if (next.error != 0) return next.error;
    full_.push_back(std::move(record_.file));
    record_ = std::move(next);
    written_ = 0;
    return 0;
}

/// Appends a line with one call, and returns the error number, or 0.
int ResumeRecord::Write(const std::string& text) {
    // Starts a new line, in case the last one was cut off.
    const std::string line = "\n" + text + "\n";
    if (written_ > 0 && static_cast<std::uint64_t>(written_) + line.size() > most_) {
        if (const int error = GoOn()) return error;
    }
    const ssize_t put = ::write(record_.file.descriptor(), line.data(), line.size());
    const int error = put < 0 ? errno : put < static_cast<ssize_t>(line.size()) ? ENOSPC : 0;
    written_ += std::max<ssize_t>(put, 0);
    return error;
}

void ResumeRecord::Refuse(const std::string& relative, int error) const {
    throw Refusal(Exit::Output, record_.file.name(), "cannot be written (" + ErrorText(error) + ")",
                  "--resume will not recognise " + relative);
}

void ResumeRecord::Add(const DoneLine& done) {
    const std::string line = FormatLine(done);
    const std::lock_guard lock(mutex_);
    Open();
    if (record_.error != 0) {
        throw Refusal(Exit::Output, folder_ + "/.hueweave.jsonl", record_.problem + " and is not written to",
                      "--resume will not recognise this run; remove it for the next one");
    }
    if (const int error = Write(line)) Refuse(done.output, error);
}

void ResumeRecord::Flush(const std::string& relative) {
    const int descriptor = [this] {
        const std::lock_guard lock(mutex_);
        return record_.file.descriptor();
    }();
    // The output is then recorded even after a power failure. Threads flush at the same time.
    const int error = ErrorOf(::fdatasync(descriptor));
    if (error == 0) return;
    const std::lock_guard lock(mutex_);
    Refuse(relative, error);
}

void ResumeRecord::Add(const FailedLine& failed) {
    const std::string line = FormatLine(failed);
    const std::lock_guard lock(mutex_);
    Open();
    if (record_.error == 0 && record_.file.descriptor() >= 0) (void)Write(line);
}

}  // namespace hueweave::tool
