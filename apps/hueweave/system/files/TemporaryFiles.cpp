// SPDX-License-Identifier: MIT
#include "system/files/TemporaryFiles.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <ctime>
#include <string_view>

#include "system/FileAccess.h"
#include "system/Machine.h"
#include "system/files/FolderNames.h"

namespace hueweave::tool {
namespace {

constexpr int kMostTries = 1000;            ///< attempts to find a name
constexpr std::size_t kMostFolders = 4096;  ///< that are remembered; a run without end may see any number
constexpr std::time_t kOld = 3600;          ///< seconds since the last write; no run is idle that long
constexpr std::string_view kPrefix = ".hueweave-", kSuffix = ".tmp";
std::atomic<unsigned> temporaries{0};

bool IsNumber(std::string_view text) {
    return !text.empty() && text.find_first_not_of("0123456789") == std::string_view::npos;
}

/// The machine in a name made by `WithTemporaryName`, which is followed by the number of a process and another number;
/// empty for any other name.
std::string_view MachineOf(std::string_view name) {
    if (!name.starts_with(kPrefix) || !name.ends_with(kSuffix) || name.size() <= kPrefix.size() + kSuffix.size()) {
        return {};
    }
    name = name.substr(kPrefix.size(), name.size() - kPrefix.size() - kSuffix.size());
    const std::size_t process = name.find('-'), number = name.rfind('-');
    if (process == name.npos || process == number) return {};
    const bool isOurs = IsNumber(name.substr(process + 1, number - process - 1)) && IsNumber(name.substr(number + 1));
    return isOurs ? name.substr(0, process) : std::string_view();
}

/// Removes a temporary file of this user whose run has ended: a run holds the lock of its files while it exists. Some
/// network file systems show locks only on the machine that holds them, and some have none, so that a file of another
/// machine, or without a lock, must be old.
bool RemoveStale(const std::string& path, bool ofThisMachine) {
    const FileAccess file(::open(path.c_str(), O_RDWR | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC), path);
    struct stat status {};
    if (file.descriptor() < 0 || ::fstat(file.descriptor(), &status) != 0) return false;
    if (!S_ISREG(status.st_mode) || status.st_uid != ::geteuid()) return false;
    const bool isOld = ::time(nullptr) - status.st_mtim.tv_sec >= kOld;
    if (!ofThisMachine && !isOld) return false;
    const int error = ErrorOf(::flock(file.descriptor(), LOCK_EX | LOCK_NB));
    const bool isEnded = error == 0 || (error != EWOULDBLOCK && isOld);
    return isEnded && ::unlink(path.c_str()) == 0;
}

}  // namespace

TemporaryName WithTemporaryName(const std::string& folder, const std::function<int(const std::string&)>& make) {
    for (int tries = 0;; ++tries) {
        std::string path = folder + "/" + std::string(kPrefix) + MachineName() + "-" + std::to_string(::getpid()) +
                           "-" + std::to_string(temporaries++) + std::string(kSuffix);
        const int error = make(path);
        if (error != EEXIST || tries == kMostTries) return {std::move(path), error};
    }
}

bool LockTemporary(int descriptor) {
    // On file systems without locks, files are removed when they are old.
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
        const std::string_view machine = MachineOf(name);
        if (machine.empty()) continue;
        removed += RemoveStale(std::string(folder).append("/").append(name), machine == MachineName());
    }
    return removed;
}

}  // namespace hueweave::tool
