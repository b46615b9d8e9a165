// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#pragma once

#include <string>

#include "batch/file/FileWriter.h"
#include "system/Json.h"

namespace hueweave::tool {

/// Tells what became of one file, with what is known of it by then.
class FileReport {
public:
    /// Borrows both.
    FileReport(const FileTask& task, const SourceFile& source) : task_(task), source_(source) {}

    /// An earlier run converted it.
    void TellDone() const;
    /// Its profile says that it is converted.
    void TellConvertedBefore(const FilePlan& plan) const;
    void TellPlanned(const FilePlan& plan) const;
    /// The line of JSON about a conversion, empty where none is wanted. It is made before the output has its name:
    /// without memory for the text there is to be no file.
    std::string Describe(const FilePlan& plan, WrittenFile& written, double seconds) const;
    /// Passes that line on, after the output has got its name: from then on, a lack of memory loses no more than text.
    void TellConverted(const FilePlan& plan, const WrittenFile& written, const std::string& json) const;

private:
    std::string OutputName() const;
    /// With --verbose, the way of the first page and its error, after a comma.
    std::string WayOf(const FilePlan& plan) const;
    void TellNotes(const FileNotes& notes) const;
    /// `plan` is null where there is none.
    void TellJson(const char* status, const FilePlan* plan) const;
    nlohmann::ordered_json Begin(const char* status, const FilePlan* plan) const;

    const FileTask& task_;
    const SourceFile& source_;
};

}  // namespace hueweave::tool
