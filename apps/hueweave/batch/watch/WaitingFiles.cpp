// SPDX-License-Identifier: MIT
#include "batch/watch/WaitingFiles.h"

#include <sys/stat.h>

#include <algorithm>

#include "system/Writers.h"

namespace hueweave::tool {
namespace {

/// Settle times that pass before a file with unknown writers is complete, if nobody was seen to close or rename it.
constexpr int kMostLooks = 10;

std::optional<FileState> StateAt(const std::string& path) {
    struct stat status {};
    if (::stat(path.c_str(), &status) != 0) return std::nullopt;
    return StateOf(status);
}

/// Erases a path and everything below it.
template <typename Map>
void EraseTree(Map& map, const std::string& path) {
    const std::string below = path + "/";
    const auto first = map.lower_bound(below);
    auto last = first;
    while (last != map.end() && last->first.starts_with(below)) ++last;
    map.erase(first, last);
    map.erase(path);
}

}  // namespace

void WaitingFiles::Notice(const std::string& path, bool finished, Time now) {
    const std::optional<FileState> state = StateAt(path);
    if (!state) return;
    Waiting& file = waiting_[path];
    file.state = *state;
    file.finished = file.finished || finished;
    file.looks = 0;
    file.due = now + settle_;
}

void WaitingFiles::Lose(const std::string& path) {
    EraseTree(waiting_, path);
    EraseTree(known_, path);
}

void WaitingFiles::LoseMissing() {
    std::erase_if(waiting_, [](const auto& file) { return !StateAt(file.first); });
    std::erase_if(known_, [](const auto& file) { return !StateAt(file.first); });
}

std::optional<WaitingFiles::Time> WaitingFiles::Next() const {
    const auto sooner = [](const auto& a, const auto& b) { return a.second.due < b.second.due; };
    const auto first = std::min_element(waiting_.begin(), waiting_.end(), sooner);
    return first == waiting_.end() ? std::nullopt : std::optional(first->second.due);
}

bool WaitingFiles::IsComplete(const std::string& path, Waiting& file, Time now) const {
    file.due = now + settle_;
    const FileState state = StateAt(path).value_or(FileState{});
    if (state != file.state) {
        file.state = state;
        file.looks = 0;
        return false;
    }
    const Writers writers = WritersOf(path);
    if (writers == Writers::Unknown && !file.finished) return ++file.looks >= kMostLooks;
    return writers != Writers::Some;
}

std::vector<Arrival> WaitingFiles::Take(Time now) {
    std::vector<Arrival> arrivals;
    for (auto at = waiting_.begin(); at != waiting_.end();) {
        auto& [path, file] = *at;
        const auto known = known_.find(path);
        const bool isKnown = known != known_.end();
        const bool inWork = isKnown && !known->second.ended;
        if (file.due > now) {
            ++at;
        } else if (!StateAt(path)) {  // NOLINT(bugprone-branch-clone): the last case must come last
            at = waiting_.erase(at);
        } else if (inWork || !IsComplete(path, file, now)) {
            file.due = now + settle_;
            ++at;
        } else if (isKnown && known->second.state == file.state) {
            at = waiting_.erase(at);  // nothing has changed since it was converted
        } else {
            // A file that was only changed keeps its identity; another file with the same name does not.
            const bool same = isKnown && known->second.state.identity == file.state.identity;
            arrivals.push_back({path, file.state, same ? known->second.refused : std::nullopt});
            known_[path] = {file.state, std::nullopt, false};
            at = waiting_.erase(at);
        }
    }
    return arrivals;
}

void WaitingFiles::Finish(const Ended& ended) {
    const auto known = known_.find(ended.arrival.path);
    // The file may have been removed in the meantime, and be another one now.
    if (known == known_.end() || known->second.state != ended.arrival.state) return;
    known->second.refused = ended.refused;
    known->second.ended = true;
}

}  // namespace hueweave::tool
