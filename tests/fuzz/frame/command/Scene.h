// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
//
// What the targets of the command share: a folder to write into, a fixed profile, and how a refusal looks.
#pragma once

#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "FuzzInput.h"
#include "batch/session/ProfileFile.h"
#include "support/TempDir.h"
#include "system/Refusal.h"

namespace hueweave::fuzz {

/// An empty folder in memory where the system has one; gone with the process's end.
class ScratchFolder {
public:
    std::string operator/(const std::string& name) const { return folder_.File(name); }
    std::string path() const { return folder_.Path(); }
    /// Names of what stands there, hidden ones too, sorted.
    std::vector<std::string> Names() const;
    void Clear() const;

private:
    test::TempDir folder_{std::filesystem::is_directory("/dev/shm") ? "/dev/shm"
                                                                    : std::filesystem::temp_directory_path()};
};

/// A profile that the engine takes as it is for every intent: of 9 points, without a description.
Bytes PlainDeviceProfile();
tool::DeviceProfile AsLoaded(const Bytes& profile);

/// Runs `work`; the refusal that it ends in, nothing if it ends well. Requires that nothing else is thrown, that a
/// refusal is one line that says something, and that time and heap stay within the bounds of one file.
std::optional<tool::Refusal> RefusalOf(const std::function<void()>& work);

}  // namespace hueweave::fuzz
