// SPDX-License-Identifier: MIT
#include "system/files/FolderNames.h"

#include <dirent.h>

#include <cerrno>
#include <memory>

namespace hueweave::tool {
namespace {

struct Closer {
    void operator()(DIR* folder) const { ::closedir(folder); }
};

}  // namespace

int EachNameInFolder(const std::string& folder, const std::function<void(std::string_view name, unsigned type)>& take) {
    const std::unique_ptr<DIR, Closer> open(::opendir(folder.c_str()));
    if (open == nullptr) return errno;
    for (;;) {
        errno = 0;
        const struct dirent* entry = ::readdir(open.get());
        if (entry == nullptr) return errno;
        const std::string_view name = entry->d_name;
        if (name != "." && name != "..") take(name, entry->d_type);
    }
}

std::vector<std::string> NamesInFolder(const std::string& folder, int& error) {
    std::vector<std::string> names;
    error = EachNameInFolder(folder, [&](std::string_view name, unsigned) { names.emplace_back(name); });
    return names;
}

}  // namespace hueweave::tool
