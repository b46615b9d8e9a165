// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#include "batch/Batch.h"

#include <fmt/format.h>
#include <sys/stat.h>

#include <algorithm>
#include <chrono>
#include <exception>
#include <mutex>
#include <new>
#include <thread>

#include "system/JsonNames.h"
#include "system/Signals.h"
#include "system/StandardStreams.h"
#include "system/WorkUnits.h"

namespace hueweave::tool {

namespace {

/// Hands out files, and threads among them: files side by side as long as there are enough, and what is left over
/// goes to the blocks of each.
class Batch {
public:
    Batch(Session& session, unsigned threads) : session_(session), threads_(threads) {}

    Exit Run() {
        const std::size_t files = session_.list.items.size();
        const unsigned runners = static_cast<unsigned>(std::clamp<std::size_t>(files, 1, threads_));
        std::vector<std::thread> helpers;
        helpers.reserve(runners);
        StartThreads(helpers, runners - 1, [this] { Loop(); });
        Loop();
        for (std::thread& helper : helpers) helper.join();
        if (interrupted_) throw Interrupted();
        if (failure_) std::rethrow_exception(failure_);
        Summarise();
        if (failed_ == 0) return Exit::Done;
        return session_.list.single ? lastFailure_ : Exit::SomeFailed;
    }

private:
    /// No exception leaves a thread. What none of the files is to blame for ends the run.
    void Loop() {
        try {
            RunFiles();
        } catch (...) {
            const std::lock_guard lock(mutex_);
            if (!failure_) failure_ = std::current_exception();
        }
    }

    void RunFiles() {
        for (;;) {
            const Item* item = nullptr;
            unsigned threads = 0;
            {
                const std::lock_guard lock(mutex_);
                if (interrupted_ || failure_ || next_ == session_.list.items.size()) return;
                item = &session_.list.items[next_++];
                const std::size_t waiting = session_.list.items.size() - next_;
                threads = std::max(1U, (threads_ - std::min(used_, threads_)) / static_cast<unsigned>(waiting + 1));
                used_ += threads;
            }
            RunFile(*item, threads);
            const std::lock_guard lock(mutex_);
            used_ -= threads;
        }
    }

    /// Whatever happens to a file, the others are converted.
    void RunFile(const Item& item, unsigned threads) {
        const std::string name = item.source == "-" ? "standard input" : item.source;
        try {
            const Outcome outcome = FileJob(session_, item, threads).Run();
            const std::lock_guard lock(mutex_);
            ++counts_[static_cast<std::size_t>(outcome)];
        } catch (const Interrupted&) {
            const std::lock_guard lock(mutex_);
            interrupted_ = true;
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
    std::size_t next_ = 0;
    unsigned used_ = 0;
    std::size_t counts_[3] = {}, failed_ = 0;
    Exit lastFailure_ = Exit::Done;
    bool interrupted_ = false;
    std::exception_ptr failure_;
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
