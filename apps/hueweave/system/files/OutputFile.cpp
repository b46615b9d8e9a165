// SPDX-License-Identifier: MIT
#include "system/files/OutputFile.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <utility>

#include "system/Refusal.h"
#include "system/files/TemporaryFiles.h"

namespace hueweave::tool {
namespace {

/// The path of an open descriptor, for calls that require a path.
std::string SelfPath(int descriptor) { return "/proc/self/fd/" + std::to_string(descriptor); }

[[noreturn]] void RefuseOwner(const std::string& path, int error) {
    throw Refusal(Exit::Output, path,
                  "belongs to a user or group that a new file cannot keep (" + ErrorText(error) + ")",
                  "convert it as that user, or write to another file with -o");
}

}  // namespace

std::string FollowLink(const std::string& path) {
    std::error_code error;
    if (!std::filesystem::is_symlink(path, error)) return path;
    const auto real = std::filesystem::canonical(path, error);
    return error ? path : real.string();
}

void CheckTarget(const std::string& path, OutputFile::Existing existing) {
    struct stat status {};
    if (::lstat(path.c_str(), &status) != 0) {
        if (errno == ENOENT) return;
        RefuseWrite(path, errno);
    }
    if (existing == OutputFile::Existing::Keep) {
        throw Refusal(Exit::Output, path, "exists already", "replace it with --force, or choose another name");
    }
    if (::stat(path.c_str(), &status) != 0 || !S_ISREG(status.st_mode)) {
        throw Refusal(Exit::Output, path, "exists already and is not a file", "choose another name");
    }
    if (::faccessat(AT_FDCWD, path.c_str(), W_OK, AT_EACCESS) == 0) return;
    if (errno != EACCES) RefuseWrite(path, errno);
    throw Refusal(Exit::Output, path, "is read-only",
                  "allow writing to it (chmod u+w), or choose another name with -o");
}

void CheckFolderOf(const std::string& path, OutputFile::Existing existing) {
    const std::string folder = FolderOf(existing == OutputFile::Existing::Replace ? FollowLink(path) : path);
    struct stat status {};
    if (::stat(folder.c_str(), &status) != 0) RefuseWrite(path, errno);
    if (!S_ISDIR(status.st_mode)) RefuseWrite(path, ENOTDIR);
    if (::faccessat(AT_FDCWD, folder.c_str(), W_OK | X_OK, AT_EACCESS) != 0) RefuseWrite(path, errno);
    const bool replaced = existing == OutputFile::Existing::Replace && ::stat(path.c_str(), &status) == 0;
    if (replaced && ::geteuid() != 0 && status.st_uid != ::geteuid()) RefuseOwner(path, EPERM);
}

OutputFile::OutputFile(std::string path, Existing existing, const std::optional<FileState>& wanted)
    : path_(existing == Existing::Replace ? FollowLink(path) : std::move(path)),
      folder_(FolderOf(path_)),
      existing_(existing) {
    CheckTarget(path_, existing_);
    struct stat old {};
    if (existing_ == Existing::Replace) Look(wanted, old);
    OpenUnnamed();
    if (!replaced_) return;
    try {
        KeepOwner(old);
    } catch (...) {
        if (!temporary_.empty()) ::unlink(temporary_.c_str());
        throw;
    }
}

/// Records the existing file that will be replaced.
void OutputFile::Look(const std::optional<FileState>& wanted, struct stat& old) {
    const bool there = ::lstat(path_.c_str(), &old) == 0;
    if (!there && errno != ENOENT) RefuseWrite(path_, errno);
    if (there) replaced_ = StateOf(old);
    if (wanted && replaced_ != wanted) RefuseChanged();
}

/// Sets owner, group and mode of the new file to those of the old one before anything is written.
void OutputFile::KeepOwner(const struct stat& old) {
    const struct stat ours = file_.Status();
    const bool same = old.st_uid == ours.st_uid && old.st_gid == ours.st_gid;
    if (!same && ::fchown(file_.descriptor(), old.st_uid, old.st_gid) != 0) RefuseOwner(path_, errno);
    constexpr mode_t kBits = 07777;
    if (old.st_mode != ours.st_mode && ::fchmod(file_.descriptor(), old.st_mode & kBits) != 0) {
        RefuseWrite(path_, errno);
    }
}

/// For file systems that do not support unnamed files.
void OutputFile::OpenNamed(mode_t mode) {
    std::string name = path_;  // allocate before creating the file
    int descriptor = -1;
    auto [path, error] = WithTemporaryName(folder_, [&](const std::string& tried) {
        descriptor = ::open(tried.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, mode);
        if (descriptor < 0) return errno;
        struct stat status {};
        if (LockTemporary(descriptor) && ::fstat(descriptor, &status) == 0 && status.st_nlink > 0) return 0;
        ::close(descriptor);  // another run considers the file abandoned and removes it
        return EEXIST;
    });
    if (error != 0) RefuseWrite(path_, error);
    temporary_ = std::move(path);
    file_ = FileAccess(descriptor, std::move(name));
}

void OutputFile::OpenUnnamed() {
    std::string name = path_;  // allocate before creating the file
    // No other user may read the file until it has the mode of the file that it replaces.
    const mode_t mode = replaced_ ? 0600 : 0666;
    const int descriptor = ::open(folder_.c_str(), O_RDWR | O_TMPFILE | O_CLOEXEC, mode);
    if (descriptor < 0) {
        const int error = errno;
        if (error == EOPNOTSUPP || error == EISDIR || error == EINVAL) return OpenNamed(mode);
        RefuseWrite(path_, error);
    }
    file_ = FileAccess(descriptor, std::move(name));
    // Without /proc, as in some containers, the file could not get its name later.
    if (::access(SelfPath(descriptor).c_str(), F_OK) != 0) {
        file_.Close();
        return OpenNamed(mode);
    }
    LockTemporary(descriptor);  // before it has a name that another run can see
}

OutputFile::~OutputFile() {
    if (!temporary_.empty()) ::unlink(temporary_.c_str());
}

void OutputFile::RefuseExisting() const {
    throw Refusal(Exit::Output, path_, "exists already", "replace it with --force, or choose another name");
}

void OutputFile::RefuseChanged() const {
    throw Refusal(Exit::Output, path_, "was replaced or changed by another program meanwhile, and stays as it is",
                  "convert it again");
}

void OutputFile::Finish() {
    if (::fsync(file_.descriptor()) != 0) RefuseWrite(path_, errno);
}

int OutputFile::Link(const std::string& name) const {
    return ErrorOf(::linkat(AT_FDCWD, SelfPath(file_.descriptor()).c_str(), AT_FDCWD, name.c_str(), AT_SYMLINK_FOLLOW));
}

int OutputFile::RenameToNew() const {
    int error = ErrorOf(::renameat2(AT_FDCWD, temporary_.c_str(), AT_FDCWD, path_.c_str(), RENAME_NOREPLACE));
    if (error != EINVAL) return error;
    // The file system cannot check whether the name exists.
    error = ErrorOf(::link(temporary_.c_str(), path_.c_str()));
    if (error == 0) ::unlink(temporary_.c_str());
    const bool hasNoLinks = error == EPERM || error == EOPNOTSUPP || error == ENOSYS;
    return hasNoLinks ? RenameIfFree() : error;
}

/// For file systems that can do neither, such as some in user space. Two runs with the same output leave that of the
/// later one, which is whole.
int OutputFile::RenameIfFree() const {
    struct stat status {};
    if (::lstat(path_.c_str(), &status) == 0) return EEXIST;
    return errno == ENOENT ? ErrorOf(::renameat2(AT_FDCWD, temporary_.c_str(), AT_FDCWD, path_.c_str(), 0)) : errno;
}

void OutputFile::NameNew() {
    const int error = temporary_.empty() ? Link(path_) : RenameToNew();
    if (error == 0) return temporary_.clear();
    if (error != EEXIST) RefuseWrite(path_, error);
    if (existing_ == Existing::Replace) RefuseChanged();
    RefuseExisting();
}

void OutputFile::Replace() {
    // A link cannot replace a file, so a temporary name is needed. Creating it this late leaves hardly any time in
    // which a kill would leave the file behind.
    if (temporary_.empty()) {
        auto [name, error] = WithTemporaryName(folder_, [this](const std::string& path) { return Link(path); });
        if (error != 0) RefuseWrite(path_, error);
        temporary_ = std::move(name);
    }
    struct stat now {};
    if (::lstat(path_.c_str(), &now) != 0 || StateOf(now) != replaced_) RefuseChanged();
    if (::renameat2(AT_FDCWD, temporary_.c_str(), AT_FDCWD, path_.c_str(), 0) != 0) RefuseWrite(path_, errno);
    temporary_.clear();
}

/// Flushes the folder, so that the name survives a power failure.
void OutputFile::SyncFolder(const FileAccess& folder) {
    // If the folder cannot be opened or flushed by itself, the whole file system is flushed.
    int error = folder.descriptor() >= 0 ? ErrorOf(::fsync(folder.descriptor())) : EINVAL;
    if (error == EINVAL) error = ErrorOf(::syncfs(file_.descriptor()));
    if (error == 0) return;
    if (replaced_) {
        throw Refusal(Exit::Output, path_,
                      "is replaced, but may be the old file after a power cut (" + ErrorText(error) + ")",
                      "check the disk");
    }
    struct stat now {};
    const bool same = ::lstat(path_.c_str(), &now) == 0 && IdentityOf(now) == file_.State().identity;
    if (same) ::unlink(path_.c_str());
    RefuseWrite(path_, error);
}

void OutputFile::Commit() {
    // Opened before the file gets its name, because this allocates memory.
    const FileAccess folder(::open(folder_.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC), folder_);
    if (replaced_) {
        Replace();
    } else {
        NameNew();
    }
    SyncFolder(folder);
}

}  // namespace hueweave::tool
