// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#include "batch/session/FolderEntry.h"

#include <algorithm>
#include <cctype>
#include <string>
#include <system_error>

namespace hueweave::tool {
namespace {

namespace fs = std::filesystem;

bool IsTiffName(const fs::path& path) {
    std::string extension = path.extension().string();
    std::transform(extension.begin(), extension.end(), extension.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return extension == ".tif" || extension == ".tiff" || extension == ".tf8" || extension == ".btf";
}

}  // namespace

FolderEntry EntryAt(const fs::path& path, bool follow) {
    if (path.filename().native().starts_with('.')) return FolderEntry::None;
    std::error_code error;
    const bool isFolder = fs::is_directory(path, error);
    if (!isFolder && !IsTiffName(path)) return FolderEntry::None;
    if (!follow && fs::is_symlink(path, error)) return FolderEntry::Link;
    return isFolder ? FolderEntry::Folder : FolderEntry::File;
}

}  // namespace hueweave::tool
