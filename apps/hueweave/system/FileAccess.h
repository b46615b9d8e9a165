// SPDX-License-Identifier: MIT
#pragma once

#include <sys/stat.h>

#include <cerrno>
#include <compare>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace hueweave::tool {

using Bytes = std::vector<unsigned char>;

/// A range of a file: `size` bytes from `offset`.
struct Extent {
    std::uint64_t offset = 0;
    std::uint64_t size = 0;
    std::uint64_t End() const { return offset + size; }
};

/// Identifies a file, whatever its name.
struct FileIdentity {
    std::uint64_t device = 0, inode = 0;
    auto operator<=>(const FileIdentity&) const = default;  // NOLINT(modernize-use-nullptr): it compares with 0 itself
};
FileIdentity IdentityOf(const struct stat& status);
/// The identity of the file at a path, following links; null if there is none.
std::optional<FileIdentity> IdentityOf(const std::string& path);

/// The state of a file, to detect changes.
struct FileVersion {
    long long size = 0, modified = 0;                      ///< bytes; nanoseconds since 1970
    auto operator<=>(const FileVersion&) const = default;  // NOLINT(modernize-use-nullptr)
};
FileVersion VersionOf(const struct stat& status);

/// Identifies a file, as opposed to another one with the same name, and its state, as opposed to later changes.
struct FileState {
    FileIdentity identity;
    FileVersion version;
    bool operator==(const FileState&) const = default;
};
FileState StateOf(const struct stat& status);

struct OwnFile;

/// An open file that is read and written by position, so that threads can share it. Owns the descriptor.
class FileAccess {
public:
    FileAccess() = default;
    FileAccess(int descriptor, std::string name) : descriptor_(descriptor), name_(std::move(name)) {}
    FileAccess(FileAccess&& other) noexcept { *this = std::move(other); }
    FileAccess& operator=(FileAccess&& other) noexcept;
    ~FileAccess() { Close(); }

    /// Opens a regular file for reading; refuses anything else.
    static FileAccess OpenInput(const std::string& path);
    /// Opens a file with a well-known name that is for internal use only: follows no links, never waits, and requires a
    /// regular file with a single hard link. `flags` are those of open().
    static OwnFile OpenOwn(const std::string& path, int flags);
    /// An unnamed file in the folder for temporary files.
    static FileAccess Scratch(const std::string& folder, const std::string& name);

    int descriptor() const { return descriptor_; }
    const std::string& name() const { return name_; }
    struct stat Status() const;
    FileState State() const { return StateOf(Status()); }
    std::uint64_t Size() const { return static_cast<std::uint64_t>(Status().st_size); }

    /// Reads exactly `size` bytes; refuses a shorter file or a read error as an input error. A signal ends reading and
    /// writing with `Interrupted`.
    void Read(std::uint64_t offset, void* data, std::size_t size) const;
    Bytes Read(Extent extent) const;
    /// Writes all bytes; refuses an error, such as a full disk, as an output error.
    void Write(std::uint64_t offset, const void* data, std::size_t size) const;
    void Write(std::uint64_t offset, const Bytes& data) const { Write(offset, data.data(), data.size()); }
    void Resize(std::uint64_t size) const;
    void Close();

private:
    int descriptor_ = -1;
    std::string name_;
};

/// A file for internal use; not open if there was a problem.
struct OwnFile {
    FileAccess file;
    std::string problem;  ///< such as "is a symbolic link"; else empty
    int error = 0;        ///< its error number, or 0
};

/// Copies a range between files; holes of the source remain holes.
void CopyRange(const FileAccess& from, Extent range, const FileAccess& to, std::uint64_t target);

/// Refuses an output that cannot be written, with the remedy for that error number.
[[noreturn]] void RefuseWrite(const std::string& name, int error);
/// The folder that contains a path.
std::string FolderOf(const std::string& path);
/// The error number of a system call that has just returned `result`, or 0.
inline int ErrorOf(int result) { return result < 0 ? errno : 0; }
/// The text of an error number, for messages.
std::string ErrorText(int error);

}  // namespace hueweave::tool
