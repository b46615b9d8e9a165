// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#pragma once

#include <string>

#include "FileAccess.h"

namespace hueweave::tool {

/// A file that comes into being whole or not at all: it is written without a name in the folder of its target, and
/// gets its name after everything has reached the disk.
class OutputFile {
public:
    enum class Existing { Keep, Replace };

    /// Refuses a target that is there already, unless it may be replaced; then its mode is kept.
    OutputFile(std::string path, Existing existing);
    ~OutputFile();
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;

    const FileAccess& file() const { return file_; }
    /// Writes through to the disk.
    void Finish();
    /// Gives the file its name, after `Finish`.
    void Commit();

private:
    [[noreturn]] void RefuseExisting() const;
    void OpenUnnamed();

    std::string path_;
    std::string folder_;
    Existing existing_;
    FileAccess file_;
    std::string temporary_;  ///< name of the file meanwhile, on file systems that want one
};

/// What stands under a path that an output is meant for: refuses it if it may not be written there.
void CheckTarget(const std::string& path, OutputFile::Existing existing);
/// Refuses a path in whose folder nothing can be written, as far as modes tell it.
void CheckFolderOf(const std::string& path, OutputFile::Existing existing);

}  // namespace hueweave::tool
