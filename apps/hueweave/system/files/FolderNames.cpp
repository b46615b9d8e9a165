// SPDX-License-Identifier: MIT
#include "system/files/FolderNames.h"

#include <dirent.h>

#include <cerrno>
#include <memory>
#include <string_view>

namespace hueweave::tool {
namespace {

struct Closer {
    void operator()(DIR* folder) const { ::closedir(folder); }
};

}  // namespace

std::vector<std::string> NamesInFolder(const std::string& folder, int& error) {
    std::vector<std::string> names;
    const std::unique_ptr<DIR, Closer> open(::opendir(folder.c_str()));
    error = open == nullptr ? errno : 0;
    while (open != nullptr) {
        errno = 0;
        const struct dirent* entry = ::readdir(open.get());
        if (entry == nullptr) {
            error = errno;
            break;
        }
        const std::string_view name = entry->d_name;
        if (name != "." && name != "..") names.emplace_back(name);
    }
    return names;
}

}  // namespace hueweave::tool
