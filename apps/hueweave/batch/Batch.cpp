// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#include "batch/Batch.h"

#include <fmt/format.h>
#include <sys/stat.h>

#include <chrono>
#include <exception>
#include <mutex>
#include <new>

#include "batch/file/FileJob.h"
#include "system/JsonNames.h"
#include "system/Signals.h"
#include "system/StandardStreams.h"
#include "system/WorkUnits.h"

namespace hueweave::tool {

namespace {

/// Converts files in parallel. Surplus threads are divided among the files, for the blocks of each.
class Batch {
public:
    Batch(Session& session, unsigned threads) : session_(session), threads_(threads) {}

    Exit Run() {
        Convert();
        Summarise();
        if (failed_ == 0) return Exit::Done;
        return session_.list.single ? lastFailure_ : Exit::SomeFailed;
    }

private:
    /// An error that does not belong to one file ends the run; a signal takes precedence over it.
    void Convert() {
        WorkUnits files(session_.list.items.size());
        try {
            files.Run(threads_, [this]() -> WorkUnits::Work {
                return [this](WorkUnits::Unit file) {
                    RunFile(session_.list.items[static_cast<std::size_t>(file.number)], file.threads);
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
            const Outcome outcome = ConvertFile({session_, item, threads});
            const std::lock_guard lock(mutex_);
            ++counts_[static_cast<std::size_t>(outcome)];
        } catch (const Interrupted&) {
            throw;
        } catch (...) {
            Refuse(item, name, std::current_exception());
        }
        session_.report.EndFile(name);
    }

    void Refuse(const Item& item, const std::string& name, const std::exception_ptr& cause) {
        {
            const std::lock_guard lock(mutex_);
            ++failed_;
            lastFailure_ = Exit::Input;
        }
        bool told = false;
        try {
            const auto [status, line] = Explain(name, cause);
            session_.report.Refused(line);
            told = true;
            nlohmann::ordered_json json{{"status", "refused"}};
            PutName(json, "source", item.source);
            PutName(json, "output", item.output);
            json["reason"] = line;
            session_.report.Json(JsonLine(json));
            const std::lock_guard lock(mutex_);
            lastFailure_ = status;
        } catch (const std::bad_alloc&) {
            if (!told) PrintNoMemory();
            session_.report.LoseJson();
        }
    }

    void Summarise() {
        if (session_.list.single) return;
        session_.report.TellNotesOfMany();
        std::string text =
            fmt::format("{} {}", counts_[0] + counts_[2], session_.options.dryRun ? "would be converted" : "converted");
        if (counts_[1] > 0) text += fmt::format(", {} done already", counts_[1]);
        if (failed_ > 0) text += fmt::format(", {} refused", failed_);
        const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - begin_).count();
        session_.report.Line(fmt::format("{}, in {:.1f} s", text, seconds));
    }

    Session& session_;
    unsigned threads_;
    std::chrono::steady_clock::time_point begin_ = std::chrono::steady_clock::now();
    std::mutex mutex_;
    std::size_t counts_[3] = {}, failed_ = 0;
    Exit lastFailure_ = Exit::Done;
};

std::uint64_t TotalSize(const InputList& list) {
    std::uint64_t total = 0;
    for (const Item& item : list.items) {
        struct stat status {};
        if (::stat(item.source.c_str(), &status) == 0) total += static_cast<std::uint64_t>(status.st_size);
    }
    return total;
}

}  // namespace

Exit RunBatch(Session& session, unsigned threads) {
    session.report.Begin(session.list.items.size(), TotalSize(session.list));
    return Batch(session, threads).Run();
}

}  // namespace hueweave::tool
