// SPDX-License-Identifier: MIT
#pragma once

#include <filesystem>

namespace hueweave::tool {

/// What an entry of a folder is for a run that converts the folder.
enum class FolderEntry {
    None,    ///< hidden, or no TIFF, PNG or JPEG file by its name
    File,    ///< a picture by its name
    Folder,  ///< a subfolder
    Link     ///< a symbolic link to one of them, which is not followed
};

/// `follow` is the option --follow.
FolderEntry EntryAt(const std::filesystem::path& path, bool follow);

}  // namespace hueweave::tool
