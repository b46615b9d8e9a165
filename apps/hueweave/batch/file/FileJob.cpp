// SPDX-License-Identifier: MIT
#include "batch/file/FileJob.h"

#include <chrono>
#include <optional>
#include <string>

#include "batch/file/FileReport.h"
#include "batch/file/FileWriter.h"
#include "batch/file/Fingerprint.h"
#include "batch/file/OutputTarget.h"
#include "batch/file/plan/FilePlan.h"
#include "batch/file/plan/SourceFile.h"
#include "system/Refusal.h"

namespace hueweave::tool {
namespace {

bool MayBeDone(const FileTask& task) {
    const Session& session = task.session;
    return session.options.resume != Resume::No && session.record != nullptr &&
           session.record->Knows(task.item.relative);
}

/// Whether --resume=fast recognises the file.
bool IsDoneBySizeAndTime(const FileTask& task, const SourceFile& source) {
    const Session& session = task.session;
    return session.options.resume == Resume::Fast && MayBeDone(task) &&
           session.record->IsDone(task.item.relative, SettingsHash(session), source.opened.version);
}

/// The fingerprint of a file that an earlier run may have converted. Nothing for other files: theirs is computed during
/// the conversion.
std::optional<std::string> EarlyFingerprint(const FileTask& task, const SourceFile& source) {
    if (!MayBeDone(task)) return {};
    return Fingerprint(task.session, source).Finish();
}

/// A file that is done may have been written to its folder beside one of a killed run.
Result Skip(const FileTask& task, const FileReport& report) {
    if (!task.session.options.dryRun) {
        if (const std::string note = SweepFolder(task.session, FolderOf(task.item.output)); !note.empty()) {
            task.session.report.Note(note);
        }
    }
    report.TellDone();
    return {Outcome::Skipped};
}

/// The plan for a file. With --others copy, one that is not RGB is planned to be copied, and with --others skip or in
/// place there is no plan for it, but only its `kind`.
std::optional<FilePlan> PlanOf(const Session& session, const SourceFile& source, std::string& kind) {
    try {
        return PlanFile(session, source);
    } catch (const Refusal& refusal) {
        const Others others = session.options.others;
        if (others == Others::Refuse || !refusal.kind() || !refusal.kind()->notRgb) throw;
        kind = refusal.kind()->name;
        if (others == Others::Skip || session.options.inPlace) return std::nullopt;
        return PlanCopy(source);
    }
}

}  // namespace

Result ConvertFile(const FileTask& task) {
    const auto begin = std::chrono::steady_clock::now();
    Session& session = task.session;
    const Item& item = task.item;
    const ConvertOptions& options = session.options;
    if (!item.refusal.empty()) throw Refusal(Exit::Output, item.source, item.refusal, "");
    const SourceFile source = OpenSource(item);
    const FileReport report(task, source);
    session.report.StartFile(source.name, source.file.Size());
    if (IsDoneBySizeAndTime(task, source)) return Skip(task, report);
    const std::optional<std::string> fingerprint = EarlyFingerprint(task, source);
    if (fingerprint && session.record->IsDone(item.relative, *fingerprint)) return Skip(task, report);
    CheckOutputPath(task);
    std::string kind;
    const std::optional<FilePlan> planned = PlanOf(session, source, kind);
    if (!planned) {
        report.TellLeftOut(kind);
        if (session.record != nullptr && !options.dryRun) {
            session.record->Add(FailedLine{item.relative, item.source, kind, true, Now()});
        }
        return {Outcome::LeftOut, 0, kind};
    }
    const FilePlan& plan = *planned;
    CheckOutputFormat(task, source.file);
    if (plan.isConverted || (plan.isCopy && options.inPlace)) {
        report.TellConvertedBefore(plan);
        return {Outcome::Skipped};
    }
    const Outcome outcome = kind.empty() ? Outcome::Converted : Outcome::Copied;
    if (options.dryRun) {
        CheckOutputFolder(task);
        report.TellPlanned(plan, kind);
        return {outcome, plan.images->Pixels(), kind};
    }
    WrittenFile written = WriteFile(task, source, plan, fingerprint);
    const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - begin;
    const std::string json = report.Describe(plan, kind, written, seconds.count());
    Publish(task, written);
    report.TellConverted(plan, kind, written, json);
    return {outcome, written.measured.pixels, kind};
}

}  // namespace hueweave::tool
