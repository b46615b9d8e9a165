// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#pragma once

#include <optional>
#include <string>

#include "system/FileAccess.h"

namespace hueweave::tool {

/// A file that comes into being whole or not at all: it is written without a name in the folder of its target, and
/// gets its name after everything has reached the disk.
class OutputFile {
public:
    enum class Existing { Keep, Replace };

    /// Refuses a target that is there already, unless it may be replaced; then its owner and mode are kept, or it is
    /// refused. `wanted` is what has to stand there, the source of a conversion in place.
    OutputFile(std::string path, Existing existing, const std::optional<FileState>& wanted = {});
    ~OutputFile();
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;

    const FileAccess& file() const { return file_; }
    const std::string& folder() const { return folder_; }
    /// Writes through to the disk.
    void Finish();
    /// Gives the file its name, after `Finish`. Refuses if what stands there is not what stood there at first: it may
    /// have come meanwhile, and would be lost.
    void Commit();

private:
    [[noreturn]] void RefuseExisting() const;
    [[noreturn]] void RefuseChanged() const;
    void Look(const std::optional<FileState>& wanted, struct stat& old);
    void OpenUnnamed();
    void OpenNamed(mode_t mode);
    void KeepOwner(const struct stat& old);
    /// These two return the error number, 0 for none.
    int Link(const std::string& name) const;
    int RenameToNew() const;
    void NameNew();
    void Replace();
    void SyncFolder(const FileAccess& folder);

    std::string path_;
    std::string folder_;
    Existing existing_;
    FileAccess file_;
    std::optional<FileState> replaced_;  ///< what stands there and will be replaced
    std::string temporary_;              ///< name of the file meanwhile, where it has one
};

/// Where a link leads to, so that the file there is replaced and the link stays; any other path itself.
std::string FollowLink(const std::string& path);
/// What stands under a path that an output is meant for: refuses it if it may not be written there.
void CheckTarget(const std::string& path, OutputFile::Existing existing);
/// Refuses a path in whose folder nothing can be written, as far as modes tell it.
void CheckFolderOf(const std::string& path, OutputFile::Existing existing);

}  // namespace hueweave::tool
