// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#include "batch/file/FileJob.h"

#include <chrono>
#include <optional>
#include <string>

#include "batch/file/FilePlan.h"
#include "batch/file/FileReport.h"
#include "batch/file/FileWriter.h"
#include "batch/file/Fingerprint.h"
#include "batch/file/OutputTarget.h"
#include "batch/file/SourceFile.h"
#include "system/Refusal.h"

namespace hueweave::tool {
namespace {

/// The fingerprint of a file that an earlier run may have converted. Nothing for other files: theirs is computed during
/// the conversion.
std::optional<std::string> EarlyFingerprint(const FileTask& task, const SourceFile& source) {
    const Session& session = task.session;
    if (!session.options.resume || session.record == nullptr || !session.record->Knows(task.item.relative)) return {};
    return Fingerprint(session, source).Finish();
}

}  // namespace

Outcome ConvertFile(const FileTask& task) {
    const auto begin = std::chrono::steady_clock::now();
    Session& session = task.session;
    const Item& item = task.item;
    const ConvertOptions& options = session.options;
    if (!item.refusal.empty()) throw Refusal(Exit::Output, item.source, item.refusal, "");
    const SourceFile source = OpenSource(item);
    const FileReport report(task, source);
    session.report.StartFile(source.name, source.file.Size());
    const std::optional<std::string> fingerprint = EarlyFingerprint(task, source);
    if (fingerprint && session.record->IsDone(item.relative, *fingerprint)) {
        report.TellDone();
        return Outcome::Skipped;
    }
    CheckOutputPath(task);
    const FilePlan plan = PlanFile(session, source);
    if (plan.isConverted || (plan.isCopy && options.inPlace)) {
        report.TellConvertedBefore(plan);
        return Outcome::Skipped;
    }
    if (options.dryRun) {
        CheckOutputFolder(task);
        report.TellPlanned(plan);
        return Outcome::Planned;
    }
    WrittenFile written = WriteFile(task, source, plan, fingerprint);
    const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - begin;
    const std::string json = report.Describe(plan, written, seconds.count());
    Publish(task, written);
    report.TellConverted(plan, written, json);
    return Outcome::Converted;
}

}  // namespace hueweave::tool
