// SPDX-License-Identifier: MIT
#include "system/files/FolderWatch.h"

#include <sys/inotify.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <filesystem>

#include "system/Refusal.h"

namespace hueweave::tool {
namespace {

constexpr std::uint32_t kItself = IN_DELETE_SELF | IN_MOVE_SELF | IN_ONLYDIR;
constexpr std::uint32_t kEntries = IN_CREATE | IN_CLOSE_WRITE | IN_MOVED_TO | IN_DELETE | IN_MOVED_FROM;

FolderChange::Kind KindOf(std::uint32_t mask) {
    if ((mask & (IN_DELETE | IN_MOVED_FROM)) != 0) return FolderChange::Gone;
    return (mask & (IN_CLOSE_WRITE | IN_MOVED_TO)) != 0 ? FolderChange::Finished : FolderChange::Created;
}

}  // namespace

FolderWatch::FolderWatch() : notices_(::inotify_init1(IN_NONBLOCK | IN_CLOEXEC), "inotify") {
    if (notices_.descriptor() >= 0) return;
    throw Refusal(Exit::Input, "", "folders cannot be watched (" + ErrorText(errno) + ")",
                  "stop another program that watches folders, or raise fs.inotify.max_user_instances");
}

int FolderWatch::Add(const std::string& folder, bool followLink) {
    std::string path = folder;  // memory is allocated before the watch exists
    const std::uint32_t mask = kItself | kEntries | (followLink ? 0U : static_cast<std::uint32_t>(IN_DONT_FOLLOW));
    const int watch = ::inotify_add_watch(descriptor(), folder.c_str(), mask);
    if (watch < 0) return errno;
    if (folders_.contains(watch)) return EEXIST;
    watches_[path] = watch;
    folders_[watch] = std::move(path);
    return 0;
}

int FolderWatch::AddItself(const std::string& folder) {
    return ErrorOf(::inotify_add_watch(descriptor(), folder.c_str(), kItself));
}

void FolderWatch::Forget(int watch) {
    const auto found = folders_.find(watch);
    if (found == folders_.end()) return;
    const auto folder = watches_.find(found->second);
    if (folder != watches_.end() && folder->second == watch) watches_.erase(folder);
    folders_.erase(found);
}

void FolderWatch::Remove(const std::string& folder) {
    const auto remove = [this](std::map<std::string, int>::iterator at) {
        ::inotify_rm_watch(descriptor(), at->second);  // fails if the folder no longer exists
        folders_.erase(at->second);
        return watches_.erase(at);
    };
    const std::string below = folder + "/";
    for (auto at = watches_.lower_bound(below); at != watches_.end() && at->first.starts_with(below);) at = remove(at);
    const auto itself = watches_.find(folder);
    if (itself != watches_.end()) remove(itself);
}

void FolderWatch::RemoveAll() {
    for (const auto& [watch, folder] : folders_) ::inotify_rm_watch(descriptor(), watch);
    folders_.clear();
    watches_.clear();
}

std::vector<FolderChange> FolderWatch::Read() {
    std::array<char, std::size_t{64} << 10> block;
    const ssize_t got = ::read(descriptor(), block.data(), block.size());
    std::vector<FolderChange> changes;
    for (std::size_t at = 0; got > 0 && at < static_cast<std::size_t>(got);) {
        inotify_event event{};
        std::memcpy(&event, block.data() + at, sizeof event);
        const char* const name = block.data() + at + sizeof event;  // ends in a zero byte; absent if `len` is 0
        at += sizeof event + event.len;
        if ((event.mask & IN_Q_OVERFLOW) != 0) changes.push_back({FolderChange::Overflow, ""});
        if ((event.mask & IN_IGNORED) != 0) Forget(event.wd);
        const auto folder = folders_.find(event.wd);
        if (folder == folders_.end() || event.len == 0) continue;
        changes.push_back({KindOf(event.mask), (std::filesystem::path(folder->second) / name).string()});
    }
    return changes;
}

}  // namespace hueweave::tool
