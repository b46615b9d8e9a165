// SPDX-License-Identifier: MIT
#include "cli/options/AllowedPaths.h"

#include <sys/stat.h>

#include <filesystem>
#include <set>

#include "system/FileAccess.h"
#include "system/StandardStreams.h"
#include "system/files/OutputFile.h"

namespace hueweave::tool {
namespace {

namespace fs = std::filesystem;

/// Allows the folders that were searched, the files that were named individually, and links in these folders, which
/// lead elsewhere.
void AllowInputs(AllowedPaths& allowed, const InputList& list) {
    for (const std::string& folder : list.searched) allowed.push_back({folder, Use::Read});
    std::error_code ignored;
    for (const Item& item : list.items) {
        if (item.source == "-") continue;
        const bool covered = list.searched.contains(FolderOf(item.source)) && !fs::is_symlink(item.source, ignored);
        if (!covered) allowed.push_back({item.source, Use::Read});
    }
}

void AllowOutputs(AllowedPaths& allowed, const ConvertOptions& options, const InputList& list) {
    std::set<std::string> folders;
    for (const Item& item : list.items) {
        if (item.output != "-") folders.insert(PlaceOf(item.output, options.force || options.inPlace));
    }
    std::error_code ignored;  // the error reported is that of making the folder
    const bool made = !list.folder.empty() && fs::is_directory(list.folder, ignored);
    if (made) folders.insert(list.folder);
    for (const std::string& folder : folders) {
        if (made || list.folder.empty()) allowed.push_back({made ? ExistingFolder(folder) : folder, Use::Write});
    }
    // Allowed although the folder does not exist, so that the error reported is that of the file system.
    if (!list.folder.empty() && !made) allowed.push_back({ExistingFolder(list.folder), Use::MakeFolders});
}

}  // namespace

std::string PlaceOf(const std::string& output, bool replaces) {
    return FolderOf(replaces ? FollowLink(output) : output);
}

std::string ExistingFolder(std::string folder) {
    struct stat status {};
    while (::stat(folder.c_str(), &status) != 0 && FolderOf(folder) != folder) folder = FolderOf(folder);
    return folder;
}

AllowedPaths PathsOf(const ConvertOptions& options, const InputList& list) {
    AllowedPaths allowed;
    if (!options.targetFile.empty()) allowed.push_back({options.targetFile, Use::Read});
    if (options.profile) allowed.push_back({*options.profile, Use::Read});
    if (!options.curveFile.empty()) allowed.push_back({options.curveFile, Use::Read});
    AllowInputs(allowed, list);
    bool streams = options.output == "-";
    for (const Item& item : list.items) streams = streams || item.source == "-";
    if (streams) allowed.push_back({TemporaryFolder(), Use::Scratch});
    if (!options.dryRun) AllowOutputs(allowed, options, list);
    if (!list.folder.empty() && options.resume) allowed.push_back({list.folder, Use::Read});  // the record
    return allowed;
}

}  // namespace hueweave::tool
