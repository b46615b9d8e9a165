// SPDX-License-Identifier: MIT
#include "batch/inputs/FolderWalk.h"

#include <utility>
#include <vector>

#include "batch/inputs/FolderEntry.h"
#include "system/Refusal.h"
#include "system/Signals.h"
#include "system/files/FolderNames.h"

namespace hueweave::tool {
namespace {

namespace fs = std::filesystem;

fs::path Canonical(const fs::path& path) {
    std::error_code ignored;
    return fs::weakly_canonical(path, ignored);
}

std::string WithSlash(const std::string& folder) { return folder.ends_with('/') ? folder : folder + "/"; }

}  // namespace

FolderWalk::FolderWalk(std::string top, const ConvertOptions& options, Take take)
    : top_(std::move(top)),
      options_(options),
      take_(std::move(take)),
      relativeAt_(WithSlash(top_).size()),
      leftOut_(IdentityOf(options.output)),
      canonicalTop_(Canonical(top_)) {}

void FolderWalk::Run() {
    Enter(top_);
    if (found_ > 0) return;
    throw Refusal(
        Exit::Input, top_, "contains no TIFF, PNG or JPEG files",
        links_ > 0 ? "follow its symbolic links with --follow, or name another folder" : "name another folder");
}

void FolderWalk::Enter(const std::string& folder) {
    ThrowIfInterrupted();
    const std::optional<FileIdentity> identity = IdentityOf(folder);
    if (identity && !entered_.insert(*identity).second) return;
    if (identity && folder != top_ && identity == leftOut_) return;
    std::vector<std::string> folders;  // entered after this one is closed, so that few files are open
    const std::string prefix = WithSlash(folder);
    const std::size_t before = found_;
    const int problem = EachNameInFolder(folder, [&](std::string_view name, unsigned type) {
        std::string path = prefix + std::string(name);
        switch (EntryOfType(path, type, options_.follow)) {
            case FolderEntry::None:
                break;
            case FolderEntry::Link:
                ++links_;
                break;
            case FolderEntry::Folder:
                folders.push_back(std::move(path));
                break;
            case FolderEntry::File:
                Find(path);
                break;
        }
    });
    if (found_ > before) searched_.insert(folder);
    for (const std::string& each : folders) Enter(each);
    if (problem == 0) return;
    ++found_;
    take_(folder, relativeAt_, "cannot be read (" + ErrorText(problem) + "); check its permissions");
}

void FolderWalk::Find(const std::string& path) {
    ++found_;
    take_(path, relativeAt_,
          LeavesTop(path) ? "is outside of " + top_ + ", reached through a link; name it itself" : "");
}

bool FolderWalk::LeavesTop(const std::string& path) const {
    if (!options_.inPlace || !options_.follow) return false;
    const fs::path relative = Canonical(path).lexically_relative(canonicalTop_);
    return relative.empty() || *relative.begin() == "..";
}

}  // namespace hueweave::tool
