// SPDX-License-Identifier: MIT
#include "batch/inputs/FolderEntry.h"

#include <dirent.h>

#include <system_error>

#include "picture/Format.h"

namespace hueweave::tool {
namespace fs = std::filesystem;

FolderEntry EntryAt(const fs::path& path, bool follow) {
    if (path.filename().native().starts_with('.')) return FolderEntry::None;
    std::error_code error;
    const bool isFolder = fs::is_directory(path, error);
    if (!isFolder && FormatOfName(path.native()) == Format::Unknown) return FolderEntry::None;
    if (!follow && fs::is_symlink(path, error)) return FolderEntry::Link;
    return isFolder ? FolderEntry::Folder : FolderEntry::File;
}

FolderEntry EntryOfType(const std::string& path, unsigned type, bool follow) {
    if (type != DT_REG && type != DT_DIR) return EntryAt(path, follow);
    if (path[path.rfind('/') + 1] == '.') return FolderEntry::None;
    if (type == DT_DIR) return FolderEntry::Folder;
    return FormatOfName(path) == Format::Unknown ? FolderEntry::None : FolderEntry::File;
}

}  // namespace hueweave::tool
