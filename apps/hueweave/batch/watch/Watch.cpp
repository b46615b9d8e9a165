// SPDX-License-Identifier: MIT
#include "batch/watch/Watch.h"

#include <fmt/format.h>

#include <atomic>
#include <exception>
#include <filesystem>
#include <new>

#include "batch/file/FileJob.h"
#include "batch/watch/FileQueue.h"
#include "system/JsonNames.h"
#include "system/Signals.h"
#include "system/StandardStreams.h"

namespace hueweave::tool {
namespace {

namespace fs = std::filesystem;

/// Lets signals wake up a thread, for as long as the object exists.
class SignalsWakeUp {
public:
    explicit SignalsWakeUp(const WakeUp& wakeUp) { WakeOnSignal(wakeUp.descriptor()); }
    ~SignalsWakeUp() { WakeOnSignal(-1); }
    SignalsWakeUp(const SignalsWakeUp&) = delete;
    SignalsWakeUp& operator=(const SignalsWakeUp&) = delete;
};

class Watch {
public:
    Watch(Session& session, Inbox& inbox, unsigned threads)
        : session_(session),
          inbox_(inbox),
          queue_(threads, wakeUp_, [this](const Arrival& arrival, unsigned n) { return Convert(arrival, n); }) {}

    [[noreturn]] void Run() {
        try {
            for (;;) {
                ThrowIfInterrupted();
                for (const Ended& ended : queue_.TakeEnded()) inbox_.Finish(ended);
                queue_.Add(inbox_.Take());
                inbox_.Wait(wakeUp_);
            }
        } catch (...) {
            queue_.Stop();
            session_.report.TellNotesOfMany();
            session_.report.Line(fmt::format("{} converted, {} refused", converted_.load(), refused_.load()));
            throw;
        }
    }

private:
    /// An error in one file does not stop the others.
    std::optional<Exit> Convert(const Arrival& arrival, unsigned threads) {
        if (!IdentityOf(arrival.path)) return std::nullopt;  // removed while it waited
        Item item;
        try {
            item = ItemOf(arrival.path);
            LookUp(item);
            if (ConvertFile({session_, item, threads}).outcome == Outcome::Converted) ++converted_;
            EndFile(item);
            return std::nullopt;
        } catch (const Interrupted&) {
            throw;
        } catch (...) {
            const Exit status = Refuse(arrival, item, std::current_exception());
            EndFile(item);
            return status;
        }
    }

    Item ItemOf(const std::string& path) const {
        const std::string relative = fs::path(path).lexically_relative(session_.options.inputs.front()).string();
        const fs::path folder = session_.list.folder;
        Item item{path, (folder / relative).string(), relative, ""};
        std::error_code ignored;
        const fs::path leads =
            fs::weakly_canonical(item.output, ignored).lexically_relative(fs::weakly_canonical(folder, ignored));
        if (leads.empty() || *leads.begin() == "..") {
            item.refusal = "would be written outside of " + session_.list.folder + ", through a link; remove the link";
        }
        return item;
    }

    /// Looks for an output that exists already in the record: another run, or this one some time ago, may have written
    /// it. Only lines for files that are about to be converted are kept in memory.
    void LookUp(const Item& item) const {
        ResumeRecord& record = *session_.record;
        if (record.Knows(item.relative) || !IdentityOf(item.output)) return;
        record.Load([&](const std::string& output) { return output == item.relative; });
    }

    void EndFile(const Item& item) const {
        session_.record->Forget(item.relative);
        session_.report.EndFile(item.source);
    }

    /// Reports why a file is refused. A file that was refused before and has changed since, such as one that arrives in
    /// parts, is not reported again, unless the reason is of another kind.
    Exit Refuse(const Arrival& arrival, const Item& item, const std::exception_ptr& cause) {
        bool told = false;
        try {
            const Explanation why = Explain(arrival.path, cause);
            if (arrival.told == why.status) return why.status;
            ++refused_;
            session_.report.Refused(why.line);
            told = true;
            nlohmann::ordered_json json{{"status", "refused"}};
            PutName(json, "source", arrival.path);
            PutName(json, "output", item.output);
            if (why.kind) json["kind"] = why.kind->name;
            json["reason"] = why.line;
            session_.report.Json(JsonLine(json));
            return why.status;
        } catch (const std::bad_alloc&) {
            if (!told) PrintNoMemory();
            session_.report.LoseJson();
            return Exit::Input;
        }
    }

    Session& session_;
    Inbox& inbox_;
    std::atomic<std::size_t> converted_{0}, refused_{0};
    WakeUp wakeUp_;
    SignalsWakeUp signals_{wakeUp_};
    FileQueue queue_;  // its threads use all of the above
};

}  // namespace

void RunWatch(Session& session, Inbox& inbox, unsigned threads) { Watch(session, inbox, threads).Run(); }

}  // namespace hueweave::tool
