// SPDX-License-Identifier: MIT
#include "batch/session/MadeFolders.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

#include "system/FileAccess.h"
#include "system/Refusal.h"

namespace hueweave::tool {
namespace {

bool IsThere(const std::string& path) {
    struct stat status {};
    return ::stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

[[noreturn]] void RefuseFolder(const std::string& folder, int error) {
    throw Refusal(Exit::Output, folder, "cannot be made (" + ErrorText(error) + ")", "choose another folder with -o");
}

}  // namespace

MadeFolders::~MadeFolders() {
    if (stay_) return;
    std::for_each(made_.rbegin(), made_.rend(), [](const std::string& folder) { ::rmdir(folder.c_str()); });
}

int MadeFolders::MakeOne(const std::string& folder) {
    if (IsThere(folder)) return 0;
    const std::string above = FolderOf(folder);
    if (above != "." && above != folder) {
        if (const int error = MakeOne(above)) return error;
    }
    const int error = ErrorOf(::mkdir(folder.c_str(), 0777));
    if (error == 0 && !stay_) made_.push_back(folder);
    if (error != EEXIST) return error;
    return IsThere(folder) ? 0 : ENOTDIR;  // another run may have created it in the meantime
}

void MadeFolders::Make(const std::string& folder) {
    const std::lock_guard lock(mutex_);
    if (const int error = MakeOne(folder)) RefuseFolder(folder, error);
}

void MadeFolders::Check(const std::string& folder) {
    std::string there = folder;
    struct stat status {};
    while (::stat(there.c_str(), &status) != 0) {
        if (errno != ENOENT || FolderOf(there) == there) RefuseFolder(folder, errno);
        there = FolderOf(there);
    }
    if (!S_ISDIR(status.st_mode)) RefuseFolder(folder, ENOTDIR);
    if (::faccessat(AT_FDCWD, there.c_str(), W_OK | X_OK, AT_EACCESS) != 0) RefuseFolder(folder, errno);
}

}  // namespace hueweave::tool
