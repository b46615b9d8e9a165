// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#pragma once

#include <chrono>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "batch/ConvertOptions.h"
#include "batch/InputList.h"
#include "batch/MadeFolders.h"
#include "batch/PageProfiles.h"
#include "batch/Report.h"
#include "batch/Resume.h"
#include "colour/ProfileCache.h"
#include "system/OutputFile.h"
#include "system/TemporaryFiles.h"
#include "tiff/rewrite/TiffRewriter.h"

namespace hueweave::tool {

/// What the files of a run share.
struct Session {
    const ConvertOptions& options;
    const InputList& list;
    Report& report;
    ProfileCache& cache;
    MadeFolders& folders;
    SweptFolders& swept;
    ResumeRecord* record;                  ///< null where none is kept
    std::optional<DeviceProfile> profile;  ///< the one that --profile names
};

enum class Outcome { Converted, Skipped, Planned };

/// Converts one file, or says what would happen. Refuses by `Refusal`, after which nothing is left behind.
class FileJob {
public:
    FileJob(Session& session, const Item& item, unsigned threads)
        : session_(session), options_(session.options), item_(item), threads_(threads) {}
    Outcome Run();

private:
    void Open();
    void CheckOutput();
    void CheckFolder() const;
    OutputFile::Existing Existing() const;
    void PlanPages();
    PageJob PlanPage(std::size_t page);
    bool IsConvertedInPlace() const;
    std::shared_ptr<const DeviceProfile> ProfileOf(std::size_t page);
    const DeviceProfile& Choose(const DeviceProfile* embedded);
    std::shared_ptr<const ReadyConverter> ConverterFor(const DeviceProfile& profile, unsigned bits);
    std::string OldTagsStay(bool one) const;
    bool IsNew(const TiffDirectory& directory, std::uint16_t tag);
    void NoteLosses(std::size_t page);
    void Write(std::chrono::steady_clock::time_point begin);
    std::unique_ptr<OutputFile> MakeOutput();
    void CheckSource() const;
    std::string Json(Outcome outcome, double seconds);
    std::string Fingerprint();
    void Note(const std::string& text);
    void Record(const FileAccess& output);
    void TellNotes();

    Session& session_;
    const ConvertOptions& options_;
    const Item& item_;
    unsigned threads_;
    std::string name_;  ///< of the source, for messages
    FileAccess source_;
    FileState opened_;  ///< the source when it was opened
    std::unique_ptr<TiffStructure> structure_;
    std::vector<TiffPage> pages_;
    std::unique_ptr<PageProfiles> profiles_;
    std::vector<std::shared_ptr<const ReadyConverter>> converters_;  ///< each once
    std::set<std::pair<std::uint64_t, std::uint64_t>> looked_;       ///< values looked through, by offset and size
    std::vector<PageJob> jobs_;
    std::string profileName_;
    std::string fingerprint_;
    std::vector<std::string> notes_;
    std::set<std::string> common_;  ///< notes that many files of a run share
    Measured measured_;
    std::string json_;  ///< what is told once the output has its name
};

}  // namespace hueweave::tool
