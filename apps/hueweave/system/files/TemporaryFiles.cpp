// SPDX-License-Identifier: MIT
#include "system/files/TemporaryFiles.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <string_view>

#include "system/FileAccess.h"
#include "system/files/FolderNames.h"

namespace hueweave::tool {
namespace {

constexpr int kMostTries = 1000;            ///< attempts to find a name
constexpr std::size_t kMostFolders = 4096;  ///< that are remembered; a run without end may see any number
constexpr std::string_view kPrefix = ".hueweave-", kSuffix = ".tmp";
std::atomic<unsigned> temporaries{0};

/// Whether a name has the form used by `WithTemporaryName`: the number of a process and another number between prefix
/// and suffix.
bool IsTemporaryName(std::string_view name) {
    if (!name.starts_with(kPrefix) || !name.ends_with(kSuffix) || name.size() <= kPrefix.size() + kSuffix.size()) {
        return false;
    }
    name = name.substr(kPrefix.size(), name.size() - kPrefix.size() - kSuffix.size());
    return std::count(name.begin(), name.end(), '-') == 1 &&
           name.find_first_not_of("0123456789-") == std::string_view::npos;
}

/// Removes a temporary file of this user whose run has ended: a run holds the lock of its files while it exists.
bool RemoveStale(const std::string& path) {
    const FileAccess file(::open(path.c_str(), O_RDWR | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC), path);
    struct stat status {};
    if (file.descriptor() < 0 || ::fstat(file.descriptor(), &status) != 0) return false;
    if (!S_ISREG(status.st_mode) || status.st_uid != ::geteuid()) return false;
    return ::flock(file.descriptor(), LOCK_EX | LOCK_NB) == 0 && ::unlink(path.c_str()) == 0;
}

}  // namespace

TemporaryName WithTemporaryName(const std::string& folder, const std::function<int(const std::string&)>& make) {
    for (int tries = 0;; ++tries) {
        std::string path = folder + "/" + std::string(kPrefix) + std::to_string(::getpid()) + "-" +
                           std::to_string(temporaries++) + std::string(kSuffix);
        const int error = make(path);
        if (error != EEXIST || tries == kMostTries) return {std::move(path), error};
    }
}

bool LockTemporary(int descriptor) {
    // On file systems without locks, files are not locked and never removed.
    if (::flock(descriptor, LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK) return false;
    return true;
}

std::size_t SweptFolders::Sweep(const std::string& folder) {
    {
        const std::lock_guard lock(mutex_);
        if (done_.size() >= kMostFolders) done_.clear();
        if (!done_.insert(folder).second) return 0;
    }
    std::size_t removed = 0;
    int ignored = 0;
    for (const std::string& name : NamesInFolder(folder, ignored)) {
        if (IsTemporaryName(name)) removed += RemoveStale(std::string(folder).append("/").append(name));
    }
    return removed;
}

}  // namespace hueweave::tool
