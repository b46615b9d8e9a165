// SPDX-License-Identifier: MIT
#pragma once

#include <string>

#include "batch/file/FileWriter.h"
#include "system/Json.h"

namespace hueweave::tool {

/// Reports the result for one file, with the details known at the time of the call.
class FileReport {
public:
    /// Borrows both.
    FileReport(const FileTask& task, const SourceFile& source) : task_(task), source_(source) {}

    /// Reports that the record lists the output: an earlier run converted the file.
    void TellDone() const;
    /// Reports that the file is in the output's colours already.
    void TellConvertedBefore(const FilePlan& plan) const;
    /// Reports a file that is not RGB and has no output. `kind` is its kind here and below, empty for an RGB file.
    void TellLeftOut(const std::string& kind) const;
    void TellPlanned(const FilePlan& plan, const std::string& kind) const;
    /// The line of JSON for a conversion; empty without --json. Created before the output gets its name, so that no
    /// output is published if there is not enough memory for the line.
    std::string Describe(const FilePlan& plan, const std::string& kind, WrittenFile& written, double seconds) const;
    /// Prints the notes, the result and the line of JSON, after the output has got its name. If memory runs out, only
    /// messages are lost.
    void TellConverted(const FilePlan& plan, const std::string& kind, const WrittenFile& written,
                       const std::string& json) const;

private:
    std::string OutputName() const;
    /// The way and the error of the first page; empty without --verbose.
    std::string WayOf(const FilePlan& plan) const;
    /// Why a file is copied.
    std::string WhyCopied(const std::string& kind) const;
    void TellNotes(const FileNotes& notes) const;
    /// `plan` is null if the file was not planned.
    void TellJson(const char* status, const FilePlan* plan, const std::string& kind = {}) const;
    nlohmann::ordered_json Begin(const char* status, const FilePlan* plan, const std::string& kind) const;

    const FileTask& task_;
    const SourceFile& source_;
};

}  // namespace hueweave::tool
