// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#include "OutputFile.h"

#include <fcntl.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <utility>

#include "Refusal.h"

namespace hueweave::tool {
namespace {

constexpr int kMostTries = 1000;  ///< to find a name
std::atomic<unsigned> temporaries{0};

/// A file of a name in the folder that nobody else has. `make` makes it and returns a number below 0 where it cannot.
/// Returns that number and the name. Names may be taken: by a killed run of the same process number.
template <typename Make>
std::pair<int, std::string> WithTemporaryName(const std::string& folder, const Make& make) {
    for (int tries = 0;; ++tries) {
        const std::string name =
            folder + "/.hueweave-" + std::to_string(::getpid()) + "-" + std::to_string(temporaries++) + ".tmp";
        const int made = make(name);
        if (made >= 0 || errno != EEXIST || tries == kMostTries) return {made, name};
    }
}

/// A link is followed, so that the file that it leads to is replaced and the link stays.
std::string FollowLink(const std::string& path) {
    std::error_code error;
    if (!std::filesystem::is_symlink(path, error)) return path;
    const auto real = std::filesystem::canonical(path, error);
    return error ? path : real.string();
}

}  // namespace

void CheckTarget(const std::string& path, OutputFile::Existing existing) {
    struct stat status {};
    if (::lstat(path.c_str(), &status) != 0) {
        if (errno == ENOENT) return;
        RefuseWrite(path, errno);
    }
    if (existing == OutputFile::Existing::Keep) {
        throw Refusal(Exit::Output, path, "is there already", "replace it with --force, or choose another name");
    }
    if (::stat(path.c_str(), &status) != 0 || !S_ISREG(status.st_mode)) {
        throw Refusal(Exit::Output, path, "is there already and is no file", "choose another name");
    }
}

void CheckFolderOf(const std::string& path, OutputFile::Existing existing) {
    const std::string folder = FolderOf(existing == OutputFile::Existing::Replace ? FollowLink(path) : path);
    struct stat status {};
    if (::stat(folder.c_str(), &status) != 0) RefuseWrite(path, errno);
    if (!S_ISDIR(status.st_mode)) RefuseWrite(path, ENOTDIR);
    if (::faccessat(AT_FDCWD, folder.c_str(), W_OK | X_OK, AT_EACCESS) != 0) RefuseWrite(path, errno);
}

OutputFile::OutputFile(std::string path, Existing existing)
    : path_(existing == Existing::Replace ? FollowLink(path) : std::move(path)),
      folder_(FolderOf(path_)),
      existing_(existing) {
    CheckTarget(path_, existing_);
    OpenUnnamed();
    struct stat before {};
    if (existing_ == Existing::Replace && ::stat(path_.c_str(), &before) == 0) {
        // The owner can be kept by the superuser alone; anybody else keeps what is possible.
        if (::fchown(file_.descriptor(), before.st_uid, before.st_gid) != 0) errno = 0;
        ::fchmod(file_.descriptor(), before.st_mode & 07777);
    }
}

void OutputFile::OpenUnnamed() {
    constexpr mode_t kMode = 0666;
    int descriptor = ::open(folder_.c_str(), O_RDWR | O_TMPFILE | O_CLOEXEC, kMode);
    if (descriptor < 0 && (errno == EOPNOTSUPP || errno == EISDIR || errno == EINVAL)) {
        const auto [named, name] = WithTemporaryName(folder_, [](const std::string& path) {
            return ::open(path.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, kMode);
        });
        descriptor = named;
        if (descriptor >= 0) temporary_ = name;
    }
    if (descriptor < 0) RefuseWrite(path_, errno);
    file_ = FileAccess(descriptor, path_);
}

OutputFile::~OutputFile() {
    if (!temporary_.empty()) ::unlink(temporary_.c_str());
}

void OutputFile::RefuseExisting() const {
    throw Refusal(Exit::Output, path_, "is there already", "replace it with --force, or choose another name");
}

void OutputFile::Finish() {
    if (::fsync(file_.descriptor()) != 0) RefuseWrite(path_, errno);
}

void OutputFile::Commit() {
    if (temporary_.empty()) {
        const std::string self = "/proc/self/fd/" + std::to_string(file_.descriptor());
        const auto link = [&](const std::string& name) {
            return ::linkat(AT_FDCWD, self.c_str(), AT_FDCWD, name.c_str(), AT_SYMLINK_FOLLOW);
        };
        if (existing_ == Existing::Keep && link(path_) != 0) {
            if (errno == EEXIST) RefuseExisting();
            RefuseWrite(path_, errno);
        }
        if (existing_ == Existing::Replace) {
            const auto [linked, name] = WithTemporaryName(folder_, link);
            if (linked != 0) RefuseWrite(path_, errno);
            temporary_ = name;
        }
    }
    if (!temporary_.empty()) {
        const unsigned flags = existing_ == Existing::Keep ? RENAME_NOREPLACE : 0;
        int result = ::renameat2(AT_FDCWD, temporary_.c_str(), AT_FDCWD, path_.c_str(), flags);
        if (result != 0 && flags != 0 && errno == EINVAL) {
            result = ::link(temporary_.c_str(), path_.c_str());
            if (result == 0) ::unlink(temporary_.c_str());
        }
        if (result != 0) {
            if (errno == EEXIST) RefuseExisting();
            RefuseWrite(path_, errno);
        }
        temporary_.clear();
    }
    const FileAccess folder(::open(folder_.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC), folder_);
    if (folder.descriptor() >= 0) ::fsync(folder.descriptor());
}

}  // namespace hueweave::tool
