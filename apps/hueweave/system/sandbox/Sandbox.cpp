// SPDX-License-Identifier: MIT
// Restricts file access with Landlock.
#include "system/sandbox/Sandbox.h"

#include <fcntl.h>
#include <linux/landlock.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>

#include "system/FileAccess.h"

namespace hueweave::tool {
namespace {

// Rights that are missing in the header of Debian 12.
constexpr std::uint64_t kTruncate = 1U << 14, kIoctlOfDevices = 1U << 15;

constexpr std::uint64_t kReadFile = LANDLOCK_ACCESS_FS_READ_FILE;
constexpr std::uint64_t kRead = kReadFile | LANDLOCK_ACCESS_FS_READ_DIR;
constexpr std::uint64_t kScratch = kReadFile | LANDLOCK_ACCESS_FS_WRITE_FILE | LANDLOCK_ACCESS_FS_MAKE_REG |
                                   LANDLOCK_ACCESS_FS_REMOVE_FILE | kTruncate;
constexpr std::uint64_t kWrite = kScratch | LANDLOCK_ACCESS_FS_READ_DIR | LANDLOCK_ACCESS_FS_MAKE_DIR |
                                 LANDLOCK_ACCESS_FS_REMOVE_DIR | LANDLOCK_ACCESS_FS_REFER;
constexpr std::uint64_t kOfFiles = kReadFile | LANDLOCK_ACCESS_FS_WRITE_FILE | kTruncate;

std::uint64_t RightsFor(Use use) {
    switch (use) {
        case Use::Read:
        case Use::Watch:
            return kRead;
        case Use::Write:
            return kWrite;
        case Use::Scratch:
            return kScratch;
        case Use::MakeFolders:
            return LANDLOCK_ACCESS_FS_MAKE_DIR;
        case Use::RemoveFolders:
            return LANDLOCK_ACCESS_FS_REMOVE_DIR;
    }
    return 0;
}

/// All rights of a Landlock version; only these are requested.
std::uint64_t RightsOf(long version) {
    std::uint64_t rights = (LANDLOCK_ACCESS_FS_MAKE_SYM << 1U) - 1;  // version 1: up to this right
    if (version >= 2) rights |= LANDLOCK_ACCESS_FS_REFER;
    if (version >= 3) rights |= kTruncate;
    if (version >= 5) rights |= kIoctlOfDevices;
    return rights;
}

/// A path that cannot be opened gets no rule: it is refused with the reason when it is processed.
void Allow(const FileAccess& rules, const AllowedPath& allowed, std::uint64_t known) {
    const FileAccess at(::open(allowed.path.c_str(), O_PATH | O_CLOEXEC), allowed.path);
    struct stat status {};
    if (at.descriptor() < 0 || ::fstat(at.descriptor(), &status) != 0) return;
    landlock_path_beneath_attr rule{};
    rule.allowed_access = RightsFor(allowed.use) & known & (S_ISDIR(status.st_mode) ? known : kOfFiles);
    rule.parent_fd = at.descriptor();
    // Landlock does not restrict pipes and similar files, so they need no rule.
    if (rule.allowed_access != 0) {
        ::syscall(SYS_landlock_add_rule, rules.descriptor(), LANDLOCK_RULE_PATH_BENEATH, &rule, 0U);
    }
}

}  // namespace

void RestrictFiles(const AllowedPaths& allowed) {
    const long version = ::syscall(SYS_landlock_create_ruleset, nullptr, 0, LANDLOCK_CREATE_RULESET_VERSION);
    if (version < 1) return;
    landlock_ruleset_attr attributes{};
    attributes.handled_access_fs = RightsOf(version);
    const long descriptor =
        ::syscall(SYS_landlock_create_ruleset, &attributes, sizeof attributes.handled_access_fs, 0U);
    if (descriptor < 0) return;
    const FileAccess rules(static_cast<int>(descriptor), "the rules");
    for (const AllowedPath& path : allowed) Allow(rules, path, attributes.handled_access_fs);
    // The C library reads the number of processors there. It also looks up the time zone when Little CMS requests a
    // time in UTC, but then the result does not matter.
    Allow(rules, {"/sys/devices/system/cpu/online", Use::Read}, attributes.handled_access_fs);
    if (kSanitized) Allow(rules, {"/proc", Use::Read}, attributes.handled_access_fs);
#ifdef HUEWEAVE_COUNTS_FOLDER
    Allow(rules, {HUEWEAVE_COUNTS_FOLDER, Use::Write}, attributes.handled_access_fs);  // coverage counts
#endif
    ::syscall(SYS_landlock_restrict_self, rules.descriptor(), 0U);
}

void EnterSandbox(const AllowedPaths& allowed) {
    // Both mechanisms require this for an unprivileged process; started programs cannot gain privileges.
    ::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0);
    RestrictFiles(allowed);
    const bool watches =
        std::any_of(allowed.begin(), allowed.end(), [](const AllowedPath& path) { return path.use == Use::Watch; });
    watches ? RestrictCallsExceptWatching() : RestrictCalls();
}

}  // namespace hueweave::tool
