// SPDX-License-Identifier: MIT
#include "batch/RefusedFiles.h"

#include <fmt/format.h>

#include <algorithm>
#include <new>

#include "system/JsonNames.h"
#include "system/StandardStreams.h"

namespace hueweave::tool {
namespace {

/// The reason without the name of the file, so that it is the same for all files with the same cause.
std::string ReasonOf(const std::exception_ptr& cause, const Explanation& why) {
    try {
        std::rethrow_exception(cause);
    } catch (const Refusal& refusal) {
        return refusal.kind() ? refusal.kind()->what : refusal.reason();
    } catch (...) {
        return why.line.substr(why.line.find(": ") + 2);
    }
}

}  // namespace

void RefusedFiles::Add(const Item& item, const std::string& name, const std::exception_ptr& cause) {
    const auto count = [this](Exit status, bool more) {
        const std::lock_guard lock(mutex_);
        std::size_t& files = byStatus_[static_cast<std::size_t>(status)];
        more ? ++files : --files;
    };
    {
        const std::lock_guard lock(mutex_);
        ++count_;
    }
    count(Exit::Input, true);
    bool told = false;
    try {
        const Explanation why = Explain(name, cause);
        if (!Take(name, why)) session_.report.Refused(why.line);
        told = true;
        count(Exit::Input, false);
        count(why.status, true);
        Record(item, ReasonOf(cause, why));
        nlohmann::ordered_json json{{"status", "refused"}};
        PutName(json, "source", item.source);
        PutName(json, "output", item.output);
        if (why.kind) json["kind"] = why.kind->name;
        json["reason"] = why.line;
        session_.report.Json(JsonLine(json));
    } catch (const std::bad_alloc&) {
        if (!told) PrintNoMemory();
        session_.report.LoseJson();
    }
}

/// Records a file for `hueweave status`.
void RefusedFiles::Record(const Item& item, const std::string& reason) {
    if (session_.record == nullptr || session_.options.dryRun) return;
    session_.record->Add(FailedLine{item.relative, item.source, reason, false, Now()});
}

/// Counts a file of a kind. Returns false if its own line is to be printed: with --verbose, and for a single file.
bool RefusedFiles::Take(const std::string& name, const Explanation& why) {
    if (!why.kind) return false;
    const std::lock_guard lock(mutex_);
    Group& group = kinds_[why.kind->name];
    if (group.files == 0) {
        const char* const others = "copy them with --others copy, or leave them out with --others skip";
        group = {0, name, why.kind->what, why.kind->notRgb ? others : why.remedy};
    }
    ++group.files;
    return !session_.list.single && !session_.options.verbose;
}

void RefusedFiles::TellKinds() const {
    if (session_.options.verbose) return;
    for (const auto& [name, group] : kinds_) {
        session_.report.Refused(fmt::format("{} {} refused: {}; the first is {}; {}", group.files,
                                            group.files == 1 ? "file" : "files", group.what, group.first,
                                            group.remedy));
    }
}

std::string RefusedFiles::Kinds() const {
    std::string text;
    for (const auto& [name, group] : kinds_) {
        text += fmt::format("{}{} {}", text.empty() ? "" : ", ", group.files, name);
    }
    return text;
}

Exit RefusedFiles::CommonStatus() const {
    const auto found = std::find(byStatus_.begin(), byStatus_.end(), count_);
    return found == byStatus_.end() ? Exit::Input : static_cast<Exit>(found - byStatus_.begin());
}

}  // namespace hueweave::tool
