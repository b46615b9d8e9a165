// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "batch/file/FilePlan.h"
#include "system/OutputFile.h"

namespace hueweave::tool {

/// An output that is whole, checked and on the disk, but has no name yet. Without `Publish`, nothing is left of it.
struct WrittenFile {
    std::unique_ptr<OutputFile> output;  ///< null for standard output
    FileAccess spool;                    ///< what goes to standard output
    Measured measured;
    std::vector<std::string> notes;          ///< whole lines
    std::optional<std::string> fingerprint;  ///< where a record is kept
};

/// Does what was planned. Refuses a source that changed meanwhile. Where a record is kept and `fingerprint` is not
/// known yet, it is made from what is read anyhow, as far as that comes in order.
WrittenFile WriteFile(const FileTask& task, const SourceFile& source, const FilePlan& plan,
                      const std::optional<std::string>& fingerprint);

/// Records an output where a record is kept, and gives it its name; or sends it to standard output.
void Publish(const FileTask& task, const WrittenFile& written);

}  // namespace hueweave::tool
