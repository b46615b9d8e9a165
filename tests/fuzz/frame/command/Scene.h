// SPDX-License-Identifier: MIT
// Common parts of the command's targets: a folder for outputs, and the form of a refusal.
#pragma once

#include <functional>

#include "FuzzInput.h"
#include "batch/session/ProfileFile.h"
#include "system/Refusal.h"

namespace hueweave::fuzz {

/// An empty folder, in memory where possible; deleted when the process ends.
class ScratchFolder {
public:
    std::string operator/(const std::string& name) const { return folder_.File(name); }
    std::string path() const { return folder_.Path(); }
    /// Names of all files in it, including hidden ones, sorted.
    std::vector<std::string> Names() const;
    void Clear() const;

private:
    test::TempDir folder_{std::filesystem::is_directory("/dev/shm") ? "/dev/shm"
                                                                    : std::filesystem::temp_directory_path()};
};

/// A profile that the engine accepts unchanged for every intent: 9 grid points, without a description.
tool::DeviceProfile PlainProfile();

/// Runs `work` and returns its refusal, or nothing if it succeeds. Requires that nothing else is thrown, that a refusal
/// is one line with a message, and that time and heap stay within the limits for one file.
std::optional<tool::Refusal> RefusalOf(const std::function<void()>& work);
/// The same for work that is never refused.
void MustSucceed(const std::function<void()>& work, const char* what);

/// Corrects the checksums of a PNG file, which no mutation gets right.
void SealPng(Bytes& file);

}  // namespace hueweave::fuzz
