// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "batch/file/plan/FilePlan.h"
#include "system/files/OutputFile.h"

namespace hueweave::tool {

/// An output that is complete, checked, recorded and flushed to disk, but has no name yet. It disappears unless
/// `Publish` is called.
struct WrittenFile {
    std::unique_ptr<OutputFile> output;  ///< null for standard output
    FileAccess spool;                    ///< the output if it goes to standard output
    FileVersion source;                  ///< of the source when it was opened
    Measured measured;
    std::vector<std::string> notes;          ///< whole lines
    std::optional<std::string> fingerprint;  ///< if a record is kept
};

/// Executes a plan. Refuses a source that changed in the meantime. If a record is kept and `fingerprint` is empty, the
/// fingerprint is computed from the data that the conversion reads, as far as they are read in order.
WrittenFile WriteFile(const FileTask& task, const SourceFile& source, const FilePlan& plan,
                      const std::optional<std::string>& fingerprint);

/// The first time for a folder of outputs, removes what killed runs left there. Returns a note about it, or "".
std::string SweepFolder(Session& session, const std::string& folder);

/// Gives an output its name, or copies it to standard output.
void Publish(const FileTask& task, const WrittenFile& written);

}  // namespace hueweave::tool
