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
constexpr double kMostFiles = 1e15;             ///< far more than there are

/// The run of a part that began last.
const RunLine& LastOf(const std::map<unsigned, RunLine>& begun) {
    return std::max_element(begun.begin(), begun.end(),
                            [](const auto& a, const auto& b) { return a.second.at < b.second.at; })
        ->second;
}

/// The files of all parts. They are equal within chance, because they are chosen by a hash.
std::uint64_t FilesOf(unsigned parts, const std::map<unsigned, RunLine>& begun) {
    std::uint64_t files = 0;
    for (const auto& [part, run] : begun) files += run.files;
    if (begun.size() == parts) return files;
    const double all = static_cast<double>(files) * parts / static_cast<double>(begun.size());
    return static_cast<std::uint64_t>(std::min(all, kMostFiles));
}

}  // namespace

Status::Status(std::string folder) : folder_(std::move(folder)) {
    for (const std::string& path : RecordsIn(folder_)) {
        ReadRecord(
            path,
            [this](const std::string& text) {
                ThrowIfInterrupted();
                if (text.empty()) return;
                std::visit([this](const auto& line) { Take(line); }, ParseRecordLine(text));
            },
            ", and records no run", "remove it");
    }
    std::erase_if(failed_, [this](const auto& each) { return done_.contains(StableHash(each.first)); });
    std::sort(begun_.begin(), begun_.end());
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
    begun_.push_back(line.at);
    if (line.inputs.empty()) return;
    const auto [known, fresh] = runs_[line.inputs][line.parts].emplace(line.part, line);
    if (!fresh && known->second.at < line.at) known->second = line;
}

bool Status::IsLeft(std::string_view relative) const {
    return !done_.contains(StableHash(relative)) && !failed_.contains(std::string(relative));
}

/// Adds up the files of different inputs. Of a folder that was divided several times, the last division counts. A list
/// of files below a folder that is counted adds none: it names those that were left.
void Status::CountAnnounced(Progress& progress) const {
    if (runs_.empty()) return;
    std::uint64_t total = 0;
    for (const auto& [inputs, divisions] : runs_) {
        const auto last = std::max_element(divisions.begin(), divisions.end(), [](const auto& a, const auto& b) {
            return LastOf(a.second).at < LastOf(b.second).at;
        });
        const auto& [parts, begun] = *last;
        if (const std::string& base = LastOf(begun).base; base != inputs && runs_.contains(base)) continue;
        total += FilesOf(parts, begun);
        progress.estimated = progress.estimated || begun.size() < parts;
    }
    progress.total = std::max(total, progress.done + progress.failed + progress.leftOut);
}

void Status::Measure(Progress& progress) const {
    if (times_.empty()) return;
    const long long last = times_.back();
    const auto first = std::lower_bound(times_.begin(), times_.end(), last - kWindow);
    // The time between two runs does not count: it ends with the last run that began before these files.
    const auto run = std::upper_bound(begun_.begin(), begun_.end(), *first);
    const long long from = std::max(last - kWindow, run == begun_.begin() ? *first : *std::prev(run));
    const auto recent = times_.end() - first;
    progress.sinceLast = std::max(0.0, static_cast<double>(Now() - last) * kNanosecond);
    progress.window = static_cast<double>(last - from) * kNanosecond;
    if (progress.window > 0) progress.rate = static_cast<double>(recent) / progress.window;
}

Progress Status::Count(const InputList* inputs) const {
    Progress progress;
    progress.done = done_.size();
    progress.bytes = bytes_;
    progress.pixels = pixels_;
    progress.damaged = damaged_;
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
