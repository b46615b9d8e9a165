// SPDX-License-Identifier: MIT
#include "batch/Batch.h"

#include <fmt/format.h>
#include <sys/stat.h>

#include <chrono>
#include <exception>
#include <map>
#include <mutex>

#include "batch/RefusedFiles.h"
#include "batch/file/FileJob.h"
#include "system/Signals.h"
#include "system/WorkUnits.h"

namespace hueweave::tool {

namespace {

/// Converts files in parallel. Surplus threads are divided among the files, for the blocks of each.
class Batch {
public:
    Batch(Session& session, unsigned threads) : session_(session), threads_(threads), refused_(session) {}

    Exit Run() {
        Convert();
        if (!session_.list.single) Summarise();
        if (refused_.count() == 0) return Exit::Done;
        return refused_.count() == session_.list.size() ? refused_.CommonStatus() : Exit::SomeFailed;
    }

private:
    /// An error that does not belong to one file ends the run; a signal takes precedence over it.
    void Convert() {
        WorkUnits files(session_.list.size());
        try {
            files.Run(threads_, [this]() -> WorkUnits::Work {
                return [this](WorkUnits::Unit file) {
                    RunFile(session_.list.At(static_cast<std::size_t>(file.number)), file.threads);
                };
            });
        } catch (...) {
            ThrowIfInterrupted();
            throw;
        }
    }

    /// An error in one file does not stop the others.
    void RunFile(const Item& item, unsigned threads) {
        const std::string name = item.source == "-" ? "standard input" : item.source;
        try {
            const Result result = ConvertFile({session_, item, threads});
            const std::lock_guard lock(mutex_);
            ++counts_[static_cast<std::size_t>(result.outcome)];
            if (!result.kind.empty()) ++others_[result.kind];
            pixels_ += result.pixels;
        } catch (const Interrupted&) {
            throw;
        } catch (...) {
            refused_.Add(item, name, std::current_exception());
        }
        session_.report.EndFile(name);
    }

    std::size_t Count(Outcome outcome) const { return counts_[static_cast<std::size_t>(outcome)]; }

    /// How many of the files that are not RGB are of each kind.
    std::string Kinds() const {
        std::string text;
        for (const auto& [kind, files] : others_)
            text += fmt::format("{}{} {}", text.empty() ? " (" : ", ", files, kind);
        return text + ")";
    }

    void Summarise() {
        session_.report.TellNotesOfMany();
        refused_.TellKinds();
        const bool dry = session_.options.dryRun;
        std::string text = fmt::format("{} {}", Count(Outcome::Converted), dry ? "would be converted" : "converted");
        if (const std::size_t done = Count(Outcome::Skipped)) text += fmt::format(", {} done already", done);
        const std::size_t copied = Count(Outcome::Copied), leftOut = Count(Outcome::LeftOut);
        if (copied > 0) text += fmt::format(", {} {}{}", copied, dry ? "would be copied" : "copied", Kinds());
        if (leftOut > 0) text += fmt::format(", {} left out{}", leftOut, Kinds());
        if (refused_.count() > 0) text += fmt::format(", {} refused", refused_.count());
        if (const std::string kinds = refused_.Kinds(); !kinds.empty()) text += fmt::format(" ({})", kinds);
        const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - begin_).count();
        text += fmt::format(", in {:.1f} s", seconds);
        if (!dry && pixels_ > 0)
            text += fmt::format(", {:.1f} megapixels/s", static_cast<double>(pixels_) / 1e6 / seconds);
        session_.report.Line(text);
    }

    Session& session_;
    unsigned threads_;
    std::chrono::steady_clock::time_point begin_ = std::chrono::steady_clock::now();
    RefusedFiles refused_;
    std::mutex mutex_;
    std::size_t counts_[4] = {};                 ///< by outcome
    std::map<std::string, std::size_t> others_;  ///< files that are not RGB and were not refused, by kind
    std::uint64_t pixels_ = 0;                   ///< converted
};

constexpr std::size_t kSizesAsked = 4096;  ///< files; more would delay the start on a network file system

/// The size of all sources, in bytes. Of very many files, only some are asked for their size.
std::uint64_t TotalSize(const InputList& list) {
    const std::size_t step = list.size() / kSizesAsked + 1;
    std::uint64_t total = 0, asked = 0;
    for (std::size_t number = 0; number < list.size(); number += step, ++asked) {
        struct stat status {};
        const std::string path(list.names.Source(number));
        if (::stat(path.c_str(), &status) == 0) total += static_cast<std::uint64_t>(status.st_size);
    }
    return asked == 0 ? 0 : total * list.size() / asked;
}

}  // namespace

Exit RunBatch(Session& session, unsigned threads) {
    session.report.Begin(session.list.size(), TotalSize(session.list));
    return Batch(session, threads).Run();
}

}  // namespace hueweave::tool
