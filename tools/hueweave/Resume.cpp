// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#include "Resume.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <fstream>
#include <nlohmann/json.hpp>

#include "FileAccess.h"
#include "JsonNames.h"
#include "Refusal.h"

namespace hueweave::tool {
namespace {

std::string RecordPath(const std::string& folder) { return folder + "/.hueweave.jsonl"; }

}  // namespace

ResumeRecord::ResumeRecord(std::string folder, bool stay) : folder_(std::move(folder)), stay_(stay) {
    std::ifstream in(RecordPath(folder_));
    std::string line;
    while (std::getline(in, line)) {
        const auto json = nlohmann::json::parse(line, nullptr, false);
        if (!json.is_object()) continue;
        try {
            entries_.emplace(TakeName(json, "output"),
                             Entry{json.at("fingerprint"), json.at("size"), json.at("modified")});
        } catch (const nlohmann::json::exception&) {
            continue;  // no line of ours
        }
    }
}

ResumeRecord::~ResumeRecord() {
    const std::string path = RecordPath(folder_);
    struct stat status {};
    if (!begun_ || named_ || stay_ || ::stat(path.c_str(), &status) != 0) return;
    if (status.st_size == written_) ::unlink(path.c_str());  // else another run wrote to it as well
}

ResumeRecord::Entry ResumeRecord::EntryOf(const struct stat& status) {
    Entry entry;
    entry.size = status.st_size;
    entry.modified = status.st_mtim.tv_sec * 1000000000LL + status.st_mtim.tv_nsec;
    return entry;
}

bool ResumeRecord::Look(const std::string& relative, Entry& entry) const {
    struct stat status {};
    if (::stat((folder_ + "/" + relative).c_str(), &status) != 0) return false;
    entry = EntryOf(status);
    return true;
}

bool ResumeRecord::IsDone(const std::string& relative, const std::string& fingerprint) const {
    Entry now;
    if (!Look(relative, now)) return false;
    const auto [begin, end] = entries_.equal_range(relative);
    return std::any_of(begin, end, [&](const auto& line) {
        const Entry& entry = line.second;
        return entry.fingerprint == fingerprint && entry.size == now.size && entry.modified == now.modified;
    });
}

void ResumeRecord::Begin() {
    const std::lock_guard lock(mutex_);
    Open();
    if (file_.descriptor() < 0 && (errno == EMFILE || errno == ENFILE)) RefuseWrite(file_.name(), errno);
}

void ResumeRecord::Open() {
    if (file_.descriptor() >= 0) return;
    const std::string path = RecordPath(folder_);
    constexpr int kFlags = O_WRONLY | O_APPEND | O_CLOEXEC;
    int descriptor = ::open(path.c_str(), kFlags | O_CREAT | O_EXCL, 0666);
    if (descriptor >= 0) begun_ = true;
    if (descriptor < 0 && errno == EEXIST) descriptor = ::open(path.c_str(), kFlags | O_CREAT, 0666);
    file_ = FileAccess(descriptor, path);
}

void ResumeRecord::Add(const std::string& relative, const std::string& fingerprint, const FileAccess& output) {
    const Entry entry = EntryOf(output.Status());
    nlohmann::ordered_json json;
    PutName(json, "output", relative);
    json["fingerprint"] = fingerprint;
    json["size"] = entry.size;
    json["modified"] = entry.modified;
    // A fresh line, should the last one have been cut off.
    const std::string line = "\n" + JsonLine(json) + "\n";
    std::unique_lock lock(mutex_);
    Open();
    const ssize_t put = file_.descriptor() < 0 ? -1 : ::write(file_.descriptor(), line.data(), line.size());
    written_ += std::max<ssize_t>(put, 0);
    if (put != static_cast<ssize_t>(line.size())) {
        throw Refusal(Exit::Output, file_.name(), "cannot be written (" + ErrorText(errno) + ")",
                      "--resume will not know of " + relative);
    }
    lock.unlock();
    ::fdatasync(file_.descriptor());  // before the output, so that it is no stranger after a power cut either
}

}  // namespace hueweave::tool
