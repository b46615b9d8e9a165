// SPDX-License-Identifier: MIT
// Limits what a decoder compromised by a hostile file can do to what the command line requests.
#pragma once

#include <string>
#include <vector>

namespace hueweave::tool {

/// How a path is used after the sandbox is entered.
enum class Use {
    Read,          ///< the file, or a folder with everything below it
    Watch,         ///< the same as `Read`; besides, changes in folders can be watched
    Write,         ///< below the folder: read, write, create, rename and remove files and folders
    Scratch,       ///< the same for files only
    MakeFolders,   ///< below the folder
    RemoveFolders  ///< below the folder; only empty folders can be removed
};

struct AllowedPath {
    std::string path;
    Use use;
};
using AllowedPaths = std::vector<AllowedPath>;

/// Enters the sandbox permanently. Afterwards the process may start only threads. Restrictions that the kernel does not
/// support, or the container does not allow, are omitted.
void EnterSandbox(const AllowedPaths& allowed);

/// The two parts: file access with Landlock, and system calls with seccomp.
void RestrictFiles(const AllowedPaths& allowed);
void RestrictCalls();
/// The same for a process that watches folders.
void RestrictCallsExceptWatching();

/// Whether a sanitizer runtime has to inspect this process from outside; such a build allows this.
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
