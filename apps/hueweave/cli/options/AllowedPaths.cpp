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

constexpr std::size_t kMostFiles = 1000;  ///< that are allowed one by one

/// Allows the folders that were searched, the files that were named individually, and links in these folders, which
/// lead elsewhere. Of a long list, the folders of its names are allowed.
void AllowInputs(AllowedPaths& allowed, const ConvertOptions& options, const InputList& list) {
    std::set<std::string> folders = list.searched;
    std::vector<std::string> files;
    std::error_code ignored;
    std::string last;  // the folder of the last name; most names come one folder after the other
    bool searched = false;
    for (std::size_t number = 0; number < list.size(); ++number) {
        const std::string source(list.names.Source(number));
        if (source == "-") continue;
        if (std::string folder = FolderOf(source); folder != last) {
            last = std::move(folder);
            searched = list.searched.contains(last);
        }
        if (searched && !(options.follow && fs::is_symlink(source, ignored))) continue;
        // Each allowed file takes time and memory of the kernel.
        files.size() < kMostFiles ? files.push_back(source) : static_cast<void>(folders.insert(last));
    }
    for (const std::string& folder : folders) allowed.push_back({folder, Use::Read});
    for (std::string& file : files) allowed.push_back({std::move(file), Use::Read});
}

void AllowOutputs(AllowedPaths& allowed, const ConvertOptions& options, const InputList& list) {
    std::set<std::string> folders;
    const bool replaces = options.force || options.inPlace;
    std::string last;
    for (std::size_t number = 0; number < list.size(); ++number) {
        const std::string output = list.OutputAt(number);
        if (output == "-") continue;
        std::string place = PlaceOf(output, replaces);
        if (place != last) folders.insert(last = std::move(place));
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
    AllowInputs(allowed, options, list);
    bool streams = options.output == "-";
    for (std::size_t number = 0; number < list.size(); ++number) streams = streams || list.names.Source(number) == "-";
    if (streams) allowed.push_back({TemporaryFolder(), Use::Scratch});
    if (!options.dryRun) AllowOutputs(allowed, options, list);
    if (!list.folder.empty() && options.resume != Resume::No)
        allowed.push_back({list.folder, Use::Read});  // the record
    return allowed;
}

}  // namespace hueweave::tool
