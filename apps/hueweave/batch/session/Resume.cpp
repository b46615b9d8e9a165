// SPDX-License-Identifier: MIT
#include "batch/session/Resume.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

#include "batch/session/LineReader.h"
#include "system/FileAccess.h"
#include "system/Json.h"
#include "system/JsonNames.h"
#include "system/Refusal.h"

namespace hueweave::tool {
namespace {

constexpr std::size_t kLongestLine = std::size_t{64} << 10;         ///< bytes; the longest path takes half of it
constexpr std::uint64_t kLargestRecord = std::uint64_t{256} << 20;  ///< bytes; over a million files

std::string RecordPath(const std::string& folder) { return folder + "/.hueweave.jsonl"; }

/// An integer. A number with a fraction is rejected, because it may be out of range.
long long WholeNumber(const nlohmann::json& json, const char* key) {
    const auto& value = json.at(key);
    if (!value.is_number_integer()) throw nlohmann::json::type_error::create(302, "no whole number", &value);
    return value.get<long long>();
}

}  // namespace

void RecordEntries::Take(const std::string& line, const Wanted& wanted) {
    const auto json = nlohmann::json::parse(line, nullptr, false);
    if (!json.is_object()) return;
    try {
        const FileVersion version{WholeNumber(json, "size"), WholeNumber(json, "modified")};
        const std::string output = TakeName(json, "output");
        if (wanted && !wanted(output)) return;
        entries_[output].emplace(json.at("fingerprint").get<std::string>(), version);
    } catch (const nlohmann::json::exception&) {
        return;
    }
}

bool RecordEntries::Has(const std::string& output, const std::string& fingerprint, const FileVersion& version) const {
    const auto lines = entries_.find(output);
    return lines != entries_.end() && lines->second.contains({fingerprint, version});
}

void ResumeRecord::Load(const RecordEntries::Wanted& wanted) {
    const std::lock_guard lock(mutex_);
    const std::string path = RecordPath(folder_);
    auto [file, problem, error] = FileAccess::OpenOwn(path, O_RDONLY);
    if (error == ENOENT) return;
    if (problem.empty() && file.Size() > kLargestRecord) problem = "is too large to be a record";
    std::string line;
    for (LineReader lines(file.descriptor(), '\n', kLongestLine); problem.empty();) {
        if (lines.Next(line)) {
            if (line.size() <= kLongestLine) entries_.Take(line, wanted);
            continue;
        }
        if (lines.error() == 0) return;
        problem = "cannot be read (" + ErrorText(lines.error()) + ")";
    }
    throw Refusal(Exit::Output, path, problem + ", and records no earlier run", "remove it, or leave out --resume");
}

ResumeRecord::~ResumeRecord() {
    if (!begun_ || named_ || stay_) return;
    const std::string path = RecordPath(folder_);
    struct stat now {
    }, ours{};
    if (::lstat(path.c_str(), &now) != 0 || ::fstat(record_.file.descriptor(), &ours) != 0) return;
    const bool same = IdentityOf(now) == IdentityOf(ours);
    if (same && now.st_size == written_) ::unlink(path.c_str());  // otherwise another run has written to it too
}

bool ResumeRecord::IsDone(const std::string& relative, const std::string& fingerprint) const {
    struct stat now {};
    if (::stat((folder_ + "/" + relative).c_str(), &now) != 0) return false;
    const std::lock_guard lock(mutex_);
    return entries_.Has(relative, fingerprint, VersionOf(now));
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
    if (record_.error == EMFILE || record_.error == ENFILE) RefuseWrite(RecordPath(folder_), record_.error);
}

void ResumeRecord::Open() {
    if (record_.file.descriptor() >= 0) return;
    const std::string path = RecordPath(folder_);
    constexpr int kFlags = O_WRONLY | O_APPEND | O_CREAT;
    record_ = FileAccess::OpenOwn(path, kFlags | O_EXCL);
    if (record_.error == 0) begun_ = true;
    if (record_.error == EEXIST) record_ = FileAccess::OpenOwn(path, kFlags);
}

void ResumeRecord::Add(const std::string& relative, const std::string& fingerprint, const FileAccess& output) {
    const FileVersion version = VersionOf(output.Status());
    nlohmann::ordered_json json;
    PutName(json, "output", relative);
    json["fingerprint"] = fingerprint;
    json["size"] = version.size;
    json["modified"] = version.modified;
    // Starts a new line, in case the last one was cut off.
    const std::string line = "\n" + JsonLine(json) + "\n";
    std::unique_lock lock(mutex_);
    Open();
    const FileAccess& file = record_.file;
    if (record_.error != 0) {
        throw Refusal(Exit::Output, RecordPath(folder_), record_.problem + " and is not written to",
                      "--resume will not recognise this run; remove it for the next one");
    }
    const ssize_t put = ::write(file.descriptor(), line.data(), line.size());
    written_ += std::max<ssize_t>(put, 0);
    int error = put < 0 ? errno : put < static_cast<ssize_t>(line.size()) ? ENOSPC : 0;
    lock.unlock();
    // Flushed before the output gets its name, so that the output is recorded even after a power failure.
    if (error == 0 && ::fdatasync(file.descriptor()) != 0) error = errno;
    if (error != 0) {
        throw Refusal(Exit::Output, file.name(), "cannot be written (" + ErrorText(error) + ")",
                      "--resume will not recognise " + relative);
    }
}

}  // namespace hueweave::tool
