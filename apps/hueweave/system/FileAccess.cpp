// SPDX-License-Identifier: MIT
#include "system/FileAccess.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>

#include "system/Refusal.h"
#include "system/Signals.h"

namespace hueweave::tool {
namespace {

constexpr std::size_t kCopyBlock = std::size_t{256} << 10;

/// Whether the process or the system has too many open files.
bool TooManyFiles(int error) { return error == EMFILE || error == ENFILE; }
constexpr const char* kFewerFiles = "lower -j, or raise the limit of open files";

[[noreturn]] void RefuseRead(const std::string& name, const std::string& why, int error = 0) {
    throw ReadFailure(Exit::Input, name, "cannot be read (" + why + ")",
                      TooManyFiles(error) ? kFewerFiles : "check the file and its permissions");
}

}  // namespace

void RefuseWrite(const std::string& name, int error) {
    const bool full = error == ENOSPC || error == EDQUOT || error == EFBIG;
    throw Refusal(Exit::Output, name, "cannot be written (" + ErrorText(error) + ")",
                  full                  ? "free some space, or choose another folder with -o"
                  : TooManyFiles(error) ? kFewerFiles
                                        : "choose another folder with -o");
}

std::string FolderOf(const std::string& path) {
    const std::string folder = std::filesystem::path(path).parent_path().string();
    return folder.empty() ? "." : folder;
}

std::string ErrorText(int error) { return std::strerror(error); }

FileIdentity IdentityOf(const struct stat& status) { return {status.st_dev, status.st_ino}; }

std::optional<FileIdentity> IdentityOf(const std::string& path) {
    struct stat status {};
    if (::stat(path.c_str(), &status) != 0) return std::nullopt;
    return IdentityOf(status);
}

FileVersion VersionOf(const struct stat& status) {
    return {status.st_size, status.st_mtim.tv_sec * 1000000000LL + status.st_mtim.tv_nsec};
}

FileState StateOf(const struct stat& status) { return {IdentityOf(status), VersionOf(status)}; }

FileAccess& FileAccess::operator=(FileAccess&& other) noexcept {
    if (this != &other) {
        Close();
        descriptor_ = std::exchange(other.descriptor_, -1);
        name_ = std::move(other.name_);
    }
    return *this;
}

void FileAccess::Close() {
    if (descriptor_ >= 0) ::close(descriptor_);
    descriptor_ = -1;
}

FileAccess FileAccess::OpenInput(const std::string& path) {
    // Non-blocking, to avoid waiting for the writer of a pipe.
    FileAccess file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK), path);
    if (file.descriptor_ < 0) RefuseRead(path, ErrorText(errno), errno);
    if (!S_ISREG(file.Status().st_mode)) RefuseRead(path, "not a regular file");
    return file;
}

OwnFile FileAccess::OpenOwn(const std::string& path, int flags) {
    FileAccess file(::open(path.c_str(), flags | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC, 0666), path);
    if (file.descriptor_ < 0) {
        const int error = errno;
        // A pipe without a reader cannot be opened for writing.
        return {{},
                error == ELOOP                      ? "is a symbolic link"
                : error == ENXIO || error == EISDIR ? "is not a regular file"
                                                    : "cannot be opened (" + ErrorText(error) + ")",
                error};
    }
    struct stat status {};
    if (::fstat(file.descriptor_, &status) != 0 || !S_ISREG(status.st_mode)) {
        return {{}, "is not a regular file", EINVAL};
    }
    if (status.st_nlink > 1) return {{}, "has other names (hard links)", EINVAL};
    return {std::move(file), "", 0};
}

FileAccess FileAccess::Scratch(const std::string& folder, const std::string& name) {
    int descriptor = ::open(folder.c_str(), O_RDWR | O_TMPFILE | O_CLOEXEC, 0600);
    if (descriptor < 0) {
        std::string path = folder + "/.hueweave-XXXXXX";
        descriptor = ::mkostemp(path.data(), O_CLOEXEC);
        if (descriptor < 0) RefuseWrite(name, errno);
        ::unlink(path.c_str());
    }
    return FileAccess(descriptor, name);
}

struct stat FileAccess::Status() const {
    struct stat status {};
    if (::fstat(descriptor_, &status) != 0) RefuseRead(name_, ErrorText(errno));
    return status;
}

void FileAccess::Read(std::uint64_t offset, void* data, std::size_t size) const {
    auto* to = static_cast<unsigned char*>(data);
    while (size > 0) {
        ThrowIfInterrupted();  // a file may require many reads, or be on a slow network
        const ssize_t got = ::pread(descriptor_, to, size, static_cast<off_t>(offset));
        if (got < 0 && errno == EINTR) continue;
        if (got < 0) RefuseRead(name_, ErrorText(errno));
        if (got == 0) {
            throw Refusal(Exit::Input, name_, "is truncated: it ends at byte " + std::to_string(offset),
                          "get a complete copy of the file");
        }
        to += got;
        offset += static_cast<std::uint64_t>(got);
        size -= static_cast<std::size_t>(got);
    }
}

Bytes FileAccess::Read(Extent extent) const {
    Bytes data(static_cast<std::size_t>(extent.size));
    Read(extent.offset, data.data(), data.size());
    return data;
}

void FileAccess::Write(std::uint64_t offset, const void* data, std::size_t size) const {
    const auto* from = static_cast<const unsigned char*>(data);
    while (size > 0) {
        ThrowIfInterrupted();
        const ssize_t put = ::pwrite(descriptor_, from, size, static_cast<off_t>(offset));
        if (put < 0 && errno == EINTR) continue;
        if (put < 0) RefuseWrite(name_, errno);
        from += put;
        offset += static_cast<std::uint64_t>(put);
        size -= static_cast<std::size_t>(put);
    }
}

void FileAccess::Resize(std::uint64_t size) const {
    if (::ftruncate(descriptor_, static_cast<off_t>(size)) != 0) RefuseWrite(name_, errno);
}

void CopyRange(const FileAccess& from, Extent range, const FileAccess& to, std::uint64_t target) {
    Bytes block(static_cast<std::size_t>(std::min<std::uint64_t>(kCopyBlock, range.size)));
    std::uint64_t at = range.offset;
    while (at < range.End()) {
        ThrowIfInterrupted();
        const off_t data = ::lseek(from.descriptor(), static_cast<off_t>(at), SEEK_DATA);
        if (data < 0 && errno == ENXIO) return;  // the rest is a hole
        if (data > 0) at = static_cast<std::uint64_t>(data);
        if (at >= range.End()) return;
        const off_t hole = ::lseek(from.descriptor(), static_cast<off_t>(at), SEEK_HOLE);
        const std::uint64_t end = hole > 0 ? std::min(range.End(), static_cast<std::uint64_t>(hole)) : range.End();
        while (at < end) {
            ThrowIfInterrupted();
            const auto size = static_cast<std::size_t>(std::min<std::uint64_t>(block.size(), end - at));
            from.Read(at, block.data(), size);
            to.Write(target + (at - range.offset), block.data(), size);
            at += size;
        }
    }
}

}  // namespace hueweave::tool
