// SPDX-License-Identifier: MIT
#include "batch/watch/Inbox.h"

#include <fmt/format.h>
#include <poll.h>

#include <algorithm>
#include <cerrno>
#include <limits>

#include "batch/inputs/FolderEntry.h"
#include "system/Signals.h"
#include "system/files/FolderNames.h"

namespace hueweave::tool {
namespace {

namespace fs = std::filesystem;
using Clock = WaitingFiles::Clock;

fs::path Normal(const fs::path& path) {
    std::error_code ignored;
    return fs::weakly_canonical(path, ignored).lexically_normal();
}

/// Whether a canonical path is that folder, or is below it.
bool IsBelow(const fs::path& path, const fs::path& folder) {
    const auto [end, ignored] = std::mismatch(folder.begin(), folder.end(), path.begin(), path.end());
    return end == folder.end();
}

std::string WhyNotWatched(int error) {
    return "cannot be watched (" + ErrorText(error) + "), so its files are not converted; " +
           (error == ENOSPC ? "raise fs.inotify.max_user_watches" : "check its permissions");
}

/// Milliseconds for poll(), rounded up; -1 to wait without limit.
int Timeout(const std::optional<WaitingFiles::Time>& next) {
    if (!next) return -1;
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(*next - Clock::now()).count();
    return static_cast<int>(std::clamp<decltype(left)>(left, 0, std::numeric_limits<int>::max()));
}

}  // namespace

Inbox::Inbox(const ConvertOptions& options, Clock::duration settle, Report& report)
    : options_(options),
      report_(report),
      top_(options.inputs.front()),
      output_(Normal(options.output)),
      topIdentity_(IdentityOf(top_)),
      outputIdentity_(IdentityOf(options.output)),
      files_(settle) {
    std::error_code ignored;
    if (!fs::is_directory(top_, ignored)) throw Refusal(Exit::Input, top_, "is not a folder", "name a folder to watch");
    if (IsBelow(Normal(top_), output_)) {
        throw Refusal(Exit::Usage, options.output, "contains the folder to watch, or is that folder",
                      "choose another output folder");
    }
    const int error = watch_.AddItself(options.output);
    if (error != 0) throw Refusal(Exit::Output, options.output, WhyNotWatched(error), "");
    Enter(top_);
    started_ = true;
    if (links_ == 0) return;
    report_.Note(fmt::format("{} symbolic {} not followed; --follow follows them", links_,
                             links_ == 1 ? "link was" : "links were"));
}

bool Inbox::IsOutput(const std::string& folder) const {
    return IdentityOf(folder) == outputIdentity_ || (options_.follow && IsBelow(Normal(folder), output_));
}

void Inbox::Enter(const std::string& folder) {
    ThrowIfInterrupted();
    if (IsOutput(folder)) return;
    // The folder is watched before it is listed, so that no file is missed between the two.
    int error = watch_.Add(folder, options_.follow || folder == top_);
    if (error == EEXIST || error == ENOENT || error == ENOTDIR) return;
    std::vector<std::string> names;
    if (error == 0) names = NamesInFolder(folder, error);
    for (const std::string& name : names) Look(fs::path(folder) / name, false);
    if (error == 0 || error == ENOENT) return;
    const Refusal refusal(Exit::Input, folder, WhyNotWatched(error), "");
    if (folder == top_) throw refusal;
    report_.Refused(refusal.what());
}

void Inbox::Look(const fs::path& entry, bool finished) {
    std::error_code ignored;
    const FolderEntry kind = EntryAt(entry, options_.follow);
    if (kind == FolderEntry::Link && !started_) ++links_;
    if (kind != FolderEntry::File && kind != FolderEntry::Folder) return;
    if (!started_ && options_.follow && fs::is_symlink(entry, ignored)) linked_.insert(entry.string());
    if (kind == FolderEntry::Folder) return Enter(entry.string());
    files_.Notice(entry.string(), finished, Clock::now());
}

void Inbox::Take(const FolderChange& change) {
    switch (change.kind) {
        case FolderChange::Overflow:
            return ListAgain();
        case FolderChange::Gone:
            watch_.Remove(change.path);
            return files_.Lose(change.path);
        case FolderChange::Created:
        case FolderChange::Finished:
            return Look(change.path, change.kind == FolderChange::Finished);
    }
}

void Inbox::ListAgain() {
    report_.Line("too many changes at once in " + top_ + "; it is listed again");
    watch_.RemoveAll();
    files_.LoseMissing();
    Enter(top_);
}

void Inbox::CheckFolders() const {
    if (IdentityOf(top_) != topIdentity_) {
        throw Refusal(Exit::Input, top_, "was removed or renamed, and can no longer be watched",
                      "make the folder and start again");
    }
    if (IdentityOf(options_.output) != outputIdentity_) {
        throw Refusal(Exit::Output, options_.output, "was removed or renamed, and can no longer be written to",
                      "start again");
    }
}

void Inbox::Wait(const WakeUp& wakeUp) {
    pollfd ready[] = {{watch_.descriptor(), POLLIN, 0}, {wakeUp.descriptor(), POLLIN, 0}};
    if (::poll(ready, std::size(ready), Timeout(files_.Next())) <= 0) return;
    if (ready[1].revents != 0) wakeUp.Clear();
    if (ready[0].revents == 0) return;
    const std::vector<FolderChange> changes = watch_.Read();
    CheckFolders();
    for (const FolderChange& change : changes) Take(change);
}

}  // namespace hueweave::tool
