// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#include "batch/FileJob.h"

#include <chrono>

#include "batch/FilePlan.h"
#include "batch/FileReport.h"
#include "batch/FileWriter.h"
#include "batch/Fingerprint.h"
#include "batch/OutputTarget.h"
#include "batch/SourceFile.h"
#include "system/Refusal.h"

namespace hueweave::tool {

Outcome ConvertFile(const FileTask& task) {
    const auto begin = std::chrono::steady_clock::now();
    Session& session = task.session;
    const Item& item = task.item;
    const ConvertOptions& options = session.options;
    if (!item.refusal.empty()) throw Refusal(Exit::Output, item.source, item.refusal, "");
    const SourceFile source = OpenSource(item);
    const FileReport report(task, source);
    session.report.StartFile(source.name, source.file.Size());
    const std::string fingerprint = session.record != nullptr ? Fingerprint(session, source) : "";
    if (options.resume && session.record != nullptr && session.record->IsDone(item.relative, fingerprint)) {
        report.TellDone();
        return Outcome::Skipped;
    }
    CheckOutputPath(task);
    const FilePlan plan = PlanFile(session, source);
    if (plan.isConverted) {
        report.TellConvertedBefore(plan);
        return Outcome::Skipped;
    }
    if (options.dryRun) {
        CheckOutputFolder(task);
        report.TellPlanned(plan);
        return Outcome::Planned;
    }
    WrittenFile written = WriteFile(task, source, plan);
    const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - begin;
    const std::string json = report.Describe(plan, written, seconds.count());
    Publish(task, written, fingerprint);
    report.TellConverted(plan, written, json);
    return Outcome::Converted;
}

}  // namespace hueweave::tool
