// SPDX-License-Identifier: MIT
#pragma once

#include <filesystem>
#include <string>

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
/// The same for a listed entry. Its type (DT_REG and so on) answers most questions without a system call.
FolderEntry EntryOfType(const std::string& path, unsigned type, bool follow);

}  // namespace hueweave::tool
