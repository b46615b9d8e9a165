// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
//
// What the targets of the command share: a folder to write into, a fixed profile, and how a refusal looks.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "FuzzInput.h"
#include "batch/session/ProfileFile.h"
#include "system/Refusal.h"

namespace hueweave::fuzz {

/// What one file may take of the heap and of the processor, whatever it announces, as docs/reliability.md tells it. The
/// sanitizers of a search see what other libraries allocate as well.
inline constexpr std::size_t kFileHeap = std::size_t{256} << 20;
inline constexpr double kFileSeconds = 10.0;

/// An empty folder in memory where the system has one; gone with the process's end.
class ScratchFolder {
public:
    ScratchFolder();
    ScratchFolder(const ScratchFolder&) = delete;
    ScratchFolder& operator=(const ScratchFolder&) = delete;
    ~ScratchFolder();
    std::string operator/(const std::string& name) const { return path_ + "/" + name; }
    const std::string& path() const { return path_; }
    /// Names of what stands there, hidden ones too, sorted.
    std::vector<std::string> Names() const;
    void Clear() const;

private:
    std::string path_;
};

/// Processor time of this process from here on.
class TimeWatch {
public:
    TimeWatch();
    double Seconds() const;

private:
    double begin_;
};

/// A profile that the engine takes as it is for every intent: of 9 points, without a description.
Bytes PlainDeviceProfile();
/// Makes a file that Little CMS reads out of tags: "Lab " or "XYZ " as the connection space.
Bytes AsDeviceProfile(Bytes profile, const char* connection);
tool::DeviceProfile AsLoaded(const Bytes& profile);

/// Runs `work`; the refusal that it ends in, nothing if it ends well. Requires that nothing else is thrown, that a
/// refusal is one line that says something, and that time and heap stay within the bounds of one file.
std::optional<tool::Refusal> RefusalOf(const std::function<void()>& work);

}  // namespace hueweave::fuzz
