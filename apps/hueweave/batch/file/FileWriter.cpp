// SPDX-License-Identifier: MIT
#include "batch/file/FileWriter.h"

#include <fmt/format.h>
#include <sys/stat.h>

#include <atomic>
#include <functional>
#include <optional>

#include "batch/file/Fingerprint.h"
#include "batch/file/OutputTarget.h"
#include "system/Refusal.h"
#include "system/Signals.h"
#include "system/StandardStreams.h"

namespace hueweave::tool {
namespace {

/// Bytes that the process needs in addition to the pixel buffers.
constexpr std::uint64_t kOwnMemory = std::uint64_t{24} << 20;

std::uint64_t BufferMemory(std::uint64_t all) { return all > 2 * kOwnMemory ? all - kOwnMemory : kOwnMemory / 3; }

/// Creates the output file and, before it, its folder and the record.
void MakeOutput(const FileTask& task, const SourceFile& source, WrittenFile& written) {
    Session& session = task.session;
    const std::string& path = task.item.output;
    if (!session.list.folder.empty()) session.folders.Make(FolderOf(path));
    if (session.record != nullptr) session.record->Begin();
    const OutputFile::Existing existing = ExistingRule(session.options);
    struct stat old {};
    if (existing == OutputFile::Existing::Replace && ::stat(path.c_str(), &old) == 0 && old.st_nlink > 1) {
        written.notes.push_back(source.name + ": has other names (hard links), which keep the old contents");
    }
    const auto wanted = session.options.inPlace ? std::optional(source.opened) : std::nullopt;
    written.output = std::make_unique<OutputFile>(path, existing, wanted);
    if (std::string note = SweepFolder(session, written.output->folder()); !note.empty()) {
        written.notes.push_back(std::move(note));
    }
}

/// Adds an output that is complete to the record and flushes both. The line comes first: a file system with a journal
/// then flushes both at once, and it has no effect before the output has its name. Some network file systems set the
/// time of a file when it is flushed; then there is another line. If the record cannot be written, the output is
/// published with a note.
void FlushWithRecord(const FileTask& task, const WrittenFile& written) {
    ResumeRecord* const record = task.session.record;
    if (record == nullptr) return written.output->Finish();
    const FileAccess& file = written.output->file();
    bool isRecorded = false;
    const auto write = [&](const std::function<void()>& step) {
        try {
            step();
            isRecorded = true;
        } catch (const Refusal& refusal) {
            isRecorded = false;
            task.session.report.Note(refusal.what());
        }
    };
    DoneLine line{task.item.relative, written.fingerprint.value(), SettingsHash(task.session), file.State().version,
                  written.source,     written.measured.pixels};
    write([&] { record->Add(line); });
    written.output->Finish();
    if (!isRecorded) return;
    const FileVersion flushed = file.State().version;
    write([&] {
        if (line.version != flushed) {
            line.version = flushed;
            record->Add(line);
        }
        record->Flush(line.output);
    });
}

}  // namespace

std::string SweepFolder(Session& session, const std::string& folder) {
    const std::size_t stale = session.swept.Sweep(folder);
    if (stale == 0) return "";
    return fmt::format("{}: {} temporary {} of a killed run removed", folder, stale, stale == 1 ? "file" : "files");
}

WrittenFile WriteFile(const FileTask& task, const SourceFile& source, const FilePlan& plan,
                      const std::optional<std::string>& fingerprint) {
    WrittenFile written;
    written.source = source.opened.version;
    WriteSettings settings;
    settings.threads = task.threads;
    settings.memory = BufferMemory(task.session.options.maxMemory);
    settings.measure = task.session.options.json;
    const auto all = static_cast<double>(plan.images->Pixels());
    std::atomic<std::uint64_t> done{0};
    settings.progress = [&](std::uint64_t pixels) {
        task.session.report.Progress(source.name, static_cast<double>(done += pixels) / all);
    };
    std::optional<Fingerprint> made;
    if (task.session.record != nullptr && !fingerprint) {
        made.emplace(task.session, source);
        settings.taken = [&](std::uint64_t offset, std::span<const unsigned char> data) { made->Take(offset, data); };
    }
    if (task.item.output == "-") {
        settings.scratch = TemporaryFolder();
        written.spool = FileAccess::Scratch(settings.scratch, "standard output");
    } else {
        MakeOutput(task, source, written);
    }
    const FileAccess& target = written.output ? written.output->file() : written.spool;
    plan.images->Write(target, settings, written.measured);
    written.fingerprint = made ? made->Finish() : fingerprint;
    if (written.output) FlushWithRecord(task, written);
    CheckUnchanged(source);
    ThrowIfInterrupted();
    return written;
}

void Publish(const FileTask& task, const WrittenFile& written) {
    if (!written.output) return WriteStandardOutput(written.spool);
    ResumeRecord* record = task.session.record;
    written.output->Commit();
    if (record != nullptr) record->NoteNamed();
}

}  // namespace hueweave::tool
