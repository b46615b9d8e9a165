// SPDX-License-Identifier: MIT
#include "batch/status/Status.h"

#include <sys/stat.h>

#include <algorithm>
#include <utility>

#include "batch/record/RecordFiles.h"
#include "system/Refusal.h"
#include "system/Signals.h"
#include "system/StableHash.h"

namespace hueweave::tool {
namespace {

constexpr double kNanosecond = 1e-9;
constexpr long long kWindow = 600'000'000'000;  ///< nanoseconds

}  // namespace

Status::Status(std::string folder) : folder_(std::move(folder)) {
    for (const std::string& path : RecordsIn(folder_)) {
        ReadRecord(
            path,
            [this](const std::string& text) {
                ThrowIfInterrupted();
                const RecordLine line = ParseRecordLine(text);
                if (const auto* done = std::get_if<DoneLine>(&line)) Take(*done);
                if (const auto* failed = std::get_if<FailedLine>(&line)) Take(*failed);
                if (const auto* run = std::get_if<RunLine>(&line)) Take(*run);
            },
            ", and records no run", "remove it");
    }
    std::erase_if(failed_, [this](const auto& each) { return done_.contains(StableHash(each.first)); });
    std::sort(times_.begin(), times_.end());
}

void Status::Take(const DoneLine& line) {
    struct stat now {};
    const std::string path = folder_ + "/" + line.output;
    if (::stat(path.c_str(), &now) != 0 || VersionOf(now) != line.version) return;
    if (!done_.insert(StableHash(line.output)).second) return;
    bytes_ += static_cast<std::uint64_t>(line.version.size);
    pixels_ += line.pixels;
    times_.push_back(line.version.modified);
}

void Status::Take(const FailedLine& line) {
    const auto [known, fresh] = failed_.emplace(line.output, line);
    if (!fresh && known->second.at < line.at) known->second = line;
}

void Status::Take(const RunLine& line) {
    if (begun_ == 0 || line.at < begun_) begun_ = line.at;
    const auto [known, fresh] = runs_.emplace(line.list, line);
    if (!fresh && known->second.at < line.at) known->second = line;
}

bool Status::IsLeft(std::string_view relative) const {
    return !done_.contains(StableHash(relative)) && !failed_.contains(std::string(relative));
}

/// The parts of a run are equal within chance, because they are chosen by a hash.
void Status::CountAnnounced(Progress& progress) const {
    std::map<unsigned, std::pair<std::uint64_t, std::set<unsigned>>> seen;  // files and parts, by the number of parts
    for (const auto& [list, run] : runs_) {
        auto& [files, parts] = seen[run.parts];
        files += run.files;
        parts.insert(run.part);
    }
    std::uint64_t total = 0;
    for (const auto& [parts, of] : seen) {
        const auto& [files, started] = of;
        progress.estimated = progress.estimated || started.size() < parts;
        total += files * std::max<std::uint64_t>(parts, 1) / started.size();
    }
    if (!seen.empty()) progress.total = std::max(total, progress.done + progress.failed + progress.leftOut);
}

void Status::Measure(Progress& progress) const {
    if (times_.empty()) return;
    const long long last = times_.back(), from = std::max(begun_, last - kWindow);
    const auto recent = times_.end() - std::lower_bound(times_.begin(), times_.end(), from);
    progress.sinceLast = std::max(0.0, static_cast<double>(Now() - last) * kNanosecond);
    progress.window = static_cast<double>(last - from) * kNanosecond;
    if (progress.window > 0) progress.rate = static_cast<double>(recent) / progress.window;
}

Progress Status::Count(const InputList* inputs) const {
    Progress progress;
    progress.done = done_.size();
    progress.bytes = bytes_;
    progress.pixels = pixels_;
    for (const auto& [output, line] : failed_) ++(line.leftOut ? progress.leftOut : progress.failed);
    if (inputs == nullptr) {
        CountAnnounced(progress);
    } else {
        std::uint64_t left = 0;
        for (std::size_t number = 0; number < inputs->size(); ++number) left += IsLeft(inputs->RelativeAt(number));
        progress.total = left + progress.done + progress.failed + progress.leftOut;
    }
    Measure(progress);
    return progress;
}

}  // namespace hueweave::tool
