// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>

#include "system/FileAccess.h"

namespace hueweave::tool {

/// A file that is created completely or not at all: it is written without a name in the folder of its target, and gets
/// its name after everything has reached the disk.
class OutputFile {
public:
    enum class Existing { Keep, Replace };

    /// Refuses an existing target unless it may be replaced; then its owner and mode are kept, or the target is
    /// refused. `wanted` is the expected existing file: the source of a conversion in place.
    OutputFile(std::string path, Existing existing, const std::optional<FileState>& wanted = {});
    ~OutputFile();
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;

    const FileAccess& file() const { return file_; }
    const std::string& folder() const { return folder_; }
    /// Flushes the file to disk.
    void Finish();
    /// Gives the file its name, after `Finish`. Refuses if the existing file is not the one found at first: it may have
    /// been created in the meantime and would be lost.
    void Commit();

private:
    [[noreturn]] void RefuseExisting() const;
    [[noreturn]] void RefuseChanged() const;
    void Look(const std::optional<FileState>& wanted, struct stat& old);
    void OpenUnnamed();
    void OpenNamed(mode_t mode);
    void KeepOwner(const struct stat& old);
    /// Both return the error number, or 0.
    int Link(const std::string& name) const;
    int RenameToNew() const;
    int RenameIfFree() const;
    void NameNew();
    void Replace();
    void SyncFolder(const FileAccess& folder);

    std::string path_;
    std::string folder_;
    Existing existing_;
    FileAccess file_;
    std::optional<FileState> replaced_;  ///< the existing file that will be replaced
    std::string temporary_;              ///< temporary name of the file, if any
};

/// The target of a link, so that the target is replaced and the link stays; any other path is returned unchanged.
std::string FollowLink(const std::string& path);
/// The existing file at the path of an output; refuses a file that may not be replaced.
void CheckTarget(const std::string& path, OutputFile::Existing existing);
/// Refuses a path whose folder is not writable, as far as file modes show this.
void CheckFolderOf(const std::string& path, OutputFile::Existing existing);

}  // namespace hueweave::tool
