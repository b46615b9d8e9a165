// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#include "Resume.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <fstream>
#include <nlohmann/json.hpp>

#include "FileAccess.h"
#include "Refusal.h"

namespace hueweave::tool {
namespace {

std::string RecordPath(const std::string& folder) { return folder + "/.hueweave.jsonl"; }

}  // namespace

ResumeRecord::ResumeRecord(std::string folder) : folder_(std::move(folder)) {
    std::ifstream in(RecordPath(folder_));
    std::string line;
    while (std::getline(in, line)) {
        const auto json = nlohmann::json::parse(line, nullptr, false);
        if (!json.is_object()) continue;
        try {
            entries_[json.at("output")] = {json.at("fingerprint"), json.at("size"), json.at("modified")};
        } catch (const nlohmann::json::exception&) {
            continue;  // no line of ours
        }
    }
}

bool ResumeRecord::Look(const std::string& relative, Entry& entry) const {
    struct stat status {};
    if (::stat((folder_ + "/" + relative).c_str(), &status) != 0) return false;
    entry.size = status.st_size;
    entry.modified = status.st_mtim.tv_sec * 1000000000LL + status.st_mtim.tv_nsec;
    return true;
}

bool ResumeRecord::IsDone(const std::string& relative, const std::string& fingerprint) const {
    const auto found = entries_.find(relative);
    Entry now;
    return found != entries_.end() && found->second.fingerprint == fingerprint && Look(relative, now) &&
           now.size == found->second.size && now.modified == found->second.modified;
}

void ResumeRecord::Add(const std::string& relative, const std::string& fingerprint) {
    Entry entry;
    if (!Look(relative, entry)) return;
    const nlohmann::json json{
        {"output", relative}, {"fingerprint", fingerprint}, {"size", entry.size}, {"modified", entry.modified}};
    // A fresh line, should the last one have been cut off.
    const std::string line = "\n" + json.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace) + "\n";
    const std::lock_guard lock(mutex_);
    const std::string path = RecordPath(folder_);
    const FileAccess file(::open(path.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0666), path);
    if (file.descriptor() < 0 ||
        ::write(file.descriptor(), line.data(), line.size()) != static_cast<ssize_t>(line.size())) {
        throw Refusal(Exit::Output, path, "cannot be written (" + ErrorText(errno) + ")",
                      "--resume will convert the file again");
    }
}

}  // namespace hueweave::tool
