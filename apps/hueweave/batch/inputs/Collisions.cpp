// SPDX-License-Identifier: MIT
#include "batch/inputs/Collisions.h"

#include <fmt/format.h>
#include <sys/stat.h>

#include <algorithm>
#include <filesystem>
#include <string_view>
#include <utility>

#include "system/StableHash.h"

namespace hueweave::tool {
namespace {

namespace fs = std::filesystem;

/// The canonical path of a file, which is equal for all paths that lead to it.
std::string OnePath(const std::string& path) {
    std::error_code error;
    const fs::path one = fs::weakly_canonical(path, error);
    return error ? fs::path(path).lexically_normal().string() : one.string();
}

/// The same for many paths in few folders: each folder is looked up once in a row.
class OnePaths {
public:
    explicit OnePaths(bool links) : links_(links) {}

    std::string Of(const std::string& path) {
        const std::size_t name = path.rfind('/') + 1;
        if (name == path.size() || std::string_view(path).substr(name) == ".." || IsLink(path)) {
            return OnePath(path);
        }
        const std::string folder = name == 0 ? "." : path.substr(0, name);
        if (folder != folder_) {
            folder_ = folder;
            one_ = OnePath(folder);
            if (!one_.ends_with('/')) one_ += '/';
        }
        return one_ + path.substr(name);
    }

private:
    bool IsLink(const std::string& path) const {
        struct stat status {};
        return links_ && ::lstat(path.c_str(), &status) == 0 && S_ISLNK(status.st_mode);
    }

    bool links_;
    std::string folder_, one_;
};

/// Why a file is refused whose output is that of another one.
std::string ReasonOf(const InputList& list, const std::string& name, const std::string& other,
                     const std::string& output) {
    if (list.folder.empty() && list.file.empty()) return fmt::format("is the same file as {}; convert it once", other);
    if (name == other) return "is named twice; name it once";
    return fmt::format("would be written to {}, as {}; rename one of them", output, other);
}

}  // namespace

void RefuseCollisions(InputList& list, bool replaces) {
    OnePaths paths(replaces);
    std::vector<std::pair<std::uint64_t, std::size_t>> hashes;  // of each output, and its number
    hashes.reserve(list.size());
    for (std::size_t number = 0; number < list.size(); ++number) {
        const std::string output = list.OutputAt(number);
        if (output != "-" && list.names.Refusal(number).empty()) {
            hashes.emplace_back(StableHash(paths.Of(output)), number);
        }
    }
    std::sort(hashes.begin(), hashes.end());
    for (auto first = hashes.begin(); first != hashes.end();) {
        const auto end =
            std::find_if(first, hashes.end(), [&](const auto& other) { return other.first != first->first; });
        for (auto each = std::next(first); each != end; ++each) {
            const std::string output = list.OutputAt(each->second), one = paths.Of(output);
            const auto same = std::find_if(
                first, each, [&](const auto& other) { return paths.Of(list.OutputAt(other.second)) == one; });
            if (same == each) continue;
            const std::string other(list.names.Source(same->second));
            list.names.Refuse(each->second,
                              ReasonOf(list, std::string(list.names.Source(each->second)), other, output));
        }
        first = end;
    }
}

}  // namespace hueweave::tool
