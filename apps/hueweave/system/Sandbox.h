// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
// What a decoder that a hostile file took over could do at most: nothing but what the command line asks for.
#pragma once

#include <string>
#include <vector>

namespace hueweave::tool {

/// What is done with a path after the sandbox is closed.
enum class Use {
    Read,          ///< the file, or a folder with all below it
    Write,         ///< below the folder: reading, writing, making, renaming and removing files and folders
    Scratch,       ///< the same with files alone
    MakeFolders,   ///< below the folder
    RemoveFolders  ///< below the folder; only empty ones can be
};

struct AllowedPath {
    std::string path;
    Use use;
};
using AllowedPaths = std::vector<AllowedPath>;

/// Closes the sandbox around this process, for good. Threads and nothing else must be started after it. Whatever of it
/// the kernel does not have, or the container does not allow, is left out.
void EnterSandbox(const AllowedPaths& allowed);

/// Its two parts: files by Landlock, and calls of the system by seccomp.
void RestrictFiles(const AllowedPaths& allowed);
void RestrictCalls();

/// Whether the runtime of a sanitizer has to look at this process from outside, which such a build may.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
inline constexpr bool kSanitized = true;
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
inline constexpr bool kSanitized = true;
#else
inline constexpr bool kSanitized = false;
#endif
#else
inline constexpr bool kSanitized = false;
#endif

}  // namespace hueweave::tool
