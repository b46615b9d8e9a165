// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#pragma once

#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "Arguments.h"
#include "InputList.h"
#include "MadeFolders.h"
#include "OutputFile.h"
#include "ProfileCache.h"
#include "Report.h"
#include "Resume.h"
#include "TiffRewriter.h"

namespace hueweave::tool {

/// What the files of a run share.
struct Session {
    const ConvertArguments& arguments;
    const InputList& list;
    Report& report;
    ProfileCache& cache;
    MadeFolders& folders;
    ResumeRecord* record;                  ///< null where none is kept
    std::optional<DeviceProfile> profile;  ///< the one that --profile names
};

enum class Outcome { Converted, Skipped, Planned };

/// Converts one file, or says what would happen. Refuses by `Refusal`, after which nothing is left behind.
class FileJob {
public:
    FileJob(Session& session, const Item& item, unsigned threads)
        : session_(session), arguments_(session.arguments), item_(item), threads_(threads) {}
    Outcome Run();

private:
    void Open();
    void CheckOutput();
    void CheckFolder() const;
    OutputFile::Existing Existing() const;
    void PlanPages();
    PageJob PlanPage(std::size_t page);
    bool IsConvertedInPlace() const;
    DeviceProfile ProfileOf(std::size_t page);
    DeviceProfile Choose(const std::optional<DeviceProfile>& embedded);
    std::string OldTagsStay(bool one) const;
    void NoteLosses(std::size_t page);
    void Write();
    void WriteJson(Outcome outcome, double seconds);
    std::string Fingerprint();
    void Note(const std::string& text);
    void Record(const FileAccess& output);
    void TellNotes();

    Session& session_;
    const ConvertArguments& arguments_;
    const Item& item_;
    unsigned threads_;
    std::string name_;  ///< of the source, for messages
    FileAccess source_;
    std::unique_ptr<TiffStructure> structure_;
    std::vector<TiffPage> pages_;
    std::vector<std::optional<DeviceProfile>> profiles_;  ///< by directory, for those below it
    std::vector<std::shared_ptr<const ReadyConverter>> converters_;
    std::vector<PageJob> jobs_;
    std::string profileName_;
    std::string fingerprint_;
    std::vector<std::string> notes_;
    std::set<std::string> common_;  ///< notes that many files of a run share
    Measured measured_;
};

}  // namespace hueweave::tool
